// `dravin convert`: between scene files and scene descriptions, without loss.
#include <filesystem>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tests/run_program.h"

using testing::HasSubstr;

namespace {

// Something of everything that a description can hold.
const char kScene[] = R"({"dravin_scene": 1, "unit_scale": 0.01, "time": 320,
 "render": {"width": 64, "height": 48, "camera": "eye", "samples": 3},
 "view": {"transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,9]], "fov": 50},
 "layers": {"trees": {"frozen": true}},
 "texmaps": {
   "grey": {"type": "color", "color": [1, 1, 1]},
   "spots": {"type": "noise", "size": 3, "levels": 4, "seed": 2, "tiling": [2, 3], "rotation": 30},
   "tint": {"type": "DravinColor", "channel": 2, "tiling": [3, 1]}},
 "materials": {
   "bark": {"type": "standard", "diffuse": [0.1, 0.2, 0.3], "diffuse_map": "spots"},
   "metal": {"type": "physical", "metallic": 0.5},
   "item": {"type": "DravinMat", "material1": "bark"},
   "all": {"type": "multi", "sub": ["bark", null, "metal"]}},
 "nodes": [
   {"name": "ground", "type": "plane", "width": 40, "length": 40, "material": "all"},
   {"name": "hull", "type": "mesh", "vertices": [[0,0,0],[1,0,0],[0,1,0],[0,0,1]],
    "faces": [[0,1,2],[0,2,3]], "material_ids": [0, 2],
    "channels": {"1": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2],[0,1,2]]}}},
   {"name": "tree", "type": "box", "width": 1, "length": 1, "height": 2, "hidden": true,
    "casts_shadows": false, "layer": "trees", "id": 4, "user_properties": {"kind": "Tanne"}},
   {"name": "crown", "type": "sphere", "radius": 1, "parent": "tree",
    "position": {"keys": [[0, [0, 0, 0]], [160, [1, 0, 0]]], "after": "cycle"},
    "object_offset": {"scale": [2, 2, 2]}},
   {"name": "way", "type": "spline", "steps": 3,
    "lines": [{"closed": true, "knots": [{"p": [0,0,0], "out": [1,0,0]}, {"p": [9,0,0]},
                                         {"p": [9,9,0], "in": [0,-1,0]}]}],
    "modifiers": [{"type": "DravinLeaf", "enabled": false}]},
   {"name": "eye", "type": "camera", "fov": {"keys": [[0, 40], [160, 60]]}, "target": "tree",
    "position": [0, -30, 20]},
   {"name": "sun", "type": "light", "kind": "spot", "color": [1, 0.9, 0.8],
    "shadow_exclude": ["hull", "tree"]},
   {"name": "sparks", "type": "particles",
    "particles": [{"position": [1, 2, 3], "age": 5, "event": "tree"}]},
   {"name": "levels", "type": "lod", "levels": [{"name": "near", "object": "tree", "distance": 5}]},
   {"name": "wood", "type": "dravin",
    "params": {"surflist": ["ground"], "distmap": "grey", "units_x": 8, "units_y": 8,
               "pixels_x": 10, "pixels_y": 10, "seed": 7, "tintmap": "tint",
               "transxmin": {"keys": [[0, 1], [160, 3]]}},
    "geometry": [{"name": "tree", "object": "tree", "material": "item", "probability": 30},
                 {"name": "levels", "object": "levels"}],
    "areas": [{"name": "in", "type": "spline", "node": "way"},
              {"type": "paint", "include": false, "polygons": [[[0, 0], [3, 0], [0, 3]]]}],
    "effects": [{"name": "tall", "program": "{dpItem.scale.z = 2;}",
                 "parameters": [{"name": "how", "kind": "curve", "value": [0, 1]}]}],
    "curves": {"slope_density": [{"px": 0, "py": 80}, {"px": 1, "py": 20, "inx": -0.25}]}},
   {"name": "edited", "type": "dravin", "params": {"mode": 1},
    "geometry": [{"name": "tree", "object": "tree"}],
    "items": [{"stored_position": [1, 2, 0], "seed": 3},
              {"stored_position": [4, 5, 0], "seed": 6, "size_factor": [1, 2, 3]}]}]})";

class ConvertCommand : public testing::Test {
protected:
    ConvertCommand() { m_folder.Write("scene.json", kScene); }
    ProgramRun Dravin(const std::string& arguments) const {
        std::string text = DRAVIN_BINARY_DIR "/apps/dravin/dravin " + arguments;
        return RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
    }
    void Run(const std::string& arguments) const {
        ProgramRun run = Dravin(arguments);
        ASSERT_EQ(run.code, 0) << arguments << "\n" << run.err;
        EXPECT_THAT(run.err, testing::Not(HasSubstr("cannot hold"))) << run.err;
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(ConvertCommand, ThereAndBackIsTheSame) {
    Run("convert scene.json once.json");  // in the words of the writer
    Run("convert once.json scene.dscene");
    Run("convert scene.dscene again.json");
    // Objects that have been saved know their names.
    auto read = [this](const char* name) {
        auto scene = nlohmann::ordered_json::parse(m_folder.Read(name));
        for (auto& node : scene["nodes"])
            for (const char* key : {"renderid", "savedversion"})
                if (node.contains("params")) node["params"].erase(key);
        return scene.dump(2);
    };
    EXPECT_EQ(read("once.json"), read("again.json"));
    Run("convert again.json second.dscene");
    Run("convert scene.dscene third.max");
    EXPECT_EQ(m_folder.Read("third.max"), m_folder.Read("scene.dscene"));
}

TEST_F(ConvertCommand, BothFormsBuildTheSameItems) {
    Run("convert scene.json scene.dscene");
    Run("build scene.json --fields all --time 80 -o json.csv");
    Run("build scene.dscene --fields all --time 80 -o file.csv");
    EXPECT_EQ(m_folder.Read("file.csv"), m_folder.Read("json.csv"));
    EXPECT_THAT(m_folder.Read("json.csv"), HasSubstr("\nwood,"));
    EXPECT_THAT(m_folder.Read("json.csv"), HasSubstr("\nedited,"));
}

TEST_F(ConvertCommand, WhatDescriptionsCannotHoldIsTold) {
    ProgramRun run = Dravin("edit scene.json --do 'scene.select nodes=tree' -o chosen.dscene");
    ASSERT_EQ(run.code, 0) << run.err;
    run = Dravin("convert chosen.dscene chosen.json");
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.err, HasSubstr("cannot hold which nodes are selected: \"tree\""));
}

TEST_F(ConvertCommand, DamagedFilesAreMalformed) {
    Run("convert scene.json scene.dscene");
    std::string bytes = m_folder.Read("scene.dscene");
    m_folder.Write("cut.dscene", bytes.substr(0, bytes.size() / 2));
    ProgramRun run = Dravin("convert cut.dscene out.json");
    EXPECT_EQ(run.code, 4);
    EXPECT_THAT(run.err, HasSubstr("cut.dscene"));
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("out.json")));
    EXPECT_EQ(Dravin("convert none.dscene out.json").code, 3);
    EXPECT_EQ(Dravin("convert scene.json").code, 2);
    EXPECT_EQ(Dravin("convert scene.json no/folder/x.dscene").code, 6);
}
