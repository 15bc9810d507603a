#include "apps/studio/viewport/view_navigation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

constexpr float kQuarter = std::numbers::pi_v<float> / 2;

void ExpectNear(const Point3& a, const Point3& b, float tolerance = 1e-4f) {
    EXPECT_LT(Length(a - b), tolerance)
        << a.x << " " << a.y << " " << a.z << " instead of " << b.x << " " << b.y << " " << b.z;
}

// From the front at distance 10: a unit at the target covers 10 of 200 pixels.
ViewNavigation Front() {
    ViewNavigation navigation;
    ViewPose pose;
    pose.yaw = pose.pitch = 0, pose.distance = 10, pose.slope = 1;
    navigation.SetPose(pose);
    return navigation;
}

TScreenPoint Seen(const ViewNavigation& navigation, const Point3& p) {
    TScreenPoint out;
    EXPECT_TRUE(navigation.Camera(200, 100, {}).Project(p, &out));
    return out;
}

TEST(ViewNavigation, LooksAlongYWithZUp) {
    TScreenPoint p = Seen(Front(), {2, 0, 1});
    EXPECT_NEAR(p.x, 120, 1e-3);
    EXPECT_NEAR(p.y, 40, 1e-3);
    EXPECT_NEAR(1 / p.nearness, 10, 1e-3);
    ExpectNear(Front().Pose().Transform().row[3], {0, -10, 0});
}

TEST(ViewNavigation, OrbitKeepsThePivotInPlaceAndTheHorizonLevel) {
    ViewNavigation navigation = Front();
    Point3 pivot{3, 1, 2};
    TScreenPoint before = Seen(navigation, pivot);
    navigation.Orbit(70, 30, pivot);
    TScreenPoint after = Seen(navigation, pivot);
    EXPECT_NEAR(before.x, after.x, 0.01);
    EXPECT_NEAR(before.y, after.y, 0.01);
    EXPECT_NEAR(navigation.Pose().Transform().row[0].z, 0, 1e-6);
    navigation.Orbit(0, 1e5f, pivot);  // never over the top
    EXPECT_FLOAT_EQ(navigation.Pose().pitch, kQuarter);
}

TEST(ViewNavigation, PanFollowsThePointerAndZoomKeepsThePlaceUnderIt) {
    ViewNavigation navigation = Front();
    TScreenPoint before = Seen(navigation, {1, 0, 1});
    navigation.Pan(13, -7, 200);
    TScreenPoint after = Seen(navigation, {1, 0, 1});
    EXPECT_NEAR(after.x - before.x, 13, 0.01);
    EXPECT_NEAR(after.y - before.y, -7, 0.01);
    Point3 place = navigation.PlaceAt(150, 20, 200, 100);
    EXPECT_NEAR(Seen(navigation, place).x, 150, 0.01);
    navigation.Zoom(0.5f, place);
    EXPECT_NEAR(Seen(navigation, place).x, 150, 0.01);
    EXPECT_NEAR(Seen(navigation, place).y, 20, 0.01);
    EXPECT_FLOAT_EQ(navigation.Pose().distance, 5);
    navigation.Zoom(0, place);  // ends somewhere
    EXPECT_GT(navigation.Pose().distance, 0);
}

TEST(ViewNavigation, FrameShowsTheWholeBoxAtAnyShape) {
    Box3 box;
    box += Point3{-3, 4, 1}, box += Point3{5, 9, 2};
    for (auto [width, height] : {std::pair{200, 100}, {100, 200}, {300, 30}})
        for (bool isParallel : {false, true}) {
            ViewNavigation navigation;
            navigation.SetParallel(isParallel);
            navigation.Frame(box, width, height);
            TViewportCamera camera = navigation.Camera(width, height, box);
            for (int i = 0; i < 8; ++i) EXPECT_EQ(camera.Sides(camera.ToView(box[i])), 0u);
        }
    ViewNavigation navigation = Front();
    navigation.Frame({}, 200, 100);
    EXPECT_FLOAT_EQ(navigation.Pose().distance, 10);
}

TEST(ViewNavigation, SidesLookAlongTheAxes) {
    struct Case {
        ViewSide side;
        Point3 right, up;
    };
    for (const Case& c : {Case{ViewSide::kFront, {1, 0, 0}, {0, 0, 1}},
                          {ViewSide::kBack, {-1, 0, 0}, {0, 0, 1}},
                          {ViewSide::kLeft, {0, -1, 0}, {0, 0, 1}},
                          {ViewSide::kRight, {0, 1, 0}, {0, 0, 1}},
                          {ViewSide::kTop, {1, 0, 0}, {0, 1, 0}},
                          {ViewSide::kBottom, {1, 0, 0}, {0, -1, 0}}}) {
        ViewNavigation navigation = Front();
        navigation.SetSide(c.side);
        EXPECT_TRUE(navigation.Pose().isParallel);
        ExpectNear(navigation.Pose().Transform().row[0], c.right);
        ExpectNear(navigation.Pose().Transform().row[1], c.up);
    }
}

TEST(ViewNavigation, ParallelViewsHaveTheSameScaleEverywhere) {
    ViewNavigation navigation = Front();
    navigation.SetSide(ViewSide::kTop);
    Box3 bounds;
    bounds += Point3{-50, -50, -500}, bounds += Point3{50, 50, 500};
    TViewportCamera camera = navigation.Camera(200, 100, bounds);
    for (float z : {-500.f, 0.f, 500.f}) {
        TScreenPoint p;
        ASSERT_TRUE(camera.Project({2, 1, z}, &p));
        EXPECT_NEAR(p.x, 120, 1e-2);
        EXPECT_NEAR(p.y, 40, 1e-2);
        EXPECT_GT(p.nearness, 0);
    }
}

TEST(ViewNavigation, RaysHitWhatThePixelsShow) {
    for (bool isParallel : {false, true}) {
        ViewNavigation navigation = Front();
        navigation.SetParallel(isParallel);
        navigation.Orbit(40, 20, {});
        TViewportCamera camera = navigation.Camera(200, 100, {});
        TScreenPoint p;
        Point3 place{1, 2, 0.5f};
        ASSERT_TRUE(camera.Project(place, &p));
        ViewRay ray = RayThrough(camera, p.x, p.y);
        Point3 arm = place - ray.origin;
        ExpectNear(ray.origin + ray.direction * DotProd(arm, ray.direction), place, 1e-3f);
    }
}

TEST(ViewNavigation, CamerasAreTakenOver) {
    ViewNavigation other = Front();
    other.Orbit(100, 60, {1, 2, 3});
    ViewNavigation navigation;
    navigation.LookFrom(other.Pose().Transform(), 0.7f);
    Matrix3 want = other.Pose().Transform(), got = navigation.Pose().Transform();
    for (int i = 0; i < 4; ++i) ExpectNear(got.row[i], want.row[i], 1e-3f);
    EXPECT_FLOAT_EQ(navigation.Pose().slope, 0.7f);
}

TEST(ViewNavigation, HistoryGoesBackAndForward) {
    ViewNavigation navigation = Front();
    ViewPose first = navigation.Pose();
    EXPECT_FALSE(navigation.GoBack());
    navigation.Remember();
    navigation.Pan(10, 0, 200);
    ViewPose second = navigation.Pose();
    EXPECT_TRUE(navigation.GoBack());
    EXPECT_EQ(navigation.Pose(), first);
    EXPECT_TRUE(navigation.GoForward());
    EXPECT_EQ(navigation.Pose(), second);
    EXPECT_FALSE(navigation.GoForward());
}

}  // namespace
