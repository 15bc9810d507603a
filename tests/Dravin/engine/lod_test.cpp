#include "Dravin/engine/lod.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

TLodLevels Levels(std::vector<float> thresholds) {
    TLodLevels levels;
    levels.thresholds = std::move(thresholds);
    return levels;
}

TCameraState Camera() {
    TCameraState camera;
    camera.valid = true;
    return camera;
}

int ByDistance(const TLodLevels& levels, const TCameraState& camera, float x, float random = 0.5f) {
    return ChooseLodLevel(levels, camera, {}, false, 1, {x, 0, 0}, random);
}

TEST(Lod, LevelsChangeAtTheirShareOfTheReferenceDistance) {
    TLodLevels levels = Levels({0, 50, 100});
    EXPECT_EQ(ByDistance(levels, Camera(), 499), 0);
    EXPECT_EQ(ByDistance(levels, Camera(), 500), 1);
    EXPECT_EQ(ByDistance(levels, Camera(), 5000), 2);
    TCameraState own = Camera();
    own.lodDistance = 100;
    EXPECT_EQ(ByDistance(levels, own, 60), 1);
}

TEST(Lod, WithoutEnabledLevelsOrWithoutACameraTheFirstShows) {
    EXPECT_EQ(ByDistance(Levels({}), Camera(), 9999), 0);
    EXPECT_EQ(ByDistance(Levels({0, 50}), TCameraState{}, 9999), 0);
    EXPECT_EQ(ByDistance(Levels({30, 50}), Camera(), 0), 0);
}

TEST(Lod, LookAtWithoutANodeShowsTheFirstLevel) {
    TCameraState camera = Camera();
    camera.lodFromLookAt = true;
    EXPECT_EQ(ByDistance(Levels({0, 1}), camera, 9999), 0);
    camera.hasLookAt = true;
    camera.lookAt = {9999, 0, 0};
    EXPECT_EQ(ByDistance(Levels({0, 1}), camera, 9999), 0);
    EXPECT_EQ(ByDistance(Levels({0, 1}), camera, 0), 1);
}

TEST(Lod, SwitchedOffItShowsTheFirstByDistanceAndTheLastBySize) {
    TCameraState camera = Camera();
    camera.lod = false;
    TLodLevels levels = Levels({0, 10, 20});
    EXPECT_EQ(ByDistance(levels, camera, 9999), 0);
    levels.byScreenSize = true;
    EXPECT_EQ(ByDistance(levels, camera, 9999), 2);
    levels.inViewports = false;
    EXPECT_EQ(ByDistance(levels, Camera(), 9999), 2);
}

TEST(Lod, VariationShiftsTheShareByTheItemsOwnDraw) {
    TLodLevels levels = Levels({0, 50});
    levels.variation = 100;
    EXPECT_EQ(ByDistance(levels, Camera(), 400, 0.9f), 1);  // 40 + 0.4 * 50 = 60
    EXPECT_EQ(ByDistance(levels, Camera(), 600, 0.1f), 0);  // 60 - 20 = 40
}

TEST(Lod, SizesOnScreenAreShares) {
    // A view from the origin along -Z, 90 degrees wide: at depth 50 it shows 100 units.
    TLodView view{true, {}, 1.5707964f};
    TLodLevels levels = Levels({5, 15, 40});
    levels.byScreenSize = true;
    levels.referenceWidth = 20;
    auto level = [&](float z) {
        return ChooseLodLevel(levels, Camera(), view, true, 1, {0, 0, z}, 0.5f);
    };
    EXPECT_EQ(level(-50), 1);   // 20 of 100
    EXPECT_EQ(level(-20), 2);   // 20 of 40
    EXPECT_EQ(level(-150), 0);  // 20 of 300
    EXPECT_EQ(level(10), 2);    // behind the view: as large as it
    EXPECT_EQ(ChooseLodLevel(levels, Camera(), {}, true, 1, {0, 0, -50}, 0.5f), 2);
}

// In widths of the view, which shows 100 units at depth 50: from 10 left of the item to 10 right of
// it and 30 above.
TEST(Lod, WhatAChoiceMeasuredIsToldWhereOneWasMade) {
    TLodView view{true, {}, 1.5707964f};
    TLodLevels levels = Levels({5, 15, 40});
    levels.byScreenSize = true;
    levels.referenceWidth = 20, levels.referenceHeight = 30;
    std::optional<TLodSpan> span;
    auto choose = [&](const TLodView& by, const Point3& p) {
        (void)ChooseLodLevel(levels, Camera(), by, true, 1, p, 0.5f, &span);
    };
    choose({}, {0, 0, -50});
    choose(view, {0, 0, 10});
    EXPECT_FALSE(span);
    // The upper corner lies 20 nearer: the view shows 40 units there.
    choose(view, {0, 0, -50});
    ASSERT_TRUE(span);
    EXPECT_NEAR(span->from.x, -0.1f, 1e-6f);
    EXPECT_NEAR(span->from.y, 0, 1e-6f);
    EXPECT_NEAR(span->to.x, 0.25f, 1e-6f);
    EXPECT_NEAR(span->to.y, 0, 1e-6f);
    levels.byScreenSize = false;
    std::optional<TLodSpan> none;
    EXPECT_EQ(ChooseLodLevel(levels, Camera(), view, true, 1, {}, 0.5f, &none), 0);
    EXPECT_FALSE(none);
}

// Levels are chosen before the ground is looked at: the last cell of the grid is the one at its
// corner (10, 10), which no item keeps. For any number of threads.
TEST(Lod, ABuildTellsWhatItsLastChoiceMeasured) {
    TBuildInput input = GroundInput();
    TSpecimen& s = input.specimens[0];
    s.elements.resize(2, s.elements[0]);
    s.lod = Levels({0, 50});
    s.lod->byScreenSize = true;
    s.lod->referenceWidth = 2;
    input.render = true;
    input.camera = Camera();
    // Straight down from a height of 50, 100 units wide at the ground.
    input.lodView = {true, Matrix3::Translation({0, 0, -50}), 1.5707964f};
    input.threads = 1;
    BuiltItems one = Build(input);
    ASSERT_TRUE(one.statistics.lodSpan);
    EXPECT_NEAR(one.statistics.lodSpan->from.x, 0.09f, 1e-5f);
    EXPECT_NEAR(one.statistics.lodSpan->to.x, 0.11f, 1e-5f);
    EXPECT_NEAR(one.statistics.lodSpan->to.y, 0.1f, 1e-5f);
    input.threads = 5;
    EXPECT_EQ(Build(input).statistics.lodSpan, one.statistics.lodSpan);
    s.lod->byScreenSize = false;
    EXPECT_FALSE(Build(input).statistics.lodSpan);
}

TEST(Lod, AnItemShowsOneLevelAndDrawsOnce) {
    TBuildInput input = GroundInput();
    TSpecimen& s = input.specimens[0];
    s.elements.resize(2, s.elements[0]);
    s.elements[1].meshSize = {3, 3, 3};
    s.lod = Levels({0, 50});
    s.lod->distance = 10;
    input.camera = Camera();
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 400u);
    for (const TDravinItem& item : built.items) {
        bool isFar = Length(item.storedPosition) >= 5;
        EXPECT_EQ(item.elementIndex, isFar ? 1 : 0);
        EXPECT_EQ(item.width, isFar ? 3 : 1);
        EXPECT_EQ(item.seed, CellSeed(item.hash));
    }
}

}  // namespace
