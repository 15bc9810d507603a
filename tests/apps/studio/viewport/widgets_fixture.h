// A view on its own, with the hand in it, on Qt's offscreen platform.
#pragma once

#include <gtest/gtest.h>

#include <cmath>

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include "apps/studio/viewport/viewport_widget.h"
#include "tests/apps/studio/hand.h"
#include "tests/apps/studio/viewport/view_scenes.h"

inline const Color kRed{1, 0, 0}, kGreen{0, 1, 0};

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
        ASSERT_TRUE(hand::Wait([&] { return view.IsUpToDate(); }));
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
    void LetGo(int key) {
        QKeyEvent event(QEvent::KeyRelease, key, Qt::NoModifier);
        QApplication::sendEvent(&view, &event);
    }
    void Turn(int steps) {
        QPointF at(100, 100);
        QWheelEvent event(at, view.mapToGlobal(at), {}, {0, steps * 120}, {}, {}, Qt::NoScrollPhase,
                          false);
        QApplication::sendEvent(&view, &event);
    }
    QColor ColorAt(QPointF logical) {
        QImage image = view.grab().toImage();
        return image.pixelColor((logical * image.devicePixelRatio()).toPoint());
    }
    const ViewPose& Pose() { return view.Navigation().Pose(); }
};
