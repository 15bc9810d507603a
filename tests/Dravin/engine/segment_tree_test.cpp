#include "Dravin/engine/areas/segment_tree.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "common/nurandom/nurandom.h"
#include "host/base/thread_pool.h"

namespace {

using Segments = std::vector<TFlatSegment>;

Point2 Somewhere(TNuRandom& random, Point2 center, float size) {
    float x = random.Random() - 0.5f;
    return {center.x + x * size, center.y + (random.Random() - 0.5f) * size};
}

// Segments of many lengths; every tenth has none, every seventh repeats the one before.
Segments Scattered(size_t n, Point2 center, float size, uint32_t seed) {
    TNuRandom random(seed);
    Segments segments;
    for (size_t i = 0; i < n; ++i) {
        Point2 a = Somewhere(random, center, size);
        float length = size * random.Random() * random.Random() * random.Random();
        segments.push_back({a, i % 10 == 0 ? a : Somewhere(random, a, length)});
        if (i % 7 == 3) segments.back() = segments[i - 1];
    }
    return segments;
}

uint32_t OneByOne(const Segments& segments, Point2 p) {
    float best = std::numeric_limits<float>::max();
    uint32_t nearest = TSegmentTree::kNone;
    for (size_t i = 0; i < segments.size(); ++i) {
        float d = DistanceSquared(segments[i].NearestTo(p), p);
        if (d < best) best = d, nearest = uint32_t(i);
    }
    return nearest;
}

}  // namespace

class SegmentTree : public testing::TestWithParam<std::tuple<size_t, Point2, float>> {};

TEST_P(SegmentTree, AgreesWithOneAtATimeToTheBit) {
    auto [count, center, size] = GetParam();
    Segments segments = Scattered(count, center, size, 5);
    TSegmentTree tree(segments);
    TNuRandom random(6);
    for (int i = 0; i < 1000; ++i) {
        Point2 p = Somewhere(random, center, size * (i % 3 == 0 ? 20 : 1.2f));
        ASSERT_EQ(tree.Nearest(p), OneByOne(segments, p)) << p.x << " " << p.y;
    }
}

TEST_P(SegmentTree, ACursorChangesNoAnswer) {
    auto [count, center, size] = GetParam();
    Segments segments = Scattered(count, center, size, 7);
    TSegmentTree tree(segments);
    TSegmentCursor cursor;
    TNuRandom random(8);
    size_t served = 0;
    for (int row = 0; row < 10; ++row) {
        Point2 p = Somewhere(random, center, size * 1.5f);
        for (int i = 0; i < 200; ++i) {
            p.x += size * 0.0003f;
            ASSERT_EQ(tree.Nearest(p, &cursor), OneByOne(segments, p)) << p.x << " " << p.y;
            served += cursor.served > 0;
        }
    }
    // So far from the origin that single precision blurs the segments, a disc is never worth it.
    bool blurred = std::abs(center.x) > 1e4f * size;
    EXPECT_TRUE(blurred || served > 100) << served;
}

TEST_P(SegmentTree, ThreadsThatShareATreeAgree) {
    // All ask the same new cells at once, and again when they are known.
    auto [count, center, size] = GetParam();
    Segments segments = Scattered(count, center, size, 9);
    TNuRandom random(10);
    std::vector<Point2> points(500);
    for (Point2& p : points) p = Somewhere(random, center, size * 1.2f);
    std::vector<uint32_t> expected;
    for (Point2 p : points) expected.push_back(OneByOne(segments, p));
    for (int threads : {1, 2, 3, 8, 16}) {
        TSegmentTree tree(segments), copy = tree;
        ParallelFor(size_t(2 * threads), threads, [&](size_t piece) {
            for (size_t i = 0; i < points.size(); ++i)
                EXPECT_EQ((piece % 2 ? copy : tree).Nearest(points[i]), expected[i]);
        });
    }
}

INSTANTIATE_TEST_SUITE_P(Segments, SegmentTree,
                         testing::Values(std::tuple{size_t{1}, Point2{}, 10.0f},
                                         std::tuple{size_t{8}, Point2{}, 10.0f},
                                         std::tuple{size_t{9}, Point2{}, 10.0f},
                                         std::tuple{size_t{70}, Point2{3, -4}, 1e-3f},
                                         std::tuple{size_t{3000}, Point2{100, 50}, 200.0f},
                                         std::tuple{size_t{3000}, Point2{1e6f, -1e6f}, 10.0f},
                                         std::tuple{size_t{500}, Point2{}, 1e12f}));

TEST(SegmentTreeEdges, WithoutSegmentsOrAFinitePlaceNothingIsNearest) {
    EXPECT_EQ(TSegmentTree().Nearest({0, 0}), TSegmentTree::kNone);
    EXPECT_EQ(TSegmentTree(Segments{}).Nearest({0, 0}), TSegmentTree::kNone);
    TSegmentTree tree(Segments{{{0, 0}, {1, 0}}});
    float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(tree.Nearest({nan, 0}), TSegmentTree::kNone);
    EXPECT_EQ(tree.Nearest({0, std::numeric_limits<float>::infinity()}), TSegmentTree::kNone);
    EXPECT_EQ(tree.Nearest({1e30f, 0}), TSegmentTree::kNone);  // its square is not a number
}

TEST(SegmentTreeEdges, ALineAlongARowHasAnswersOnAllSidesOfIt) {
    // A box without height, with ends of segments at the borders of cells.
    Segments line;
    for (int i = 0; i < 400; ++i) line.push_back({{float(i), 7}, {float(i + 1), 7}});
    TSegmentTree tree(line);
    for (float x = -30; x < 430; x += 0.25f)
        for (float y : {-60.0f, 6.5f, 7.0f, 7.25f, 30.0f})
            ASSERT_EQ(tree.Nearest({x, y}), OneByOne(line, {x, y})) << x << " " << y;
}

TEST(SegmentTreeEdges, PlacesWhoseSquaresOverflowEndTheSearch) {
    Segments segments = Scattered(9, {}, 10, 3);
    TSegmentTree tree(segments);
    TSegmentCursor cursor;
    for (float x : {1e18f, 1.2e19f, 1.8e19f, 1e25f, 3e38f}) {
        uint32_t expected = OneByOne(segments, {x, 0});
        EXPECT_EQ(tree.Nearest({x, 0}, &cursor), expected) << x;
        EXPECT_EQ(tree.Nearest({x, 0}, &cursor), expected) << x;
    }
}
