#include "Dravin/geometry/surface_cache.h"

#include <gtest/gtest.h>

#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

std::shared_ptr<INode> PlaneNode() {
    auto mesh = std::make_shared<Mesh>(MakePlane(2, 2, 1));
    return INode::Create("plane", std::make_shared<TriObject>(std::move(mesh)));
}

TEST(SurfaceCache, ObjectsOnOneSurfaceShareItsArrayUntilNobodyUsesIt) {
    TSurfaceCache cache;
    auto node = PlaneNode();
    auto first = cache.GetAt(node.get(), 0, 0, false, 1);
    auto second = cache.GetAt(node.get(), 0, 0, false, 1);
    EXPECT_EQ(first, second);
    EXPECT_EQ(cache.NumBuilt(), 1u);
    TSurfaceCache::Use use{node.get(), 0};
    cache.Sweep({&use, 1});
    EXPECT_EQ(cache.NumEntries(), 1u);
    cache.Sweep({});
    EXPECT_EQ(cache.NumEntries(), 0u);
}

TEST(SurfaceCache, AnotherTimeOrARereadBuildsAgain) {
    TSurfaceCache cache;
    auto node = PlaneNode();
    cache.GetAt(node.get(), 0, 0, false, 1);
    cache.GetAt(node.get(), 0, 160, false, 1);
    cache.GetAt(node.get(), 0, 160, true, 1);
    EXPECT_EQ(cache.NumBuilt(), 3u);
    cache.Get(node.get(), 0, 1);
    EXPECT_EQ(cache.NumBuilt(), 3u);
    cache.Get(node.get(), 1, 1);  // the other kind has an entry of its own
    EXPECT_EQ(cache.NumEntries(), 2u);
}

TEST(SurfaceCache, ChangedGeometryIsReadAgainButAMoveIsNot) {
    TSurfaceCache cache;
    auto node = PlaneNode();
    cache.Get(node.get(), 0, 1);
    node->SetLocalTM(Matrix3::Translation({5, 0, 0}));
    cache.Get(node.get(), 0, 1);
    EXPECT_EQ(cache.NumBuilt(), 1u);
    static_cast<TriObject*>(node->GetObjectRef())
        ->SetMesh(std::make_shared<Mesh>(MakePlane(8, 8, 1)));
    EXPECT_EQ(cache.Get(node.get(), 0, 1)->GridBounds().max.x, 4);
}

TEST(SurfaceCache, NodesWithoutAMeshHaveNone) {
    TSurfaceCache cache;
    auto node = INode::Create("dummy", std::make_shared<DummyObject>());
    EXPECT_EQ(cache.Get(node.get(), 0, 1), nullptr);
    EXPECT_EQ(cache.Get(nullptr, 0, 1), nullptr);
}

TEST(SurfaceCache, OpeningAFileEmptiesItAndSuspendsTheSweep) {
    HostContext host;
    TSurfaceCache& cache = DravinGlobals().surfaces;
    auto node = PlaneNode();
    cache.Get(node.get(), 0, 1);
    host.notifications.Broadcast(HostNotify::kFilePreOpen);
    EXPECT_EQ(cache.NumEntries(), 0u);
    cache.Get(node.get(), 0, 1);
    cache.Sweep({});
    EXPECT_EQ(cache.NumEntries(), 1u);
    host.notifications.Broadcast(HostNotify::kFilePostOpen);
    cache.Sweep({});
    EXPECT_EQ(cache.NumEntries(), 0u);
}

TEST(SurfaceCache, TakingASurfaceOutOfAllListsDropsItsArray) {
    HostContext host;
    Scene scene;
    auto plane = PlaneNode();
    scene.AddNode(plane);
    auto a = TDravin::Create(), b = TDravin::Create();
    scene.AddNode("a", a);
    scene.AddNode("b", b);
    auto put = [&](TDravin& object) {
        object.Block(kSurfaceParams)
            .Append(surfaceParams::kSurflist, ParamValue(std::shared_ptr<ReferenceTarget>(plane)));
    };
    put(*a);
    put(*b);
    TSurfaceCache& cache = DravinGlobals().surfaces;
    cache.Get(plane.get(), 0, 1);
    a->Block(kSurfaceParams).Delete(surfaceParams::kSurflist, 0);
    EXPECT_EQ(cache.NumEntries(), 1u);
    b->Block(kSurfaceParams).Delete(surfaceParams::kSurflist, 0);
    EXPECT_EQ(cache.NumEntries(), 0u);
}

TEST(SurfaceCache, TheSweepTakesRepeatsOutOfTheLists) {
    HostContext host;
    Scene scene;
    auto plane = PlaneNode();
    scene.AddNode(plane);
    auto object = TDravin::Create();
    scene.AddNode("a", object);
    IParamBlock2& block = object->Block(kSurfaceParams);
    ParamValue node = std::shared_ptr<ReferenceTarget>(plane);
    block.Append(surfaceParams::kSurflist, node);
    block.Append(surfaceParams::kSurflist, node);
    EXPECT_EQ(block.Count(surfaceParams::kSurflist), 1);
}

}  // namespace
