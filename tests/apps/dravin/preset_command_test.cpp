// `dravin preset`: from scenes to named values and back.
#include <gmock/gmock.h>

#include "tests/run_program.h"

using testing::HasSubstr;

namespace {

class PresetCommands : public testing::Test {
protected:
    PresetCommands() {
        WriteScene("wood.json", "wood", 7);
        WriteScene("park.json", "park", 8);
    }
    void WriteScene(const char* file, const std::string& name, int seed) const {
        m_folder.Write(file, R"({"dravin_scene": 1, "nodes": [
  {"name": "tree", "type": "box", "width": 1, "length": 1, "height": 2, "hidden": true},
  {"name": ")" + name + R"(", "type": "dravin", "params": {"seed": )" +
                                 std::to_string(seed) +
                                 R"(}, "geometry": [{"name": "tree", "object": "tree"}]}]})");
    }
    ProgramRun Dravin(const std::string& arguments) const {
        std::string text =
            "XDG_CONFIG_HOME=$PWD/config " DRAVIN_BINARY_DIR "/apps/dravin/dravin " + arguments;
        return RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(PresetCommands, SavedValuesReachAnotherScene) {
    ProgramRun save = Dravin("preset save wood.json 'Spruce wood'");
    EXPECT_EQ(save.code, 0) << save.err;
    EXPECT_THAT(m_folder.Read("config/dravin/dravin_presets.ini"),
                HasSubstr("[Dravin.Spruce wood]\n"));
    ProgramRun load = Dravin("preset load park.json 'Spruce wood' -o out.json");
    EXPECT_EQ(load.code, 0) << load.err;
    EXPECT_THAT(m_folder.Read("out.json"), HasSubstr("\"seed\": 7"));
    EXPECT_THAT(m_folder.Read("out.json"), HasSubstr("\"name\": \"park\""));
    EXPECT_EQ(Dravin("build out.json -o items.json").code, 1);  // no ground, but a scene
}

TEST_F(PresetCommands, ListsAsTextAndAsJson) {
    EXPECT_EQ(Dravin("preset list").out, "");
    EXPECT_EQ(Dravin("preset save wood.json b").code, 0);
    EXPECT_EQ(Dravin("preset save wood.json a").code, 0);
    EXPECT_EQ(Dravin("preset list").out, "b\na\n");
    EXPECT_THAT(Dravin("--json preset list").out, HasSubstr(R"("presets":["b","a"]})"));
    EXPECT_EQ(Dravin("preset list --file none.ini").code, 3);
}

TEST_F(PresetCommands, RenamesAndDeletes) {
    EXPECT_EQ(Dravin("preset save wood.json a").code, 0);
    EXPECT_EQ(Dravin("preset save wood.json b").code, 0);
    EXPECT_EQ(Dravin("preset rename a b").code, 1);
    EXPECT_EQ(Dravin("preset rename a c").code, 0);
    EXPECT_EQ(Dravin("preset delete b").code, 0);
    EXPECT_EQ(Dravin("preset list").out, "c\n");
    ProgramRun missing = Dravin("preset delete d");
    EXPECT_EQ(missing.code, 3);
    EXPECT_THAT(missing.err, HasSubstr("it has \"c\""));
}

TEST_F(PresetCommands, FilesTravel) {
    EXPECT_EQ(Dravin("preset export wood.json spruces").code, 0);
    EXPECT_THAT(m_folder.Read("spruces.ope"), HasSubstr("[Dravin.spruces]\n"));
    EXPECT_EQ(Dravin("preset import park.json spruces.ope -o out.json").code, 0);
    EXPECT_THAT(m_folder.Read("out.json"), HasSubstr("\"seed\": 7"));
    EXPECT_EQ(Dravin("preset import spruces.ope").code, 0);
    EXPECT_EQ(Dravin("preset import spruces.ope 'second name'").code, 0);
    EXPECT_EQ(Dravin("preset list").out, "spruces\nsecond name\n");
    EXPECT_EQ(Dravin("preset export 'second name' again.ope").code, 0);
    EXPECT_THAT(m_folder.Read("again.ope"), HasSubstr("[Dravin.again]\n"));
    EXPECT_EQ(Dravin("preset list --file again.ope").out, "again\n");
}

TEST_F(PresetCommands, WrongInputLeavesNothing) {
    EXPECT_EQ(Dravin("preset load wood.json none -o out.json").code, 3);
    EXPECT_EQ(Dravin("preset load none.json a -o out.json").code, 3);
    EXPECT_EQ(Dravin("preset save wood.json 'a]'").code, 2);
    EXPECT_EQ(Dravin("preset save wood.json a --object nobody").code, 2);
    EXPECT_EQ(Dravin("preset load wood.json a").code, 2);
    m_folder.Write("foreign.ope", "[Grass.x]\nblades=7\n");
    EXPECT_EQ(Dravin("preset import wood.json foreign.ope -o out.json").code, 1);
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("out.json")));
    EXPECT_THAT(Dravin("preset export nothing out.ope").err,
                HasSubstr("neither a scene file nor a preset"));
    std::string scene = m_folder.Read("wood.json");
    m_folder.Write("a.ope", "[Dravin.a]\nseed=1\n");
    EXPECT_EQ(Dravin("preset import wood.json a.ope -o wood.json").code, 2);
    EXPECT_EQ(m_folder.Read("wood.json"), scene);
}

TEST_F(PresetCommands, SeveralObjectsMustBeToldApart) {
    m_folder.Write("two.json", R"({"dravin_scene": 1, "nodes": [
  {"name": "a", "type": "dravin", "params": {"seed": 3}},
  {"name": "b", "type": "dravin", "params": {"seed": 4}}]})");
    ProgramRun run = Dravin("preset save two.json x");
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.err, HasSubstr("--object"));
    EXPECT_EQ(Dravin("preset save two.json x --object b --file mine.ini").code, 0);
    EXPECT_THAT(m_folder.Read("mine.ini"), HasSubstr("\nseed=4\n"));
}
