#include "Dravin/engine/camera.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

constexpr float kRightAngle = 1.5707963f;
const FalloffCurve kFalling = FalloffCurve::Line(100, 0);

// Looks along -Z from the origin: at depth d the view is 2 d wide and d high.
TViewVolume::Shape Shape() {
    TViewVolume::Shape shape;
    shape.fovRadians = kRightAngle;
    shape.aspect = 2;
    shape.far = 100;
    return shape;
}

TCameraState CameraAt(const Point3& position, float near, float far) {
    TCameraState camera;
    camera.valid = true;
    camera.position = position;
    camera.near = near;
    camera.far = far;
    camera.densityCurve = camera.scaleCurve = &kFalling;
    return camera;
}

}  // namespace

TEST(ViewVolume, HoldsWhatItsFieldOfViewShows) {
    TViewVolume view(Shape(), {});
    EXPECT_TRUE(view.Contains({0, 0, -50}));
    EXPECT_TRUE(view.Contains({49.9f, 0, -50}));
    EXPECT_FALSE(view.Contains({50.1f, 0, -50}));
    EXPECT_TRUE(view.Contains({0, -24.9f, -50}));
    EXPECT_FALSE(view.Contains({0, -25.1f, -50}));
    EXPECT_TRUE(view.Contains({0, 0, -99.9f}));
    EXPECT_FALSE(view.Contains({0, 0, -100.1f}));
}

TEST(ViewVolume, APointOnAPlaneIsInside) {
    EXPECT_TRUE(TViewVolume(Shape(), {}).Contains({0, 0, -100}));
    EXPECT_TRUE(TViewVolume(Shape(), {}).Contains({0, 0, 0}));  // the apex
}

TEST(ViewVolume, WidthZeroIsTheExactFieldAndFifteenWidensByThat) {
    TViewVolume::Shape shape = Shape();
    EXPECT_FALSE(TViewVolume(shape, {}).Contains({50.1f, 0, -50}));
    shape.widenPercent = 15;
    EXPECT_TRUE(TViewVolume(shape, {}).Contains({57.4f, 0, -50}));
    EXPECT_FALSE(TViewVolume(shape, {}).Contains({57.6f, 0, -50}));
    EXPECT_TRUE(TViewVolume(shape, {}).Contains({0, 28.7f, -50}));
}

TEST(ViewVolume, WithoutOffsetNothingBehindTheCameraIsInside) {
    TViewVolume::Shape shape = Shape();
    EXPECT_FALSE(TViewVolume(shape, {}).Contains({0, 0, 0.1f}));
    shape.apexBehind = 10;
    EXPECT_TRUE(TViewVolume(shape, {}).Contains({0, 0, 5}));
    EXPECT_FALSE(TViewVolume(shape, {}).Contains({0, 0, 10.1f}));
}

TEST(ViewVolume, TurnsMovesAndMirrorsWithTheCamera) {
    Matrix3 lookAlongX = Matrix3::RotationY(-kRightAngle) * Matrix3::Translation({5, 0, 0});
    TViewVolume view(Shape(), lookAlongX);
    EXPECT_TRUE(view.Contains({50, 0, 0}));
    EXPECT_FALSE(view.Contains({0, 0, 0}));
    EXPECT_NEAR(view.Bounds().max.x, 105, 1e-3);
    TViewVolume mirrored(Shape(), Matrix3::Scaling({-1, 1, 1}));
    EXPECT_TRUE(mirrored.Contains({10, 0, -50}));
    EXPECT_FALSE(mirrored.Contains({0, 0, 50}));
}

TEST(CameraFalloff, RunsFromNearToFar) {
    TCameraState camera = CameraAt({0, 0, 0}, 10, 20);
    EXPECT_FLOAT_EQ(CameraScaleFactor(camera, {10, 0, 0}), 1);  // u = 0
    EXPECT_FLOAT_EQ(CameraScaleFactor(camera, {0, 15, 0}), 0.5f);
    EXPECT_FLOAT_EQ(CameraScaleFactor(camera, {20, 0, 0}), 0);  // u = 1
    EXPECT_FLOAT_EQ(CameraScaleFactor(camera, {99, 0, 0}), 0);  // the curve's end holds
    EXPECT_TRUE(CameraDensityDrop(camera, {15, 0, 0}, 0.51f));
    EXPECT_FALSE(CameraDensityDrop(camera, {15, 0, 0}, 0.49f));
    EXPECT_FALSE(CameraDensityDrop(camera, {0, 0, 0}, 0.999f));
}

TEST(CameraFalloff, TheHeightOfTheCameraDoesNotMatter) {
    TCameraState low = CameraAt({3, 4, 0}, 1, 50), high = CameraAt({3, 4, 5000}, 1, 50);
    for (Point3 p : {Point3{10, 4, 0}, Point3{-7, 20, 300}}) {
        EXPECT_EQ(CameraScaleFactor(low, p), CameraScaleFactor(high, p));
        EXPECT_EQ(CameraDensityDrop(low, p, 0.4f), CameraDensityDrop(high, p, 0.4f));
    }
}

TEST(CameraFalloff, WithNearAtFarOnlyTheDensityAsksItsCurve) {
    TCameraState camera = CameraAt({0, 0, 0}, 10, 10);
    EXPECT_EQ(CameraScaleFactor(camera, {15, 0, 0}), 1);
    EXPECT_TRUE(CameraDensityDrop(camera, {15, 0, 0}, 0.5f));   // u is infinite
    EXPECT_FALSE(CameraDensityDrop(camera, {5, 0, 0}, 0.5f));   // minus infinite
    EXPECT_FALSE(CameraDensityDrop(camera, {10, 0, 0}, 0.5f));  // not a number: the start
}

TEST(CameraBuild, ItemsOutsideTheViewAreLeftOut) {
    TBuildInput input = GroundInput();
    BuiltItems free = Build(input);
    // From above, looking down on a part of the ground: 8 x 4 around (3, 2).
    input.camera.view = TViewVolume(Shape(), Matrix3::Translation({3.25f, 2.25f, 4}));
    input.camera.limitActive = true;
    BuiltItems clipped = Build(input);
    EXPECT_EQ(clipped.items.size(), 8u * 4);
    size_t expected = 0;
    for (const TDravinItem& item : free.items)
        expected += input.camera.view.Contains(item.position);
    EXPECT_EQ(clipped.items.size(), expected);
}

TEST(CameraBuild, AViewBesideTheGroundShowsNothing) {
    TBuildInput input = GroundInput();
    TViewVolume::Shape shape = Shape();
    shape.far = 5;
    input.camera.view = TViewVolume(shape, Matrix3::Translation({300, 0, 4}));
    input.camera.limitActive = true;
    BuiltItems built = Build(input);
    EXPECT_EQ(built.result, TBuildStatus::kSuccess);
    EXPECT_TRUE(built.items.empty());
}

TEST(CameraBuild, ItemsShrinkAndThinOutWithDistance) {
    TBuildInput input = GroundInput();
    input.camera = CameraAt({0, 0, 80}, 0, 15);
    input.camera.densityCurve = nullptr;
    for (const TDravinItem& item : Build(input).items) {
        float distance = std::hypot(item.position.x, item.position.y);
        ASSERT_NEAR(item.scale.y, 1 - distance / 15, 2e-3);
        ASSERT_EQ(item.width, item.scale.x);
    }
    input.camera = CameraAt({0, 0, 80}, 0, 15);
    input.camera.scaleCurve = nullptr;
    BuiltItems thinned = Build(input);
    EXPECT_LT(thinned.items.size(), 300u);
    for (const TDravinItem& item : thinned.items)
        ASSERT_GT(1 - std::hypot(item.position.x, item.position.y) / 15, item.randomA.y - 2e-3);
}
