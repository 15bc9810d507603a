// Sequences of pictures: what moves is seen to move, what stands still does not.
#include <cmath>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>

#include "tests/host/io/fbx_text.h"
#include "tests/host/io/gltf_builder.h"
#include "tests/host/io/point_cache_bytes.h"
#include "tests/run_program.h"

using testing::HasSubstr;

namespace {

class Frames : public testing::Test {
protected:
    // A box at this place over scattered ones.
    void Write(const char* name, const std::string& position) const {
        m_folder.Write(name, R"({"dravin_scene": 1, "ticks_per_frame": 200, "nodes": [
  {"name": "ground", "type": "plane", "width": 20, "length": 20},
  {"name": "tree", "type": "box", "width": 1, "length": 1, "height": 2, "hidden": true},
  {"name": "cart", "type": "box", "width": 4, "length": 4, "height": 4, "position": )" +
                                 position + R"(},
  {"name": "eye", "type": "camera", "position": [0, -30, 20], "rotation": [55, 0, 0]},
  {"name": "wood", "type": "dravin", "params": {"surflist": ["ground"], "units_x": 5},
   "geometry": [{"name": "tree", "object": "tree"}]}]})");
    }
    ProgramRun Render(const std::string& arguments) const {
        std::string text =
            DRAVIN_BINARY_DIR "/apps/dravin/dravin render --size 48x27 --samples 2 " + arguments;
        return RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
    }
    std::string Bytes(const char* name) const {
        std::ifstream file(m_folder.File(name), std::ios::binary);
        std::stringstream bytes;
        bytes << file.rdbuf();
        return bytes.str();
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(Frames, ShowWhatStandsThereAtTheirTimes) {
    Write("s.json", R"({"keys": [[200, [-6, 0, 0]], [600, [6, 0, 0]]]})");
    ProgramRun run = Render("s.json --frames 0-3 -o walk.png");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(Bytes("walk.0000.png"), Bytes("walk.0001.png"));
    EXPECT_NE(Bytes("walk.0001.png"), Bytes("walk.0002.png"));
    EXPECT_NE(Bytes("walk.0002.png"), Bytes("walk.0003.png"));
    EXPECT_TRUE(Bytes("walk.png").empty());
    // A frame is the picture of its time.
    EXPECT_EQ(Render("s.json --time 400 -o one.png").code, 0);
    EXPECT_EQ(Bytes("one.png"), Bytes("walk.0002.png"));
}

TEST_F(Frames, TheSceneOrAnOptionNamesTheRenderer) {
    Write("s.json", "[2, 0, 0]");
    ASSERT_EQ(Render("s.json -o traced.png").code, 0);
    ProgramRun run = Render("s.json --renderer scanline -o scanned.png");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("scanned.png: 48 x 27, 2 samples, 16384 instances"));
    EXPECT_NE(Bytes("traced.png"), Bytes("scanned.png"));
    std::string scene = m_folder.Read("s.json");
    m_folder.Write("named.json", scene.insert(1, R"("render": {"renderer": "scanline"},)"));
    EXPECT_EQ(Render("named.json --threads 1 -o named.png").code, 0);
    EXPECT_EQ(Bytes("named.png"), Bytes("scanned.png"));
    EXPECT_EQ(Render("named.json --renderer raytrace -o again.png").code, 0);
    EXPECT_EQ(Bytes("again.png"), Bytes("traced.png"));
    run = Render("s.json --renderer fast -o none.png");
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.err, HasSubstr("--renderer"));
    EXPECT_EQ(Render("s.json --renderer scanline --frames 1-2 -o walk.png").code, 0);
    EXPECT_EQ(Bytes("walk.0002.png"), Bytes("scanned.png"));
}

TEST_F(Frames, AViewportShowsWhatItsParametersSay) {
    Write("s.json", "[2, 0, 0]");
    ProgramRun run = Render("s.json --renderer viewport -o view.png");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("view.png: 48 x 27, 16384 of 16384 items in view"));
    std::string scene = m_folder.Read("s.json");
    m_folder.Write("named.json", scene.insert(1, R"("render": {"renderer": "viewport"},)"));
    EXPECT_EQ(Render("named.json --threads 1 -o named.png").code, 0);
    EXPECT_EQ(Bytes("named.png"), Bytes("view.png"));
    EXPECT_EQ(Render("s.json --renderer viewport --display boxes -o boxes.png").code, 0);
    EXPECT_NE(Bytes("boxes.png"), Bytes("view.png"));
    run = Render("s.json --renderer viewport --display points --elements 1000 -o thin.png");
    EXPECT_THAT(run.err, HasSubstr("of 16384 items in view"));
    EXPECT_NE(Bytes("thin.png"), Bytes("view.png"));
    EXPECT_THAT(Render("s.json --renderer viewport --pick 24,13 -o v.exr").out, HasSubstr(" at "));
    EXPECT_EQ(Render("s.json --renderer viewport --pick 24 -o v.png").code, 2);
    EXPECT_THAT(Render("s.json --display boxes -o traced.png").err,
                HasSubstr("--display counts for --renderer viewport only"));
    EXPECT_EQ(Render("s.json --renderer viewport --frames 1-2 -o walk.png").code, 0);
    EXPECT_FALSE(Bytes("walk.0002.png").empty());
}

TEST_F(Frames, ShadowMapsThatCannotBeAreTold) {
    Write("s.json", "[2, 0, 0]");
    std::string scene = m_folder.Read("s.json");
    size_t place = scene.find("[", scene.find("nodes")) + 1;
    auto render = [&](const char* shadow) {
        std::string text = scene;
        m_folder.Write("lit.json",
                       text.insert(place, std::string(R"({"name": "sun", "type": "light",
            "rotation": [40, 0, 30], "shadow": )") +
                                              shadow + "}, "));
        return Render("lit.json --renderer scanline -o lit.png");
    };
    EXPECT_THAT(render(R"({"type": "XShadow", "size": 0})").err,
                HasSubstr("the size of its shadow map is 0"));
    ProgramRun run = render(R"({"type": "shadow_map", "size": 999999})");
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("999999 x 999999 pixels takes 3999.99 GB"));
    EXPECT_EQ(render(R"({"type": "XShadow", "size": 128})").err.find("warning"), std::string::npos);
}

TEST_F(Frames, AStillSceneStandsStill) {
    Write("s.json", "[2, 0, 0]");
    ProgramRun run = Render("s.json --frames 7-8 -o still.png");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_FALSE(Bytes("still.0007.png").empty());
    EXPECT_EQ(Bytes("still.0007.png"), Bytes("still.0008.png"));
}

// A triangle that a point cache moves, and one that its file's animation moves: both stand in frame
// 0, walk up to frame 24 and rest then.
TEST_F(Frames, PointCachesAndAnimationsMoveMeshes) {
    m_folder.Write("walk.pc2", Pc2Bytes(3, 0, 24, 2,
                                        {0, 0, 0, 9, 0, 0, 0, 0, 9,  //
                                         9, 0, 0, 18, 0, 0, 9, 0, 9}));
    FbxText file;
    file.Animation("still");
    file.Curve(FbxText::kModel, "Lcl Translation", "d|X", 0, 0);
    file.Animation("walk");
    file.Curve(FbxText::kModel, "Lcl Translation", "d|X", 0, -2);
    m_folder.Write("walk.fbx", file.File());
    const std::string kScene = R"({"dravin_scene": 1, "ticks_per_frame": 200, "nodes": [
        {"name": "a", "type": "mesh", %},
        {"name": "eye", "type": "camera", "position": [0, -30, 5], "rotation": [90, 0, 0]}]})";
    const char* const kMeshes[] = {
        R"("vertices": [[0, 0, 0], [9, 0, 0], [0, 0, 9]], "faces": [[0, 1, 2]],
           "modifiers": [{"type": "point_cache", "file": "walk.pc2"}])",
        R"("file": "walk.fbx", "animation": "walk", "scale": [4, 4, 4])"};
    for (const char* mesh : kMeshes) {
        std::string scene = kScene;
        m_folder.Write("s.json", scene.replace(scene.find('%'), 1, mesh));
        ProgramRun run = Render("s.json --frames 23-25 -o a.png");
        ASSERT_EQ(run.code, 0) << run.err;
        EXPECT_TRUE(Bytes("a.0023.png") != Bytes("a.0024.png")) << mesh;
        EXPECT_TRUE(Bytes("a.0024.png") == Bytes("a.0025.png")) << mesh;
    }
}

// A tree that its file's animation bends: items show it as it stands at the time of each picture.
TEST_F(Frames, AnAnimatedModelIsScatteredAsItMoves) {
    GltfBuilder file;
    int places = file.Floats({0, 0, 0, 2, 0, 0, 0, 3, 0}, "VEC3");
    int times = file.Floats({0, 1}, "SCALAR");  // seconds
    int turns = file.Floats({0, 0, 0, 1, 0, 0, std::sqrt(0.5f), std::sqrt(0.5f)}, "VEC4");
    m_folder.Write("tree.gltf",
                   file.File(fmt::format(
                       R"("nodes":[{{"name":"tree","mesh":0}}],"scenes":[{{"nodes":[0]}}],
           "meshes":[{{"primitives":[{{"attributes":{{"POSITION":{}}}}}]}}],
           "animations":[{{"name":"bend","samplers":[{{"input":{},"output":{}}}],
             "channels":[{{"sampler":0,"target":{{"node":0,"path":"rotation"}}}}]}}])",
                       places, times, turns)));
    m_folder.Write("s.json", R"({"dravin_scene": 1, "nodes": [
        {"name": "ground", "type": "plane", "width": 20, "length": 20},
        {"name": "tree", "type": "mesh", "file": "tree.gltf", "hidden": true},
        {"name": "eye", "type": "camera", "position": [0, -30, 20], "rotation": [55, 0, 0]},
        {"name": "wood", "type": "dravin",
         "params": {"surflist": ["ground"], "units_x": 5, "animation": 1},
         "geometry": [{"name": "tree", "object": "tree"}]}]})");
    ProgramRun run = Render("s.json --frames 1-3 -o walk.png");
    ASSERT_EQ(run.code, 0) << run.err;
    std::vector<std::string> pictures;
    for (const char* name : {"walk.0001.png", "walk.0002.png", "walk.0003.png"}) {
        pictures.push_back(Bytes(name));
        EXPECT_FALSE(pictures.back().empty()) << name;
    }
    EXPECT_NE(pictures[0], pictures[1]);
    EXPECT_NE(pictures[1], pictures[2]);
    EXPECT_TRUE(Bytes("walk.0000.png").empty());
    EXPECT_TRUE(Bytes("walk.0004.png").empty());
}

TEST_F(Frames, NonsenseIsRefused) {
    Write("s.json", "[0, 0, 0]");
    for (const char* frames : {"3-1", "a-b", "-4", "1-", "1-2-3", "1-99999999"}) {
        ProgramRun run = Render(std::string("s.json -o a.png --frames=") + frames);
        EXPECT_EQ(run.code, 2) << frames;
        EXPECT_THAT(run.err, HasSubstr("FIRST-LAST")) << frames;
    }
    EXPECT_EQ(Render("s.json -o a.png --frames 1-2 --time 3").code, 2);
}

TEST_F(Frames, NoFrameGoesOverAnInput) {
    Write("s.json", "[0, 0, 0]");
    std::string script = m_folder.File("s.0001.png");
    std::ofstream(script) << "not to be lost";
    m_folder.Write("t.json", R"({"dravin_scene": 1, "texmaps": {"m": {"type": "bitmap", "file":
        "s.0001.png"}}, "nodes": []})");
    ProgramRun run = Render("t.json --frames 1-1 -o s.png");
    EXPECT_NE(run.code, 0);
    EXPECT_EQ(Bytes("s.0001.png"), "not to be lost");
}
