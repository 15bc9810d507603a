#include "apps/studio/panels/number_field.h"

#include <gtest/gtest.h>

#include <QCursor>

#include "tests/apps/studio/hand.h"

namespace {

// A field at 50 whose wishes are written down.
struct Field : testing::Test {
    std::string entered, refusal;
    std::vector<double> offsets;
    int begun = 0, kept = 0, dropped = 0, resets = 0;
    QWidget window;
    QWidget* other = new QLineEdit(&window);
    NumberField* field = nullptr;

    Field() {
        NumberField::Hooks hooks;
        hooks.enter = [this](const std::string& text) { return entered = text, refusal; };
        hooks.begin = [this] { ++begun; };
        hooks.offset = [this](double offset) { offsets.push_back(offset); };
        hooks.end = [this](bool keep) { ++(keep ? kept : dropped); };
        hooks.reset = [this] { ++resets; };
        hooks.step = [](double) { return 1.0; };
        field = new NumberField(hooks, &window);
        field->setGeometry(0, 40, 100, 24);
        field->Show(50, false, false, false);
        window.setGeometry(300, 300, 200, 100);
        window.show();
        window.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
        other->setFocus();
    }
    QPointF Arrows() { return {field->width() - 5.0, 6}; }
    double LastOffset() { return offsets.empty() ? 0 : offsets.back(); }
};

}  // namespace

TEST_F(Field, ADragOnTheArrowsIsOneGesture) {
    hand::Press(field, Arrows());
    for (int i = 1; i <= 50; ++i) hand::Move(field, Arrows() - QPointF(0, 2 * i));
    hand::Release(field, Arrows() - QPointF(0, 100));
    EXPECT_EQ(begun, 1);
    EXPECT_EQ(kept, 1);
    EXPECT_EQ(LastOffset(), 50);  // two pixels a step
}

TEST_F(Field, ThePointerComesBackInAtTheEdgeOfTheScreen) {
    hand::Press(field, Arrows());
    QPointF top = field->mapFromGlobal(QPointF(350, 0));
    hand::Move(field, top);
    double reached = LastOffset();
    EXPECT_GT(reached, 100);
    int bottom = QCursor::pos().y();
    EXPECT_GT(bottom, 400);
    hand::Move(field, field->mapFromGlobal(QPointF(350, bottom - 20)));
    EXPECT_EQ(LastOffset(), reached + 10);
    hand::Release(field, {});
    EXPECT_LT(QCursor::pos().y(), 400);  // where it began
}

TEST_F(Field, ModifiersMakeStepsLargerAndSmaller) {
    hand::Press(field, Arrows());
    hand::Move(field, Arrows() - QPointF(0, 10), Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(LastOffset(), 50);
    hand::Move(field, Arrows() - QPointF(0, 20), Qt::AltModifier);
    EXPECT_DOUBLE_EQ(LastOffset(), 50.5);
    hand::Release(field, Arrows());
}

TEST_F(Field, EscapeAndTheRightButtonRestoreDuringADrag) {
    hand::Press(field, Arrows());
    hand::Move(field, Arrows() - QPointF(0, 20));
    hand::Key(field, Qt::Key_Escape);
    EXPECT_EQ(dropped, 1);
    EXPECT_EQ(field->text(), "50");
    hand::Release(field, Arrows());  // of the hand that let go later
    hand::Press(field, Arrows());
    hand::Move(field, Arrows() - QPointF(0, 20));
    hand::Press(field, Arrows(), Qt::RightButton);
    EXPECT_EQ(dropped, 2);
    EXPECT_EQ(kept, 0);
    EXPECT_EQ(resets, 0);
}

TEST_F(Field, LosingTheFocusEndsADragWithoutAChange) {
    field->setFocus();
    hand::Press(field, Arrows());
    hand::Move(field, Arrows() - QPointF(0, 20));
    other->setFocus();
    EXPECT_EQ(dropped, 1);
    EXPECT_EQ(kept, 0);
}

TEST_F(Field, ALabelDragsSideways) {
    QWidget label(&window);
    label.setGeometry(0, 70, 60, 20);
    field->AttachLabel(&label);
    hand::Press(&label, {10, 10});
    hand::Move(&label, {30, 10});
    hand::Release(&label, {30, 10});
    EXPECT_EQ(LastOffset(), 10);
    EXPECT_EQ(kept, 1);
}

TEST_F(Field, TheWheelNeedsTheFocusAndABurstIsOneStep) {
    EXPECT_FALSE(hand::Wheel(field, 1));  // left to the panel
    EXPECT_EQ(begun, 0);
    field->setFocus();
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(hand::Wheel(field, 1));
    EXPECT_TRUE(hand::Wheel(field, 1, Qt::ControlModifier));
    EXPECT_EQ(begun, 1);
    EXPECT_EQ(LastOffset(), 15);
    EXPECT_TRUE(hand::Wait([this] { return kept == 1; }));
}

TEST_F(Field, KeysStepTheDigitLeftOfTheCursor) {
    field->setFocus();
    QCoreApplication::processEvents();
    field->deselect();
    field->setCursorPosition(1);  // behind the 5 of 50
    hand::Key(field, Qt::Key_Up);
    EXPECT_EQ(LastOffset(), 10);
    EXPECT_EQ(field->text(), "60");
    field->setCursorPosition(2);
    hand::Key(field, Qt::Key_PageDown);
    EXPECT_EQ(LastOffset(), 0);
    hand::Key(field, Qt::Key_Return);
    EXPECT_EQ(begun, 1);
    EXPECT_EQ(kept, 1);
}

TEST_F(Field, AnEntryIsAppliedByEnterAndByTab) {
    field->setFocus();
    QCoreApplication::processEvents();
    hand::Type(field, "2*3");
    hand::Key(field, Qt::Key_Return);
    EXPECT_EQ(entered, "2*3");
    hand::Type(field, "7");
    hand::Key(field, Qt::Key_Tab);
    EXPECT_EQ(entered, "7");
    EXPECT_FALSE(field->hasFocus());
}

TEST_F(Field, AWrongEntryStaysAndEscapeRestores) {
    refusal = "no number";
    field->setFocus();
    QCoreApplication::processEvents();
    hand::Type(field, "2*");
    hand::Key(field, Qt::Key_Return);
    EXPECT_EQ(field->text(), "2*");
    EXPECT_TRUE(field->property("error").toBool());
    EXPECT_EQ(field->toolTip(), "no number");
    hand::Key(field, Qt::Key_Escape);
    EXPECT_EQ(field->text(), "50");
    EXPECT_FALSE(field->property("error").toBool());
}

TEST_F(Field, RightClickOnTheArrowsResetsAndBack) {
    hand::Press(field, Arrows(), Qt::RightButton);
    EXPECT_EQ(resets, 1);
    field->Show(40, false, false, true);
    hand::Press(field, Arrows(), Qt::RightButton);
    EXPECT_EQ(resets, 1);
    EXPECT_EQ(entered, "50");
}

TEST_F(Field, MixedValuesShowADash) {
    field->Show(50, true, false, false);
    EXPECT_EQ(field->text(), QString(u'\u2013'));
    field->Show(50, false, true, false);
    EXPECT_TRUE(field->property("keyed").toBool());
}
