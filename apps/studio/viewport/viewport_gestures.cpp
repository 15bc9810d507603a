// What mouse, pen and wheel do in a view.
#include <cmath>

#include <QCursor>
#include <QMouseEvent>
#include <QTabletEvent>
#include <QWheelEvent>

#include "apps/studio/viewport/viewport_widget.h"

namespace {

constexpr double kClickReach = 4;       // logical pixels that a click may move
constexpr float kZoomOfStep = 0.85f;    // of the distance, for one step of the wheel
constexpr float kZoomOfPixel = 0.995f;  // for one pixel of a smooth zoom
constexpr double kStep = 120;           // of wheel events

}  // namespace

// The selection, else the place under the pointer, else the target.
Point3 ViewportWidget::Pivot(const QPointF& at) const {
    if (m_scene)
        if (Box3 box = SelectionBox(); !box.IsEmpty()) return box.Center();
    QPointF pixel = ToPixel(at);
    if (m_pointerDepth && (pixel - m_depthAt).manhattanLength() < 8) {
        return PlaceAtDepth(Camera(), float(pixel.x()), float(pixel.y()), *m_pointerDepth);
    }
    return m_navigation.Pose().target;
}

void ViewportWidget::BeginNavigation(Gesture gesture, const QPointF& at) {
    m_navigation.Remember();
    m_poseBefore = m_navigation.Pose();
    m_gesture = gesture;
    m_hasNavigated = false;
    m_pivot = gesture == Gesture::kOrbit ? Pivot(at) : m_navigation.Pose().target;
    ForgetHover();
}

void ViewportWidget::MoveNavigation(const QPointF& by) {
    auto dx = float(by.x()), dy = float(by.y());
    if (m_gesture == Gesture::kOrbit) m_navigation.Orbit(dx, dy, m_pivot);
    if (m_gesture == Gesture::kPan) m_navigation.Pan(dx, dy, std::max(width(), 1));
    if (m_gesture == Gesture::kZoom) m_navigation.Zoom(std::pow(kZoomOfPixel, dx - dy), m_pivot);
    if (m_gesture == Gesture::kWalk) m_navigation.Look(dx, dy);
    m_hasNavigated = true;
    CameraChanged();
}

// At the view's border the pointer goes on at the other side.
void ViewportWidget::WrapPointer(const QPointF& at) {
    QPointF to = at;
    if (at.x() <= 0) to.rx() += width() - 2;
    if (at.x() >= width() - 1) to.rx() -= width() - 2;
    if (at.y() <= 0) to.ry() += height() - 2;
    if (at.y() >= height() - 1) to.ry() -= height() - 2;
    if (to == at) return;
    QCursor::setPos(mapToGlobal(to.toPoint()));
    m_last = to;
    m_ignoresMove = true;
}

bool ViewportWidget::PressGizmo(const QPointF& pixel) {
    TViewportCamera camera = Camera();
    GizmoHandle handle = m_gizmo.HandleAt(camera, float(pixel.x()), float(pixel.y()), PixelScale());
    if (handle == kNoHandle) return false;
    m_gesture = Gesture::kGizmo;
    m_gizmo.Begin(handle, camera, float(pixel.x()), float(pixel.y()));
    return true;
}

void ViewportWidget::mousePressEvent(QMouseEvent* event) {
    setFocus(Qt::MouseFocusReason);
    if (onActivated) onActivated();
    if (m_gesture != Gesture::kNone) {
        // The right button takes a gesture back; others do nothing to it.
        if (event->button() == Qt::RightButton) CancelGesture();
        return;
    }
    m_button = event->button();
    m_modifiers = event->modifiers();
    m_pressed = m_last = m_pointer = event->position();
    if (m_button == Qt::LeftButton && PressLabel(m_pressed)) return;
    bool isAlt = m_modifiers & Qt::AltModifier, isCtrl = m_modifiers & Qt::ControlModifier;
    if (m_button == Qt::MiddleButton)
        BeginNavigation(!isAlt   ? Gesture::kPan
                        : isCtrl ? Gesture::kZoom
                                 : Gesture::kOrbit,
                        m_pressed);
    else if (m_button == Qt::RightButton)
        m_gesture = Gesture::kMenu;
    else if (m_button == Qt::LeftButton && m_tool &&
             m_tool->Press(*this, ToPixel(m_pressed), m_modifiers))
        m_gesture = m_tool ? Gesture::kTool : Gesture::kNone;  // it may have left with the press
    else if (m_button == Qt::LeftButton && !PressGizmo(ToPixel(m_pressed)))
        m_gesture = Gesture::kClick;
    UpdateCursor();
    update();
}

// The words in the corner are buttons.
bool ViewportWidget::PressLabel(const QPointF& at) {
    std::array<QRectF, 2> boxes = LabelBoxes();
    for (ViewMenu menu : {ViewMenu::kSides, ViewMenu::kShading}) {
        const QRectF& box = boxes[menu == ViewMenu::kSides ? 0 : 1];
        if (!box.contains(at)) continue;
        m_button = Qt::NoButton;
        if (onMenu) onMenu(menu, mapToGlobal(box.bottomLeft().toPoint()));
        return true;
    }
    return false;
}

void ViewportWidget::HoverAt(const QPointF& at) {
    QPointF pixel = ToPixel(at);
    if (m_tool) m_tool->Hover(*this, pixel);
    GizmoHandle handle =
        m_gizmo.HandleAt(Camera(), float(pixel.x()), float(pixel.y()), PixelScale());
    if (handle != m_gizmo.hovered) m_gizmo.hovered = handle, update();
    int x = int(std::floor(pixel.x())), y = int(std::floor(pixel.y()));
    AskPick(PickWish::kHover, {{x, y, x + 1, y + 1}, {}});
    UpdateCursor();
}

// What the pointer says of the place that it is at.
void ViewportWidget::UpdateCursor() {
    auto shape = [this] {
        if (m_gesture == Gesture::kPan) return Qt::ClosedHandCursor;
        if (IsNavigating()) return Qt::SizeAllCursor;
        if (m_gesture == Gesture::kRectangle || m_gesture == Gesture::kLasso)
            return Qt::CrossCursor;
        for (const QRectF& box : LabelBoxes())
            if (m_gesture == Gesture::kNone && box.contains(m_pointer))
                return Qt::PointingHandCursor;
        if (m_tool) return Qt::CrossCursor;
        if (!m_gizmo.IsDragging() && m_gizmo.hovered == kNoHandle) return m_restCursor;
        switch (m_gizmo.tool) {
            case GizmoTool::kMove:
                return Qt::SizeAllCursor;
            case GizmoTool::kRotate:
                return Qt::OpenHandCursor;
            case GizmoTool::kScale:
                return Qt::SizeFDiagCursor;
            default:
                return m_restCursor;
        }
    }();
    if (shape != cursor().shape()) setCursor(shape);
}

void ViewportWidget::mouseMoveEvent(QMouseEvent* event) {
    QPointF at = event->position();
    // Of a drag whose end nobody told, or of the pointer as it was set.
    if (m_gesture != Gesture::kNone && event->buttons() == Qt::NoButton) return;
    m_pointer = at;
    QPointF by = at - m_last;
    m_last = at;
    if (std::exchange(m_ignoresMove, false)) return;
    QPointF pixel = ToPixel(at);
    switch (m_gesture) {
        case Gesture::kNone:
            return HoverAt(at);
        case Gesture::kMenu:
            // Views without perspective have no eye that could walk.
            if ((at - m_pressed).manhattanLength() <= kClickReach || m_navigation.Pose().isParallel)
                return;
            BeginNavigation(Gesture::kWalk, at);
            return MoveNavigation(at - m_pressed);
        case Gesture::kClick:
            if ((at - m_pressed).manhattanLength() <= kClickReach) return;
            m_gesture = m_usesLasso ? Gesture::kLasso : Gesture::kRectangle;
            m_lasso = {m_pressed};
            [[fallthrough]];
        case Gesture::kLasso:
        case Gesture::kRectangle:
            m_lasso.push_back(at);
            update();
            return;
        case Gesture::kGizmo:
            m_gizmo.Drag(Camera(), float(pixel.x()), float(pixel.y()),
                         event->modifiers() & Qt::ControlModifier);
            update();
            return;
        case Gesture::kTool:
            m_tool->Drag(*this, pixel, event->modifiers());
            update();
            return;
        default:
            MoveNavigation(by);
            WrapPointer(at);
    }
}

TPickRegion ViewportWidget::DrawnRegion(const QPointF& end) const {
    if (m_gesture == Gesture::kLasso) {
        std::vector<TScreenPoint> lasso;
        for (const QPointF& p : m_lasso) {
            QPointF pixel = ToPixel(p);
            lasso.push_back({float(pixel.x()), float(pixel.y()), 0});
        }
        return LassoRegion(std::move(lasso));
    }
    QPointF a = ToPixel(m_pressed), b = ToPixel(end);
    auto low = [](double u, double v) { return int(std::floor(std::min(u, v))); };
    auto high = [](double u, double v) { return int(std::ceil(std::max(u, v))); };
    return {{low(a.x(), b.x()), low(a.y(), b.y()), high(a.x(), b.x()), high(a.y(), b.y())}, {}};
}

void ViewportWidget::mouseReleaseEvent(QMouseEvent* event) {
    // Whatever the modifiers are by now; other buttons end nothing.
    if (event->button() != m_button) return;
    Gesture gesture = m_gesture;
    if (gesture == Gesture::kClick) {
        QPointF a = ToPixel(m_pressed);
        int x = int(std::floor(a.x())), y = int(std::floor(a.y()));
        AskPick(PickWish::kClick, {{x, y, x + 1, y + 1}, {}});
    } else if (gesture == Gesture::kRectangle || gesture == Gesture::kLasso) {
        AskPick(PickWish::kRegion, DrawnRegion(event->position()));
    } else if (gesture == Gesture::kGizmo) {
        m_gizmo.Commit();
    } else if (gesture == Gesture::kTool) {
        m_tool->Release(*this);
    }
    EndGesture();
    if (gesture == Gesture::kMenu && onMenu)
        onMenu(ViewMenu::kAll, event->globalPosition().toPoint());
}

void ViewportWidget::EndGesture() {
    bool stoodElsewhere = IsNavigating() && m_hasNavigated;
    m_walk.End();
    m_gesture = Gesture::kNone;
    m_button = Qt::NoButton;
    m_ignoresMove = m_hasNavigated = false;
    // The pointer stands again where it began.
    if (stoodElsewhere) QCursor::setPos(mapToGlobal(m_pressed.toPoint()));
    UpdateCursor();
    update();
}

void ViewportWidget::CancelGesture() {
    if (m_gesture == Gesture::kGizmo) m_gizmo.Cancel();
    if (m_gesture == Gesture::kTool) m_tool->Cancel(*this);
    if (IsNavigating()) {
        m_navigation.SetPose(m_poseBefore);
        CameraChanged();
    }
    EndGesture();
}

void ViewportWidget::focusOutEvent(QFocusEvent* event) {
    CancelGesture();
    QWidget::focusOutEvent(event);
}

void ViewportWidget::leaveEvent(QEvent* event) {
    ForgetHover();
    m_pointerDepth.reset();
    update();
    QWidget::leaveEvent(event);
}

void ViewportWidget::wheelEvent(QWheelEvent* event) {
    double steps = event->angleDelta().y() / kStep;
    bool walks = m_gesture == Gesture::kWalk || m_gesture == Gesture::kMenu;
    if (walks) m_walk.ChangeSpeed(steps), update();
    if (m_gesture != Gesture::kNone) return event->accept();
    QPointF pixel = ToPixel(event->position());
    m_navigation.Remember();
    m_navigation.Zoom(std::pow(kZoomOfStep, float(steps)),
                      m_navigation.PlaceAt(float(pixel.x()), float(pixel.y()),
                                           PictureSize().width(), PictureSize().height()));
    CameraChanged();
    event->accept();
}

// A pen is a mouse that says how hard it is pressed.
void ViewportWidget::tabletEvent(QTabletEvent* event) {
    bool isDown = event->type() == QEvent::TabletPress,
         isUp = event->type() == QEvent::TabletRelease;
    if (!isUp) m_pressure = isDown || event->buttons() ? float(event->pressure()) : 1;
    m_isEraser = event->pointerType() == QPointingDevice::PointerType::Eraser;
    QEvent::Type type = isDown ? QEvent::MouseButtonPress
                        : isUp ? QEvent::MouseButtonRelease
                               : QEvent::MouseMove;
    QMouseEvent mouse(type, event->position(), event->globalPosition(), event->button(),
                      event->buttons(), event->modifiers());
    if (isDown)
        mousePressEvent(&mouse);
    else if (isUp)
        mouseReleaseEvent(&mouse);
    else
        mouseMoveEvent(&mouse);
    if (isUp) m_pressure = 1, m_isEraser = false;
    event->accept();
}
