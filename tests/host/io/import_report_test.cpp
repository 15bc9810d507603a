#include "host/io/import_report.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "tests/host/io/import_testing.h"

using testing::HasSubstr;

namespace {

// Two instances of a triangle and one of its own, in metres with y up.
ImportedModel SampleModel() {
    auto mesh = std::make_shared<Mesh>();
    mesh->verts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    mesh->faces = {{{0, 1, 2}}};
    auto other = std::make_shared<Mesh>(*mesh);
    other->MakeMap(0).verts = other->MakeMap(2).verts = {{1, 1, 1}};
    other->maps[0].faces = other->maps[2].faces = {{0, 0, 0}};
    auto bark = std::make_shared<StandardMtl>();
    bark->name = "bark";
    ImportedModel model;
    model.objects = {{"tree", mesh, bark, {}, {1, 1, 1}},
                     {"tree", mesh, bark, Matrix3::Translation({10, 0, 0}), {1, 1, 1}},
                     {"stone", other, nullptr, Matrix3::Translation({0, 0, 4}), {1, 1, 1}}};
    model.materials = {{"bark", {{"diffuse", "bark.png", false}}, ImportedAlpha::kMask}};
    model.extensions = {{"KHR_a", true}, {"KHR_b", false}};
    model.animations = {{"sway", 1.5, true}, {"fall", 0.25, false}};
    model.warnings = {"m.glb: left out: 1 camera"};
    model.format = "glTF";
    model.up = UpAxis::kY;
    model.metresPerUnit = 1;
    return model;
}

}  // namespace

TEST(ImportReport, JsonHoldsEverything) {
    auto json = nlohmann::json::parse(ImportReportJson("m.glb", SampleModel()));
    EXPECT_EQ(json["dravin_model"], 1);
    EXPECT_EQ(json["file"], "m.glb");
    EXPECT_EQ(json["format"], "glTF");
    EXPECT_EQ(json["up"], "y");
    EXPECT_EQ(json["metres_per_unit"], 1);
    ASSERT_EQ(json["objects"].size(), 2u);
    auto &tree = json["objects"][0], &stone = json["objects"][1];
    EXPECT_EQ(tree["name"], "tree");
    EXPECT_EQ(tree["instances"], 2);
    EXPECT_EQ(tree["vertices"], 3);
    EXPECT_EQ(tree["faces"], 1);
    EXPECT_EQ(tree["bounds"], nlohmann::json::parse("[[0,0,0],[11,1,0]]"));
    EXPECT_EQ(tree["materials"], nlohmann::json::parse(R"(["bark"])"));
    EXPECT_EQ(tree["vertex_colors"], false);
    EXPECT_EQ(stone["channels"], nlohmann::json::parse("[2]"));
    EXPECT_EQ(stone["vertex_colors"], true);
    EXPECT_EQ(stone["bounds"], nlohmann::json::parse("[[0,0,4],[1,1,4]]"));
    EXPECT_EQ(json["materials"], nlohmann::json::parse(
                                     R"([{"name":"bark","textures":[{"slot":"diffuse",
                                     "file":"bark.png","found":false}],"alpha":"mask"}])"));
    EXPECT_EQ(json["extensions"], nlohmann::json::parse(R"([{"name":"KHR_a","read":true},
                                                        {"name":"KHR_b","read":false}])"));
    EXPECT_EQ(json["animations"],
              nlohmann::json::parse(R"([{"name":"sway","seconds":1.5,"read":true},
                                                        {"name":"fall","seconds":0.25,"read":false}])"));
    EXPECT_EQ(json["warnings"].size(), 1u);
}

TEST(ImportReport, SummaryIsOneLine) {
    EXPECT_EQ(ImportSummary("m.glb", SampleModel()),
              "m.glb: glTF, 3 objects, 9 vertices, 3 faces, size 11 x 1 x 4, y up, in metres, "
              "1 material, 0 textures (1 missing), extensions KHR_a KHR_b (not read)");
}

TEST(ImportReport, TextListsAnimations) {
    EXPECT_THAT(ImportReportText("m.glb", SampleModel()),
                HasSubstr("\nanimation \"sway\": 1.5 s\nanimation \"fall\": 0.25 s (not read)"));
}

TEST(ImportReport, AFileThatStatesNoUnitIsToldHowToFitIt) {
    ImportedModel model = SampleModel();
    EXPECT_THAT(ImportReportText("m.glb", model), testing::Not(HasSubstr("neither unit nor up")));
    model.metresPerUnit = 0;
    EXPECT_THAT(ImportReportText("m.obj", model),
                testing::AllOf(HasSubstr("\nneither unit nor up"), HasSubstr("\"up\""),
                               HasSubstr("\"object_offset\"")));
}

TEST(ImportReport, UnitsAndAxesFollowTheOptions) {
    TempFolder folder;
    std::string off = "OFF\n3 1 0\n0 0 0\n100 0 0\n0 0 250\n3 0 1 2\n";
    auto size = [&](const ImportOptions& options) {
        return ImportText(folder, "a.off", off, options).objects.at(0).mesh->BoundingBox().max;
    };
    EXPECT_EQ(size({}), (Point3{100, 0, 250}));  // no unit is stated, z stays up
    ImportOptions turned, small;
    turned.up = UpAxis::kY;
    small.unitScale = 0.01;
    EXPECT_EQ(size(turned), (Point3{100, 0, 0}));
    EXPECT_EQ(size(small), (Point3{100, 0, 250}));
}
