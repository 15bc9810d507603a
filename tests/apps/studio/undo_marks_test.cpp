#include "apps/studio/undo_marks.h"

#include <gtest/gtest.h>

namespace {

struct Record : RestoreObj {
    void Restore(bool) override {}
    void Redo() override {}
};

struct UndoMarksOf : testing::Test {
    Hold hold;
    UndoMarks marks;

    void Step() {
        hold.Begin();
        hold.Put(std::make_unique<Record>());
        hold.Accept("step");
        marks.Done(hold);
    }
    void Undo() { hold.Undo(), marks.Undone(hold); }
    void Redo() { hold.Redo(), marks.Redone(hold); }
};

}  // namespace

TEST_F(UndoMarksOf, UndoAndRedoComeBackToTheSameState) {
    uint64_t start = marks.Current();
    Step();
    uint64_t first = marks.Current();
    Step();
    Undo();
    EXPECT_EQ(marks.Current(), first);
    Undo();
    EXPECT_EQ(marks.Current(), start);
    Redo();
    EXPECT_EQ(marks.Current(), first);
}

TEST_F(UndoMarksOf, AnotherStepIsAnotherState) {
    Step();
    uint64_t saved = marks.Current();
    Undo();
    Step();
    EXPECT_NE(marks.Current(), saved);
    Undo();
    Redo();
    EXPECT_NE(marks.Current(), saved);
}

TEST_F(UndoMarksOf, NothingDoneIsNoNewState) {
    Step();
    uint64_t now = marks.Current();
    marks.Done(hold);
    EXPECT_EQ(marks.Current(), now);
}

TEST_F(UndoMarksOf, ForgottenStepsLeaveTheStartBehind) {
    uint64_t start = marks.Current();
    for (size_t i = 0; i < Hold::kMaxSteps + 5; ++i) Step();
    while (hold.NumUndoSteps()) Undo();
    EXPECT_NE(marks.Current(), start);
}
