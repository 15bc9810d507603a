#include "Dravin/engine/build_items.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <set>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

bool SameBits(const TDravinItem& a, const TDravinItem& b) {
    auto same = [&]<class G>(const G*) {
        return std::memcmp(&static_cast<const G&>(a), &static_cast<const G&>(b), sizeof(G)) == 0;
    };
    return same((ItemPlace*)nullptr) && same((ItemExtents*)nullptr) && same((ItemTint*)nullptr) &&
           same((ItemBirth*)nullptr) && same((ItemNormal*)nullptr) &&
           same((ItemMapColor*)nullptr) && same((ItemRandoms*)nullptr) &&
           same((ItemCell*)nullptr) && same((ItemSurface*)nullptr) && same((ItemUvws*)nullptr) &&
           same((ItemFactors*)nullptr) && same((ItemLooks*)nullptr) &&
           a.fullTransform == b.fullTransform;
}

// Everything on: a tilted, bumpy ground, maps, curves, falloffs, three rows.
TBuildInput RichInput() {
    static const CoordinateMap coordinates;
    static const FalloffCurve falling = FalloffCurve::Line(100, 20);
    TBuildInput input = GroundInput();
    Matrix3 tilt = Matrix3::RotationX(0.3f);
    input.surfaces.clear();
    input.surfaceBounds = {};
    AddSurface(input, SquareMesh(-40, -40, 40, 40), tilt);
    AddSurface(input, SquareMesh(-5, -5, 15, 15, 3));
    input.grid.rotationRadians = 0.4f;
    input.grid.offsetX = 0.3f;
    input.displayLimit = 1000000;
    input.directionPercent = 40;
    input.altitude.min = -10, input.altitude.max = 10;
    input.altitude.densityCurve = input.altitude.scaleCurve = &falling;
    input.specimens = {CubeSpecimen(50), CubeSpecimen(20), CubeSpecimen(30)};
    input.specimens[1].elements[0].centerPercent = 20;
    input.specimens[2].elements.push_back(input.specimens[2].elements[0]);
    input.specimens[2].elements[1].offset = {0.5f, 0.25f, 0};
    TTransformSettings& t = input.transforms;
    t.seed = 4711;
    t.applyTranslation = t.applyRotation = t.applyScale = t.mirror = true;
    t.rotMinDegrees = {-10, -20, 0}, t.rotMaxDegrees = {10, 20, 359};
    t.scaMap = {&coordinates, {true, false, true}, true, true};
    input.channels.Read(kScaMap, 1);
    t.tintMax = 50;
    t.tintColor2 = {1, 1, 0};
    return input;
}

class Threads : public testing::TestWithParam<int> {};

TEST_P(Threads, GiveTheSameItemsInTheSameOrderBitForBit) {
    TBuildInput input = RichInput();
    BuiltItems one = Build(input);
    ASSERT_GT(one.items.size(), 2000u);
    input.threads = GetParam();
    BuiltItems many = Build(input);
    ASSERT_EQ(many.items.size(), one.items.size());
    for (size_t i = 0; i < one.items.size(); ++i)
        ASSERT_TRUE(SameBits(one.items[i], many.items[i])) << i;
}

INSTANTIATE_TEST_SUITE_P(Counts, Threads, testing::Values(2, 3, 8, 16));

TEST(Build, OneItemACellWithItsSeedAndPlace) {
    BuiltItems built = Build(GroundInput());
    EXPECT_EQ(built.result, TBuildStatus::kSuccess);
    // Cells -10..10 on both axes; the far edges of the square belong to no face.
    ASSERT_EQ(built.items.size(), 400u);
    EXPECT_EQ(built.statistics.cellsInArea, 400);
    EXPECT_EQ(built.statistics.itemCount, 400);
    const TDravinItem& first = built.items[0];
    EXPECT_EQ(first.position, (Point3{-10, -10, 0}));
    EXPECT_EQ(first.hash[0], 0u);
    EXPECT_EQ(first.hash[1], uint32_t(-1));
    EXPECT_EQ(first.seed, CellSeed(first.hash));
    EXPECT_EQ(first.sourceIndex, 0);
    EXPECT_EQ(built.items[1].position, (Point3{-9, -10, 0}));
    EXPECT_EQ(built.items[20].sourceIndex, 21);  // a grid row has 21 cells
}

TEST(Build, StoredItemsDrawTheirRandomValuesAgainExactly) {
    TBuildInput input = GroundInput();
    input.transforms.applyRotation = true;
    input.transforms.rotMaxDegrees = {30, 30, 359};
    for (const TDravinItem& item : Build(input).items) {
        TDravinItem again;
        again.seed = item.seed;
        TNuRandom generator;
        RedrawItemRandoms(input.transforms, TransformRanges(input.transforms), generator, again);
        ASSERT_EQ(again.random5, item.random5);
        // The transform was made from these very angles.
        Matrix3 expected = MakeFrame({1, 0, 0}, item.normal);
        expected.PreRotateX(again.rotation.x);
        expected.PreRotateY(again.rotation.y);
        expected.PreRotateZ(again.rotation.z);
        ASSERT_EQ(item.transform, expected);
    }
}

TEST(Build, MovingTheMapByItsSizeReproducesTheItems) {
    TBuildInput input = GroundInput();
    std::vector<uint16_t> rgb(10 * 10 * 3);
    for (size_t i = 0; i < rgb.size(); ++i) rgb[i] = (i / 3) % 3 ? 65535 : 0;
    input.density = TDensityMap(10, 10, rgb, 50);
    BuiltItems a = Build(input);
    input.grid.offsetX = input.grid.unitsX;
    BuiltItems b = Build(input);
    ASSERT_EQ(a.items.size(), b.items.size());
    ASSERT_GT(a.items.size(), 200u);
    for (size_t i = 0; i < a.items.size(); ++i) EXPECT_EQ(a.items[i].position, b.items[i].position);
}

TEST(Build, NoSurfaceMeansNoIncludeArea) {
    TBuildInput input = GroundInput();
    input.surfaces.clear();
    input.surfaceBounds = {};
    EXPECT_EQ(Build(input).result, TBuildStatus::kNoIncludeAreas);
    AddSurface(input, std::make_shared<Mesh>());
    EXPECT_EQ(Build(input).result, TBuildStatus::kNoIncludeAreas);
}

TEST(Build, ATooDenseMapIsRefusedBeforeItemsAreMade) {
    TBuildInput input = GroundInput();
    input.grid.unitsX = input.grid.unitsY = 0.01f;  // 20000 x 20000 cells
    input.grid.maxCells = 40000000;
    BuiltItems built = Build(input);
    EXPECT_EQ(built.result, TBuildStatus::kDensityTooHigh);
    EXPECT_EQ(built.list.BytesHeld(), 0u);
}

TEST(Build, ARenderAboveItsLimitEndsEmpty) {
    TBuildInput input = GroundInput();
    input.render = true;
    input.renderLimit = 399;
    BuiltItems built = Build(input);
    EXPECT_EQ(built.result, TBuildStatus::kTooManyItems);
    EXPECT_TRUE(built.list.IsEmpty());
    input.renderLimit = 400;
    EXPECT_EQ(Build(input).items.size(), 400u);
}

// White, and counts the points that it was asked for.
struct CountingMap : IMapSampler {
    mutable std::atomic<size_t> asked{0};
    void Sample(std::span<const MapPoint> points, std::span<AColor> out) const override {
        asked += points.size();
        std::fill(out.begin(), out.end(), AColor{1, 1, 1, 1});
    }
};

TEST(Build, TasksShareTheLimitOfARender) {
    CountingMap map;
    TBuildInput input = GroundInput();
    input.distMap = &map;
    input.grid.hasTexture = true;
    input.distMapChannel = 0;
    input.grid.unitsX = input.grid.unitsY = 0.5f;  // 100 pixels: 16 million cells
    input.render = true;
    input.threads = 8;
    input.renderLimit = 10000;
    EXPECT_EQ(Build(input).result, TBuildStatus::kTooManyItems);
    // Each task may ask for two batches of 256 cells beyond the limit; one that had counted for
    // itself would have asked for all 10,000.
    EXPECT_LE(map.asked, 10000u + 8 * 2 * 256);
}

TEST(Build, ARenderAtItsLimitIsCompleteOnAnyNumberOfThreads) {
    for (int threads : {1, 3, 16}) {
        TBuildInput input = GroundInput();
        input.render = true;
        input.threads = threads;
        input.renderLimit = 400;
        EXPECT_EQ(Build(input).items.size(), 400u);
        input.renderLimit = 399;
        EXPECT_EQ(Build(input).result, TBuildStatus::kTooManyItems);
    }
}

TEST(Build, ItemsBeyondTheMemoryAreRefused) {
    TBuildInput input = GroundInput();
    input.memoryLimit = 400 * Build(input).list.BytesPerItem();
    EXPECT_EQ(Build(input).items.size(), 400u);
    input.memoryLimit -= 1;
    BuiltItems refused = Build(input);
    EXPECT_EQ(refused.result, TBuildStatus::kTooManyItems);
    EXPECT_TRUE(refused.statistics.outOfMemory);
}

TEST(Build, CellsThatAreTooSmallSaySo) {
    TBuildInput input = GroundInput();
    input.grid.unitsX = input.grid.unitsY = 0.0009f;  // ten pixels
    BuiltItems built = Build(input);
    EXPECT_TRUE(built.items.empty());
    EXPECT_TRUE(built.statistics.cellsTooSmall);
    EXPECT_TRUE(built.statistics.cellsTooSmall);
    input.grid.unitsX = input.grid.unitsY = 10;
    EXPECT_FALSE(Build(input).statistics.cellsTooSmall);
}

TEST(Build, ADisplayAboveItsLimitKeepsEveryNthCell) {
    TBuildInput input = GroundInput();
    input.displayLimit = 100;  // 400 expected: every second row and column
    BuiltItems built = Build(input);
    EXPECT_EQ(built.statistics.decimation, 2);
    EXPECT_EQ(built.items.size(), 100u);
    for (const TDravinItem& item : built.items) EXPECT_EQ(int(item.position.x) % 2, 0);
    input.render = true;
    input.renderSkip = 2;
    EXPECT_EQ(Build(input).items.size(), 25u);
}

TEST(Build, GizmoPointsAreTheTileCornersOnTheGround) {
    TBuildInput input = GroundInput();
    input.displayLimit = 10;  // decimation thins the items, not the corners
    EXPECT_TRUE(Build(input).statistics.gizmoPoints.empty());
    input.drawGizmo = true;
    std::vector<Point3> corners{{-10, -10, 0}, {0, -10, 0}, {-10, 0, 0}, {0, 0, 0}};
    EXPECT_EQ(Build(input).statistics.gizmoPoints, corners);  // those at 10 miss the surface
    input.altitude.limited = true;
    input.altitude.min = 1, input.altitude.max = 2;
    EXPECT_TRUE(Build(input).statistics.gizmoPoints.empty());
}

TEST(Build, TheUpperSurfaceWinsAndMissesDropItems) {
    TBuildInput input = GroundInput();
    AddSurface(input, SquareMesh(-3.5f, -3.5f, 3.5f, 3.5f, 2));
    int upper = 0;
    for (const TDravinItem& item : Build(input).items) {
        bool inside = std::abs(item.position.x) < 3.5f && std::abs(item.position.y) < 3.5f;
        EXPECT_EQ(item.position.z, inside ? 2 : 0);
        upper += inside;
    }
    EXPECT_EQ(upper, 49);
}

TEST(Build, AltitudeLimitsKeepTheirHeightOnly) {
    TBuildInput input = GroundInput();
    AddSurface(input, SquareMesh(-3.5f, -3.5f, 3.5f, 3.5f, 2));
    input.altitude.limited = true;
    input.altitude.min = input.altitude.max = 2;
    EXPECT_EQ(Build(input).items.size(), 49u);
    input.altitude.min = input.altitude.max = 1.999f;
    EXPECT_EQ(Build(input).items.size(), 0u);
}

TEST(Build, AltitudeMeasuresTheHitBeforeTheZOffset) {
    TBuildInput input = GroundInput();
    input.specimens[0].elements[0].zOffset = 50;
    input.altitude.limited = true;
    input.altitude.min = -1, input.altitude.max = 1;
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 400u);
    EXPECT_EQ(built.items[0].position.z, 50);
}

TEST(Build, SlopeRulesDropAndScale) {
    TBuildInput input = GroundInput();
    input.surfaces.clear();
    Matrix3 tilt = Matrix3::RotationX(0.5f);
    AddSurface(input, SquareMesh(-10, -10, 10, 10), tilt);
    input.slope.limited = true;
    input.slope.min = 0, input.slope.max = 0.49f;
    EXPECT_TRUE(Build(input).items.empty());
    input.slope.max = 1;
    FalloffCurve line = FalloffCurve::Line(100, 0);
    input.slope.scaleCurve = &line;
    BuiltItems built = Build(input);
    ASSERT_FALSE(built.items.empty());
    EXPECT_NEAR(built.items[0].surfaceSlope, 0.5f, 1e-5);
    EXPECT_NEAR(built.items[0].falloffScale.x, 0.5f, 1e-4);
    EXPECT_NEAR(built.items[0].width, 0.5f, 1e-4);
}

TEST(Build, SlopesAreThoseOfTheGroundUnderAnyScale) {
    // A ground that rises by 45 degrees, stretched to twice its height: 63.4 degrees, and mirrored.
    auto ground = std::make_shared<Mesh>(*SquareMesh(-10, -10, 10, 10));
    for (Point3& p : ground->verts) p.z = p.x;
    for (float x : {1.0f, -1.0f}) {
        TBuildInput input = GroundInput();
        input.surfaces.clear();
        input.surfaceBounds = {};
        AddSurface(input, ground, Matrix3::Scaling({x, 1, 2}));
        input.slope.limited = true;
        input.slope.min = 0, input.slope.max = 0.5f;  // 29 degrees
        EXPECT_TRUE(Build(input).items.empty());
        input.slope.max = 1.2f;
        input.directionPercent = 0;
        BuiltItems built = Build(input);
        ASSERT_FALSE(built.items.empty());
        Point3 normal = Normalize(Point3{-2 * x, 0, 1});
        for (const TDravinItem& item : built.items) {
            ASSERT_NEAR(item.surfaceSlope, std::atan(2.0f), 1e-5);
            ASSERT_NEAR(Length(item.normal - normal), 0, 1e-5);
            ASSERT_NEAR(Length(item.surfaceNormal - normal), 0, 1e-5);
        }
    }
}

TEST(Build, ADensityCurveThinsByTheItemsOwnDraw) {
    TBuildInput input = GroundInput();
    FalloffCurve half = FalloffCurve::Line(50, 50);
    input.altitude.min = -1, input.altitude.max = 1;
    input.altitude.densityCurve = &half;
    BuiltItems built = Build(input);
    EXPECT_NEAR(double(built.items.size()), 200, 40);
    for (const TDravinItem& item : built.items) EXPECT_LT(item.randomA.y, 0.5f);
}

TEST(Build, ATextureDecidesAtTheCellsTileCoordinates) {
    static const CoordinateMap coordinates;  // luminance 0.299 u + 0.587 v
    TBuildInput input = GroundInput();
    input.grid.hasTexture = true;
    input.grid.pixelsX = input.grid.pixelsY = 10;
    input.grid.thresholdPercent = 20;
    input.distMap = &coordinates;
    input.distMapChannel = 0;
    for (const TDravinItem& item : Build(input).items) {
        EXPECT_GT(0.299f * item.mapCoordinates.x + 0.587f * item.mapCoordinates.y, 0.2f);
        EXPECT_EQ(item.mapColor.r, item.mapCoordinates.x);
        EXPECT_FLOAT_EQ(item.mapCoordinates.x, item.position.x / 10);
    }
}

TEST(Build, ATextureOnTheSurfaceReadsItsMappingChannel) {
    static const CoordinateMap coordinates;
    TBuildInput input = GroundInput();
    input.grid.hasTexture = input.grid.textureOnSurface = true;
    input.grid.pixelsX = input.grid.pixelsY = 10;
    input.grid.offsetX = 0.4f;  // ignored on surfaces
    input.distMap = &coordinates;
    input.distMapChannel = 1;
    BuiltItems built = Build(input);
    ASSERT_FALSE(built.items.empty());
    for (const TDravinItem& item : built.items) {
        EXPECT_NEAR(item.mapColor.r, (item.position.x + 10) / 20, 1e-6);
        EXPECT_EQ(item.position.x, std::round(item.position.x));
    }
}

TEST(Build, ADiversityMapIsReadOnTheSurfaceBeforeTheItemMoves) {
    static const CoordinateMap coordinates;
    TBuildInput input = GroundInput();
    input.geometry.mode = kByColorMap;
    input.diversityMap = &coordinates;
    input.channels.Read(kDivMap, 1);
    input.specimens = {CubeSpecimen(), CubeSpecimen()};
    input.specimens[0].colorId = {0, 0, 0};
    input.specimens[1].colorId = {1, 0, 0};
    for (const TDravinItem& item : Build(input).items) {
        if (item.position.x != 0) {
            EXPECT_EQ(item.specimenIndex, item.position.x > 0 ? 1 : 0);
        }
    }
}

// Left and right of the middle of object space, whatever the coordinates.
struct SideMap : IMapSampler {
    void Sample(std::span<const MapPoint> points, std::span<AColor> out) const override {
        for (size_t i = 0; i < points.size(); ++i)
            out[i] = {points[i].position.x > 0 ? 1.0f : 0.0f, 0, 0, 1};
    }
};

TEST(Build, ADiversityMapIsAskedInObjectSpace) {
    static const SideMap sides;
    TBuildInput input = GroundInput();
    input.grid.rotationRadians = 1.5707964f;  // the grid's own x axis runs along y
    input.geometry.mode = kByColorMap;
    input.diversityMap = &sides;
    input.specimens = {CubeSpecimen(), CubeSpecimen()};
    input.specimens[1].colorId = {1, 0, 0};
    for (const TDravinItem& item : Build(input).items) {
        if (std::abs(item.position.x) < 0.5f) continue;
        ASSERT_EQ(item.specimenIndex, item.position.x > 0 ? 1 : 0) << item.position.x;
    }
}

TEST(Build, ACellBesideTheSurfaceTakesNothingOverFromTheOneBefore) {
    // Items move by up to three widths, so that cells beside the ground put some onto it; their
    // geometry is chosen without the surface, at no coordinates at all.
    static const CoordinateMap coordinates;
    TBuildInput input = GroundInput();
    input.areas.emplace_back().shape.lines = {
        {{{-20, -20, 0}, {20, -20, 0}, {20, 20, 0}, {-20, 20, 0}}, true}};
    input.transforms.applyTranslation = true;
    for (int axis : {0, 1})
        input.transforms.transMin[axis] = -300, input.transforms.transMax[axis] = 300;
    input.geometry.mode = kByColorMap;
    input.diversityMap = &coordinates;
    input.channels.Read(kDivMap, 1);
    input.specimens = {CubeSpecimen(), CubeSpecimen()};
    input.specimens[1].colorId = {1, 1, 0};
    int fromOutside = 0;
    for (const TDravinItem& item : Build(input).items) {
        bool outside =
            std::max(std::abs(item.storedPosition.x), std::abs(item.storedPosition.y)) > 10;
        if (!outside) continue;
        EXPECT_EQ(item.specimenIndex, 0);
        ++fromOutside;
    }
    EXPECT_GT(fromOutside, 20);
}

TEST(Build, EveryItemIsMarkedForOutput) {
    TBuildInput input = GroundInput();
    for (const TDravinItem& item : Build(input).items) ASSERT_EQ(item.marked, 1);
    input.specimens[0].elements[0].scalePercent = 300;
    input.collisions = true;
    for (const TDravinItem& item : Build(input).items) ASSERT_EQ(item.marked, 1);
    input.distributionMode = kDistReference;
    input.points.reference.objects.emplace_back();
    ASSERT_EQ(Build(input).items.size(), 1u);
    EXPECT_EQ(Build(input).items[0].marked, 1);
}

TEST(Build, CoordinatesOfMapsFollowFromThePlaceOnTheSurface) {
    TBuildInput input = GroundInput();
    // The upper square has coordinates of its own, so that the surface counts as well as the face.
    AddSurface(input, SquareMesh(-2.5f, -2.5f, 2.5f, 2.5f, 3));
    input.channels.channel[kDistMap] = input.channels.channel[kTintMap] = 1;
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 400u);
    for (const TDravinItem& item : built.items) {
        bool upper = item.position.z == 3;
        float half = upper ? 2.5f : 10.0f;
        Point3 expected{(item.position.x + half) / (2 * half),
                        (item.position.y + half) / (2 * half), 0};
        ASSERT_NEAR(Length(item.mapUvws[kDistMap] - expected), 0, 1e-5);
        ASSERT_EQ(item.mapUvws[kTintMap], item.mapUvws[kDistMap]);
        ASSERT_EQ(item.mapUvws[kRotMap], Point3{});
    }
}

TEST(Build, ATintMapOnTheSurfaceColoursItems) {
    static const CoordinateMap coordinates;
    TBuildInput input = GroundInput();
    TTransformSettings& t = input.transforms;
    t.tintFromMap = t.tintMapAsTexture = t.tintOnSurface = true;
    t.tintMap = &coordinates;
    input.channels.Read(kTintMap, 1);
    for (const TDravinItem& item : Build(input).items)
        ASSERT_NEAR(item.tintColor.r, (item.position.x + 10) / 20, 1e-5);
}

TEST(Build, GizmoPointsOutsideALimitingViewAreLeftOut) {
    TBuildInput input = GroundInput();
    input.drawGizmo = true;
    TViewVolume::Shape shape;
    shape.fovRadians = 1.5707964f;
    shape.aspect = 1;
    // Looks straight down from height 8 over (-4, -4): the ground between -12 and 4.
    input.camera.view = TViewVolume(shape, Matrix3::Translation({-4, -4, 8}));
    EXPECT_EQ(Build(input).statistics.gizmoPoints.size(), 4u);
    input.camera.limitActive = true;
    input.camera.view =
        TViewVolume(shape, Matrix3::RotationY(0.5f) * Matrix3::Translation({-4, 0, 4}));
    for (const Point3& p : Build(input).statistics.gizmoPoints)
        EXPECT_TRUE(input.camera.view.Contains(p));
    EXPECT_LT(Build(input).statistics.gizmoPoints.size(), 4u);
}

TEST(Build, AClusterMakesOneItemAnElementWithSeedsOfTheirOwn) {
    TBuildInput input = GroundInput();
    input.specimens[0].elements.push_back(input.specimens[0].elements[0]);
    input.specimens[0].elements[1].offset = {0.25f, 0, 0};
    BuiltItems built = Build(input);
    ASSERT_EQ(built.items.size(), 800u);
    EXPECT_EQ(built.items[0].elementIndex, 0);
    EXPECT_EQ(built.items[1].elementIndex, 1);
    EXPECT_EQ(built.items[1].seed, built.items[0].seed + 1);
    EXPECT_EQ(built.items[1].position.x, built.items[0].position.x + 0.25f);
    EXPECT_EQ(built.items[1].sourceIndex, built.items[0].sourceIndex);
    EXPECT_NE(built.items[1].random1, built.items[0].random1);
}

TEST(Build, DisabledRowsShowNothing) {
    TBuildInput input = GroundInput();
    input.specimens = {CubeSpecimen(50), CubeSpecimen(50)};
    input.specimens[1].elements[0].kind = SpecimenKind::kDisabled;
    BuiltItems built = Build(input);
    EXPECT_NEAR(double(built.items.size()), 200, 40);
    for (const TDravinItem& item : built.items) EXPECT_EQ(item.specimenIndex, 0);
}

TEST(Build, SizesOfZeroAreHarmless) {
    TBuildInput input = GroundInput();
    input.specimens[0].elements[0].meshSize = {0, 0, 0};
    input.transforms.globalSize = true;
    input.transforms.globalWidth = 0;
    EXPECT_EQ(Build(input).items.size(), 400u);
    input.transforms.globalScale = 0;
    EXPECT_EQ(Build(input).items[0].height, 0);
}

TEST(Build, RandomizeStackedUsesTheGroupsNumber) {
    // One group only: its number is 0, so the option changes nothing.
    TBuildInput input = GroundInput();
    uint32_t seed = Build(input).items[7].seed;
    input.randomizeStacked = true;
    EXPECT_EQ(Build(input).items[7].seed, seed);
}

TEST(Build, ListsStoreOnlyWhatTheSettingsCanFill) {
    TBuildInput plain = GroundInput(), rich = RichInput();
    constexpr uint32_t kEvery = kGroupBirth | kGroupNormal | kGroupMapColor | kGroupCenter;
    EXPECT_EQ(plain.ItemGroupsNeeded(), kEvery | kGroupCell | kGroupSurface);
    EXPECT_EQ(rich.ItemGroupsNeeded(), kEvery | kGroupCell | kGroupSurface | kGroupFactors);
}

// What a list works out again is what it would have stored: here a second area, which shares the
// grid, keeps cells from telling their place by their number.
TEST(Build, WhatIsDerivedIsWhatWouldBeStored) {
    TBuildInput input = RichInput();
    input.areas.emplace_back().shape.lines = {
        {{{-9, -9, 0}, {9, -9, 0}, {9, 9, 0}, {-9, 9, 0}}, true}};
    BuiltItems derived = Build(input);
    ASSERT_GT(derived.items.size(), 100u);
    for (uint32_t group : {kGroupCell, kGroupBirth, kGroupNormal, kGroupMapColor, kGroupCenter})
        EXPECT_TRUE(derived.list.Derives(group)) << group;
    TAreaRow& far = input.areas.emplace_back();
    far.settings.order = 1;
    far.shape.lines = {{{{39, 39, 0}, {39.1f, 39, 0}, {39.1f, 39.1f, 0}}, true}};
    BuiltItems stored = Build(input);
    EXPECT_FALSE(stored.list.Derives(kGroupCell));
    ASSERT_GE(stored.items.size(), derived.items.size());
    for (size_t i = 0; i < derived.items.size(); ++i)
        ASSERT_TRUE(SameBits(derived.items[i], stored.items[i])) << i;
}

TEST(AutomaticMapSize, IsAHundredMetresOrTwentyFiveOnSmallGround) {
    auto side = [](float x, float y) { return Box3{{0, 0, 0}, {x, y, 50}}; };
    EXPECT_EQ(AutomaticMapSize(side(2, 1), 1), 100);
    EXPECT_EQ(AutomaticMapSize(side(1, 2), 1), 100);
    EXPECT_EQ(AutomaticMapSize(side(1.9f, 1), 1), 25);
    EXPECT_EQ(AutomaticMapSize(side(200, 1), 0.01), 10000);
    EXPECT_EQ(AutomaticMapSize(side(199, 1), 0.01), 2500);
}

TEST(ScatterBounds, AreThoseOfTheFirstGroupOrOfTheSurfaces) {
    TBuildInput input = GroundInput();
    EXPECT_EQ(ScatterBounds(input).Width(), (Point3{20, 20, 0}));
    TAreaRow& row = input.areas.emplace_back();
    row.shape.lines = {{{{0, 0, 0}, {4, 0, 0}, {4, 3, 0}}, true},
                       {{{9, 9, 0}, {10, 9, 0}, {9, 10, 0}}, true}};
    EXPECT_EQ(ScatterBounds(input).Width(), (Point3{4, 3, 0}));
    row.settings.exclude = true;
    EXPECT_EQ(ScatterBounds(input).Width(), (Point3{20, 20, 0}));
    input.surfaces.clear();
    EXPECT_TRUE(ScatterBounds(input).IsEmpty());
}

}  // namespace
