#include "host/render/trace_scene.h"

#include <gtest/gtest.h>

#include "host/scene/node.h"
#include "tests/host/render/render_fixture.h"

namespace {

TraceRay Down(float x, float y) {
    TraceRay ray;
    ray.origin = {x, y, 10};
    ray.direction = {0, 0, -1};
    return ray;
}

// Instances of an object that a node shows.
class NodeSource : public ListSource {
public:
    explicit NodeSource(const INode* node) : m_node(node) {}
    const INode* SourceNode() const override { return m_node; }

private:
    const INode* m_node;
};

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

TEST(TraceScene, WhoCastsNoShadowsIsSeenAllTheSame) {
    auto ground = INode::Create("ground"), grove = INode::Create("grove"),
         land = INode::Create("land");
    NodeSource source(grove.get());
    source.prototypes = {MakePlane(2, 2)};
    source.instances = {{Matrix3::Translation({5, 0, 1}), 0, 0, {}, 0}};
    Mesh plane = MakePlane(2, 2);
    const float heights[] = {0, 0, 0, 0};
    HeightField field(2, 2, Point2{2, 2}, heights);
    auto light = std::make_shared<LightObject>();
    RenderScene scene;
    scene.nodes = {{&plane, nullptr, {}, nullptr, ground.get()},
                   {nullptr, nullptr, Matrix3::Translation({-5, 0, 0}), &field, land.get()}};
    scene.sources = {&source};
    scene.sun.shadow.light = light.get();
    auto shadows = [&] {
        TraceScene trace(scene);
        std::string seen;
        for (float x : {0.2f, 5.2f, -4.8f}) {
            TraceHit hit;
            EXPECT_TRUE(trace.Intersect(Down(x, 0.3f), &hit));
            seen += trace.IsOccluded(Down(x, 0.3f)) ? '1' : '0';
        }
        return seen;
    };
    EXPECT_EQ(shadows(), "111");
    ground->castsShadows = false;
    EXPECT_EQ(shadows(), "011");
    light->SetShadowNodes({grove});
    EXPECT_EQ(shadows(), "001");
    light->SetShadowNodes({grove, land});
    EXPECT_EQ(shadows(), "000");
    light->includesShadowNodes = true;
    EXPECT_EQ(shadows(), "011");
    scene.sun.shadow.casts = false;
    EXPECT_EQ(shadows(), "000");
}

TEST(TraceScene, FacesThatAMaskLeavesWholeNeedNoTest) {
    Mesh plane = MakePlane(1, 1, 8, 1);  // columns alternate between opaque and cut
    auto mtl = MakeMtl({1, 1, 1});
    mtl->opacityMap = MakeStripes();
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
    mtl->opacityMap = MakeStripes();
    RenderScene scene;
    scene.nodes = {{&plane, mtl.get(), {}}};
    TraceScene trace(scene);
    TraceHit hit;
    EXPECT_TRUE(trace.Intersect(Down(-3.5f, 0), &hit));   // u = 1/16: opaque
    EXPECT_FALSE(trace.Intersect(Down(-1.5f, 0), &hit));  // u = 5/16: cut away
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

TEST(RenderTexture, WrapsAsTheMapSays) {
    auto map = std::make_shared<BitmapTex>(BitmapLoader{});
    map->SetImage(std::make_shared<Bitmap>(2, 1, 1, std::vector<uint8_t>{0, 255}));
    map->filter = BitmapTex::Filter::kNearest;
    auto at = [&](BitmapTex::Wrap wrap, float u) {
        map->wrap = wrap;
        return RenderTexture(*map, MapUse::kMask).LookUpMask({u, 0.5f}, 0);
    };
    EXPECT_EQ(at(BitmapTex::Wrap::kTile, 1.25f), 0);
    EXPECT_EQ(at(BitmapTex::Wrap::kMirror, 1.25f), 1);
    EXPECT_EQ(at(BitmapTex::Wrap::kClamp, 7), 1);
    EXPECT_EQ(at(BitmapTex::Wrap::kTile, -0.25f), 1);
    EXPECT_EQ(at(BitmapTex::Wrap::kMirror, -0.25f), 0);
}

TEST(RenderTexture, CoarseLevelsAverageLinearLight) {
    auto map = std::make_shared<BitmapTex>(BitmapLoader{});
    map->SetImage(std::make_shared<Bitmap>(2, 2, 1, std::vector<uint8_t>{0, 255, 255, 0}));
    RenderTexture color(*map, MapUse::kColor), mask(*map, MapUse::kMask);
    EXPECT_NEAR(color.LookUp({0.3f, 0.3f}, 10).g, 0.5f, 0.005f);
    EXPECT_NEAR(mask.LookUpMask({0.3f, 0.3f}, 10), 0.5f, 0.005f);
}

TEST(TraceScene, AnInstanceTakesOneCacheLineWhateverItsPrototype) {
    ListSource source;
    source.prototypes = {MakeSphere(1, 256)};
    for (int i = 0; i < 5000; ++i)
        source.instances.push_back(
            {Matrix3::Translation({float(i % 100), float(i / 100), 0}), 0, i, {}, 0});
    RenderScene scene;
    scene.sources = {&source};
    TraceScene trace(scene);
    EXPECT_EQ(trace.Statistics().numInstances, 5000u);
    EXPECT_EQ(trace.Statistics().instanceBytes, 5000u * 64);
    EXPECT_EQ(trace.Statistics().numPrototypeFaces, source.prototypes[0].NumFaces());
}

TEST(RenderMesh, MovedBoundsHoldTheMovedVertices) {
    Mesh cone = MakeCone(1, 3, 24);
    RenderMaterials materials;
    RenderMesh mesh(cone, nullptr, Matrix3{}, materials);
    for (int i = 0; i < 50; ++i) {
        float f = float(i);
        Matrix3 m = Matrix3::Scaling({1 + f / 20, 0.7f, i % 2 ? -2.f : 1.5f}) *
                    EulerDegreesToMatrix({f * 13, f * 29, f * 41}) *
                    Matrix3::Translation({f, -f, f / 3});
        Box3 bounds = mesh.MovedBounds(m), exact;
        for (const Point3& p : cone.verts) exact += p * m;
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_LE(bounds.min[axis], exact.min[axis] + 1e-4f);
            EXPECT_GE(bounds.max[axis], exact.max[axis] - 1e-4f);
        }
        EXPECT_LE(bounds.Width().x, m.BoxTransform(cone.BoundingBox()).Width().x + 1e-4f);
    }
}

TEST(RenderTexture, CutMasksAreSharpNearByAndAverageFarAway) {
    auto map = std::make_shared<BitmapTex>(BitmapLoader{});
    // Three of four columns reach the cutoff; their plain mean would be (0.6 * 3 + 0.2) / 4.
    map->SetImage(std::make_shared<Bitmap>(4, 1, 1, std::vector<uint8_t>{153, 153, 153, 51}));
    RenderTexture mask(*map, MapUse::kMask, 0.5f);
    EXPECT_EQ(mask.LookUpMask({0.125f, 0.5f}, 0), 1);
    EXPECT_EQ(mask.LookUpMask({0.875f, 0.5f}, 0), 0);
    EXPECT_EQ(mask.LookUpMask({0.675f, 0.5f}, 0), 1);  // 0.52 between the columns
    EXPECT_NEAR(mask.LookUpMask({0.5f, 0.5f}, 10), 0.75f, 0.01f);
}

TEST(RenderTexture, AlphaAloneIsTheMaskOfAColourImage) {
    auto map = std::make_shared<BitmapTex>(BitmapLoader{});
    // Dark green: opaque, then with an alpha of 0.2.
    map->SetImage(
        std::make_shared<Bitmap>(2, 1, 4, std::vector<uint8_t>{0, 51, 0, 255, 0, 51, 0, 51}));
    map->filter = BitmapTex::Filter::kNearest;
    map->alphaOnly = true;
    RenderTexture mask(*map, MapUse::kMask);
    EXPECT_EQ(mask.LookUpMask({0.25f, 0.5f}, 0), 1);
    EXPECT_NEAR(mask.LookUpMask({0.75f, 0.5f}, 0), 0.2f, 1e-6f);
}
