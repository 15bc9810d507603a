#include "apps/studio/viewport/transform_gizmo.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

class Gizmos : public testing::Test {
protected:
    TransformGizmo gizmo;
    // From the front, 10 away: 10 pixels a unit; x to the right, z up; the middle is (200, 200).
    TViewportCamera camera{{{{1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {0, -20, 0}}}, 90, 400, 400};
    int begun = 0, cancelled = 0;
    std::vector<Matrix3> previews, commits;

    void SetUp() override {
        gizmo.onBegin = [this] { ++begun; };
        gizmo.onPreview = [this](const Matrix3& m) { previews.push_back(m); };
        gizmo.onCommit = [this](const Matrix3& m) { commits.push_back(m); };
        gizmo.onCancel = [this] { ++cancelled; };
        gizmo.tool = GizmoTool::kMove;
    }
    void Drag(GizmoHandle handle, float x0, float y0, float x1, float y1) {
        gizmo.Begin(handle, camera, x0, y0);
        gizmo.Drag(camera, x1, y1, false);
    }
    static void ExpectMoves(const Matrix3& m, const Point3& from, const Point3& to) {
        EXPECT_LT(Length(from * m - to), 1e-3f);
    }
};

TEST_F(Gizmos, HandlesKeepTheirSizeOnTheScreen) {
    for (float distance : {5.f, 20.f, 80.f}) {
        camera = TViewportCamera(Matrix3{{{1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {0, -distance, 0}}}, 90,
                                 400, 400);
        // The x axis is 90 pixels long; the y axis points away.
        EXPECT_EQ(gizmo.HandleAt(camera, 280, 200, 1), kAxisX);
        EXPECT_EQ(gizmo.HandleAt(camera, 200, 120, 1), kAxisZ);
        EXPECT_EQ(gizmo.HandleAt(camera, 310, 200, 1), kNoHandle);
        EXPECT_EQ(gizmo.HandleAt(camera, 200, 200, 1), kAllAxes);
        EXPECT_EQ(gizmo.HandleAt(camera, 228, 180, 1), kAxisX | kAxisZ);
    }
    // Twice the pixels a person's: twice as long.
    EXPECT_EQ(gizmo.HandleAt(camera, 370, 200, 2), kAxisX);
    gizmo.tool = GizmoTool::kNone;
    EXPECT_EQ(gizmo.HandleAt(camera, 280, 200, 1), kNoHandle);
}

TEST_F(Gizmos, TheHoveredHandleIsLit) {
    auto colorOf = [this](GizmoHandle handle) {
        for (const GizmoLine& line : gizmo.Lines(camera, 1))
            if (line.handle == handle) return line.color;
        return Color{};
    };
    Color plain = colorOf(kAxisX), other = colorOf(kAxisZ);
    gizmo.hovered = kAxisX;
    EXPECT_NE(colorOf(kAxisX), plain);
    EXPECT_EQ(colorOf(kAxisZ), other);
}

TEST_F(Gizmos, AxesOfTheViewAreThoseOfWhoLooks) {
    gizmo.FollowView(true);
    gizmo.SetFrame(Matrix3::Translation({1, 0, 2}));
    EXPECT_LT(Length(gizmo.FrameIn(camera).row[1] - Point3{0, 0, 1}), 1e-5f);
    // Up on the screen is its y.
    Drag(kAxisY, 210, 120, 210, 100);
    gizmo.Commit();
    ExpectMoves(commits.back(), {0, 0, 0}, {0, 0, 2});
}

TEST_F(Gizmos, SnapsOntoTheGridOfTheWorldElseByStepsFromTheBeginning) {
    gizmo.snapping.isOn = true, gizmo.snapping.step = 2;
    gizmo.SetFrame(Matrix3::Translation({0.5f, 0, 0}));
    Drag(kAxisX, 250, 200, 283, 200);  // 3.3, to 3.8
    EXPECT_FLOAT_EQ(gizmo.Values()[0], 3.5f);
    gizmo.Cancel();
    Matrix3 turned = Matrix3::RotationY(0.1f);
    turned.SetTrans({0.5f, 0, 0});
    gizmo.SetFrame(turned);
    Drag(kAxisX, 250, 200, 283, 200);
    EXPECT_FLOAT_EQ(gizmo.Values()[0], 4);
    gizmo.Cancel();
    gizmo.snapping.toGrid = false;
    Drag(kAxisX, 250, 200, 283, 200);
    EXPECT_NEAR(gizmo.Values()[0], 3.3f, 0.1f);
}

TEST_F(Gizmos, WhatIsCaughtComesBeforeTheGrid) {
    gizmo.snapping.isOn = true;
    gizmo.snapping.placeAt = [](const TViewportCamera&, float x, float) -> std::optional<Point3> {
        if (x < 270) return std::nullopt;
        return Point3{3.25f, 7, 1.5f};
    };
    Drag(kAllAxes, 200, 200, 280, 200);
    gizmo.Commit();
    ExpectMoves(commits.back(), {0, 0, 0}, {3.25f, 7, 1.5f});
    Drag(kAxisX, 250, 200, 280, 200);
    ASSERT_TRUE(gizmo.Caught());
    gizmo.Commit();
    ExpectMoves(commits.back(), {0, 0, 0}, {3.25f, 0, 0});
    Drag(kAxisX, 200, 200, 212, 200);
    EXPECT_FALSE(gizmo.Caught());
    EXPECT_FLOAT_EQ(gizmo.Values()[0], 1) << "the grid";
    gizmo.Drag(camera, 280, 200, true);
    EXPECT_FALSE(gizmo.Caught()) << "the key switches it off";
}

TEST_F(Gizmos, MovesAlongAxesPlanesAndTheScreen) {
    // 30 pixels right and 20 up are 3 units of x and 2 of z.
    struct Case {
        GizmoHandle handle;
        Point3 want;
    };
    for (const Case& c : {Case{kAxisX, {3, 0, 0}},
                          {kAxisZ, {0, 0, 2}},
                          {kAxisX | kAxisZ, {3, 0, 2}},
                          {kAllAxes, {3, 0, 2}}}) {
        Drag(c.handle, 250, 200, 280, 180);
        gizmo.Commit();
        ExpectMoves(commits.back(), {1, 1, 1}, Point3{1, 1, 1} + c.want);
    }
    EXPECT_EQ(begun, 4);
    EXPECT_EQ(commits.size(), 4u);
    EXPECT_EQ(cancelled, 0);
}

TEST_F(Gizmos, TurnsAboutItsPlace) {
    gizmo.tool = GizmoTool::kRotate;
    gizmo.SetFrame(Matrix3::Translation({1, 0, 0}));  // (210, 200) on the screen
    // A quarter counter-clockwise as it is seen, from the front: against y's own sense.
    Drag(kAxisY, 290, 200, 210, 120);
    EXPECT_NEAR(gizmo.Values()[1], -90, 0.01);
    gizmo.Commit();
    ExpectMoves(commits.back(), {2, 0, 0}, {1, 0, 1});
    ExpectMoves(commits.back(), {1, 5, 0}, {1, 5, 0});
}

TEST_F(Gizmos, ScalesAlongAnAxisAndUniformly) {
    gizmo.tool = GizmoTool::kScale;
    Drag(kAxisX, 240, 200, 280, 200);  // from 4 to 8 units
    gizmo.Commit();
    ExpectMoves(commits.back(), {1, 1, 1}, {2, 1, 1});
    Drag(kAllAxes, 200, 200, 250, 200);  // half of what doubles
    gizmo.Commit();
    ExpectMoves(commits.back(), {2, 2, 2}, {3, 3, 3});
}

TEST_F(Gizmos, SnapsAndTheKeyInverts) {
    gizmo.snapping.isOn = true, gizmo.snapping.step = 2;
    Drag(kAxisX, 250, 200, 283, 200);  // 3.3
    EXPECT_FLOAT_EQ(gizmo.Values()[0], 4);
    gizmo.Drag(camera, 283, 200, true);
    EXPECT_NEAR(gizmo.Values()[0], 3.3, 1e-3);
    gizmo.Cancel();
    gizmo.tool = GizmoTool::kRotate;
    Drag(kAxisY, 290, 200, 290, 170);  // 18.4 degrees
    EXPECT_NEAR(std::abs(gizmo.Values()[1]), 20, 1e-4);
}

TEST_F(Gizmos, TypedNumbersWin) {
    Drag(kAxisX | kAxisZ, 250, 200, 280, 180);
    for (char c : std::string("1.5\t-2")) EXPECT_TRUE(gizmo.Type(c));
    gizmo.Drag(camera, 390, 10, false);  // the hand does not matter any more
    EXPECT_EQ(gizmo.Text(), "X 1.5  Z -2");
    EXPECT_FALSE(gizmo.Type('q'));
    EXPECT_TRUE(gizmo.Type('\r'));
    ExpectMoves(commits.back(), {0, 0, 0}, {1.5f, 0, -2});
    EXPECT_FALSE(gizmo.Type('1'));  // no gesture, no keys
}

TEST_F(Gizmos, EscapeGivesAllBack) {
    Drag(kAxisX, 250, 200, 280, 200);
    EXPECT_TRUE(gizmo.Type(27));
    EXPECT_EQ(cancelled, 1);
    gizmo.Commit();
    gizmo.Cancel();
    EXPECT_TRUE(commits.empty());
    EXPECT_EQ(cancelled, 1);
}

TEST_F(Gizmos, AnAxisMayBeChosenByItsKey) {
    Drag(kAllAxes, 200, 200, 230, 180);
    gizmo.Constrain(kAxisZ);
    gizmo.Commit();
    ExpectMoves(commits.back(), {0, 0, 0}, {0, 0, 2});
}

}  // namespace
