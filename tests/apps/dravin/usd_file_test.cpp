// USD layers as the program writes them.
#include <gmock/gmock.h>

#include "host/base/file_input.h"
#include "tests/host/io/usd/layer_reader.h"
#include "tests/run_program.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class UsdFile : public testing::Test {
protected:
    // A hundred boxes (10 x 10) on a ground of 10 x 10 an object; the second object is 100 to the
    // right.
    void WriteScene(const std::string& params = "") {
        std::string rest = R"("params": {"surflist": ["ground"], "distmap": "white", "units_x": 10,
            "units_y": 10, "applyscale": 0, "pixels_x": 10, "pixels_y": 10)" +
                           params + "}}";
        m_folder.Write("s.json",
                       R"({"dravin_scene": 1, "unit_scale": 0.01,
            "texmaps": {"white": {"type": "color"}},
            "materials": {"bark": {"type": "standard", "diffuse": [0.5, 0.25, 0]}},
            "nodes": [
            {"name": "ground", "type": "plane", "width": 10, "length": 10, "position": [0, 0, 7]},
            {"name": "box", "type": "box", "width": 1, "length": 1, "height": 2, "material": "bark"},
            {"name": "Old wood", "type": "dravin",
             "geometry": [{"name": "box", "object": "box"}], )" +
                           rest +
                           R"(, {"name": "New wood", "type": "dravin", "position": [100, 0, 0],
             "geometry": [{"name": "box", "object": "box"}], )" +
                           rest + "]}");
    }
    ProgramRun Build(std::vector<std::string> more) {
        more.insert(more.begin(), {DRAVIN_BINARY_DIR "/apps/dravin/dravin", "build", "s.json"});
        return RunProgram(more, m_folder.File("."));
    }
    UsdLayer Read(const std::string& file) {
        std::string error;
        UsdLayer layer =
            ReadUsdLayer(ReadWholeFile(m_folder.File(file), 1 << 24, &error).value_or(""));
        EXPECT_EQ(layer.error, "");
        return layer;
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(UsdFile, HoldsEveryObject) {
    WriteScene();
    ProgramRun run = Build({"-o", "a.usda"});
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("a.usda: 200 items"));
    UsdLayer layer = Read("a.usda");
    ASSERT_TRUE(layer.At("/World/Old_wood") && layer.At("/World/New_wood"));
    // Cells of 1 from -5 on, row by row, at the height of the ground.
    std::vector<double> places = layer.At("/World/Old_wood")->Numbers("positions");
    ASSERT_EQ(places.size(), 300u);
    for (size_t i = 0; i < 100; ++i)
        EXPECT_THAT(std::vector<double>(places.begin() + std::ptrdiff_t(3 * i),
                                        places.begin() + std::ptrdiff_t(3 * i + 3)),
                    ElementsAre(double(i % 10) - 5, double(i / 10) - 5, 7));
    EXPECT_EQ(layer.At("/World/Old_wood")->metadata.at("displayName"), "Old wood");
    EXPECT_THAT(layer.At("/World/Old_wood")->Numbers("extent"),
                ElementsAre(-5.5, -5.5, 7, 4.5, 4.5, 9));
    EXPECT_EQ(layer.root.metadata.at("metersPerUnit"), "0.010000");
}

TEST_F(UsdFile, HoldsSurfacesWhereAskedTo) {
    WriteScene();
    ProgramRun run =
        Build({"-o", "a.usda", "--surfaces", "--object", "Old wood", "--threads", "3"});
    EXPECT_EQ(run.code, 0) << run.err;
    UsdLayer layer = Read("a.usda");
    EXPECT_FALSE(layer.At("/World/New_wood"));
    const UsdPrim* ground = layer.At("/World/ground");
    ASSERT_TRUE(ground);
    EXPECT_EQ(ground->type, "Mesh");
    EXPECT_EQ(ground->Numbers("xformOp:transform")[14], 7);
}

// Tint and turned, differently large items come through as the tables tell them.
TEST_F(UsdFile, HoldsTintedAndTurnedItems) {
    WriteScene(
        R"(, "applyrotation": 1, "xrotmin": 0, "xrotmax": 0, "yrotmin": 0,
        "yrotmax": 0, "zrotmin": 90, "zrotmax": 90, "tintmin": 100, "tintmax": 100,
        "tintmode": 0, "tintcolor1": [0, 0, 0], "tintcolor2": [0, 0, 0])");
    ProgramRun run = Build({"-o", "a.usda", "--object", "Old wood"});
    EXPECT_EQ(run.code, 0) << run.err;
    UsdLayer layer = Read("a.usda");
    ASSERT_TRUE(layer.At("/World/Old_wood"));
    std::vector<double> q = layer.At("/World/Old_wood")->Numbers("orientationsf");
    ASSERT_EQ(q.size(), 400u);
    EXPECT_NEAR(std::abs(q[4]), 0.70710678, 1e-6);  // a quarter turn about z
    EXPECT_NEAR(std::abs(q[7]), 0.70710678, 1e-6);
    // Nothing of the own colour is left: black.
    EXPECT_EQ(layer.At("/World/Old_wood")->Numbers("primvars:displayColor"),
              std::vector<double>(300, 0.0));
}

// Each item shows a triangle 1.5 to its left and one 1.5 to its right; those beyond the border of
// the ground, which reaches from -5 to 5, are hidden.
TEST_F(UsdFile, ItemsCutAtBordersShowPrototypesOfTheirOwn) {
    m_folder.Write("s.json",
                   R"({"dravin_scene": 1, "texmaps": {"white": {"type": "color"}}, "nodes": [
        {"name": "ground", "type": "plane", "width": 10, "length": 10},
        {"name": "pair", "type": "mesh", "vertices": [[-2, 0, 0], [-1, 0, 0], [-1.5, 0, 1],
         [1, 0, 0], [2, 0, 0], [1.5, 0, 1]], "faces": [[0, 1, 2], [3, 4, 5]]},
        {"name": "Wood", "type": "dravin", "geometry": [{"name": "pair", "object": "pair"}],
         "areas": [{"type": "surface", "boundary_check": 2}],
         "params": {"surflist": ["ground"], "distmap": "white", "units_x": 10, "units_y": 10,
                    "applyscale": 0, "pixels_x": 10, "pixels_y": 10}}]})");
    ProgramRun run = Build({"-o", "a.usda"});
    EXPECT_EQ(run.code, 0) << run.err;
    UsdLayer layer = Read("a.usda");
    const UsdPrim* wood = layer.At("/World/Wood");
    ASSERT_TRUE(wood);
    std::vector<double> places = wood->Numbers("positions"), shown = wood->Numbers("protoIndices");
    ASSERT_FALSE(shown.empty());
    for (size_t i = 0; i < shown.size(); ++i) {
        const UsdPrim* mesh = layer.At(wood->Find("prototypes")->targets[size_t(shown[i])]);
        bool isCut = places[3 * i] < -3.5 || places[3 * i] > 3.5;
        EXPECT_EQ(mesh->Find("faceVertexCounts")->count, isCut ? 1u : 2u) << places[3 * i];
        double first = isCut && places[3 * i] < 0 ? 1 : -2;  // of the triangle that is left
        EXPECT_EQ(mesh->Numbers("points")[0], first);
    }
}

TEST_F(UsdFile, FailedBuildsLeaveTheOldLayer) {
    WriteScene(R"(, "rmaxitems": 1)");
    m_folder.Write("a.usda", "old");
    ProgramRun run = Build({"-o", "a.usda"});
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("a.usda: not written"));
    std::string error;
    EXPECT_EQ(ReadWholeFile(m_folder.File("a.usda"), 100, &error), "old");
}

TEST_F(UsdFile, KnowsItsEndingAlone) {
    WriteScene();
    ProgramRun run = Build({"-o", "a.usdc"});
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.err, HasSubstr(".usda"));
    EXPECT_EQ(Build({"-o", "a.USDA"}).code, 0);
}
