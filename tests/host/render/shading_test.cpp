// Materials and maps that answer at hits: what they are told there, and what becomes of it.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <set>

#include "host/math/display_color.h"
#include "host/render/glossy.h"
#include "host/render/sampler.h"
#include "host/render/trace_scene.h"
#include "host/scene/physical_material.h"
#include "tests/host/render/render_fixture.h"

namespace {

constexpr float kPi = std::numbers::pi_v<float>;

TraceRay Down(float x, float y) {
    TraceRay ray;
    ray.origin = {x, y, 50};
    ray.direction = {0, 0, -1};
    return ray;
}

SurfaceLook LookAt(const TraceScene& trace, const TraceRay& ray) {
    TraceHit hit;
    EXPECT_TRUE(trace.Intersect(ray, &hit));
    SurfaceLook look;
    look.normal = hit.Normal();
    if (hit.mesh) HitContext(hit, hit.Material(), 0, RayKind::kCamera).Shade(&look);
    return look;
}

// An image of one colour, 0..255.
std::shared_ptr<BitmapTex> Pixel(uint8_t r, uint8_t g, uint8_t b) {
    auto map = std::make_shared<BitmapTex>(BitmapLoader{});
    map->SetImage(std::make_shared<Bitmap>(1, 1, 3, std::vector<uint8_t>{r, g, b}));
    return map;
}

// Says at every hit what it is told there.
class TellingMtl : public Mtl {
public:
    void Shade(const ShadeContext& sc, SurfaceLook* look) const override {
        numInstance = sc.Instance();
        source = sc.Source();
        face = sc.FaceIndex();
        matID = sc.MaterialId();
        object = sc.ObjectPosition(), world = sc.WorldPosition();
        normal = sc.Normal(), faceNormal = sc.FaceNormal();
        time = sc.Time();
        look->diffuse = {1, 0, 0};
    }
    mutable uint32_t numInstance = 0, face = 0;
    mutable int matID = 0;
    mutable const IInstanceSource* source = nullptr;
    mutable Point3 object, world, normal, faceNormal;
    mutable TimeValue time = 0;
};

// Colours by a random value of the instance.
class ByInstance : public Texmap {
public:
    AColor EvalColor(const TexPoint&) const override { return {}; }
    AColor Eval(const ShadeContext& sc) const override {
        float r = sc.Source()->GetDetails(sc.Instance()).randoms[0];
        return {r, 0, 1 - r, 1};
    }
};

class RandomSource : public ListSource {
public:
    InstanceDetails GetDetails(size_t i) const override {
        return {uint32_t(i), {float(i), 0, 0}, 0, {}};
    }
};

}  // namespace

TEST(Shading, AMaterialIsToldWhatWasHit) {
    RandomSource source;
    source.prototypes = {MakeBox(2, 2, 2, 1)};
    for (Face& face : source.prototypes[0].faces) face.matID = 7;
    auto mtl = std::make_shared<TellingMtl>();
    source.mtl = mtl;
    Matrix3 turned = EulerDegreesToMatrix({0, 30, 0}) * Matrix3::Scaling({1, 1, 2});
    for (int i = 0; i < 3; ++i) {
        InstanceRecord record;
        record.transform = turned * Matrix3::Translation({float(i) * 10, 0, 0});
        source.instances.push_back(record);
    }
    RenderScene scene;
    scene.time = 480;
    scene.sources = {&source};
    TraceScene trace(scene);
    for (uint32_t i = 0; i < 3; ++i) {
        float x = float(i) * 10 + 0.3f;
        SurfaceLook look = LookAt(trace, Down(x, 0.4f));
        EXPECT_EQ(look.diffuse, (Color{1, 0, 0}));
        EXPECT_EQ(mtl->numInstance, i);
        EXPECT_EQ(mtl->source, &source);
        EXPECT_EQ(mtl->matID, 7);
        EXPECT_EQ(mtl->time, 480);
        EXPECT_NEAR(mtl->world.x, x, 1e-4f);
        EXPECT_NEAR(mtl->world.y, 0.4f, 1e-4f);
        Point3 moved = mtl->object * source.instances[i].transform;
        EXPECT_NEAR(Length(moved - mtl->world), 0, 1e-4f);
        // The face as the mesh has it: its corners hold the place.
        Box3 corners;
        for (uint32_t v : source.prototypes[0].faces[mtl->face].v)
            corners += source.prototypes[0].verts[v];
        EXPECT_TRUE(corners.min.z - 1e-4f <= mtl->object.z &&
                    mtl->object.z <= corners.max.z + 1e-4f);
        // A plane turned about y by 30 degrees and stretched along z: its normal leans by
        // atan(tan 30 * 2).
        float lean = std::atan(std::tan(kPi / 6) * 2);
        EXPECT_NEAR(mtl->faceNormal.z, std::cos(lean), 1e-4f);
        EXPECT_NEAR(std::fabs(mtl->faceNormal.x), std::sin(lean), 1e-4f);
        EXPECT_NEAR(Length(mtl->normal - mtl->faceNormal), 0, 1e-3f);
    }
}

TEST(Shading, MapsMayLookAtTheInstance) {
    RandomSource source;
    source.prototypes = {MakePlane(4, 4)};
    auto mtl = MakeMtl({1, 1, 1});
    mtl->diffuseMap = std::make_shared<ByInstance>();
    source.mtl = mtl;
    for (float x : {-2.f, 2.f}) {
        InstanceRecord record;
        record.transform = Matrix3::Translation({x, 0, 0});
        source.instances.push_back(record);
    }
    RenderScene scene = NoonScene();
    scene.sources = {&source};
    Picture picture = Draw(scene, 8, 4);
    // Instance 0 has the random value 0: blue. Instance 1 has 1: red.
    EXPECT_NEAR(PixelAt(picture, 1, 4).b, PixelAt(picture, 6, 4).r, 1e-3f);
    EXPECT_GT(PixelAt(picture, 1, 4).b, 0.5f);
    EXPECT_EQ(PixelAt(picture, 1, 4).r, 0);
    EXPECT_EQ(PixelAt(picture, 6, 4).b, 0);
}

TEST(Shading, EveryMapReadsItsOwnChannel) {
    Mesh plane = MakePlane(2, 2);
    // Channel 2 has all of the plane in the left, opaque column of the stripes; channel 1 spans
    // four columns.
    MapChannel first = plane.maps[1];  // MakeMap moves the channels
    plane.MakeMap(2) = first;
    for (Point3& p : plane.maps[2].verts) p = {0.05f + p.x * 0.1f, 0.5f, 0};
    auto mtl = MakeMtl({1, 1, 1});
    mtl->diffuseMap = std::make_shared<UvwTex>();
    std::shared_ptr<Texmap> mask = MakeStripes();
    mask->channel = 2;
    mtl->opacityMap = mask;
    RenderScene scene;
    scene.nodes = {{&plane, mtl.get(), {}}};
    TraceScene trace(scene);
    TraceHit hit;
    for (float x : {-0.9f, -0.4f, 0.1f, 0.6f}) {
        ASSERT_TRUE(trace.Intersect(Down(x, 0), &hit)) << x;
        EXPECT_NEAR(LookAt(trace, Down(x, 0)).diffuse.r, DisplayToLinear((x + 1) / 2), 1e-4f);
    }
}

TEST(Shading, MapsInSpaceSeeAllThreeCoordinates) {
    Mesh plane = MakePlane(2, 2);
    for (Point3& p : plane.maps[1].verts) p.z = 0.25f;
    auto mtl = MakeMtl({1, 1, 1});
    mtl->diffuseMap = std::make_shared<UvwTex>();
    RenderScene scene;
    scene.nodes = {{&plane, mtl.get(), Matrix3::Translation({5, 0, 0})}};
    TraceScene trace(scene);
    EXPECT_NEAR(LookAt(trace, Down(5, 0.5f)).diffuse.b, DisplayToLinear(0.25f), 1e-4f);
}

TEST(Shading, MapsThatCannotBePreparedAreTold) {
    auto map = std::make_shared<BitmapTex>([](const std::string& file, std::string* error) {
        *error = "no " + file;
        return std::shared_ptr<const Bitmap>();
    });
    map->SetFile("leaf.png");
    auto one = MakeMtl({1, 1, 1}), other = MakeMtl({1, 1, 1});
    one->diffuseMap = map;
    other->diffuseMap = map;
    Mesh plane = MakePlane(2, 2);
    RenderScene scene = NoonScene();
    scene.nodes = {{&plane, one.get(), {}}, {&plane, other.get(), {}}};
    RenderSettings settings;
    settings.width = settings.height = settings.samples = 1;
    RenderOutcome outcome = RenderPicture(scene, settings);
    EXPECT_EQ(outcome.problems, std::vector<std::string>{"no leaf.png"});
}

TEST(Shading, MultiMaterialsAskTheMaterialOfTheFace) {
    Mesh plane = MakePlane(2, 2, 2, 1);  // two columns of faces
    for (Face& face : plane.faces) face.matID = plane.verts[face.v[0]].x < -0.5f ? 0 : 3;
    auto multi = std::make_shared<MultiMtl>();
    auto glowing = std::make_shared<PhysicalMtl>();
    glowing->emission = {1, 0, 0};
    multi->Append(MakeMtl({0, 0, 0}));
    multi->Append(glowing);
    RenderScene scene;
    scene.nodes = {{&plane, multi.get(), {}}};
    TraceScene trace(scene);
    Color sum;
    for (float x : {-0.5f, 0.5f}) sum = sum + LookAt(trace, Down(x, 0)).emission;
    EXPECT_EQ(sum, (Color{1, 0, 0}));
}

TEST(PhysicalMtl, MetalScattersNothingAndReflectsItsColour) {
    Mesh plane = MakePlane(2, 2);
    auto mtl = std::make_shared<PhysicalMtl>();
    mtl->diffuse = {1, 1, 1};
    mtl->roughness = 0.5f;
    RenderScene scene;
    scene.nodes = {{&plane, mtl.get(), {}}};
    {
        SurfaceLook look = LookAt(TraceScene(scene), Down(0, 0));
        EXPECT_EQ(look.diffuse, (Color{1, 1, 1}));
        EXPECT_NEAR(look.specular.g, 0.04f, 1e-6f);
        EXPECT_EQ(look.roughness, 0.5f);
    }
    // Green 0.5 and blue 1 of the map: half of the roughness, all of the metalness.
    mtl->metallic = 0.75f;
    mtl->metallicRoughnessMap = Pixel(0, 51, 255);
    SurfaceLook look = LookAt(TraceScene(scene), Down(0, 0));
    EXPECT_NEAR(look.roughness, 0.5f * 0.2f, 1e-6f);
    EXPECT_NEAR(look.diffuse.r, 0.25f, 1e-6f);
    EXPECT_NEAR(look.specular.r, 0.04f * 0.25f + 0.75f, 1e-6f);
}

TEST(PhysicalMtl, NormalMapsLeanTowardsTheirAxesHoweverTheMeshStands) {
    Mesh plane = MakePlane(2, 2);
    auto mtl = std::make_shared<PhysicalMtl>();
    RenderScene scene;
    Matrix3 turned = EulerDegreesToMatrix({0, 0, 90});  // u runs along y, v against x
    scene.nodes = {{&plane, mtl.get(), turned}};
    auto normalFor = [&](uint8_t r, uint8_t g, uint8_t b) {
        mtl->normalMap = Pixel(r, g, b);
        return LookAt(TraceScene(scene), Down(0.1f, 0.2f)).normal;
    };
    EXPECT_NEAR(Length(normalFor(128, 128, 255) - Point3{0, 0, 1}), 0, 0.01f);
    EXPECT_NEAR(Length(normalFor(255, 128, 128) - Point3{0, 1, 0}), 0, 0.01f);
    EXPECT_NEAR(Length(normalFor(128, 255, 128) - Point3{-1, 0, 0}), 0, 0.01f);
    mtl->normalScale = 0;
    EXPECT_NEAR(Length(normalFor(255, 255, 200) - Point3{0, 0, 1}), 0, 1e-4f);
    // The same on an instance.
    ListSource source;
    source.prototypes = {plane};
    source.mtl = mtl;
    mtl->normalScale = 1;
    InstanceRecord record;
    record.transform = Matrix3::Scaling({3, 3, 3}) * turned;
    source.instances = {record};
    scene.nodes.clear();
    scene.sources = {&source};
    EXPECT_NEAR(Length(normalFor(255, 128, 128) - Point3{0, 1, 0}), 0, 0.01f);
}

TEST(PhysicalMtl, LightOfItsOwnIsSeenInTheDark) {
    Mesh plane = MakePlane(40, 40);
    auto mtl = std::make_shared<PhysicalMtl>();
    mtl->emission = {0.5f, 0, 1};
    mtl->emissionStrength = 3;
    mtl->emissionMap = Pixel(255, 255, 0);
    RenderScene scene = NoonScene();
    scene.sun.irradiance = Color{};
    scene.nodes = {{&plane, mtl.get(), {}}};
    Color seen = Mean(Draw(scene, 4, 2));
    // DisplayToLinear(0.5) = ((0.5 + 0.055) / 1.055) ^ 2.4 = 0.2140.
    EXPECT_NEAR(seen.r, 3 * 0.2140f, 1e-3f);
    EXPECT_EQ(seen.g, 0);
    EXPECT_EQ(seen.b, 0);
}

TEST(PhysicalMtl, SmoothMetalUnderAnEvenSkyShowsItsColour) {
    Mesh plane = MakePlane(40, 40);
    auto mtl = std::make_shared<PhysicalMtl>();
    mtl->diffuse = LinearToDisplay(Color{0.8f, 0.4f, 0.2f});
    mtl->metallic = 1;
    mtl->roughness = 0;
    RenderScene scene = NoonScene();
    scene.sun.irradiance = Color{};
    scene.sky.constant = Color{1, 1, 1};
    scene.nodes = {{&plane, mtl.get(), {}}};
    Color seen = Mean(Draw(scene, 8, 64));
    EXPECT_NEAR(seen.r, 0.8f, 0.01f);
    EXPECT_NEAR(seen.g, 0.4f, 0.01f);
    EXPECT_NEAR(seen.b, 0.2f, 0.01f);
}

TEST(GlossyLayer, DrawnDirectionsCarryWhatTheFormulaReflects) {
    for (float roughness : {0.3f, 0.6f, 1.0f})
        for (float angle : {0.1f, 0.7f, 1.2f}) {
            GlossyLayer layer({0.5f, 0.5f, 0.5f}, roughness);
            Point3 normal{0, 0, 1}, view{std::sin(angle), 0, std::cos(angle)};
            // The integral over all directions of light, by small patches of the hemisphere.
            double sum = 0;
            constexpr int kRings = 600, kSectors = 1200;
            for (int i = 0; i < kRings; ++i)
                for (int j = 0; j < kSectors; ++j) {
                    float z = (float(i) + 0.5f) / kRings, r = std::sqrt(1 - z * z);
                    float turn = 2 * kPi * (float(j) + 0.5f) / kSectors;
                    Point3 light{r * std::cos(turn), r * std::sin(turn), z};
                    sum += layer.Reflected(normal, view, light).g;
                }
            double integral = sum * 2 * kPi / (double(kRings) * kSectors);
            double drawn = 0;
            constexpr int kDraws = 40000;
            SampleSequence sequence(1, 2, 0);
            for (int i = 0; i < kDraws; ++i) {
                Point2 u{(float(i) + 0.5f) / kDraws, UnitFloat(HashMix(uint32_t(i)))};
                Color weight;
                layer.Draw(normal, view, u, &weight);
                drawn += weight.g;
            }
            EXPECT_NEAR(drawn / kDraws, integral, 0.01 * integral + 0.002)
                << roughness << " " << angle;
            EXPECT_LE(integral, 1.0);
            EXPECT_GT(integral, 0.1);
        }
}

TEST(GlossyLayer, TheRoughestReflectsWhatTheIntegralSays) {
    // Seen from straight above with a slope of 1 the distribution is 1 / pi, the shadowing
    // 2 l / (1 + l) for light at the cosine l: 1/2 of the integral of that over l is 1 - ln 2.
    GlossyLayer layer({1, 1, 1}, 1);
    Color sum;
    constexpr int kDraws = 20000;
    for (int i = 0; i < kDraws; ++i) {
        Point2 u{(float(i) + 0.5f) / kDraws, UnitFloat(HashMix(uint32_t(i)))};
        Color weight;
        layer.Draw({0, 0, 1}, {0, 0, 1}, u, &weight);
        sum = sum + weight;
    }
    EXPECT_NEAR(sum.g / kDraws, 1 - std::log(2.0), 0.003);
}

TEST(GlossyLayer, LightMayRunEitherWay) {
    GlossyLayer layer({0.9f, 0.6f, 0.3f}, 0.4f);
    Point3 normal{0, 0, 1};
    Point3 a = Normalize(Point3{0.3f, 0.2f, 0.9f}), b = Normalize(Point3{-0.5f, 0.1f, 0.6f});
    Color there = layer.Reflected(normal, a, b), back = layer.Reflected(normal, b, a);
    EXPECT_NEAR(there.r / b.z, back.r / a.z, 1e-4f);
    EXPECT_NEAR(there.b / b.z, back.b / a.z, 1e-4f);
    EXPECT_EQ(layer.Reflected(normal, a, {0, 0, -1}), Color{});
    EXPECT_FALSE(GlossyLayer({0, 0, 0}, 0.5f).Exists());
}
