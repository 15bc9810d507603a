#include "host/io/scene_description.h"

#include <gmock/gmock.h>

#include "host/scene/host_context.h"
#include "host/scene/physical_material.h"
#include "host/scene/shadow_map.h"
#include "host/scene/texmaps.h"
#include "tests/comma_locale.h"
#include "tests/host/io/scene_testing.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

// One of everything that the host knows.
constexpr const char* kFull = R"({
  "dravin_scene": 1, // format
  "unit_scale": 0.01, "time": 320, "ticks_per_frame": 192,
  "render": {"width": 640, "height": 480, "camera": "cam", "renderer": "scanline"},
  "view": {"transform": [[1, 0, 0], [0, 1, 0], [0, 0, 1], [0, 0, 50]], "fov": 60},
  "layers": {"far": {"hidden": true, "renderable": false, "boxes": true}},
  "texmaps": {
    "white": {"type": "color", "color": [1, 1, 1]},
    "uv": {"type": "uvw", "channel": 2, "tiling": [2, 3], "offset": [0.5, 0]},
    "ramp": {"type": "gradient", "color1": [0, 0, 0], "color2": [1, 0.5, 0.25], "axis": "v"},
    "check": {"type": "checker", "color1": [1, 0, 0], "color2": [0, 0, 1]},
    "cloud": {"type": "noise", "size": 12.5, "levels": 4, "seed": 7}
  },
  "materials": {
    "all": {"type": "multi", "sub": ["bark", null, "leaf"]},
    "bark": {"type": "standard", "diffuse": [0.25, 0.5, 0.75], "diffuse_map": "ramp"},
    "leaf": {"type": "standard", "opacity": 0.5, "opacity_map": "check", "two_sided": true}
  },
  "nodes": [
    {"name": "house", "type": "group", "position": [1, 2, 3], "layer": "far", "id": 42},
    {"name": "quad", "type": "mesh", "parent": "house", "material": "all",
     "object_offset": {"position": [1, 0, 0], "rotation": [0, 0, 90], "scale": [2, 2, 2]},
     "vertices": [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]], "faces": [[0, 1, 2], [0, 2, 3]],
     "material_ids": [0, 2], "smoothing": [1, 1],
     "channels": {"1": {"vertices": [[0, 0, 0], [1, 0, 0], [1, 1, 0]], "faces": [[0, 1, 2], [0, 1, 2]]}}},
    {"name": "ground", "type": "plane", "width": 10, "length": 20, "segments": 2, "hidden": true,
     "renderable": false, "wire_color": [1, 0, 0], "user_properties": {"tag": "a b"}},
    {"name": "path", "type": "spline", "steps": 3, "lines": [
      {"closed": true, "points": [[0, 0, 0], [1, 0, 0], [1, 1, 0]]},
      {"knots": [{"p": [0, 0, 0], "out": [1, 0, 0]}, {"p": [3, 0, 0], "in": [-1, 1, 0]}]}]},
    {"name": "cam", "type": "camera", "fov": 50, "env_near": 5, "env_far": 90, "target": "aim"},
    {"name": "sun", "type": "light", "kind": "spot", "color": [1, 0.5, 0.5], "intensity": 2.5,
     "target": "aim", "shadows": false},
    {"name": "aim", "type": "dummy", "position": [0, 9, 0]},
    {"name": "rain", "type": "particles", "particles": [
      {"position": [1, 2, 3], "age": 160, "rotation": [10, 20, 30], "scale": [1, 2, 3],
       "speed": [0, 0, -1], "event": "aim"}, {"age": 5}, {"position": [0, 0, 0], "age": -1}]}
  ]
})";

}  // namespace

TEST(SceneDescription, ReadsEverythingThatTheHostKnows) {
    SceneReadResult result = ParseScene(kFull);
    ASSERT_TRUE(result) << result.error;
    Scene& scene = *result.scene;
    EXPECT_EQ(scene.unitScale, 0.01);
    EXPECT_EQ(scene.GetTime(), 320);
    EXPECT_EQ(scene.RenderCamera(), scene.FindNode("cam"));
    EXPECT_EQ(scene.View()->transform.GetTrans(), (Point3{0, 0, 50}));
    EXPECT_EQ(scene.Texmaps().at("uv")->tiling, (Point2{2, 3}));
    EXPECT_EQ(scene.FindNode("house")->id, 42);
    EXPECT_TRUE(scene.FindNode("house")->IsHidden());
    EXPECT_EQ(scene.Nodes().size(), 8u);
    EXPECT_TRUE(scene.FindNode("quad")->IsGroupMember());
    EXPECT_EQ(*scene.FindNode("ground")->GetUserProperty("tag"), "a b");
    EXPECT_TRUE(result.warnings.empty());
}

TEST(SceneDescription, PlacesNodesAndObjects) {
    SceneReadResult result = ParseScene(kFull);
    ASSERT_TRUE(result) << result.error;
    INode* quad = result.scene->FindNode("quad");
    // Offset: scaled by 2, turned by 90 degrees about z, moved by (1, 0, 0); then the group's
    // place.
    Point3 corner = Point3{1, 0, 0} * quad->GetObjectTM(0);
    EXPECT_NEAR(corner.x, 2, 1e-6);
    EXPECT_NEAR(corner.y, 4, 1e-6);
    EXPECT_NEAR(corner.z, 3, 1e-6);
    auto mesh = quad->GetObjectRef()->GetRenderMesh(0);
    EXPECT_EQ(mesh->faces[1].matID, 2);
    EXPECT_EQ(mesh->Map(1)->verts.size(), 3u);
    EXPECT_EQ(quad->GetMtl()->GetSubMtl(2), result.scene->Materials().at("leaf").get());
}

TEST(SceneDescription, ReadsSplinesAndParticles) {
    SceneReadResult result = ParseScene(kFull);
    ASSERT_TRUE(result) << result.error;
    auto* path = dynamic_cast<ShapeObject*>(result.scene->FindNode("path")->GetObjectRef());
    PolyShape shape = path->GetPolyShape(0);
    ASSERT_EQ(shape.lines.size(), 2u);
    EXPECT_EQ(shape.lines[0].points.size(), 3u);
    EXPECT_EQ(shape.lines[1].points.size(), 5u);
    auto* rain = dynamic_cast<ParticleObject*>(result.scene->FindNode("rain")->GetObjectRef());
    EXPECT_TRUE(rain->particles.Get()[0].Exists());
    EXPECT_FALSE(rain->particles.Get()[1].Exists());
    EXPECT_FALSE(rain->particles.Get()[2].Exists());
    EXPECT_EQ(rain->GetEvent(rain->particles.Get()[0].event), result.scene->FindNode("aim"));
}

TEST(SceneDescription, WritesWhatItReads) {
    SceneReadResult first = ParseScene(kFull);
    ASSERT_TRUE(first) << first.error;
    std::string text = WriteSceneDescription(*first.scene, ".", HostFormats());
    SceneReadResult second = ParseScene(text);
    ASSERT_TRUE(second) << second.error << text;
    EXPECT_EQ(WriteSceneDescription(*second.scene, ".", HostFormats()), text);
    INode* quad = second.scene->FindNode("quad");
    EXPECT_EQ(*quad->GetObjectRef()->GetRenderMesh(0),
              *first.scene->FindNode("quad")->GetObjectRef()->GetRenderMesh(0));
    EXPECT_EQ(quad->GetObjectTM(0), first.scene->FindNode("quad")->GetObjectTM(0));
    EXPECT_EQ(second.scene->unitScale, 0.01);
    EXPECT_FALSE(second.scene->FindLayer("far")->renderable);
    EXPECT_TRUE(second.scene->FindLayer("far")->boxes);
    auto* sun = dynamic_cast<LightObject*>(second.scene->FindNode("sun")->GetObjectRef());
    EXPECT_EQ(sun->kind, LightKind::kSpot);
    EXPECT_FALSE(sun->shadows);
}

TEST(SceneDescription, DefaultsOfASceneWithNothing) {
    SceneReadResult result = ParseScene("{\"dravin_scene\": 1}");
    ASSERT_TRUE(result) << result.error;
    EXPECT_EQ(result.scene->unitScale, 1.0);
    EXPECT_EQ(result.scene->ticksPerFrame, 160);
    EXPECT_EQ(result.scene->render->width, 1280);
    EXPECT_FALSE(result.scene->View());
    EXPECT_TRUE(result.scene->Nodes().empty());
}

TEST(SceneDescription, BadInputNamesItsPlace) {
    HostContext session;
    struct Case {
        const char* nodes;
        const char* error;
    };
    const Case cases[] = {
        {R"({"name": "a", "type": "shpere"})",
         "s.json:1:53: /nodes/0/type: unknown type \"shpere\", did you mean \"sphere\"?"},
        {R"({"name": "a", "type": "box", "widht": 3})",
         "/nodes/0/widht: unknown key \"widht\", did you mean \"width\"?"},
        {R"({"name": "a", "type": "box", "width": "3"})", "expected a number, found \"3\""},
        {R"({"name": "a", "type": "box", "width": 1e300})", "single precision"},
        {R"({"name": "a", "type": "box", "width": 1e999})", "/nodes/0/width: the number 1e999"},
        {R"({"name": "a", "type": "box", "width": NaN})", "s.json:1:"},
        {R"({"name": "a", "type": "box", "width": Infinity})", "s.json:1:"},
        {R"({"name": "a", "type": "box", "name": "b"})", "the key stands twice"},
        {R"({"type": "box"})", "/nodes/0: the key \"name\" is missing"},
        {R"({"name": "a"})", "/nodes/0: the key \"type\" is missing"},
        {R"({"name": "", "type": "box"})", "a node needs a name"},
        {R"({"name": "a", "type": "box"}, {"name": "a", "type": "box"})",
         "/nodes/1/name: the name \"a\" stands twice"},
        {R"({"name": "a", "type": "box", "parent": "a"})", "cannot be its own parent"},
        {R"({"name": "a", "type": "box", "parent": "b"}, {"name": "b", "type": "box", "parent": "a"})",
         "/nodes/0/parent: the parent \"b\" stands after its child"},
        {R"({"name": "tree", "type": "box"}, {"name": "b", "type": "box", "parent": "treee"})",
         "no node is named \"treee\", did you mean \"tree\"?"},
        {R"({"name": "a", "type": "box", "material": "gold"})", "no material is named \"gold\""},
        {R"({"name": "a", "type": "box", "transform": [[1, 0, 0], [0, 1, 0], [0, 0, 1]]})",
         "expected a matrix of four rows"},
        {R"({"name": "a", "type": "box", "position": [1, 2]})", "expected three numbers"},
        {R"({"name": "a", "type": "box", "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,0]], "scale": [1,1,1]})",
         "exclude each other"},
        {R"({"name": "a", "type": "box", "id": 1.5})", "expected a whole number, found 1.5"},
        {R"({"name": "a", "type": "mesh", "vertices": [[0,0,0]], "faces": [[0,1,2]]})", "index"},
        {R"({"name": "a", "type": "mesh", "vertices": [[0,0,0]], "faces": [[0,-1,0]]})",
         "/nodes/0/faces/0/1: expected a whole number"},
        {R"({"name": "a", "type": "mesh", "vertices": [], "faces": [], "material_ids": [1]})",
         "expected one number a face (0), found 1"},
        {R"({"name": "a", "type": "mesh", "file": "nothing.obj"})", "nothing.obj"},
        {R"({"name": "a", "type": "camera", "target": "x"})", "no node is named \"x\""},
        {R"({"name": "a", "type": "camera", "fov": 180})", "between 0 and 180"},
        {R"({"name": "a", "type": "light", "kind": "area"})", "expected one of \"directional\""},
        {R"({"name": "a", "type": "light", "shadow": {}})", "the key \"type\" is missing"},
        {R"({"name": "a", "type": "light", "shadow": {"type": "shadow_mop"}})",
         "/nodes/0/shadow/type: unknown shadow type \"shadow_mop\", did you mean \"shadow_map\"?"},
        {R"({"name": "a", "type": "light", "shadow": {"type": "shadow_map", "sise": 8}})",
         "did you mean \"size\"?"},
        {R"({"name": "a", "type": "light", "shadow": {"type": "shadow_map", "size": "big"}})",
         "/nodes/0/shadow/size: "},
        {R"({"name": "a", "type": "spline", "lines": [{}]})", "either \"points\" or \"knots\""},
        {R"({"name": "a", "type": "particles", "particles": [{"event": "q"}]})",
         "/nodes/0/particles/0/event: no node is named \"q\""},
        {R"([])", "/nodes/0: expected an object"},
    };
    for (const Case& c : cases) {
        SceneReadResult result = ParseNodes(c.nodes);
        EXPECT_FALSE(result) << c.nodes;
        EXPECT_THAT(result.error, HasSubstr(c.error)) << c.nodes;
        EXPECT_THAT(result.error, StartsWith("s.json:")) << c.nodes;
    }
}

TEST(SceneDescription, LightsChooseHowTheyCastShadows) {
    HostContext session;
    auto read = ParseNodes(R"({"name": "plain", "type": "light"},
      {"name": "sun", "type": "light", "shadow": {"type": "shadow_map", "size": 64, "bias": 0.25,
       "sample": {"keys": [[0, 1], [100, 3]]}, "absolute": true}})");
    ASSERT_TRUE(read) << read.error;
    auto light = [&](const char* name) {
        return static_cast<LightObject*>(read.scene->FindNode(name)->GetObjectRef());
    };
    EXPECT_FALSE(light("plain")->shadowType);
    auto* map = dynamic_cast<ShadowMapType*>(light("sun")->shadowType.Get());
    ASSERT_TRUE(map);
    EXPECT_EQ(map->MapSize(0), 64);
    EXPECT_EQ(map->Block().GetFloat(ShadowMapType::kBias), 0.25f);
    EXPECT_EQ(map->Block().GetFloat(ShadowMapType::kSample, 50), 2);
    EXPECT_TRUE(map->Block().GetBool(ShadowMapType::kAbsolute));
    std::string text = WriteSceneDescription(*read.scene, ".", HostFormats());
    auto second = ParseScene(text);
    ASSERT_TRUE(second) << second.error;
    EXPECT_EQ(WriteSceneDescription(*second.scene, ".", HostFormats()), text);
    EXPECT_THAT(text, HasSubstr("\"shadow_map\""));
}

TEST(SceneDescription, BadSettings) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "s.json:1:1: "},
        {"[]", "expected an object"},
        {"{}", "the key \"dravin_scene\" is missing"},
        {"{\"dravin_scene\": 2}", "format version 2 is not known, expected 1"},
        {"{\"dravin_scene\": \"1\"}", "expected a whole number"},
        {"{\"dravin_scene\": 1, \"unit_scale\": 0}", "above 0"},
        {"{\"dravin_scene\": 1, \"ticks_per_frame\": 0}", "above 0"},
        {"{\"dravin_scene\": 1, \"node\": []}", "did you mean \"nodes\"?"},
        {"{\"dravin_scene\": 1, \"render\": {\"width\": -5}}", "/render/width: expected"},
        {"{\"dravin_scene\": 1, \"texmaps\": {\"a\": {\"type\": \"wood\"}}}",
         "unknown type \"wood\""},
        {"{\"dravin_scene\": 1, \"texmaps\": {\"a\": {\"type\": \"color\", \"axis\": \"u\"}}}",
         "unknown key \"axis\""},
        {"{\"dravin_scene\": 1, \"materials\": {\"a\": {\"type\": \"standard\", \"diffuse_map\": "
         "\"m\"}}}",
         "no texture map is named \"m\""},
        {"{\"dravin_scene\": 1,}", "s.json:1:"},
        {"{\"dravin_scene\": 1} x", "s.json:1:"},
    };
    for (const auto& [text, error] : cases) {
        SceneReadResult result = ParseScene(text);
        EXPECT_EQ(result.errorClass, DescriptionErrorClass::kMalformed) << text;
        EXPECT_THAT(result.error, HasSubstr(error)) << text;
    }
}

TEST(SceneDescription, RenderCameraMustBeACamera) {
    SceneReadResult result = ParseScene(
        R"({"dravin_scene": 1, "render": {"camera": "a"}, "nodes": [{"name": "a", "type": "box"}]})");
    EXPECT_THAT(result.error, HasSubstr("/render/camera: the node \"a\" is no camera"));
}

TEST(SceneDescription, MaterialsMayNotHoldThemselves) {
    SceneReadResult result = ParseScene(R"({"dravin_scene": 1, "materials": {
        "a": {"type": "multi", "sub": ["b"]}, "b": {"type": "multi", "sub": [null, "a"]}}})");
    EXPECT_THAT(result.error, HasSubstr("/materials/a: the material \"a\" holds itself"));
}

TEST(SceneDescription, NestingIsLimited) {
    std::string deep =
        "{\"dravin_scene\": 1, \"nodes\": " + std::string(100, '[') + std::string(100, ']') + "}";
    SceneReadResult result = ParseScene(deep);
    EXPECT_EQ(result.errorClass, DescriptionErrorClass::kMalformed);
    EXPECT_THAT(result.error, HasSubstr("nested more than 64 levels deep"));
    EXPECT_FALSE(ParseScene(std::string(1000000, '[')));
}

TEST(SceneDescription, LimitsHaveAClassOfTheirOwn) {
    SceneReadResult result = ParseNodes(R"({"name": "a", "type": "sphere", "segments": 100000})");
    EXPECT_EQ(result.errorClass, DescriptionErrorClass::kLimit);
    EXPECT_THAT(result.error, HasSubstr("100000 segments are more than the limit of 4096"));
}

TEST(SceneDescription, MissingFilesHaveAClassOfTheirOwn) {
    TemporaryFolder folder;
    for (const char* name : {"gone.png", ".", ""}) {
        SceneReadResult result =
            ParseScene(R"({"dravin_scene": 1, "texmaps": {"t": {"type": "bitmap", "file": ")" +
                           std::string(name) + R"("}}})",
                       HostFormats(), folder.Path());
        EXPECT_FALSE(result);
        EXPECT_EQ(result.errorClass,
                  *name ? DescriptionErrorClass::kMissingInput : DescriptionErrorClass::kMalformed);
        EXPECT_THAT(result.error, HasSubstr("/texmaps/t/file: "));
    }
    EXPECT_EQ(ReadSceneDescription(folder / "no.json", HostFormats()).errorClass,
              DescriptionErrorClass::kMissingInput);
}

TEST(SceneDescription, FilesAreRelativeToTheDescription) {
    TemporaryFolder folder;
    std::filesystem::create_directory(folder / "models");
    folder.Write("models/tri.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    std::string path = folder.Write("scene.json", R"({"dravin_scene": 1, "nodes": [
        {"name": "t", "type": "mesh", "file": "models\\tri.obj"}]})");
    SceneReadResult result = ReadSceneDescription(path, HostFormats());
    ASSERT_TRUE(result) << result.error;
    EXPECT_EQ(result.scene->path, path);
    EXPECT_EQ(result.scene->FindNode("t")->GetObjectRef()->GetRenderMesh(0)->NumFaces(), 1u);
    std::string error, copy = folder / "models/copy.json";
    ASSERT_TRUE(SaveSceneDescription(*result.scene, copy, HostFormats(), &error)) << error;
    SceneReadResult again = ReadSceneDescription(copy, HostFormats());
    ASSERT_TRUE(again) << again.error;
    EXPECT_TRUE(again.warnings.empty());
}

TEST(SceneDescription, FilesOutsideTheFolderAreWarnedAbout) {
    TemporaryFolder folder;
    std::filesystem::create_directory(folder / "inner");
    folder.Write("tri.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    SceneReadResult result = ParseScene(
        R"({"dravin_scene": 1, "nodes": [{"name": "t", "type": "mesh", "file": "../tri.obj"}]})",
        HostFormats(), folder / "inner");
    ASSERT_TRUE(result) << result.error;
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_THAT(result.warnings[0], HasSubstr("/nodes/0/file: "));
    EXPECT_THAT(result.warnings[0], HasSubstr("outside the scene's folder"));
}

TEST(SceneDescription, LinksOutOfTheFolderAreWarnedAbout) {
    TemporaryFolder folder;
    std::filesystem::create_directory(folder / "inner");
    folder.Write("tri.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    std::filesystem::create_symlink(folder / "tri.obj", folder / "inner/link.obj");
    SceneReadResult result = ParseScene(
        R"({"dravin_scene": 1, "nodes": [{"name": "t", "type": "mesh", "file": "link.obj"}]})",
        HostFormats(), folder / "inner");
    ASSERT_TRUE(result) << result.error;
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_THAT(result.warnings[0], HasSubstr("is a link that leads outside the scene's folder"));
}

TEST(SceneDescription, MeshFilesHaveAnUpAxisAndAUnit) {
    TemporaryFolder folder;
    folder.Write("tri.obj", "v 0 0 0\nv 2 0 0\nv 0 3 0\nf 1 2 3\n");
    // A glTF of the same triangle, in metres: 2, 0, 0 and 0, 3, 0 as floats.
    folder.Write("tri.gltf",
                 R"({"asset":{"version":"2.0"},"nodes":[{"mesh":0}],"meshes":[{"primitives":[
        {"attributes":{"POSITION":0}}]}],"accessors":[{"bufferView":0,"componentType":5126,
        "count":3,"type":"VEC3"}],"bufferViews":[{"buffer":0,"byteLength":36}],"buffers":[
        {"byteLength":36,"uri":"data:application/octet-stream;base64,)"
                 R"(AAAAAAAAAAAAAAAAAAAAQAAAAAAAAAAAAAAAAAAAQEAAAAAA"}]})");
    auto size = [&](const std::string& keys) {
        SceneReadResult result =
            ParseScene(R"({"dravin_scene": 1, "unit_scale": 0.01, "nodes": [{"name": "t",
                       "type": "mesh", )" +
                           keys + "}]}",
                       HostFormats(), folder.Path());
        EXPECT_TRUE(result) << result.error;
        if (!result) return Point3{};
        // What is read can be written, with the keys.
        std::string text = WriteSceneDescription(*result.scene, folder.Path(), HostFormats());
        SceneReadResult again = ParseScene(text, HostFormats(), folder.Path());
        auto width = [](const SceneReadResult& r) {
            return r.scene->FindNode("t")->GetObjectRef()->GetRenderMesh(0)->BoundingBox().Width();
        };
        EXPECT_EQ(width(again), width(result));
        return width(result);
    };
    EXPECT_EQ(size(R"("file": "tri.obj")"), (Point3{2, 0, 3}));
    EXPECT_EQ(size(R"("file": "tri.obj", "up": "z")"), (Point3{2, 3, 0}));
    EXPECT_EQ(size(R"("file": "tri.gltf")"), (Point3{200, 0, 300}));
    EXPECT_EQ(size(R"("file": "tri.gltf", "up": "z")"), (Point3{200, 300, 0}));
    EXPECT_EQ(size(R"("file": "tri.gltf", "units": "scene")"), (Point3{2, 0, 3}));
}

TEST(SceneDescription, WhatAModelLeavesOutIsWarnedAboutOnce) {
    TemporaryFolder folder;
    folder.Write("tri.obj", "v 0 0 0\nv 2 0 0\nv 0 3 0\nf 1 2 3\nl 1 2\n");
    SceneReadResult result = ParseScene(
        R"({"dravin_scene": 1, "nodes": [{"name": "a", "type": "mesh", "file": "tri.obj"},
            {"name": "b", "type": "mesh", "file": "tri.obj"}]})",
        SceneFormats(MakeSceneLoaders()), folder.Path());
    ASSERT_TRUE(result) << result.error;
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_THAT(result.warnings[0], HasSubstr("/nodes/0/file: "));
    EXPECT_THAT(result.warnings[0], HasSubstr("tri.obj: left out: 1 line"));
}

TEST(SceneDescription, MaterialsKeepCutoffFactorAndVertexColours) {
    SceneReadResult result = ParseScene(
        R"({"dravin_scene": 1, "texmaps": {"t": {"type": "uvw", "rotation": 30}},
            "materials": {"m": {"type": "standard", "opacity_cutoff": 0.25,
            "map_factor": [1, 0.5, 0], "vertex_colors": true}}})");
    ASSERT_TRUE(result) << result.error;
    SceneReadResult again = ParseScene(WriteSceneDescription(*result.scene, ".", HostFormats()));
    ASSERT_TRUE(again) << again.error;
    auto& m = dynamic_cast<StandardMtl&>(*again.scene->Materials().at("m"));
    EXPECT_EQ(m.opacityCutoff, 0.25f);
    EXPECT_EQ(m.mapFactor, (Color{1, 0.5f, 0}));
    EXPECT_TRUE(m.vertexColors);
    EXPECT_EQ(again.scene->Texmaps().at("t")->RotationDegrees(), 30);
}

TEST(SceneDescription, PhysicalMaterialsComeBack) {
    SceneReadResult result = ParseScene(
        R"({"dravin_scene": 1, "texmaps": {"t": {"type": "uvw"}, "n": {"type": "uvw"}},
            "materials": {"m": {"type": "physical", "diffuse": [1, 0.5, 0], "two_sided": true,
            "metallic": 1, "roughness": 0.25, "metallic_roughness_map": "t", "normal_map": "n",
            "normal_scale": 0.5, "emission": [0, 0, 1], "emission_strength": 2,
            "emission_map": "t", "opacity_cutoff": 0.5}}})");
    ASSERT_TRUE(result) << result.error;
    SceneReadResult again = ParseScene(WriteSceneDescription(*result.scene, ".", HostFormats()));
    ASSERT_TRUE(again) << again.error;
    auto& m = dynamic_cast<PhysicalMtl&>(*again.scene->Materials().at("m"));
    EXPECT_EQ(m.diffuse, (Color{1, 0.5f, 0}));
    EXPECT_TRUE(m.twoSided);
    EXPECT_EQ(m.metallic, 1);
    EXPECT_EQ(m.roughness, 0.25f);
    EXPECT_EQ(m.metallicRoughnessMap.Get(), again.scene->Texmaps().at("t").get());
    EXPECT_EQ(m.normalMap.Get(), again.scene->Texmaps().at("n").get());
    EXPECT_EQ(m.normalScale, 0.5f);
    EXPECT_EQ(m.emission, (Color{0, 0, 1}));
    EXPECT_EQ(m.emissionStrength, 2);
    EXPECT_EQ(m.emissionMap.Get(), again.scene->Texmaps().at("t").get());
    EXPECT_EQ(m.opacityCutoff, 0.5f);
    SceneReadResult wrong =
        ParseScene(R"({"dravin_scene": 1, "materials": {"m": {"type": "physical", "ripple": 1}}})");
    EXPECT_FALSE(wrong);
    EXPECT_THAT(wrong.error, HasSubstr("/materials/m"));
}

TEST(SceneDescription, SavingToAPlaceThatCannotBeWrittenFails) {
    SceneReadResult result = ParseScene("{\"dravin_scene\": 1}");
    std::string error;
    EXPECT_FALSE(SaveSceneDescription(*result.scene, "/nowhere/x.json", HostFormats(), &error));
    EXPECT_THAT(error, HasSubstr("/nowhere"));
}

TEST(SceneDescription, DamagedTextNeverCrashes) {
    std::string text = kFull;
    for (size_t n = 0; n + 1 < text.size(); ++n) EXPECT_FALSE(ParseScene(text.substr(0, n))) << n;
    const char* junk[] = {"null", "\"x\"", "[]", "{}", "-1", "1e30"};
    for (size_t at = text.find(": "); at != std::string::npos; at = text.find(": ", at + 1))
        for (const char* value : junk) {
            std::string damaged = text;
            size_t end = damaged.find_first_of(",}]\n", at);
            ParseScene(damaged.replace(at + 2, end - at - 2, value));
        }
}

TEST(SceneDescription, DecimalCommasOfTheLocaleDoNotMatter) {
    CommaLocale comma;
    SceneReadResult result =
        ParseNodes(R"({"name": "a", "type": "plane", "width": 12345.625, "id": 1234567})");
    ASSERT_TRUE(result) << result.error;
    std::string text = WriteSceneDescription(*result.scene, ".", HostFormats());
    EXPECT_THAT(text, HasSubstr("\"width\": 12345.625"));
    EXPECT_THAT(text, HasSubstr("\"id\": 1234567"));
}

TEST(SceneDescription, ReadingIsNoUndoStep) {
    HostContext context;
    context.Undo().Begin();
    SceneReadResult result = ParseScene(kFull);
    context.Undo().Accept("Open");
    EXPECT_TRUE(result);
    EXPECT_EQ(context.Undo().NumUndoSteps(), 0u);
}

TEST(SceneDescription, ByteOrderMarksAreSkipped) {
    EXPECT_TRUE(ParseScene("\xEF\xBB\xBF{\"dravin_scene\": 1}"));
}

TEST(SceneDescription, AllThirtyTwoSmoothingGroupsRoundTrip) {
    SceneReadResult result = ParseNodes(R"({"name": "m", "type": "mesh",
        "vertices": [[0, 0, 0], [1, 0, 0], [0, 1, 0]], "faces": [[0, 1, 2]],
        "smoothing": [2147483649]})");
    ASSERT_TRUE(result) << result.error;
    SceneReadResult again = ParseScene(WriteSceneDescription(*result.scene, ".", HostFormats()));
    ASSERT_TRUE(again) << again.error;
    Object* object = again.scene->FindNode("m")->GetObjectRef();
    EXPECT_EQ(object->GetRenderMesh(0)->faces[0].smGroup, 0x80000001u);
    EXPECT_FALSE(ParseNodes(R"({"name": "m", "type": "mesh",
        "vertices": [[0, 0, 0], [1, 0, 0], [0, 1, 0]], "faces": [[0, 1, 2]],
        "smoothing": [4294967296]})"));
}

// --- animation

TEST(SceneDescription, AnimatedValuesAreReadAndWritten) {
    SceneReadResult first = ParseNodes(R"(
      {"name": "cart", "type": "dummy",
       "position": {"keys": [[0, [0, 0, 0]], [100, [10, 0, 0]]], "after": "cycle"},
       "rotation": {"keys": [[0, [0, 0, 0]], [100, [0, 0, 720]]]},
       "scale": [2, 2, 2],
       "hidden": {"keys": [[0, false], [50, true]], "interpolation": "step"}},
      {"name": "vane", "type": "dummy",
       "rotation": {"keys": [[0, [0, 0, 0, 1]], [100, [0, 0, 1, 0]]]}},
      {"name": "eye", "type": "camera",
       "fov": {"keys": [[0, 40, 0, 6], [100, 60, -3, 0]], "interpolation": "bezier"}},
      {"name": "sun", "type": "light", "intensity": {"keys": [[0, 1], [100, 3]]},
       "color": {"keys": [[0, [1, 1, 1]], [100, [0, 1, 1]]], "before": "cycle"}})");
    ASSERT_TRUE(first) << first.error;
    std::string text = WriteSceneDescription(*first.scene, ".", HostFormats());
    SceneReadResult second = ParseScene(text);
    ASSERT_TRUE(second) << second.error;
    EXPECT_EQ(WriteSceneDescription(*second.scene, ".", HostFormats()), text);
    for (Scene* scene : {first.scene.get(), second.scene.get()}) {
        INode* cart = scene->FindNode("cart");
        // A quarter of two whole turns, scaled; the position starts anew after 100 ticks.
        Matrix3 place = cart->GetNodeTM(25);
        EXPECT_TRUE(
            place.Equals(Matrix3{{{-2, 0, 0}, {0, -2, 0}, {0, 0, 2}, {2.5f, 0, 0}}}, 1e-5f));
        EXPECT_NEAR(cart->GetNodeTM(130).GetTrans().x, 3, 1e-6);
        EXPECT_FALSE(cart->IsHidden(49));
        EXPECT_TRUE(cart->IsHidden(50));
        Matrix3 vane = scene->FindNode("vane")->GetNodeTM(50);
        EXPECT_TRUE(vane.Equals(Matrix3::RotationZ(1.5707963f), 1e-5f));
        auto* eye = dynamic_cast<CameraObject*>(scene->FindNode("eye")->GetObjectRef());
        // (40 + 3 * 46 + 3 * 57 + 60) / 8
        EXPECT_FLOAT_EQ(eye->fovDegrees.At(50), 409.0f / 8);
        auto* sun = dynamic_cast<LightObject*>(scene->FindNode("sun")->GetObjectRef());
        EXPECT_EQ(sun->intensity.At(50), 2);
        EXPECT_EQ(sun->color.At(-25).r, 0.25f);
    }
}

TEST(SceneDescription, BadKeysAreRefusedInPlace) {
    auto error = [](const std::string& value) {
        return ParseNodes("{\"name\": \"a\", \"type\": \"dummy\", \"position\": " + value + "}")
            .error;
    };
    EXPECT_THAT(error(R"({"keys": []})"), HasSubstr("expected {\"keys\""));
    EXPECT_THAT(error(R"({"keys": [[0, [0, 0, 0]], [0, [1, 0, 0]]]})"),
                HasSubstr("/nodes/0/position/keys/1/0: key times must rise"));
    EXPECT_THAT(error(R"({"keys": [[0, 5]]})"), HasSubstr("/nodes/0/position/keys/0/1"));
    EXPECT_THAT(error(R"({"keys": [[0, [0, 0, 0], [0, 0, 0], [0, 0, 0]]]})"),
                HasSubstr("expected [ticks, value]"));
    EXPECT_THAT(error(R"({"keys": [[0, [0, 0, 0]]], "interpolation": "smooth"})"),
                HasSubstr("interpolation"));
    EXPECT_THAT(error(R"({"keys": [[0, [0, 0, 0]]], "befor": "hold"})"), HasSubstr("before"));
}

TEST(SceneDescription, SavingIsAnnounced) {
    HostContext session;
    TemporaryFolder folder;
    std::vector<HostNotify> heard;
    for (HostNotify notice : {HostNotify::kFilePreSave, HostNotify::kFilePostSave})
        session.notifications.Register(notice, [&](HostNotify n, INode*) { heard.push_back(n); });
    std::string error;
    EXPECT_TRUE(SaveSceneDescription(Scene(), folder / "s.json", HostFormats(), &error)) << error;
    EXPECT_EQ(heard, (std::vector{HostNotify::kFilePreSave, HostNotify::kFilePostSave}));
}
