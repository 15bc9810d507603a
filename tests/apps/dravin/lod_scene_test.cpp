// Levels of detail from a scene file to the items and what they show.
#include <gmock/gmock.h>

#include <sstream>

#include "host/base/file_input.h"
#include "host/io/bitmap.h"
#include "tests/host/io/usd/layer_reader.h"
#include "tests/run_program.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

struct LodScene {
    std::string levels;          // of the LOD object
    std::string lodParams = "";  // members
    std::string params = "";     // of the scatter object, members
    std::string items = R"({"stored_position": [499, 0, 0]}, {"stored_position": [500, 0, 0]},
        {"stored_position": [5000, 0, 0]})";
    std::string source = "tree";
};

constexpr const char* kThree =
    R"({"object": "big", "distance": 0}, {"object": "mid", "distance": 50},
    {"object": "small", "distance": 100})";
constexpr const char* kCamera = R"("camera": "eye", "camlod": 1)";

class LodSceneTest : public testing::Test {
protected:
    // Planes of 20, 8 and 2 units, a camera 100 above the origin that looks down with 90 degrees,
    // another at the origin, and items that stand by hand.
    void Write(const LodScene& s) {
        m_folder.Write("s.json", R"({"dravin_scene": 1, "render": {"camera": "above"}, "nodes": [
            {"name": "above", "type": "camera", "fov": 90, "position": [0, 0, 100]},
            {"name": "eye", "type": "camera", "fov": 90},
            {"name": "far", "type": "dummy", "position": [5000, 0, 0]},
            {"name": "big", "type": "plane", "width": 20, "length": 20},
            {"name": "mid", "type": "plane", "width": 8, "length": 8},
            {"name": "small", "type": "plane", "width": 2, "length": 2},
            {"name": "bunch", "type": "group"},
            {"name": "tree", "type": "lod", "params": {"distance": 1000)" +
                                     (s.lodParams.empty() ? "" : ", " + s.lodParams) +
                                     R"(}, "levels": [)" + s.levels + R"(]},
            {"name": "inside", "type": "lod", "parent": "bunch", "levels": [{"object": "big"}]},
            {"name": "Wood", "type": "dravin", "geometry": [{"object": ")" +
                                     s.source + R"("}], "items": [)" + s.items + R"(],
             "params": {"mode": 1)" + (s.params.empty() ? "" : ", " + s.params) +
                                     "}}]}");
    }
    ProgramRun Build(std::vector<std::string> more) {
        more.insert(more.begin(), {DRAVIN_BINARY_DIR "/apps/dravin/dravin", "build", "s.json"});
        return RunProgram(more, m_folder.File("."));
    }
    // The level that each item shows.
    std::vector<int> Levels(const LodScene& s, std::vector<std::string> options = {}) {
        Write(s);
        options.insert(options.end(), {"--fields", "element_index", "-o", "a.csv"});
        m_run = Build(options);
        EXPECT_EQ(m_run.code, 0) << m_run.err;
        std::string error;
        std::istringstream rows(
            ReadWholeFile(m_folder.File("a.csv"), 1 << 20, &error).value_or(""));
        std::vector<int> levels;
        std::string row;
        std::getline(rows, row);
        while (std::getline(rows, row)) levels.push_back(std::stoi(row.substr(row.find(',') + 1)));
        return levels;
    }
    // Widths of the meshes that items show, in the order of the items.
    std::vector<double> ShownWidths(const LodScene& s) {
        Write(s);
        m_run = Build({"-o", "a.usda"});
        EXPECT_EQ(m_run.code, 0) << m_run.err;
        std::string error;
        UsdLayer layer =
            ReadUsdLayer(ReadWholeFile(m_folder.File("a.usda"), 1 << 24, &error).value_or(""));
        EXPECT_EQ(layer.error, "");
        const UsdPrim* wood = layer.At("/World/Wood");
        std::vector<double> widths;
        if (!wood) return widths;
        for (double p : wood->Numbers("protoIndices")) {
            std::vector<double> box =
                layer.At(wood->Find("prototypes")->targets[size_t(p)])->Numbers("extent");
            widths.push_back(box[3] - box[0]);
        }
        return widths;
    }

    TempFolder m_folder;
    ProgramRun m_run;
};

// 499 of 1000 units is below half, 500 is half.
TEST_F(LodSceneTest, LevelsChangeWithTheDistance) {
    EXPECT_THAT(Levels({kThree, "", kCamera}), ElementsAre(0, 1, 2));
    EXPECT_THAT(ShownWidths({kThree, "", kCamera}), ElementsAre(20, 8, 2));
}

TEST_F(LodSceneTest, TheObjectsOwnDistanceCounts) {
    std::string near = R"({"stored_position": [49, 0, 0]}, {"stored_position": [60, 0, 0]})";
    EXPECT_THAT(Levels({kThree, "", std::string(kCamera) + R"(, "camloddist": 100)", near}),
                ElementsAre(0, 1));
    EXPECT_THAT(Levels({kThree, "", std::string(kCamera) + R"(, "camloddist": 0)", near}),
                ElementsAre(0, 0));
}

TEST_F(LodSceneTest, DistancesMayCountFromTheLookAtTarget) {
    std::string params = std::string(kCamera) + R"(, "camlodlookat": 1)";
    EXPECT_THAT(Levels({kThree, "", params}), ElementsAre(0, 0, 0));  // no target: the first
    EXPECT_THAT(Levels({kThree, "", params + R"(, "lookat": "far")"}), ElementsAre(2, 2, 0));
}

TEST_F(LodSceneTest, SwitchedOffTheFirstOrTheLastShows) {
    std::string off = R"("camera": "eye", "camlod": 0)";
    EXPECT_THAT(Levels({kThree, "", off}), ElementsAre(0, 0, 0));
    EXPECT_THAT(
        Levels({R"({"object": "big", "screen_size": 1}, {"object": "mid", "screen_size": 2})",
                R"("mode": 1)", off}),
        ElementsAre(1, 1, 1));
}

TEST_F(LodSceneTest, ViewportsChooseWhereTheyAreToldTo) {
    EXPECT_THAT(Levels({kThree, "", kCamera}, {"--viewport"}), ElementsAre(0, 1, 2));
    EXPECT_THAT(Levels({kThree, R"("update": false)", kCamera}, {"--viewport"}),
                ElementsAre(0, 0, 0));
    EXPECT_THAT(Levels({kThree, R"("update": false)", kCamera}), ElementsAre(0, 1, 2));
}

TEST_F(LodSceneTest, OfEqualThresholdsTheLaterStays) {
    LodScene scene{R"({"object": "small", "distance": 0}, {"object": "mid", "distance": 50},
        {"object": "big", "distance": 50})",
                   "", kCamera};
    EXPECT_THAT(Levels(scene), ElementsAre(0, 1, 1));
    EXPECT_THAT(m_run.err, HasSubstr("have the same threshold 50"));
    EXPECT_THAT(ShownWidths(scene), ElementsAre(2, 20, 20));
}

TEST_F(LodSceneTest, LevelsStandInTheOrderOfTheirThresholds) {
    EXPECT_THAT(
        ShownWidths({R"({"object": "small", "distance": 50}, {"object": "big"})", "", kCamera}),
        ElementsAre(20, 2, 2));
}

TEST_F(LodSceneTest, DisabledLevelsDoNotCount) {
    EXPECT_THAT(
        ShownWidths({R"({"object": "big"}, {"kind": "disabled", "object": "mid", "distance": 50},
        {"object": "small", "distance": 100})",
                     "", kCamera}),
        ElementsAre(20, 20, 2));
    LodScene none{R"({"kind": "disabled", "object": "big"})", "", kCamera};
    EXPECT_THAT(Levels(none), ElementsAre(0, 0, 0));
    EXPECT_THAT(ShownWidths(none), ElementsAre());
}

TEST_F(LodSceneTest, WithoutLevelsNothingShows) {
    EXPECT_THAT(Levels({"", "", kCamera}), ElementsAre(0, 0, 0));
    EXPECT_THAT(ShownWidths({"", "", kCamera}), ElementsAre());
}

TEST_F(LodSceneTest, InsideAGroupItShowsNothing) {
    LodScene scene{kThree, "", kCamera};
    scene.source = "bunch";
    EXPECT_THAT(ShownWidths(scene), ElementsAre());
}

// The camera above sees 200 units at the ground: the first plane of 20 takes a tenth of the view.
TEST_F(LodSceneTest, SizesOnScreenAreSharesOfTheView) {
    std::string levels =
        R"({"object": "big", "screen_size": 0}, {"object": "mid", "screen_size": 5},
        {"object": "small", "screen_size": 20})";
    LodScene scene{levels, R"("mode": 1)", kCamera};
    scene.items = R"({"stored_position": [0, 0, 0]}, {"stored_position": [0, 0, 60]},
        {"stored_position": [0, 0, -400]}, {"stored_position": [0, 0, 0], "size_factor": [3, 1, 1]})";
    // 20 of 200, of 80, of 1000; and three times as wide.
    EXPECT_THAT(Levels(scene), ElementsAre(1, 2, 0, 2));
    scene.params += R"(, "globscale": 300)";
    EXPECT_THAT(Levels(scene), ElementsAre(2, 2, 1, 2));
}

// Two planes are twice the faces of one, whichever rows the object itself has.
TEST_F(LodSceneTest, LevelsShowTheTemplatesThatTheyName) {
    auto faces = [this](const std::string& name) {
        Write({"{\"template\": \"" + name + "\"}", "", kCamera});
        m_run = Build({"-o", "a.usda"});
        std::string error;
        UsdLayer layer =
            ReadUsdLayer(ReadWholeFile(m_folder.File("a.usda"), 1 << 24, &error).value_or(""));
        const UsdPrim* wood = layer.At("/World/Wood");
        if (!wood || wood->Find("prototypes")->targets.empty()) return size_t(0);
        return layer.At(wood->Find("prototypes")->targets[0])->Find("faceVertexCounts")->count;
    };
    size_t one = faces("One Plane");
    EXPECT_GT(one, 0u);
    EXPECT_EQ(faces("Two Planes"), 2 * one);
    EXPECT_THAT(m_run.err, Not(HasSubstr("warning")));
}

// Seen from 100 units a red plane, from 900 a blue one: beyond half of 1000.
TEST_F(LodSceneTest, PicturesShowTheLevelOfTheirCamera) {
    for (int height : {100, 900}) {
        std::string place = std::to_string(height);
        m_folder.Write("s.json", R"({"dravin_scene": 1, "render": {"camera": "eye"}, "materials": {
            "red": {"type": "standard", "diffuse": [1, 0, 0]},
            "blue": {"type": "standard", "diffuse": [0, 0, 1]}}, "nodes": [
            {"name": "eye", "type": "camera", "fov": 3, "position": [0, 0, )" +
                                     place + R"(]},
            {"name": "near", "type": "plane", "width": 80, "length": 80, "material": "red", "hidden": true},
            {"name": "far", "type": "plane", "width": 80, "length": 80, "material": "blue", "hidden": true},
            {"name": "tree", "type": "lod", "params": {"distance": 1000}, "levels": [
              {"object": "near"}, {"object": "far", "distance": 50}]},
            {"name": "Wood", "type": "dravin", "geometry": [{"object": "tree"}],
             "items": [{"stored_position": [0, 0, 0]}],
             "params": {"mode": 1, "camera": "eye", "camlod": 1}}]})");
        m_run = RunProgram({DRAVIN_BINARY_DIR "/apps/dravin/dravin", "render", "s.json", "-o",
                            "a.png", "--size", "8x8", "--samples", "4"},
                           m_folder.File("."));
        ASSERT_EQ(m_run.code, 0) << m_run.err;
        std::string error;
        std::shared_ptr<const Bitmap> picture = ReadBitmap(m_folder.File("a.png"), &error);
        ASSERT_TRUE(picture) << error;
        AColor middle = picture->Pixel(4, 4);
        EXPECT_EQ(middle.r > middle.b, height == 100) << height;
    }
}

}  // namespace
