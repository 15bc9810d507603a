// Selecting and transforming with the hand in a view: nodes, hand-edited items, single generated
// ones.
#include <algorithm>

#include <QAction>
#include <QLabel>
#include <QLineEdit>

#include "host/scene/user_interface.h"
#include "tests/apps/studio/tools_fixture.h"

namespace {

using Names = std::vector<std::string>;

}  // namespace

TEST_F(Tools, ClicksSelectByTheirModifiers) {
    OpenStones();
    Click({-5, 0, 1});
    EXPECT_EQ(Selected(), Names{"left"});
    Click({5, 0, 1}, Qt::ControlModifier);
    EXPECT_EQ(Selected(), (Names{"left", "right"}));
    Click({-5, 0, 1}, Qt::AltModifier);
    EXPECT_EQ(Selected(), Names{"right"});
    Click({-5, 0, 1}, Qt::ShiftModifier);
    EXPECT_EQ(Selected(), (Names{"left", "right"}));
    EXPECT_EQ(NumSteps(), 4u);
    Click({0, 8, 0});
    EXPECT_EQ(Selected(), Names{});
    Session().Undo();
    EXPECT_EQ(Selected(), (Names{"left", "right"}));
}

TEST_F(Tools, RectanglesTakeWhatIsInsideOrTouched) {
    OpenStones();
    // Through the middle of the left stone.
    Drag(At({-5, -2, 0}), At({-8, 2, 0}));
    EXPECT_EQ(Selected(), Names{"left"}) << "from the right: what is touched";
    Drag(At({-5, -2, 0}), At({8, 2, 0}));
    EXPECT_EQ(Selected(), Names{"right"}) << "from the left: what lies inside";
}

TEST_F(Tools, SelectAllNoneAndInvertAreSteps) {
    OpenStones();
    Trigger("select.all");
    EXPECT_EQ(Selected().size(), 3u);
    Trigger("select.none");
    EXPECT_EQ(Selected().size(), 0u);
    Click({-5, 0, 1});
    Trigger("select.invert");
    EXPECT_EQ(Selected(), (Names{"right", "child"}));
    EXPECT_EQ(NumSteps(), 4u);
}

TEST_F(Tools, ADragIsOneStepAndChildrenGoWithTheirParents) {
    OpenStones();
    std::string before = Saved("a.json");
    Trigger("select.invert");
    EXPECT_EQ(Selected().size(), 3u);
    Trigger("tool.move");
    size_t steps = NumSteps();
    // The middle handle, in the plane of the screen: 3 to the right, which is x from above.
    Drag(Middle(), Middle() + (At({3, 0, 0}) - At({0, 0, 0})));
    EXPECT_EQ(NumSteps(), steps + 1);
    EXPECT_EQ(Session().UndoName(), "Move");
    EXPECT_NEAR(PlaceOf("left").x, -2, 0.1);
    EXPECT_NEAR(PlaceOf("right").x, 8, 0.1);
    EXPECT_NEAR(PlaceOf("child").x - PlaceOf("right").x, 0, 1e-4) << "moved once";
    Session().Undo();
    Session().Undo();
    EXPECT_EQ(Saved("b.json"), before);
}

TEST_F(Tools, EscapeInADragRestoresTheBytes) {
    OpenStones();
    Click({-5, 0, 1});
    Trigger("tool.move");
    std::string before = Saved("a.json");
    size_t steps = NumSteps();
    PressAt(Middle());
    MoveTo(Middle() + QPointF(40, 0));
    Rest();
    EXPECT_GT(PlaceOf("left").x, -4.9f) << "the preview";
    Session().Undo();
    Rest();
    EXPECT_GT(PlaceOf("left").x, -4.9f) << "undo waits";
    hand::Key(&View(), Qt::Key_Escape);
    EXPECT_EQ(PlaceOf("left").x, -5);
    EXPECT_EQ(NumSteps(), steps);
    EXPECT_EQ(Saved("b.json"), before);
    EXPECT_FALSE(Session().HasGesture());
}

TEST_F(Tools, DigitsInADragAreExact) {
    OpenStones();
    Click({-5, 0, 1});
    Trigger("tool.move");
    PressAt(Middle());
    MoveTo(Middle() + QPointF(10, 0));
    hand::Type(&View(), "3");
    hand::Key(&View(), Qt::Key_Return);
    Settle();
    ReleaseAt(Middle());
    EXPECT_NEAR(PlaceOf("left").x, -2, 1e-5);
}

TEST_F(Tools, AClickOnAHandleIsNoStep) {
    OpenStones();
    Click({-5, 0, 1});
    Trigger("tool.move");
    size_t steps = NumSteps();
    Drag(Middle(), Middle());
    EXPECT_EQ(NumSteps(), steps);
}

TEST_F(Tools, ShiftDragLeavesACopyMoved) {
    OpenStones();
    Click({-5, 0, 1});
    Trigger("tool.move");
    size_t steps = NumSteps();
    Drag(Middle(), Middle() + (At({0, 3, 0}) - At({0, 0, 0})), Qt::ShiftModifier);
    AnswerCopies("1");
    EXPECT_EQ(NumSteps(), steps + 1);
    ASSERT_EQ(Selected().size(), 1u);
    std::string copy = Selected()[0];
    EXPECT_NE(copy, "left");
    EXPECT_NEAR(PlaceOf(copy).y, 3, 0.1);
    EXPECT_EQ(PlaceOf("left").y, 0);
    Session().Undo();
    EXPECT_EQ(Selected(), Names{"left"});
}

TEST_F(Tools, DeleteTakesAllSelectedInOneStep) {
    OpenStones();
    std::string before = Saved("a.json");
    Trigger("select.all");
    Trigger("select.delete");
    EXPECT_GT(PlaceOf("left").x, 1e8f);
    EXPECT_GT(PlaceOf("child").x, 1e8f);
    EXPECT_EQ(NumSteps(), 2u);
    while (NumSteps() > 0) Session().Undo();
    EXPECT_EQ(Saved("b.json"), before);
}

TEST_F(Tools, LettersChooseToolsInTheViewsOnly) {
    OpenStones();
    View().setFocus();
    hand::Key(&View(), Qt::Key_W);
    EXPECT_EQ(window->Tools().Tool(), GizmoTool::kMove);
    hand::Key(&View(), Qt::Key_E);
    EXPECT_EQ(window->Tools().Tool(), GizmoTool::kRotate);
    hand::Key(&View(), Qt::Key_S);
    EXPECT_TRUE(View().Gizmo().snapping.isOn);
    auto* filter = window->Panel().findChild<QLineEdit*>();
    filter->setFocus();
    hand::Type(filter, "wqr");
    EXPECT_EQ(filter->text(), "wqr");
    EXPECT_EQ(window->Tools().Tool(), GizmoTool::kRotate);
}

TEST_F(Tools, ThePromptSaysWhatIsSelectedAndWhatToDo) {
    OpenStones();
    QLabel* prompt = window->Tools().PromptLabel();
    EXPECT_TRUE(prompt->text().contains("Click or drag a rectangle"));
    Click({-5, 0, 1});
    EXPECT_TRUE(prompt->text().startsWith("left"));
    Trigger("tool.rotate");
    EXPECT_TRUE(prompt->text().contains("rotate"));
}

// --- hand-edited items

TEST_F(ItemTools, EnteringAsksAndLeavingKeepsTheItems) {
    OpenItems(false);
    asked->answers = {Answer::kNo};
    Trigger("items.edit");
    EXPECT_FALSE(window->Action("items.edit")->isChecked());
    EXPECT_TRUE(Items().empty());
    asked->answers = {Answer::kYes};
    Trigger("items.edit");
    EXPECT_TRUE(window->Action("items.edit")->isChecked());
    EXPECT_GT(Items().size(), 1u);
    Trigger("items.edit");
    EXPECT_FALSE(window->Action("items.edit")->isChecked());
    EXPECT_GT(Items().size(), 1u);
}

TEST_F(ItemTools, ItemsAreSelectedMovedClonedAndDeletedByHand) {
    OpenItems(true);
    std::vector<TStoredItem> before = Items();
    ASSERT_GT(before.size(), 1u);
    size_t near = Near(), other = near == 0 ? 1 : 0;
    Click(Built()[near] + Point3{0, 0, 1});
    ASSERT_EQ(NumSelected(), 1u) << window->Tools().PromptLabel()->text().toStdString();
    ASSERT_TRUE(Items()[near].selected);
    Trigger("tool.move");
    size_t steps = NumSteps();
    Drag(Middle(), Middle() + (At({0, 2, 0}) - At({0, 0, 0})));
    EXPECT_EQ(NumSteps(), steps + 1);
    EXPECT_NEAR(Items()[near].storedPosition.y - before[near].storedPosition.y, 2, 0.1);
    EXPECT_EQ(Items()[other].storedPosition, before[other].storedPosition);
    Drag(Middle(), Middle() + (At({1, 0, 0}) - At({0, 0, 0})), Qt::ShiftModifier);
    AnswerCopies("1");
    ASSERT_EQ(Items().size(), before.size() + 1);
    EXPECT_TRUE(Items().back().selected);
    EXPECT_NEAR(Items().back().storedPosition.x - before[near].storedPosition.x, 1, 0.1);
    Trigger("select.delete");
    EXPECT_EQ(Items().size(), before.size());
    EXPECT_EQ(NumSteps(), steps + 3);
    for (int i = 0; i < 3; ++i) Session().Undo();
    EXPECT_EQ(Items()[near].storedPosition, before[near].storedPosition);
}

TEST_F(ItemTools, TurnsAndScalesReachTheSelectedItemsAlone) {
    OpenItems(true);
    std::vector<TStoredItem> before = Items();
    size_t near = Near(), other = near == 0 ? 1 : 0;
    Click(Built()[near] + Point3{0, 0, 1});
    Trigger("tool.scale");
    PressAt(Middle());
    MoveTo(Middle() + QPointF(10, 0));
    hand::Type(&View(), "2");
    hand::Key(&View(), Qt::Key_Return);
    Settle();
    ReleaseAt(Middle());
    EXPECT_NEAR(Items()[near].sizeFactor.x, before[near].sizeFactor.x * 2, 1e-4);
    EXPECT_NEAR(Items()[near].sizeFactor.z, before[near].sizeFactor.z * 2, 1e-4);
    EXPECT_EQ(Items()[other].sizeFactor, before[other].sizeFactor);
    EXPECT_EQ(Session().UndoName(), "Scale");
}

TEST_F(ItemTools, RectanglesAndAllOfTheItems) {
    OpenItems(true);
    View().FrameAll();
    Drag({2, 2}, QPointF(View().width() - 3, View().height() - 3));
    EXPECT_EQ(NumSelected(), Items().size());
    Trigger("select.none");
    EXPECT_EQ(NumSelected(), 0u);
    Trigger("select.all");
    EXPECT_EQ(NumSelected(), Items().size());
    std::vector<std::string> nodes = Selected();
    EXPECT_EQ(nodes, Names{"meadow"}) << "the nodes stay as they are";
}

TEST_F(ItemTools, ClicksAddItemsOnTheGround) {
    OpenItems(true);
    size_t count = Items().size();
    Trigger("select.all");
    Trigger("select.delete");
    ASSERT_TRUE(Items().empty());
    Trigger("items.add_by_click");
    Click({2, 3, 0});
    ASSERT_EQ(Items().size(), 1u) << window->LogText().toStdString();
    EXPECT_NEAR(Built()[0].x, 2, 0.1);
    EXPECT_NEAR(Built()[0].y, 3, 0.1);
    Session().Undo();
    Rest();
    Session().Undo();
    Rest();
    while (Items().size() < count && NumSteps() > 0) Session().Undo();
    EXPECT_EQ(Items().size(), count);
}

TEST_F(ItemTools, DetachedItemsAreAnObjectOfTheirOwnAndComeBack) {
    OpenItems(true);
    size_t count = Items().size();
    Click(Built()[Near()] + Point3{0, 0, 1});
    Trigger("items.detach_selected");
    EXPECT_EQ(Items().size(), count - 1) << window->LogText().toStdString();
    Session().Undo();
    EXPECT_EQ(Items().size(), count);
}

// --- single generated items

TEST_F(ItemTools, GeneratedItemsAreChangedByTheirIds) {
    OpenItems(false);
    Trigger("items.pin");
    ASSERT_TRUE(window->Action("items.pin")->isChecked());
    std::vector<Point3> before = Built();
    size_t near = Near(), other = near == 0 ? 1 : 0;
    Click(before[near] + Point3{0, 0, 1});
    Trigger("tool.move");
    ASSERT_TRUE(window->Tools().GizmoFrame());
    Drag(Middle(), Middle() + (At({1, 0, 0}) - At({0, 0, 0})));
    ASSERT_EQ(Deltas().size(), 1u);
    EXPECT_NEAR(Deltas()[0].move.x, 1, 0.1);
    EXPECT_NEAR(Built()[near].x - before[near].x, 1, 0.1);
    EXPECT_EQ(Built()[other], before[other]);
    // Again, from where it stands now.
    Drag(Middle(), Middle() + (At({1, 0, 0}) - At({0, 0, 0})));
    ASSERT_EQ(Deltas().size(), 1u);
    EXPECT_NEAR(Deltas()[0].move.x, 2, 0.2);
    Trigger("select.delete");
    EXPECT_EQ(Built().size(), before.size() - 1);
    EXPECT_TRUE(Deltas()[0].deleted);
    while (NumSteps() > 1) Session().Undo();
    EXPECT_TRUE(Deltas().empty());
    EXPECT_EQ(Built().size(), before.size());
}

// --- areas

TEST_F(ItemTools, ADrawnOutlineIsAnAreaInOneStep) {
    OpenItems(false);
    std::string before = Saved("a.json");
    size_t steps = NumSteps();
    auto areas = [this] {
        int count = 0;
        Rest();
        Session().Look([&](Scene& scene) {
            count = Meadow(scene).Block(kAreaParams).Count(areaParams::kArnamelist);
        });
        return count;
    };
    int had = areas();
    Trigger("area.draw");
    ASSERT_TRUE(window->Action("area.draw")->isChecked()) << window->LogText().toStdString();
    for (Point3 corner : {Point3{-3, -3, 0}, {3, -3, 0}, {3, 3, 0}, {5, 5, 0}, {-3, 3, 0}})
        Click(corner);
    hand::Key(&View(), Qt::Key_Backspace);
    hand::Key(&View(), Qt::Key_Backspace);
    Click({-3, 3, 0});
    EXPECT_EQ(NumSteps(), steps) << "nothing until it is closed";
    hand::Key(&View(), Qt::Key_Return);
    EXPECT_EQ(areas(), had + 1);
    EXPECT_EQ(NumSteps(), steps + 1);
    EXPECT_EQ(Session().UndoName(), "Draw Area");
    Session().Look([&](Scene& scene) {
        INode* node = scene.FindNode("Area");
        ASSERT_TRUE(node);
        PolyShape shape = dynamic_cast<ShapeObject&>(*node->GetObjectRef()).GetPolyShape(0);
        ASSERT_EQ(shape.lines.size(), 1u);
        EXPECT_TRUE(shape.lines[0].closed);
        ASSERT_EQ(shape.lines[0].points.size(), 4u);
        Point3 first = shape.lines[0].points[0] * node->GetObjectTM(0);
        EXPECT_NEAR(first.x, -3, 0.1);
        EXPECT_NEAR(first.y, -3, 0.1);
    });
    Session().Undo();
    EXPECT_EQ(Saved("b.json"), before);
}

TEST_F(ItemTools, EscapeGivesTheOutlineUp) {
    OpenItems(false);
    size_t steps = NumSteps();
    Trigger("area.draw");
    Click({-3, -3, 0});
    hand::Key(&View(), Qt::Key_Escape);
    EXPECT_FALSE(window->Action("area.draw")->isChecked());
    hand::Key(&View(), Qt::Key_Return);
    EXPECT_EQ(NumSteps(), steps);
}
