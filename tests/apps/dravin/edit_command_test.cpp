// `dravin edit`: commands from the command line and from files, into a new scene.
#include <filesystem>

#include <gmock/gmock.h>

#include "apps/dravin/command_values.h"
#include "tests/run_program.h"

using testing::HasSubstr;

namespace {

class EditCommand : public testing::Test {
protected:
    EditCommand() {
        m_folder.Write("wood.json", R"({"dravin_scene": 1, "nodes": [
  {"name": "tree", "type": "box", "width": 1, "length": 1, "height": 2},
  {"name": "wood", "type": "dravin", "params": {"seed": 5},
   "geometry": [{"name": "tree", "object": "tree"}]}]})");
    }
    ProgramRun Dravin(const std::string& arguments) const {
        std::string text = DRAVIN_BINARY_DIR "/apps/dravin/dravin " + arguments;
        return RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(EditCommand, RunsCommandsInOrder) {
    ProgramRun run = Dravin(
        "edit wood.json --do 'param.set name=seed value=7' --do 'node.clone' --object tree "
        "-o out.json");
    EXPECT_EQ(run.code, 1);  // a tree is no scatter object
    EXPECT_THAT(run.err, HasSubstr("no scatter object \"tree\""));
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("out.json")));
    m_folder.Write("changes.json", R"([
  {"command": "param.set", "name": "seed", "value": 7},
  {"command": "node.clone", "object": "tree"}])");
    run = Dravin(
        "edit wood.json --script changes.json --do 'node.rename name=big oak' "
        "--object tree -o out.json");
    EXPECT_EQ(run.code, 1) << "the first command of the script works on --object too";
    run = Dravin("edit wood.json --script changes.json -o out.json");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "tree001\n");
    EXPECT_THAT(m_folder.Read("out.json"), HasSubstr("\"seed\": 7"));
    EXPECT_THAT(m_folder.Read("out.json"), HasSubstr("\"tree001\""));
}

TEST_F(EditCommand, TakesBackAndDoesAgain) {
    ProgramRun run =
        Dravin("edit wood.json --do 'param.set name=seed value=7' --do scene.undo -o out.json");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(m_folder.Read("out.json"), HasSubstr("\"seed\": 5"));
    EXPECT_EQ(Dravin("edit wood.json --do scene.undo").code, 1);
}

TEST_F(EditCommand, WrongCallsAreToldWithTheRemedy) {
    ProgramRun run = Dravin("edit wood.json --do 'param.sat name=seed' -o out.json");
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.err, HasSubstr("did you mean \"param.set\"?"));
    run = Dravin("edit wood.json --do 'param.set seed 7'");
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.err, HasSubstr("expected NAME=VALUE"));
    run = Dravin("edit wood.json");
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.err, HasSubstr("--list"));
    EXPECT_EQ(Dravin("edit").code, 2);
    run = Dravin("edit wood.json --do 'node.transform by=[0,0,2]'");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("it wants the name of a node"));
    run = Dravin("edit wood.json --do 'node.transform by=[0,0]' --object tree");
    EXPECT_THAT(run.err, HasSubstr("\"by\" takes three numbers"));
    m_folder.Write("bad.json", "[{\"command\": 3}]");
    run = Dravin("edit wood.json --script bad.json");
    EXPECT_EQ(run.code, 4);
    EXPECT_THAT(run.err, HasSubstr("bad.json"));
    EXPECT_EQ(Dravin("edit wood.json --script none.json").code, 3);
    EXPECT_EQ(Dravin("edit wood.json --do 'param.set name=seed value=1' -o wood.json").code, 2);
}

TEST_F(EditCommand, ListsCommands) {
    EXPECT_THAT(Dravin("edit --list").out, HasSubstr("param.set"));
    EXPECT_THAT(Dravin("edit --list param.set").out, HasSubstr("internal name"));
    EXPECT_THAT(Dravin("--json edit --list param.set").out, HasSubstr("\"dravin_commands\": 1"));
    EXPECT_EQ(Dravin("edit --list param.sat").code, 2);
}

namespace {

TArguments Parsed(const std::string& text) {
    std::string command, error;
    TArguments arguments;
    EXPECT_TRUE(ParseCommandText(text, &command, &arguments, &error)) << error;
    return arguments;
}

}  // namespace

TEST(CommandText, ValuesAreJsonOrPlainText) {
    TArguments a = Parsed("x.y n=3 r=2.5 t=big oak p=[1, 2, 3] q=\"a b=c\" e= b=true");
    EXPECT_EQ(std::get<int64_t>(a.at("n").value), 3);
    EXPECT_EQ(std::get<double>(a.at("r").value), 2.5);
    EXPECT_EQ(std::get<std::string>(a.at("t").value), "big oak");
    EXPECT_EQ(std::get<ParamInput::Array>(a.at("p").value).size(), 3u);
    EXPECT_EQ(std::get<std::string>(a.at("q").value), "a b=c");
    EXPECT_EQ(std::get<std::string>(a.at("e").value), "");
    EXPECT_TRUE(std::get<bool>(a.at("b").value));
    EXPECT_TRUE(Parsed("only.name").empty());
}

TEST(CommandText, NonsenseIsRefused) {
    std::string command, error;
    TArguments arguments;
    for (const char* text : {"", "   ", "a b", "a =3", "a x=1 x=2", "a Big=1"}) {
        arguments.clear();
        EXPECT_FALSE(ParseCommandText(text, &command, &arguments, &error)) << text;
        EXPECT_FALSE(error.empty());
    }
}

TEST(CommandText, ResultsAreJson) {
    EXPECT_EQ(CommandValueText(ParamInput("tree 1")), "tree 1");
    EXPECT_EQ(CommandValueText(ParamInput(ParamInput::Array{1, 2.5, "a", {}})),
              "[1,2.5,\"a\",null]");
}

TEST_F(EditCommand, TakesMaterialsOfOtherScenes) {
    m_folder.Write("library.json", R"({"dravin_scene": 1, "nodes": [],
 "texmaps": {"veins": {"type": "checker"}},
 "materials": {"leaf": {"type": "standard", "diffuse_map": "veins"}}})");
    ProgramRun run = Dravin(
        "edit wood.json --do 'material.load library=library.json material=leaf nodes=[\"tree\"]' "
        "-o out.json");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(m_folder.Read("out.json"), HasSubstr("\"veins\""));
    EXPECT_THAT(m_folder.Read("out.json"), HasSubstr("\"material\": \"leaf\""));
    run = Dravin("edit wood.json --do 'material.load library=none.json material=leaf' -o out.json");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("Error loading material library:"));
    EXPECT_THAT(run.err, HasSubstr("none.json"));
}

TEST_F(EditCommand, JoinsMeshes) {
    m_folder.Write("wood.json", R"({"dravin_scene": 1, "nodes": [
  {"name": "stem", "type": "box", "width": 1, "length": 1, "height": 2},
  {"name": "crown", "type": "sphere", "radius": 1, "position": [0, 0, 2]}]})");
    ProgramRun run = Dravin(
        "edit wood.json --object stem --do 'node.attach nodes=[\"crown\"] name=tree' "
        "-o out.dravin");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "tree\n");
    ASSERT_EQ(Dravin("convert out.dravin back.json").code, 0);
    EXPECT_THAT(m_folder.Read("back.json"), HasSubstr("\"tree\""));
    EXPECT_THAT(m_folder.Read("back.json"), testing::Not(HasSubstr("crown")));
    run = Dravin("edit wood.json --object stem --do 'node.attach nodes=[\"oak\"]' -o out.json");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("the scene has no node \"oak\""));
}

TEST_F(EditCommand, RunsScriptFiles) {
    m_folder.Write("mesh.ms",
                   "convertToMesh $tree\n$tree.pivot = "
                   "[$tree.center.x,$tree.center.y,$tree.min.z]\n");
    ProgramRun run = Dravin("edit wood.json --do 'script.run file=mesh.ms' -o out.dravin");
    EXPECT_EQ(run.code, 0) << run.err;
    run = Dravin("edit wood.json --do 'script.run file=none.ms' -o out.json");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("none.ms"));
    m_folder.Write("bad.ms", "doSomething 1\n");
    run = Dravin("edit wood.json --do 'script.run file=bad.ms' -o out.json");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("doSomething 1"));
}

TEST_F(EditCommand, TemplatesStandInTheSceneOnlyWhileItIsOpen) {
    m_folder.Write("wood.json", R"({"dravin_scene": 1, "nodes": [
  {"name": "ground", "type": "plane", "width": 20, "length": 20},
  {"name": "wood", "type": "dravin", "params": {"surflist": ["ground"]},
   "geometry": [{"kind": "template", "template": "Birch", "name": "b"}]}]})");
    for (const char* out : {"out.json", "out.dravin"}) {
        ProgramRun run =
            Dravin(std::string("edit wood.json --do 'param.set name=seed value=7' -o ") + out);
        ASSERT_EQ(run.code, 0) << run.err;
        EXPECT_THAT(m_folder.Read(out), testing::Not(HasSubstr("_dravin_template")));
    }
}
