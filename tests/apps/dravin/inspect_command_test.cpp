// The import report as the program gives it.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tests/host/io/fbx_text.h"
#include "tests/run_program.h"

using testing::HasSubstr;

namespace {

class Inspect : public testing::Test {
protected:
    Inspect() {
        m_folder.Write("tree.mtl", "newmtl bark\nmap_Kd bark.png\nmap_Bump rough.png\n");
        m_folder.Write("tree.obj",
                       "mtllib tree.mtl\nv 0 0 0\nv 1 0 0\nv 0 2 0\nvt 0 0\nvt 1 0\nvt 0 1\n"
                       "o tree\nusemtl bark\nf 1/1 2/2 3/3\n");
    }
    ProgramRun Dravin(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), DRAVIN_BINARY_DIR "/apps/dravin/dravin");
        return RunProgram(arguments, m_folder.File("."));
    }

    TempFolder m_folder;
};

}  // namespace

TEST_F(Inspect, JsonIsTheResult) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"inspect", "tree.obj", "--json"},
          std::vector<std::string>{"--json", "inspect", "tree.obj"}}) {
        ProgramRun run = Dravin(arguments);
        ASSERT_EQ(run.code, 0) << run.err;
        auto json = nlohmann::json::parse(run.out);
        EXPECT_EQ(json["dravin_model"], 1);
        EXPECT_EQ(json["format"], "OBJ");
        EXPECT_EQ(json["up"], "y");
        EXPECT_TRUE(json["metres_per_unit"].is_null());
        ASSERT_EQ(json["objects"].size(), 1u);
        EXPECT_EQ(json["objects"][0]["name"], "tree");
        // y of the file is up.
        EXPECT_EQ(json["objects"][0]["bounds"], nlohmann::json::parse("[[0,0,0],[1,0,2]]"));
        EXPECT_EQ(json["objects"][0]["channels"], nlohmann::json::parse("[1]"));
        EXPECT_EQ(json["materials"][0]["textures"][0]["found"], false);
        EXPECT_EQ(json["warnings"].size(), 2u);
    }
}

TEST_F(Inspect, TextNamesWhatIsMissing) {
    ProgramRun run = Dravin({"inspect", "tree.obj"});
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.out, HasSubstr("1 object, 3 vertices, 1 face, size 1 x 0 x 2, y up"));
    EXPECT_THAT(run.out, HasSubstr("diffuse: bark.png (missing)"));
    EXPECT_THAT(run.err, HasSubstr("warning: tree.obj: texture left out: "));
    EXPECT_THAT(run.err, HasSubstr("warning: tree.obj: left out: 1 bump map"));
}

TEST_F(Inspect, TellsAnimations) {
    FbxText file;
    file.Animation("walk");
    file.Curve(FbxText::kModel, "Lcl Translation", "d|X", 0, 1);
    file.Animation("turn");
    file.Curve(FbxText::kModel, "Lcl Rotation", "d|X", 0, 1);
    m_folder.Write("a.fbx", file.File());
    ProgramRun run = Dravin({"inspect", "a.fbx", "--json"});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(nlohmann::json::parse(run.out)["animations"],
              nlohmann::json::parse(R"([{"name": "walk", "seconds": 1.0, "read": true},
                                        {"name": "turn", "seconds": 1.0, "read": false}])"));
    EXPECT_THAT(Dravin({"inspect", "a.fbx"}).out,
                HasSubstr("animation \"walk\": 1 s\nanimation \"turn\": 1 s (not read)"));
    auto none = nlohmann::json::parse(Dravin({"inspect", "tree.obj", "--json"}).out);
    EXPECT_EQ(none["animations"], nlohmann::json::array());
}

TEST_F(Inspect, TheReportOfEveryImportIsInTheLog) {
    m_folder.Write("s.json", R"({"dravin_scene": 1, "nodes": [
        {"name": "t", "type": "mesh", "file": "tree.obj"},
        {"name": "f", "type": "dravin"}]})");
    ProgramRun quiet = Dravin({"info", "s.json"}),
               normal = Dravin({"info", "s.json", "--log-level", "normal"});
    EXPECT_THAT(normal.err, HasSubstr("tree.obj: OBJ, 1 object, 3 vertices, 1 face"));
    EXPECT_THAT(quiet.err, testing::Not(HasSubstr("OBJ, 1 object")));
    EXPECT_THAT(quiet.err, HasSubstr("left out: 1 bump map"));
}

// --- plug-in modules

TEST_F(Inspect, APluginTellsWhatItBrings) {
    ProgramRun run = Dravin({"inspect", TEST_PLUGIN});
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out,
                HasSubstr("Dravin Pro, plug-in for version 0x3e802a00 of the host, 10 classes"));
    EXPECT_THAT(run.out, HasSubstr("class TDravin \"Dravin Pro\": geometry object (0x10), id "
                                   "0x79fe41c2, 0x1d7b4fb1\n    interface 0x6afe7c5e, 0x15813e00"));
    EXPECT_THAT(run.out, HasSubstr("functions: LibDescription, LibNumberClasses"));
    EXPECT_THAT(run.out, HasSubstr("scatter proxies: calculateScatterProxy, getScatterProxyCount, "
                                   "getScatterProxy, freeScatterProxy"));
    run = Dravin({"inspect", TEST_PLUGIN, "--json"});
    ASSERT_EQ(run.code, 0) << run.err;
    auto json = nlohmann::json::parse(run.out);
    EXPECT_EQ(json["dravin_plugin"], 1);
    EXPECT_EQ(json["version"], "0x3e802a00");
    EXPECT_EQ(json["classes"].size(), 10u);
    EXPECT_EQ(json["classes"][2]["name"], "XShadow");
    EXPECT_EQ(json["classes"][2]["super_class_id"], "0x10d0");
    EXPECT_EQ(json["functions"].size(), 9u);
}

TEST_F(Inspect, ModulesThatAreNoPluginsAreTold) {
    m_folder.Write("text.so", "this is no module");
    struct {
        const char* file;
        int code;
        const char* text;
    } cases[] = {{TEST_MERE_LIBRARY, 4, "it has no function LibDescription"},
                 {TEST_OTHER_VERSION, 4, "for version 0x3e802a01 of the host, this is 0x3e802a00"},
                 {TEST_HALF_PLUGIN, 4, "it has no function LibShutdown"},
                 {TEST_CRASHING_PLUGIN, 4, "loading the module crashed"},
                 {"text.so", 4, "the plug-in does not load"},
                 {"nothing.so", 3, "there is no such file"},
                 {".", 3, "."}};
    for (const auto& c : cases) {
        ProgramRun run = Dravin({"inspect", c.file});
        EXPECT_EQ(run.code, c.code) << c.file << run.err;
        EXPECT_THAT(run.err, HasSubstr(c.text));
        EXPECT_EQ(run.out, "");
    }
}
