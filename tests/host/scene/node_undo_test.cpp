// Every change of a node, an object, a material, a map, a layer: told, undone, redone.
#include <functional>

#include <gtest/gtest.h>

#include "host/geom/primitives.h"
#include "host/params/controller.h"
#include "host/scene/height_field_object.h"
#include "host/scene/host_context.h"
#include "host/scene/physical_material.h"
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
    Check("a type", light, state, [&] { light->shadowType = map; });
    light->shadowType = map;
    Check("its size", light, state, [&] { map->SetMapSize(0, 77); });
    Check("none", light, state, [&] { light->shadowType = nullptr; });
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

// What stands in reference slots of objects, materials and controllers.
TEST_F(NodeUndo, MapsOfMaterials) {
    auto mtl = std::make_shared<PhysicalMtl>();
    auto map = std::make_shared<NoiseTex>();
    RefProperty<Texmap>* const slots[] = {&mtl->diffuseMap, &mtl->opacityMap,
                                          &mtl->metallicRoughnessMap, &mtl->normalMap,
                                          &mtl->emissionMap};
    for (int i = 0; i < mtl->NumRefs(); ++i) {
        RefProperty<Texmap>& slot = *slots[i];
        auto held = [&] { return mtl->GetReference(i) ? "a map" : "none"; };
        Check("assigned", mtl, held, [&] { slot = map; });
        slot.Put(map);
        Check("taken out", mtl, held, [&] { slot = nullptr; });
        Check(
            "changed", mtl, [&] { return std::to_string(map->levels.Get()); },
            [&] { map->levels = 7; });
    }
    // Filling a slot as readers do is told to nobody.
    Listener listener(mtl);
    scene.undo.Begin();
    mtl->SetReference(0, nullptr);
    scene.undo.Accept("nothing");
    EXPECT_TRUE(listener.changes.empty());
    EXPECT_FALSE(mtl->diffuseMap);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
}

TEST_F(NodeUndo, EntriesOfMultiMaterials) {
    auto multi = std::make_shared<MultiMtl>();
    auto one = std::make_shared<StandardMtl>(), other = std::make_shared<StandardMtl>();
    auto state = [&] {
        std::string text;
        for (int i = 0; i < multi->NumSubMtls(); ++i)
            text += multi->GetSubMtl(i) == one.get()     ? '1'
                    : multi->GetSubMtl(i) == other.get() ? '2'
                                                         : '-';
        return text;
    };
    Check("appended", multi, state, [&] { multi->Append(one); });
    multi->Append(one), multi->Append(other);
    Check("longer", multi, state, [&] { multi->SetNumSubMtls(4); });
    Check("shorter", multi, state, [&] { multi->SetNumSubMtls(1); });
    Check("all gone", multi, state, [&] { multi->SetNumSubMtls(0); });
    EXPECT_EQ(state(), "12");
    // An entry that is out of the list says nothing of its material.
    Listener listener(multi);
    multi->SetNumSubMtls(1);
    listener.changes.clear();
    other->opacity = 0.5f;
    EXPECT_TRUE(listener.changes.empty());
}

TEST_F(NodeUndo, TargetsOriginsAndMaterialsOfFiles) {
    INode* tree = scene.AddNode("tree", nullptr);
    auto sharedTree = std::static_pointer_cast<INode>(tree->shared_from_this());
    auto camera = std::make_shared<CameraObject>();
    Check(
        "camera's target", camera, [&] { return camera->target ? "tree" : "none"; },
        [&] { camera->target = sharedTree; });
    auto light = std::make_shared<LightObject>();
    Check(
        "light's target", light, [&] { return light->target ? "tree" : "none"; },
        [&] { light->target = sharedTree; });
    auto mesh = std::make_shared<TriObject>();
    auto mtl = std::make_shared<StandardMtl>();
    auto shown = [&] { return mesh->DefaultMtl() ? "a material" : "none"; };
    Check("the file's material", mesh, shown, [&] { mesh->fileMaterial = mtl; });
    mesh->fileMaterial = mtl;
    Check(
        "its colour", mesh, [&] { return std::to_string(mtl->diffuse->r); },
        [&] {
            mtl->diffuse = {0, 0, 1};
        });
    FileOrigin file;
    file.file = "tree.obj";
    auto origin = [&] { return mesh->HasFile() ? "a file" : "none"; };
    Check("origin", mesh, origin, [&] { mesh->origin = MeshOrigin{file}; });
    mesh->origin = MeshOrigin{file};
    Check("another mesh", mesh, origin,
          [&] { mesh->SetMesh(std::make_shared<Mesh>(MakeBox(1, 1, 1, 1))); });
    auto sparks = std::make_shared<ParticleObject>();
    Check(
        "event", sparks, [&] { return std::to_string(sparks->NumEvents()); },
        [&] { EXPECT_EQ(sparks->AddEvent(sharedTree), 0); });
}

TEST_F(NodeUndo, TerrainsAndControllers) {
    auto terrain = std::make_shared<HeightFieldObject>();
    EXPECT_EQ(terrain->GetRenderMesh(0)->faces.size(), 2u);
    auto top = [&] { return std::to_string(terrain->GetRenderMesh(0)->BoundingBox().max.z); };
    const float heights[] = {0, 0, 0, 3};
    auto hill = std::make_shared<HeightField>(2, 2, Point2{1, 1}, heights);
    Check("field", terrain, top, [&] { terrain->SetField(hill); });
    HeightfieldOrigin origin;
    origin.file = "hill.tif";
    Check(
        "origin", terrain, [&] { return terrain->origin->file; },
        [&] { terrain->origin = origin; });
    auto keys = std::make_shared<KeyController>();
    auto half = [&] { return std::to_string(*keys->EvalReal(50, nullptr)); };
    ParamElement run{0.0f, {}};
    run.track.keys = {{0, 1.0f}, {100, 3.0f}};
    Check("keys", keys, half, [&] { keys->SetContent(run); });
    EXPECT_EQ(half(), std::to_string(0.f));
}

// A record of a deletion names the slot that lost the node: it must still be there.
TEST_F(NodeUndo, ListedNodesComeBackBehindAListThatChanged) {
    INode* tree = scene.AddNode("tree", nullptr);
    auto light = std::make_shared<LightObject>();
    scene.AddNode("sun", light);
    light->SetShadowNodes({std::static_pointer_cast<INode>(tree->shared_from_this())});
    scene.undo.Begin();
    scene.DeleteNode(*tree);
    scene.undo.Accept("Delete");
    scene.undo.Begin();
    light->SetShadowNodes({});
    scene.undo.Accept("List");
    EXPECT_EQ(light->NumShadowNodes(), 0);
    ASSERT_TRUE(scene.undo.Undo());
    ASSERT_EQ(light->NumShadowNodes(), 1);
    EXPECT_EQ(light->GetShadowNode(0), nullptr);
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(light->GetShadowNode(0), tree);
    ASSERT_TRUE(scene.undo.Redo());
    EXPECT_EQ(light->GetShadowNode(0), nullptr);
    ASSERT_TRUE(scene.undo.Redo());
    EXPECT_EQ(light->NumShadowNodes(), 0);
}

TEST_F(NodeUndo, AnUndoneAdditionGivesItsHandleBack) {
    scene.AddNode("a", nullptr);
    NodeHandle before = scene.LastHandle();
    scene.undo.Begin();
    NodeHandle first = scene.AddNode("b", nullptr)->GetHandle();
    NodeHandle second = scene.AddNode("c", nullptr)->GetHandle();
    scene.undo.Accept("add");
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(scene.LastHandle(), before);
    ASSERT_TRUE(scene.undo.Redo());
    EXPECT_EQ(scene.FindNode("b")->GetHandle(), first);
    EXPECT_EQ(scene.FindNode("c")->GetHandle(), second);
    EXPECT_EQ(scene.LastHandle(), second);
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(scene.LastHandle(), before);
}

// Handles of deleted nodes stay theirs: undo brings them back.
TEST_F(NodeUndo, ADeletedNodeKeepsItsHandle) {
    INode* node = scene.AddNode("a", nullptr);
    NodeHandle handle = node->GetHandle();
    scene.undo.Begin();
    scene.DeleteNode(*node);
    scene.undo.Accept("delete");
    EXPECT_EQ(scene.LastHandle(), handle);
    scene.undo.Begin();
    EXPECT_EQ(scene.AddNode("b", nullptr)->GetHandle(), handle + 1);
    scene.undo.Accept("add");
    ASSERT_TRUE(scene.undo.Undo());
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(scene.FindHandle(handle), scene.FindNode("a"));
    EXPECT_EQ(scene.LastHandle(), handle);
}

TEST_F(NodeUndo, ARedoneNodeWhoseHandleIsTakenGetsAnother) {
    scene.undo.Begin();
    scene.AddNode("a", nullptr);
    scene.undo.Accept("add");
    ASSERT_TRUE(scene.undo.Undo());
    INode* taker = scene.AddNode("unrecorded", nullptr);
    ASSERT_TRUE(scene.undo.Redo());
    INode* back = scene.FindNode("a");
    ASSERT_TRUE(back);
    EXPECT_NE(back->GetHandle(), taker->GetHandle());
    EXPECT_EQ(scene.FindHandle(back->GetHandle()), back);
    EXPECT_EQ(scene.FindHandle(taker->GetHandle()), taker);
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(scene.FindHandle(taker->GetHandle()), taker);
}
