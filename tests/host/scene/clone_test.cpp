// Copies of nodes and what they hold: parts are copied, shared entities shared, references among
// the copies point at copies.
#include <gtest/gtest.h>

#include "host/scene/derived_object.h"
#include "host/scene/host_context.h"
#include "host/scene/physical_material.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"
#include "tests/host/scene/test_block.h"

namespace {

// An object whose parameters name nodes.
class Scatter : public Object {
public:
    Scatter() { m_block = IParamBlock2::Create(TestDesc(), this); }
    IParamBlock2& Block() const { return *m_block.Get(); }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override {
        auto copy = std::make_shared<Scatter>();
        copy->m_block = m_block->CloneFor(copy.get(), map);
        return copy;
    }

private:
    Reference<IParamBlock2> m_block{this};
};

std::shared_ptr<INode> Share(INode* node) {
    return std::static_pointer_cast<INode>(node->shared_from_this());
}

}  // namespace

TEST(Clone, ReferencesAmongTheCopiesPointAtCopies) {
    using namespace testBlock;
    HostContext session;
    Scene scene;
    INode* line = scene.AddNode("line", std::make_shared<ShapeObject>());
    INode* other = scene.AddNode("other", std::make_shared<ShapeObject>());
    auto scatter = std::make_shared<Scatter>();
    INode* node = scene.AddNode("scatter", scatter, line);
    scatter->Block().Append(kNodes, Share(line));
    scatter->Block().Append(kNodes, Share(other));
    scatter->Block().SetKeys(kSize, {{0, 1.0f}, {100, 2.0f}});
    // The object stands before what it refers to.
    INode* nodes[] = {node, line};
    std::vector<INode*> copies = scene.CloneNodes(nodes);
    ASSERT_EQ(copies.size(), 2u);
    EXPECT_EQ(copies[0]->GetName(), "scatter001");
    EXPECT_EQ(copies[0]->GetParentNode(), copies[1]);
    auto* copy = dynamic_cast<Scatter*>(copies[0]->GetObjectRef());
    ASSERT_TRUE(copy);
    EXPECT_NE(copy, scatter.get());
    EXPECT_EQ(copy->Block().GetNode(kNodes, 0, 0), copies[1]);
    EXPECT_EQ(copy->Block().GetNode(kNodes, 0, 1), other);
    EXPECT_EQ(copy->Block().GetFloat(kSize, 50), 1.5f);
    EXPECT_EQ(copy->Block().GetOwner(), copy);
    // Neither hears of the other.
    copy->Block().SetValue(kCount, 0, 9);
    EXPECT_EQ(scatter->Block().GetInt(kCount), 5);
}

TEST(Clone, NodesKeepWhatTheyAreAndShareTheirMaterial) {
    HostContext session;
    Scene scene;
    auto camera = std::make_shared<CameraObject>();
    INode* aim = scene.AddNode("aim", nullptr);
    INode* eye = scene.AddNode("eye", camera);
    camera->target = Share(aim);
    camera->fovDegrees.SetTrack({{{0, 30.0f}, {100, 50.0f}}});
    auto place = std::make_shared<TransformController>();
    place->position.SetTrack({{{0, Point3{}}, {100, Point3{8, 0, 0}}}});
    eye->SetTMController(place);
    eye->SetMtl(std::make_shared<StandardMtl>());
    eye->SetUserProperty("kind", "first");
    eye->hidden = true;
    INode* nodes[] = {eye};
    INode* copy = scene.CloneNodes(nodes)[0];
    auto* view = dynamic_cast<CameraObject*>(copy->GetObjectRef());
    ASSERT_TRUE(view);
    EXPECT_EQ(view->target.Get(), aim);
    EXPECT_EQ(view->fovDegrees.At(50), 40);
    EXPECT_EQ(copy->GetNodeTM(50).GetTrans(), (Point3{4, 0, 0}));
    EXPECT_NE(copy->GetTMController(), place.get());
    EXPECT_EQ(copy->GetMtl(), eye->GetMtl());
    EXPECT_EQ(*copy->GetUserProperty("kind"), "first");
    EXPECT_TRUE(copy->IsHidden());
    place->position = {};
    EXPECT_EQ(copy->GetNodeTM(50).GetTrans(), (Point3{4, 0, 0}));
}

TEST(Clone, IsOneUndoStepAndComesBack) {
    HostContext session;
    Scene scene;
    session.SetCurrentScene(&scene);
    INode* parent = scene.AddNode("parent", std::make_shared<TriObject>());
    INode* child = scene.AddNode("child", std::make_shared<TriObject>(), parent);
    INode* nodes[] = {parent, child};
    scene.undo.Begin();
    std::vector<NodeHandle> handles;
    for (INode* node : scene.CloneNodes(nodes)) handles.push_back(node->GetHandle());
    scene.undo.Accept("Clone");
    EXPECT_TRUE(scene.undo.Undo());
    EXPECT_EQ(scene.Nodes().size(), 2u);
    EXPECT_FALSE(scene.FindHandle(handles[0]));
    EXPECT_TRUE(scene.undo.Redo());
    ASSERT_TRUE(scene.FindHandle(handles[0]));
    EXPECT_EQ(scene.FindHandle(handles[1])->GetParentNode(), scene.FindHandle(handles[0]));
    EXPECT_EQ(scene.FindHandle(handles[1])->GetName(), "child001");
}

TEST(Clone, ManyOfOneNameGetTheNumbersThatAreFree) {
    HostContext session;
    Scene scene;
    std::vector<INode*> trees;
    for (int i = 0; i < 3; ++i) trees.push_back(scene.AddNode("tree", nullptr));
    scene.AddNode("tree002", nullptr);
    std::vector<std::string> names;
    for (INode* node : scene.CloneNodes(trees)) names.push_back(node->GetName());
    EXPECT_EQ(names, (std::vector<std::string>{"tree001", "tree003", "tree004"}));
}

TEST(Clone, EveryClassOfTheHostCopiesItself) {
    HostContext session;
    for (SuperClass super :
         {SuperClass::kNode, SuperClass::kGeomObject, SuperClass::kShape, SuperClass::kCamera,
          SuperClass::kLight, SuperClass::kParticles, SuperClass::kHelper, SuperClass::kController,
          SuperClass::kMaterial, SuperClass::kTexmap})
        for (const ClassDesc* desc : session.classes.OfSuperClass(super)) {
            std::shared_ptr<ReferenceTarget> made = desc->create();
            CloneMap map;
            std::shared_ptr<ReferenceTarget> copy = made->Clone(map);
            map.Finish();
            ASSERT_TRUE(copy) << desc->info.name;
            EXPECT_NE(copy, made);
            EXPECT_EQ(copy->Class().id, made->Class().id);
            EXPECT_EQ(copy->NumRefs(), made->NumRefs());
            for (int i = 0; i < made->NumSubs(); ++i)
                EXPECT_FALSE(made->SubAnimName(i).empty()) << desc->info.name;
        }
}

TEST(Clone, MaterialsKeepTheirValuesAndMaps) {
    auto mtl = std::make_shared<StandardMtl>();
    mtl->name = "leaf";
    mtl->opacityCutoff = 0.5f;
    mtl->translucency = 0.25f;
    auto map = std::make_shared<CheckerTex>();
    map->tiling = {2, 3};
    map->SetRotation(30);
    map->color2 = {0, 1, 0};
    mtl->diffuseMap = map;
    CloneMap copies;
    auto copy = copies.CopyPart(mtl);
    auto mapCopy = copies.CopyPart(map);
    copies.Finish();
    EXPECT_EQ(copy->name, std::string("leaf"));
    EXPECT_EQ(copy->opacityCutoff, 0.5f);
    EXPECT_EQ(copy->translucency, 0.25f);
    // The map was copied too, so the copy shows the copy.
    EXPECT_EQ(copy->diffuseMap.Get(), mapCopy.get());
    EXPECT_EQ(mapCopy->RotationDegrees(), 30);
    TexPoint p{{0.3f, 0.1f, 0}, {}};
    EXPECT_EQ(mapCopy->EvalColor(p).g, map->EvalColor(p).g);
}

TEST(Clone, PhysicalMaterialsKeepAllTheirMaps) {
    auto mtl = std::make_shared<PhysicalMtl>();
    mtl->diffuse = {1, 0, 0};
    mtl->metallic = 0.5f;
    mtl->roughness = 0.25f;
    mtl->emission = {0, 1, 0};
    mtl->emissionStrength = 2;
    mtl->normalScale = 3;
    for (int slot = 0; slot < mtl->NumRefs(); ++slot)
        mtl->SetReference(slot, std::make_shared<CheckerTex>());
    CloneMap copies;
    auto copy = copies.CopyPart(mtl);
    copies.Finish();
    EXPECT_EQ(copy->diffuse, (Color{1, 0, 0}));
    EXPECT_EQ(copy->metallic, 0.5f);
    EXPECT_EQ(copy->roughness, 0.25f);
    EXPECT_EQ(copy->emission, (Color{0, 1, 0}));
    EXPECT_EQ(copy->emissionStrength, 2);
    EXPECT_EQ(copy->normalScale, 3);
    for (int slot = 0; slot < mtl->NumRefs(); ++slot) {
        EXPECT_TRUE(mtl->GetReference(slot)) << slot;
        EXPECT_EQ(copy->GetReference(slot), mtl->GetReference(slot)) << slot;
    }
}
