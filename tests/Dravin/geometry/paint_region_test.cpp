#include "Dravin/geometry/paint_region.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace {

constexpr double kSteps = 1000;  // a unit is a metre

// Twice the area, positive for outlines that run against the clock.
double Area2(const TPaintPolygon& polygon) {
    double sum = 0;
    for (size_t i = 0; i < polygon.size(); ++i) {
        TPaintPoint a = polygon[i], b = polygon[(i + 1) % polygon.size()];
        sum += double(a.x) * double(b.y) - double(b.x) * double(a.y);
    }
    return sum;
}

// Square units, holes taken off.
double AreaOf(const TPaintRegion& region) {
    double sum = 0;
    for (const TPaintPolygon& polygon : region.Polygons()) sum += Area2(polygon);
    return sum / 2 / kSteps / kSteps;
}

PolyLine Square(float half, Point2 middle = {}) {
    return {{{middle.x - half, middle.y - half, 0},
             {middle.x + half, middle.y - half, 0},
             {middle.x + half, middle.y + half, 0},
             {middle.x - half, middle.y + half, 0}},
            true};
}

TPaintRegion RegionOf(std::vector<PolyLine> lines) {
    return TPaintRegion(PolyShape{std::move(lines)}, kSteps);
}

bool Holds(const TPaintPolygon& polygon, TPaintPoint p) {
    return std::find(polygon.begin(), polygon.end(), p) != polygon.end();
}

}  // namespace

TEST(PaintRegion, StepsAreThousandthsOfAMetre) {
    EXPECT_EQ(PaintStepsPerUnit(1), 1000);
    EXPECT_DOUBLE_EQ(PaintStepsPerUnit(0.01), 10);  // units of a centimetre
}

TEST(PaintRegion, CoordinatesAreCutTowardsZero) {
    PolyLine line{{{1.9999f, -1.9999f, 7}, {3, 0, 7}, {0, 3, 7}}, true};
    TPaintRegion region(PolyShape{{line}}, 1);
    ASSERT_EQ(region.Polygons().size(), 1u);
    EXPECT_EQ(region.Polygons()[0], (TPaintPolygon{{1, -1}, {3, 0}, {0, 3}}));
    EXPECT_EQ(region.Shape().lines[0].points[0], (Point3{1, -1, 0}));
}

TEST(PaintRegion, OpenAndUncountableLinesAreLeftOut) {
    PolyLine open = Square(1), nan = Square(1), huge = Square(1);
    open.closed = false;
    nan.points[0].x = std::numeric_limits<float>::quiet_NaN();
    huge.points[0].y = 1e30f;
    EXPECT_EQ(RegionOf({open, nan, huge, Square(2)}).Polygons().size(), 1u);
}

// One sample is a circle of 24 corners; the simplification takes those that stand out of the chord
// of their neighbours by no more than a twentieth of the radius. Leaving out every other one bends
// the outline by r (1 - cos 15 degrees) = 0.034 r, more is 0.076 r and above: between 12 and 24
// points are left, all of them corners of the circle.
TEST(PaintRegion, OneSampleIsACircle) {
    TPaintRegion region(kSteps);
    ASSERT_TRUE(region.Apply(TPaintMode::kPaint, {{3, 4}, 2}));
    ASSERT_EQ(region.Polygons().size(), 1u);
    const TPaintPolygon& circle = region.Polygons()[0];
    EXPECT_GE(circle.size(), 12u);
    EXPECT_LE(circle.size(), 24u);
    for (TPaintPoint p : circle) {
        double angle = std::atan2(double(p.y) - 4000, double(p.x) - 3000) / (M_PI / 12);
        EXPECT_NEAR(std::hypot(double(p.x) - 3000, double(p.y) - 4000), 2000, 2);
        EXPECT_NEAR(angle, std::round(angle), 0.01);
    }
    // Between the polygon of 12 corners, 3 r^2, and that of 24, 12 sin 15 degrees r^2.
    EXPECT_GE(AreaOf(region), 12 - 0.01);
    EXPECT_LE(AreaOf(region), 12.43);
    PolyShape shape = region.Shape();
    ASSERT_EQ(shape.lines.size(), 1u);
    EXPECT_TRUE(shape.lines[0].closed);
    EXPECT_EQ(shape.lines[0].points[0].z, 0);
}

// A square far larger than the brush: what is cut out of its middle is a hole.
TEST(PaintRegion, ErasingInsideLeavesAHole) {
    TPaintRegion region = RegionOf({Square(10)});
    ASSERT_TRUE(region.Apply(TPaintMode::kErase, {{1, 1}, 2}));
    EXPECT_EQ(region.Shape().lines.size(), 2u);
    EXPECT_GE(AreaOf(region), 400 - 12.43);
    EXPECT_LE(AreaOf(region), 400 - 12 + 0.01);
    // A hole that is painted over is closed again.
    ASSERT_TRUE(region.Apply(TPaintMode::kPaint, {{1, 1}, 3}));
    EXPECT_EQ(region.Shape().lines.size(), 1u);
    EXPECT_NEAR(AreaOf(region), 400, 1e-6);
}

TEST(PaintRegion, ErasingEverythingLeavesNothing) {
    TPaintRegion region = RegionOf({Square(1), Square(1, {3, 0})});
    ASSERT_TRUE(region.Apply(TPaintMode::kErase, {{1, 0}, 20}));
    EXPECT_TRUE(region.Polygons().empty());
    EXPECT_TRUE(region.Shape().lines.empty());
}

TEST(PaintRegion, NestedOutlinesFillByTurns) {
    // A ring, with an island in it; painting beside it touches none of the three.
    TPaintRegion region = RegionOf({Square(10), Square(5), Square(1)});
    double before = 400 - 100 + 4;
    ASSERT_TRUE(region.Apply(TPaintMode::kPaint, {{30, 0}, 1}));
    EXPECT_EQ(region.Shape().lines.size(), 4u);
    EXPECT_NEAR(AreaOf(region), before + 3.05, 0.06);
}

// A fine zigzag on one edge of a large square: the brush evens what it reaches and nothing else.
TEST(PaintRegion, OnlyWhatTheBrushReachesGetsSimpler) {
    PolyLine line;
    line.closed = true;
    for (int i = 0; i <= 200; ++i)
        line.points.push_back({float(i) * 0.1f, i % 2 ? 0.004f : 0.f, 0});
    line.points.push_back({20, 20, 0});
    line.points.push_back({0, 20, 0});
    TPaintRegion region = RegionOf({line});
    size_t before = region.Polygons()[0].size();
    // Reaches 1.05 about (5, 1): x from 4.68 to 5.32 on the edge.
    ASSERT_TRUE(region.Apply(TPaintMode::kPaint, {{5, 1}, 1}));
    ASSERT_EQ(region.Polygons().size(), 1u);
    const TPaintPolygon& after = region.Polygons()[0];
    EXPECT_LT(after.size(), before);
    EXPECT_GE(after.size(), before - 7);
    TPaintRegion untouched = RegionOf({line});
    for (TPaintPoint p : untouched.Polygons()[0])
        EXPECT_TRUE(std::hypot(double(p.x) - 5000, double(p.y) - 1000) <= 1060 || Holds(after, p));
}

TEST(PaintRegion, ThreePointsStayAsTheyAre) {
    PolyLine triangle{{{0, 0, 0}, {0.02f, 0, 0}, {0, 0.02f, 0}}, true};
    TPaintRegion region = RegionOf({triangle});
    ASSERT_TRUE(region.Apply(TPaintMode::kErase, {{0.5f, 0}, 0.45f}));
    ASSERT_EQ(region.Polygons().size(), 1u);
    EXPECT_EQ(region.Polygons()[0].size(), 3u);
}

TEST(PaintRegion, SamplesThatCannotBePaintedChangeNothing) {
    TPaintRegion region = RegionOf({Square(1)}), before = region;
    float nan = std::numeric_limits<float>::quiet_NaN(), far = 1e30f;
    for (const TPaintSample& sample : {TPaintSample{{0, 0}, 0.0009f},
                                       {{0, 0}, 0},
                                       {{0, 0}, -1},
                                       {{0, 0}, nan},
                                       {{nan, 0}, 1},
                                       {{0, far}, 1},
                                       {{0, 0}, far}})
        for (TPaintMode mode : {TPaintMode::kPaint, TPaintMode::kErase, TPaintMode::kSmooth})
            EXPECT_FALSE(region.Apply(mode, sample));
    EXPECT_EQ(region, before);
}

TEST(PaintRegion, FarFromTheOriginIsAsExact) {
    TPaintRegion region(kSteps);
    ASSERT_TRUE(region.Apply(TPaintMode::kPaint, {{4e6f, -4e6f}, 2}));
    ASSERT_EQ(region.Polygons().size(), 1u);
    EXPECT_GE(Area2(region.Polygons()[0]) / 2e6, 12 - 0.01);
}

// The corner of a square is cut; its straight edges, and what lies outside the brush, stay.
TEST(PaintRegion, SmoothingRoundsWhatIsUnderTheBrush) {
    TPaintRegion region = RegionOf({Square(10)});
    for (int i = 0; i < 20; ++i) ASSERT_TRUE(region.Apply(TPaintMode::kSmooth, {{10, 10}, 3, 1}));
    ASSERT_EQ(region.Polygons().size(), 1u);
    const TPaintPolygon& outline = region.Polygons()[0];
    EXPECT_FALSE(Holds(outline, {10000, 10000}));
    for (TPaintPoint corner : {TPaintPoint{-10000, -10000}, {10000, -10000}, {-10000, 10000}})
        EXPECT_TRUE(Holds(outline, corner));
    EXPECT_LT(AreaOf(region), 400 - 0.1);
    EXPECT_GT(AreaOf(region), 400 - 9);  // never more than the brush covers of it
    TPaintRegion still = RegionOf({Square(10)});
    ASSERT_TRUE(still.Apply(TPaintMode::kSmooth, {{10, 10}, 3, 0}));
    EXPECT_NEAR(AreaOf(still), 400, 1e-9) << "no strength";
}

// --- strokes

TEST(PaintStroke, LeavesNoGaps) {
    TPaintStroke stroke(TPaintRegion(kSteps), TPaintMode::kPaint);
    EXPECT_TRUE(stroke.MoveTo({{0, 0}, 1}));
    EXPECT_TRUE(stroke.MoveTo({{40, 0}, 1}));
    ASSERT_EQ(stroke.Region().Polygons().size(), 1u);
    // 40 long and two wide with round ends; the samples stand half a radius apart, so that the
    // sides bend inwards by less than 0.05.
    EXPECT_NEAR(AreaOf(stroke.Region()), 80 + M_PI, 5);
    EXPECT_FALSE(stroke.MoveTo({{40, 0}, 1})) << "the hand rests";
}

TEST(PaintStroke, SizesChangeAlongTheWay) {
    TPaintStroke stroke(TPaintRegion(kSteps), TPaintMode::kPaint);
    stroke.MoveTo({{0, 0}, 1});
    stroke.MoveTo({{20, 0}, 3});
    Box3 box = stroke.Region().Shape().BoundingBox();
    EXPECT_NEAR(box.max.y, 3, 0.15);
    EXPECT_NEAR(box.min.x, -1, 0.05);
    // A wedge: 20 times the mean width of 4, with round ends of half a disk each.
    EXPECT_NEAR(AreaOf(stroke.Region()), 80 + M_PI / 2 * (1 + 9), 6);
}

TEST(PaintStroke, WildPlacesAreLeftOut) {
    TPaintStroke stroke(TPaintRegion(kSteps), TPaintMode::kPaint);
    float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(stroke.MoveTo({{nan, 0}, 1}));
    EXPECT_FALSE(stroke.MoveTo({{0, 0}, nan}));
    EXPECT_TRUE(stroke.MoveTo({{0, 0}, 1}));
    EXPECT_FALSE(stroke.MoveTo({{INFINITY, 0}, 1}));
    EXPECT_TRUE(stroke.MoveTo({{1, 0}, 1}));
    EXPECT_EQ(stroke.Region().Polygons().size(), 1u);
}

// A long session: the number of points stays bounded by the outline, not by the samples.
TEST(PaintStroke, LongSessionsStaySmall) {
    TPaintStroke stroke(TPaintRegion(kSteps), TPaintMode::kPaint);
    for (int i = 0; i < 2000; ++i) {
        float angle = float(i) * 0.05f;
        stroke.MoveTo({{10 * std::cos(angle), 10 * std::sin(angle)}, 1});
    }
    size_t points = 0;
    for (const TPaintPolygon& polygon : stroke.Region().Polygons()) points += polygon.size();
    EXPECT_EQ(stroke.Region().Polygons().size(), 2u) << "a ring";
    EXPECT_LT(points, 400u);
}
