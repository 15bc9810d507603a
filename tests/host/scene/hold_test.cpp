#include "host/params/hold.h"

#include <gtest/gtest.h>

#include "host/params/undo_step.h"
#include "host/scene/host_context.h"
#include "host/scene/object.h"

namespace {

class AddRestore : public RestoreObj {
public:
    AddRestore(int& value, int amount) : m_value(value), m_amount(amount) { m_value += amount; }
    void Restore(bool) override { m_value -= m_amount; }
    void Redo() override { m_value += m_amount; }

private:
    int& m_value;
    int m_amount;
};

void Add(Hold& hold, int& value, int amount) {
    hold.Put(std::make_unique<AddRestore>(value, amount));
}

}  // namespace

TEST(Hold, AcceptedStepsUndoAndRedo) {
    Hold hold;
    int value = 0;
    hold.Begin();
    Add(hold, value, 3);
    Add(hold, value, 4);
    hold.Accept("Add");
    EXPECT_EQ(hold.UndoName(), "Add");
    EXPECT_TRUE(hold.Undo());
    EXPECT_EQ(value, 0);
    EXPECT_TRUE(hold.Redo());
    EXPECT_EQ(value, 7);
    EXPECT_FALSE(hold.Redo());
}

TEST(Hold, CancelUndoesOnlyItsLevel) {
    Hold hold;
    int value = 0;
    hold.SuperBegin();
    hold.Begin();
    Add(hold, value, 1);
    hold.Accept("kept");
    hold.Begin();
    Add(hold, value, 10);
    hold.Cancel();
    hold.SuperAccept("Both");
    EXPECT_EQ(value, 1);
    EXPECT_EQ(hold.NumUndoSteps(), 1u);
    EXPECT_EQ(hold.UndoName(), "Both");
}

TEST(Hold, AMeshThatChangesTwiceInALevelIsKeptOnce) {
    HostContext session;
    auto object = std::make_shared<TriObject>();
    std::shared_ptr<const Mesh> first = object->GetMesh();
    std::weak_ptr<const Mesh> between;
    auto last = std::make_shared<const Mesh>();
    {
        UndoStep step("Change");
        object->SetMesh(std::make_shared<const Mesh>());
        between = object->GetMesh();
        object->SetMesh(last);
    }
    EXPECT_TRUE(between.expired());
    ASSERT_TRUE(session.Undo().Undo());
    EXPECT_EQ(object->GetMesh(), first);
    ASSERT_TRUE(session.Undo().Redo());
    EXPECT_EQ(object->GetMesh(), last);
}

TEST(Hold, AMeshComesBackFromALevelInsideThatIsGivenUp) {
    HostContext session;
    Hold& hold = session.Undo();
    auto object = std::make_shared<TriObject>();
    std::shared_ptr<const Mesh> first = object->GetMesh();
    auto outside = std::make_shared<const Mesh>();
    hold.SuperBegin();
    object->SetMesh(outside);
    hold.Begin();
    object->SetMesh(std::make_shared<const Mesh>());
    hold.Cancel();
    EXPECT_EQ(object->GetMesh(), outside);
    hold.SuperCancel();
    EXPECT_EQ(object->GetMesh(), first);
}

TEST(Hold, NothingRecordedLeavesNoStep) {
    Hold hold;
    hold.Begin();
    hold.Accept("Empty");
    EXPECT_FALSE(hold.Undo());
    int value = 0;
    hold.Begin();
    hold.Suspend();
    EXPECT_FALSE(hold.Holding());
    Add(hold, value, 1);
    hold.Resume();
    hold.Accept("Suspended");
    EXPECT_EQ(hold.NumUndoSteps(), 0u);
}

TEST(Hold, ANewStepDropsWhatCouldBeRedone) {
    Hold hold;
    int value = 0;
    for (int i = 0; i < 2; ++i) {
        hold.Begin();
        Add(hold, value, 1);
        hold.Accept("One");
        if (i == 0) hold.Undo();
    }
    EXPECT_EQ(hold.NumRedoSteps(), 0u);
    EXPECT_FALSE(hold.Redo());
}

TEST(HostContext, StatesLiveAsLongAsTheContext) {
    struct Counter {
        int n = 0;
    };
    HostContext outer;
    outer.State<Counter>().n = 5;
    {
        HostContext inner;
        EXPECT_EQ(inner.State<Counter>().n, 0);
    }
    EXPECT_EQ(HostContext::Current(), &outer);
    EXPECT_EQ(outer.State<Counter>().n, 5);
}

TEST(UserInterface, ScriptedAnswersInOrderThenNo) {
    ScriptedUserInterface user;
    user.answers = {Answer::kYes};
    EXPECT_EQ(user.Question("a?", "c", QuestionKind::kYesNo), Answer::kYes);
    EXPECT_EQ(user.Question("b?", "c", QuestionKind::kYesNo), Answer::kNo);
    EXPECT_EQ(user.questions.size(), 2u);
    EXPECT_FALSE(user.PickFile({}));
    user.stopAtPercent = 50;
    EXPECT_TRUE(user.ProgressUpdate(49));
    EXPECT_FALSE(user.ProgressUpdate(50));
}
