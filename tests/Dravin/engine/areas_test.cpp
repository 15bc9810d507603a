#include "Dravin/engine/areas/areas.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

PolyLine Square(float half, Point2 center = {}, float z = 0) {
    return {{{center.x - half, center.y - half, z},
             {center.x + half, center.y - half, z},
             {center.x + half, center.y + half, z},
             {center.x - half, center.y + half, z}},
            true};
}

TAreaRow Row(std::vector<PolyLine> lines, int order = 0, bool exclude = false) {
    TAreaRow row;
    row.settings.order = order;
    row.settings.exclude = exclude;
    row.shape.lines = std::move(lines);
    return row;
}

// Cells of one unit and no surfaces: items stand on the plane of the area.
TBuildInput AreaInput(std::vector<TAreaRow> rows) {
    TBuildInput input = GroundInput();
    input.surfaces.clear();
    input.surfaceBounds = {};
    input.areas = std::move(rows);
    return input;
}

size_t CountWhere(const BuiltItems& built, auto test) {
    return size_t(std::count_if(built.items.begin(), built.items.end(),
                                [&](const TDravinItem& item) { return test(item.position); }));
}

bool Within(const Point3& p, float half) { return std::abs(p.x) < half && std::abs(p.y) < half; }

}  // namespace

TEST(Areas, ACurveInsideAnotherIsAHoleAndAThirdAnIsland) {
    BuiltItems built = Build(AreaInput({Row({Square(9.5f), Square(6.5f), Square(3.5f)})}));
    // 19 x 19 cells, less 13 x 13 of the hole, plus 7 x 7 of the island.
    EXPECT_EQ(built.items.size(), 361u - 169 + 49);
    EXPECT_EQ(built.statistics.includeGroups, 1);
    EXPECT_EQ(CountWhere(built, [](Point3 p) { return Within(p, 3.5f); }), 49u);
    EXPECT_EQ(CountWhere(built, [](Point3 p) { return Within(p, 6.5f) && !Within(p, 3.5f); }), 0u);
}

TEST(Areas, CurvesSideBySideAreGroupsThatNeverCancel) {
    // They overlap in 5 x 5 cells, which both fill.
    BuiltItems built = Build(AreaInput({Row({Square(4.5f), Square(4.5f, {4, 4})})}));
    EXPECT_EQ(built.statistics.includeGroups, 2);
    EXPECT_EQ(built.items.size(), 162u);
    EXPECT_EQ(CountWhere(built, [](Point3 p) { return p == Point3{2, 2, 0}; }), 2u);
}

TEST(Areas, OnlyClosedCurvesNest) {
    PolyLine open{{{-1, 0, 0}, {1, 0, 0}}, false};
    EXPECT_EQ(NestingParents({{Square(9), open, Square(3), Square(6)}}),
              (std::vector<int>{-1, -1, 3, 0}));
}

TEST(Areas, AnExcludeCutsOnlyWhatStandsBeforeIt) {
    TAreaRow ground = Row({Square(9.5f)}, 1);
    BuiltItems before = Build(AreaInput({Row({Square(4.5f)}, 0, true), ground}));
    EXPECT_EQ(before.items.size(), 361u);
    BuiltItems after = Build(AreaInput({ground, Row({Square(4.5f)}, 2, true)}));
    EXPECT_EQ(after.items.size(), 361u - 81);
    EXPECT_EQ(after.statistics.excludeAreas, 1);
}

TEST(Areas, NestedCurvesOfAnExcludeKeepTheirInside) {
    BuiltItems built =
        Build(AreaInput({Row({Square(9.5f)}), Row({Square(6.5f), Square(3.5f)}, 1, true)}));
    EXPECT_EQ(built.items.size(), 361u - 169 + 49);
}

TEST(Areas, OverlappingExcludesDoNotCancel) {
    BuiltItems built = Build(AreaInput(
        {Row({Square(9.5f)}), Row({Square(4.5f)}, 1, true), Row({Square(2.5f)}, 2, true)}));
    EXPECT_EQ(built.items.size(), 361u - 81);
}

TEST(Areas, OpenLinesAreBandsOfTheirWidth) {
    TAreaRow row = Row({{{{-10, 0, 0}, {10, 0, 0}}, false}});
    row.settings.bandWidth = 2.5f;
    EXPECT_EQ(Build(AreaInput({row})).items.size(), 20u * 5);  // the end at x = 10 is open
    row.settings.bandWidth = 0.0001f;
    EXPECT_EQ(Build(AreaInput({row})).result, TBuildStatus::kNoIncludeAreas);
}

TEST(Areas, ForceOpenTurnsAClosedLineIntoABand) {
    TAreaRow row = Row({Square(8)});
    row.forceOpen = true;
    row.settings.bandWidth = 1.5f;
    BuiltItems built = Build(AreaInput({row}));
    // Four rectangles of 16 x 3 cells, each two sharing 2 x 2 (the outer wedges stay free).
    EXPECT_FALSE(built.items.empty());
    EXPECT_EQ(CountWhere(built, [](Point3 p) { return Within(p, 6.4f); }), 0u);
    EXPECT_EQ(CountWhere(built, [](Point3 p) { return !Within(p, 9.6f); }), 0u);
    EXPECT_EQ(CountWhere(built, [](Point3 p) { return p.x == 0; }), 6u);
}

TEST(Areas, ItemsStandOnThePlaneAtTheTopOfTheShape) {
    PolyLine tilted = Square(4.5f);
    tilted.points[2].z = 7;
    BuiltItems built = Build(AreaInput({Row({tilted})}));
    ASSERT_FALSE(built.items.empty());
    EXPECT_EQ(built.items[0].position.z, 7);
}

TEST(Areas, AnAreaHasItsOwnMapSizeThresholdRowsAndOffset) {
    static const ConstantMap grey({0.3f, 0.3f, 0.3f, 1});
    TAreaRow row = Row({Square(9.5f)});
    row.settings.grid = {200, 100};
    row.settings.item.zOffset = 2;
    row.settings.geometry = " 7";
    TBuildInput input = AreaInput({row});
    input.specimens.push_back(CubeSpecimen());
    input.specimens[1].specId = 7;
    BuiltItems built = Build(input);
    EXPECT_EQ(built.items.size(), 81u);  // cells of two units: -8 to 8
    EXPECT_EQ(built.items[0].position.z, 2);
    for (const TDravinItem& item : built.items) ASSERT_EQ(item.specimenIndex, 1);

    input.areas[0].settings.map = &grey;
    input.grid.pixelsX = input.grid.pixelsY = 5;
    EXPECT_TRUE(Build(input).items.empty());  // 0.3 is not above 50 percent
    input.areas[0].settings.grid.thresholdPercent = 50;
    EXPECT_EQ(Build(input).items.size(), 25u);  // cells of four units: -8 to 8
}

TEST(Areas, ASubsetThatNamesNoRowPlacesNothing) {
    TAreaRow row = Row({Square(9.5f)});
    row.settings.geometry = "";
    BuiltItems built = Build(AreaInput({row}));
    EXPECT_EQ(built.result, TBuildStatus::kSuccess);
    EXPECT_TRUE(built.items.empty());
}

TEST(Areas, ARotatedMapKeepsTheAreasInPlace) {
    TBuildInput input = AreaInput({Row({Square(7)}), Row({Square(3)}, 1, true)});
    input.grid.rotationRadians = 0.5f;
    BuiltItems built = Build(input);
    EXPECT_NEAR(double(built.items.size()), 14 * 14 - 36, 12);
    for (const TDravinItem& item : built.items) {
        EXPECT_TRUE(Within(item.position, 7.0001f));
        EXPECT_FALSE(Within(item.position, 2.9999f));
    }
}

TEST(Areas, WithoutIncludeOrSurfaceThereAreNone) {
    EXPECT_EQ(Build(AreaInput({})).result, TBuildStatus::kNoIncludeAreas);
    EXPECT_EQ(Build(AreaInput({Row({Square(4)}, 0, true)})).result, TBuildStatus::kNoIncludeAreas);
}

TEST(Areas, ExcludesCutSurfacesThatAreTheGroundByThemselves) {
    TBuildInput input = GroundInput();
    input.areas = {Row({Square(4.5f)}, 0, true)};
    EXPECT_EQ(Build(input).items.size(), 400u - 81);
    input.areaRowForSurfaces = true;  // switched off
    EXPECT_EQ(Build(input).result, TBuildStatus::kNoIncludeAreas);
}

TEST(Areas, ItemsLandOnTheSurfacesThatTheirAreaNames) {
    TBuildInput input = GroundInput();
    AddSurface(input, SquareMesh(-10, -10, 10, 10, 5));
    input.areas = {Row({Square(4.5f)})};
    EXPECT_EQ(Build(input).items[0].position.z, 5);
    input.areas[0].settings.surfaces.surfaces = {1, 0};
    EXPECT_EQ(Build(input).items[0].position.z, 0);
    input.areas[0].settings.surfaces.surfaces = {0, 0};
    EXPECT_TRUE(Build(input).items.empty());
}

TEST(Areas, ItemsLandOnFacesOfTheirAreasMaterialsOnly) {
    TBuildInput input = GroundInput();
    auto upper = std::make_shared<Mesh>(*SquareMesh(-10, -10, 10, 10, 5));
    upper->faces[0].matID = 2;  // the half below the diagonal
    AddSurface(input, upper);
    input.areas = {Row({Square(4.5f)})};
    input.areas[0].settings.surfaces.materials = {1, 0, 0};  // the first id
    for (const TDravinItem& item : Build(input).items) {
        // Under a face of another id lies the ground, which has the first one.
        if (item.position.x != item.position.y) {
            ASSERT_EQ(item.position.z, item.position.x > item.position.y ? 0 : 5);
        }
    }
    input.areas[0].settings.surfaces.materials = {0, 0, 1};
    for (const TDravinItem& item : Build(input).items) ASSERT_EQ(item.position.z, 5);
    input.areas[0].settings.surfaces.materials = {0, 1};
    EXPECT_TRUE(Build(input).items.empty());
}

TEST(Areas, StackedGroupsRepeatTheirRandomsUnlessAskedNotTo) {
    TBuildInput input = AreaInput({Row({Square(4.5f)}), Row({Square(4.5f, {}, 3)}, 1)});
    BuiltItems same = Build(input);
    ASSERT_EQ(same.items.size(), 162u);
    EXPECT_EQ(same.items[81].seed, same.items[0].seed);
    input.randomizeStacked = true;
    EXPECT_EQ(Build(input).items[81].seed, same.items[0].seed + 1);
}

TEST(Areas, MembersOfAGroupAreTestedWhereTheyStand) {
    TBuildInput input = AreaInput({Row({Square(4.5f)})});
    TSpecimen& specimen = input.specimens[0];
    specimen.elements.push_back(specimen.elements[0]);
    specimen.elements[1].offset = {2, 0, 0};
    BuiltItems built = Build(input);
    // Members two to the right come from the columns -4 to 2, and from -5, which has no head.
    EXPECT_EQ(CountWhere(built, [](Point3 p) { return p.y == 0; }), 9u + 8);
}

TEST(Areas, AnAreaOfAnotherMapThanTheSurfacesKeepsItsPlace) {
    static const ConstantMap white({1, 1, 1, 1});
    TBuildInput input = GroundInput();
    input.grid.rotationRadians = 0.6f;
    input.grid.pixelsX = input.grid.pixelsY = 10;
    input.areas = {Row({Square(4.5f)})};
    input.areas[0].settings.map = &white;
    // Read with the surfaces' coordinates, the map is not turned: whole cells again.
    BuiltItems built = Build(input);
    EXPECT_EQ(built.items.size(), 81u);
    EXPECT_EQ(built.items[0].position, (Point3{-4, -4, 0}));
}

TEST(Areas, ThreadsGiveTheSameItems) {
    TBuildInput input = AreaInput({Row({Square(9.3f), Square(6), Square(2.7f)}),
                                   Row({{{{-9, -9, 0}, {8, 7, 0}}, false}}, 1, true),
                                   Row({Square(3.3f, {4, -4})}, 2)});
    static const FalloffCurve falling = FalloffCurve::Line(100, 0);
    input.areas[1].settings.bandWidth = 0.8f;
    input.grid.unitsX = input.grid.unitsY = 2;
    input.grid.rotationRadians = 0.3f;
    input.areaFalloffs = {&falling, &falling, 2, 1, 1, 1, false, false};
    BuiltItems one = Build(input);
    ASSERT_GT(one.items.size(), 1000u);
    for (int threads : {2, 3, 8, 16}) {
        input.threads = threads;
        BuiltItems many = Build(input);
        ASSERT_EQ(many.items.size(), one.items.size());
        for (size_t i = 0; i < one.items.size(); ++i) {
            ASSERT_EQ(many.items[i].fullTransform, one.items[i].fullTransform);
            ASSERT_EQ(many.items[i].excludeDistance, one.items[i].excludeDistance);
        }
    }
}

TEST(Areas, TheMeasureDecidesTheDisplaysDecimation) {
    TBuildInput input = AreaInput({Row({Square(50)})});
    input.displayLimit = 2500;  // 10,000 cells
    EXPECT_EQ(Build(input).statistics.decimation, 2);
    EXPECT_LE(Build(input).items.size(), 2500u);
}
