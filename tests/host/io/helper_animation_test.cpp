// Animations of the formats that the import helper reads, and animations chosen by name.
#include <cmath>

#include <gmock/gmock.h>

#include "tests/host/io/fbx_text.h"
#include "tests/host/io/gltf_builder.h"
#include "tests/host/io/import_testing.h"

using testing::HasSubstr;

namespace {

JoinedModel Join(const std::string& text, const ImportOptions& options = {},
                 const std::string& name = "a.fbx") {
    TempFolder folder;
    ImportError error;
    JoinedModel model = ImportJoined(folder.Write(name, text), "", options, &error);
    EXPECT_TRUE(model.mesh) << error.text;
    return model;
}

std::vector<Point3> At(const JoinedModel& model, TimeValue t, Interval* valid = nullptr) {
    return model.animation->MeshAt(t, valid)->verts;
}

// Two animations: one walks along y, which is up, one turns a quarter about z.
std::string WalkAndTurn() {
    FbxText file;
    file.Animation("walk");
    file.Curve(FbxText::kModel, "Lcl Translation", "d|Y", 0, 4);
    file.Animation("turn");
    file.Curve(FbxText::kModel, "Lcl Rotation", "d|Z", 0, 90);
    return file.File();
}

ImportOptions Wanting(const std::string& animation) {
    ImportOptions options;
    options.animation = animation;
    return options;
}

}  // namespace

TEST(HelperAnimations, NodesMoveAlongTheirKeys) {
    JoinedModel model = Join(WalkAndTurn());
    ASSERT_TRUE(model.animation);
    ExpectNear(model.mesh->verts, {{0, 0, 0}, {1, 0, 0}, {0, 0, 2}}, 1e-6f);
    ExpectNear(At(model, 2400), {{0, 0, 2}, {1, 0, 2}, {0, 0, 4}}, 1e-5f);
    Interval valid = Interval::Forever();
    ExpectNear(At(model, 9999, &valid), {{0, 0, 4}, {1, 0, 4}, {0, 0, 6}}, 1e-5f);
    EXPECT_EQ(valid, (Interval{4800, kTimePosInfinity}));
    valid = Interval::Forever();
    ExpectNear(At(model, -5, &valid), model.mesh->verts, 1e-6f);
    EXPECT_EQ(valid, (Interval{kTimeNegInfinity, 0}));
}

TEST(HelperAnimations, LengthsBecomeSceneUnits) {
    ImportOptions options;
    options.unitScale = 0.5;  // a metre is two units
    JoinedModel model = Join(WalkAndTurn(), options);
    ExpectNear(At(model, 2400), {{0, 0, 4}, {2, 0, 4}, {0, 0, 8}}, 1e-5f);
    options.keepNumbers = true;
    options.up = UpAxis::kZ;
    ExpectNear(At(Join(WalkAndTurn(), options), 2400), {{0, 2, 0}, {1, 2, 0}, {0, 4, 0}}, 1e-5f);
}

TEST(HelperAnimations, AreChosenByName) {
    JoinedModel turn = Join(WalkAndTurn(), Wanting("turn"));
    ASSERT_TRUE(turn.animation);
    // Half of a quarter: x goes to (h, h, 0) with y up; the tip at (0, 2, 0) to (-2h, 2h, 0).
    float h = std::sqrt(0.5f);
    ExpectNear(At(turn, 2400), {{0, 0, 0}, {h, 0, h}, {-2 * h, 0, 2 * h}}, 1e-5f);
    JoinedModel still = Join(WalkAndTurn(), Wanting("none"));
    EXPECT_FALSE(still.animation);
    EXPECT_TRUE(still.warnings.empty());
    ASSERT_EQ(turn.warnings.size(), 1u);
    EXPECT_THAT(turn.warnings[0], HasSubstr("left out: 1 further animation"));
}

TEST(HelperAnimations, UnknownNamesAreErrors) {
    auto error = [](const std::string& name, const std::string& text, const char* wanted) {
        TempFolder folder;
        ImportError failure;
        EXPECT_FALSE(ImportJoined(folder.Write(name, text), "", Wanting(wanted), &failure).mesh);
        return failure.text;
    };
    EXPECT_THAT(error("a.fbx", WalkAndTurn(), "wlak"),
                HasSubstr("a.fbx: no animation \"wlak\", did you mean \"walk\"?"));
    EXPECT_THAT(error("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", "walk"),
                HasSubstr("a.obj: no animation \"walk\"; the file has none"));
}

TEST(HelperAnimations, AreListed) {
    TempFolder folder;
    ImportedModel model = ImportText(folder, "a.fbx", WalkAndTurn());
    ASSERT_EQ(model.animations.size(), 2u);
    EXPECT_EQ(model.animations[0].name, "walk");
    EXPECT_NEAR(model.animations[0].seconds, 1, 1e-6);
    EXPECT_TRUE(model.animations[0].isRead);
    EXPECT_EQ(model.animations[1].name, "turn");
    EXPECT_FALSE(model.animations[1].isRead);
}

TEST(HelperAnimations, BonesBendTheirVertices) {
    FbxText file;
    const char* identity = "*16 { a: 1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1 }";
    file.Object(R"(Model: 210, "Model::root", "LimbNode" { Version: 232 })");
    file.Object(R"(Model: 220, "Model::tip", "LimbNode" { Version: 232 })");
    file.Object(R"(Deformer: 300, "Deformer::skin", "Skin" { Version: 101 })");
    auto cluster = [&](int id, int limb, const char* indices, const char* weights) {
        file.Object(fmt::format(R"(Deformer: {}, "SubDeformer::c", "Cluster" {{
        Indexes: {}
        Weights: {}
        Transform: {}
        TransformLink: {} }})",
                                id, indices, weights, identity, identity));
        file.Connect("OO", id, 300);
        file.Connect("OO", limb, id);
    };
    cluster(310, 210, "*2 { a: 0,1 }", "*2 { a: 1,0.5 }");
    cluster(320, 220, "*2 { a: 1,2 }", "*2 { a: 0.5,1 }");
    file.Connect("OO", 300, FbxText::kMesh);
    file.Connect("OO", 210, 0);
    file.Connect("OO", 220, 210);
    file.Animation("bend");
    file.Curve(220, "Lcl Translation", "d|X", 0, 8);
    JoinedModel model = Join(file.File());
    ASSERT_TRUE(model.animation);
    ExpectNear(model.mesh->verts, {{0, 0, 0}, {1, 0, 0}, {0, 0, 2}}, 1e-6f);
    // The tip goes 4 at half time, the vertex that both hold 2.
    ExpectNear(At(model, 2400), {{0, 0, 0}, {3, 0, 0}, {4, 0, 2}}, 1e-5f);
    EXPECT_TRUE(model.warnings.empty());
}

TEST(HelperAnimations, MorphTargetsMoveVerticesByTheirWeights) {
    FbxText file;
    file.Object(R"(Geometry: 110, "Geometry::up", "Shape" {
        Indexes: *1 { a: 2 }
        Vertices: *3 { a: 0,4,0 }
        Normals: *3 { a: 0,0,0 } })");
    file.Object(R"(Deformer: 300, "Deformer::shapes", "BlendShape" { Version: 100 })");
    file.Object(R"(Deformer: 310, "SubDeformer::up", "BlendShapeChannel" {
        DeformPercent: 0
        FullWeights: *1 { a: 100 } })");
    file.Connect("OO", 300, FbxText::kMesh);
    file.Connect("OO", 310, 300);
    file.Connect("OO", 110, 310);
    file.Animation("grow");
    file.Curve(310, "DeformPercent", "d|DeformPercent", 0, 100);
    JoinedModel model = Join(file.File());
    ASSERT_TRUE(model.animation);
    ExpectNear(model.mesh->verts, {{0, 0, 0}, {1, 0, 0}, {0, 0, 2}}, 1e-6f);
    ExpectNear(At(model, 1200), {{0, 0, 0}, {1, 0, 0}, {0, 0, 3}}, 1e-5f);
    ExpectNear(At(model, 4800), {{0, 0, 0}, {1, 0, 0}, {0, 0, 6}}, 1e-5f);
    EXPECT_TRUE(model.warnings.empty()) << model.warnings[0];
    // At rest they are left out.
    JoinedModel still = Join(file.File(), Wanting("none"));
    ASSERT_EQ(still.warnings.size(), 1u);
    EXPECT_THAT(still.warnings[0], HasSubstr("left out: 1 morph target"));
}

TEST(GltfAnimations, AreChosenByName) {
    GltfBuilder file;
    int positions = file.Floats(kTriangle, "VEC3"), times = file.Floats({0, 0.5f}, "SCALAR");
    int up = file.Floats({0, 0, 0, 0, 4, 0}, "VEC3"),
        side = file.Floats({0, 0, 0, 6, 0, 0}, "VEC3");
    std::string text = file.File(fmt::format(
        R"("nodes":[{{"name":"n","mesh":0}}],"scenes":[{{"nodes":[0]}}],"meshes":[{{"primitives":[{{
        "attributes":{{"POSITION":{0}}}}}]}}],"animations":[
        {{"name":"jump","samplers":[{{"input":{1},"output":{2}}}],
          "channels":[{{"sampler":0,"target":{{"node":0,"path":"translation"}}}}]}},
        {{"samplers":[{{"input":{1},"output":{3}}}],
          "channels":[{{"sampler":0,"target":{{"node":0,"path":"translation"}}}}]}}])",
        positions, times, up, side));
    EXPECT_EQ(At(Join(text, {}, "a.gltf"), 2400)[0], (Point3{0, 0, 4}));
    EXPECT_EQ(At(Join(text, Wanting("animation 1"), "a.gltf"), 2400)[0], (Point3{6, 0, 0}));
    EXPECT_FALSE(Join(text, Wanting("none"), "a.gltf").animation);
    TempFolder folder;
    ImportedModel model = ImportText(folder, "a.gltf", text, Wanting("jump"));
    ASSERT_EQ(model.animations.size(), 2u);
    EXPECT_EQ(model.animations[0].seconds, 0.5);
    EXPECT_TRUE(model.animations[0].isRead);
    EXPECT_EQ(model.animations[1].name, "animation 1");
    ImportError error;
    EXPECT_FALSE(ImportModel(folder.File("a.gltf"), Wanting("jmup"), &model, &error));
    EXPECT_THAT(error.text, HasSubstr("no animation \"jmup\", did you mean \"jump\"?"));
}
