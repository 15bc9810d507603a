// Nodes for parameters, chosen by clicks in a view and by name.
#include <QAction>
#include <QLabel>
#include <QPushButton>

#include "tests/apps/studio/tools_fixture.h"

namespace {

struct NodePicking : Tools {
    void OpenMeadow() {
        Open(R"({
          "dravin_scene": 1,
          "nodes": [
            {"name": "hill", "type": "box", "width": 4, "length": 4, "height": 1, "position": [-6, 0, 0]},
            {"name": "dune", "type": "box", "width": 4, "length": 4, "height": 1, "position": [6, 0, 0]},
            {"name": "meadow", "type": "dravin", "params": {}}
          ]
        })");
        LookFromAbove();
        Select({"meadow"});
        for (DravinBlockId block : {kSurfaceParams, kCamParams})
            window->Panel().OpenRollout(block, true);
        Settle();
    }
    QPushButton* Button(const char* name) {
        auto* button = window->findChild<QPushButton*>(name);
        EXPECT_TRUE(button) << name;
        return button;
    }
    void Press(const char* name) {
        Button(name)->click();
        Settle();
    }
    QString Counted() { return window->findChild<QLabel*>("surflist_count")->text(); }
    QString Prompt() { return window->Tools().PromptLabel()->text(); }
};

}  // namespace

TEST_F(NodePicking, ClicksFillTheListUntilTheRightButtonEndsIt) {
    OpenMeadow();
    std::string before = Saved("a.json");
    size_t steps = NumSteps();
    EXPECT_EQ(Counted(), "0 Surfaces");
    EXPECT_EQ(Button("surflist_pick")->toolTip(),
              "Pick Surfaces from scene. Right click to cancel");
    Press("surflist_pick");
    EXPECT_TRUE(Button("surflist_pick")->isChecked());
    EXPECT_TRUE(Prompt().contains("right click")) << Prompt().toStdString();
    Click({-6, 0, 0});
    EXPECT_EQ(Counted(), "1 Surface");
    EXPECT_EQ(Selected(), std::vector<std::string>{"meadow"}) << "a pick selects nothing";
    Click({-6, 0, 0});
    EXPECT_EQ(Counted(), "1 Surface") << "it is there already";
    Click({6, 0, 0});
    EXPECT_EQ(Counted(), "2 Surfaces");
    RightClick();
    EXPECT_FALSE(Button("surflist_pick")->isChecked());
    EXPECT_FALSE(Prompt().contains("right click"));
    EXPECT_EQ(NumSteps(), steps + 2);
    Session().Undo();
    Session().Undo();
    Settle();
    EXPECT_EQ(Counted(), "0 Surfaces");
    EXPECT_EQ(Saved("b.json"), before);
}

TEST_F(NodePicking, TheButtonAgainOrEscapeGivesUp) {
    OpenMeadow();
    Press("surflist_pick");
    Press("surflist_pick");
    EXPECT_FALSE(Button("surflist_pick")->isChecked());
    Press("surflist_pick");
    View().setFocus();
    hand::Key(&View(), Qt::Key_Escape);
    Settle();
    EXPECT_FALSE(Button("surflist_pick")->isChecked());
    EXPECT_EQ(Counted(), "0 Surfaces");
}

TEST_F(NodePicking, OneWishEndsTheOther) {
    OpenMeadow();
    Press("surflist_pick");
    Press("camera_pick");
    EXPECT_FALSE(Button("surflist_pick")->isChecked());
    EXPECT_TRUE(Button("camera_pick")->isChecked());
    Select({"hill"});  // the panel shows something else
    Settle();
    EXPECT_FALSE(Prompt().contains("right click"));
}

TEST_F(NodePicking, ByNameAndCleared) {
    OpenMeadow();
    asked->selections = {{"dune", "hill"}};
    Press("surflist_by_name");
    EXPECT_EQ(Counted(), "2 Surfaces");
    Press("surflist_clear");
    EXPECT_EQ(Counted(), "0 Surfaces");
    EXPECT_EQ(Session().UndoName(), "Surfaces Cleared");
    Session().Undo();
    Settle();
    EXPECT_EQ(Counted(), "2 Surfaces");
}
