#include "Dravin/materials/leaf_outline.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

// Without numbers for the distance: is a point kept that stands this far from the segment?
bool IsKept(const OutlinePath& path, size_t point, int64_t tolerance) {
    OutlinePath left = SimplifiedPath(path, tolerance);
    return std::find(left.begin(), left.end(), path[point]) != left.end();
}

PolyShape Line(std::vector<Point3> points) { return {{{std::move(points), true}}}; }

}  // namespace

TEST(OutlineUnits, AreTruncatedSinglePrecisionProducts) {
    EXPECT_EQ(OutlineUnits(1.2345f), 1234);
    EXPECT_EQ(OutlineUnits(-1.2345f), -1234);
    EXPECT_EQ(OutlineUnits(0.0004f), 0);
    // 0.7 is a little less in single precision; the product rounds to 700.
    EXPECT_EQ(OutlineUnits(0.7f), 700);
    EXPECT_EQ(OutlineUnits(1e30f), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(OutlineUnits(-1e30f), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(OutlineUnits(std::numeric_limits<float>::quiet_NaN()), 0);
}

TEST(SimplifiedPath, DropsWhatIsNoFurtherThanTheTolerance) {
    // The second point stands 3 above the segment, whose square is 9.
    OutlinePath path{{0, 0}, {50, 3}, {100, 0}, {100, 0}};
    EXPECT_TRUE(IsKept(path, 1, 2));
    EXPECT_FALSE(IsKept(path, 1, 3));
    EXPECT_TRUE(IsKept(path, 1, -2));
    EXPECT_FALSE(IsKept(path, 1, -3));
}

TEST(SimplifiedPath, MeasuresToTheEndsBeyondThem) {
    // Before the start (dot product below 1) and behind the end.
    OutlinePath path{{0, 0}, {-4, 0}, {104, 3}, {100, 0}};
    EXPECT_EQ(SimplifiedPath(path, 4), (OutlinePath{{0, 0}, {104, 3}, {100, 0}}));  // 5 away
    EXPECT_EQ(SimplifiedPath(path, 5), (OutlinePath{{0, 0}, {100, 0}}));
    // A segment of no length: to its one place.
    OutlinePath ring{{0, 0}, {0, 7}, {6, 0}, {0, 0}};
    EXPECT_EQ(SimplifiedPath(ring, 6), (OutlinePath{{0, 0}, {0, 7}, {0, 0}}));
}

// The segment goes 10 aside and 1 up; the foot of (5, 0) is at 50/101 of it: (4.95, 0.495),
// truncated (4, 0), so that the square is 1 and not 0.25.
TEST(SimplifiedPath, TheFootStandsOnAWholeNumber) {
    OutlinePath path{{0, 0}, {5, 0}, {5, 0}, {10, 1}};
    EXPECT_EQ(SimplifiedPath(path, 0).size(), 3u);
    EXPECT_EQ(SimplifiedPath(path, 1).size(), 2u);
}

TEST(SimplifiedPath, TheEarlierOfEquallyFarPointsGoesFirst) {
    // Both middle points are 10 off; with the first kept, the second is within 8 of what is left:
    // the foot of (60, 10) on (40, 10)-(100, 0) lies 3 to 4 below it. The other way round the same.
    OutlinePath path{{0, 0}, {40, 10}, {60, 10}, {100, 0}};
    EXPECT_EQ(SimplifiedPath(path, 8), (OutlinePath{{0, 0}, {40, 10}, {100, 0}}));
}

TEST(SimplifiedPath, ThreePointsStay) {
    OutlinePath path{{0, 0}, {50, 0}, {100, 0}};
    EXPECT_EQ(SimplifiedPath(path, 1000), path);
    EXPECT_TRUE(SimplifiedPath({}, 1).empty());
}

TEST(SimplifiedPath, TheFurthestCoordinatesDoNotOverflow) {
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max(), kLeast = -kMost - 1;
    OutlinePath path{{kLeast, kLeast}, {kMost, kLeast}, {0, 0}, {kMost, kMost}};
    EXPECT_EQ(SimplifiedPath(path, 1000), path);  // far off the diagonal; the third off its ends
    EXPECT_EQ(SimplifiedPath(path, kMost).size(), 3u);
    // At the end of exact arithmetic both ways agree.
    int64_t edge = int64_t{1} << 40;
    OutlinePath inside{{-edge, -edge}, {0, 1}, {1, 0}, {edge, edge}};
    EXPECT_EQ(SimplifiedPath(inside, 0).size(), 4u);
    EXPECT_EQ(SimplifiedPath(inside, 1).size(), 2u);
}

TEST(LeafOutline, ZeroDropsExactlyWhatLiesOnSegments) {
    PolyShape outline = LeafOutline(
        Line({{0, 0, 5}, {5, 0, 5}, {10, 0, 5}, {10, 10, 5}, {5, 10.001f, 5}, {0, 10, 5}}), 0);
    ASSERT_EQ(outline.lines.size(), 1u);
    EXPECT_TRUE(outline.lines[0].closed);
    EXPECT_EQ(
        outline.lines[0].points,
        (std::vector<Point3>{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}, {5, 10.001f, 0}, {0, 10, 0}}));
}

TEST(LeafOutline, SignsAndThousandthsOfAThousandthDoNotMatter) {
    PolyShape wavy =
        Line({{0, 0, 0}, {3, 0.1f, 0}, {6, -0.6f, 0}, {9, 0, 0}, {9, 9, 0}, {0, 9, 0}});
    EXPECT_EQ(LeafOutline(wavy, -0.5f), LeafOutline(wavy, 0.5f));
    EXPECT_NE(LeafOutline(wavy, 0.5f), LeafOutline(wavy, 0));
    EXPECT_EQ(LeafOutline(wavy, 0.0004f), LeafOutline(wavy, 0));
}

TEST(LeafOutline, LinesOfFewerThanThreePointsAreNone) {
    PolyShape shape;
    shape.lines = {{{{0, 0, 0}, {1, 0, 0}}, false}, {}, {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}, false}};
    PolyShape outline = LeafOutline(shape, 180);
    ASSERT_EQ(outline.lines.size(), 1u);
    EXPECT_EQ(outline.lines[0].points.size(), 3u);
    EXPECT_TRUE(outline.lines[0].closed);
    // One that loses its points is none either.
    EXPECT_TRUE(LeafOutline(Line({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}), 5).lines.empty());
}
