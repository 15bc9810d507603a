#include <cmath>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

const FalloffCurve kFalling = FalloffCurve::Line(100, 0);

// An area of one row with a falloff over 10 units on the include side.
struct Falloff : testing::Test {
    TAreaSettings area, exclude;
    TAreaFalloffs f;
    TAreaDistances d;

    Falloff() {
        f.densityCurve = f.scaleCurve = &kFalling;
        f.densityInclude = f.scaleInclude = 10;
        d.include = 4;
    }
    void NearExclude(float distance) {
        d.exclude = distance;
        d.excludeArea = &exclude;
    }
};

TBuildInput SquareArea(float half) {
    TBuildInput input = GroundInput();
    input.surfaces.clear();
    input.surfaceBounds = {};
    TAreaRow row;
    row.shape.lines = {
        {{{-half, -half, 0}, {half, -half, 0}, {half, half, 0}, {-half, half, 0}}, true}};
    input.areas = {row};
    return input;
}

}  // namespace

TEST_F(Falloff, DensityAtFourOfTenKeepsFortyPercent) {
    // curve(1 - 4 / 10) of a line from 100 to 0 is 40.
    EXPECT_FALSE(IncludeFalloffRejects(f, area, d, 0.39f));
    EXPECT_TRUE(IncludeFalloffRejects(f, area, d, 0.41f));
    area.densityFalloffPercent = 50;  // range 5: 80 percent
    EXPECT_FALSE(IncludeFalloffRejects(f, area, d, 0.79f));
    area.invertFalloff = true;
    EXPECT_TRUE(IncludeFalloffRejects(f, area, d, 0.21f));
}

TEST_F(Falloff, ARangeOfZeroPercentIsOff) {
    area.densityFalloffPercent = 0;
    EXPECT_FALSE(IncludeFalloffRejects(f, area, d, 0.99f));
    area.densityFalloffPercent = 100;
    f.densityCurve = nullptr;
    EXPECT_FALSE(IncludeFalloffRejects(f, area, d, 0.99f));
}

TEST_F(Falloff, AnAreaWithoutWidthDoesNotFade) {
    area.bandWidth = 0.0001f;
    EXPECT_FALSE(IncludeFalloffRejects(f, area, d, 0.99f));
}

TEST_F(Falloff, ANearerExcludeTakesTheDensityOver) {
    NearExclude(3);
    EXPECT_TRUE(IncludeFalloffRejects(f, area, d, 0.99f));  // no range around excludes
    f.densityExclude = 6;
    EXPECT_FALSE(IncludeFalloffRejects(f, area, d, 0.99f));
    // curve(1 - 3 / 6) = 50.
    EXPECT_TRUE(ExcludeFalloffRejects(f, d, 0.51f));
    EXPECT_FALSE(ExcludeFalloffRejects(f, d, 0.49f));
    d.include = 3;
    EXPECT_TRUE(IncludeFalloffRejects(f, area, d, 0.99f));
}

TEST_F(Falloff, EffectsLeaveTheFarSideAlone) {
    NearExclude(3);
    f.effectsActive = true;
    EXPECT_FALSE(IncludeFalloffRejects(f, area, d, 0.99f));
}

TEST_F(Falloff, ScaleFollowsTheSideThatIsNearer) {
    EXPECT_FLOAT_EQ(AreaScaleFalloff(f, area, d), 0.4f);
    NearExclude(1);
    f.scaleExclude = 4;
    EXPECT_NEAR(AreaScaleFalloff(f, area, d), 0.25f, 1e-5);
    exclude.scaleFalloffPercent = 50;
    EXPECT_NEAR(AreaScaleFalloff(f, area, d), 0.5f, 1e-5);
    f.scaleExclude = 0.0001f;
    EXPECT_FLOAT_EQ(AreaScaleFalloff(f, area, d), 0.4f);
}

TEST_F(Falloff, WithoutARangeTheScaleIsThatOfTheInside) {
    f.scaleInclude = 0;
    EXPECT_EQ(AreaScaleFalloff(f, area, d), 1);
}

TEST_F(Falloff, TheScaleStaysBetweenNothingAndFull) {
    FalloffCurve steep = FalloffCurve::Line(300, -200);
    f.scaleCurve = &steep;
    d.include = 0;
    EXPECT_EQ(AreaScaleFalloff(f, area, d), 0);
    d.include = 10;
    EXPECT_EQ(AreaScaleFalloff(f, area, d), 1);
}

TEST(AreaFalloffs, ItemsShrinkTowardsTheBorder) {
    TBuildInput input = SquareArea(9.5f);
    input.areaFalloffs.scaleCurve = &kFalling;
    input.areaFalloffs.scaleInclude = 5;
    for (const TDravinItem& item : Build(input).items) {
        float border = 9.5f - std::max(std::abs(item.position.x), std::abs(item.position.y));
        ASSERT_NEAR(item.includeDistance, border, 1e-5);
        ASSERT_NEAR(item.width, std::min(border / 5, 1.0f), 2e-3);
        ASSERT_EQ(item.height, item.width);
    }
    input.areaFalloffs.heightOnly = true;
    TDravinItem first = Build(input).items[0];
    EXPECT_EQ(first.width, 1);
    EXPECT_NEAR(first.height, 0.1f, 2e-3);
}

TEST(AreaFalloffs, OnOpenGroundTheScaleIsThatOfTheFarInside) {
    FalloffCurve half = FalloffCurve::Line(50, 0);
    TBuildInput input = GroundInput();
    input.areaFalloffs.scaleCurve = &half;
    for (float range : {0.0f, 5.0f}) {
        input.areaFalloffs.scaleInclude = range;
        EXPECT_EQ(Build(input).items[0].width, 0.5f) << range;
    }
}

TEST(AreaFalloffs, ItemsThinOutTowardsTheBorder) {
    TBuildInput input = SquareArea(50);
    input.displayLimit = 1000000;
    input.areaFalloffs.densityCurve = &kFalling;
    input.areaFalloffs.densityInclude = 20;
    size_t outer = 0, inner = 0;
    for (const TDravinItem& item : Build(input).items) {
        (item.includeDistance < 20 ? outer : inner) += 1;
        ASSERT_GT(item.includeDistance / 20, item.randomA.y - 2e-3);
    }
    EXPECT_EQ(inner, 61u * 61);  // |x|, |y| <= 30
    // Rings at distance d of the border have 8 (50 - d) cells and keep d / 20 of them.
    double expected = 0;
    for (int d = 1; d < 20; ++d) expected += 8.0 * (50 - d) * d / 20;
    EXPECT_NEAR(double(outer), expected, 4 * std::sqrt(expected));
}

TEST(BoundaryCheck, DiscardsItemsThatCrossTheBorder) {
    TBuildInput input = SquareArea(4.6f);
    input.areas[0].settings.item.boundaryCheck = 1;
    // Cubes of 1 x 1 have a boundary radius of 0.5, the outermost cells are 0.6 from the border.
    EXPECT_EQ(Build(input).items.size(), 81u);
    input.transforms.globalScale = 1.4f;
    EXPECT_EQ(Build(input).items.size(), 49u);
}

TEST(BoundaryCheck, MarksTheElementsThatStandOutside) {
    TBuildInput input = SquareArea(4.6f);
    input.areas[0].settings.item.boundaryCheck = 2;
    input.transforms.globalScale = 4;
    input.specimens[0].elements[0].partCentroids = {{-0.3f, 0, 0.5f}, {0.3f, 0, 0.5f}};
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 81u);
    for (const TDravinItem& item : built.items) {
        float x = item.position.x;
        bool crosses = std::max(std::abs(x), std::abs(item.position.y)) + 2 > 4.6f;
        ASSERT_EQ(item.partial != 0, crosses);
        ASSERT_EQ(item.elementMask.NumBits(), crosses ? 2 : 0);
        if (!crosses) continue;
        EXPECT_EQ(item.elementMask.Test(0), std::abs(x - 1.2f) > 4.6f);
        EXPECT_EQ(item.elementMask.Test(1), std::abs(x + 1.2f) > 4.6f);
    }
}

TEST(AreaDistances, AreStoredOnlyWhereSomethingAsksForThem) {
    TBuildInput input = SquareArea(4.5f);
    EXPECT_FALSE(input.ItemGroupsNeeded() & kGroupBorders);
    EXPECT_EQ(Build(input).items[0].includeDistance, kNoDistance);
    input.areaFalloffs.effectsActive = true;
    EXPECT_TRUE(input.ItemGroupsNeeded() & kGroupBorders);
    TDravinItem corner = Build(input).items[0];
    EXPECT_EQ(corner.includeDistance, 0.5f);
    EXPECT_EQ(corner.excludeDistance, kNoDistance);
    EXPECT_EQ(Length(corner.includeNearest - corner.position), 0.5f);
}
