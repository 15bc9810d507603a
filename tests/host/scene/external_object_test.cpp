// An object that another scene holds, shown in this one.
#include <gtest/gtest.h>

#include "host/geom/primitives.h"
#include "host/scene/external_object.h"
#include "host/scene/host_context.h"
#include "host/scene/material.h"
#include "host/scene/scene.h"

namespace {

class ExternalObjectTest : public testing::Test {
protected:
    ExternalObjectTest() {
        m_host.SetCurrentScene(&m_scene);
        m_oak = m_other->AddNode(
            "oak", std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(1, 1, 2, 1))));
        m_shown = m_scene.AddNode("tree", std::make_shared<ExternalObject>(
                                              ExternalOrigin{"trees.max", "oak"}, m_other, *m_oak));
    }
    static const ExternalObject& Of(const INode* node) {
        return dynamic_cast<const ExternalObject&>(*node->GetObjectRef());
    }

    HostContext m_host;
    Scene m_scene;
    std::shared_ptr<Scene> m_other = std::make_shared<Scene>();
    INode* m_oak = nullptr;
    INode* m_shown = nullptr;
};

// Counts what it hears of the node that it refers to.
class Listener : public ReferenceMaker {
public:
    explicit Listener(INode* node) {
        m_node = std::static_pointer_cast<INode>(node->shared_from_this());
    }
    RefResult NotifyRefChanged(const RefChange&, ReferenceTarget*) override {
        ++count;
        return RefResult::kSucceed;
    }
    int count = 0;

private:
    Reference<INode> m_node{this};
};

}  // namespace

TEST_F(ExternalObjectTest, ShowsTheObjectInItsOwnPlace) {
    m_oak->SetLocalTM(Matrix3::Translation({100, 0, 0}));
    m_shown->SetLocalTM(Matrix3::Translation({0, 7, 0}));
    ObjectState state = m_shown->EvalWorldState(0);
    EXPECT_EQ(state.object, m_oak->ShareObjectRef());
    EXPECT_EQ(state.tm.GetRow(3), (Point3{0, 7, 0}));
    EXPECT_TRUE(m_shown->GetObjectRef()->IsGeomObject());
    EXPECT_EQ(m_shown->GetObjectRef()->GetRenderMesh(0)->verts.size(), 8u);
}

TEST_F(ExternalObjectTest, TheOtherNodesMaterialShowsUnlessThereIsOne) {
    auto leaf = std::make_shared<StandardMtl>(), own = std::make_shared<StandardMtl>();
    m_oak->SetMtl(leaf);
    EXPECT_EQ(m_shown->GetShownMtl(), leaf.get());
    m_shown->SetMtl(own);
    EXPECT_EQ(m_shown->GetShownMtl(), own.get());
}

TEST_F(ExternalObjectTest, ChangesThereAreHeardHere) {
    Listener listener(m_shown);
    auto& box = dynamic_cast<TriObject&>(*m_oak->GetObjectRef());
    box.SetMesh(std::make_shared<Mesh>(MakeBox(1, 1, 5, 1)));
    EXPECT_GT(listener.count, 0);
    EXPECT_EQ(m_shown->GetObjectRef()->GetRenderMesh(0), box.GetMesh());
}

TEST_F(ExternalObjectTest, ACopySharesTheOtherScene) {
    INode* nodes[] = {m_shown};
    INode* copy = m_scene.CloneNodes(nodes).front();
    EXPECT_NE(&Of(copy), &Of(m_shown));
    EXPECT_EQ(Of(copy).SourceScene(), m_other);
    EXPECT_EQ(Of(copy).Source(), m_oak->GetObjectRef());
    EXPECT_EQ(Of(copy).Origin(), Of(m_shown).Origin());
}

TEST_F(ExternalObjectTest, TheOtherSceneLivesAsLongAsItIsShown) {
    std::weak_ptr<Scene> other = m_other;
    m_other = nullptr;
    EXPECT_EQ(m_shown->GetObjectRef()->GetRenderMesh(0)->verts.size(), 8u);
    m_scene.undo.Begin();
    m_scene.DeleteNode(*m_shown);
    m_scene.undo.Accept("Delete");
    EXPECT_FALSE(other.expired()) << "undo may bring the node back";
    m_scene.undo.Undo();
    ASSERT_NE(m_scene.FindNode("tree"), nullptr);
    EXPECT_EQ(m_scene.FindNode("tree")->GetObjectRef()->GetRenderMesh(0)->verts.size(), 8u);
    m_scene.Reset();
    EXPECT_TRUE(other.expired());
}

TEST_F(ExternalObjectTest, WhatCannotBeShownSaysWhy) {
    EXPECT_EQ(ExternalObject::Refusal(*m_oak), "");
    EXPECT_EQ(ExternalObject::Refusal(*m_other->AddNode("nothing", nullptr)), "shows nothing");
    EXPECT_EQ(ExternalObject::Refusal(*m_other->AddNode("sun", std::make_shared<LightObject>())),
              "is neither geometry nor a spline");
}
