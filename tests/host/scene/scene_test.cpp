#include "host/scene/scene.h"

#include <gtest/gtest.h>

#include "host/scene/host_context.h"
#include "tests/host/scene/test_block.h"

TEST(Scene, TransformsGoFromObjectToWorld) {
    Scene scene;
    INode* parent = scene.AddNode("parent", nullptr);
    INode* child = scene.AddNode("child", std::make_shared<TriObject>(), parent);
    parent->SetLocalTM(Matrix3::Translation({10, 0, 0}));
    child->SetLocalTM(Matrix3::Translation({0, 5, 0}));
    child->SetObjectOffset({{1, 0, 0}, {}, {2, 2, 2}});
    EXPECT_EQ((Point3{1, 1, 1} * child->GetObjectTM(0)), (Point3{13, 7, 2}));
    child->SetNodeTM(0, Matrix3::Translation({0, 0, 3}));
    EXPECT_EQ(child->GetLocalTM().GetTrans(), (Point3{-10, 0, 3}));
}

TEST(Scene, ReparentingKeepsTheWorldPlaceAndRefusesCycles) {
    Scene scene;
    INode* a = scene.AddNode("a", nullptr);
    INode* b = scene.AddNode("b", nullptr, a);
    a->SetLocalTM(Matrix3::Translation({1, 2, 3}));
    auto shared = std::static_pointer_cast<INode>(b->shared_from_this());
    EXPECT_TRUE(scene.GetRootNode()->AttachChild(shared));
    EXPECT_EQ(b->GetLocalTM().GetTrans(), (Point3{1, 2, 3}));
    EXPECT_TRUE(b->AttachChild(std::static_pointer_cast<INode>(a->shared_from_this())));
    EXPECT_FALSE(a->AttachChild(shared));
    EXPECT_EQ(a->GetNodeTM(0).GetTrans(), (Point3{1, 2, 3}));
}

TEST(Scene, FindsNodesByNameAlsoAfterRenaming) {
    Scene scene;
    INode* node = scene.AddNode("tree", nullptr);
    EXPECT_EQ(scene.UniqueNodeName("tree"), "tree001");
    node->SetName("oak");
    EXPECT_EQ(scene.FindNode("tree"), nullptr);
    EXPECT_EQ(scene.FindNode("oak"), node);
}

TEST(Scene, DeletingANodeMovesItsChildrenUpAndUndoPutsThemBack) {
    HostContext context;
    Scene scene;
    INode* a = scene.AddNode("a", nullptr);
    INode* b = scene.AddNode("b", nullptr, a);
    a->SetLocalTM(Matrix3::Translation({1, 0, 0}));
    context.Undo().Begin();
    scene.DeleteNode(*a);
    context.Undo().Accept("Delete");
    EXPECT_EQ(b->GetParentNode(), scene.GetRootNode());
    EXPECT_EQ(b->GetNodeTM(0).GetTrans(), (Point3{1, 0, 0}));
    EXPECT_EQ(scene.Nodes().size(), 1u);
    context.Undo().Undo();
    EXPECT_EQ(b->GetParentNode(), scene.FindNode("a"));
    EXPECT_EQ(b->GetNodeTM(0).GetTrans(), (Point3{1, 0, 0}));
    context.Undo().Redo();
    EXPECT_EQ(scene.FindNode("a"), nullptr);
}

TEST(Scene, UndoOfAddingTakesTheWholeBranch) {
    HostContext context;
    Scene scene;
    auto head = INode::Create("head");
    head->AttachChild(INode::Create("member"));
    context.Undo().Begin();
    scene.AddNode(head);
    context.Undo().Accept("Add");
    EXPECT_EQ(scene.Nodes().size(), 2u);
    context.Undo().Undo();
    EXPECT_TRUE(scene.Nodes().empty());
    context.Undo().Redo();
    EXPECT_EQ(scene.FindNode("member")->GetParentNode(), scene.FindNode("head"));
}

TEST(Scene, NodeNoticesAndShutdown) {
    std::vector<HostNotify> heard;
    {
        HostContext context;
        for (HostNotify n :
             {HostNotify::kNodeAdded, HostNotify::kNodeDeleted, HostNotify::kShutdown})
            context.notifications.Register(n,
                                           [&](HostNotify what, INode*) { heard.push_back(what); });
        Scene scene;
        scene.DeleteNode(*scene.AddNode("x", nullptr));
        EXPECT_EQ(HostContext::Current(), &context);
    }
    EXPECT_EQ(HostContext::Current(), nullptr);
    EXPECT_EQ(heard, (std::vector{HostNotify::kNodeAdded, HostNotify::kNodeDeleted,
                                  HostNotify::kShutdown}));
}

TEST(Scene, GroupsAreHeadsWithMembersBelow) {
    Scene scene;
    INode* outer = scene.AddNode("outer", std::make_shared<GroupObject>());
    INode* inner = scene.AddNode("inner", std::make_shared<GroupObject>(), outer);
    INode* leaf = scene.AddNode("leaf", std::make_shared<TriObject>(), inner);
    EXPECT_TRUE(outer->IsGroupHead());
    EXPECT_FALSE(outer->IsGroupMember());
    EXPECT_EQ(leaf->GetGroupHead(), inner);
    EXPECT_EQ(leaf->GetOutermostHead(), outer);
}

TEST(Scene, TargetedCamerasLookAtTheirTarget) {
    Scene scene;
    auto camera = std::make_shared<CameraObject>();
    INode* target = scene.AddNode("t", std::make_shared<DummyObject>());
    INode* node = scene.AddNode("c", camera);
    camera->target = std::static_pointer_cast<INode>(target->shared_from_this());
    node->SetLocalTM(Matrix3::Translation({0, -10, 0}));
    Listener listener(node->shared_from_this());
    Matrix3 tm = node->GetNodeTM(0);
    EXPECT_EQ(tm.GetRow(2), (Point3{0, -1, 0}));  // -Z points along +y
    EXPECT_EQ(tm.GetRow(1), (Point3{0, 0, 1}));
    target->SetLocalTM(Matrix3::Translation({10, -10, 0}));
    EXPECT_EQ(node->GetNodeTM(0).GetRow(2), (Point3{-1, 0, 0}));
    EXPECT_FALSE(listener.changes.empty());
    scene.DeleteNode(*target);
    EXPECT_EQ(node->GetNodeTM(0).GetRow(2), (Point3{0, 0, 1}));
}

TEST(Scene, LayersHideTheirNodes) {
    Scene scene;
    INode* node = scene.AddNode("x", nullptr);
    node->SetLayer("far");
    scene.FindLayer("far")->hidden = true;
    scene.FindLayer("far")->renderable = false;
    EXPECT_TRUE(node->IsHidden());
    EXPECT_FALSE(node->HiddenFlag());
    EXPECT_FALSE(node->IsRenderable());
}

TEST(Scene, RingsOfReferencesAreLetGo) {
    std::weak_ptr<ReferenceTarget> a, b;
    {
        Scene scene;
        auto first = std::make_shared<CameraObject>(), second = std::make_shared<CameraObject>();
        INode* x = scene.AddNode("x", first);
        INode* y = scene.AddNode("y", second);
        first->target = std::static_pointer_cast<INode>(y->shared_from_this());
        second->target = std::static_pointer_cast<INode>(x->shared_from_this());
        a = x->weak_from_this(), b = y->weak_from_this();
    }
    EXPECT_TRUE(a.expired());
    EXPECT_TRUE(b.expired());
}

namespace {

// A node with an object of its own that looks at `target`.
template <class T>
std::shared_ptr<T> AddLooking(Scene& scene, const std::string& name, INode* target) {
    auto object = std::make_shared<T>();
    object->target = std::static_pointer_cast<INode>(target->shared_from_this());
    scene.AddNode(name, object);
    return object;
}

void DeleteInAStep(HostContext& context, Scene& scene, INode* node) {
    context.Undo().Begin();
    scene.DeleteNode(*node);
    context.Undo().Accept("Delete");
}

}  // namespace

TEST(Scene, UndoingADeletionBringsReferencesOfEveryKindBack) {
    HostContext context;
    Scene scene;
    auto owner = std::make_shared<CameraObject>();
    INode* node = scene.AddNode("seen", owner);
    auto camera = AddLooking<CameraObject>(scene, "camera", node);
    auto light = AddLooking<LightObject>(scene, "light", node);
    auto particles = std::make_shared<ParticleObject>();
    scene.AddNode("particles", particles);
    particles->AddEvent(std::static_pointer_cast<INode>(node->shared_from_this()));
    scene.SetRenderCamera(std::static_pointer_cast<INode>(node->shared_from_this()));

    DeleteInAStep(context, scene, node);
    EXPECT_EQ(camera->GetTargetNode(), nullptr);
    EXPECT_EQ(scene.RenderCamera(), nullptr);
    context.Undo().Undo();
    EXPECT_EQ(scene.FindNode("seen"), node);
    EXPECT_EQ(camera->GetTargetNode(), node);
    EXPECT_EQ(light->GetTargetNode(), node);
    EXPECT_EQ(particles->GetEvent(0), node);
    EXPECT_EQ(scene.RenderCamera(), node);
    context.Undo().Redo();
    EXPECT_EQ(light->GetTargetNode(), nullptr);
    EXPECT_EQ(scene.RenderCamera(), nullptr);
}

TEST(Scene, UndoingTheEndOfAMaterialBringsItBack) {
    HostContext context;
    Scene scene;
    INode* node = scene.AddNode("wall", nullptr);
    auto mtl = std::make_shared<StandardMtl>();
    node->SetMtl(mtl);
    context.Undo().Begin();
    mtl->NotifyDeleted();
    context.Undo().Accept("Delete material");
    EXPECT_EQ(node->GetMtl(), nullptr);
    context.Undo().Undo();
    EXPECT_EQ(node->GetMtl(), mtl.get());
}

// A maker that may be gone when its record is undone leaves none.
TEST(Scene, PassingListenersAreNotBroughtBack) {
    HostContext context;
    Scene scene;
    auto mtl = std::make_shared<StandardMtl>();
    auto listener = std::make_unique<Listener>(mtl);
    context.Undo().Begin();
    mtl->NotifyDeleted();
    context.Undo().Accept("Delete material");
    listener.reset();
    EXPECT_EQ(context.Undo().NumUndoSteps(), 0u);
}
