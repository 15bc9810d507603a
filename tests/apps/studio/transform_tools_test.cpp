// Axes of the gizmo, what it snaps to, numbers typed for it, and copies left behind.
#include <QAction>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QRadioButton>
#include <QToolBar>

#include "Dravin/build/edited_items.h"
#include "apps/studio/panels/number_field.h"
#include "tests/apps/studio/tools_fixture.h"

namespace {

struct Transforms : Tools {
    // A frame of a scaled parent, turned by a quarter about z, with a child that is turned as much
    // again; a slope of 45 degrees that rises along x; and a spline.
    void OpenFrames() {
        Open(R"({
          "dravin_scene": 1,
          "nodes": [
            {"name": "parent", "type": "dummy", "rotation": [0, 0, 90], "scale": [2, 2, 2]},
            {"name": "child", "type": "box", "width": 1, "length": 1, "height": 1,
             "parent": "parent", "rotation": [0, 0, 45], "position": [2, 0, 0]},
            {"name": "slope", "type": "plane", "width": 8, "length": 8, "rotation": [0, -45, 0],
             "position": [-5, -4, 0]},
            {"name": "stone", "type": "box", "width": 1, "length": 1, "height": 1,
             "position": [6, 0, 0]},
            {"name": "path", "type": "spline", "lines": [
              {"closed": false, "points": [[6, -6, 0], [8, -4, 1]]}]}
          ]})");
        LookFromAbove();
    }
    Matrix3 Frame() {
        EXPECT_TRUE(window->Tools().GizmoFrame());
        return window->Tools().GizmoFrame().value_or(Matrix3());
    }
    void ExpectAxis(const Point3& axis, const Point3& want) {
        EXPECT_LT(Length(axis - want), 2e-3f) << axis.x << " " << axis.y << " " << axis.z;
    }
    void Type(const char* field, const char* text) { Enter("typed_transform", field, text); }
    std::string Shown(const char* field) {
        return Dialog("typed_transform")->findChild<NumberField*>(field)->text().toStdString();
    }
    void Snap(bool points, bool surface, bool grid) {
        SnapSettings& snap = window->Tools().Snapping();
        snap.toPoints = points, snap.toSurface = surface, snap.toGrid = grid;
        Trigger("tool.snap");
        ASSERT_TRUE(window->Action("tool.snap")->isChecked());
    }
};

using Names = std::vector<std::string>;

}  // namespace

// --- axes

TEST_F(Transforms, AxesAreThoseOfTheWorldTheObjectTheParentTheViewOrTheSurface) {
    OpenFrames();
    Select({"child"});
    Settle();
    Trigger("tool.move");
    ExpectAxis(Frame().row[0], {1, 0, 0});
    Trigger("tool.axes_parent");
    ExpectAxis(Frame().row[0], {0, 1, 0});
    Trigger("tool.local");
    float half = std::sqrt(0.5f);
    ExpectAxis(Frame().row[0], {-half, half, 0});
    EXPECT_TRUE(window->Action("tool.local")->isChecked());
    EXPECT_FALSE(window->Action("tool.axes_world")->isChecked());
    Trigger("tool.axes_view");
    View().Navigation().SetSide(ViewSide::kFront);
    View().CameraChanged();
    Matrix3 inView = View().Gizmo().FrameIn(View().Camera());
    ExpectAxis(inView.row[0], {1, 0, 0});
    ExpectAxis(inView.row[1], {0, 0, 1});
    ExpectAxis(inView.row[2], {0, -1, 0});
    EXPECT_EQ(inView.row[3], Frame().row[3]);
}

TEST_F(Transforms, SurfaceAxesStandOnWhatLiesBelow) {
    OpenFrames();
    Session().Run("node.transform", "stone", {{"to", PlaceInput({-5, -4, 3})}});
    Rest();
    Select({"stone"});
    Settle();
    Trigger("tool.move");
    Trigger("tool.axes_surface");
    float half = std::sqrt(0.5f);
    // A quarter circle's half: the slope rises along x, or falls, by its turn about y.
    Point3 normal = Frame().row[2];
    EXPECT_NEAR(std::abs(normal.x), half, 5e-3);
    EXPECT_NEAR(normal.y, 0, 5e-3);
    EXPECT_NEAR(normal.z, half, 5e-3);
    EXPECT_NEAR(DotProd(Frame().row[0], normal), 0, 1e-5);
    EXPECT_GT(Frame().row[0].x, 0.5f) << "x as near to the world's as can be";
}

// --- snapping

TEST_F(Transforms, SnapsToTheGridOfTheWorld) {
    OpenStones();
    Session().Run("node.transform", "left", {{"to", PlaceInput({-4.7f, 0.3f, 0})}});
    Rest();
    Select({"left"});
    Settle();
    Trigger("tool.move");
    Snap(false, false, true);
    Drag(Middle(), Middle() + (At({2.1f, 1.1f, 0}) - At({0, 0, 0})));
    EXPECT_NEAR(PlaceOf("left").x, -3, 1e-4);
    EXPECT_NEAR(PlaceOf("left").y, 1, 1e-4);
    // Ctrl switches it off during a drag.
    PressAt(Middle());
    QPointF to = Middle() + (At({0.4f, 0, 0}) - At({0, 0, 0}));
    MoveTo(to, Qt::ControlModifier);
    ReleaseAt(to);
    Settle();
    EXPECT_NEAR(PlaceOf("left").x, -2.6, 0.1);
}

TEST_F(Transforms, SnapsToPointsOfSplinesAndPivots) {
    OpenFrames();
    Select({"stone"});
    Settle();
    Trigger("tool.move");
    Snap(true, false, false);
    Drag(Middle(), At({8.1f, -4.1f, 1}));
    EXPECT_LT(Length(PlaceOf("stone") - Point3{8, -4, 1}), 1e-4f) << "the end of the spline";
    Drag(Middle(), At({0.1f, 0.1f, 0}));
    EXPECT_LT(Length(PlaceOf("stone")), 1e-4f) << "the pivot of the parent";
    Drag(Middle(), At({3.3f, 5.5f, 0}));
    EXPECT_NEAR(PlaceOf("stone").x, 3.3, 0.1) << "nothing is near: it is free";
}

TEST_F(Transforms, SnapsToTheSurfaceUnderThePointer) {
    OpenFrames();
    Select({"stone"});
    Settle();
    Trigger("tool.move");
    Snap(false, true, true);
    Drag(Middle(), At({-4, -4, 0}));
    Point3 place = PlaceOf("stone");
    EXPECT_NEAR(place.x, -4, 0.1);
    EXPECT_NEAR(std::abs(place.z), 1, 0.2) << "one along the slope of 45 degrees";
}

TEST_F(Transforms, TheSettingsOfSnappingAreKept) {
    OpenStones();
    Trigger("tool.snap_settings");
    ASSERT_TRUE(Dialog("snap_settings"));
    Enter("snap_settings", "snap_degrees", "15");
    Enter("snap_settings", "snap_step", "-3");
    EXPECT_EQ(View().Gizmo().snapping.degrees, 15);
    EXPECT_GT(View().Gizmo().snapping.step, 0) << "never nothing";
    EXPECT_EQ(SnapSettings::Load().degrees, 15);
    SnapSettings().Save();
    window->Tools().Snapping() = SnapSettings();
}

// --- numbers

TEST_F(Transforms, F12MovesToAPlaceAndByAnOffset) {
    OpenStones();
    std::string before = Saved("a.json");
    Select({"left"});
    Settle();
    View().setFocus();
    hand::Key(&View(), Qt::Key_F12);
    ASSERT_TRUE(hand::Wait([this] { return Dialog("typed_transform"); }));
    Settle();
    EXPECT_EQ(Shown("absolute_x"), "-5");
    size_t steps = NumSteps();
    Type("absolute_x", "2*3");
    EXPECT_EQ(PlaceOf("left"), (Point3{6, 0, 0}));
    EXPECT_EQ(NumSteps(), steps + 1);
    EXPECT_EQ(Session().UndoName(), "Move");
    Type("offset_y", "1,5");
    EXPECT_EQ(PlaceOf("left"), (Point3{6, 1.5f, 0}));
    EXPECT_EQ(Shown("offset_y"), "0") << "ready for the next";
    Type("absolute_z", "r2");
    EXPECT_EQ(PlaceOf("left"), (Point3{6, 1.5f, 2}));
    Type("absolute_z", "nonsense");
    EXPECT_EQ(PlaceOf("left"), (Point3{6, 1.5f, 2}));
    EXPECT_EQ(NumSteps(), steps + 3);
    while (NumSteps() > 0) Session().Undo();
    EXPECT_EQ(Saved("b.json"), before);
}

TEST_F(Transforms, F12TurnsAndScalesWithTheTool) {
    OpenStones();
    Select({"left"});
    Settle();
    Trigger("tool.rotate");
    Trigger("tool.typed");
    Type("absolute_z", "90");
    auto turned = [this] {
        Matrix3 tm;
        Rest();
        Session().Look([&](Scene& scene) { tm = scene.FindNode("left")->GetNodeTM(0); });
        return tm;
    };
    EXPECT_LT(Length(turned().row[0] - Point3{0, 1, 0}), 1e-5f);
    Type("offset_z", "90");
    EXPECT_LT(Length(turned().row[0] - Point3{-1, 0, 0}), 1e-5f);
    EXPECT_LT(Length(PlaceOf("left") - Point3{-5, 0, 0}), 1e-5f) << "about its own pivot";
    Trigger("tool.scale");
    EXPECT_EQ(Shown("absolute_x"), "100");
    Type("absolute_x", "250");
    EXPECT_NEAR(Length(turned().row[0]), 2.5, 1e-4);
    EXPECT_NEAR(Length(turned().row[1]), 1, 1e-5);
    Type("offset_x", "50");
    EXPECT_NEAR(Length(turned().row[0]), 1.25, 1e-4) << "its x lies along the world's";
    Type("absolute_x", "0");
    EXPECT_GT(Length(turned().row[0]), 0) << "it can be scaled back";
    Select({"left", "right"});
    Settle();
    EXPECT_FALSE(Dialog("typed_transform")->findChild<QGroupBox*>()->isEnabled())
        << "several have no scale of their own";
}

TEST_F(Transforms, ADoubleClickOnTheToolOpensTheNumbers) {
    OpenStones();
    auto* bar = window->findChild<QToolBar*>("toolbar");
    QWidget* button = bar->widgetForAction(window->Action("tool.rotate"));
    ASSERT_TRUE(button);
    QTest::mouseDClick(button, Qt::LeftButton);
    ASSERT_TRUE(Dialog("typed_transform"));
    EXPECT_TRUE(Dialog("typed_transform")->isVisible());
}

// --- copies

TEST_F(Transforms, ShiftDragAsksHowManyCopiesAndPlacesThemInEqualSteps) {
    OpenStones();
    Select({"left"});
    Settle();
    Trigger("tool.move");
    std::string before = Saved("a.json");
    size_t steps = NumSteps();
    Drag(Middle(), Middle() + (At({0, 2, 0}) - At({0, 0, 0})), Qt::ShiftModifier);
    AnswerCopies("3");
    EXPECT_EQ(NumSteps(), steps + 1);
    Names made = Selected();
    ASSERT_EQ(made.size(), 3u);
    float step = PlaceOf(made[0]).y;
    EXPECT_NEAR(step, 2, 0.1);
    for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(PlaceOf(made[i]).y, step * float(i + 1), 1e-4);
    EXPECT_EQ(PlaceOf("left"), (Point3{-5, 0, 0}));
    Session().Undo();
    EXPECT_EQ(Saved("b.json"), before);
}

TEST_F(Transforms, InstancesShareTheObject) {
    OpenStones();
    Select({"left"});
    Settle();
    Trigger("tool.move");
    Drag(Middle(), Middle() + (At({0, 2, 0}) - At({0, 0, 0})), Qt::ShiftModifier);
    ASSERT_TRUE(Dialog("copy_question"));
    Dialog("copy_question")->findChild<QRadioButton*>("copies_share")->click();
    AnswerCopies("2");
    Session().Look([&](Scene& scene) {
        Object* object = scene.FindNode("left")->GetObjectRef();
        ASSERT_EQ(scene.Selection().size(), 2u);
        for (INode* node : scene.Selection()) EXPECT_EQ(node->GetObjectRef(), object);
    });
}

TEST_F(Transforms, ARejectedQuestionLeavesNothing) {
    OpenStones();
    Select({"left"});
    Settle();
    Trigger("tool.move");
    std::string before = Saved("a.json");
    size_t steps = NumSteps();
    Drag(Middle(), Middle() + (At({0, 2, 0}) - At({0, 0, 0})), Qt::ShiftModifier);
    EXPECT_TRUE(Session().HasGesture()) << "it waits for the answer, and so does undo";
    AnswerCopies("5", false);
    EXPECT_FALSE(Session().HasGesture());
    EXPECT_EQ(NumSteps(), steps);
    EXPECT_EQ(Saved("b.json"), before);
}

TEST_F(ItemTools, F12MovesAndScalesHandEditedItems) {
    OpenItems(true);
    size_t near = Near();
    Click(Built()[near] + Point3{0, 0, 1});
    Trigger("tool.move");
    Trigger("tool.typed");
    size_t steps = NumSteps();
    Enter("typed_transform", "absolute_x", "1.25");
    EXPECT_NEAR(Items()[near].storedPosition.x, 1.25, 1e-4);
    Trigger("tool.scale");
    Enter("typed_transform", "absolute_z", "300");
    EXPECT_NEAR(Items()[near].sizeFactor.z, 3, 1e-4);
    EXPECT_EQ(NumSteps(), steps + 2);
}

TEST_F(ItemTools, CopiesOfItemsStandInEqualStepsAndAreSelected) {
    OpenItems(true);
    size_t count = Items().size(), near = Near(), steps = NumSteps();
    Click(Built()[near] + Point3{0, 0, 1});
    Trigger("tool.move");
    Point3 from = Items()[near].storedPosition;
    Drag(Middle(), Middle() + (At({1, 0, 0}) - At({0, 0, 0})), Qt::ShiftModifier);
    ASSERT_TRUE(Dialog("copy_question"));
    EXPECT_FALSE(Dialog("copy_question")->findChild<QRadioButton*>("copies_share"))
        << "items have no objects";
    AnswerCopies("3");
    ASSERT_EQ(Items().size(), count + 3);
    EXPECT_EQ(NumSelected(), 3u);
    EXPECT_EQ(NumSteps(), steps + 2) << "the click and the copies";
    float step = Items()[count].storedPosition.x - from.x;
    EXPECT_NEAR(step, 1, 0.1);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(Items()[count + i].storedPosition.x - from.x, step * float(i + 1), 1e-4);
    EXPECT_EQ(Items()[near].storedPosition, from);
}
