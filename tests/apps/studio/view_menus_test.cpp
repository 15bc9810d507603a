// From where views look and how they show the scene: menus, letters, and what the status line says.
#include "apps/studio/tools/view_actions.h"

#include <QAction>
#include <QLabel>
#include <QMenu>

#include "tests/apps/studio/tools_fixture.h"

namespace {

struct ViewMenus : Tools {
    void OpenWithCameras() {
        Open(R"({
          "dravin_scene": 1,
          "render": {"width": 400, "height": 200},
          "nodes": [
            {"name": "stone", "type": "box", "width": 1, "length": 1, "height": 1},
            {"name": "first", "type": "camera", "position": [0, -20, 2]},
            {"name": "second", "type": "camera", "position": [20, 0, 2]}
          ]})");
        LookFromAbove();
    }
    QMenu* Menu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }
    // The menu that V opens, and one of its letters.
    void PressLetter(Qt::Key key) {
        hand::Key(&View(), Qt::Key_V);
        ASSERT_TRUE(Menu());
        hand::Key(Menu(), key);
        EXPECT_FALSE(Menu());
    }
    const ViewPose& Pose() { return View().Navigation().Pose(); }
};

}  // namespace

TEST_F(ViewMenus, LettersBehindVLookFromEverySide) {
    OpenWithCameras();
    View().setFocus();
    window->Tools().SetGizmoTool(GizmoTool::kMove);
    for (auto [key, side] : {std::pair{Qt::Key_T, ViewSide::kTop},
                             {Qt::Key_F, ViewSide::kFront},
                             {Qt::Key_L, ViewSide::kLeft},
                             {Qt::Key_R, ViewSide::kRight},
                             {Qt::Key_B, ViewSide::kBottom},
                             {Qt::Key_K, ViewSide::kBack}}) {
        PressLetter(key);
        EXPECT_EQ(Pose().side, side);
        EXPECT_TRUE(Pose().isParallel);
    }
    PressLetter(Qt::Key_P);
    EXPECT_EQ(Pose().side, ViewSide::kUser);
    EXPECT_FALSE(Pose().isParallel);
    PressLetter(Qt::Key_U);
    EXPECT_TRUE(Pose().isParallel);
    PressLetter(Qt::Key_C);
    EXPECT_EQ(View().ViewName(), "first");
    EXPECT_EQ(window->Tools().Tool(), GizmoTool::kMove) << "the letters chose no tool";
    EXPECT_FALSE(window->Action("tool.lasso")->isChecked());
    EXPECT_EQ(NumSteps(), 0u) << "no undo steps";
    // Its own history.
    hand::Key(&View(), Qt::Key_Z, Qt::ShiftModifier);
    EXPECT_TRUE(Pose().isParallel);
}

TEST_F(ViewMenus, TheSelectedCameraIsMeantAndAllAreListed) {
    OpenWithCameras();
    Select({"second"});
    Settle();
    Trigger("view.camera");
    EXPECT_EQ(View().ViewName(), "second");
    hand::Key(&View(), Qt::Key_V);
    ASSERT_TRUE(Menu());
    QMenu* cameras = Menu()->actions().back()->menu();
    ASSERT_TRUE(cameras);
    ASSERT_EQ(cameras->actions().size(), 2);
    EXPECT_FALSE(cameras->actions()[0]->isChecked());
    EXPECT_TRUE(cameras->actions()[1]->isChecked());
    cameras->actions()[0]->trigger();
    EXPECT_EQ(View().ViewName(), "first");
    Menu()->close();
}

TEST_F(ViewMenus, OneDropDownOnEachViewChoosesHowItShows) {
    OpenWithCameras();
    PressAt(View().LabelBoxes()[1].center());
    ASSERT_TRUE(Menu());
    QStringList texts;
    for (QAction* action : Menu()->actions()) texts << action->text();
    for (const char* text : {"Points", "Boxes", "Wire", "Shaded", "Textured", "Rendered"})
        EXPECT_TRUE(texts.contains(text)) << text;
    EXPECT_TRUE(window->Action("view.shaded")->isChecked());
    window->Action("view.boxes")->trigger();
    EXPECT_EQ(View().Shading(), ViewportShading::kBoxes);
    EXPECT_TRUE(window->Action("view.boxes")->isChecked());
    EXPECT_FALSE(window->Action("view.shaded")->isChecked());
    Menu()->close();
    ReleaseAt(View().LabelBoxes()[1].center());
    EXPECT_TRUE(Selected().empty());
    Trigger("view.edges");
    EXPECT_TRUE(View().ShowsEdges());
    Trigger("view.grid");
    EXPECT_FALSE(View().ShowsGrid());
}

TEST_F(ViewMenus, TheRightButtonOpensTheMenuOfTheView) {
    OpenWithCameras();
    Send(QEvent::MouseButtonPress, {100, 100}, Qt::RightButton, Qt::RightButton, {});
    Send(QEvent::MouseButtonRelease, {100, 100}, Qt::RightButton, Qt::NoButton, {});
    ASSERT_TRUE(Menu());
    EXPECT_TRUE(Menu()->actions().contains(window->Action("view.only_selected")));
    EXPECT_TRUE(Menu()->actions().contains(window->Action("view.safe_frame")));
    EXPECT_TRUE(Menu()->actions().contains(window->Action("view.four")));
    Menu()->close();
}

TEST_F(ViewMenus, OnlyTheSelectedAndTheSafeFrameOfTheScenesPictures) {
    OpenWithCameras();
    Select({"stone"});
    Settle();
    Trigger("view.only_selected");
    EXPECT_EQ(View().Shown()->Nodes().size(), 1u);
    EXPECT_TRUE(window->Action("view.only_selected")->isChecked());
    Trigger("view.only_selected");
    EXPECT_EQ(View().Shown()->Nodes().size(), 3u);
    Trigger("view.safe_frame");
    EXPECT_EQ(View().SafeFrame(), 2);
    Session().Run("scene.render", "", {{"width", 300}, {"height", 300}});
    Rest();
    EXPECT_EQ(View().SafeFrame(), 1) << "it follows the scene";
    Trigger("view.safe_frame");
    EXPECT_EQ(View().SafeFrame(), 0);
}

TEST_F(ViewMenus, OneTwoAndFourViews) {
    OpenWithCameras();
    Trigger("view.four");
    EXPECT_EQ(window->Views().Layout(), QuadLayout::kFour);
    Trigger("view.two");
    EXPECT_EQ(window->Views().Layout(), QuadLayout::kTwo);
    Trigger("view.one");
    EXPECT_EQ(window->Views().Layout(), QuadLayout::kOne);
}

TEST_F(ViewMenus, TheStatusLineTellsThePlaceThePictureAndTheMemory) {
    OpenStones();
    auto* status = window->findChild<QLabel*>("view_status");
    ASSERT_TRUE(status);
    QPointF at = this->At({-5, 0, 1});
    Send(QEvent::MouseMove, at, Qt::NoButton, Qt::NoButton, {});
    ASSERT_TRUE(hand::Wait([&] { return status->text().contains("left"); }));
    EXPECT_TRUE(status->text().startsWith("-5.0") || status->text().startsWith("-4.9"))
        << status->text().toStdString();
    EXPECT_TRUE(status->text().contains(" ms"));
    EXPECT_TRUE(status->text().contains(QRegularExpression("[1-9][0-9]* MB")));
}

// Nobody is held in a view: Tab and Ctrl-Tab leave it.
TEST_F(ViewMenus, TheKeyboardLeavesTheView) {
    OpenStones();
    View().setFocus();
    ASSERT_TRUE(View().hasFocus());
    hand::Key(&View(), Qt::Key_Tab);
    EXPECT_FALSE(View().hasFocus());
}
