// `dravin edit` on the items of an object, as a user at the command line.
#include <gmock/gmock.h>

#include <sstream>

#include "tests/run_program.h"

using testing::HasSubstr;

namespace {

class EditItems : public testing::Test {
protected:
    EditItems() {
        m_folder.Write("wood.json", R"({"dravin_scene": 1,
 "texmaps": {"white": {"type": "color", "color": [1, 1, 1]}}, "nodes": [
  {"name": "ground", "type": "plane", "width": 20, "length": 20},
  {"name": "tree", "type": "box", "width": 1, "length": 1, "height": 2, "hidden": true},
  {"name": "rock", "type": "box", "width": 1, "length": 1, "height": 1, "hidden": true},
  {"name": "wood", "type": "dravin",
   "params": {"surflist": ["ground"], "distmap": "white", "units_x": 10, "units_y": 10,
              "pixels_x": 10, "pixels_y": 10},
   "geometry": [{"name": "tree", "object": "tree", "id": 1},
                {"name": "rock", "object": "rock", "id": 2, "probability": 0}]}]})");
    }
    ProgramRun Dravin(const std::string& arguments) const {
        std::string text = DRAVIN_BINARY_DIR "/apps/dravin/dravin " + arguments;
        return RunProgram({"/bin/bash", "-c", text}, m_folder.File("."));
    }
    // Rows of the items of a scene, without the head.
    std::vector<std::string> Rows(const std::string& scene, const std::string& fields) const {
        ProgramRun run = Dravin("build " + scene + " --fields " + fields + " -o items.csv");
        EXPECT_EQ(run.code, 0) << run.err;
        std::vector<std::string> rows;
        std::istringstream lines(m_folder.Read("items.csv"));
        for (std::string line; std::getline(lines, line);) rows.push_back(line);
        if (!rows.empty()) rows.erase(rows.begin());
        return rows;
    }
    TempFolder m_folder;
};

}  // namespace

TEST_F(EditItems, ItemsAreFrozenSelectedMovedAndDeleted) {
    ProgramRun run = Dravin(
        "edit wood.json --yes --do 'mode.switch mode=custom_edit' --do 'items.select items=[0,1]' "
        "--do 'items.move by=[0,0,5]' --do 'items.select items=[2]' --do items.delete "
        "--do items.count -o out.json");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "2\n1\n399\n[\"399 Items in Object\",\"0 Items selected\"]\n");
    EXPECT_EQ(Rows("out.json", "seed").size(), 399u);
    EXPECT_THAT(m_folder.Read("out.json"), HasSubstr("5"));
}

TEST_F(EditItems, QuestionsAreAnsweredWithNoUnlessToldOtherwise) {
    ProgramRun run = Dravin("edit wood.json --do 'mode.switch mode=custom_edit' -o out.json");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("--yes answers yes"));
    run = Dravin("edit wood.json --do 'items.select items=0' -o out.json");
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, HasSubstr("mode.switch mode=custom_edit"));
}

TEST_F(EditItems, EveryItemCommandRuns) {
    ProgramRun run = Dravin(
        "edit wood.json --yes --do 'mode.switch mode=custom_edit' --do 'items.select_all' "
        "--do 'items.rotate by=[0,0,90] center=[0,0,0]' --do 'items.rotate by=[0,0,10]' "
        "--do 'items.scale by=[2,2,1] ' --do 'items.reset_sizes' --do 'items.reseed' "
        "--do 'items.randomise' --do 'items.select_type row=0' --do 'items.store_transforms' "
        "--do 'items.select_none' --do 'items.select items=[3,4]' --do 'items.select items=4 "
        "how=remove' "
        "--do 'items.properties row=1 user_id=7' --do items.clone --do items.detach "
        "--do items.select_invert --do items.start_adding "
        "--do 'items.add position=[1,2,0] choice=sequence' "
        "--do scene.undo --do scene.redo -o out.json --object wood");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("\n[1,1,0,7]\n"));
    EXPECT_THAT(run.out, HasSubstr("\nDravin"));
    run = Dravin("edit out.json --object wood --do 'items.attach nodes=Dravin001' -o again.json");
    if (run.code != 0)  // the first free name
        run = Dravin("edit out.json --object wood --do 'items.attach nodes=Dravin' -o again.json");
    ASSERT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(run.out, "1\n");
    EXPECT_EQ(Rows("again.json", "seed").size(), 402u);
}

TEST_F(EditItems, OneGeneratedItemIsChangedForGood) {
    std::vector<std::string> before = Rows("wood.json", "id,position,specimen_index");
    ASSERT_EQ(before.size(), 400u);
    auto id = [&](size_t i) {
        size_t first = before[i].find(',') + 1;
        return before[i].substr(first, before[i].find(',', first) - first);
    };
    auto cell = [&](size_t n) {
        std::string text(1, ',');
        text += id(n);
        text += ',';
        return text;
    };
    ProgramRun run =
        Dravin("edit wood.json --do 'items.change id=" + id(0) +
               " delete=true' --do 'items.change id=" + id(1) + " move=[0,0,3] row=1' -o out.json");
    ASSERT_EQ(run.code, 0) << run.err;
    // With more ground the items are where they were, and so are the changes.
    std::string scene = m_folder.Read("out.json");
    m_folder.Write("wide.json", scene.replace(scene.find("\"width\": 20"), 11, "\"width\": 30"));
    for (const char* file : {"out.json", "wide.json"}) {
        std::vector<std::string> after = Rows(file, "id,position,specimen_index");
        size_t found = 0;
        for (const std::string& row : after) {
            EXPECT_EQ(row.find(cell(0)), std::string::npos);
            if (row.find(cell(1)) == std::string::npos) continue;
            ++found;
            EXPECT_THAT(row, testing::EndsWith(",3,1")) << file;
        }
        EXPECT_EQ(found, 1u);
    }
    run = Dravin("edit out.json --do items.restore -o restored.json");
    EXPECT_EQ(run.out, "2\n");
    EXPECT_EQ(Rows("restored.json", "id,position,specimen_index"), before);
}

TEST_F(EditItems, ChangesOfItemsThatAreGoneAreTold) {
    ProgramRun run = Dravin(
        "edit wood.json --do 'items.change id=g1.500.1.500/00000001 move=[1,0,0]' -o out.json");
    ASSERT_EQ(run.code, 0) << run.err;
    run = Dravin("build out.json -o items.json");
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.err, HasSubstr("the items no longer exist (g1.500.1.500/00000001)"));
    EXPECT_THAT(
        m_folder.Read("items.json"),
        HasSubstr(R"("deltas":{"changed":0,"deleted":0,"missing":["g1.500.1.500/00000001"]})"));
    EXPECT_EQ(Dravin("edit wood.json --do 'items.change id=oak'").code, 1);
    EXPECT_EQ(Dravin("edit wood.json --do 'items.change id=p1.0/00000001 row=2'").code, 1);
}

TEST_F(EditItems, PiecesJoinedAreTheWhole) {
    std::vector<std::string> before = Rows("wood.json", "id,seed");
    std::string id = before[7].substr(5, before[7].rfind(',') - 5);
    ASSERT_EQ(
        Dravin("edit wood.json --do 'items.change id=" + id + " scale=[2,2,2]' -o out.json").code,
        0);
    ASSERT_EQ(Dravin("build out.json --fields width,position -o whole.npz").code, 0);
    for (int k = 1; k <= 3; ++k) {
        std::string n(1, char('0' + k));
        ASSERT_EQ(
            Dravin("build out.json --fields width,position --piece " + n + "/3 -o p" + n + ".npz")
                .code,
            0);
    }
    ASSERT_EQ(Dravin("join p1.npz p2.npz p3.npz -o joined.npz").code, 0);
    EXPECT_EQ(m_folder.Read("joined.npz"), m_folder.Read("whole.npz"));
}

TEST_F(EditItems, RowsGoAndItemsGoOnShowingTheirs) {
    ProgramRun run = Dravin(
        "edit wood.json --yes --do 'mode.switch mode=custom_edit' --do 'items.select items=[0]' "
        "--do 'items.properties row=1' --do 'geometry.move row=1 to=0' -o out.json");
    ASSERT_EQ(run.code, 0) << run.err;
    std::vector<std::string> rows = Rows("out.json", "specimen_index");
    EXPECT_EQ(rows[0], "wood,0");
    EXPECT_EQ(rows[1], "wood,1");
    EXPECT_EQ(Dravin("edit wood.json --do 'geometry.delete rows=2'").code, 1);
}

TEST_F(EditItems, ObjectsAreCreated) {
    ProgramRun run = Dravin("edit wood.json --do 'object.create position=[1,2,3]' -o out.json");
    ASSERT_EQ(run.code, 0) << run.err;
    std::string name = run.out.substr(0, run.out.find('\n'));
    EXPECT_THAT(m_folder.Read("out.json"), HasSubstr("\"name\": \"" + name + "\""));
    // Made by hand, it fits its map to what it will stand on.
    EXPECT_THAT(m_folder.Read("out.json"), HasSubstr("\"choose_map_size\": true"));
    EXPECT_EQ(Dravin("edit wood.json --do 'object.create creation=2'").code, 1);
}
