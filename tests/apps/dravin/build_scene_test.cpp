// Scenes that go through the whole program: described in a file, built, written as items.
#include <gtest/gtest.h>

#include <fstream>

#include <nlohmann/json.hpp>

#include "tests/run_program.h"

namespace {

using Json = nlohmann::json;

class BuildScene : public testing::Test {
protected:
    // The result of `dravin build` on a scene of a 20 x 20 ground, a unit box and these nodes.
    Json Build(const std::string& nodes) const {
        m_folder.Write("s.json", R"({"dravin_scene": 1, "nodes": [
            {"name": "ground", "type": "plane", "width": 20, "length": 20},
            {"name": "box", "type": "box", "width": 1, "length": 1, "height": 1}, )" +
                                     nodes + "]}");
        ProgramRun run = RunProgram({DRAVIN_BINARY_DIR "/apps/dravin/dravin", "build", "s.json",
                                     "--fields", "all", "-o", "items.json"},
                                    m_folder.File("."));
        EXPECT_EQ(run.code, 0) << run.err;
        std::ifstream file(m_folder.File("items.json"));
        return Json::parse(file);
    }
    TempFolder m_folder;
};

TEST_F(BuildScene, HandEditedItemsAreTheResult) {
    Json built = Build(R"({"name": "hand", "type": "dravin",
        "params": {"mode": 1, "surflist": ["ground"]},
        "geometry": [{"name": "b", "kind": "custom", "object": "box"}],
        "items": [{"stored_position": [1, 2, 3], "seed": 7, "user_id": 5},
                  {"stored_position": [-4, 0, 0], "seed": 8, "size_factor": [2, 3, 4]}]})");
    EXPECT_EQ(built["status"], 0);
    ASSERT_EQ(built["items"].size(), 2u);
    EXPECT_EQ(built["items"][0]["position"], Json({1, 2, 0}));  // dropped onto the ground
    EXPECT_EQ(built["items"][0]["stored_position"], Json({1, 2, 3}));
    EXPECT_EQ(built["items"][0]["user_id"], 5);
    EXPECT_EQ(built["items"][1]["seed"], 8);
    EXPECT_EQ(built["items"][1]["width"], 2);
    EXPECT_EQ(built["items"][1]["depth"], 3);
    EXPECT_EQ(built["items"][1]["height"], 4);
}

TEST_F(BuildScene, PartsBeyondTheBorderOfAnAreaAreMasked) {
    // A source of two unit triangles, 4 units from end to end, at the border of a 20 x 20 area.
    Json built = Build(R"({"name": "pair", "type": "mesh",
            "vertices": [[-2, 0, 0], [-1, 0, 0], [-2, 1, 1], [1, 0, 0], [2, 0, 0], [1, 1, 1]],
            "faces": [[0, 1, 2], [3, 4, 5]]},
        {"name": "trees", "type": "dravin",
         "params": {"surflist": ["ground"], "units_x": 10, "units_y": 10},
         "geometry": [{"name": "p", "kind": "custom", "object": "pair"}],
         "areas": [{"type": "surface", "boundary_check": 2}]})");
    bool left = false, right = false;
    for (const Json& item : built["items"]) {
        float x = item["position"][0], y = item["position"][1];
        if (std::abs(y) > 5) continue;
        EXPECT_EQ(item["marked"], 1);
        EXPECT_EQ(item["partial"] == 1, std::abs(x) > 8) << x;
        if (item["partial"] == 0) continue;
        left |= x<0, right |= x> 0;
        // Centroids lie 5/3 to the left and 4/3 to the right of the item.
        EXPECT_EQ(item["element_mask"], x < -8.333f ? "10" : x > 8.667f ? "01" : "00") << x;
    }
    EXPECT_TRUE(left && right);
}

}  // namespace

TEST_F(BuildScene, HiddenSurfacesAreNotExported) {
    Build(R"({"name": "helper", "type": "plane", "width": 20, "length": 20, "hidden": true},
        {"name": "hand", "type": "dravin",
        "params": {"mode": 1, "surflist": ["ground", "helper"]},
        "geometry": [{"name": "b", "kind": "custom", "object": "box"}],
        "items": [{"stored_position": [1, 2, 3], "seed": 7}]})");
    ProgramRun run = RunProgram(
        {DRAVIN_BINARY_DIR "/apps/dravin/dravin", "build", "s.json", "--surfaces", "-o", "a.gltf"},
        m_folder.File("."));
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_NE(run.err.find("--surfaces: \"helper\" is hidden and left out"), std::string::npos)
        << run.err;
    std::string names;
    Json exported = Json::parse(m_folder.Read("a.gltf"));
    for (const Json& node : exported["nodes"]) names += std::string(node["name"]) + " ";
    EXPECT_EQ(names, "root ground hand/b ");
}

// A spline that a modifier lets pass bounds areas and leads paths as it did.
TEST_F(BuildScene, SplinesWithModifiersStayAreasAndPaths) {
    auto build = [this](const std::string& modifiers, const std::string& use) {
        return Build(R"({"name": "ring", "type": "spline", "lines": [{"closed": true,
            "points": [[0, 0, 0], [5, 0, 0], [5, 5, 0], [0, 5, 0]]}])" +
                     modifiers + R"(}, {"name": "wood", "type": "dravin", )" + use + R"(,
            "geometry": [{"name": "b", "object": "box"}]})")["items"];
    };
    const std::string kLeaf = R"(, "modifiers": [{"type": "DravinLeaf", "angle": 180}])";
    for (const char* use :
         {R"("params": {"surflist": ["ground"], "units_x": 50, "units_y": 50},
             "areas": [{"type": "spline", "node": "ring"}])",
          R"("params": {"surflist": ["ground"], "distmode": "Path", "distpathnodes": ["ring"],
                        "distpathspacing": 1})"}) {
        Json plain = build("", use);
        ASSERT_GT(plain.size(), 5u) << use;
        EXPECT_EQ(build(kLeaf, use), plain) << use;
    }
}
