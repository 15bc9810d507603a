#include "Dravin/engine/item_stream.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "Dravin/engine/collisions.h"
#include "tests/Dravin/engine/test_input.h"

namespace {

// 40,000 cells, in several pieces, with everything random that needs a generator.
TBuildInput ManyPieces() {
    TBuildInput input = GroundInput();
    input.grid.unitsX = input.grid.unitsY = 1;
    TTransformSettings& t = input.transforms;
    t.applyTranslation = t.applyRotation = t.applyScale = true;
    t.rotMaxDegrees = {10, 10, 360};
    t.radiusPercent = 4;
    input.specimens.push_back(CubeSpecimen());
    return input;
}

void ExpectSame(const std::vector<TDravinItem>& a, const std::vector<TDravinItem>& b) {
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i) {
        ASSERT_EQ(a[i].position, b[i].position);
        ASSERT_EQ(a[i].seed, b[i].seed);
        ASSERT_EQ(a[i].fullTransform, b[i].fullTransform);
        ASSERT_EQ(a[i].specimenIndex, b[i].specimenIndex);
        ASSERT_EQ(a[i].randomA, b[i].randomA);
    }
}

// What a build gives its consumer.
struct Stream {
    std::vector<TDravinItem> items;
    TItemConsumer consumer = [this](const TDravinItemList& list) -> std::function<void()> {
        std::vector<TDravinItem> part;
        for (size_t i = 0; i < list.Count(); ++i) part.push_back(list.Item(i));
        return
            [this, part = std::move(part)] { items.insert(items.end(), part.begin(), part.end()); };
    };
};

TEST(ItemStream, ItemsAreThoseOfTheList) {
    TBuildInput input = ManyPieces();
    BuiltItems whole = Build(input);
    for (int threads : {1, 2, 3, 8, 16}) {
        Stream stream;
        input.consumer = &stream.consumer;
        input.threads = threads;
        BuiltItems built = Build(input);
        EXPECT_TRUE(built.items.empty());
        EXPECT_EQ(built.statistics.itemCount, int32_t(whole.items.size()));
        EXPECT_EQ(built.statistics.rejected, whole.statistics.rejected);
        ExpectSame(stream.items, whole.items);
    }
}

TEST(ItemStream, ItemsThatMayNotOverlapStayInTheList) {
    TBuildInput input = ManyPieces();
    input.collisions = true;
    Stream stream;
    input.consumer = &stream.consumer;
    EXPECT_FALSE(Build(input).items.empty());
    EXPECT_TRUE(stream.items.empty());
}

TEST(ItemStream, MemoryIsNoLimit) {
    TBuildInput input = ManyPieces();
    input.memoryLimit = 1000;
    EXPECT_TRUE(Build(input).statistics.outOfMemory);
    Stream stream;
    input.consumer = &stream.consumer;
    EXPECT_EQ(Build(input).result, TBuildStatus::kSuccess);
    EXPECT_FALSE(stream.items.empty());
}

TEST(ItemStream, TheRendersLimitHolds) {
    TBuildInput input = ManyPieces();
    input.render = true;
    input.renderLimit = 5000;
    Stream stream;
    input.consumer = &stream.consumer;
    for (int threads : {1, 4}) {
        input.threads = threads;
        EXPECT_EQ(Build(input).result, TBuildStatus::kTooManyItems);
    }
}

TEST(ItemStream, AConsumerThatThrowsEndsTheBuild) {
    TBuildInput input = ManyPieces();
    TItemConsumer throws = [](const TDravinItemList&) -> std::function<void()> {
        throw std::runtime_error("no room");
    };
    TItemConsumer actThrows = [](const TDravinItemList&) {
        return [] { throw std::runtime_error("disk full"); };
    };
    for (const TItemConsumer* consumer : {&throws, &actThrows}) {
        input.consumer = consumer;
        input.threads = 4;
        EXPECT_THROW(Build(input), std::runtime_error);
    }
}

class BuildParts : public testing::TestWithParam<int> {};

TEST_P(BuildParts, OneAfterTheOtherAreTheWhole) {
    TBuildInput input = ManyPieces();
    BuiltItems whole = Build(input);
    std::vector<TDravinItem> joined;
    TRejections rejected;
    input.part.of = GetParam();
    for (int k = 1; k <= input.part.of; ++k) {
        input.part.number = k;
        input.threads = 1 + k % 3;
        BuiltItems part = Build(input);
        rejected += part.statistics.rejected;
        joined.insert(joined.end(), part.items.begin(), part.items.end());
    }
    EXPECT_EQ(rejected, whole.statistics.rejected);
    ExpectSame(joined, whole.items);
}

TEST_P(BuildParts, OverlapsAreFoundOverAllOfThem) {
    TBuildInput input = ManyPieces();
    input.collisions = true;
    BuiltItems whole = Build(input);
    std::vector<TDravinItem> joined, kept;
    std::vector<TCollisionItem> collisions;
    Box3 ground;
    input.part.of = GetParam();
    for (int k = 1; k <= input.part.of; ++k) {
        input.part.number = k;
        BuiltItems part = Build(input);
        joined.insert(joined.end(), part.items.begin(), part.items.end());
        std::vector<TCollisionItem> more = CollisionItems(part.list, input.camera);
        collisions.insert(collisions.end(), more.begin(), more.end());
        ground = part.statistics.ground;
    }
    if (GetParam() == 1) return ExpectSame(joined, whole.items);  // it is the whole
    TCollisionOutcome outcome = ResolveCollisions(collisions, ground);
    EXPECT_EQ(outcome.removed, whole.statistics.discardedCount);
    EXPECT_GT(outcome.removed, 1000);
    for (uint32_t i : outcome.order) kept.push_back(joined[i]);
    ExpectSame(kept, whole.items);
}

INSTANTIATE_TEST_SUITE_P(Numbers, BuildParts, testing::Values(1, 2, 3, 8, 50));

}  // namespace
