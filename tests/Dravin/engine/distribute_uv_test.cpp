#include "Dravin/engine/distribute_uv.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

// A 20 x 10 wall in the xz plane with mapping [0, 1]^2, cells of one unit.
std::shared_ptr<const Mesh> Wall() {
    auto mesh = std::make_shared<Mesh>(*SquareMesh(0, 0, 20, 10));
    for (Point3& p : mesh->verts) p = {p.x, 0, p.y};
    return mesh;
}

void AddMapped(TBuildInput& input, std::shared_ptr<const Mesh> mesh, const Matrix3& m = {}) {
    AddSurface(input, mesh, m);
    input.surfaces.back().uv = TSurfUVArray::Make(mesh, 1);
}

TBuildInput UvInput() {
    TBuildInput input;
    input.surfaceMode = kSurfaceUV;
    input.transforms.scatterUv = true;
    input.grid.imageWidth = input.grid.imageHeight = 10;
    input.density = WhiteMap(10, 10);
    input.specimens = {CubeSpecimen()};
    return input;
}

TEST(SurfaceUv, FindsPointNormalAndDerivatives) {
    auto array = TSurfUVArray::Make(Wall(), 1);
    ASSERT_TRUE(array);
    int hits = 0;
    array->ForEachHit(0.25f, 0.5f, [&](const TUvHit& hit) {
        ++hits;
        EXPECT_NEAR(hit.point.x, 5, 1e-5);
        EXPECT_NEAR(hit.point.z, 5, 1e-5);
        EXPECT_EQ(hit.normal, (Point3{0, -1, 0}));
        EXPECT_NEAR(hit.dPdu.x, 20, 1e-4);
        EXPECT_NEAR(hit.dPdv.z, 10, 1e-4);
    });
    EXPECT_EQ(hits, 1);
    EXPECT_NEAR(array->UnitsPerTextureUnit({}), std::sqrt(200.0), 1e-5);
    EXPECT_NEAR(array->UnitsPerTextureUnit(Matrix3::Scaling({2, 2, 2})), 2 * std::sqrt(200.0),
                1e-4);
    EXPECT_FALSE(TSurfUVArray::Make(Wall(), 2));
}

TEST(Uv, CellsAreLaidInTextureSpaceAtObjectSize) {
    TBuildInput input = UvInput();
    AddMapped(input, Wall());
    BuiltItems built = Build(input);
    // Cells of 1 / sqrt(200) texture units: 14 x 14 of them.
    EXPECT_EQ(built.statistics.cellsInArea, 14 * 14);
    ASSERT_GT(built.items.size(), 190u);
    for (const TDravinItem& item : built.items) {
        EXPECT_EQ(item.position.y, 0);
        EXPECT_NEAR(item.position.x, item.mapCoordinates.x * 20, 1e-4);
        EXPECT_NEAR(item.position.z, item.mapCoordinates.y * 10, 1e-4);
    }
}

TEST(Uv, OverlappingIslandsGiveOneItemEach) {
    auto mesh = std::make_shared<Mesh>(*Wall());
    size_t n = mesh->verts.size();
    for (size_t i = 0; i < n; ++i) mesh->verts.push_back(mesh->verts[i] + Point3{0, 8, 0});
    for (int f = 0; f < 2; ++f) {
        Face face = mesh->faces[size_t(f)];
        for (uint32_t& v : face.v) v += uint32_t(n);
        mesh->faces.push_back(face);
        mesh->maps[1].faces.push_back(mesh->maps[1].faces[size_t(f)]);
    }
    TBuildInput one = UvInput(), two = UvInput();
    AddMapped(one, Wall());
    AddMapped(two, mesh);
    BuiltItems a = Build(one), b = Build(two);
    EXPECT_EQ(b.items.size(), 2 * a.items.size());
    EXPECT_EQ(b.items[0].seed, b.items[1].seed);
    EXPECT_NE(b.items[0].position.y, b.items[1].position.y);
}

TEST(Uv, ItemsFollowTheMappingWhereAskedFor) {
    TBuildInput input = UvInput();
    input.directionPercent = 0;
    AddMapped(input, Wall());
    TDravinItem item = Build(input).items[0];
    EXPECT_EQ(item.normal, (Point3{0, -1, 0}));
    EXPECT_NEAR(item.transform.row[0].x, 1, 1e-6);
    input.uv.scaleU = input.uv.scaleV = true;
    input.uv.multiplierV = 3;
    item = Build(input).items[0];
    float k = std::sqrt(200.0f);
    EXPECT_NEAR(item.externalScale.x, 20 / k, 1e-4);
    EXPECT_NEAR(item.externalScale.y, 10 / k * 3, 1e-4);
    EXPECT_NEAR(item.width, 20 / k, 1e-4);
    input.uv = {false, false, false, 1, 1};
    EXPECT_EQ(Build(input).items[0].sourceTransform, Matrix3{});
}

TEST(Uv, NormalsAreThoseOfTheSurfaceUnderAnyScale) {
    auto ground = std::make_shared<Mesh>(*SquareMesh(-10, -10, 10, 10));
    for (Point3& p : ground->verts) p.z = p.x;  // 45 degrees
    TBuildInput input = UvInput();
    AddMapped(input, ground, Matrix3::Scaling({1, 1, 2}));
    input.slope.limited = true;
    input.slope.min = 0, input.slope.max = 0.5f;
    EXPECT_TRUE(Build(input).items.empty());
    input.slope.max = 1.2f;
    BuiltItems built = Build(input);
    ASSERT_FALSE(built.items.empty());
    for (const TDravinItem& item : built.items) {
        ASSERT_NEAR(item.surfaceSlope, std::atan(2.0f), 1e-5);
        ASSERT_NEAR(Length(item.surfaceNormal - Normalize(Point3{-2, 0, 1})), 0, 1e-5);
    }
}

TEST(Uv, TranslationIsAPercentageOfTheCell) {
    TBuildInput input = UvInput();
    AddMapped(input, Wall());
    BuiltItems still = Build(input);
    input.transforms.applyTranslation = true;
    input.transforms.transMin[0] = input.transforms.transMax[0] = 50;
    input.transforms.transMin[1] = input.transforms.transMax[1] = 0;
    BuiltItems moved = Build(input);
    float cell = 1 / std::sqrt(200.0f);
    EXPECT_NEAR(moved.items[0].mapCoordinates.x - still.items[0].mapCoordinates.x, cell / 2, 1e-6);
}

TEST(Uv, RandomizeStackedTellsSurfacesApart) {
    TBuildInput input = UvInput();
    AddMapped(input, Wall());
    AddMapped(input, Wall(), Matrix3::Translation({0, 30, 0}));
    BuiltItems same = Build(input);
    size_t half = same.items.size() / 2;
    EXPECT_EQ(same.items[0].random1, same.items[half].random1);
    input.randomizeStacked = true;
    BuiltItems apart = Build(input);
    EXPECT_EQ(apart.items[half].seed, apart.items[0].seed + 1);
    EXPECT_NE(apart.items[0].random1, apart.items[half].random1);
}

TEST(Uv, TheStackedOrdinalIsThePlaceInTheListOfSurfaces) {
    TBuildInput input = UvInput();
    input.randomizeStacked = true;
    AddMapped(input, Wall());
    BuiltItems first = Build(input);
    input.surfaces[0].listIndex = 3;  // three entries before it show no mesh
    BuiltItems fourth = Build(input);
    ASSERT_EQ(first.items.size(), fourth.items.size());
    for (size_t i = 0; i < first.items.size(); ++i)
        ASSERT_EQ(fourth.items[i].seed, first.items[i].seed + 3);
}

TEST(Uv, ADiversityMapIsAskedAtTheCellsHit) {
    static const CoordinateMap coordinates;
    TBuildInput input = UvInput();
    auto mesh = std::make_shared<Mesh>(*Wall());
    MapChannel& other = mesh->MakeMap(2);  // runs the other way
    other = *mesh->Map(1);
    for (Point3& uv : other.verts) uv.x = 1 - uv.x;
    AddMapped(input, mesh);
    input.geometry.mode = kByColorMap;
    input.diversityMap = &coordinates;
    input.channels.Read(kDivMap, 2);
    input.specimens = {CubeSpecimen(), CubeSpecimen()};
    input.specimens[1].colorId = {1, 0, 0};
    for (const TDravinItem& item : Build(input).items) {
        float u = 1 - item.position.x / 20;  // of channel 2
        // Nearer to (1, 0) than to (0, 0) where u is above one half.
        if (std::abs(u - 0.5f) < 0.01f) continue;
        ASSERT_EQ(item.specimenIndex, u > 0.5f ? 1 : 0) << u;
    }
}

TEST(Uv, CoordinatesOfMapsFollowFromThePlaceOnTheSurface) {
    TBuildInput input = UvInput();
    AddMapped(input, Wall());
    input.channels.channel[kDistMap] = input.channels.channel[kTintMap] = 1;
    BuiltItems built = Build(input);
    ASSERT_FALSE(built.items.empty());
    for (const TDravinItem& item : built.items) {
        ASSERT_NEAR(item.mapUvws[kDistMap].x, item.position.x / 20, 1e-5);
        ASSERT_NEAR(item.mapUvws[kTintMap].y, item.position.z / 10, 1e-5);
    }
}

TEST(Uv, ThreadsDoNotChangeTheItems) {
    TBuildInput input = UvInput();
    AddMapped(input, Wall());
    BuiltItems one = Build(input);
    for (int threads : {2, 3, 8, 16}) {
        input.threads = threads;
        BuiltItems many = Build(input);
        ASSERT_EQ(many.items.size(), one.items.size());
        for (size_t i = 0; i < one.items.size(); ++i) {
            ASSERT_EQ(many.items[i].fullTransform, one.items[i].fullTransform);
            ASSERT_EQ(many.items[i].sourceIndex, one.items[i].sourceIndex);
        }
    }
}

TEST(Uv, SurfacesWithoutMappingOrWithDegenerateTrianglesMakeNothing) {
    TBuildInput input = UvInput();
    AddSurface(input, Wall());
    EXPECT_EQ(Build(input).result, TBuildStatus::kSuccess);
    EXPECT_TRUE(Build(input).items.empty());
    auto flat = std::make_shared<Mesh>(*Wall());
    for (Point3& uvw : flat->maps[1].verts) uvw = {0.5f, 0.5f, 0};
    AddMapped(input, flat);
    EXPECT_TRUE(Build(input).items.empty());
}

TEST(Uv, TooDenseMapsAndFullRendersAreRefused) {
    TBuildInput input = UvInput();
    AddMapped(input, Wall());
    input.grid.maxCells = 100;
    EXPECT_EQ(Build(input).result, TBuildStatus::kDensityTooHigh);
    input.grid.maxCells = 0;
    input.render = true;
    input.renderLimit = 50;
    EXPECT_EQ(Build(input).result, TBuildStatus::kTooManyItems);
    input.render = false;
    input.displayLimit = 60;
    EXPECT_EQ(Build(input).statistics.decimation, 2);
}

}  // namespace
