// The view as hands and eyes have it, on Qt's offscreen platform.
#include "apps/studio/viewport/viewport_widget.h"

#include <gtest/gtest.h>

#include <cmath>

#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QThread>
#include <QWheelEvent>

#include "apps/studio/viewport/quad_view.h"
#include "tests/apps/studio/viewport/view_scenes.h"

namespace {

const Color kRed{1, 0, 0}, kGreen{0, 1, 0};

// Lets events run until something holds; false when it never does.
bool Until(const std::function<bool()>& holds) {
    constexpr int kPatience = 60'000;
    QElapsedTimer timer;
    timer.start();
    while (!holds()) {
        if (timer.elapsed() > kPatience) return false;
        QApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

class Widgets : public testing::Test {
protected:
    ViewportWidget view{nullptr, false};
    std::vector<ViewportPick> picks, rectangles;

    // 200 x 200 logical pixels from the front, 10 units over them; the middle is (100, 100).
    void SetUp() override {
        view.resize(200, 200);
        view.show();
        view.onPick = [this](const ViewportPick& pick) { picks.push_back(pick); };
        view.onRegion = [this](const ViewportPick& pick) { rectangles.push_back(pick); };
    }
    void LookFromFront() {
        ViewPose pose;
        pose.yaw = pose.pitch = 0, pose.distance = 5, pose.slope = 1;
        view.Navigation().SetPose(pose);
        view.CameraChanged();
    }
    // Squares of 2 x 2 units that face the front.
    static Matrix3 Facing(float x, float y, float z) {
        return {{{1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {x, y, z}}};
    }
    void ShowTwoSquares() {
        view.ShowScene(SceneOf({MeshNode(SquareMesh(), kRed, Facing(-2, 0, 0)),
                                MeshNode(SquareMesh(), kGreen, Facing(2, 0, 2))}));
        LookFromFront();
        ASSERT_TRUE(Until([&] { return view.IsUpToDate(); }));
    }
    void Send(QEvent::Type type, QPointF at, Qt::MouseButton button, Qt::MouseButtons buttons,
              Qt::KeyboardModifiers modifiers = {}) {
        QMouseEvent event(type, at, view.mapToGlobal(at), button, buttons, modifiers);
        QApplication::sendEvent(&view, &event);
    }
    void Drag(QPointF from, QPointF to, Qt::MouseButton button,
              Qt::KeyboardModifiers modifiers = {}, bool releases = true) {
        Send(QEvent::MouseButtonPress, from, button, button, modifiers);
        for (int i = 1; i <= 5; ++i)
            Send(QEvent::MouseMove, from + (to - from) * i / 5.0, Qt::NoButton, button, modifiers);
        if (releases) Send(QEvent::MouseButtonRelease, to, button, {}, {});
    }
    void Click(QPointF at, Qt::KeyboardModifiers modifiers = {}) {
        Send(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton, modifiers);
        Send(QEvent::MouseButtonRelease, at, Qt::LeftButton, {}, modifiers);
    }
    void Press(int key, Qt::KeyboardModifiers modifiers = {}, const QString& text = {}) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
        QApplication::sendEvent(&view, &event);
    }
    QColor ColorAt(QPointF logical) {
        QImage image = view.grab().toImage();
        return image.pixelColor((logical * image.devicePixelRatio()).toPoint());
    }
    const ViewPose& Pose() { return view.Navigation().Pose(); }
};

TEST_F(Widgets, PaintsWhatStandsThere) {
    ShowTwoSquares();
    // Squares from x 40 to 80, y 80 to 120, and from x 120 to 160, y 40 to 80.
    EXPECT_GT(ColorAt({60, 100}).red(), 120);
    EXPECT_LT(ColorAt({60, 100}).green(), 60);
    EXPECT_GT(ColorAt({140, 60}).green(), 120);
    EXPECT_LT(ColorAt({100, 100}).red(), 90);
    EXPECT_TRUE(view.Notice().isEmpty()) << view.Notice().toStdString();
}

TEST_F(Widgets, ClicksAnswerIdsPlacesAndModifiers) {
    ShowTwoSquares();
    struct Case {
        Qt::KeyboardModifiers modifiers;
        PickMode mode;
    };
    for (const Case& c : {Case{Qt::NoModifier, PickMode::kReplace},
                          {Qt::ControlModifier, PickMode::kAdd},
                          {Qt::AltModifier, PickMode::kRemove},
                          {Qt::ShiftModifier, PickMode::kToggle}}) {
        picks.clear();
        Click({60, 100}, c.modifiers);
        ASSERT_TRUE(Until([&] { return picks.size() == 1; }));
        ASSERT_EQ(picks[0].ids, std::vector<uint32_t>{1});
        EXPECT_EQ(picks[0].mode, c.mode);
        EXPECT_LT(Length(picks[0].place - Point3{-2, 0, 0}), 0.1f);
    }
    Click({10, 10});
    ASSERT_TRUE(Until([&] { return picks.size() == 2; }));
    EXPECT_TRUE(picks[1].ids.empty());
}

TEST_F(Widgets, AnotherClickMeansWhatLiesBehind) {
    view.ShowScene(SceneOf({MeshNode(SquareMesh(), kRed, Facing(0, 1, 0)),
                            MeshNode(SquareMesh(), kGreen, Facing(0, 0, 0))}));
    LookFromFront();
    for (size_t turn : {0u, 1u, 0u}) {
        picks.clear();
        Click({100, 100});
        ASSERT_TRUE(Until([&] { return !picks.empty(); }));
        ASSERT_EQ(picks[0].ids, (std::vector<uint32_t>{2, 1}));
        EXPECT_EQ(picks[0].meant, turn);
    }
}

TEST_F(Widgets, RectanglesTakeItems) {
    TViewNode items = ItemNode(MakeBox(1, 1, 1, 1), 4, 2, 0.5f, kGreen);
    items.toWorld = Facing(0, 0, 0);
    view.ShowScene(SceneOf({items}));
    LookFromFront();
    // x and y of the items: 40, 80, 120, 160. Two columns, three rows from below.
    Drag({65, 100 - 35}, {130, 190}, Qt::LeftButton);
    ASSERT_TRUE(Until([&] { return !rectangles.empty(); }));
    // Rows are counted from below, ids from 2 on.
    EXPECT_EQ(rectangles[0].ids, (std::vector<uint32_t>{3, 4, 7, 8, 11, 12}));
    EXPECT_TRUE(picks.empty());
}

TEST_F(Widgets, AltMiddleOrbitsMiddlePansWheelZooms) {
    ShowTwoSquares();
    ViewPose before = Pose();
    Drag({100, 100}, {140, 120}, Qt::MiddleButton, Qt::AltModifier);
    EXPECT_NE(Pose().yaw, before.yaw);
    EXPECT_NE(Pose().pitch, before.pitch);
    EXPECT_EQ(Pose().distance, before.distance);
    LookFromFront();
    // Ten units over 200 pixels: 20 pixels are a unit.
    Drag({100, 100}, {140, 120}, Qt::MiddleButton);
    EXPECT_NEAR(Pose().target.x, -2, 1e-4);
    EXPECT_NEAR(Pose().target.z, 1, 1e-4);
    LookFromFront();
    Drag({100, 100}, {120, 100}, Qt::MiddleButton, Qt::AltModifier | Qt::ControlModifier);
    EXPECT_LT(Pose().distance, 5);
    LookFromFront();
    QWheelEvent wheel({150, 60}, view.mapToGlobal(QPointF(150, 60)), {}, {0, 120}, {}, {},
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&view, &wheel);
    EXPECT_LT(Pose().distance, 5);
    // What lay under the pointer lies there still.
    TScreenPoint p;
    ASSERT_TRUE(view.Camera().Project({2.5f, 0, 2}, &p));
    QPointF at = view.ToLogical({p.x, p.y});
    EXPECT_NEAR(at.x(), 150, 0.1);
    EXPECT_NEAR(at.y(), 60, 0.1);
}

TEST_F(Widgets, OnlyTheSameButtonsReleaseEndsAGesture) {
    ShowTwoSquares();
    Drag({100, 100}, {120, 100}, Qt::MiddleButton, Qt::AltModifier, false);
    float yaw = Pose().yaw;
    Send(QEvent::MouseButtonPress, {120, 100}, Qt::LeftButton, Qt::LeftButton | Qt::MiddleButton);
    Send(QEvent::MouseButtonRelease, {120, 100}, Qt::LeftButton, Qt::MiddleButton);
    // Alt was let go meanwhile: it still orbits.
    Send(QEvent::MouseMove, {130, 100}, Qt::NoButton, Qt::MiddleButton);
    EXPECT_NE(Pose().yaw, yaw);
    Press(Qt::Key_Escape);
    EXPECT_EQ(Pose().yaw, 0);
    Send(QEvent::MouseButtonRelease, {130, 100}, Qt::MiddleButton, {});
    Send(QEvent::MouseMove, {150, 100}, Qt::NoButton, {});
    EXPECT_EQ(Pose().yaw, 0);
}

TEST_F(Widgets, KeysFrameAndChooseViews) {
    TViewNode far = MeshNode(SquareMesh(), kGreen, Facing(50, 0, 0));
    far.isSelected = true;
    view.ShowScene(SceneOf({MeshNode(SquareMesh(), kRed, Facing(0, 0, 0)), far}));
    LookFromFront();
    Press(Qt::Key_F);
    EXPECT_NEAR(Pose().target.x, 50, 1e-3);
    Press(Qt::Key_F, Qt::ShiftModifier);
    EXPECT_NEAR(Pose().target.x, 25, 1e-3);
    Press(Qt::Key_Z, Qt::ShiftModifier);
    EXPECT_NEAR(Pose().target.x, 50, 1e-3);
    Press(Qt::Key_Y, Qt::ShiftModifier);
    EXPECT_NEAR(Pose().target.x, 25, 1e-3);
    for (auto [key, side] : {std::pair{Qt::Key_1, ViewSide::kFront},
                             {Qt::Key_3, ViewSide::kLeft},
                             {Qt::Key_7, ViewSide::kTop}}) {
        Press(key, Qt::KeypadModifier);
        EXPECT_EQ(Pose().side, side);
    }
    EXPECT_TRUE(Pose().isParallel);
    Press(Qt::Key_5, Qt::KeypadModifier);
    EXPECT_FALSE(Pose().isParallel);
    Press(Qt::Key_F4);
    Press(Qt::Key_F3);
    EXPECT_EQ(view.Shading(), ViewportShading::kWire);
}

TEST_F(Widgets, AHoveredItemIsLit) {
    ShowTwoSquares();
    Send(QEvent::MouseMove, {140, 60}, Qt::NoButton, {});
    ASSERT_TRUE(Until([&] { return view.HoveredId() == 2; }));
    Send(QEvent::MouseMove, {10, 190}, Qt::NoButton, {});
    ASSERT_TRUE(Until([&] { return view.HoveredId() == 0; }));
}

TEST_F(Widgets, TheGizmoIsDraggedTypedAndTakenBack) {
    ShowTwoSquares();
    std::vector<Matrix3> commits, previews;
    int cancelled = 0;
    view.Gizmo().onCommit = [&](const Matrix3& m) { commits.push_back(m); };
    view.Gizmo().onPreview = [&](const Matrix3& m) { previews.push_back(m); };
    view.Gizmo().onCancel = [&] { ++cancelled; };
    view.ShowGizmo(GizmoTool::kMove, Matrix3());
    Drag({150, 100}, {170, 100}, Qt::LeftButton);
    ASSERT_EQ(commits.size(), 1u);
    EXPECT_NEAR(commits[0].row[3].x, 1, 1e-3);
    EXPECT_EQ(previews.size(), 5u);
    EXPECT_TRUE(picks.empty() && rectangles.empty());
    Drag({150, 100}, {170, 100}, Qt::LeftButton, {}, false);
    Press(Qt::Key_7, {}, "7");
    Press(Qt::Key_Return, {}, "\r");
    ASSERT_EQ(commits.size(), 2u);
    EXPECT_NEAR(commits[1].row[3].x, 7, 1e-4);
    Send(QEvent::MouseButtonRelease, {170, 100}, Qt::LeftButton, {});
    for (int way = 0; way < 3; ++way) {
        Drag({150, 100}, {170, 100}, Qt::LeftButton, {}, false);
        if (way == 0) Press(Qt::Key_Escape);
        if (way == 1)
            Send(QEvent::MouseButtonPress, {170, 100}, Qt::RightButton,
                 Qt::LeftButton | Qt::RightButton);
        if (way == 2) {
            QFocusEvent out(QEvent::FocusOut);
            QApplication::sendEvent(&view, &out);
        }
        Send(QEvent::MouseButtonRelease, {170, 100}, Qt::LeftButton, {});
        EXPECT_EQ(cancelled, way + 1);
    }
    EXPECT_EQ(commits.size(), 2u);
}

TEST_F(Widgets, RenderedViewsFillUpAndBeginAgain) {
    view.resize(80, 80);
    view.SetShading(ViewportShading::kRendered);
    TViewNode square = MeshNode(SquareMesh(), kRed, Facing(0, 0, 0));
    auto material = std::make_shared<StandardMtl>();
    material->diffuse = kRed;
    square.material = material;
    view.ShowScene(SceneOf({square}));
    LookFromFront();
    ASSERT_TRUE(Until([&] { return view.IsUpToDate(); }));
    ASSERT_EQ(view.Picture()->samples, kViewSamples);
    // The square covers a fifth of the view's side.
    QColor lit = ColorAt({40, 40}), beside = ColorAt({24, 40});
    EXPECT_GT(lit.red(), lit.green() + 20);
    EXPECT_LT(beside.red(), beside.blue() + 20);
    view.Navigation().Pan(5, 0, 80);
    view.CameraChanged();
    EXPECT_TRUE(Until([&] { return view.Picture()->samples < kViewSamples; }));
    EXPECT_TRUE(Until([&] { return view.IsUpToDate(); }));
}

TEST_F(Widgets, WithoutOpenGlTheSplatterDraws) {
    ViewportWidget plain(nullptr, true);
    plain.resize(200, 200);
    plain.show();
    plain.ShowScene(SceneOf({MeshNode(SquareMesh(), kRed, Facing(0, 0, 0))}));
    ASSERT_TRUE(Until([&] { return plain.IsUpToDate(); }));
    QSize size = plain.PictureSize();
    const uint8_t* middle =
        &plain.Picture()->rgbx[size_t(size.height() / 2 * size.width() + size.width() / 2) * 4];
    EXPECT_GT(int(middle[0]), 120);
    EXPECT_LT(int(middle[1]), 60);
}

TEST_F(Widgets, NothingIsShownForNoScene) {
    ShowTwoSquares();
    view.ShowScene(nullptr);
    EXPECT_EQ(view.Picture(), nullptr);
    Click({60, 100});
    Press(Qt::Key_F);
    Drag({100, 100}, {140, 120}, Qt::MiddleButton);
    view.grab();
    EXPECT_TRUE(picks.empty());
}

TEST_F(Widgets, FourViewsAndBack) {
    QuadView quad;
    quad.resize(402, 402);
    quad.show();
    quad.ShowScene(SceneOf({MeshNode(SquareMesh(), kRed, Facing(0, 0, 0))}));
    EXPECT_TRUE(quad.View(3).isVisible());
    EXPECT_FALSE(quad.View(0).isVisible());
    QKeyEvent key(QEvent::KeyPress, Qt::Key_W, Qt::AltModifier);
    QApplication::sendEvent(&quad.View(3), &key);
    EXPECT_EQ(quad.Layout(), QuadLayout::kFour);
    ASSERT_TRUE(Until([&] {
        for (size_t i = 0; i < 4; ++i)
            if (!quad.View(i).IsUpToDate()) return false;
        return true;
    }));
    EXPECT_EQ(quad.View(0).Navigation().Pose().side, ViewSide::kTop);
    EXPECT_NEAR(quad.View(0).width(), 200, 2);
    QApplication::sendEvent(&quad.View(1), &key);
    EXPECT_EQ(quad.Layout(), QuadLayout::kOne);
    EXPECT_TRUE(quad.View(1).isVisible());
    quad.SetLayout(QuadLayout::kTwo);
    EXPECT_TRUE(quad.View(3).isVisible());
}

TEST_F(Widgets, PixelsAreConvertedInOneWay) {
    double ratio = view.devicePixelRatioF();
    EXPECT_EQ(view.PictureSize(),
              QSize(int(std::lround(200 * ratio)), int(std::lround(200 * ratio))));
    EXPECT_NEAR(view.ToPixel({50, 100}).x(), 50 * ratio, 1e-6);
    EXPECT_NEAR(view.ToLogical(view.ToPixel({50, 100})).y(), 100, 1e-6);
    ShowTwoSquares();
    EXPECT_EQ(view.Picture()->width, view.PictureSize().width());
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
