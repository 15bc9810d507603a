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

}  // namespace
