#include "host/render/scanline/scanline_renderer.h"

#include <gmock/gmock.h>

#include <cmath>

#include "host/geom/height_field.h"
#include "tests/host/render/render_fixture.h"

namespace {

constexpr float kPi = 3.14159265f;

Picture Scan(const RenderScene& scene, int size = 16, int samples = 4, int threads = 2) {
    RenderSettings settings;
    settings.width = settings.height = size;
    settings.samples = samples;
    settings.threads = threads;
    RenderOutcome outcome = ScanlineRenderer(scene).Render(settings);
    EXPECT_EQ(outcome.error, "");
    return std::move(outcome.picture);
}

float MeanDifference(const Picture& a, const Picture& b) {
    float sum = 0;
    for (size_t i = 0; i < a.pixels.size(); ++i) sum += std::fabs(a.pixels[i].g - b.pixels[i].g);
    return sum / float(a.pixels.size());
}

// Boxes in a row, some turned and tinted, over a plane.
struct Boxes {
    RenderScene scene = NoonScene();
    Mesh plane = MakePlane(60, 60);
    std::shared_ptr<StandardMtl> white = MakeMtl({1, 1, 1});
    ListSource list;

    Boxes() {
        scene.sun.direction = {1, 0.4f, 1.5f};
        scene.camera.transform.SetTrans({0, 0, 40});
        scene.nodes = {{&plane, white.get(), {}}};
        list.prototypes = {MakeBox(2, 2, 2), MakeSphere(1, 24)};
        list.mtl = MakeMtl({0.8f, 0.6f, 0.7f});
        for (int i = 0; i < 30; ++i) {
            InstanceRecord record;
            record.prototype = uint32_t(i % 2);
            record.transform =
                Matrix3::RotationZ(float(i)) *
                Matrix3::Translation({float(i % 6) * 4 - 10, float(i / 6) * 4 - 8, 0});
            record.tint = {0, 1, 0};
            record.tintBlend = i % 3 == 0 ? 0.5f : 0;
            list.instances.push_back(record);
        }
        scene.sources = {&list};
    }
};

}  // namespace

TEST(ScanlineRenderer, WhitePlaneUnderTheSunShowsRadianceOne) {
    RenderScene scene = NoonScene();
    Mesh plane = MakePlane(100, 100);
    auto white = MakeMtl({1, 1, 1});
    scene.nodes = {{&plane, white.get(), {}}};
    for (Color c : Scan(scene, 4).pixels) EXPECT_NEAR(c.g, 1, 1e-4f);
    scene.sun.direction = {std::sqrt(3.f), 0, 1};  // 30 degrees high: the sine is 1/2
    EXPECT_NEAR(Mean(Scan(scene, 4)).g, 0.5f, 1e-3f);
}

TEST(ScanlineRenderer, PlaneUnderAConstantSkyReflectsAllOfIt) {
    RenderScene scene = NoonScene();
    scene.sun.irradiance = Color{0, 0, 0};
    scene.sky.constant = Color{0.7f, 0.7f, 0.7f};
    Mesh plane = MakePlane(100, 100);
    auto white = MakeMtl({1, 1, 1});
    scene.nodes = {{&plane, white.get(), {}}};
    EXPECT_NEAR(Mean(Scan(scene, 4)).b, 0.7f, 1e-3f);
}

TEST(ScanlineRenderer, NothingShowsTheSky) {
    RenderScene scene = NoonScene();
    scene.sky.constant = Color{0.2f, 0.4f, 0.6f};
    EXPECT_NEAR(Mean(Scan(scene, 4)).b, 0.6f, 1e-5f);
}

TEST(ScanlineRenderer, BoxCastsAShadowOfItsHeight) {
    RenderScene scene = NoonScene();
    scene.sun.direction = {1, 0, 1};  // 45 degrees: the shadow reaches 2 beyond the box, to -x
    scene.camera = DownCamera(100, 7);
    Mesh plane = MakePlane(100, 100), box = MakeBox(2, 2, 2);
    auto white = MakeMtl({1, 1, 1});
    scene.nodes = {{&plane, white.get(), {}}, {&box, white.get(), {}}};
    Picture picture = Scan(scene, 64);
    float across = 2 * 100 * std::tan(3.5f * kPi / 180);
    auto shade = [&](float x) { return PixelAt(picture, int((x / across + 0.5f) * 64), 32).g; };
    EXPECT_NEAR(shade(-2), 0, 1e-4f);
    EXPECT_NEAR(shade(-2.7f), 0, 1e-4f);
    EXPECT_NEAR(shade(-3.4f), std::sqrt(0.5f), 1e-3f);
    EXPECT_NEAR(shade(2), std::sqrt(0.5f), 1e-3f);
    scene.sun.shadow.casts = false;
    picture = Scan(scene, 64);
    EXPECT_NEAR(shade(-2), std::sqrt(0.5f), 1e-3f);
}

TEST(ScanlineRenderer, ShowsWhatTheRayTracerShowsWithoutBounces) {
    Boxes boxes;
    Picture traced = Draw(boxes.scene, 64, 64, 2, 0), scanned = Scan(boxes.scene, 64, 16);
    // Edges differ: the tracer's filter is wider than a pixel.
    EXPECT_LT(MeanDifference(traced, scanned), 0.04f);
    EXPECT_NEAR(Mean(traced).r, Mean(scanned).r, 0.01f);
    EXPECT_NEAR(Mean(traced).g, Mean(scanned).g, 0.01f);
}

TEST(ScanlineRenderer, AnyNumberOfThreadsGivesTheSameBits) {
    Boxes boxes;
    auto cut = MakeMtl({0.8f, 0.6f, 0.7f});
    cut->opacityMap = MakeStripes();
    boxes.list.mtl = cut;
    Picture one = Scan(boxes.scene, 96, 9, 1);
    EXPECT_EQ(one.pixels, Scan(boxes.scene, 96, 9, 3).pixels);
    EXPECT_EQ(one.pixels, Scan(boxes.scene, 96, 9, 8).pixels);
}

TEST(ScanlineRenderer, MasksAreCutOutAndOpacityIsAShare) {
    RenderScene scene = NoonScene();
    Mesh floor = MakePlane(100, 100), roof = MakePlane(40, 40);
    auto white = MakeMtl({1, 1, 1}), cut = MakeMtl({0, 0, 0});
    cut->opacityMap = MakeStripes();
    cut->opacityMap->tiling = {50, 1};
    scene.sun.shadow.casts = false;
    scene.nodes = {{&floor, white.get(), {}}, {&roof, cut.get(), Matrix3::Translation({0, 0, 1})}};
    EXPECT_NEAR(Mean(Scan(scene, 16, 36)).g, 0.5f, 0.03f);
    cut->opacityMap = nullptr;
    cut->opacity = 0.25f;
    EXPECT_NEAR(Mean(Scan(scene, 16, 36)).g, 0.75f, 0.03f);
}

TEST(ScanlineRenderer, MirrorsShowTheSky) {
    RenderScene scene = NoonScene();
    scene.sun.irradiance = Color{0, 0, 0};
    scene.sky.constant = Color{1, 1, 1};
    Mesh plane = MakePlane(100, 100);
    auto black = MakeMtl({0, 0, 0});
    black->reflectivity = 1;
    scene.nodes = {{&plane, black.get(), {}}};
    // Water seen from straight above reflects 2 %.
    EXPECT_NEAR(PixelAt(Scan(scene, 16), 8, 8).g, 0.02f, 1e-3f);
}

TEST(ScanlineRenderer, PointLightsAndSpotsShine) {
    RenderScene scene = NoonScene();
    scene.sun.irradiance = Color{0, 0, 0};
    scene.camera = DownCamera(20, 60);
    Mesh plane = MakePlane(100, 100), plate = MakePlane(2, 2);
    auto white = MakeMtl({1, 1, 1});
    // A plate of 2 halfway below a light at height 4 casts a shadow of 4.
    scene.nodes = {{&plane, white.get(), {}},
                   {&plate, white.get(), Matrix3::Translation({0, 0, 2})}};
    LightShadow above;
    above.transform = Matrix3::Translation({0, 0, 4});
    scene.lights = {{LightKind::kPoint, {kPi, kPi, kPi}, above}};
    float across = 2 * 20 * std::tan(kPi / 6);
    Picture picture = Scan(scene, 128);
    auto shade = [&](float x) { return PixelAt(picture, int((x / across + 0.5f) * 128), 64).g; };
    EXPECT_EQ(shade(1.6f), 0);
    EXPECT_NEAR(shade(3), 0.8f, 0.01f);  // 4 / 5
    EXPECT_NEAR(shade(-3), 0.8f, 0.01f);
    // The spot's cone reaches 4 * tan(22.5 degrees) = 1.66.
    scene.lights[0].kind = LightKind::kSpot;
    scene.nodes.pop_back();
    picture = Scan(scene, 128);
    EXPECT_NEAR(shade(0), 1, 0.01f);
    EXPECT_GT(shade(1.2f), 0.9f);
    EXPECT_EQ(shade(1.8f), 0);
}

TEST(ScanlineRenderer, ATerrainLooksAsItsMesh) {
    std::vector<float> heights;
    for (int i = 0; i < 70 * 50; ++i)
        heights.push_back(2 * std::sin(float(i % 70) * 0.3f) * std::cos(float(i / 70) * 0.4f));
    HeightField field(70, 50, {40, 30}, heights);
    Mesh mesh = field.MakeMesh();
    auto white = MakeMtl({1, 1, 1});
    RenderScene scene = NoonScene();
    scene.sun.direction = {1, 0, 0.6f};
    scene.camera = DownCamera(60, 40);
    scene.nodes = {{&mesh, white.get(), {}}};
    Picture ofMesh = Scan(scene, 64);
    scene.nodes = {{nullptr, white.get(), {}, &field}};
    EXPECT_LT(MeanDifference(ofMesh, Scan(scene, 64)), 2e-3f);
}

TEST(ScanlineRenderer, LargeMeshesAreDrawnInRuns) {
    RenderScene scene = NoonScene();
    Mesh fine = MakePlane(100, 100, 80), coarse = MakePlane(100, 100);  // 12800 faces, and 2
    auto grey = MakeMtl({0.5f, 0.5f, 0.5f});
    scene.nodes = {{&fine, grey.get(), {}}};
    Picture ofFine = Scan(scene, 200, 1);
    scene.nodes = {{&coarse, grey.get(), {}}};
    EXPECT_LT(MeanDifference(ofFine, Scan(scene, 200, 1)), 1e-5f);
}

// A sphere of 49,728 faces, 20 samples wide: one of 13 is drawn.
TEST(ScanlineRenderer, DistantInstancesCoverWhatAllTheirFacesWould) {
    RenderScene scene = NoonScene();
    scene.camera = DownCamera(100, 10);
    scene.sky.constant = Color{1, 1, 1};
    scene.sun.shadow.casts = false;
    Mesh fine = MakeSphere(1, 224);
    auto black = MakeMtl({0, 0, 0});
    scene.nodes = {{&fine, black.get(), {}}};
    float covered = 1 - Mean(Scan(scene, 44, 16)).g;
    ListSource list;
    list.prototypes = {fine};
    list.mtl = black;
    list.instances.resize(1);
    scene.nodes.clear();
    scene.sources = {&list};
    EXPECT_GT(covered, 0.01f);
    EXPECT_NEAR((1 - Mean(Scan(scene, 44, 16)).g) / covered, 1, 0.05f);
}

TEST(ScanlineRenderer, TheGroundReachesUnderTheCamera) {
    RenderScene scene = NoonScene();
    // At eye height, looking along +y: the lower half shows the plane.
    scene.camera.transform = {{{1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {0, 0, 1}}};
    scene.camera.fovDegrees = 90;
    Mesh plane = MakePlane(2e5f, 2e5f);
    auto white = MakeMtl({1, 1, 1});
    scene.nodes = {{&plane, white.get(), {}}};
    Picture picture = Scan(scene, 32);
    for (int x = 0; x < 32; ++x) {
        EXPECT_NEAR(PixelAt(picture, x, 31).g, 1, 1e-3f);
        EXPECT_EQ(PixelAt(picture, x, 8).g, 0);
    }
}

TEST(ScanlineRenderer, DepthsRunAlongTheCamerasAxis) {
    RenderScene scene = NoonScene();
    Mesh plane = MakePlane(2, 2);
    scene.camera = DownCamera(10, 30);
    scene.nodes = {{&plane, nullptr, {}}};
    DepthMap map = ScanlineRenderer(scene).Depth(16, 12, 2);
    ASSERT_EQ(map.depths.size(), 16u * 12);
    EXPECT_NEAR(map.depths[6 * 16 + 8], 10, 1e-4f);
    EXPECT_NEAR(map.depths[5 * 16 + 6], 10, 1e-4f);
    EXPECT_EQ(map.depths[0], INFINITY);
}

TEST(ScanlineRenderer, ProgressRisesAndCancels) {
    Boxes boxes;
    RenderSettings settings{512, 512, 4, 2, 1, 0};
    ScanlineRenderer renderer(boxes.scene);
    std::vector<float> heard;
    EXPECT_EQ(renderer.Render(settings, [&](float f) { return heard.push_back(f), true; }).status,
              RenderStatus::kDone);
    EXPECT_EQ(heard.front(), 0);
    EXPECT_EQ(heard.back(), 1);
    EXPECT_TRUE(std::is_sorted(heard.begin(), heard.end()));
    for (float limit : {0.f, 0.1f, 0.5f}) {
        RenderOutcome outcome = renderer.Render(settings, [&](float f) { return f < limit; });
        EXPECT_EQ(outcome.status, RenderStatus::kCancelled);
        EXPECT_TRUE(outcome.picture.pixels.empty());
    }
}

TEST(ScanlineRenderer, SettingsOutOfRangeAreRefused) {
    RenderScene scene = NoonScene();
    ScanlineRenderer renderer(scene);
    EXPECT_EQ(renderer.Render({0, 8, 1}).status, RenderStatus::kFailed);
    EXPECT_EQ(renderer.Render({20000, 8, 1}).status, RenderStatus::kRefused);
    EXPECT_EQ(renderer.Render({8, 8, 70000}).status, RenderStatus::kRefused);
    EXPECT_EQ(renderer.Render({2, 2, 65536}).status, RenderStatus::kDone);
}

TEST(ScanlineRenderer, BadMeshesAndMatricesDrawNothing) {
    RenderScene scene = NoonScene();
    Mesh broken = MakePlane(4, 4);
    broken.verts[0].x = NAN;
    broken.faces[1].v[2] = 99;
    ListSource list;
    list.prototypes = {MakeBox(1, 1, 1), Mesh{}};
    list.instances.resize(3);
    list.instances[0].transform = Matrix3::Scaling({1, 0, 1});
    list.instances[1].prototype = 1;
    list.instances[2].transform.row[3].x = NAN;
    scene.nodes = {{&broken, nullptr, {}}};
    scene.sources = {&list};
    scene.sky.constant = Color{0.3f, 0.3f, 0.3f};
    for (Color c : Scan(scene, 8).pixels) EXPECT_NEAR(c.g, 0.3f, 1e-5f);
}
