// Every change of a node, an object, a material, a map, a layer: told, undone, redone.
#include <functional>

#include <gtest/gtest.h>

#include "host/geom/primitives.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/scene/shadow_map.h"
#include "host/scene/shadow_type.h"
#include "host/scene/texmaps.h"
#include "tests/host/scene/test_block.h"

namespace {

class NodeUndo : public testing::Test {
protected:
    NodeUndo() { session.SetCurrentScene(&scene); }

    // Makes a change, and checks that it is heard, changes what state() tells, is taken back and
    // made again.
    void Check(const std::string& what, const std::shared_ptr<ReferenceTarget>& target,
               const std::function<std::string()>& state, const std::function<void()>& change) {
        SCOPED_TRACE(what);
        Listener listener(target);
        std::string before = state();
        scene.undo.Begin();
        change();
        scene.undo.Accept(what);
        std::string after = state();
        EXPECT_NE(before, after);
        EXPECT_FALSE(listener.changes.empty());
        size_t heard = listener.changes.size();
        ASSERT_TRUE(scene.undo.Undo());
        EXPECT_EQ(state(), before);
        EXPECT_GT(listener.changes.size(), heard);
        heard = listener.changes.size();
        ASSERT_TRUE(scene.undo.Redo());
        EXPECT_EQ(state(), after);
        EXPECT_GT(listener.changes.size(), heard);
        ASSERT_TRUE(scene.undo.Undo());
        // The same value again is no change.
        EXPECT_EQ(state(), before);
    }
    static std::string Text(const Matrix3& m) { return testing::PrintToString(m.GetTrans().x); }

    HostContext session;
    Scene scene;
};

}  // namespace

TEST_F(NodeUndo, Nodes) {
    INode* node = scene.AddNode("a", std::make_shared<TriObject>());
    INode* parent = scene.AddNode("parent", nullptr);
    parent->SetLocalTM(Matrix3::Translation({7, 0, 0}));
    auto shared = std::static_pointer_cast<INode>(node->shared_from_this());
    Check(
        "name", shared, [&] { return node->GetName(); }, [&] { node->SetName("b"); });
    EXPECT_EQ(scene.FindNode("a"), node);
    EXPECT_EQ(scene.FindNode("b"), nullptr);
    Check(
        "layer", shared, [&] { return node->GetLayer(); }, [&] { node->SetLayer("plants"); });
    Check(
        "transform", shared, [&] { return Text(node->GetNodeTM(0)); },
        [&] {
            node->SetLocalTM(Matrix3::Translation({3, 0, 0}));
        });
    Check(
        "controller", shared, [&] { return Text(node->GetNodeTM(0)); },
        [&] {
            auto place = std::make_shared<TransformController>();
            place->position = {4, 0, 0};
            node->SetTMController(place);
        });
    Check(
        "offset", shared, [&] { return Text(node->GetObjectTM(0)); },
        [&] {
            node->SetObjectOffset({{5, 0, 0}, {}, {1, 1, 1}});
        });
    Check(
        "hidden", shared, [&] { return std::to_string(node->IsHidden()); },
        [&] { node->SetHidden(true); });
    Check(
        "renderable", shared, [&] { return std::to_string(node->IsRenderable()); },
        [&] { node->renderable = false; });
    Check(
        "casts shadows", shared, [&] { return std::to_string(node->castsShadows); },
        [&] { node->castsShadows = false; });
    Check(
        "colour", shared, [&] { return testing::PrintToString(node->wireColor->r); },
        [&] {
            node->wireColor = {1, 0, 0};
        });
    Check(
        "material", shared, [&] { return std::to_string(node->GetMtl() != nullptr); },
        [&] { node->SetMtl(std::make_shared<StandardMtl>()); });
    Check(
        "object", shared, [&] { return node->GetObjectRef()->ClassName(); },
        [&] { node->SetObjectRef(std::make_shared<CameraObject>()); });
    Check(
        "property", shared, [&] { return std::to_string(node->UserProperties().size()); },
        [&] { node->SetUserProperty("k", "v"); });
    Check(
        "parent", shared, [&] { return node->GetParentNode()->GetName(); },
        [&] { parent->AttachChild(shared, true); });
    EXPECT_EQ(node->GetNodeTM(0), Matrix3());
    EXPECT_EQ(scene.GetRootNode()->GetChildNode(0), node);
}

TEST_F(NodeUndo, ObjectsMaterialsMapsAndLayers) {
    auto mesh = std::make_shared<TriObject>();
    Check(
        "mesh", mesh, [&] { return std::to_string(mesh->GetMesh()->faces.size()); },
        [&] { mesh->SetMesh(std::make_shared<Mesh>(MakeBox(1, 1, 1, 1))); });
    auto shape = std::make_shared<ShapeObject>();
    Check(
        "shape", shape, [&] { return std::to_string(shape->shape->steps); },
        [&] { shape->shape.Edit([](BezierShape& s) { s.steps = 2; }); });
    auto camera = std::make_shared<CameraObject>();
    Check(
        "angle", camera, [&] { return std::to_string(camera->fovDegrees.At(0)); },
        [&] { camera->fovDegrees = 60; });
    auto light = std::make_shared<LightObject>();
    Check(
        "light", light, [&] { return std::to_string(light->intensity.At(50)); },
        [&] {
            light->intensity.SetTrack({{{0, 2.0f}, {100, 3.0f}}});
        });
    INode* tree = scene.AddNode("tree", nullptr);
    auto sharedTree = std::static_pointer_cast<INode>(tree->shared_from_this());
    Check(
        "shadow list", light, [&] { return std::to_string(light->LetsCastShadows(tree)); },
        [&] {
            light->SetShadowNodes({sharedTree, nullptr});
        });
    EXPECT_EQ(light->NumShadowNodes(), 0);
    auto mtl = std::make_shared<StandardMtl>();
    Check(
        "opacity", mtl, [&] { return std::to_string(mtl->opacity.Get()); },
        [&] { mtl->opacity = 0.5f; });
    auto multi = std::make_shared<MultiMtl>();
    multi->Append(nullptr);
    Check(
        "sub-material", multi, [&] { return std::to_string(multi->GetSubMtl(0) != nullptr); },
        [&] { multi->SetSubMtl(0, mtl); });
    auto map = std::make_shared<NoiseTex>();
    Check(
        "map", map, [&] { return std::to_string(map->levels.Get()); }, [&] { map->levels = 7; });
    Check(
        "map's turn", map, [&] { return std::to_string(map->RotationDegrees()); },
        [&] { map->SetRotation(45); });
    auto bitmap = std::make_shared<BitmapTex>(nullptr);
    Check(
        "bitmap", bitmap, [&] { return bitmap->File(); }, [&] { bitmap->SetFile("a.png"); });
    INode* node = scene.AddNode("a", nullptr);
    Check(
        "layer", node->shared_from_this(), [&] { return std::to_string(node->IsHidden()); },
        [&] { scene.FindLayer("0")->hidden = true; });
}

// What the node shows is told up through it, once for each change.
TEST_F(NodeUndo, AMapsChangeIsHeardThroughItsMaterialByTheNode) {
    INode* node = scene.AddNode("a", nullptr);
    auto mtl = std::make_shared<StandardMtl>();
    auto map = std::make_shared<ColorTex>();
    mtl->diffuseMap = map;
    node->SetMtl(mtl);
    Listener listener(node->shared_from_this());
    map->color = {1, 0, 0};
    EXPECT_EQ(listener.changes.size(), 1u);
    map->color = {1, 0, 0};
    EXPECT_EQ(listener.changes.size(), 1u);
}

TEST_F(NodeUndo, CreationAndDeletionBringTheNodeBackAsItWas) {
    INode* a = scene.AddNode("a", nullptr);
    INode* b = scene.AddNode("b", std::make_shared<CameraObject>(), a);
    INode* c = scene.AddNode("c", nullptr, b);
    scene.AddNode("d", nullptr, a);
    auto eye = std::make_shared<CameraObject>();
    scene.AddNode("eye", eye);
    eye->target = std::static_pointer_cast<INode>(b->shared_from_this());
    NodeHandle handle = b->GetHandle();
    scene.undo.Begin();
    scene.DeleteNode(*b);
    scene.undo.Accept("Delete");
    EXPECT_EQ(c->GetParentNode(), a);
    EXPECT_EQ(eye->target.Get(), nullptr);
    EXPECT_EQ(scene.FindHandle(handle), nullptr);
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(scene.undo.Undo());
        EXPECT_EQ(scene.FindHandle(handle), b);
        EXPECT_EQ(a->GetChildNode(0), b);
        EXPECT_EQ(a->NumberOfChildren(), 2);
        EXPECT_EQ(b->GetChildNode(0), c);
        EXPECT_EQ(scene.Nodes()[1], b);
        EXPECT_EQ(eye->target.Get(), b);
        ASSERT_TRUE(scene.undo.Redo());
        EXPECT_EQ(c->GetParentNode(), a);
        EXPECT_EQ(eye->target.Get(), nullptr);
    }
}

TEST_F(NodeUndo, TheSelectionIsUndoneAndForgetsWhatIsGone) {
    INode* a = scene.AddNode("a", nullptr);
    INode* b = scene.AddNode("b", nullptr);
    auto select = [&](std::vector<INode*> nodes) {
        scene.undo.Begin();
        scene.Select(nodes);
        scene.undo.Accept("Select");
    };
    select({b, a, b});
    EXPECT_EQ(scene.Selection(), (std::vector<INode*>{a, b}));
    select({b});
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(scene.Selection(), (std::vector<INode*>{a, b}));
    scene.undo.Begin();
    scene.DeleteNode(*a);
    scene.undo.Accept("Delete");
    EXPECT_EQ(scene.Selection(), (std::vector<INode*>{b}));
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(scene.Selection(), (std::vector<INode*>{a, b}));
}

TEST_F(NodeUndo, ShadowTypesOfLights) {
    auto light = std::make_shared<LightObject>();
    scene.AddNode("sun", light);
    std::shared_ptr<ShadowMapType> map = NewDefaultShadowMapType();
    auto state = [&] {
        return light->shadowType ? std::to_string(light->shadowType->MapSize(0)) : "none";
    };
    Check("a type", light, state, [&] { light->SetShadowType(map); });
    light->SetShadowType(map);
    Check("its size", light, state, [&] { map->SetMapSize(0, 77); });
    Check("none", light, state, [&] { light->SetShadowType(nullptr); });
    // A copy of the light has a copy of the type.
    CloneMap copies;
    auto copy = std::dynamic_pointer_cast<LightObject>(light->Clone(copies));
    copies.Finish();
    ASSERT_TRUE(copy->shadowType);
    EXPECT_NE(copy->shadowType.Get(), map.get());
    EXPECT_EQ(copy->shadowType->MapSize(0), 1024);
}

TEST_F(NodeUndo, WhoCastsShadowsOfALight) {
    INode* tree = scene.AddNode("tree", nullptr);
    INode* rock = scene.AddNode("rock", nullptr);
    auto light = std::make_shared<LightObject>();
    EXPECT_TRUE(CastsShadowOf(light.get(), tree));
    light->SetShadowNodes({std::static_pointer_cast<INode>(tree->shared_from_this())});
    EXPECT_FALSE(CastsShadowOf(light.get(), tree));
    EXPECT_TRUE(CastsShadowOf(light.get(), rock));
    EXPECT_TRUE(CastsShadowOf(light.get(), nullptr));
    light->includesShadowNodes = true;
    EXPECT_TRUE(CastsShadowOf(light.get(), tree));
    EXPECT_FALSE(CastsShadowOf(light.get(), rock));
    EXPECT_FALSE(CastsShadowOf(light.get(), nullptr));
    tree->castsShadows = false;
    EXPECT_FALSE(CastsShadowOf(light.get(), tree));
    EXPECT_FALSE(CastsShadowOf(nullptr, tree));
    EXPECT_TRUE(CastsShadowOf(nullptr, rock));
    // A copy of both refers to the copy.
    INode* lamp = scene.AddNode("lamp", light);
    INode* nodes[] = {lamp, tree};
    std::vector<INode*> copies = scene.CloneNodes(nodes);
    auto& copied = dynamic_cast<LightObject&>(*copies[0]->GetObjectRef());
    EXPECT_TRUE(copied.includesShadowNodes);
    ASSERT_EQ(copied.NumShadowNodes(), 1);
    EXPECT_EQ(copied.GetShadowNode(0), copies[1]);
    EXPECT_FALSE(copies[1]->castsShadows);
    // A node that goes is forgotten.
    scene.DeleteNode(*tree);
    EXPECT_EQ(light->GetShadowNode(0), nullptr);
}
