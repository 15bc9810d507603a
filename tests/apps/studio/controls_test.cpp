// Every kind of control sets its parameter as a hand would, as one undo step.
#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QMenu>
#include <QRadioButton>
#include <QSlider>
#include <QTableView>
#include <QTimer>

#include "apps/studio/panels/color_button.h"
#include "apps/studio/panels/number_field.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct StudioControls : StudioWindow {
    StudioControls() { OpenSmall(); }
    template <class T>
    T* Find(TParamKey key) {
        ParamControl* control = Control(key);
        if (T* editor = qobject_cast<T*>(control->Editor())) return editor;
        return control->findChild<T*>();
    }
    // Chooses an entry of the menu that opens next.
    void ChooseFromMenu(const QString& text) {
        QTimer::singleShot(50, qApp, [text] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            ASSERT_TRUE(menu);
            for (QAction* action : menu->actions())
                if (action->text() == text) menu->setActiveAction(action);
            hand::Key(menu, Qt::Key_Return);
        });
    }
};

}  // namespace

TEST_F(StudioControls, ANumberIsTyped) {
    auto* field = dynamic_cast<NumberField*>(Control(distParams::kThreshold)->Editor());
    field->setFocus();
    QCoreApplication::processEvents();
    hand::Type(field, "2*30");
    hand::Key(field, Qt::Key_Return);
    EXPECT_EQ(Read(distParams::kThreshold).number, 60);
    EXPECT_EQ(field->text(), "60");
    EXPECT_EQ(NumSteps(), 1u);
    EXPECT_EQ(Session().UndoName(), "Set Threshold");
}

TEST_F(StudioControls, ADragOfFiftyMovesIsOneStepAndUndoneExactly) {
    std::string before = Saved("before.json");
    auto* field = dynamic_cast<NumberField*>(Control(distParams::kUnitsX)->Editor());
    hand::DragArrows(field, 50);
    Rest();
    EXPECT_NE(Read(distParams::kUnitsX).number, 20);
    EXPECT_EQ(NumSteps(), 1u);
    EXPECT_TRUE(Session().IsModified());
    Session().Undo();
    Rest();
    EXPECT_FALSE(Session().IsModified());
    EXPECT_EQ(Saved("after.json"), before);
}

// Counted in items: how long it takes is the machine's business.
TEST_F(StudioControls, AHandThatDragsIsAnsweredByAPartOfManyItems) {
    Session().Run("param.set", "meadow", {{"name", "vmaxitems"}, {"value", 2'000'000}});
    Rest();
    // Cells of 0.028 on a ground of 20 x 20.
    for (const char* side : {"units_x", "units_y"}) {
        Session().Run("param.set", "meadow", {{"name", side}, {"value", 0.9}});
        Rest();
    }
    int64_t all = Session().Reports()[0].numItems;
    ASSERT_GT(all, 400'000);
    EXPECT_FALSE(Session().IsThinned());
    auto* field = dynamic_cast<NumberField*>(Control(transformParams::kZrotmax)->Editor());
    QPointF arrows(field->width() - 5.0, 6);
    hand::Press(field, arrows);
    hand::Move(field, arrows - QPointF(0, 20));
    bool wasThinned = hand::Wait([this] { return Session().IsThinned(); });
    EXPECT_TRUE(wasThinned);
    EXPECT_LE(Session().Reports()[0].numItems, 100'000);
    EXPECT_GT(Session().Reports()[0].numItems, 10'000);
    EXPECT_TRUE(hand::Wait([this] { return !Session().IsThinned(); })) << "the hand rests";
    EXPECT_EQ(Session().Reports()[0].numItems, all);
    hand::Move(field, arrows - QPointF(0, 40));
    hand::Release(field, arrows - QPointF(0, 40));
    Rest();
    EXPECT_FALSE(Session().IsThinned());
    EXPECT_EQ(Session().Reports()[0].numItems, all);
    EXPECT_EQ(Session().View()->NumItems(), size_t(all));
}

TEST_F(StudioControls, EscapeInADragRestoresTheScene) {
    std::string before = Saved("before.json");
    auto* field = dynamic_cast<NumberField*>(Control(distParams::kUnitsX)->Editor());
    QPointF arrows(field->width() - 5.0, 6);
    hand::Press(field, arrows);
    hand::Move(field, arrows - QPointF(0, 40));
    Session().Undo();  // while the button is down
    Rest();
    EXPECT_NE(Read(distParams::kUnitsX).number, 20);
    hand::Key(field, Qt::Key_Escape);
    EXPECT_EQ(Read(distParams::kUnitsX).number, 20);
    EXPECT_EQ(NumSteps(), 0u);
    EXPECT_EQ(Saved("after.json"), before);
}

TEST_F(StudioControls, AWrongEntryChangesNothing) {
    auto* field = dynamic_cast<NumberField*>(Control(distParams::kThreshold)->Editor());
    field->setFocus();
    QCoreApplication::processEvents();
    hand::Type(field, "1/0");
    hand::Key(field, Qt::Key_Return);
    EXPECT_EQ(Read(distParams::kThreshold).number, 50);
    EXPECT_EQ(field->text(), "1/0");
    EXPECT_EQ(NumSteps(), 0u);
}

TEST_F(StudioControls, ACheckBoxSwitches) {
    auto* box = Find<QCheckBox>(distParams::kCollision);
    hand::Key(box, Qt::Key_Space);
    EXPECT_EQ(Read(distParams::kCollision).number, 1);
    EXPECT_EQ(NumSteps(), 1u);
}

TEST_F(StudioControls, ARadioButtonChoosesAndRulesFollow) {
    auto* align = Control(surfaceParams::kUvalign);
    EXPECT_FALSE(align->isEnabled());
    auto buttons = Control(surfaceParams::kSurfmode)->findChildren<QRadioButton*>();
    ASSERT_EQ(buttons.size(), 2);
    QTest::mouseClick(buttons[1], Qt::LeftButton, {}, {8, buttons[1]->height() / 2});
    EXPECT_EQ(Read(surfaceParams::kSurfmode).number, 1);
    EXPECT_TRUE(align->isEnabled());
    EXPECT_EQ(NumSteps(), 1u);
}

TEST_F(StudioControls, ADropDownReachesBeyondTheRangeAndShowsItsGroup) {
    auto* box = Find<QComboBox>(distParams::kDistmode);
    EXPECT_FALSE(hand::Wheel(box, -1));  // not focused: the panel scrolls
    box->setFocus();
    for (int i = 0; i < 3; ++i) hand::Key(box, Qt::Key_Down);
    EXPECT_EQ(Read(distParams::kDistmode).number, 3);
    EXPECT_TRUE(Control(distParams::kDistpflownodes)->isVisibleTo(window.get()));
    EXPECT_FALSE(Control(distParams::kThreshold)->isVisibleTo(window.get()));
}

TEST_F(StudioControls, ASliderIsDragged) {
    auto* slider = Find<QSlider>(surfaceParams::kDirection);
    slider->setFocus();
    hand::Key(slider, Qt::Key_PageDown);
    EXPECT_LT(Read(surfaceParams::kDirection).number, 100);
    EXPECT_EQ(NumSteps(), 1u);
    slider->setSliderDown(true);
    for (int value = 50; value > 0; value -= 10) slider->setSliderPosition(value);
    slider->setSliderDown(false);
    EXPECT_EQ(Read(surfaceParams::kDirection).number, 10);
    EXPECT_EQ(NumSteps(), 2u);
}

TEST_F(StudioControls, AMapAndACameraAreChosenByName) {
    auto* map = qobject_cast<QAbstractButton*>(Control(distParams::kDistmap)->Editor());
    ChooseFromMenu("checks");
    QTest::mouseClick(map, Qt::LeftButton);
    EXPECT_EQ(Read(distParams::kDistmap).text, "checks");
    EXPECT_EQ(map->text(), "checks");
    auto* camera = qobject_cast<QAbstractButton*>(Control(camParams::kCamera)->Editor());
    ChooseFromMenu("eye");
    QTest::mouseClick(camera, Qt::LeftButton);
    EXPECT_EQ(Read(camParams::kCamera).text, "eye");
    EXPECT_EQ(NumSteps(), 2u);
}

TEST_F(StudioControls, AListOfNodesGrowsAndShrinks) {
    auto press = [this](const char* name) {
        auto* button = Control(surfaceParams::kSurflist)->findChild<QAbstractButton*>(name);
        ASSERT_TRUE(button) << name;
        QTest::mouseClick(button, Qt::LeftButton);
        QTest::qWait(10);
        Rest();
    };
    asked->selections = {{"ground", "stone"}};
    press("surflist_by_name");
    EXPECT_EQ(Read(surfaceParams::kSurflist).names, (std::vector<std::string>{"ground", "stone"}));
    press("surflist_clear");
    EXPECT_TRUE(Read(surfaceParams::kSurflist).names.empty());
    Session().Undo();
    EXPECT_EQ(Read(surfaceParams::kSurflist).names.size(), 2u);
}

TEST_F(StudioControls, AFileIsTyped) {
    auto* edit = qobject_cast<QLineEdit*>(Control(distParams::kMapname)->Editor());
    edit->setFocus();
    edit->selectAll();
    hand::Type(edit, "dense.bmp");
    hand::Key(edit, Qt::Key_Return);
    EXPECT_EQ(Read(distParams::kMapname).text, "dense.bmp");
    EXPECT_EQ(NumSteps(), 1u);
}

TEST_F(StudioControls, ACellOfAListIsEdited) {
    auto* view = window->findChild<QTableView*>("geometry_rows");
    ASSERT_TRUE(view);
    ASSERT_EQ(view->model()->rowCount(), 1);
    view->model()->setData(view->model()->index(0, 5), "50%");
    Rest();
    EXPECT_EQ(view->model()->index(0, 5).data().toString(), "50");
    EXPECT_EQ(NumSteps(), 1u);
}

TEST_F(StudioControls, EveryControlOfEveryRolloutHasANameAndHelp) {
    for (const TRollout& rollout : DravinRollouts())
        for (const TPanelGroup& group : rollout.groups)
            for (TParamKey key : group.params) {
                ParamControl* control = Control(key);
                ASSERT_TRUE(control) << key.Def().name;
                EXPECT_FALSE(control->Editor()->accessibleName().isEmpty()) << key.Def().name;
                EXPECT_TRUE(control->toolTip().contains(QString::fromStdString(key.Def().name)));
            }
}
