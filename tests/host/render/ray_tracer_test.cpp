#include "host/render/ray_tracer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "host/geom/mesh_tools.h"
#include "tests/host/render/render_fixture.h"

TEST(RayTracer, WhitePlaneUnderTheSunShowsRadianceOne) {
    RenderScene scene = NoonScene();
    Mesh plane = MakePlane(100, 100);
    auto white = MakeMtl({1, 1, 1});
    scene.nodes = {{&plane, white.get(), {}}};
    for (Color c : Draw(scene, 4, 4).pixels) {
        EXPECT_NEAR(c.r, 1, 1e-4f);
        EXPECT_NEAR(c.g, 1, 1e-4f);
    }
}

TEST(RayTracer, SlantingSunFollowsTheCosineLaw) {
    RenderScene scene = NoonScene();
    scene.sun.direction = {std::sqrt(3.f), 0, 1};  // 30 degrees high: the sine is 1/2
    Mesh plane = MakePlane(100, 100);
    auto white = MakeMtl({1, 1, 1});
    scene.nodes = {{&plane, white.get(), {}}};
    EXPECT_NEAR(Mean(Draw(scene, 4, 4)).g, 0.5f, 1e-4f);
}

TEST(RayTracer, MaterialColoursAreDisplayColours) {
    RenderScene scene = NoonScene();
    Mesh plane = MakePlane(100, 100);
    auto grey = MakeMtl({0.5f, 0.5f, 0.5f});
    scene.nodes = {{&plane, grey.get(), {}}};
    // ((0.5 + 0.055) / 1.055) ^ 2.4
    EXPECT_NEAR(Mean(Draw(scene, 2, 2)).g, 0.21404f, 1e-4f);
}

TEST(RayTracer, PlaneUnderAConstantSkyReflectsAllOfIt) {
    RenderScene scene = NoonScene();
    scene.sun.irradiance = Color{0, 0, 0};
    scene.sky.constant = Color{0.7f, 0.7f, 0.7f};
    Mesh plane = MakePlane(100, 100);
    auto white = MakeMtl({1, 1, 1});
    scene.nodes = {{&plane, white.get(), {}}};
    EXPECT_NEAR(Mean(Draw(scene, 4, 8)).b, 0.7f, 1e-4f);
}

TEST(RayTracer, WhiteFurnaceHidesASphere) {
    RenderScene scene = NoonScene();
    scene.sun.irradiance = Color{0, 0, 0};
    scene.sky.constant = Color{1, 1, 1};
    Mesh sphere = MakeSphere(2, 64);
    auto white = MakeMtl({1, 1, 1});
    scene.nodes = {{&sphere, white.get(), {}}};
    // A convex white body in white light cannot be told from the light.
    for (Color c : Draw(scene, 8, 16, 2, 8).pixels) EXPECT_NEAR(c.g, 1, 2e-3f);
}

TEST(RayTracer, SphereIsShadedByTheCosineOfItsNormal) {
    RenderScene scene = NoonScene();
    scene.camera = DownCamera(1000, 0.2f);
    scene.sun.direction = {1, 0, 0};
    Mesh sphere = MakeSphere(2, 256);
    auto white = MakeMtl({1, 1, 1});
    scene.nodes = {{&sphere, white.get(), {}}};
    Picture picture = Draw(scene, 64, 64);
    // Seen from far above at height y = 0, the normal at x has the cosine x / radius to the sun.
    float across = 2 * 1000 * std::tan(0.1f * 3.14159265f / 180);
    for (int x : {40, 48, 56}) {
        float expected = ((float(x) + 0.5f) / 64 - 0.5f) * across / 2;
        EXPECT_NEAR(PixelAt(picture, x, 32).g, expected, 0.015f);
    }
    EXPECT_NEAR(PixelAt(picture, 20, 32).g, 0, 1e-3f);
}

TEST(RayTracer, BoxCastsAShadowOfItsHeight) {
    RenderScene scene = NoonScene();
    scene.sun.direction = {1, 0, 1};  // 45 degrees: the shadow reaches 2 beyond the box, to -x
    scene.camera = DownCamera(100, 7);
    Mesh plane = MakePlane(100, 100), box = MakeBox(2, 2, 2);
    auto white = MakeMtl({1, 1, 1});
    scene.nodes = {{&plane, white.get(), {}}, {&box, white.get(), {}}};
    Picture picture = Draw(scene, 64, 16, 2, 0);
    float across = 2 * 100 * std::tan(3.5f * 3.14159265f / 180);
    auto shade = [&](float x) { return PixelAt(picture, int((x / across + 0.5f) * 64), 32).g; };
    EXPECT_NEAR(shade(-2), 0, 1e-4f);
    EXPECT_NEAR(shade(-2.7f), 0, 1e-4f);
    EXPECT_NEAR(shade(-3.4f), std::sqrt(0.5f), 1e-3f);
    EXPECT_NEAR(shade(2), std::sqrt(0.5f), 1e-3f);
}

TEST(RayTracer, WideSunSoftensTheShadowsEdge) {
    RenderScene scene = NoonScene();
    scene.sun.angleDegrees = 10;
    scene.camera = DownCamera(100, 4);
    scene.camera.transform.SetTrans({5, 0, 100});
    Mesh plane = MakePlane(100, 100), roof = MakePlane(10, 40);
    auto white = MakeMtl({1, 1, 1});
    scene.nodes = {{&plane, white.get(), {}},
                   {&roof, white.get(), Matrix3::Translation({0, 0, 10})}};
    scene.camera.transform.SetTrans({5, 0, 9});
    scene.camera.fovDegrees = 20;
    Picture picture = Draw(scene, 32, 64, 2, 0);
    // Right under the edge half of the disc is visible; a metre off it is hidden or free.
    EXPECT_NEAR(PixelAt(picture, 16, 16).g, 0.5f, 0.1f);
    EXPECT_NEAR(PixelAt(picture, 0, 16).g, 0, 0.02f);
    EXPECT_NEAR(PixelAt(picture, 31, 16).g, 1, 0.02f);
}

TEST(RayTracer, StripedMaskLetsHalfTheLightThrough) {
    for (bool isImage : {true, false}) {
        RenderScene scene = NoonScene();
        Mesh floor = MakePlane(100, 100), roof = MakePlane(40, 40);
        auto white = MakeMtl({1, 1, 1}), cut = MakeMtl({1, 1, 1});
        auto mask = MakeStripes(isImage);
        mask->tiling = {50, 1};
        cut->opacityMap = mask;
        scene.nodes = {{&floor, white.get(), {}},
                       {&roof, cut.get(), Matrix3::Translation({0, 0, 12})}};
        EXPECT_NEAR(Mean(Draw(scene, 16, 32, 2, 0)).g, 0.5f, 0.03f) << isImage;
    }
}

TEST(RayTracer, OpacityWithoutAMapLetsItsShareThrough) {
    RenderScene scene = NoonScene();
    Mesh floor = MakePlane(100, 100), roof = MakePlane(100, 100);
    auto white = MakeMtl({1, 1, 1}), glass = MakeMtl({1, 1, 1});
    glass->opacity = 0.25f;
    scene.nodes = {{&floor, white.get(), {}},
                   {&roof, glass.get(), Matrix3::Translation({0, 0, 12})}};
    EXPECT_NEAR(Mean(Draw(scene, 16, 64, 2, 0)).g, 0.75f, 0.01f);
}

TEST(RayTracer, TranslucentLeafGlowsOnItsDarkSide) {
    RenderScene scene = NoonScene();
    scene.sun.direction = {0, 0, -1};
    Mesh leaf = MakePlane(100, 100);
    auto mtl = MakeMtl({1, 1, 1});
    mtl->translucency = 0.4f;
    scene.nodes = {{&leaf, mtl.get(), {}}};
    EXPECT_NEAR(Mean(Draw(scene, 4, 4)).g, 0.4f, 1e-3f);
    mtl->translucency = 0;
    EXPECT_NEAR(Mean(Draw(scene, 4, 4)).g, 0, 1e-4f);
}

TEST(RayTracer, FlatMirrorShowsTheSkyAtGrazingAngles) {
    RenderScene scene = NoonScene();
    scene.sun.irradiance = Color{0, 0, 0};
    scene.sky.constant = Color{1, 1, 1};
    auto water = MakeMtl({0, 0, 0});
    water->reflectivity = 1;
    Mesh plane = MakePlane(1000, 1000);
    scene.nodes = {{&plane, water.get(), {}}};
    EXPECT_NEAR(Mean(Draw(scene, 16, 64)).g, 0.02f, 0.01f);  // straight down: Schlick's F0
    scene.camera.transform = Matrix3::RotationX(1.5f) * Matrix3::Translation({0, -20, 1});
    scene.camera.fovDegrees = 1;
    EXPECT_GT(Mean(Draw(scene, 16, 16)).g, 0.5f);
}

TEST(RayTracer, TintMixesWithTheDiffuseColour) {
    RenderScene scene = NoonScene();
    ListSource source;
    source.prototypes = {MakePlane(100, 100)};
    source.mtl = MakeMtl({1, 1, 1});
    source.instances = {{Matrix3{}, 0, 0, Color{1, 0, 0}, 0.5f}};
    scene.sources = {&source};
    Color c = Mean(Draw(scene, 2, 2));
    EXPECT_NEAR(c.r, 1, 1e-3f);
    EXPECT_NEAR(c.g, 1 - 128.f / 255, 1e-3f);  // the blend is kept in 8 bits
}

TEST(RayTracer, InstancesEqualMeshesThatWereMovedBefore) {
    Matrix3 place = Matrix3::Scaling({1.5f, 0.7f, 2}) * EulerDegreesToMatrix({20, 30, 40}) *
                    Matrix3::Translation({0.5f, -0.3f, 1});
    for (bool isMirrored : {false, true}) {
        Matrix3 m = isMirrored ? Matrix3::Scaling({-1, 1, 1}) * place : place;
        Mesh cone = MakeCone(1, 2, 16), plane = MakePlane(50, 50);
        // Smooth normals are weighted by angles, which this matrix changes: compare flat faces.
        for (Face& face : cone.faces) face.smGroup = 0;
        Mesh moved = TransformedMesh(cone, m);
        auto white = MakeMtl({0.9f, 0.8f, 0.7f});
        ListSource source;
        source.prototypes = {cone};
        source.mtl = white;
        source.instances = {{m, 0, 0, {}, 0}};
        RenderScene placed = NoonScene(), baked = NoonScene();
        placed.sun.direction = baked.sun.direction = {1, 0.5f, 1};
        placed.nodes = {{&plane, white.get(), {}}};
        placed.sources = {&source};
        baked.nodes = {{&plane, white.get(), {}}, {&moved, white.get(), {}}};
        Picture a = Draw(placed, 32, 8), b = Draw(baked, 32, 8);
        double difference = 0;
        for (size_t i = 0; i < a.pixels.size(); ++i)
            difference += std::fabs(a.pixels[i].g - b.pixels[i].g);
        EXPECT_LT(difference / double(a.pixels.size()), 1e-3) << isMirrored;
    }
}

TEST(RayTracer, AnyNumberOfThreadsGivesTheSameBits) {
    RenderScene scene;
    scene.camera = {Matrix3::RotationX(1.2f) * Matrix3::Translation({0, -12, 4}), 50};
    Mesh ground = MakePlane(60, 60);
    auto mtl = MakeMtl({0.4f, 0.6f, 0.3f});
    mtl->translucency = 0.3f;
    mtl->opacityMap = MakeStripes();
    ListSource source;
    source.prototypes = {MakeSphere(1, 12), MakeCone(1, 2, 12)};
    source.mtl = mtl;
    for (int i = 0; i < 60; ++i)
        source.instances.push_back(
            {Matrix3::RotationZ(float(i)) *
                 Matrix3::Translation({float(i % 8) * 2 - 8, float(i) / 4, 1}),
             uint32_t(i % 2), i, Color{1, 0.5f, 0}, 0.2f});
    scene.nodes = {{&ground, nullptr, {}}};
    scene.sources = {&source};
    scene.haze.visibility = 200;
    Picture one = Draw(scene, 48, 8, 1), three = Draw(scene, 48, 8, 3),
            eight = Draw(scene, 48, 8, 8);
    EXPECT_EQ(one.pixels, three.pixels);
    EXPECT_EQ(one.pixels, eight.pixels);
}

TEST(RayTracer, EmptySceneShowsTheSky) {
    RenderScene scene;
    scene.camera = {Matrix3::RotationX(1.9f), 40};
    Picture picture = Draw(scene, 8, 8);
    for (Color c : picture.pixels) {
        EXPECT_GT(c.b, c.r);  // a clear sky away from the sun is blue
        EXPECT_GT(c.r, 0);
    }
}

TEST(RayTracer, HazeHidesWhatIsFarAway) {
    RenderScene scene = NoonScene();
    scene.sky.constant = Color{0.5f, 0.5f, 0.5f};
    scene.sun.irradiance = Color{0, 0, 0};
    scene.haze.visibility = 10;
    Mesh plane = MakePlane(100, 100);
    auto black = MakeMtl({0, 0, 0});
    scene.nodes = {{&plane, black.get(), {}}};
    scene.camera.fovDegrees = 1;
    // After one visibility, 5 % (green: exp(-3)) of the black is left.
    EXPECT_NEAR(Mean(Draw(scene, 2, 2)).g, 0.5f * (1 - std::exp(-3.f)), 1e-3f);
}

TEST(RayTracer, InstancesThatCannotBeShownAreLeftOut) {
    float nan = std::numeric_limits<float>::quiet_NaN();
    ListSource source;
    source.prototypes = {MakePlane(100, 100), Mesh{}};
    source.mtl = MakeMtl({1, 1, 1});
    source.instances = {{Matrix3::Scaling({1, 0, 1}), 0, 0, {}, 0},
                        {Matrix3::Translation({nan, 0, 0}), 0, 1, {}, 0},
                        {Matrix3{}, 1, 2, {}, 0},
                        {Matrix3{}, 7, 3, {}, 0}};
    RenderScene scene = NoonScene();
    scene.sources = {&source, nullptr};
    RenderOutcome outcome = RenderPicture(scene, {8, 8, 1, 2, 1, 0});
    EXPECT_EQ(outcome.status, RenderStatus::kDone);
    EXPECT_EQ(outcome.statistics.numInstances, 0u);
    EXPECT_EQ(Mean(outcome.picture).g, 0);
}

TEST(RayTracer, PicturesAreWeighed) {
    RenderSettings settings;
    settings.width = settings.height = 1;
    EXPECT_EQ(PictureRefusal(settings), "");
    settings.width = kMaxPictureSide + 1;
    EXPECT_EQ(PictureRefusal(settings),
              "a picture of 16385 x 1 pixels, at most 16384 a side are rendered; give a smaller "
              "--size, or --no-limit");
    EXPECT_EQ(RenderPicture({}, settings).status, RenderStatus::kRefused);
    settings.noLimit = true;
    EXPECT_EQ(PictureRefusal(settings), "");
    // 36 bytes a pixel: 36 TB, which no machine of ours has.
    settings.width = settings.height = 1000000;
    std::string refusal = PictureRefusal(settings);
    EXPECT_EQ(refusal.find("a picture of 1000000 x 1000000 pixels takes 36000.00 GB of memory"), 0u)
        << refusal;
    EXPECT_NE(refusal.find("no option raises this"), refusal.npos);
    settings.width = settings.height = 1;
    settings.samples = kMaxSamples + 1;
    EXPECT_EQ(PictureRefusal(settings),
              "65537 samples a pixel, at most 65536 are taken; no option raises this");
}

TEST(RayTracer, BadSettingsAreNamed) {
    EXPECT_EQ(RenderPicture({}, {0, 8, 1, 2, 1, 0}).error,
              "the width is 0, expected a number above 0");
    EXPECT_EQ(RenderPicture({}, {8, 8, 0, 2, 1, 0}).error,
              "the number of samples is 0, expected a number above 0");
    RenderScene scene;
    scene.camera.fovDegrees = 180;
    EXPECT_EQ(RenderPicture(scene, {8, 8, 1, 2, 1, 0}).status, RenderStatus::kFailed);
}

TEST(RayTracer, ProgressRisesAndCancels) {
    std::vector<float> heard;
    RenderSettings settings{8, 8, 16, 2, 1, 0};
    auto outcome = RenderPicture({}, settings, [&](float f) {
        heard.push_back(f);
        return true;
    });
    EXPECT_EQ(outcome.status, RenderStatus::kDone);
    EXPECT_EQ(heard, (std::vector<float>{0, 0.25f, 0.5f, 0.75f, 1}));
    outcome = RenderPicture({}, settings, [](float f) { return f < 0.5f; });
    EXPECT_EQ(outcome.status, RenderStatus::kCancelled);
    EXPECT_TRUE(outcome.picture.pixels.empty());
}

namespace {

// Mean colour of a plane over the whole picture, straight under the sun.
Color ShowPlane(const Mesh& plane, StandardMtl& material) {
    RenderScene scene = NoonScene();
    scene.nodes = {{&plane, &material, {}}};
    return Mean(Draw(scene, 4, 4));
}

std::shared_ptr<BitmapTex> OnePixel(std::vector<uint8_t> values) {
    auto map = std::make_shared<BitmapTex>(BitmapLoader{});
    int channels = int(values.size());
    map->SetImage(std::make_shared<Bitmap>(1, 1, channels, std::move(values)));
    return map;
}

}  // namespace

TEST(RayTracer, FactorMultipliesTheMapInLinearLight) {
    auto material = MakeMtl({1, 1, 1});
    material->diffuseMap = OnePixel({255, 255, 255});
    material->mapFactor = {0.5f, 1, 0};
    Color c = ShowPlane(MakePlane(100, 100), *material);
    EXPECT_NEAR(c.r, 0.21404f, 1e-3f);  // ((0.5 + 0.055) / 1.055) ^ 2.4
    EXPECT_NEAR(c.g, 1, 1e-3f);
    EXPECT_NEAR(c.b, 0, 1e-3f);
}

TEST(RayTracer, VertexColoursMultiplyWhereTheMaterialShowsThem) {
    Mesh plane = MakePlane(100, 100);
    plane.MakeMap(0).verts = {{1, 0.5f, 0}};
    plane.maps[0].faces.assign(plane.NumFaces(), {0, 0, 0});
    auto material = MakeMtl({0.5f, 0.5f, 0.5f});
    EXPECT_NEAR(ShowPlane(plane, *material).b, 0.21404f, 1e-3f);
    material->vertexColors = true;
    Color c = ShowPlane(plane, *material);
    EXPECT_NEAR(c.r, 0.21404f, 1e-3f);
    EXPECT_NEAR(c.g, 0.21404f * 0.21404f, 1e-3f);
    EXPECT_NEAR(c.b, 0, 1e-3f);
}

TEST(RayTracer, CutoffDecidesWhatIsShown) {
    // Light of the sky alone: what is cut away shows the sky below, which is 1.
    auto shown = [](float opacity, float cutoff, int alpha) {
        RenderScene scene = NoonScene();
        scene.sun.irradiance = Color{0, 0, 0};
        scene.sky.constant = Color{1, 1, 1};
        Mesh plane = MakePlane(100, 100);
        auto black = MakeMtl({0, 0, 0});
        black->opacity = opacity;
        black->opacityCutoff = cutoff;
        if (alpha >= 0) black->opacityMap = OnePixel({uint8_t(alpha)});
        scene.nodes = {{&plane, black.get(), {}}};
        return 1 - Mean(Draw(scene, 4, 16)).g;
    };
    EXPECT_NEAR(shown(1, 0.5f, 153), 1, 1e-3f);     // 0.6 is above the cutoff
    EXPECT_NEAR(shown(1, 0.5f, 102), 0, 1e-3f);     // 0.4 is below
    EXPECT_NEAR(shown(0.5f, 0.5f, 153), 0, 1e-3f);  // 0.5 x 0.6 is below
    EXPECT_NEAR(shown(0.4f, 0.5f, -1), 0, 1e-3f);
    EXPECT_NEAR(shown(0.6f, 0.5f, -1), 1, 1e-3f);
}
