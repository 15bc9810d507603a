// Painting areas with the hand: strokes, the keys of the brush, pens, and every way to take a
// stroke back.
#include "apps/studio/tools/paint_tool.h"

#include <QAction>
#include <QLabel>
#include <QTabletEvent>

#include "Dravin/commands/area_paint.h"
#include "host/scene/user_interface.h"
#include "tests/apps/studio/tools_fixture.h"

namespace {

struct PaintTools : ItemTools {
    PaintTool& Brush() { return window->Tools().Brush(); }
    // The brush is 4 across, on a fresh area of the meadow.
    void OpenBrush() {
        OpenItems(false);
        Trigger("area.paint_brush");
        ASSERT_TRUE(Brush().Target()) << window->LogText().toStdString();
        Brush().brush.SetSize(4);
        Brush().brush.SetStrength(1);
        Brush().brush.pen = PenPressure::kSize;
    }
    PolyShape Painted() {
        PolyShape shape;
        Rest();
        Session().Look([&](Scene& scene) {
            auto* paint = dynamic_cast<TPaintShape*>(
                Meadow(scene).Block(kAreaParams).GetReference(areaParams::kArpaintlist, 0, 0));
            if (paint) shape = paint->shape;
        });
        return shape;
    }
    // A stroke whose button is still down.
    void BeginStroke(const Point3& from, const Point3& to) {
        PressAt(At(from));
        for (int i = 1; i <= 10; ++i) MoveTo(At(from) + (At(to) - At(from)) * i / 10.0);
        Rest();
    }
    void Pen(QEvent::Type type, const Point3& place, double pressure) {
        static const QPointingDevice pen(
            "pen", 1, QInputDevice::DeviceType::Stylus, QPointingDevice::PointerType::Pen,
            QInputDevice::Capability::Position | QInputDevice::Capability::Pressure, 1, 3);
        bool isMove = type == QEvent::TabletMove, isUp = type == QEvent::TabletRelease;
        QPointF at = At(place);
        QTabletEvent event(type, &pen, at, View().mapToGlobal(at), pressure, 0, 0, 0, 0, 0, {},
                           isMove ? Qt::NoButton : Qt::LeftButton,
                           isUp ? Qt::NoButton : Qt::LeftButton);
        QApplication::sendEvent(&View(), &event);
    }
};

float HalfWidth(const PolyShape& shape) { return shape.BoundingBox().Width().y / 2; }

}  // namespace

TEST_F(PaintTools, BPutsTheBrushOnAnAreaAndTakesItOff) {
    OpenItems(false);
    View().setFocus();
    size_t steps = NumSteps();
    hand::Key(&View(), Qt::Key_B);
    Settle();
    ASSERT_TRUE(Brush().Target());
    EXPECT_TRUE(window->Action("area.paint_brush")->isChecked());
    EXPECT_EQ(NumSteps(), steps + 1) << "the area";
    EXPECT_TRUE(window->Tools().PromptLabel()->text().contains("Drag to paint"));
    hand::Key(&View(), Qt::Key_B);
    Settle();
    EXPECT_FALSE(Brush().Target());
    EXPECT_FALSE(window->Action("area.paint_brush")->isChecked());
    hand::Key(&View(), Qt::Key_B);
    Settle();
    EXPECT_TRUE(Brush().Target());
    EXPECT_EQ(NumSteps(), steps + 1) << "the area is there already";
    hand::Key(&View(), Qt::Key_Escape);
    Settle();
    EXPECT_FALSE(Brush().Target());
}

TEST_F(PaintTools, AStrokeIsOneStepAndItemsFollow) {
    std::string before;
    OpenItems(false);
    before = Saved("a.json");
    Trigger("area.paint_brush");
    Brush().brush.SetSize(4);
    size_t steps = NumSteps();
    PressAt(At({-8, 0, 0}));
    for (int i = 1; i <= 50; ++i) MoveTo(At({-8 + 16 * float(i) / 50, 0, 0}));
    ReleaseAt(At({8, 0, 0}));
    Settle();
    EXPECT_EQ(NumSteps(), steps + 1);
    EXPECT_EQ(Session().UndoName(), "Paint Stroke");
    PolyShape shape = Painted();
    ASSERT_EQ(shape.lines.size(), 1u);
    EXPECT_NEAR(HalfWidth(shape), 2, 0.1);
    EXPECT_NEAR(shape.BoundingBox().Width().x, 20, 0.2);
    ASSERT_FALSE(Built().empty());
    for (const Point3& place : Built()) EXPECT_LE(std::abs(place.y), 2.01f);
    while (NumSteps() > 0) Session().Undo();
    EXPECT_EQ(Saved("b.json"), before);
}

TEST_F(PaintTools, ItemsFollowWhileTheHandPaints) {
    OpenBrush();
    size_t steps = NumSteps(), all = Built().size();
    BeginStroke({-8, 0, 0}, {0, 0, 0});
    EXPECT_LT(Built().size(), all) << "the preview";
    EXPECT_EQ(NumSteps(), steps) << "no step before the end";
    ReleaseAt(At({0, 0, 0}));
    Settle();
    EXPECT_EQ(NumSteps(), steps + 1);
}

TEST_F(PaintTools, EscapeRightButtonAndLostFocusRestoreTheBytes) {
    OpenBrush();
    Drag(At({-5, -5, 0}), At({5, -5, 0}));
    std::string before = Saved("a.json");
    size_t steps = NumSteps();
    std::function<void()> ways[] = {[this] { hand::Key(&View(), Qt::Key_Escape); },
                                    [this] {
                                        Send(QEvent::MouseButtonPress, At({0, 0, 0}),
                                             Qt::RightButton, Qt::LeftButton | Qt::RightButton, {});
                                    },
                                    [this] {
                                        QFocusEvent lost(QEvent::FocusOut);
                                        QApplication::sendEvent(&View(), &lost);
                                    }};
    for (const auto& way : ways) {
        BeginStroke({-5, 5, 0}, {5, 5, 0});
        EXPECT_EQ(Painted().lines.size(), 2u) << "the preview";
        way();
        Settle();
        ReleaseAt(At({5, 5, 0}));
        Settle();
        EXPECT_EQ(Painted().lines.size(), 1u);
        EXPECT_EQ(NumSteps(), steps);
        EXPECT_EQ(Saved("b.json"), before);
        EXPECT_TRUE(Brush().Target()) << "the tool stays";
    }
}

TEST_F(PaintTools, UndoWaitsForTheEndOfTheStroke) {
    OpenBrush();
    Drag(At({-5, -5, 0}), At({5, -5, 0}));
    BeginStroke({-5, 5, 0}, {5, 5, 0});
    hand::Key(&View(), Qt::Key_Z, Qt::ControlModifier);
    window->Action("edit.undo")->trigger();
    Rest();
    EXPECT_EQ(Painted().lines.size(), 2u);
    EXPECT_TRUE(Brush().IsPainting());
    ReleaseAt(At({5, 5, 0}));
    Settle();
    window->Action("edit.undo")->trigger();
    Settle();
    EXPECT_EQ(Painted().lines.size(), 1u);
    // The next stroke starts from what is there now.
    Drag(At({0, 5, 0}), At({0, 8, 0}));
    EXPECT_EQ(Painted().lines.size(), 2u);
}

TEST_F(PaintTools, LeavingTheToolInAStrokeTakesItBack) {
    OpenBrush();
    std::string before = Saved("a.json");
    BeginStroke({-5, 0, 0}, {5, 0, 0});
    View().SetTool(nullptr);
    Settle();
    EXPECT_FALSE(Session().HasGesture());
    EXPECT_EQ(Saved("b.json"), before);
    BeginStroke({-5, 0, 0}, {5, 0, 0});
    ReleaseAt(At({5, 0, 0}));
    Session().NewScene();
    Rest();
    EXPECT_FALSE(Brush().Target());
}

TEST_F(PaintTools, CtrlErasesAndTheEraseModePaintsWithIt) {
    OpenBrush();
    Brush().brush.SetSize(12);
    Drag(At({0, 0, 0}), At({0, 0, 0}));
    ASSERT_EQ(Painted().lines.size(), 1u);
    Brush().brush.SetSize(4);
    Drag(At({0, 0, 0}), At({0, 0, 0}), Qt::ControlModifier);
    EXPECT_EQ(Painted().lines.size(), 2u) << "a hole";
    Session().Run("area.brush", "meadow", {{"mode", ParamInput("erase")}});
    Rest();
    EXPECT_TRUE(window->Tools().PromptLabel()->text().contains("Drag to erase"));
    Drag(At({0, 0, 0}), At({0, 0, 0}), Qt::ControlModifier);
    EXPECT_EQ(Painted().lines.size(), 1u) << "painted over";
    Brush().brush.SetSize(40);
    Drag(At({0, 0, 0}), At({0, 0, 0}));
    EXPECT_TRUE(Painted().lines.empty());
}

TEST_F(PaintTools, ShiftSmooths) {
    OpenBrush();
    Brush().brush.SetSize(2);
    Drag(At({-6, 0, 0}), At({6, 0, 0}));
    Drag(At({0, 0, 0}), At({0, 6, 0}));
    PolyShape rough = Painted();
    Brush().brush.SetSize(6);
    Drag(At({0, 1, 0}), At({0, 1.5f, 0}), Qt::ShiftModifier);
    PolyShape smooth = Painted();
    EXPECT_NE(smooth, rough);
    EXPECT_NEAR(smooth.BoundingBox().Width().x, rough.BoundingBox().Width().x, 1e-3)
        << "what the brush does not reach stays";
    Session().Undo();
    EXPECT_EQ(Painted(), rough);
}

TEST_F(PaintTools, BracketsChangeTheBrush) {
    OpenBrush();
    hand::Key(&View(), Qt::Key_BracketRight);
    EXPECT_DOUBLE_EQ(Brush().brush.size, 5);
    hand::Key(&View(), Qt::Key_BracketLeft);
    EXPECT_DOUBLE_EQ(Brush().brush.size, 4);
    hand::Key(&View(), Qt::Key_BraceLeft, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(Brush().brush.strength, 0.9);
    for (int i = 0; i < 20; ++i) hand::Key(&View(), Qt::Key_BracketLeft, Qt::ShiftModifier);
    EXPECT_EQ(Brush().brush.strength, 0);
    for (int i = 0; i < 20; ++i) hand::Key(&View(), Qt::Key_BraceRight, Qt::ShiftModifier);
    EXPECT_EQ(Brush().brush.strength, 1);
    EXPECT_TRUE(window->Tools().PromptLabel()->text().startsWith("4 across, strength 100 %"));
    EXPECT_EQ(BrushSettings::Load().size, 4) << "kept";
}

TEST_F(PaintTools, PressureOfAPenChangesTheSize) {
    OpenBrush();
    size_t steps = NumSteps();
    Pen(QEvent::TabletPress, {-5, 0, 0}, 0.5);
    Pen(QEvent::TabletMove, {5, 0, 0}, 0.5);
    Pen(QEvent::TabletRelease, {5, 0, 0}, 0);
    Settle();
    EXPECT_EQ(NumSteps(), steps + 1);
    EXPECT_NEAR(HalfWidth(Painted()), 1, 0.05);
    Session().Undo();
    Settle();
    Brush().brush.pen = PenPressure::kStrength;
    Pen(QEvent::TabletPress, {-5, 0, 0}, 0.5);
    Pen(QEvent::TabletRelease, {-5, 0, 0}, 0);
    Settle();
    EXPECT_NEAR(HalfWidth(Painted()), 2, 0.05);
    EXPECT_EQ(View().Pressure(), 1) << "a mouse comes next";
}

// On a slope that rises by half its run: on the ground all around, and as wide as the brush seen
// from above, from near and from far.
TEST_F(PaintTools, TheRingFollowsTheGroundAndKeepsItsSize) {
    OpenBrush();
    Session().Do([](Scene& scene) {
        auto slope = std::make_shared<Mesh>();
        slope->verts = {{-10, -10, -5}, {10, -10, 5}, {10, 10, 5}, {-10, 10, -5}};
        slope->faces = {Face{{0, 1, 2}}, Face{{0, 2, 3}}};
        scene.FindNode("ground")->SetObjectRef(std::make_shared<TriObject>(slope));
    });
    Settle();
    for (float distance : {40.f, 400.f}) {
        ViewPose pose = View().Navigation().Pose();
        pose.distance = distance;
        View().Navigation().SetPose(pose);
        View().CameraChanged();
        Settle();
        Send(QEvent::MouseMove, At({1, 1, 0}), Qt::NoButton, Qt::NoButton, {});
        std::vector<Point3> ring = Brush().Ring();
        ASSERT_FALSE(ring.empty());
        Point3 middle;
        for (const Point3& p : ring) middle += p * (1.f / float(ring.size()));
        for (const Point3& p : ring) {
            EXPECT_NEAR(p.z, p.x / 2, 1e-3);
            EXPECT_NEAR(std::hypot(p.x - middle.x, p.y - middle.y), 2, 1e-2);
        }
    }
}

// What the camera sees of the ground is found there, from above and from aside, whatever items
// stand before it; from below there is none.
TEST_F(PaintTools, TheGroundIsFoundUnderThePointer) {
    OpenBrush();
    const PaintGround& ground = Brush().Target()->ground;
    for (float pitch : {0.2f, 0.8f, float(M_PI) / 2})
        for (bool isParallel : {false, true}) {
            ViewPose pose = View().Navigation().Pose();
            pose.pitch = pitch, pose.isParallel = isParallel, pose.yaw = 0.7f;
            View().Navigation().SetPose(pose);
            View().CameraChanged();
            for (Point3 place : {Point3{3, 2, 0}, {-4, 6, 0}, {0, 0, 0}}) {
                auto found = ground.Under(View(), View().ToPixel(At(place)));
                ASSERT_TRUE(found) << pitch;
                EXPECT_NEAR(Length(*found - place), 0, 0.02) << pitch;
            }
            EXPECT_FALSE(ground.Under(View(), View().ToPixel(At({30, 30, 0}))));
        }
    ViewPose below = View().Navigation().Pose();
    below.pitch = -0.8f;
    View().Navigation().SetPose(below);
    View().CameraChanged();
    EXPECT_FALSE(ground.Under(View(), View().ToPixel(At({0, 0, 0}))));
    EXPECT_EQ(ground.Drop({3, 2, 7}), (Point3{3, 2, 0}));
    EXPECT_EQ(ground.Drop({30, 2, 7}), (Point3{30, 2, 7})) << "beside it";
}

TEST_F(PaintTools, BesideTheGroundNothingIsPainted) {
    OpenBrush();
    size_t steps = NumSteps();
    Drag(At({0, 14, 0}), At({3, 14, 0}));
    EXPECT_EQ(NumSteps(), steps);
    EXPECT_FALSE(Session().HasGesture());
    EXPECT_TRUE(Brush().Ring().empty());
}

TEST_F(PaintTools, WithoutAnXYSurfaceTheToolTellsAndStaysOff) {
    OpenItems(false);
    Session().Do([this](Scene& scene) {
        Meadow(scene).Block(kSurfaceParams).SetValue(surfaceParams::kSurfmode, 0, 1);
    });
    Trigger("area.paint_brush");
    EXPECT_FALSE(Brush().Target());
    EXPECT_FALSE(window->Action("area.paint_brush")->isChecked());
    ASSERT_FALSE(asked->messages.empty());
    EXPECT_EQ(asked->messages.back().caption, "Tavu Software");
}

TEST_F(PaintTools, WithoutASelectedObjectItAsksForOne) {
    OpenStones();
    Trigger("area.paint_brush");
    EXPECT_FALSE(Brush().Target());
    EXPECT_TRUE(window->LogText().contains("Select the scatter object"));
}
