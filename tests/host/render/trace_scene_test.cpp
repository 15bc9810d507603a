#include "host/render/trace_scene.h"

#include <gtest/gtest.h>

#include "tests/host/render/render_fixture.h"

namespace {

TraceRay Down(float x, float y) {
    TraceRay ray;
    ray.origin = {x, y, 10};
    ray.direction = {0, 0, -1};
    return ray;
}

}  // namespace

TEST(TraceScene, InstanceHitHasWorldDistanceAndNormal) {
    ListSource source;
    source.prototypes = {MakeBox(2, 2, 1)};
    source.instances = {
        {Matrix3::Scaling({1, 1, 3}) * Matrix3::Translation({5, 0, 1}), 0, 0, {}, 0}};
    RenderScene scene;
    scene.sources = {&source};
    TraceScene trace(scene);
    TraceHit hit;
    ASSERT_TRUE(trace.Intersect(Down(5, 0.2f), &hit));
    EXPECT_NEAR(hit.distance, 6, 1e-5f);
    EXPECT_NEAR(hit.faceNormal.z, 1, 1e-5f);
    EXPECT_NEAR(hit.Normal().z, 1, 1e-4f);
    EXPECT_FALSE(trace.Intersect(Down(3.9f, 0), &hit));
}

TEST(TraceScene, NearestOfSeveralSourcesAndNodesWins) {
    ListSource low, high;
    low.prototypes = high.prototypes = {MakePlane(2, 2)};
    low.instances = {{Matrix3::Translation({0, 0, 1}), 0, 0, {}, 0}};
    high.instances = {{Matrix3::Translation({0, 0, 4}), 0, 0, {}, 0}};
    Mesh ground = MakePlane(20, 20);
    RenderScene scene;
    scene.nodes = {{&ground, nullptr, {}}};
    scene.sources = {&low, &high};
    TraceScene trace(scene);
    TraceHit hit;
    ASSERT_TRUE(trace.Intersect(Down(0, 0), &hit));
    EXPECT_NEAR(hit.distance, 6, 1e-5f);
    ASSERT_TRUE(trace.Intersect(Down(5, 5), &hit));
    EXPECT_NEAR(hit.distance, 10, 1e-5f);
    EXPECT_EQ(hit.instance, nullptr);
}

TEST(TraceScene, OcclusionEndsAtTheRaysLength) {
    Mesh ground = MakePlane(20, 20);
    RenderScene scene;
    scene.nodes = {{&ground, nullptr, {}}};
    TraceScene trace(scene);
    TraceRay ray = Down(0, 0);
    EXPECT_TRUE(trace.IsOccluded(ray));
    ray.far = 9.9f;
    EXPECT_FALSE(trace.IsOccluded(ray));
}

TEST(TraceScene, FacesThatAMaskLeavesWholeNeedNoTest) {
    Mesh plane = MakePlane(1, 1, 8, 1);  // columns alternate between opaque and cut
    auto mtl = MakeMtl({1, 1, 1});
    auto mask = std::make_shared<StripeMask>();
    mtl->opacityMap = mask;
    RenderMaterials materials;
    RenderMesh mesh(plane, mtl.get(), Matrix3{}, materials);
    EXPECT_EQ(mesh.NumFaces(), 16u);
    EXPECT_GT(mesh.NumFaces(), mesh.NumOpaque());
    RenderMesh plain(plane, nullptr, Matrix3{}, materials);
    EXPECT_EQ(plain.NumOpaque(), 16u);
}

TEST(TraceScene, MaskDecidesByPlaceAndWideRaysByShare) {
    Mesh plane = MakePlane(8, 8);
    auto mtl = MakeMtl({1, 1, 1});
    mtl->opacityMap = std::make_shared<StripeMask>();
    RenderScene scene;
    scene.nodes = {{&plane, mtl.get(), {}}};
    TraceScene trace(scene);
    TraceHit hit;
    EXPECT_TRUE(trace.Intersect(Down(-3.5f, 0), &hit));   // u = 1/16: opaque
    EXPECT_FALSE(trace.Intersect(Down(-2.5f, 0), &hit));  // u = 3/16: cut away
    int hits = 0;
    for (uint32_t seed = 0; seed < 2000; ++seed) {
        TraceRay wide = Down(-3.5f, 0);
        wide.width = 8;
        wide.seed = seed * 7919;
        hits += trace.Intersect(wide, &hit);
    }
    EXPECT_NEAR(hits, 1000, 100);  // four and a half standard deviations
}

TEST(TraceScene, FaceIndicesOutOfRangeShowNothing) {
    Mesh broken = MakePlane(2, 2);
    broken.faces[0].v[1] = 99;
    RenderScene scene;
    scene.nodes = {{&broken, nullptr, {}}, {nullptr, nullptr, {}}};
    TraceScene trace(scene);
    TraceHit hit;
    EXPECT_FALSE(trace.Intersect(Down(0, 0), &hit));
}
