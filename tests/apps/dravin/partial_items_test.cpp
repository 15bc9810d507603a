// Items that stand across the border of their area: pictures and files show the parts inside.
#include <gtest/gtest.h>

#include <map>

#include <nlohmann/json.hpp>

#include "tests/run_program.h"

namespace {

// Sources of two unit triangles, 4 units from end to end, on a ground of 20 x 20 units.
class PartialItems : public testing::Test {
protected:
    void Write(const char* name, const std::string& scatter) const {
        m_folder.Write(name, R"({"dravin_scene": 1, "nodes": [
            {"name": "ground", "type": "plane", "width": 20, "length": 20},
            {"name": "outside", "type": "camera", "fov": 20, "position": [-12, 0, 8]},
            {"name": "inside", "type": "camera", "fov": 12, "position": [-9.5, 0, 8]},
            {"name": "pair", "type": "mesh", "hidden": true,
             "vertices": [[-2, 0, 0], [-1, 0, 0], [-2, 1, 1], [1, 0, 0], [2, 0, 0], [1, 1, 1]],
             "faces": [[0, 1, 2], [3, 4, 5]]})" +
                                 scatter + "]}");
    }
    void WriteScatter(const char* name, int check) const {
        Write(name, R"(, {"name": "trees", "type": "dravin",
            "params": {"surflist": ["ground"], "units_x": 10, "units_y": 10},
            "geometry": [{"name": "p", "kind": "custom", "object": "pair"}],
            "areas": [{"type": "surface", "boundary_check": )" +
                        std::to_string(check) + "}]}");
    }
    ProgramRun Dravin(const std::string& arguments) const {
        return RunProgram({"/bin/bash", "-c", DRAVIN_BINARY_DIR "/apps/dravin/dravin " + arguments},
                          m_folder.File("."));
    }
    // The picture that a camera makes of a scene, as bytes.
    std::string Picture(const std::string& scene, const char* camera) const {
        ProgramRun run = Dravin("render " + scene + " --camera " + camera +
                                " --size 48x27 --samples 4 -o picture.png");
        EXPECT_EQ(run.code, 0) << run.err;
        return m_folder.Read("picture.png");
    }
    // How many meshes of a file have this many corners.
    std::map<int, int> MeshesByCorners(const std::string& scene) const {
        ProgramRun run = Dravin("build " + scene + " -o items.gltf");
        EXPECT_EQ(run.code, 0) << run.err;
        auto file = nlohmann::json::parse(m_folder.Read("items.gltf"));
        std::map<int, int> meshes;
        for (const auto& mesh : file["meshes"])
            ++meshes[file["accessors"][int(mesh["primitives"][0]["indices"])]["count"]];
        return meshes;
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(PartialItems, PicturesShowThePartsInside) {
    Write("empty.json", "");
    WriteScatter("whole.json", 0);
    WriteScatter("cut.json", 2);
    // Beyond the border only what is not cut reaches into the view.
    std::string nothing = Picture("empty.json", "outside");
    EXPECT_NE(Picture("whole.json", "outside"), nothing);
    EXPECT_EQ(Picture("cut.json", "outside"), nothing);
    EXPECT_NE(Picture("cut.json", "inside"), Picture("empty.json", "inside"));
}

TEST_F(PartialItems, FilesHoldThePartsInside) {
    WriteScatter("whole.json", 0);
    EXPECT_EQ(MeshesByCorners("whole.json"), (std::map<int, int>{{6, 1}}));
    // Items that keep both triangles, those that keep the left one, and those that keep the right.
    WriteScatter("cut.json", 2);
    EXPECT_EQ(MeshesByCorners("cut.json"), (std::map<int, int>{{3, 2}, {6, 1}}));
}
