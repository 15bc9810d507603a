// What keys do in a view.
#include <QApplication>
#include <QKeyEvent>

#include "apps/studio/viewport/viewport_widget.h"

bool ViewportWidget::TypeIntoGizmo(QKeyEvent* event) {
    if (!m_gizmo.IsDragging()) return false;
    int key = event->key();
    auto take = [&](char c) {
        m_gizmo.Type(c);
        if (!m_gizmo.IsDragging()) EndGesture();
        update();
        return true;
    };
    if (key == Qt::Key_Escape) return take(27);
    if (key == Qt::Key_Return || key == Qt::Key_Enter) return take('\r');
    if (key == Qt::Key_Tab) return take('\t');
    if (key == Qt::Key_Backspace) return take('\b');
    if (key == Qt::Key_X) return m_gizmo.Constrain(kAxisX), update(), true;
    if (key == Qt::Key_Y) return m_gizmo.Constrain(kAxisY), update(), true;
    if (key == Qt::Key_Z) return m_gizmo.Constrain(kAxisZ), update(), true;
    QString text = event->text();
    if (text.size() != 1) return false;
    QChar c = text[0] == ',' ? QChar('.') : text[0];
    return (c.isDigit() || c == '.' || c == '-') && take(c.toLatin1());
}

// While the right button is down; the first one begins the walk.
bool ViewportWidget::PressWalkKey(QKeyEvent* event) {
    bool canWalk = m_gesture == Gesture::kWalk ||
                   (m_gesture == Gesture::kMenu && !m_navigation.Pose().isParallel);
    if (!canWalk || !ViewWalk::IsKey(event->key())) return false;
    if (event->isAutoRepeat()) return true;
    if (m_gesture == Gesture::kMenu) BeginNavigation(Gesture::kWalk, m_pointer);
    m_hasNavigated = true;
    m_walk.Press(event->key());
    return true;
}

void ViewportWidget::keyReleaseEvent(QKeyEvent* event) {
    bool isOfWalk = m_gesture == Gesture::kWalk && ViewWalk::IsKey(event->key());
    if (!isOfWalk) return QWidget::keyReleaseEvent(event);
    if (!event->isAutoRepeat()) m_walk.Release(event->key());
}

bool ViewportWidget::PressViewKey(QKeyEvent* event) {
    bool isPad = event->modifiers() & Qt::KeypadModifier;
    bool isCtrl = event->modifiers() & Qt::ControlModifier;
    auto look = [&](ViewSide side, ViewSide opposite) {
        m_navigation.Remember();
        m_navigation.SetSide(isCtrl ? opposite : side);
        CameraChanged();
        return true;
    };
    if (!isPad) return false;
    switch (event->key()) {
        case Qt::Key_0:
            return LookThroughCamera(), true;
        case Qt::Key_1:
            return look(ViewSide::kFront, ViewSide::kBack);
        case Qt::Key_3:
            return look(ViewSide::kLeft, ViewSide::kRight);
        case Qt::Key_7:
            return look(ViewSide::kTop, ViewSide::kBottom);
        case Qt::Key_5:
            m_navigation.Remember();
            m_navigation.SetParallel(!m_navigation.Pose().isParallel);
            CameraChanged();
            return true;
        default:
            return false;
    }
}

void ViewportWidget::keyPressEvent(QKeyEvent* event) {
    bool isShift = event->modifiers() & Qt::ShiftModifier;
    bool isPlain = !(event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier));
    if (TypeIntoGizmo(event) || PressWalkKey(event)) return;
    if (event->key() == Qt::Key_Escape && m_gesture != Gesture::kNone) return CancelGesture();
    if (m_gesture == Gesture::kTool || m_gesture == Gesture::kMenu || m_gesture == Gesture::kWalk)
        return;
    if (m_tool && m_tool->Key(*this, event->key(), event->modifiers())) return;
    if (PressViewKey(event)) return;
    if (event->key() == Qt::Key_W && event->modifiers() == Qt::AltModifier && onMaximize)
        return onMaximize();
    if (isPlain) switch (event->key()) {
            case Qt::Key_F:
                return isShift ? FrameAll() : FrameSelection();
            case Qt::Key_V:
                return onMenu ? onMenu(ViewMenu::kSides, mapToGlobal(m_pointer.toPoint())) : void();
            case Qt::Key_Menu:
                return onMenu ? onMenu(ViewMenu::kAll, mapToGlobal(rect().center())) : void();
            case Qt::Key_F3:
                return SetShading(m_shading == ViewportShading::kWire ? ViewportShading::kShaded
                                                                      : ViewportShading::kWire);
            case Qt::Key_F4:
                return SetEdges(!m_showsEdges);
            case Qt::Key_Z:
                if (isShift && m_navigation.GoBack()) return CameraChanged();
                break;
            case Qt::Key_Y:
                if (isShift && m_navigation.GoForward()) return CameraChanged();
                break;
            default:
                break;
        }
    QWidget::keyPressEvent(event);
}

// Keys of a gesture are its own, whatever the window's shortcuts and the focus order say.
bool ViewportWidget::event(QEvent* event) {
    bool isKey = event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
    // Of a menu that is open over the view: no shortcuts of the view either.
    if (event->type() == QEvent::ShortcutOverride && QApplication::activePopupWidget()) {
        event->accept();
        return true;
    }
    bool ownsKeys = m_gesture == Gesture::kGizmo || m_gesture == Gesture::kTool ||
                    m_gesture == Gesture::kWalk || m_gesture == Gesture::kMenu;
    if (isKey && ownsKeys) {
        if (event->type() == QEvent::KeyPress) keyPressEvent(static_cast<QKeyEvent*>(event));
        event->accept();
        return true;
    }
    return QWidget::event(event);
}
