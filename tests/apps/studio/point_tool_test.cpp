// Points of splines by hand: picked, moved, added, deleted, with handles.
#include <QAction>
#include <QLabel>

#include "host/params/undo_step.h"
#include "tests/apps/studio/tools_fixture.h"

namespace {

// A square of 8 x 8 about the origin, and a line of its own behind it.
const char* kSplines = R"({
  "dravin_scene": 1,
  "nodes": [
    {"name": "pond", "type": "spline", "lines": [
      {"closed": true, "points": [[-4, -4, 0], [4, -4, 0], [4, 4, 0], [-4, 4, 0]]}]},
    {"name": "stone", "type": "box", "width": 1, "length": 1, "height": 1, "position": [8, 8, 0]}
  ]
})";

struct PointTools : Tools {
    void OpenPoints() {
        Open(kSplines);
        LookFromAbove();
        Select({"pond"});
        Trigger("points.edit");
        ASSERT_TRUE(window->Action("points.edit")->isChecked()) << window->LogText().toStdString();
    }
    BezierShape Shape() {
        BezierShape shape;
        Rest();
        Session().Look([&](Scene& scene) {
            if (INode* node = scene.FindNode("pond"))
                shape = dynamic_cast<ShapeObject&>(*node->GetObjectRef()).shape;
        });
        return shape;
    }
    Point3 Knot(size_t i) { return Shape().splines.at(0).knots.at(i).p; }
    std::vector<int> Points() { return window->Tools().Target().SelectedNumbers(); }
};

using Numbers = std::vector<int>;

}  // namespace

TEST_F(PointTools, OnlySplinesHavePoints) {
    OpenStones();
    Click({-5, 0, 1});
    Trigger("points.edit");
    EXPECT_FALSE(window->Action("points.edit")->isChecked());
    EXPECT_TRUE(window->LogText().contains("Select the spline"));
}

TEST_F(PointTools, ClicksAndRectanglesSelectPoints) {
    OpenPoints();
    EXPECT_TRUE(window->Tools().PromptLabel()->text().startsWith("0 of 4 points"));
    Click({4, -4, 0});
    EXPECT_EQ(Points(), Numbers{1});
    Click({4, 4, 0}, Qt::ControlModifier);
    EXPECT_EQ(Points(), (Numbers{1, 2}));
    Click({4, -4, 0}, Qt::AltModifier);
    EXPECT_EQ(Points(), Numbers{2});
    Click({0, 0, 0});
    EXPECT_EQ(Points(), Numbers{});
    Drag(At({-5, -5, 0}), At({-3, 5, 0}));
    EXPECT_EQ(Points(), (Numbers{0, 3}));
    Trigger("select.invert");
    EXPECT_EQ(Points(), (Numbers{1, 2}));
    Trigger("select.all");
    EXPECT_EQ(Points().size(), 4u);
    Trigger("select.none");
    EXPECT_EQ(Points(), Numbers{});
    EXPECT_EQ(NumSteps(), 1u) << "which points are selected is no step";
    EXPECT_EQ(Selected(), std::vector<std::string>{"pond"});
}

TEST_F(PointTools, ADragIsOneStepAndTakenBackToTheByte) {
    OpenPoints();
    std::string before = Saved("a.json");
    size_t steps = NumSteps();
    Click({4, 4, 0});
    Trigger("tool.move");
    Drag(Middle(), Middle() + (At({2, 1, 0}) - At({0, 0, 0})));
    EXPECT_EQ(NumSteps(), steps + 1);
    EXPECT_NEAR(Knot(2).x, 6, 0.1);
    EXPECT_NEAR(Knot(2).y, 5, 0.1);
    EXPECT_EQ(Knot(1), (Point3{4, -4, 0}));
    Session().Undo();
    EXPECT_EQ(Saved("b.json"), before);
    // Every way out of a drag.
    std::function<void()> ways[] = {[this] { hand::Key(&View(), Qt::Key_Escape); },
                                    [this] {
                                        Send(QEvent::MouseButtonPress, {5, 5}, Qt::RightButton,
                                             Qt::LeftButton | Qt::RightButton, {});
                                    },
                                    [this] {
                                        QFocusEvent lost(QEvent::FocusOut);
                                        QApplication::sendEvent(&View(), &lost);
                                    }};
    for (const auto& way : ways) {
        Settle();
        PressAt(Middle());
        MoveTo(Middle() + QPointF(30, 0));
        Rest();
        EXPECT_GT(Knot(2).x, 4.2f) << "the preview";
        window->Action("edit.undo")->trigger();
        EXPECT_GT(Knot(2).x, 4.2f) << "undo waits";
        way();
        Settle();
        EXPECT_EQ(Saved("b.json"), before);
        EXPECT_EQ(NumSteps(), steps);
    }
}

TEST_F(PointTools, DigitsAndSnappingAreExact) {
    OpenPoints();
    Click({4, 4, 0});
    Trigger("tool.move");
    PressAt(Middle());
    MoveTo(Middle() + QPointF(10, 0));
    hand::Type(&View(), "3");
    hand::Key(&View(), Qt::Key_Return);
    Settle();
    ReleaseAt(Middle());
    EXPECT_NEAR(Knot(2).x, 7, 1e-5);
    Trigger("tool.snap");
    Drag(Middle(), Middle() + (At({1.2f, 0, 0}) - At({0, 0, 0})));
    EXPECT_NEAR(Knot(2).x, 8, 1e-4) << "whole steps";
}

TEST_F(PointTools, PointsTurnAndScaleTogether) {
    OpenPoints();
    Trigger("select.all");
    Trigger("tool.scale");
    PressAt(Middle());
    MoveTo(Middle() + QPointF(10, 0));
    hand::Type(&View(), "2");
    hand::Key(&View(), Qt::Key_Return);
    Settle();
    ReleaseAt(Middle());
    EXPECT_NEAR(Knot(0).x, -8, 1e-4);
    EXPECT_NEAR(Knot(2).y, 8, 1e-4);
    EXPECT_EQ(Session().UndoName(), "Scale");
}

TEST_F(PointTools, AClickOnASegmentAddsAPoint) {
    OpenPoints();
    size_t steps = NumSteps();
    Trigger("points.add_by_click");
    Click({1, -4, 0});
    ASSERT_EQ(Shape().splines[0].knots.size(), 5u);
    EXPECT_NEAR(Knot(1).x, 1, 0.1);
    EXPECT_EQ(Knot(1).y, -4);
    EXPECT_EQ(Points(), Numbers{1});
    EXPECT_EQ(NumSteps(), steps + 1);
    Click({1, 1, 0});
    EXPECT_EQ(Shape().splines[0].knots.size(), 5u);
    EXPECT_TRUE(window->LogText().contains("does not run through there"));
    EXPECT_EQ(NumSteps(), steps + 1);
}

TEST_F(PointTools, DeletedPointsComeBack) {
    OpenPoints();
    std::string before = Saved("a.json");
    size_t steps = NumSteps();
    Drag(At({-5, -5, 0}), At({5, -3, 0}));
    View().setFocus();
    Trigger("select.delete");
    EXPECT_EQ(Shape().splines[0].knots.size(), 2u);
    EXPECT_FALSE(Shape().splines[0].closed);
    EXPECT_EQ(NumSteps(), steps + 1);
    Session().Undo();
    EXPECT_EQ(Saved("b.json"), before);
    EXPECT_EQ(Shape().splines[0].knots.size(), 4u);
}

TEST_F(PointTools, HandlesOfSmoothPointsArePickedAndTurnTheirTwin) {
    OpenPoints();
    size_t steps = NumSteps();
    Click({4, 4, 0});
    Trigger("points.smooth");
    BezierKnot knot = Shape().splines[0].knots[2];
    ASSERT_NE(knot.out, Point3{});
    EXPECT_EQ(NumSteps(), steps + 1);
    // Handles show while their point is selected; a click takes one.
    Click(knot.p + knot.out);
    EXPECT_EQ(window->Tools().Target().Marks().points.size(), 6u);
    Trigger("tool.move");
    Drag(Middle(), Middle() + (At({0, 0, 0}) - At({1, 0, 0})));
    BezierKnot after = Shape().splines[0].knots[2];
    EXPECT_EQ(after.p, knot.p);
    EXPECT_NEAR(after.out.x, knot.out.x - 1, 0.1);
    EXPECT_NEAR(Length(after.in), Length(knot.in), 1e-4);
    EXPECT_NEAR(DotProd(Normalize(after.in), Normalize(after.out)), -1, 1e-4);
    EXPECT_EQ(NumSteps(), steps + 2);
    Trigger("points.corner");
    EXPECT_EQ(Shape().splines[0].knots[2].out, Point3{});
}

TEST_F(PointTools, SplinesOpenAndClose) {
    OpenPoints();
    Trigger("points.close");
    EXPECT_FALSE(Shape().splines[0].closed);
    EXPECT_EQ(Session().UndoName(), "Close Spline");
    Trigger("points.close");
    EXPECT_TRUE(Shape().splines[0].closed);
}

TEST_F(PointTools, UndoOfTheSplineLeavesItsPoints) {
    Open(kTwoStones);
    LookFromAbove();
    Session().Do([](Scene& scene) {
        UndoStep step("Add");
        auto shape = std::make_shared<ShapeObject>();
        shape->shape = BezierShape{{{{{{0, 0, 0}}, {{4, 0, 0}}}, false}}};
        INode* node = scene.AddNode("pond", shape);
        INode* const one[] = {node};
        scene.Select(one);
    });
    Rest();
    Trigger("points.edit");
    ASSERT_TRUE(window->Action("points.edit")->isChecked());
    Session().Undo();
    Settle();
    EXPECT_FALSE(window->Action("points.edit")->isChecked());
}
