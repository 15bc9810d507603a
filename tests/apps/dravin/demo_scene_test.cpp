#include "apps/dravin/demo_scene.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "apps/dravin/demo_description.h"
#include "apps/dravin/demo_terrain.h"
#include "host/io/bitmap.h"

namespace fs = std::filesystem;

namespace {

// Written once for all tests of this file.
class DemoScene : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_folder = fs::path(testing::TempDir()) / "demo_scene_test";
        fs::remove_all(s_folder);
        std::string error;
        ASSERT_TRUE(WriteDemoScene(s_folder.string(), {DRAVIN_SOURCE_DIR "/data", 1e6}, &error))
            << error;
        std::ifstream file(s_folder / "forest.json");
        s_scene = nlohmann::json::parse(file, nullptr, true, true);
    }
    static void TearDownTestSuite() { fs::remove_all(s_folder); }

    static std::shared_ptr<const Bitmap> Image(const std::string& file) {
        std::string error;
        auto image = ReadBitmap((s_folder / "images" / file).string(), &error);
        EXPECT_TRUE(image) << error;
        return image;
    }

    static inline fs::path s_folder;
    static inline nlohmann::json s_scene;
};

}  // namespace

TEST_F(DemoScene, EveryFileThatTheSceneNamesIsThereAndRelative) {
    size_t count = 0;
    auto check = [&](const nlohmann::json& entry) {
        if (!entry.contains("file")) return;
        std::string file = entry["file"];
        EXPECT_FALSE(fs::path(file).is_absolute()) << file;
        EXPECT_TRUE(fs::exists(s_folder / file)) << file;
        ++count;
    };
    for (auto& [name, map] : s_scene["texmaps"].items()) check(map);
    for (auto& node : s_scene["nodes"]) check(node);
    EXPECT_GT(count, std::size(demo::kSpecies) * 2);
}

TEST_F(DemoScene, NamesLeadSomewhere) {
    std::set<std::string> nodes;
    for (auto& node : s_scene["nodes"]) {
        std::string name = node["name"];
        EXPECT_TRUE(nodes.insert(name).second) << name;
        if (node.contains("material")) {
            EXPECT_TRUE(s_scene["materials"].contains(std::string(node["material"]))) << name;
        }
        if (node["type"] != "dravin") continue;
        for (auto& row : node["geometry"]) EXPECT_TRUE(nodes.count(row["object"])) << name;
        if (node["params"].contains("distpathnodes")) {
            EXPECT_TRUE(nodes.count(node["params"]["distpathnodes"][0])) << name;
            continue;
        }
        EXPECT_TRUE(nodes.count(node["params"]["surflist"][0])) << name;
        EXPECT_TRUE(s_scene["texmaps"].contains(std::string(node["params"]["distmap"]))) << name;
    }
    for (auto& [name, material] : s_scene["materials"].items())
        for (const char* key : {"diffuse_map", "opacity_map"})
            if (material.contains(key)) {
                EXPECT_TRUE(s_scene["texmaps"].contains(std::string(material[key]))) << name;
            }
}

TEST_F(DemoScene, TerrainHasMoreThanAMillionTriangles) {
    auto image = Image("valley.png");
    ASSERT_TRUE(image);
    EXPECT_GT((image->Width() - 1) * (image->Height() - 1) * 2, 1000000);
    EXPECT_TRUE(std::holds_alternative<std::vector<uint16_t>>(image->Values()));
}

TEST_F(DemoScene, PatchesOfGroundHoldTheValleysOwnHeights) {
    auto valley = Image("valley.png"), meadow = Image("meadow.png");
    ASSERT_TRUE(valley && meadow);
    int left = int((demo::kMeadow.x0 + demo::kValleyWidth / 2) / demo::kCell);
    int bottom = int((demo::kMeadow.y0 + demo::kValleyLength / 2) / demo::kCell);
    for (int y = 0; y < meadow->Height(); y += 7)
        for (int x = 0; x < meadow->Width(); x += 5)
            ASSERT_EQ(meadow->Pixel16(x, y)[0], valley->Pixel16(left + x, bottom + y)[0]);
}

TEST_F(DemoScene, TheForestLeavesTheLakeFree) {
    auto forest = Image("forest_mask.png"), valley = Image("valley.png");
    ASSERT_TRUE(forest && valley);
    float water = -demo::kLowest / (demo::kHighest - demo::kLowest) * 65535;
    int wet = 0;
    for (int y = 0; y < forest->Height(); ++y)
        for (int x = 0; x < forest->Width(); ++x)
            if (valley->Pixel16(x, y)[0] < water) {
                ++wet;
                ASSERT_LT(forest->Pixel(x, y).r, 0.5f);
            }
    EXPECT_GT(wet, 10000);
}

TEST_F(DemoScene, MoreItemsMakeFinerGrids) {
    demo::Valley valley(1);
    auto cell = [&](double items) {
        auto scene = nlohmann::json::parse(demo::Description(valley, items), nullptr, true, true);
        return scene["nodes"].back()["params"]["units_x"].get<double>();
    };
    EXPECT_NEAR(cell(1e6) / cell(4e6), 2, 1e-3);
}

TEST(WriteDemoScene, MissingModelsAreNamed) {
    std::string error, folder = (fs::path(testing::TempDir()) / "demo_no_models").string();
    EXPECT_FALSE(WriteDemoScene(folder, {"no/such/data", 1e6}, &error));
    EXPECT_NE(error.find("cabin.glb: cannot open the file"), std::string::npos) << error;
    fs::remove_all(folder);
}
