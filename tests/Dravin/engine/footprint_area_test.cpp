#include "Dravin/engine/areas/footprint_area.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

// A plate of 12 x 16 around a point: the sphere around it has radius 10.
TFootprint Plate(Point3 center = {}) {
    TFootprint f;
    Point3 a = center + Point3{-6, -8, 0}, b = center + Point3{6, -8, 0};
    Point3 c = center + Point3{6, 8, 0}, d = center + Point3{-6, 8, 0};
    f.triangles = {{a, b, c}, {a, c, d}};
    f.points = {a, b, c, d};
    return f;
}

TAreaRow FootprintRow(const TFootprint& footprint, int order, bool exclude) {
    TAreaRow row;
    row.settings.order = order;
    row.settings.exclude = exclude;
    row.settings.alwaysFades = true;
    row.footprint = std::make_shared<TFootprintArea>(footprint, 512, !exclude, 1);
    return row;
}

TBuildInput Ground(TAreaRow row) {
    TBuildInput input = GroundInput();
    input.areas = {std::move(row)};
    return input;
}

size_t InPlate(const BuiltItems& built) {
    size_t count = 0;
    for (const TDravinItem& item : built.items)
        count += std::abs(item.position.x) < 5.9f && std::abs(item.position.y) < 7.9f;
    return count;
}

}  // namespace

TEST(BoundingSphere, HoldsAllPoints) {
    std::vector<Point3> cube;
    for (int i = 0; i < 8; ++i) cube.push_back(Box3{{0, 0, 0}, {2, 2, 2}}[i]);
    TBoundingSphere sphere = BoundingSphere(cube);
    EXPECT_GE(sphere.radius, std::sqrt(3.0f) - 1e-5f);
    for (const Point3& p : cube) EXPECT_LE(Length(p - sphere.center), sphere.radius + 1e-5f);
    EXPECT_EQ(BoundingSphere({}).radius, 0);
    EXPECT_EQ(BoundingSphere(std::vector<Point3>{{1, 2, 3}}).radius, 0);
}

TEST(BoundingSphere, ARadiusBeyondBelievingCountsAsNone) {
    EXPECT_EQ(BoundingSphere(std::vector<Point3>{{-3e20f, 0, 0}, {3e20f, 0, 0}}).radius, 0);
}

TEST(SlicedTriangles, KeepWhatLiesAtOrBelowTheHeight) {
    std::vector<std::array<Point3, 3>> kept;
    AppendSliced({{{0, 0, 0}, {4, 0, 0}, {0, 0, 4}}}, 1, kept);
    ASSERT_EQ(kept.size(), 2u);
    double area = 0;
    for (const auto& [a, b, c] : kept) area += Length(CrossProd(b - a, c - a)) / 2;
    EXPECT_NEAR(area, 8 - 4.5, 1e-5);  // the tip above is 3 x 3 / 2
    AppendSliced({{{0, 0, 5}, {4, 0, 5}, {0, 4, 5}}}, 1, kept);
    EXPECT_EQ(kept.size(), 2u);
    AppendSliced({{{0, 0, 1}, {4, 0, 1}, {0, 4, 1}}}, 1, kept);
    EXPECT_EQ(kept.size(), 3u);
}

TEST(FootprintArea, PixelsAreTheDiameterOverTheResolution) {
    TFootprintArea area(Plate(), 512, false, 1);
    EXPECT_FLOAT_EQ(area.UnitsPerPixel(), 20.0f / 512);
    EXPECT_FLOAT_EQ(area.Bounds().max.x, 10);
    EXPECT_EQ(area.Bounds().max.z, 0);
}

TEST(FootprintArea, DistancesAreThoseOfThePlate) {
    TFootprintArea area(Plate({100, 50, 0}), 512, true, 1);
    float tolerance = 1.5f * area.UnitsPerPixel();
    EXPECT_EQ(area.DistanceTo({100, 50}), 0);
    EXPECT_TRUE(area.Inside({105.8f, 57.8f}));
    EXPECT_NEAR(area.DistanceTo({109, 50}), 3, tolerance);
    EXPECT_NEAR(area.BorderDistance({104, 50}), 2, tolerance);
    Point2 nearest = area.NearestBorder({109, 50});
    EXPECT_NEAR(nearest.x, 106, 2 * tolerance);
    EXPECT_NEAR(nearest.y, 50, 2 * tolerance);
}

TEST(FootprintArea, FarAwayTheGapIsAddedToTheEdgesDistance) {
    TFootprintArea area(Plate(), 512, false, 1);
    float tolerance = 1.5f * area.UnitsPerPixel();
    // At the sphere's edge (10, 0) the plate is 4 away.
    EXPECT_NEAR(area.DistanceTo({10, 0}), 4, tolerance);
    EXPECT_NEAR(area.DistanceTo({1010, 0}), 1004, 0.1f);
}

TEST(FootprintArea, NothingIsFarFromEverything) {
    TFootprintArea area({}, 512, false, 1);
    EXPECT_TRUE(area.IsEmpty());
    EXPECT_EQ(area.DistanceTo({3, 4}), 1e20f);
    EXPECT_FALSE(area.Inside({0, 0}));
}

TEST(FootprintArea, ADiscWithoutRadiusIsOnePixelWide) {
    TFootprint f;
    f.discs = {{{0, 0, 0}, 0}};
    f.points = {{-10, 0, 0}, {10, 0, 0}};
    TFootprintArea area(f, 100, false, 1);
    EXPECT_TRUE(area.Inside({0, 0}));
    EXPECT_TRUE(area.Inside({area.UnitsPerPixel(), 0}));
    EXPECT_FALSE(area.Inside({2.6f * area.UnitsPerPixel(), 0}));
}

TEST(FootprintArea, ResolutionsBeyondReasonAreTaken) {
    EXPECT_FLOAT_EQ(TFootprintArea(Plate(), 0, false, 1).UnitsPerPixel(), 20);
    EXPECT_FLOAT_EQ(TFootprintArea(Plate(), -5, true, 1).UnitsPerPixel(), 20);
}

TEST(FootprintBuild, AnObjectRemovesItemsInItsFootprintWithoutAFalloff) {
    TBuildInput input = Ground(FootprintRow(Plate(), 0, true));
    BuiltItems built = Build(input);
    EXPECT_EQ(InPlate(built), 0u);
    EXPECT_NEAR(double(built.items.size()), 400 - 12 * 16, 30);
    EXPECT_EQ(built.statistics.excludeAreas, 1);
}

TEST(FootprintBuild, AnObjectMayInclude) {
    TBuildInput input = Ground(FootprintRow(Plate(), 0, false));
    BuiltItems built = Build(input);
    EXPECT_EQ(InPlate(built), 11u * 15);
    EXPECT_LE(built.items.size(), 13u * 17);
}

TEST(FootprintBuild, ItTurnsWithTheMap) {
    TBuildInput input = Ground(FootprintRow(Plate(), 0, true));
    input.grid.rotationRadians = 0.7f;
    BuiltItems built = Build(input);
    EXPECT_EQ(InPlate(built), 0u);
    EXPECT_GT(built.items.size(), 150u);
}

TEST(FootprintBuild, DensityFadesAroundAnObject) {
    static const FalloffCurve falling = FalloffCurve::Line(100, 0);
    TBuildInput input = Ground(FootprintRow(Plate(), 0, true));
    size_t all = Build(input).items.size();
    input.areaFalloffs.densityCurve = &falling;
    input.areaFalloffs.densityExclude = 4;
    BuiltItems faded = Build(input);
    EXPECT_LT(faded.items.size(), all * 3 / 4);
    for (const TDravinItem& item : faded.items)
        ASSERT_GT(item.excludeDistance / 4, item.randomA.y - 2e-3);
}
