#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

// A ground whose 21 x 21 cells keep 400: those on its far edges belong to no face.
constexpr int64_t kCells = 441, kBesideGround = 41;

TRejections Rejected(const TBuildInput& input) { return Build(input).statistics.rejected; }

TRejections Only(int64_t TRejections::*rule, int64_t count) {
    TRejections r;
    r.*rule = count;
    return r;
}

PolyShape Square(float half) {
    return {{{{{-half, -half, 0}, {half, -half, 0}, {half, half, 0}, {-half, half, 0}}, true}}};
}

// The scatter's own square between -h and h without a surface.
TBuildInput AreaInput(float half) {
    TBuildInput input = GroundInput();
    input.surfaces.clear();
    input.surfaceBounds = {};
    input.areas.emplace_back().shape = Square(half);
    return input;
}

TEST(Rejections, CellsBesideTheGroundMissTheSurface) {
    EXPECT_EQ(Rejected(GroundInput()), Only(&TRejections::surface, kBesideGround));
}

TEST(Rejections, DarkPixelsOfTheMapCount) {
    TBuildInput input = GroundInput();
    std::vector<uint16_t> rgb(10 * 10 * 3, 0);
    input.density = TDensityMap(10, 10, rgb, 50);
    EXPECT_EQ(Rejected(input), Only(&TRejections::map, kCells));
    ConstantMap dark{{0, 0, 0, 1}};
    input.distMap = &dark;
    input.grid.hasTexture = true;
    input.grid.pixelsX = input.grid.pixelsY = 10;
    input.distMapChannel = 0;
    EXPECT_EQ(Rejected(input), Only(&TRejections::map, kCells));
    // On the surface the cells beside it fall out before the map is asked.
    input.distMapChannel = 1;
    TRejections r = Rejected(input);
    EXPECT_EQ(r.surface, kBesideGround);
    EXPECT_EQ(r.map, kCells - kBesideGround);
}

TEST(Rejections, CellsOutsideAreasCountWhetherTheyAreAskedByRowOrOneByOne) {
    // Columns and rows -5..5 (10.2 units wide: 11 cells of one unit), all inside.
    TBuildInput input = AreaInput(5.1f);
    EXPECT_EQ(Rejected(input), TRejections());
    // An excluded square in the middle takes the 3 x 3 cells -1..1.
    TAreaRow hole;
    hole.settings.exclude = true;
    hole.settings.order = 1;
    hole.shape = Square(1.5f);
    input.areas.push_back(hole);
    EXPECT_EQ(Rejected(input), Only(&TRejections::area, 9));
    input.specimens[0].elements[0].offset = {0.001f, 0, 0};  // asks cell by cell
    EXPECT_EQ(Rejected(input), Only(&TRejections::area, 9));
}

TEST(Rejections, ItemsAcrossABorderCountAsAreas) {
    TBuildInput input = AreaInput(5.1f);
    input.areas[0].settings.item.boundaryCheck = 1;
    // A radius of half a unit reaches over the border from the outermost cells: 11² - 9² of them.
    EXPECT_EQ(Rejected(input), Only(&TRejections::area, 40));
}

TEST(Rejections, AltitudeAndSlopeLimitsAreToldFromTheirFalloffs) {
    TBuildInput input = GroundInput();
    FalloffCurve none = FalloffCurve::Line(0, 0);
    input.altitude.min = 1, input.altitude.max = 2;
    input.altitude.densityCurve = &none;
    EXPECT_EQ(Rejected(input).falloff, 400);
    EXPECT_EQ(Rejected(input).altitude, 0);
    input.altitude.limited = true;
    EXPECT_EQ(Rejected(input).altitude, 400);
    EXPECT_EQ(Rejected(input).falloff, 0);
    input.altitude = {};
    input.slope.limited = true;
    input.slope.min = 1, input.slope.max = 2;
    EXPECT_EQ(Rejected(input).slope, 400);
}

TEST(Rejections, TheCamerasViewCountsCellsThatItCutsOff) {
    TBuildInput input = GroundInput();
    TViewVolume::Shape shape;
    shape.fovRadians = 1;
    shape.aspect = 1;
    shape.far = 10;
    input.camera.limitActive = true;
    // A view that looks straight down from beside the ground sees nothing of it.
    input.camera.view = TViewVolume(shape, Matrix3::Translation({1000, 0, 5}));
    BuiltItems away = Build(input);
    EXPECT_EQ(away.statistics.rejected, Only(&TRejections::camera, kCells));
    // Over the middle: what is left and what is dropped are all cells again.
    input.camera.view = TViewVolume(shape, Matrix3::Translation({0, 0, 5}));
    BuiltItems over = Build(input);
    ASSERT_FALSE(over.items.empty());
    EXPECT_EQ(over.statistics.rejected,
              Only(&TRejections::camera, kCells - int64_t(over.items.size())));
}

TEST(Rejections, AFallingDensityOfTheCameraCountsAsFalloff) {
    TBuildInput input = GroundInput();
    FalloffCurve none = FalloffCurve::Line(0, 0);
    input.camera.densityCurve = &none;
    input.camera.far = 10;
    EXPECT_EQ(Rejected(input), Only(&TRejections::falloff, kCells));
}

TEST(Rejections, CollisionsAreThoseOfTheStatistics) {
    TBuildInput input = GroundInput();
    input.specimens[0].elements[0].scalePercent = 300;
    input.collisions = true;
    BuiltItems built = Build(input);
    EXPECT_GT(built.statistics.rejected.collision, 100);
    EXPECT_EQ(built.statistics.rejected.collision, 400 - int64_t(built.items.size()));
}

TEST(Rejections, PointsAndStoredItemsAreCountedToo) {
    TBuildInput input = GroundInput();
    input.distributionMode = kDistReference;
    for (float x : {0.0f, 5.0f, 50.0f}) input.points.reference.objects.emplace_back().point.x = x;
    EXPECT_EQ(Rejected(input), Only(&TRejections::surface, 1));
    input.distributionMode = kDistPath;
    TPathNode node;
    node.lines.emplace_back(PolyLine{{{0, 0, 0}, {40, 0, 0}}, false});
    input.points.path.nodes = {node};
    input.points.path.spacing = 8;  // at 0, 8, 16, 24 and 32
    EXPECT_EQ(Rejected(input), Only(&TRejections::surface, 3));

    input.customEdit = input.transforms.customEdit = true;
    std::vector<TStoredItem> stored(3);
    stored[2].storedPosition = {1000, 0, 0};
    input.storedItems = stored;
    input.camera.limitActive = true;
    TViewVolume::Shape shape;
    shape.fovRadians = shape.aspect = 1;
    input.camera.view = TViewVolume(shape, Matrix3::Translation({0, 0, 5}));
    EXPECT_EQ(Rejected(input), Only(&TRejections::camera, 1));
}

TEST(Rejections, InUvModeCellsOutsideTheMappingMissTheSurface) {
    TBuildInput input = GroundInput();
    input.surfaceMode = kSurfaceUV;
    auto mesh = std::make_shared<Mesh>(*SquareMesh(-10, -10, 10, 10));
    mesh->faces.pop_back();  // half of the square, in texture space too
    mesh->MakeMap(1).faces.pop_back();
    input.surfaces.clear();
    AddSurface(input, mesh);
    input.surfaces[0].uv = TSurfUVArray::Make(mesh, 1);
    BuiltItems built = Build(input);
    EXPECT_GT(built.statistics.rejected.surface, 100);
    EXPECT_EQ(built.statistics.rejected.surface + int64_t(built.items.size()), kCells);
    ConstantMap dark{{0, 0, 0, 1}};
    input.distMap = &dark;
    input.grid.hasTexture = true;
    input.grid.pixelsX = input.grid.pixelsY = 10;
    EXPECT_EQ(Rejected(input), Only(&TRejections::map, kCells));
}

TEST(Rejections, AreTheSameForAnyNumberOfThreads) {
    TBuildInput input = AreaInput(9.3f);
    AddSurface(input, SquareMesh(-9, -9, 5, 5), Matrix3::RotationX(0.3f));
    FalloffCurve half = FalloffCurve::Line(50, 50);
    input.altitude.limited = true;
    input.altitude.min = -2, input.altitude.max = 2;
    input.slope.min = -1, input.slope.max = 1;
    input.slope.densityCurve = &half;
    input.grid.rotationRadians = 0.4f;
    TRejections one = Rejected(input);
    for (const TRejectionRule& rule : RejectionRules()) {
        bool used =
            std::string("area surface altitude falloff").find(rule.name) != std::string::npos;
        EXPECT_EQ(one.*rule.count > 0, used) << rule.name;
    }
    for (int threads : {2, 3, 8}) {
        input.threads = threads;
        EXPECT_EQ(Rejected(input), one) << threads;
    }
}

TEST(Rejections, AFailedDistributionHasNone) {
    TBuildInput input = GroundInput();
    input.render = true;
    input.renderLimit = 10;
    EXPECT_EQ(Rejected(input), TRejections());
}

}  // namespace
