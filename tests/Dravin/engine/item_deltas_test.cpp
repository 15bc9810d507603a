#include "Dravin/engine/item_deltas.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "tests/Dravin/engine/test_input.h"

namespace {

// A build of the ground with these deltas.
BuiltItems BuildWith(TBuildInput& input, std::vector<TItemDelta> deltas) {
    input.parts.deltas = std::make_shared<TItemDeltaTable>(std::move(deltas));
    input.deltas = input.parts.deltas.get();
    return Build(input);
}

std::map<std::string, TDravinItem> ById(const BuiltItems& built) {
    std::map<std::string, TDravinItem> items;
    for (const TDravinItem& item : built.items) items.emplace(ItemIdText(item.id), item);
    return items;
}

TItemDelta DeltaOf(const TDravinItem& item) {
    TItemDelta delta;
    delta.id = item.id;
    return delta;
}

// A group of two members side by side.
TSpecimen Cluster() {
    TSpecimen s = CubeSpecimen();
    s.elements.push_back(s.elements[0]);
    s.elements[1].offset = {0.25f, 0, 0};
    return s;
}

TEST(ItemDeltas, EveryItemHasAnIdOfItsOwn) {
    TBuildInput input = GroundInput();
    input.specimens = {Cluster(), CubeSpecimen()};
    BuiltItems built = Build(input);
    EXPECT_GT(built.items.size(), 400u);
    EXPECT_EQ(ById(built).size(), built.items.size());
}

TEST(ItemDeltas, IdsStayWhenTheGroundAndTheGeometryChange) {
    TBuildInput input = GroundInput();
    std::map<std::string, TDravinItem> before = ById(Build(input));
    TBuildInput wider = GroundInput();
    wider.specimens = {CubeSpecimen(1), CubeSpecimen(99)};
    wider.surfaces.clear();
    AddSurface(wider, SquareMesh(-30, -20, 40, 15));
    std::map<std::string, TDravinItem> after = ById(Build(wider));
    for (const auto& [id, item] : before) {
        ASSERT_TRUE(after.contains(id)) << id;
        EXPECT_EQ(after.at(id).position, item.position);
    }
}

TEST(ItemDeltas, MoveTurnAndScaleOneItemOnly) {
    TBuildInput input = GroundInput();
    BuiltItems before = Build(input);
    TItemDelta delta = DeltaOf(before.items[7]);
    delta.move = {1, 2, 3};
    delta.rotateDegrees = {0, 0, 90};
    delta.scale = {2, 3, 4};
    BuiltItems after = BuildWith(input, {delta});
    ASSERT_EQ(after.items.size(), before.items.size());
    const TDravinItem &was = before.items[7], &is = after.items[7];
    EXPECT_EQ(is.position, was.position + Point3(1, 2, 3));
    EXPECT_EQ((Point3{is.width, is.depth, is.height}),
              (Point3{was.width * 2, was.depth * 3, was.height * 4}));
    EXPECT_NEAR(Length(is.transform.row[0] - Point3{0, 1, 0}), 0, 1e-6);
    // The larger side of the base, half of it around the centre.
    EXPECT_FLOAT_EQ(is.outerRadius, was.outerRadius * 3);
    EXPECT_EQ(is.id, was.id);
    for (size_t i = 0; i < before.items.size(); ++i) {
        if (i == 7) continue;
        ASSERT_EQ(after.items[i].position, before.items[i].position);
    }
    EXPECT_EQ(after.statistics.deltas.found, std::vector<uint32_t>{0});
}

TEST(ItemDeltas, DeletedItemsGoAndNoRuleCountsThem) {
    TBuildInput input = GroundInput();
    BuiltItems before = Build(input);
    TItemDelta delta = DeltaOf(before.items[3]);
    delta.deleted = true;
    BuiltItems after = BuildWith(input, {delta});
    EXPECT_EQ(after.items.size(), before.items.size() - 1);
    EXPECT_FALSE(ById(after).contains(ItemIdText(delta.id)));
    EXPECT_EQ(after.statistics.rejected, before.statistics.rejected);
}

TEST(ItemDeltas, AnotherRowTakesThePlaceWithAllItsMembers) {
    TBuildInput input = GroundInput();
    input.specimens = {CubeSpecimen(), Cluster()};
    input.specimens[1].probability = 0;
    input.specimens[0].elements[0].meshSize = {1, 1, 5};
    BuiltItems before = Build(input);
    TItemDelta delta = DeltaOf(before.items[3]);
    delta.geometry = 1;
    BuiltItems after = BuildWith(input, {delta});
    ASSERT_EQ(after.items.size(), before.items.size() + 1);
    for (size_t i : {3u, 4u}) {
        EXPECT_EQ(after.items[i].specimenIndex, 1);
        EXPECT_EQ(after.items[i].elementIndex, int(i) - 3);
        EXPECT_EQ(after.items[i].height, 1);
    }
    EXPECT_EQ(after.items[3].id, delta.id);
    EXPECT_NE(after.items[4].id, delta.id);
    EXPECT_EQ(after.items[5].id, before.items[4].id);
}

TEST(ItemDeltas, RowsBeyondTheListWrapAround) {
    TBuildInput input = GroundInput();
    input.specimens = {CubeSpecimen(), CubeSpecimen()};
    TItemDelta delta = DeltaOf(Build(input).items[0]);
    for (int row : {3, 1 << 30}) {
        delta.geometry = row;
        EXPECT_EQ(BuildWith(input, {delta}).items[0].specimenIndex, row % 2);
    }
}

TEST(ItemDeltas, ActBeforeOverlapsAreRemoved) {
    TBuildInput input = GroundInput();
    input.collisions = true;
    input.transforms.radiusPercent = 50;
    std::map<std::string, TDravinItem> before = ById(Build(input));
    TItemDelta delta = DeltaOf(before.begin()->second);
    delta.scale = {30, 30, 30};
    BuiltItems after = BuildWith(input, {delta});
    EXPECT_LT(after.items.size(), before.size());
    // The large item comes first and stays; whatever it reaches is gone.
    ASSERT_TRUE(ById(after).contains(ItemIdText(delta.id)));
    TDravinItem large = ById(after).at(ItemIdText(delta.id));
    for (const TDravinItem& item : after.items) {
        if (item.id == large.id) continue;
        Point3 apart = item.position - large.position;
        apart.z += item.collisionHeight - large.collisionHeight;
        EXPECT_GE(Length(apart), large.collisionRadius + item.collisionRadius);
    }
}

// The deltas of every tenth item, of all kinds.
std::vector<TItemDelta> ManyDeltas(const BuiltItems& built) {
    std::vector<TItemDelta> deltas;
    for (size_t i = 0; i < built.items.size(); i += 10) {
        TItemDelta delta = DeltaOf(built.items[i]);
        delta.move = {float(i % 7), 0, 1};
        delta.scale = {1, 1, float(1 + i % 3)};
        delta.deleted = i % 4 == 0;
        delta.geometry = i % 3 == 0 ? 1 : -1;
        deltas.push_back(delta);
    }
    return deltas;
}

TEST(ItemDeltas, ItemsAreTheSameForAnyNumberOfThreadsAndInPieces) {
    TBuildInput input = GroundInput();
    AddSurface(input, SquareMesh(-100, -100, 100, 100, -1));
    input.specimens = {CubeSpecimen(), Cluster()};
    std::vector<TItemDelta> deltas = ManyDeltas(Build(input));
    BuiltItems one = BuildWith(input, deltas);
    EXPECT_EQ(
        std::set<uint32_t>(one.statistics.deltas.found.begin(), one.statistics.deltas.found.end())
            .size(),
        deltas.size());
    auto places = [](const BuiltItems& built) {
        std::vector<std::pair<std::string, Point3>> all;
        for (const TDravinItem& item : built.items)
            all.emplace_back(ItemIdText(item.id), item.position);
        return all;
    };
    for (int threads : {2, 3, 8, 16}) {
        input.threads = threads;
        ASSERT_EQ(places(Build(input)), places(one)) << threads;
    }
    std::vector<std::pair<std::string, Point3>> joined;
    for (int piece = 1; piece <= 3; ++piece) {
        input.part = {piece, 3};
        for (auto& place : places(Build(input))) joined.push_back(place);
    }
    EXPECT_EQ(joined, places(one));
}

TEST(ItemDeltas, OfTwoForOneItemTheFirstCounts) {
    TItemDelta first, second;
    first.id = second.id = {TItemId::kPoint, 0, {4}, 4};
    second.deleted = true;
    TItemDeltaTable table({first, second});
    ASSERT_TRUE(table.Find(first.id));
    EXPECT_EQ(table.NumberOf(*table.Find(first.id)), 0u);
    EXPECT_FALSE(table.Find({TItemId::kPoint, 0, {5}, 4}));
    EXPECT_FALSE(TItemDeltaTable({}).Find(first.id));
}

}  // namespace
