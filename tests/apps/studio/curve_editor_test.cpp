// The curve editor with keys and mouse as a hand would give them.
#include "apps/studio/windows/curve_editor.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>

#include "apps/studio/panels/number_field.h"
#include "apps/studio/windows/curve_view.h"
#include "tests/apps/studio/child_window.h"
#include "tests/apps/studio/studio_window.h"

namespace {

struct StudioCurves : StudioWindow {
    CurveView* view = nullptr;

    void SetUp() override {
        OpenSmall();
        Session().Run("curve.edit", "meadow", {{"curve", "spdenscurve"}});
        Rest();
        view = &Editor().View();
        view->setFocus();
    }
    CurveEditor& Editor() { return *Child<CurveEditor>(*window); }
    std::vector<CurvePoint> Stored() {
        std::vector<CurvePoint> points;
        Rest();
        Session().Look([&](Scene& scene) {
            auto place = FindCurve(*Session().Panel(scene).Objects()[0], "spdenscurve", nullptr);
            points = CurvePointsOf(*place);
        });
        return points;
    }
    void DoubleClick(QPointF at) {
        hand::Press(view, at);
        hand::Release(view, at);
        hand::Mouse(view, QEvent::MouseButtonDblClick, at, Qt::LeftButton);
        hand::Release(view, at);
        Rest();
    }
    void Press(QPointF at, Qt::KeyboardModifiers modifiers) {
        hand::Mouse(view, QEvent::MouseButtonPress, at, Qt::LeftButton, modifiers);
    }
    void Drag(QPointF from, QPointF to, Qt::KeyboardModifiers modifiers = {}) {
        Press(from, {});
        for (int i = 1; i <= 50; ++i) {
            hand::Move(view, from + (to - from) * i / 50, modifiers);
            QCoreApplication::processEvents();
        }
        hand::Release(view, to, Qt::LeftButton, modifiers);
        Rest();
    }
};

}  // namespace

TEST_F(StudioCurves, TheButtonOfTheRolloutOpensAndCloses) {
    Editor().close();
    Rest();
    EXPECT_FALSE(Editor().isVisible());
    window->Panel().OpenRollout(kAreaParams, true);
    Rest();
    auto* button = window->Panel().findChild<QPushButton*>("curve.edit curve=spdenscurve");
    ASSERT_TRUE(button);
    QTest::mouseClick(button, Qt::LeftButton);
    Rest();
    EXPECT_TRUE(Editor().isVisible());
    QTest::mouseClick(button, Qt::LeftButton);
    Rest();
    EXPECT_FALSE(Editor().isVisible());
}

TEST_F(StudioCurves, ADoubleClickAddsAPointOnTheCurve) {
    DoubleClick(view->At(0.25, 75));
    std::vector<CurvePoint> points = Stored();
    ASSERT_EQ(points.size(), 3u);
    EXPECT_NEAR(points[1].px, 0.25, 0.01);
    EXPECT_NEAR(points[1].py, 100 - 100 * points[1].px, 1e-3);
    EXPECT_EQ(NumSteps(), 1u);
    DoubleClick(view->At(0.8, 90));  // beside the curve
    EXPECT_EQ(Stored().size(), 3u);
    Press(view->At(0.5, 50), Qt::ControlModifier);
    hand::Release(view, view->At(0.5, 50));
    EXPECT_EQ(Stored().size(), 4u);
}

TEST_F(StudioCurves, ADragIsOneStepAndUndoneExactly) {
    std::string before = Saved("before.json");
    Drag(view->At(0, 100), view->At(0.3, 40));
    std::vector<CurvePoint> points = Stored();
    EXPECT_EQ(points[0].px, 0);  // an end
    EXPECT_NEAR(points[0].py, 40, 1);
    EXPECT_EQ(NumSteps(), 1u);
    EXPECT_EQ(Session().UndoName(), "Edit Curve");
    Session().Undo();
    Rest();
    EXPECT_EQ(Saved("after.json"), before);
    EXPECT_EQ(view->Points()[0].py, 100);
}

TEST_F(StudioCurves, TheSceneFollowsTheHandAndEscapeRestores) {
    std::string before = Saved("before.json");
    hand::Press(view, view->At(0, 100));
    hand::Move(view, view->At(0, 30));
    EXPECT_NEAR(Stored()[0].py, 30, 1);
    QKeyEvent undo(QEvent::ShortcutOverride, Qt::Key_Z, Qt::ControlModifier);
    undo.ignore();
    QApplication::sendEvent(view, &undo);
    EXPECT_TRUE(undo.isAccepted());  // undo waits
    hand::Key(view, Qt::Key_Escape);
    EXPECT_EQ(Stored()[0].py, 100);
    EXPECT_EQ(view->Points()[0].py, 100);
    hand::Release(view, view->At(0, 30));
    EXPECT_EQ(NumSteps(), 0u);
    EXPECT_EQ(Saved("after.json"), before);
}

TEST_F(StudioCurves, ShiftMovesAlongOneAxisAndControlSnaps) {
    DoubleClick(view->At(0.5, 50));
    Drag(view->At(0.5, 50), view->At(0.53, 90), Qt::ShiftModifier);
    EXPECT_NEAR(Stored()[1].px, 0.5, 0.01);
    EXPECT_NEAR(Stored()[1].py, 90, 1);
    const CurvePoint p = Stored()[1];
    Drag(view->At(p.px, p.py), view->At(0.712, 41.4), Qt::ControlModifier);
    EXPECT_FLOAT_EQ(Stored()[1].px, 0.7f);
    EXPECT_FLOAT_EQ(Stored()[1].py, 40);
    Drag(view->At(0.7, 40), view->At(1.4, 40));
    EXPECT_EQ(Stored()[1].px, 1);  // not past the end
}

TEST_F(StudioCurves, TheMenuShapesPointsAndAltBreaksHandles) {
    DoubleClick(view->At(0.5, 50));
    QMenu menu;
    view->FillPointMenu(menu, 1);
    auto choose = [&](const char* text) {
        for (QAction* action : menu.actions())
            if (action->text() == text) action->trigger();
        Rest();
    };
    choose("Smooth");
    EXPECT_FLOAT_EQ(Stored()[1].iny, -Stored()[1].outy);
    EXPECT_GT(Stored()[1].outx, 0);
    Drag(view->HandleAt(1, true), view->At(0.6, 90));
    EXPECT_LT(Stored()[1].iny, 0);  // turned with it
    float in = Stored()[1].iny;
    Drag(view->HandleAt(1, true), view->At(0.7, 20), Qt::AltModifier);
    EXPECT_EQ(Stored()[1].iny, in);
    choose("Linear");
    EXPECT_EQ(Stored()[1].outx, 0);
    choose("Broken");
    EXPECT_GT(Stored()[1].outx, 0);
    choose("Step");
    EXPECT_EQ(Stored().size(), 4u);
    EXPECT_EQ(Stored()[2].px, 1);
}

TEST_F(StudioCurves, ARectangleSelectsAndDeleteKeepsTheEnds) {
    DoubleClick(view->At(0.25, 75));
    DoubleClick(view->At(0.5, 50));
    Drag(view->At(-0.03, 103), view->At(0.6, 20));
    EXPECT_EQ(view->Selected(), (std::vector<size_t>{0, 1, 2}));
    size_t steps = NumSteps();
    hand::Key(view, Qt::Key_Delete);
    EXPECT_EQ(Stored().size(), 2u);
    EXPECT_EQ(NumSteps(), steps + 1);
}

TEST_F(StudioCurves, NumbersAreTyped) {
    DoubleClick(view->At(0.5, 50));
    NumberField& y = Editor().YField();
    y.setFocus();
    QCoreApplication::processEvents();
    hand::Type(&y, "2*35");
    hand::Key(&y, Qt::Key_Return);
    EXPECT_FLOAT_EQ(Stored()[1].py, 70);
    NumberField& x = Editor().XField();
    x.setFocus();
    QCoreApplication::processEvents();
    hand::Type(&x, "0,25");
    hand::Key(&x, Qt::Key_Return);
    EXPECT_FLOAT_EQ(Stored()[1].px, 0.25f);
}

TEST_F(StudioCurves, PresetsAreScaledToTheCurve) {
    QComboBox& presets = Editor().Presets();
    presets.setCurrentIndex(presets.findText("Rising"));
    Q_EMIT presets.activated(presets.currentIndex());
    std::vector<CurvePoint> points = Stored();
    EXPECT_EQ(points[0].py, 0);
    EXPECT_EQ(points[1].py, 100);
    EXPECT_EQ(NumSteps(), 1u);
}

TEST_F(StudioCurves, TheWheelZoomsAndFFrames) {
    QPointF before = view->At(1, 100);
    hand::Wheel(view, 3);
    QPointF zoomed = view->At(1, 100);
    EXPECT_GT(zoomed.x(), before.x());
    EXPECT_LT(zoomed.y(), before.y());
    hand::Key(view, Qt::Key_F);
    EXPECT_EQ(view->At(1, 100), before);
    hand::Wheel(view, 3, Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(view->At(1, 100).y(), before.y());
    QPointF origin = view->At(0, 0);
    hand::Mouse(view, QEvent::MouseButtonPress, {200, 100}, Qt::MiddleButton, Qt::AltModifier);
    hand::Move(view, {230, 90}, Qt::AltModifier);
    hand::Release(view, {230, 90}, Qt::MiddleButton);
    EXPECT_NEAR(view->At(0, 0).x(), origin.x() + 30, 1e-6);
    EXPECT_EQ(NumSteps(), 0u);
}

TEST_F(StudioCurves, CurvesOfEffectsAreEditedToo) {
    Session().Run("effect.add", "meadow", {{"name", "bend"}});
    Rest();
    Session().Run("effect.parameter.add", "meadow", {{"name", "profile"}, {"kind", "curve"}});
    Rest();
    std::string before = Saved("before.json");
    size_t steps = NumSteps();
    Session().Run("curve.edit", "meadow", {{"curve", "profile"}});
    Rest();
    EXPECT_EQ(view->Points()[0].py, 1);
    Drag(view->At(0, 1), view->At(0, 0.5));
    EXPECT_NEAR(view->Points()[0].py, 0.5, 0.01);
    EXPECT_EQ(NumSteps(), steps + 1);
    Session().Undo();
    Rest();
    EXPECT_EQ(view->Points()[0].py, 1);
    EXPECT_EQ(Saved("after.json"), before);
}

TEST_F(StudioCurves, BarsShowWhereItemsStandAndFollowBuilds) {
    EXPECT_TRUE(view->Use().empty());
    EXPECT_TRUE(Editor().findChild<QLabel*>("use")->text().contains("No items are shown"));
    Session().Run("param.set", "meadow", {{"name", "applyrotation"}, {"value", true}});
    Rest();
    Session().Run("curve.edit", "meadow", {{"curve", "rotprobcurve"}});
    Rest();
    auto sum = [this] {
        size_t all = 0;
        for (size_t count : view->Use()) all += count;
        return all;
    };
    // An item counts once for each of the three axes that turn.
    EXPECT_TRUE(hand::Wait([&] { return sum() == size_t(Session().Reports()[0].numItems) * 3; }))
        << sum();
    size_t before = sum();
    Session().Run("param.set", "meadow", {{"name", "units_x"}, {"value", 40}});
    Rest();
    EXPECT_TRUE(hand::Wait([&] {
        return sum() == size_t(Session().Reports()[0].numItems) * 3 && sum() != before;
    })) << sum();
    EXPECT_TRUE(Editor().findChild<QLabel*>("use")->text().contains("Bars"));
}

TEST_F(StudioCurves, ANewSceneClosesTheWindow) {
    Session().NewScene();
    Rest();
    EXPECT_FALSE(Editor().isVisible());
}
