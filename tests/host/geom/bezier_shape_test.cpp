#include "host/geom/bezier_shape.h"

#include <gtest/gtest.h>

namespace {

// Handles of a third of the way make the cubic the straight line at constant speed.
BezierShape EvenSegment(int steps) {
    return {{{{{{0, 0, 0}, {}, {1, 0, 0}}, {{3, 0, 0}, {-1, 0, 0}, {}}}, false}}, steps};
}

}  // namespace

TEST(BezierShape, StepsLieBetweenTheKnots) {
    PolyShape shape = MakePolyShape(EvenSegment(2));
    ASSERT_EQ(shape.lines.size(), 1u);
    ASSERT_EQ(shape.lines[0].points.size(), 4u);
    EXPECT_EQ(shape.lines[0].points[0], (Point3{0, 0, 0}));
    EXPECT_NEAR(shape.lines[0].points[1].x, 1, 1e-6);
    EXPECT_NEAR(shape.lines[0].points[2].x, 2, 1e-6);
    EXPECT_EQ(shape.lines[0].points[3], (Point3{3, 0, 0}));
}

TEST(BezierShape, MiddleOfTheCurveIsTheWeightedMean) {
    // At t = 1/2 the weights are 1/8, 3/8, 3/8, 1/8.
    BezierKnot a{{0, 0, 0}, {}, {0, 4, 0}}, b{{8, 0, 0}, {0, 4, 0}, {}};
    EXPECT_EQ(BezierPoint(a, b, 0.5f), (Point3{4, 3, 0}));
    EXPECT_EQ(BezierPoint(a, b, 0), a.p);
    EXPECT_EQ(BezierPoint(a, b, 1), b.p);
}

TEST(BezierShape, StraightSegmentsKeepTheirPoints) {
    BezierShape shape{{{{{{0, 0, 0}}, {{1, 0, 0}}, {{1, 1, 0}}}, true}}, 6};
    PolyLine line = MakePolyShape(shape).lines[0];
    EXPECT_EQ(line.points, (std::vector<Point3>{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}}));
    EXPECT_TRUE(line.closed);
}

TEST(BezierShape, ClosedCurveGetsStepsInItsLastSegment) {
    BezierShape shape{
        {{{{{0, 0, 0}, {0, -1, 0}, {0, 1, 0}}, {{4, 0, 0}, {0, 1, 0}, {0, -1, 0}}}, true}}, 3};
    EXPECT_EQ(MakePolyShape(shape).lines[0].points.size(), 2u + 2u * 3u);
}

TEST(BezierShape, NegativeStepsCountAsNone) {
    EXPECT_EQ(MakePolyShape(EvenSegment(-4)).lines[0].points.size(), 2u);
}

TEST(BezierShape, OneKnotAndNoneAreLinesWithoutSegments) {
    BezierShape shape{{{{}, false}, {{{{1, 2, 3}, {1, 0, 0}, {1, 0, 0}}}, true}}, 6};
    PolyShape lines = MakePolyShape(shape);
    EXPECT_TRUE(lines.lines[0].points.empty());
    EXPECT_EQ(lines.lines[1].points, (std::vector<Point3>{{1, 2, 3}}));
    EXPECT_EQ(lines.lines[1].NumSegments(), 0u);
}

TEST(PolyLine, SegmentsOfOpenAndClosedLines) {
    PolyLine line{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}, false};
    EXPECT_EQ(line.NumSegments(), 2u);
    line.closed = true;
    EXPECT_EQ(line.NumSegments(), 3u);
}

TEST(PolyShape, TransformMovesPointsAndBounds) {
    PolyShape shape{{{{{0, 0, 0}, {1, 2, 3}}, false}}};
    shape.Transform(Matrix3::Translation({10, 0, 0}));
    EXPECT_EQ(shape.BoundingBox().min, (Point3{10, 0, 0}));
    EXPECT_EQ(shape.BoundingBox().max, (Point3{11, 2, 3}));
    EXPECT_TRUE(PolyShape{}.BoundingBox().IsEmpty());
}
