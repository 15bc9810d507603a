#include "host/geom/spline_edit.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

// An open spline of three straight knots, and a closed one of four with handles.
BezierShape TwoSplines() {
    BezierShape shape;
    shape.splines.push_back({{{{0, 0, 0}}, {{3, 0, 0}}, {{3, 3, 0}}}, false});
    shape.splines.push_back({{{{0, 0, 0}, {-1, 0, 0}, {1, 0, 0}},
                              {{4, 4, 0}, {0, -1, 0}, {0, 1, 0}},
                              {{0, 8, 0}, {1, 0, 0}, {-1, 0, 0}},
                              {{-4, 4, 0}, {0, 1, 0}, {0, -1, 0}}},
                             true});
    return shape;
}

}  // namespace

TEST(SplineEdit, KnotsAreCountedThroughAllSplines) {
    BezierShape shape = TwoSplines();
    EXPECT_EQ(NumKnots(shape), 7u);
    EXPECT_EQ(FindKnot(shape, 2)->spline, 0u);
    EXPECT_EQ(FindKnot(shape, 4)->spline, 1u);
    EXPECT_EQ(FindKnot(shape, 4)->knot, 1u);
    EXPECT_FALSE(FindKnot(shape, 7));
    EXPECT_EQ(PlaceOf(shape, {4, SplinePart::kOut}), (Point3{4, 5, 0}));
    EXPECT_EQ(PlaceOf(shape, {9, SplinePart::kKnot}), Point3{});
}

TEST(SplineEdit, HandlesGoWithTheirKnotAndTurnTheirTwin) {
    BezierShape shape = TwoSplines();
    MovePoint(shape, {4, SplinePart::kKnot}, {10, 0, 0});
    EXPECT_EQ(PlaceOf(shape, {4, SplinePart::kIn}), (Point3{10, -1, 0}));
    MovePoint(shape, {4, SplinePart::kOut}, {14, 0, 0});
    EXPECT_EQ(PlaceOf(shape, {4, SplinePart::kIn}), (Point3{9, 0, 0})) << "as long as before";
    BezierKnot& knot = shape.splines[1].knots[1];
    knot.in = {0, 5, 0};  // broken
    MovePoint(shape, {4, SplinePart::kOut}, {10, 0, 2});
    EXPECT_EQ(knot.in, (Point3{0, 5, 0}));
    MovePoint(shape, {40, SplinePart::kKnot}, {1, 1, 1});
}

// The curve keeps its form: points of both halves are points of the whole.
TEST(SplineEdit, AnInsertedKnotChangesNothingOfTheCurve) {
    BezierShape before = TwoSplines(), after = before;
    const float t = 0.3f;
    ASSERT_EQ(InsertKnot(after, 3, t), 4u);
    const auto &old = before.splines[1].knots, &now = after.splines[1].knots;
    ASSERT_EQ(now.size(), 5u);
    for (float u : {0.f, 0.25f, 0.5f, 0.9f, 1.f}) {
        Point3 whole = BezierPoint(old[0], old[1], u * t);
        EXPECT_NEAR(Length(BezierPoint(now[0], now[1], u) - whole), 0, 1e-5);
        whole = BezierPoint(old[0], old[1], t + u * (1 - t));
        EXPECT_NEAR(Length(BezierPoint(now[1], now[2], u) - whole), 0, 1e-5);
    }
    EXPECT_TRUE(IsSmooth(now[1]));
}

TEST(SplineEdit, InsertingOnStraightAndClosingSegments) {
    BezierShape shape = TwoSplines();
    ASSERT_EQ(InsertKnot(shape, 0, 0.5f), 1u);
    EXPECT_EQ(shape.splines[0].knots[1], (BezierKnot{{1.5f, 0, 0}}));
    EXPECT_FALSE(InsertKnot(shape, 3, 0.5f)) << "the open end";
    ASSERT_EQ(InsertKnot(shape, 7, 0.5f), 8u) << "from the last knot back to the first";
    EXPECT_EQ(shape.splines[1].knots.size(), 5u);
    for (float t : {0.f, 1.f, -1.f, NAN}) EXPECT_FALSE(InsertKnot(shape, 0, t));
    EXPECT_FALSE(InsertKnot(shape, 99, 0.5f));
}

TEST(SplineEdit, SplinesThatLoseTheirKnotsGo) {
    BezierShape shape = TwoSplines();
    const size_t some[] = {3, 5};
    DeleteKnots(shape, some);
    EXPECT_EQ(shape.splines[1].knots.size(), 2u);
    EXPECT_FALSE(shape.splines[1].closed) << "two knots enclose nothing";
    const size_t more[] = {0, 1};
    DeleteKnots(shape, more);
    ASSERT_EQ(shape.splines.size(), 1u);
    EXPECT_EQ(shape.splines[0].knots[0].p, (Point3{4, 4, 0}));
    const size_t all[] = {0, 1, 2, 3};
    DeleteKnots(shape, all);
    EXPECT_TRUE(shape.splines.empty());
}

TEST(SplineEdit, SmoothKnotsLeanOnTheirNeighbours) {
    BezierShape shape = TwoSplines();
    MakeSmooth(shape, 1);
    const BezierKnot& middle = shape.splines[0].knots[1];
    EXPECT_TRUE(IsSmooth(middle));
    // Along the diagonal from (0, 0) to (3, 3); both neighbours are 3 away.
    EXPECT_NEAR(middle.out.x, std::sqrt(0.5f), 1e-5);
    EXPECT_NEAR(middle.out.y, std::sqrt(0.5f), 1e-5);
    MakeSmooth(shape, 0);
    EXPECT_EQ(shape.splines[0].knots[0].in, Point3{}) << "nothing lies before it";
    EXPECT_NEAR(shape.splines[0].knots[0].out.x, 1, 1e-5);
    MakeCorner(shape, 1);
    EXPECT_EQ(shape.splines[0].knots[1], (BezierKnot{{3, 0, 0}}));
}

TEST(SplineEdit, SplinesCloseAndOpen) {
    BezierShape shape = TwoSplines();
    EXPECT_TRUE(SetClosed(shape, 2, true));
    EXPECT_TRUE(shape.splines[0].closed);
    EXPECT_FALSE(SetClosed(shape, 0, true)) << "it is";
    EXPECT_TRUE(SetClosed(shape, 3, false));
    const size_t one[] = {0};
    DeleteKnots(shape, one);
    EXPECT_FALSE(SetClosed(shape, 0, true)) << "two knots enclose nothing";
}
