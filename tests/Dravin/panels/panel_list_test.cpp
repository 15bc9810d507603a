#include "Dravin/panels/panel_list.h"

#include "Dravin/commands/all_commands.h"
#include "host/scene/object.h"
#include "tests/Dravin/panels/panel_scene.h"

namespace {

const TPanelList& ListNamed(const std::string& name) {
    for (const TRollout& rollout : DravinRollouts())
        for (const TPanelGroup& group : rollout.groups)
            if (group.list && group.list->name == name) return *group.list;
    ADD_FAILURE() << name;
    return *DravinRollouts()[1].groups[0].list;
}

struct PanelLists : PanelScene {
    TCommandTable commands = MakeCommandTable();
    const TPanelList& list = ListNamed("geometry");

    PanelLists() {
        scene.AddNode("stone", std::make_shared<TriObject>(std::make_shared<Mesh>()));
        EXPECT_TRUE(commands.Run("geometry.add", scene, "first", {{"node", "stone"}}));
        EXPECT_TRUE(commands.Run("geometry.add", scene, "first", {{"node", "stone"}}));
        scene.undo.Clear();
    }
};

}  // namespace

TEST_F(PanelLists, RowsAreReadColumnByColumn) {
    TPanel panel = One();
    TPanelRows rows(panel, list);
    ASSERT_EQ(rows.Count(), 2);
    EXPECT_EQ(rows.Cell(0, 0), "stone");
    EXPECT_EQ(rows.Cell(0, 1), "Object");
    EXPECT_EQ(rows.Cell(0, 5), "100");
    EXPECT_EQ(rows.Cell(0, 9), "stone");
    EXPECT_EQ(rows.Cell(0, 10), "None");
}

TEST_F(PanelLists, ACellIsOneUndoStep) {
    TPanel panel = One();
    TPanelRows rows(panel, list);
    EXPECT_TRUE(rows.SetCell(1, 5, "50%"));
    EXPECT_EQ(rows.Cell(1, 5), "50");
    EXPECT_EQ(rows.Cell(0, 5), "100");
    EXPECT_TRUE(rows.SetCell(1, 1, "Off"));
    EXPECT_EQ(rows.Cell(1, 1), "Off");
    EXPECT_EQ(scene.undo.NumUndoSteps(), 2u);
    EXPECT_EQ(scene.undo.UndoName(), "Set Kind");
    scene.undo.Undo();
    EXPECT_EQ(rows.Cell(1, 1), "Object");
}

TEST_F(PanelLists, BadCellsSayWhyAndChangeNothing) {
    TPanel panel = One();
    TPanelRows rows(panel, list);
    EXPECT_FALSE(rows.SetCell(0, 5, "much"));
    EXPECT_FALSE(rows.SetCell(7, 5, "3"));
    EXPECT_FALSE(rows.SetCell(0, 9, "pebble"));
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
}

TEST(PanelList, AreasAndEffectsHaveColumns) {
    EXPECT_EQ(ListNamed("area").columns[0].title, "On");
    EXPECT_EQ(ListNamed("effect").columns[1].title, "Name");
}

TEST(PanelList, ButtonsOfAreasSayWhatTheyDo) {
    auto tip = [](const std::string& label) {
        for (const TPanelButton& button : ListNamed("area").buttons)
            if (button.label == label) return button.tip;
        return std::string("no such button");
    };
    EXPECT_EQ(tip("Spline..."), "Adds a new Spline Area");
    EXPECT_EQ(tip("Object..."), "Adds a new Object Area (exclude only)");
    EXPECT_EQ(tip("Add Paint"), "Adds a new Paint Area");
    EXPECT_EQ(tip("Up"), "Move Up (excluding areas affect only the areas below it)");
    EXPECT_EQ(tip("Down"), "Move Down (excluding areas affect only the areas below it)");
    EXPECT_EQ(tip("By Name"), "Adds multiple Spline/Object Areas by name");
}
