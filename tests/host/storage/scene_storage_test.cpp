#include <gtest/gtest.h>

#include "host/params/param_block.h"
#include "tests/host/storage/stored_scene.h"

namespace {

class SceneFile : public testing::Test, public StoredScene {};

template <class T>
T& ObjectOf(const Scene& scene, const char* name) {
    return dynamic_cast<T&>(*scene.FindNode(name)->GetObjectRef());
}

}  // namespace

TEST_F(SceneFile, SavingWhatWasLoadedGivesTheSameBytes) {
    Fill();
    std::string bytes = Save(scene);
    SceneReadResult again = Load(bytes);
    ASSERT_TRUE(again) << again.error;
    EXPECT_EQ(Save(*again.scene), bytes);
}

TEST_F(SceneFile, NodesComeBack) {
    Fill();
    std::unique_ptr<Scene> again = Again(scene);
    const INode& tree = *again->FindNode("tree");
    EXPECT_EQ(tree.GetLocalTM(), Matrix3::Translation({1, 2, 3}));
    EXPECT_EQ(tree.GetObjectOffset(), scene.FindNode("tree")->GetObjectOffset());
    EXPECT_EQ(tree.GetLayer(), "trees");
    EXPECT_TRUE(again->FindLayer("trees")->frozen);
    EXPECT_EQ(*tree.GetUserProperty("kind"), "Fichte ä");
    EXPECT_EQ(tree.wireColor, (Color{1, 0.5f, 0}));
    EXPECT_EQ(tree.id, 7);
    const INode& twin = *again->FindNode("twin");
    EXPECT_EQ(twin.GetParentNode(), &tree);
    EXPECT_EQ(twin.GetObjectRef(), tree.GetObjectRef());
    EXPECT_FALSE(twin.selectable);
    EXPECT_TRUE(twin.IsSelected());
    EXPECT_EQ(twin.GetLocalTM(80).GetTrans(), (Point3{0.5f, 0, 0}));
    EXPECT_EQ(twin.GetLocalTM(240).GetTrans(), (Point3{0.5f, 0, 0}));
}

TEST_F(SceneFile, HandlesStayAndNewNodesGetFreshOnes) {
    Fill();
    scene.DeleteNode(*scene.FindNode("dummy"));
    NodeHandle group = scene.FindNode("group")->GetHandle(), last = scene.LastHandle();
    std::unique_ptr<Scene> again = Again(scene);
    ASSERT_TRUE(again->FindHandle(group));
    EXPECT_EQ(again->FindHandle(group)->GetName(), "group");
    EXPECT_EQ(again->AddNode("new", nullptr)->GetHandle(), last + 1);
}

TEST_F(SceneFile, ParentsMayBeYoungerThanTheirChildren) {
    INode* child = scene.AddNode("child", nullptr);
    INode* parent = scene.AddNode("parent", nullptr);
    INode* elder = scene.AddNode("elder", nullptr, parent);
    parent->AttachChild(std::static_pointer_cast<INode>(child->shared_from_this()));
    std::unique_ptr<Scene> again = Again(scene);
    const INode& above = *again->FindNode("parent");
    ASSERT_EQ(above.NumberOfChildren(), 2);
    EXPECT_EQ(above.GetChildNode(0)->GetName(), elder->GetName());
    EXPECT_EQ(above.GetChildNode(1)->GetName(), child->GetName());
}

TEST_F(SceneFile, ObjectsComeBack) {
    Fill();
    std::unique_ptr<Scene> again = Again(scene);
    EXPECT_EQ(*ObjectOf<TriObject>(*again, "tree").GetMesh(),
              *ObjectOf<TriObject>(scene, "tree").GetMesh());
    EXPECT_EQ(ObjectOf<ShapeObject>(*again, "path").shape,
              ObjectOf<ShapeObject>(scene, "path").shape);
    const auto& camera = ObjectOf<CameraObject>(*again, "eye");
    EXPECT_EQ(camera.fovDegrees.At(0), 33);
    EXPECT_EQ(camera.GetTargetNode(), again->FindNode("tree"));
    EXPECT_EQ(again->RenderCamera(), again->FindNode("eye"));
    const auto& light = ObjectOf<LightObject>(*again, "lamp");
    EXPECT_EQ(light.kind, LightKind::kSpot);
    EXPECT_TRUE(dynamic_cast<ShadowMapType*>(light.shadowType.Get()));
    const auto& sparks = ObjectOf<ParticleObject>(*again, "sparks");
    ASSERT_EQ(sparks.particles->size(), 2u);
    EXPECT_EQ(sparks.particles.Get()[0],
              ObjectOf<ParticleObject>(scene, "sparks").particles.Get()[0]);
    EXPECT_EQ(sparks.GetEvent(0), again->FindNode("tree"));
}

TEST_F(SceneFile, ParametersComeBackWithTheirKeys) {
    auto type = std::make_shared<ShadowMapType>();
    type->Block().SetValue(ShadowMapType::kSize, 0, 777);
    ParamTrack track;
    track.keys = {{0, 1.5f}, {160, 2.5f}};
    bool isAnimated = type->Block().SetTrack(ShadowMapType::kBias, track);
    auto light = std::make_shared<LightObject>();
    light->shadowType = type;
    scene.AddNode("lamp", light);
    std::unique_ptr<Scene> again = Again(scene);
    auto& block =
        dynamic_cast<ShadowMapType&>(*ObjectOf<LightObject>(*again, "lamp").shadowType.Get())
            .Block();
    EXPECT_EQ(block.GetInt(ShadowMapType::kSize), 777);
    ASSERT_TRUE(isAnimated);
    EXPECT_EQ(block.GetFloat(ShadowMapType::kBias, 80), 2);
}

TEST_F(SceneFile, MaterialsAndMapsComeBack) {
    Fill();
    std::unique_ptr<Scene> again = Again(scene);
    auto& both = dynamic_cast<MultiMtl&>(*again->FindNode("tree")->GetMtl());
    EXPECT_EQ(again->Materials().at("both").get(), &both);
    ASSERT_EQ(both.NumSubMtls(), 3);
    auto& bark = dynamic_cast<StandardMtl&>(*both.GetSubMtl(0));
    EXPECT_EQ(again->Materials().at("bark").get(), &bark);
    EXPECT_EQ(bark.diffuse, (Color{0.25f, 0.5f, 0.75f}));
    auto& noise = dynamic_cast<NoiseTex&>(*bark.diffuseMap.Get());
    EXPECT_EQ(noise.levels, 5);
    EXPECT_EQ(noise.tiling, (Point2{2, 3}));
    EXPECT_EQ(noise.RotationDegrees(), 30);
    EXPECT_EQ(both.GetSubMtl(1), nullptr);
    auto& metal = dynamic_cast<PhysicalMtl&>(*both.GetSubMtl(2));
    EXPECT_EQ(metal.metallic, 0.5f);
    auto& picture = dynamic_cast<BitmapTex&>(*metal.normalMap.Get());
    ASSERT_TRUE(picture.Image());
    EXPECT_EQ(std::get<std::vector<uint8_t>>(picture.Image()->Values()),
              (std::vector<uint8_t>{1, 2, 3, 4, 5, 6}));
}

TEST_F(SceneFile, SettingsComeBack) {
    Fill();
    scene.render.Edit([](SceneRenderSettings& r) { r.width = 99, r.renderer = "scanline"; });
    std::unique_ptr<Scene> again = Again(scene);
    EXPECT_EQ(again->unitScale, 0.01);
    EXPECT_EQ(again->timeRange, (TimeRange{160, 3200}));
    EXPECT_EQ(again->GetTime(), 320);
    EXPECT_EQ(again->render, scene.render);
    EXPECT_EQ(again->View(), scene.View());
}

TEST_F(SceneFile, ShapesAndModelsAreMadeAgain) {
    PrimitiveOrigin box{"box", 1, 2, 3, 0, 0};
    scene.AddNode("box", std::make_shared<TriObject>(loaders->MakePrimitive(box), box));
    folder.Write("model.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    FileOrigin file;
    file.file = folder.File("model.obj");
    LoadedModel model = loaders->LoadMesh(file, 1, folder.File("."), nullptr);
    ASSERT_TRUE(model.mesh) << model.error;
    scene.AddNode("model", std::make_shared<TriObject>(model.mesh, file));
    std::string bytes = Save(scene);
    EXPECT_EQ(bytes.find(folder.File("")), std::string::npos) << "a path of this machine";
    std::unique_ptr<Scene> again = Load(bytes).scene;
    ASSERT_TRUE(again);
    EXPECT_EQ(ObjectOf<TriObject>(*again, "box").GetMesh()->verts,
              ObjectOf<TriObject>(scene, "box").GetMesh()->verts);
    EXPECT_EQ(ObjectOf<TriObject>(*again, "model").GetMesh()->verts, model.mesh->verts);
    std::remove(file.file.c_str());
    SceneReadResult without = Load(bytes);
    EXPECT_FALSE(without);
    EXPECT_EQ(without.errorClass, DescriptionErrorClass::kMissingInput);
    EXPECT_NE(without.error.find("model.obj"), std::string::npos) << without.error;
}

TEST_F(SceneFile, NothingOfLoadingCanBeUndone) {
    Fill();
    std::string bytes = Save(scene);
    scene.undo.Begin();
    SceneReadResult again = Load(bytes);
    scene.undo.Accept("nothing");
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
}

TEST_F(SceneFile, IsToldByItsStart) {
    std::vector<std::string> warnings;
    std::string error;
    EXPECT_TRUE(SaveSceneFile(scene, folder.File("s.dscene"), storage, &warnings, &error)) << error;
    EXPECT_EQ(folder.Read("s.dscene"), Save(scene));
    EXPECT_TRUE(IsSceneFile(folder.File("s.dscene")));
    folder.Write("a.json", "{}");
    EXPECT_FALSE(IsSceneFile(folder.File("a.json")));
    EXPECT_FALSE(IsSceneFile(folder.File("none")));
}

TEST_F(SceneFile, AFileThatCannotBeWrittenIsLeftAlone) {
    std::vector<std::string> warnings;
    std::string error;
    EXPECT_FALSE(SaveSceneFile(scene, folder.File("none/s.dscene"), storage, &warnings, &error));
    EXPECT_FALSE(error.empty());
}

TEST_F(SceneFile, SavingCanBeWatchedAndCancelled) {
    Fill();
    TempFolder folder;
    std::vector<std::string> warnings;
    std::string error;
    std::string path = folder.Write("a.scene", "the old one");
    WorkWatch watch;
    watch.Cancel();
    EXPECT_FALSE(SaveSceneFile(scene, path, storage, &warnings, &error, &watch));
    EXPECT_EQ(error, path + ": cancelled");
    EXPECT_EQ(folder.Read("a.scene"), "the old one");
    WorkWatch another;
    ASSERT_TRUE(SaveSceneFile(scene, path, storage, &warnings, &error, &another)) << error;
    EXPECT_GT(another.Share(), 0.5f);
    EXPECT_TRUE(IsSceneFile(path));
}

TEST_F(SceneFile, NodesThatComeBackByThemselvesAreLeftOut) {
    Fill();
    std::string bytes = Save(scene);
    INode* guest = scene.AddNode("guest", std::make_shared<TriObject>());
    guest->isTransient = true;
    NodeHandle handle = guest->GetHandle();
    scene.Select({{guest, scene.FindNode("twin")}});
    std::unique_ptr<Scene> again = Again(scene);
    EXPECT_EQ(again->FindNode("guest"), nullptr);
    EXPECT_EQ(again->Nodes().size() + 1, scene.Nodes().size());
    EXPECT_EQ(again->Selection().size(), 1u);
    EXPECT_GE(again->LastHandle(), handle);
}
