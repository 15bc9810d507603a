// The data export and `dravin instantiate`, as users reach them.
#include <gmock/gmock.h>

#include "tests/run_program.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class ToolsCommands : public testing::Test {
protected:
    ToolsCommands() {
        m_folder.Write("wood.json", R"({"dravin_scene": 1, "nodes": [
  {"name": "ground", "type": "plane", "width": 100, "length": 100},
  {"name": "tree", "type": "box", "width": 1, "length": 1, "height": 2, "hidden": true},
  {"name": "wood", "type": "dravin", "params": {"surflist": ["ground"], "units_x": 150, "units_y": 150},
   "geometry": [{"name": "tree", "object": "tree"}]},
  {"name": "park", "type": "dravin", "params": {"surflist": ["ground"], "units_x": 150, "units_y": 150, "seed": 5},
   "geometry": [{"name": "tree", "object": "tree"}]}]})");
    }
    ProgramRun Dravin(const std::string& arguments) const {
        std::string text = DRAVIN_BINARY_DIR "/apps/dravin/dravin " + arguments;
        return RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
    }
    static size_t Count(const std::string& text, const std::string& part) {
        size_t count = 0;
        for (size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) ++count;
        return count;
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(ToolsCommands, XmlHoldsAllItemsOfAllObjects) {
    ProgramRun run = Dravin("build wood.json -o x.xml -o x.csv");
    EXPECT_EQ(run.code, 0) << run.err;
    std::string xml = m_folder.Read("x.xml"), csv = m_folder.Read("x.csv");
    EXPECT_EQ(Count(xml, "<Item "), Count(csv, "\n") - 1);
    EXPECT_LT(xml.find("<DravinObject name=\"wood\">"), xml.find("<DravinObject name=\"park\">"));
    EXPECT_EQ(Count(xml, " index=\"0\""), 2u);
    EXPECT_THAT(xml, HasSubstr(" surfBary="));
}

TEST_F(ToolsCommands, FieldsOfXmlAreItsOwn) {
    EXPECT_EQ(Dravin("build wood.json -o x.xml --fields index,geomID --object park").code, 0);
    EXPECT_THAT(m_folder.Read("x.xml"), HasSubstr("\n  <Item index=\"0\" geomID=\"0\"/>\n"));
    EXPECT_EQ(Dravin("build wood.json -o x.xml --fields none --object park").code, 0);
    EXPECT_THAT(m_folder.Read("x.xml"), HasSubstr("\n  <Item/>\n"));
    ProgramRun wrong = Dravin("build wood.json -o y.xml --fields index,positon");
    EXPECT_EQ(wrong.code, 2);
    EXPECT_THAT(wrong.err, HasSubstr("did you mean \"position\"?; it has index, geomID"));
    EXPECT_EQ(Dravin("build wood.json -o y.xml -o y.csv --fields index").code, 2);
    EXPECT_EQ(Dravin("build wood.json -o y.xml --piece 1/2").code, 2);
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("y.xml")));
}

TEST_F(ToolsCommands, ItemsBecomeNodesAndGoAgain) {
    ProgramRun run = Dravin("instantiate wood.json --object wood -o trees.json");
    EXPECT_EQ(run.code, 0) << run.err;
    std::string trees = m_folder.Read("trees.json");
    EXPECT_THAT(trees, HasSubstr("\"name\": \"wood_tree_1\""));
    EXPECT_THAT(trees, HasSubstr("\"kind\": \"disabled\""));
    EXPECT_THAT(trees, Not(HasSubstr("park_tree_1")));

    size_t made = Count(trees, "\"name\": \"wood_tree_");
    EXPECT_GT(made, 10u);
    EXPECT_EQ(Dravin("instantiate trees.json --object wood -o again.json").code, 0);
    EXPECT_EQ(Count(m_folder.Read("again.json"), "\"name\": \"wood_tree_"), made);
    EXPECT_EQ(Dravin("instantiate trees.json --object wood --delete -o back.json").code, 0);
    std::string back = m_folder.Read("back.json");
    EXPECT_THAT(back, Not(HasSubstr("wood_tree_")));
    EXPECT_THAT(back, Not(HasSubstr("disabled")));
}

TEST_F(ToolsCommands, LayersAndGroups) {
    EXPECT_EQ(
        Dravin("instantiate wood.json --object wood --hierarchy layer --layer t -o a.json").code,
        0);
    EXPECT_THAT(m_folder.Read("a.json"), HasSubstr("\"layer\": \"t\""));
    EXPECT_THAT(m_folder.Read("a.json"), HasSubstr("\"frozen\": true"));
    EXPECT_EQ(Dravin("instantiate wood.json --object wood --hierarchy group -o b.json").code, 0);
    EXPECT_THAT(m_folder.Read("b.json"), HasSubstr("\"parent\": \"wood_instancegroup\""));
    EXPECT_EQ(Dravin("instantiate b.json --object wood --delete -o c.json").code, 0);
    EXPECT_THAT(m_folder.Read("c.json"), Not(HasSubstr("instancegroup")));
}

TEST_F(ToolsCommands, NothingToInstantiateIsTold) {
    m_folder.Write("bare.json", R"({"dravin_scene": 1, "nodes": [
  {"name": "w", "type": "dravin", "geometry": [{"name": "a", "template": "One Plane"}]}]})");
    ProgramRun run = Dravin("instantiate bare.json -o x.json");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("There are not Custom Objects defined in the Geometry List"));
    EXPECT_EQ(Dravin("instantiate wood.json -o wood.json").code, 2);
    EXPECT_EQ(Dravin("instantiate none.json -o x.json").code, 3);
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("x.json")));
}
