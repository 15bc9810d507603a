#include "Dravin/engine/areas/poly_line_plus.h"

#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

namespace {

constexpr float kPi = std::numbers::pi_v<float>;

PolyLinePlus Line(std::vector<Point3> points, bool closed = false) {
    return PolyLinePlus(PolyLine{std::move(points), closed});
}
PolyLinePlus Corner() { return Line({{0, 0, 0}, {4, 0, 0}, {4, 4, 0}}); }
PolyLinePlus Square() { return Line({{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}}, true); }

void ExpectNear(const Point3& a, const Point3& b, float tolerance = 1e-5f) {
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

TEST(PolyLinePlus, OnePointHasNoSegmentsAndEveryFractionGivesIt) {
    PolyLinePlus line = Line({{1, 2, 3}});
    EXPECT_EQ(line.NumSegments(), 0);
    EXPECT_EQ(line.Length(), 0);
    for (float u : {-1.0f, 0.0f, 0.5f, 1.0f, 7.0f})
        EXPECT_EQ(line.PositionAt(u).position, (Point3{1, 2, 3}));
    EXPECT_EQ(Line({}).PositionAt(0.5f).position, Point3{});
}

TEST(PolyLinePlus, CoincidentPointsHaveFractionsOfOne) {
    PolyLinePlus line = Line({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}});
    EXPECT_EQ(line.Length(), 0);
    EXPECT_EQ(line.FractionAtEnd(0), 1);
    EXPECT_EQ(line.FractionAtEnd(1), 1);
    EXPECT_EQ(line.PositionAt(0.5f).position, (Point3{1, 1, 1}));
}

TEST(PolyLinePlus, OpenLinesExtrapolateBothEnds) {
    PolyLinePlus line = Corner();
    ExpectNear(line.PositionAt(1.2f).position, {4, 4 + 0.2f * 8, 0});
    ExpectNear(line.PositionAt(-0.25f).position, {-2, 0, 0});
}

TEST(PolyLinePlus, ClosedLinesWrapAround) {
    PolyLinePlus line = Square();
    ExpectNear(line.PositionAt(1.2f).position, line.PositionAt(0.2f).position);
    ExpectNear(line.PositionAt(-0.3f).position, line.PositionAt(0.7f).position);
    EXPECT_EQ(line.PositionAt(1).position, (Point3{0, 0, 0}));
}

TEST(PolyLinePlus, TheTangentAtARightAngleIsTheBisector) {
    float h = std::sqrt(0.5f);
    ExpectNear(Corner().Tangent(1, 0), {h, h, 0});
    ExpectNear(Corner().Tangent(0, 1), {h, h, 0});
    ExpectNear(Corner().Tangent(0, 0), {1, 0, 0});
    ExpectNear(Corner().Tangent(1, 1), {0, 1, 0});
    ExpectNear(Square().Tangent(0, 0), {h, -h, 0});
}

TEST(PolyLinePlus, LengthsBetweenPointsAndFractions) {
    PolyLinePlus line = Corner();
    EXPECT_EQ(line.Length(), 8);
    EXPECT_EQ(line.LengthBetween(0, 2), 8);
    EXPECT_EQ(line.LengthBetween(2, 1), 4);
    EXPECT_EQ(line.LengthBetween(0, 3), 0);
    EXPECT_EQ(line.FractionOfPoint(1), 0.5f);
    EXPECT_EQ(line.FractionOfPoint(0), 0);
    EXPECT_EQ(line.FractionToLength(0.25f), 2);
    EXPECT_EQ(line.LengthToFraction(2), 0.25f);
    ExpectNear(line.ChordDirection(), {std::sqrt(0.5f), std::sqrt(0.5f), 0});
}

TEST(PolyLinePlus, ChangedPointsDropTheCache) {
    PolyLinePlus line = Line({{0, 0, 0}, {1, 0, 0}});
    EXPECT_EQ(line.Length(), 1);
    line.SetPoint(1, {5, 0, 0});
    EXPECT_EQ(line.Length(), 5);
}

TEST(PolyLinePlus, LimitsExtrapolateAlongTheirSegments) {
    PolyLinePlus line = Line({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {2, 1, 0}});
    ExpectNear(line.PositionAt(0.1f, {1, 2}).position, {1, -(1.0f / 3 - 0.1f) * 3, 0});
    ExpectNear(line.PositionAt(0.9f, {1, 2}).position, {1, 1 + (0.9f - 2.0f / 3) * 3, 0});
}

TEST(PolyLinePlus, DistancesByThreeMetrics) {
    PolyLinePlus line = Line({{0, 0, 0}, {3, 0, 4}, {3, 5, 4}});
    EXPECT_NEAR(line.Distance(0, 1, PathMetric::kLength), 10, 1e-5);
    EXPECT_NEAR(line.Distance(0, 1, PathMetric::kPlanar), 8, 1e-5);
    EXPECT_NEAR(line.Distance(1, 0, PathMetric::kStraight), std::sqrt(50.0f), 1e-5);
}

TEST(PolyLinePlus, ThePlanarLengthOfAClosedLineIsItsWholeRound) {
    // A rectangle of 4 x 3, one corner lifted: 14 units around in the plane.
    PolyLinePlus round(PolyLine{{{0, 0, 0}, {4, 0, 0}, {4, 3, 5}, {0, 3, 0}}, true});
    EXPECT_NEAR(round.PlanarLength(0, 1), 14, 1e-4);
    EXPECT_NEAR(round.PlanarLength(1, 0), 14, 1e-4);
    EXPECT_NEAR(round.PlanarLength(0, 2), 28, 1e-4);
    float corner = round.FractionAtEnd(0);  // (4, 0)
    EXPECT_NEAR(round.PlanarLength(0, corner), 4, 1e-4);
    EXPECT_NEAR(round.PlanarLength(corner, 1), 10, 1e-4);
    EXPECT_NEAR(round.PlanarLength(corner, 1 + corner), 14, 1e-4);
    // The same with the first point stored again at the end.
    PolyLinePlus repeated(PolyLine{{{0, 0, 0}, {4, 0, 0}, {4, 3, 5}, {0, 3, 0}, {0, 0, 0}}, false});
    repeated.SetFlags(PolyLinePlus::kRepeatsFirst);
    EXPECT_NEAR(repeated.PlanarLength(0, 1), 14, 1e-4);
    EXPECT_NEAR(repeated.PlanarLength(0.5f, 1.5f), 14, 1e-3);
}

TEST(PolyLinePlus, AdvancesEndAtTheDistanceAskedFor) {
    PolyLinePlus line = Line({{0, 0, 0}, {3, 0, 4}, {3, 5, 4}, {9, 5, 4}});
    for (PathMetric metric : {PathMetric::kLength, PathMetric::kPlanar, PathMetric::kStraight})
        for (float d : {0.5f, 2.0f, 4.0f, 6.0f}) {
            float u = line.Advance(0.1f, d, metric);
            EXPECT_NEAR(line.Distance(0.1f, u, metric), d, 1e-3) << int(metric) << " " << d;
            float back = line.Advance(0.9f, -d, metric);
            EXPECT_NEAR(line.Distance(0.9f, back, metric), d, 1e-3) << int(metric) << " " << -d;
        }
    EXPECT_EQ(line.Advance(0.3f, 0.00001f, PathMetric::kPlanar), 0.3f);
}

TEST(PolyLinePlus, AnglesAreMeasuredOnTheLeft) {
    auto [left, right] = Corner().VertexAngle(1);  // a left turn
    EXPECT_NEAR(right, kPi / 2, 1e-5);
    EXPECT_NEAR(left, kPi / 2, 1e-5);
    auto [outer, inner] = Line({{0, 0, 0}, {4, 0, 0}, {4, -4, 0}}).VertexAngle(1);
    EXPECT_NEAR(inner, kPi / 2, 1e-5);
    EXPECT_NEAR(outer, 3 * kPi / 2, 1e-5);
    EXPECT_NEAR(Corner().VertexAngle(0).first, kPi, 1e-6);
}

TEST(PolyLinePlus, APositiveOffsetMovesToTheLeftAndMitresCorners) {
    PolyLinePlus straight = Line({{0, 0, 5}, {4, 0, 5}});
    straight.Offset(1);
    ExpectNear(straight.PointAt(0), {0, 1, 5});
    PolyLinePlus corner = Corner();
    corner.Offset(1);
    ExpectNear(corner.PointAt(1), {3, 1, 0});  // by the square root of two along the bisector
    PolyLinePlus square = Square();
    square.Offset(0.5f);
    ExpectNear(square.PointAt(0), {0.5f, 0.5f, 0});
    PolyLinePlus flat = Line({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}});
    flat.Offset(1);
    ExpectNear(flat.PointAt(1), {1, 1, 0});
}

}  // namespace
