#include "Dravin/panels/curve_shape.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

// From (0, 0) to (1, 1) with flat ends: y = t^2 (3 - 2 t) at x = t, as the handles' thirds make
// x linear.
std::vector<CurvePoint> Ease() {
    return {{.px = 0, .py = 0, .outx = 1 / 3.0f}, {.px = 1, .py = 1, .inx = -1 / 3.0f}};
}

}  // namespace

TEST(CurveShape, APointAddedOnTheCurveKeepsItsShape) {
    std::vector<CurvePoint> points = Ease();
    size_t at = InsertCurvePoint(points, 0.3f);
    ASSERT_EQ(at, 1u);
    EXPECT_NEAR(points[1].py, 0.3f * 0.3f * (3 - 0.6f), 1e-5);
    EXPECT_EQ(KindOfPoint(points[1]), CurvePointKind::kSmooth);
    BezierCurve curve(points);
    for (float x : {0.1f, 0.25f, 0.4f, 0.6f, 0.95f})
        EXPECT_NEAR(curve.Value(x), x * x * (3 - 2 * x), 1e-4) << x;
    EXPECT_EQ(InsertCurvePoint(points, 0.3f), 1u);
    EXPECT_EQ(points.size(), 3u);
}

TEST(CurveShape, EndsKeepTheirPlaceAndNonePassesAnother) {
    std::vector<CurvePoint> points{
        {.px = 0, .py = 100}, {.px = 0.5f, .py = 50}, {.px = 1, .py = 0}};
    const size_t first[] = {0}, middle[] = {1}, two[] = {0, 1};
    MoveCurvePoints(points, first, 0.4f, -30, 100);
    EXPECT_EQ(points[0].px, 0);
    EXPECT_EQ(points[0].py, 70);
    MoveCurvePoints(points, middle, 0.9f, 500, 100);
    EXPECT_EQ(points[1].px, 1);
    EXPECT_EQ(points[1].py, 100);
    MoveCurvePoints(points, middle, -3, 0, 100);
    EXPECT_EQ(points[1].px, 0);
    MoveCurvePoints(points, two, 0.2f, -1000, 100);
    EXPECT_EQ(points[1].px, 0);
    EXPECT_EQ(points[1].py, 0);
}

TEST(CurveShape, HandlesOfSmoothPointsTurnTogether) {
    std::vector<CurvePoint> points{{}, {.px = 0.5f, .py = 0.5f}, {.px = 1}};
    SmoothCurvePoint(points, 1);
    EXPECT_EQ(KindOfPoint(points[1]), CurvePointKind::kSmooth);
    EXPECT_FLOAT_EQ(points[1].inx, -0.5f / 3);
    MoveCurveHandle(points, 1, true, 0.5f, 0.9f, false);
    EXPECT_NEAR(points[1].iny, -0.5f / 3, 1e-6);
    EXPECT_NEAR(points[1].inx, 0, 1e-6);
    MoveCurveHandle(points, 1, true, 0.8f, 0.5f, true);
    EXPECT_EQ(KindOfPoint(points[1]), CurvePointKind::kBroken);
    MoveCurveHandle(points, 1, true, 0.1f, 0.5f, true);  // behind its point
    EXPECT_EQ(points[1].outx, 0);
}

TEST(CurveShape, AStepHoldsUpToTheNextPoint) {
    std::vector<CurvePoint> points{{.px = 0, .py = 1}, {.px = 0.5f, .py = 0}, {.px = 1, .py = 0}};
    StepCurvePoint(points, 0);
    BezierCurve curve(points);
    EXPECT_EQ(curve.Value(0.49f), 1);
    EXPECT_EQ(curve.Value(0.51f), 0);
    StepCurvePoint(points, points.size() - 1);
    EXPECT_EQ(points.size(), 4u);
}

TEST(CurveShape, EndsAreNotRemoved) {
    std::vector<CurvePoint> points{{.px = 0}, {.px = 0.5f}, {.px = 1}};
    const size_t all[] = {0, 1, 2};
    RemoveCurvePoints(points, all);
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[1].px, 1);
}

TEST(CurveShape, PresetsRunFromEndToEnd) {
    for (const TCurvePreset& preset : CurvePresets()) {
        EXPECT_EQ(preset.points.front().px, 0) << preset.name;
        EXPECT_EQ(preset.points.back().px, 1) << preset.name;
        BezierCurve curve(preset.points);
        for (int i = 0; i <= 100; ++i) {
            float y = curve.Value(float(i) / 100);
            EXPECT_TRUE(y > -0.001f && y < 1.001f) << preset.name << " at " << i;
        }
    }
}
