// Objects of other scene files, shown in a scene.
#include <algorithm>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tests/run_program.h"

using testing::HasSubstr;

namespace {

const char kLibrary[] = R"({"dravin_scene": 1,
 "materials": {"leaf": {"type": "standard", "diffuse": [0, 0.5, 0]}},
 "nodes": [
  {"name": "oak", "type": "box", "width": 1, "length": 1, "height": 2, "material": "leaf",
   "position": [500, 0, 0]},
  {"name": "sun", "type": "light"},
  {"name": "nothing", "type": "dummy"},
  {"name": "ring", "type": "spline",
   "lines": [{"closed": true, "points": [[0,0,0],[30,0,0],[30,30,0],[0,30,0]]}]},
  {"name": "floor", "type": "plane", "width": 4, "length": 4},
  {"name": "copse", "type": "dravin",
   "params": {"surflist": ["floor"], "units_x": 20, "units_y": 20, "pixels_x": 10, "pixels_y": 10},
   "geometry": [{"name": "oak", "object": "oak"}]}]})";

std::string SceneWith(const std::string& file, const std::string& object) {
    return R"({"dravin_scene": 1, "nodes": [
  {"name": "ground", "type": "plane", "width": 40, "length": 40},
  {"name": "tree", "type": "external", "file": ")" +
           file + R"(", "object": ")" + object + R"(", "hidden": true},
  {"name": "edge", "type": "external", "file": "library.json", "object": "ring"},
  {"name": "Wood", "type": "dravin",
   "params": {"surflist": ["ground"], "units_x": 40, "units_y": 40, "pixels_x": 10, "pixels_y": 10},
   "areas": [{"name": "in", "type": "spline", "node": "edge"}],
   "geometry": [{"name": "oak", "object": "tree"}]}]})";
}

class ExternalScene : public testing::Test {
protected:
    ExternalScene() {
        m_folder.Write("library.json", kLibrary);
        m_folder.Write("scene.json", SceneWith("library.json", "oak"));
    }
    ProgramRun Dravin(const std::string& arguments) const {
        std::string text = DRAVIN_BINARY_DIR "/apps/dravin/dravin " + arguments;
        return RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
    }
    // Of the items, as text; the height is the object's, so that it tells which one is shown.
    std::string Build(const std::string& scene) const {
        ProgramRun run = Dravin("build " + scene + " -o items.csv --fields position,height");
        EXPECT_EQ(run.code, 0) << run.err;
        return m_folder.Read("items.csv");
    }
    void ExpectError(const std::string& file, const std::string& object,
                     const std::string& text) const {
        m_folder.Write("bad.json", SceneWith(file, object));
        ProgramRun run = Dravin("build bad.json -o items.csv");
        EXPECT_NE(run.code, 0) << object;
        EXPECT_THAT(run.err, HasSubstr(text));
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(ExternalScene, ObjectsAreSourcesAndOutlines) {
    // A plain scene with the same nodes of its own.
    nlohmann::json plain = nlohmann::json::parse(SceneWith("library.json", "oak"));
    plain["nodes"][1] = nlohmann::json::parse(
        R"({"name": "tree", "type": "box", "width": 1, "length": 1, "height": 2, "hidden": true})");
    plain["nodes"][2] = nlohmann::json::parse(kLibrary)["nodes"][3];
    plain["nodes"][2]["name"] = "edge";
    m_folder.Write("plain.json", plain.dump());
    std::string items = Build("scene.json");
    EXPECT_GT(std::count(items.begin(), items.end(), '\n'), 10);
    EXPECT_EQ(items, Build("plain.json"));
}

TEST_F(ExternalScene, BothFormsOfFilesAreReadAndWritten) {
    std::string items = Build("scene.json");
    ASSERT_EQ(Dravin("convert library.json library.max").code, 0);
    m_folder.Write("scene.json", SceneWith("library.max", "oak"));
    EXPECT_EQ(Build("scene.json"), items);
    ASSERT_EQ(Dravin("convert scene.json scene.max").code, 0);
    EXPECT_EQ(Build("scene.max"), items);
    ASSERT_EQ(Dravin("convert scene.max back.json").code, 0);
    auto back = nlohmann::json::parse(m_folder.Read("back.json"));
    EXPECT_EQ(back["nodes"][1]["file"], "library.max");
    EXPECT_EQ(back["nodes"][1]["object"], "oak");
}

TEST_F(ExternalScene, WhatTheOtherFileChangesIsShown) {
    std::string items = Build("scene.json");
    auto library = nlohmann::json::parse(kLibrary);
    library["nodes"][0]["height"] = 7;
    m_folder.Write("library.json", library.dump());
    EXPECT_NE(Build("scene.json"), items);
}

TEST_F(ExternalScene, AScatterObjectIsASource) {
    m_folder.Write("scene.json", SceneWith("library.json", "copse"));
    ProgramRun run = Dravin("info scene.json");
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, testing::Not(HasSubstr("copse"))) << "it is none of this scene";
    // Oaks of height 2 stand on its floor.
    EXPECT_THAT(Build("scene.json"), HasSubstr(",2\n"));
}

TEST_F(ExternalScene, AMaterialComesWithIt) {
    ProgramRun run = Dravin("build scene.json -o wood.gltf");
    ASSERT_EQ(run.code, 0) << run.err;
    auto gltf = nlohmann::json::parse(m_folder.Read("wood.gltf"));
    // The display colour 0.5 in linear light: ((0.5 + 0.055) / 1.055) ^ 2.4.
    EXPECT_NEAR(gltf["materials"][0]["pbrMetallicRoughness"]["baseColorFactor"][1].get<double>(),
                0.21404, 1e-4);
}

TEST_F(ExternalScene, UnitsThatDifferAreTold) {
    auto library = nlohmann::json::parse(kLibrary);
    library["unit_scale"] = 0.01;
    m_folder.Write("library.json", library.dump());
    EXPECT_THAT(Dravin("build scene.json").err, HasSubstr("a scale of 0.01 at the node"));
}

TEST_F(ExternalScene, WhatCannotBeShownIsAnError) {
    ExpectError("library.json", "oka", "there is no node \"oka\", did you mean \"oak\"?");
    ExpectError("library.json", "sun", "is neither geometry nor a spline");
    ExpectError("library.json", "nothing", "is neither geometry nor a spline");
    ExpectError("nowhere.json", "oak", "nowhere.json");
    ExpectError("bad.json", "tree", "the scene shows an object of itself");
    m_folder.Write("broken.max", "DSCN what is this");
    ExpectError("broken.max", "oak", "broken.max");
}
