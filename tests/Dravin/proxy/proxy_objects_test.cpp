#include "Dravin/proxy/proxy_objects.h"

#include <fmt/format.h>

#include "tests/Dravin/build/scatter_fixture.h"

namespace {

class ProxyObjects : public ScatterFixture {
protected:
    std::vector<INode*> nodes;

    static const DProxy& ProxyOf(INode* shown) {
        return dynamic_cast<const DProxy&>(*shown->GetObjectRef());
    }
    void DisableRows() {
        object->Block(kGeomParams).SetValue(geomParams::kGeomlist, 0, int(kGeomDisabled), 0);
    }
};

TEST_F(ProxyObjects, OneForTheSourceAndOneForTheObject) {
    node->SetLocalTM(Matrix3::Translation({1, 2, 3}));
    box->SetLocalTM(Matrix3::Translation({0, 0, 9}));
    Run(Render());
    TProxyObjects proxies(*object);
    ASSERT_TRUE(proxies.Create(&nodes));
    ASSERT_EQ(nodes.size(), 2u);
    EXPECT_EQ(ProxyOf(nodes[0]).source.Get(), box.get());
    EXPECT_EQ(nodes[0]->GetName(), fmt::format("dmr_{}_0", fmt::ptr(box.get())));
    EXPECT_EQ(nodes[0]->GetNodeTM(0), box->GetNodeTM(0));
    EXPECT_EQ(ProxyOf(nodes[1]).kind, DProxy::kObjectProxy);
    EXPECT_EQ(ProxyOf(nodes[1]).owner.Get(), object.get());
    EXPECT_EQ(nodes[1]->GetName(), fmt::format("dmr_{}", fmt::ptr(object.get())));
    EXPECT_EQ(nodes[1]->GetNodeTM(0), node->GetNodeTM(0));
    EXPECT_TRUE(Logged("CreateProxyObjects (1 proxies+1)"));
}

TEST_F(ProxyObjects, AreHiddenAndNotSelectableButRenderable) {
    Run(Render());
    TProxyObjects proxies(*object);
    proxies.Create(&nodes);
    for (INode* proxy : nodes) {
        EXPECT_TRUE(proxy->IsHidden());
        EXPECT_FALSE(proxy->selectable);
        EXPECT_TRUE(proxy->IsRenderable());
        EXPECT_EQ(scene.FindNode(proxy->GetName()), proxy);
    }
}

TEST_F(ProxyObjects, WithoutCustomObjectsThereIsTheObjectsOwn) {
    DisableRows();
    Run(Render());
    TProxyObjects proxies(*object);
    ASSERT_TRUE(proxies.Create(&nodes));
    ASSERT_EQ(nodes.size(), 1u);
    EXPECT_EQ(ProxyOf(nodes[0]).kind, DProxy::kObjectProxy);
    EXPECT_TRUE(Logged("CreateProxyObjects (0 proxies+1)"));
}

TEST_F(ProxyObjects, RowsOfOneSourceShareANode) {
    AddRow(box);
    Run(Render());
    size_t before = scene.Nodes().size();
    TProxyObjects proxies(*object);
    proxies.Create(&nodes);
    ASSERT_EQ(nodes.size(), 3u);
    EXPECT_EQ(nodes[0], nodes[1]);
    EXPECT_EQ(scene.Nodes().size(), before + 2);
    EXPECT_TRUE(Logged("CreateProxyObjects (2 proxies+1)"));
}

TEST_F(ProxyObjects, SamplesHaveANodeEach) {
    Set(kAnimParams, animParams::kAnimation, int(kAnimRandom));
    Set(kAnimParams, animParams::kAnimsamples, 4);
    Set(kAnimParams, animParams::kAnimsoffset, 480);
    Run(Render());
    TProxyObjects proxies(*object);
    proxies.Create(&nodes);
    ASSERT_EQ(nodes.size(), 5u);
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(ProxyOf(nodes[size_t(k)]).timeOffset, 480 * k);
        EXPECT_FALSE(ProxyOf(nodes[size_t(k)]).isAbsoluteTime);
    }
}

// At a later time the samples' first values move along with it, what is added to it stays.
TEST_F(ProxyObjects, RelativeTimesAreOffsetsAndAbsoluteOnesTimes) {
    Set(kAnimParams, animParams::kAnimation, int(kAnimRandom));
    Set(kAnimParams, animParams::kAnimsamples, 2);
    Set(kAnimParams, animParams::kAnimsoffset, 480);
    object->Build().BuildMesh(4800, Render());
    TProxyObjects proxies(*object);
    proxies.Create(&nodes);
    EXPECT_EQ(ProxyOf(nodes[1]).timeOffset, 480);
    Set(kAnimParams, animParams::kAnimation, int(kAnimFrameMap));
    Set(kAnimParams, animParams::kAnimstart, 800);
    Set(kAnimParams, animParams::kAnimend, 960);
    object->Build().BuildMesh(4800, Render());
    nodes.clear();
    proxies.Create(&nodes);
    ASSERT_EQ(nodes.size(), 3u);  // 800 and 960, a frame of 160 ticks apart
    EXPECT_EQ(ProxyOf(nodes[0]).timeOffset, 800);
    EXPECT_EQ(ProxyOf(nodes[1]).timeOffset, 960);
    EXPECT_TRUE(ProxyOf(nodes[1]).isAbsoluteTime);
}

TEST_F(ProxyObjects, MaterialsAreTheRowsElseTheSources) {
    Run(Render());
    TProxyObjects proxies(*object);
    proxies.Create(&nodes);
    EXPECT_EQ(nodes[0]->GetMtl(), nullptr);
    auto own = std::make_shared<StandardMtl>(), ofRow = std::make_shared<StandardMtl>();
    box->SetMtl(own);
    Run(Render());
    nodes.clear();
    proxies.Create(&nodes);
    EXPECT_EQ(nodes[0]->GetMtl(), own.get());
    TTreeSpecList rows(
        std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()));
    rows.Set(TTreeSpecList::kMaterial, 0, 0, Target(ofRow));
    Run(Render());
    nodes.clear();
    proxies.Create(&nodes);
    EXPECT_EQ(nodes[0]->GetMtl(), ofRow.get());
}

TEST_F(ProxyObjects, DeletingTakesTheNodesAway) {
    Run(Render());
    size_t before = scene.Nodes().size();
    host.Undo().Clear();
    TProxyObjects proxies(*object);
    proxies.Create(&nodes);
    proxies.Delete();
    EXPECT_EQ(scene.Nodes().size(), before);
    EXPECT_EQ(TProxyRegistry::Current()->NumProxies(), 0u);
    EXPECT_TRUE(Logged("DeleteProxyObjects"));
    EXPECT_EQ(host.Undo().NumUndoSteps(), 0u);
}

TEST_F(ProxyObjects, MakingThemAgainReplacesThem) {
    Run(Render());
    size_t before = scene.Nodes().size();
    {
        TProxyObjects proxies(*object);
        proxies.Create(&nodes);
        nodes.clear();
        proxies.Create(&nodes);
        EXPECT_EQ(scene.Nodes().size(), before + 2);
    }
    EXPECT_EQ(scene.Nodes().size(), before);
}

TEST_F(ProxyObjects, NodesThatSomebodyDeletedAreNoTrouble) {
    Run(Render());
    TProxyObjects proxies(*object);
    proxies.Create(&nodes);
    scene.DeleteNode(*nodes[0]);
    proxies.Delete();
    for (INode* left : scene.Nodes()) EXPECT_NE(left->GetName().substr(0, 4), "dmr_");
}

TEST_F(ProxyObjects, AnObjectWithoutASceneHasNone) {
    auto loose = TDravin::Create();
    TProxyObjects proxies(*loose);
    EXPECT_FALSE(proxies.Create(&nodes));
    EXPECT_TRUE(nodes.empty());
}

}  // namespace
