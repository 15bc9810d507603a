#include "Dravin/engine/falloff_curve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(FalloffCurve, ClampsX) {
    FalloffCurve curve = FalloffCurve::Line(100, 0);
    EXPECT_EQ(EvalFalloffCurve(&curve, -3, false), 100.0f);
    EXPECT_EQ(EvalFalloffCurve(&curve, 7, false), 0.0f);
    EXPECT_EQ(EvalFalloffCurve(&curve, std::nanf(""), false), 100.0f);
}

TEST(FalloffCurve, DefaultFalloffAndItsInverse) {
    FalloffCurve curve = FalloffCurve::Line(100, 0);
    EXPECT_EQ(EvalFalloffCurve(&curve, 0, false), 100.0f);
    EXPECT_EQ(EvalFalloffCurve(&curve, 1, false), 0.0f);
    EXPECT_EQ(EvalFalloffCurve(&curve, 0, true), 0.0f);
    EXPECT_EQ(EvalFalloffCurve(&curve, 1, true), 100.0f);
    EXPECT_NEAR(curve.Value(0.25f), 75.0f, 1e-4);
}

TEST(FalloffCurve, WithoutACurveTheValueIsOne) {
    EXPECT_EQ(EvalFalloffCurve(nullptr, 0.5f, false), 1.0f);
    EXPECT_EQ(EvalFalloffCurve(nullptr, 0.5f, true), 1.0f);
}

TEST(FalloffCurve, BezierSegment) {
    // Handles of a third of the width keep x(t) = t, so y(t) is the Bernstein sum of 0, 1, 1, 1:
    // 1 - (1 - t)^3.
    const float third = 1.0f / 3.0f;
    const CurvePoint points[] = {{.px = 0, .py = 0, .outx = third, .outy = 1},
                                 {.px = 1, .py = 1, .inx = -third, .iny = 0}};
    FalloffCurve curve(points);
    for (float x : {0.1f, 0.3f, 0.5f, 0.9f})
        EXPECT_NEAR(curve.Value(x), 1 - std::pow(1 - x, 3), 1e-5) << x;
}

TEST(FalloffCurve, EndValuesHoldOutsideThePoints) {
    const CurvePoint points[] = {{.px = 0.75f, .py = 10}, {.px = 0.25f, .py = 30}};
    FalloffCurve curve(points);
    EXPECT_EQ(curve.Value(0.1f), 30.0f);
    EXPECT_EQ(curve.Value(0.9f), 10.0f);
    EXPECT_NEAR(curve.Value(0.5f), 20.0f, 1e-4);
}

TEST(FalloffCurve, FewOrBrokenPoints) {
    EXPECT_EQ(FalloffCurve(std::span<const CurvePoint>()).Value(0.5f), 0.0f);
    const CurvePoint one[] = {{.px = 0.5f, .py = 7}};
    EXPECT_EQ(FalloffCurve(one).Value(0.0f), 7.0f);
    const CurvePoint broken[] = {{.px = std::numeric_limits<float>::quiet_NaN(), .py = 1},
                                 {.px = 0, .py = 5},
                                 {.px = 1, .py = std::numeric_limits<float>::infinity()}};
    EXPECT_EQ(FalloffCurve(broken).Value(0.5f), 5.0f);
    const CurvePoint step[] = {
        {.px = 0, .py = 0}, {.px = 0.5f, .py = 0}, {.px = 0.5f, .py = 9}, {.px = 1, .py = 9}};
    EXPECT_EQ(FalloffCurve(step).Value(0.45f), 0.0f);
    EXPECT_EQ(FalloffCurve(step).Value(0.55f), 9.0f);
}

TEST(BezierCurve, IsExactBeyondTheUnitInterval) {
    const CurvePoint points[] = {{.px = -1, .py = 2}, {.px = 3, .py = 10}};
    BezierCurve curve(points);
    EXPECT_FLOAT_EQ(curve.Value(2), 8);  // a line of slope 2
    EXPECT_FLOAT_EQ(curve.Value(-0.5f), 3);
    EXPECT_EQ(curve.Value(-4), 2);  // beyond its ends it stays
    EXPECT_EQ(curve.Value(7), 10);
    EXPECT_EQ(BezierCurve({}).Value(1), 0);
}

TEST(BezierCurve, AgreesWithTheTable) {
    const CurvePoint points[] = {{.px = 0, .py = 0, .outx = 0.25f, .outy = 0.5f},
                                 {.px = 1, .py = 100, .inx = -0.5f, .iny = 0}};
    FalloffCurve table(points);
    BezierCurve exact(points);
    for (int i = 0; i <= 100; ++i)
        EXPECT_NEAR(exact.Value(float(i) / 100), table.Value(float(i) / 100), 0.01f);
}
