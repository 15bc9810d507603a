// Sources that nobody would draw on purpose: builds end soon, with a status, and without items at
// places that are no places.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

const float kNan = std::numeric_limits<float>::quiet_NaN();
const float kInfinity = std::numeric_limits<float>::infinity();

TAreaRow Row(std::vector<Point3> points, bool closed = true) {
    TAreaRow row;
    row.shape.lines = {{std::move(points), closed}};
    return row;
}

// Items over that one area, on no surface.
BuiltItems BuildArea(TAreaRow row, bool exclude = false) {
    TBuildInput input = GroundInput();
    if (exclude) {
        row.settings.exclude = true;
    } else {
        input.surfaces.clear();
        input.surfaceBounds = {};
    }
    input.areas = {std::move(row)};
    BuiltItems built = Build(input);
    for (const TDravinItem& item : built.items) EXPECT_TRUE(IsFinite(item.position));
    return built;
}

const std::vector<Point3> kBowTie{
    {-5.5f, -5.5f, 0}, {5.5f, 5.5f, 0}, {5.5f, -5.5f, 0}, {-5.5f, 5.5f, 0}};

TEST(BadAreas, ASelfCrossingSplineIncludesBothOfItsWings) {
    // Columns 1 to 5 on either side hold 2 |x| + 1 rows less the ones on the rims, which are
    // half-open: the lower is in, the upper is not.
    BuiltItems built = BuildArea(Row(kBowTie));
    size_t expected = 0;
    for (int x = -5; x <= 5; ++x)
        for (int y = -5; y <= 5; ++y) expected += std::abs(y) < std::abs(x);
    EXPECT_GE(built.items.size(), expected);
    for (const TDravinItem& item : built.items)
        EXPECT_LE(std::abs(item.position.y), std::abs(item.position.x));
}

TEST(BadAreas, WhereASplineCoversItselfTwiceItIncludesNothing) {
    const std::vector<Point3> square{
        {-3.5f, -3.5f, 0}, {3.5f, -3.5f, 0}, {3.5f, 3.5f, 0}, {-3.5f, 3.5f, 0}};
    std::vector<Point3> twice = square;
    twice.insert(twice.end(), square.begin(), square.end());
    EXPECT_EQ(BuildArea(Row(square)).items.size(), 49u);
    EXPECT_EQ(BuildArea(Row(twice)).items.size(), 0u);
}

TEST(BadAreas, LinesWithoutLengthCoverNothing) {
    const std::vector<Point3> once{{1, 1, 0}}, often(100, {1, 1, 0});
    for (bool closed : {false, true})
        for (const auto& points : {once, often, std::vector<Point3>{}}) {
            EXPECT_EQ(BuildArea(Row(points, closed)).items.size(), 0u);
            EXPECT_EQ(BuildArea(Row(points, closed), true).items.size(), 400u);
        }
}

TEST(BadAreas, CoincidentPointsChangeNothing) {
    std::vector<Point3> doubled;
    for (const Point3& p : kBowTie) doubled.insert(doubled.end(), 3, p);
    EXPECT_EQ(BuildArea(Row(doubled)).items.size(), BuildArea(Row(kBowTie)).items.size());
    std::vector<Point3> line{{-9, 0, 0}, {9, 0, 0}}, stuttered{{-9, 0, 0}, {-9, 0, 0}, {9, 0, 0}};
    TAreaRow a = Row(line, false), b = Row(stuttered, false);
    a.settings.bandWidth = b.settings.bandWidth = 2.5f;
    size_t count = BuildArea(a).items.size();
    EXPECT_GT(count, 0u);
    EXPECT_EQ(BuildArea(b).items.size(), count);
}

TEST(BadAreas, PointsThatAreNoPlacesAreLeftOut) {
    std::vector<Point3> square{{-3.5f, -3.5f, 0}, {kNan, 0, 0},         {3.5f, -3.5f, 0},
                               {3.5f, 3.5f, 0},   {0, kInfinity, 0},    {-3.5f, 3.5f, 0},
                               {0, 0, kNan},      {-kInfinity, kNan, 1}};
    EXPECT_EQ(BuildArea(Row(square)).items.size(), 49u);
    EXPECT_EQ(BuildArea(Row(std::vector<Point3>(5, {kNan, kNan, kNan}))).items.size(), 0u);
}

TEST(BadAreas, HugeOutlinesAreRefusedAsTooDense) {
    TBuildInput input = GroundInput();
    input.grid.maxCells = 1000000;
    auto area = [&](float far) {
        input.areas = {Row({{-far, -far, 0}, {far, -far, 0}, {far, far, 0}})};
        return Build(input);
    };
    EXPECT_EQ(area(1e14f).result, TBuildStatus::kDensityTooHigh);
    // Beyond all reach a corner is no place any more, and nothing is left of the outline.
    EXPECT_TRUE(area(1e30f).items.empty());
}

TEST(BadAreas, WidthsThatAreNoNumberMakeNoBand) {
    TAreaRow row = Row({{-9, 0, 0}, {9, 0, 0}}, false);
    for (float width : {kNan, 0.0f, -3.0f}) {
        row.settings.bandWidth = width;
        EXPECT_EQ(BuildArea(row).items.size(), 0u) << width;
    }
}

TEST(BadFootprints, AnEmptyMeshCoversNothing) {
    for (bool exclude : {false, true}) {
        TAreaRow row;
        row.settings.alwaysFades = true;
        row.footprint = std::make_shared<TFootprintArea>(TFootprint{}, 512, !exclude, 1);
        EXPECT_EQ(BuildArea(row, exclude).items.size(), exclude ? 400u : 0u);
    }
}

TEST(BadCameras, AViewWithoutDepthOrWidthEndsTheBuild) {
    for (float fov : {0.0f, 3.1415927f, kNan})
        for (float far : {0.0f, 100.0f, kInfinity}) {
            TViewVolume::Shape shape;
            shape.fovRadians = fov;
            shape.far = far;
            TBuildInput input = GroundInput();
            input.camera.valid = input.camera.limitActive = true;
            input.camera.view = TViewVolume(shape, Matrix3::Translation({0, 0, 9}));
            BuiltItems built = Build(input);
            EXPECT_EQ(built.result, TBuildStatus::kSuccess);
            EXPECT_LE(built.items.size(), 400u);
        }
}

TEST(BadCameras, FalloffsFromNearToNearAreHarmless) {
    FalloffCurve falling = FalloffCurve::Line(100, 0);
    TBuildInput input = GroundInput();
    input.camera.valid = true;
    input.camera.near = input.camera.far = 5;
    input.camera.densityCurve = input.camera.scaleCurve = &falling;
    // Nearer than five units the curve's start rules, farther its end.
    for (const TDravinItem& item : Build(input).items) {
        EXPECT_LE(std::hypot(item.position.x, item.position.y), 5);
        EXPECT_EQ(item.width, 1);
    }
}

TEST(BadPaths, ABillionItemsAskedForAreOneALine) {
    TBuildInput input = GroundInput();
    input.surfaces.clear();
    input.distributionMode = kDistPath;
    input.displayLimit = std::numeric_limits<int32_t>::max();
    TPathNode node;
    node.lines.emplace_back(PolyLine{{{0, 0, 0}, {1e6f, 0, 0}}, false});
    node.lines.back().Length();
    input.points.path.nodes = {node};
    input.points.path.spacing = 1e-3f;  // a step of 1e-9 of the line
    EXPECT_EQ(Build(input).items.size(), 1u);
    input.points.path.spacing = 100;  // 1e-4 of it: ten thousand
    input.displayLimit = 50;
    EXPECT_EQ(Build(input).items.size(), 51u);
    input.render = true;
    EXPECT_EQ(Build(input).result, TBuildStatus::kTooManyItems);
}

TEST(BadReferences, FacesWithoutVerticesAreLeftOut) {
    auto mesh = std::make_shared<Mesh>(*SquareMesh(0, 0, 1, 1));
    mesh->faces[1].v = {0, 1, 99};
    mesh->faces.push_back(mesh->faces[0]);
    mesh->verts[3] = {kNan, 0, 0};
    mesh->faces[2].v = {0, 1, 3};
    TBuildInput input = GroundInput();
    input.surfaces.clear();
    input.distributionMode = kDistReference;
    input.points.reference.onFaces = input.points.reference.hasNodes = true;
    EXPECT_EQ(Build(input).result, TBuildStatus::kSuccess);  // nodes without meshes
    input.points.reference.meshes = {{mesh, {}}};
    EXPECT_EQ(Build(input).items.size(), 1u);
}

TEST(BadReferences, PointsThatAreNoPlacesMakeNothing) {
    TBuildInput input = GroundInput();
    input.surfaces.clear();
    input.distributionMode = kDistReference;
    input.points.reference.objects.resize(3);
    input.points.reference.objects[1].point = {kNan, 0, 0};
    EXPECT_EQ(Build(input).items.size(), 2u);
    input.distributionMode = kDistParticles;
    input.points.particles.systems.resize(1);
    input.points.particles.systems[0].resize(3);
    input.points.particles.systems[0][2].point = {0, kInfinity, 0};
    EXPECT_EQ(Build(input).items.size(), 2u);
    TStoredItem stored[2];
    stored[0].storedPosition = {0, 0, kNan};
    input.customEdit = input.transforms.customEdit = true;
    input.storedItems = stored;
    EXPECT_EQ(Build(input).items[0].discarded, 1);
    EXPECT_EQ(Build(input).items[1].discarded, 0);
}

TEST(BadMappings, TrianglesOfAlmostNoExtentAreMissedOrHitAtAPlace) {
    for (float scale : {1e-6f, 1e-12f, 1e-17f, 1e-20f, 1e-24f, 1e-38f}) {
        auto mesh = std::make_shared<Mesh>(*SquareMesh(0, 0, 10, 10));
        for (Point3& uv : mesh->maps[1].verts) uv = uv * scale;
        auto uv = TSurfUVArray::Make(mesh, 1);
        int hits = 0;
        uv->ForEachHit(0.2f * scale, 0.1f * scale, [&](const TUvHit& hit) {
            ++hits;
            EXPECT_TRUE(IsFinite(hit.point)) << scale;
            EXPECT_TRUE(IsFinite(hit.dPdu) && IsFinite(hit.dPdv)) << scale;
        });
        EXPECT_EQ(hits, scale > 1e-18f ? 1 : hits) << scale;
    }
}

}  // namespace
