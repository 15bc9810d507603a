// A height field in the ray tracer against the triangles that it stands for.
#include "host/render/render_heights.h"

#include "host/base/log.h"
#include "host/render/trace_scene.h"
#include "tests/host/geom/random_heights.h"
#include "tests/host/render/render_fixture.h"

namespace {

const Matrix3 kPlacements[] = {
    {},
    Matrix3::Scaling({2, 0.5f, 1.5f}) * Matrix3::RotationX(0.3f) * Matrix3::RotationZ(1) *
        Matrix3::Translation({40, -10, 5}),
    Matrix3::Scaling({-1, 1, 1}) * Matrix3::Translation({0, 3, 0}),
};

// The same ground as an image and as triangles.
struct Ground {
    HeightField heights;
    Mesh mesh = heights.MakeMesh();
    std::shared_ptr<StandardMtl> mtl = MakeMtl({0.5f, 0.5f, 0.5f});
    Matrix3 placement{};

    RenderScene AsHeights() const {
        RenderScene scene = NoonScene();
        scene.nodes = {{nullptr, mtl.get(), placement, &heights}};
        return scene;
    }
    RenderScene AsMesh() const {
        RenderScene scene = NoonScene();
        scene.nodes = {{&mesh, mtl.get(), placement, nullptr}};
        return scene;
    }
};

TraceRay RandomRay(std::mt19937& random, const Box3& box) {
    std::uniform_real_distribution<float> unit(0, 1);
    auto point = [&] {
        Point3 w = box.Width();
        return box.min + Point3{w.x * unit(random), w.y * unit(random), w.z * unit(random)};
    };
    TraceRay ray;
    ray.origin = point() + Point3{0, 0, 3 * box.Width().z};
    ray.direction = Normalize(point() - ray.origin);
    return ray;
}

float Average(const Picture& picture) {
    float sum = 0;
    for (const Color& c : picture.pixels) sum += c.g;
    return sum / float(picture.pixels.size());
}

// As a ray one unit wide sees it.
HitContext ContextOf(const TraceHit& hit) { return {hit, hit.Material(), 1, RayKind::kCamera}; }

}  // namespace

// Both work in single precision on coordinates of up to 100 units, which are 1e-5 apart. Corner
// normals of meshes are stored in 32 bits, good to 1e-4.
TEST(RenderHeights, HitsAreThoseOfTheTriangles) {
    std::mt19937 random(3);
    int rays = 0, hits = 0, different = 0;
    for (double holes : {0.0, 0.05})
        for (const Matrix3& placement : kPlacements) {
            Ground ground{RandomHeights(60, 45, {30, 20}, holes, 8)};
            ground.placement = placement;
            TraceScene heights(ground.AsHeights()), triangles(ground.AsMesh());
            for (int i = 0; i < 2000; ++i, ++rays) {
                TraceRay ray = RandomRay(random, ground.AsHeights().nodes[0].Bounds());
                TraceHit a, b;
                bool hit = heights.Intersect(ray, &a);
                ASSERT_EQ(heights.IsOccluded(ray), hit);
                // A ray within rounding of a silhouette may go either way.
                different += hit != triangles.Intersect(ray, &b) ||
                             (hit && std::fabs(a.distance - b.distance) > 1e-3f);
                if (!hit || std::fabs(a.distance - b.distance) > 1e-3f) continue;
                ++hits;
                EXPECT_NEAR(a.distance, b.distance, 2e-4f);
                EXPECT_NEAR(std::fabs(DotProd(a.faceNormal, b.faceNormal)), 1, 1e-4f);
                EXPECT_NEAR(Length(a.Normal() - b.Normal()), 0, 3e-3f);
                HitContext one = ContextOf(a), other = ContextOf(b);
                EXPECT_NEAR(Length(one.WorldPosition() - other.WorldPosition()), 0, 1e-3f);
                EXPECT_NEAR(Length(one.ObjectPosition() - other.ObjectPosition()), 0, 1e-3f);
                EXPECT_NEAR(Length(one.Uvw(1) - other.Uvw(1)), 0, 2e-4f);
                EXPECT_EQ(one.Uvw(2), Point3());
            }
        }
    EXPECT_GT(hits, rays / 4);
    EXPECT_LE(different, rays / 1000);
}

TEST(RenderHeights, MappingDensityIsThatOfTheTriangles) {
    Ground ground{RandomHeights(9, 9, {30, 20}, 0, 8)};
    ground.placement = kPlacements[1];
    TraceScene heights(ground.AsHeights()), triangles(ground.AsMesh());
    TraceRay ray;
    ray.origin = kPlacements[1].PointTransform({1, 2, 50});
    ray.direction = Normalize(kPlacements[1].VectorTransform({0, 0, -1}));
    TraceHit a, b;
    ASSERT_TRUE(heights.Intersect(ray, &a) && triangles.Intersect(ray, &b));
    float width = ContextOf(a).UvWidth(1);
    EXPECT_NEAR(width, ContextOf(b).UvWidth(1), 1e-5f * width);
    EXPECT_GT(width, 0);
}

TEST(RenderHeights, PicturesAreThoseOfTheTriangles) {
    Ground ground{RandomHeights(60, 60, {8, 8}, 0.02, 12)};
    float a = Average(Draw(ground.AsHeights(), 32, 16)), b = Average(Draw(ground.AsMesh(), 32, 16));
    EXPECT_GT(b, 0.05f);
    EXPECT_NEAR(a, b, 0.01f * b);
}

// Half of all rays pass a mask of one half, and every second column of stripes is cut away.
TEST(RenderHeights, MasksLetRaysThrough) {
    Ground ground{HeightField(9, 9, {8, 8}, std::vector<float>(81, 0))};
    TraceRay ray;
    ray.direction = {0, 0, -1};
    auto countHits = [&] {
        TraceScene scene(ground.AsHeights());
        int hits = 0;
        for (uint32_t seed = 0; seed < 4000; ++seed) {
            ray.origin = {-3.9f + 7.8f * float(seed) / 4000, 0.3f, 5};
            ray.seed = seed;
            TraceHit hit;
            bool isHit = scene.Intersect(ray, &hit);
            EXPECT_EQ(isHit, scene.IsOccluded(ray));
            hits += isHit;
        }
        return hits;
    };
    EXPECT_EQ(countHits(), 4000);
    ground.mtl->opacity = 0.5f;
    EXPECT_NEAR(countHits(), 2000, 130);  // four standard deviations
    ground.mtl->opacity = 1;
    ground.mtl->opacityMap = MakeStripes();
    EXPECT_NEAR(countHits(), 2000, 50);
}

TEST(RenderHeights, FlattenedTerrainsAreLeftOutWithAWarning) {
    Ground ground{RandomHeights(4, 4, {8, 8}, 0, 12)};
    ground.placement = Matrix3::Scaling({1, 1, 0});
    std::string warned;
    LogSink old = SetLogSink([&](LogKind, const std::string& text) { warned += text; });
    TraceScene scene(ground.AsHeights());
    SetLogSink(old);
    EXPECT_NE(warned.find("left out of the picture"), std::string::npos);
    TraceHit hit;
    EXPECT_FALSE(scene.Intersect(
        RandomRay(*std::make_unique<std::mt19937>(1), {{0, 0, 0}, {1, 1, 1}}), &hit));
}

TEST(RenderHeights, TrianglesComeBackFromTheirNumbers) {
    HeightField field = RandomHeights(7, 5, {1, 1}, 0.2, 3);
    RenderMaterials materials;
    RenderHeights heights(field, nullptr, {}, materials);
    for (uint32_t j = 0; j < 4; ++j)
        for (uint32_t i = 0; i < 6; ++i)
            for (bool upper : {false, true})
                EXPECT_EQ(heights.Unpack(heights.Pack({i, j, upper})),
                          (HeightTriangle{i, j, upper}));
}
