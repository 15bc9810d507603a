// Mouse and keys as a hand would give them, modifiers included.
#pragma once

#include <functional>

#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>

namespace hand {

inline void Mouse(QWidget* widget, QEvent::Type type, QPointF at, Qt::MouseButton button,
                  Qt::KeyboardModifiers modifiers = {}) {
    bool isMove = type == QEvent::MouseMove, isRelease = type == QEvent::MouseButtonRelease;
    QMouseEvent event(type, at, widget->mapToGlobal(at), isMove ? Qt::NoButton : button,
                      isRelease ? Qt::NoButton : Qt::MouseButtons(button), modifiers);
    QApplication::sendEvent(widget, &event);
}
inline void Press(QWidget* widget, QPointF at, Qt::MouseButton button = Qt::LeftButton) {
    Mouse(widget, QEvent::MouseButtonPress, at, button);
}
inline void Move(QWidget* widget, QPointF at, Qt::KeyboardModifiers modifiers = {}) {
    Mouse(widget, QEvent::MouseMove, at, Qt::LeftButton, modifiers);
}
inline void Release(QWidget* widget, QPointF at, Qt::MouseButton button = Qt::LeftButton,
                    Qt::KeyboardModifiers modifiers = {}) {
    Mouse(widget, QEvent::MouseButtonRelease, at, button, modifiers);
}
// Drags the arrows of a number field up, two pixels a move.
inline void DragArrows(QWidget* field, int moves) {
    QPointF arrows(field->width() - 5.0, 6);
    Press(field, arrows);
    for (int i = 1; i <= moves; ++i) {
        Move(field, arrows - QPointF(0, 2 * i));
        QCoreApplication::processEvents();
    }
    Release(field, arrows - QPointF(0, 2 * moves));
}
inline bool Wheel(QWidget* widget, int steps, Qt::KeyboardModifiers modifiers = {}) {
    QPointF at = widget->rect().center();
    QWheelEvent event(at, widget->mapToGlobal(at), {}, {0, steps * 120}, Qt::NoButton, modifiers,
                      Qt::NoScrollPhase, false);
    event.accept();
    QApplication::sendEvent(widget, &event);
    return event.isAccepted();
}
inline void Key(QWidget* widget, Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    QTest::keyClick(widget, key, modifiers);
}
inline void Type(QWidget* widget, const char* text) { QTest::keyClicks(widget, text); }

// Lets the application work until it is so. False: it never came about.
inline bool Wait(const std::function<bool()>& isSo) {
    constexpr int kPatienceMs = 60'000;
    QElapsedTimer timer;
    timer.start();
    while (!isSo()) {
        if (timer.elapsed() > kPatienceMs) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

}  // namespace hand
