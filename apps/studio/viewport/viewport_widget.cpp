#include "apps/studio/viewport/viewport_widget.h"

#include <cmath>

#include <QCoreApplication>
#include <QCursor>
#include <QLocale>
#include <QMouseEvent>
#include <QTimer>
#include <QWheelEvent>

namespace {

constexpr int kRestMilliseconds = 150;
constexpr double kClickReach = 4;       // logical pixels that a click may move
constexpr float kZoomOfStep = 0.85f;    // of the distance, for one step of the wheel
constexpr float kZoomOfPixel = 0.995f;  // for one pixel of a smooth zoom
constexpr double kStep = 120;           // of wheel events

QString Tr(const char* text) { return QCoreApplication::translate("Viewport", text); }

PickMode ModeOf(Qt::KeyboardModifiers modifiers) {
    if (modifiers & Qt::ControlModifier) return PickMode::kAdd;
    if (modifiers & Qt::AltModifier) return PickMode::kRemove;
    return modifiers & Qt::ShiftModifier ? PickMode::kToggle : PickMode::kReplace;
}

// Runs `work` in the widget's thread while it lives.
template <class Work>
void Post(ViewportWidget* widget, Work work) {
    QMetaObject::invokeMethod(widget, std::move(work), Qt::QueuedConnection);
}

}  // namespace

ViewportWidget::ViewportWidget(QWidget* parent, bool avoidsOpenGl)
    : QWidget(parent), m_rest(new QTimer(this)) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(64, 48);
    setAccessibleName(Tr("View of the scene"));
    m_rest->setSingleShot(true);
    m_rest->setInterval(kRestMilliseconds);
    connect(m_rest, &QTimer::timeout, this, [this] { AskPicture(false); });
    // Both threads end before the widget does, so that it lives whenever they post.
    m_picker = std::make_unique<ViewPicker>([this](PickAnswer answer) {
        Post(this, [this, answer = std::move(answer)] { TakeAnswer(answer); });
    });
    m_renderer = std::make_unique<ViewRenderer>(
        [this](std::shared_ptr<const ViewPicture> picture) {
            Post(this, [this, picture] { TakePicture(picture); });
        },
        avoidsOpenGl);
}

ViewportWidget::~ViewportWidget() {
    m_renderer.reset();
    m_picker.reset();
}

// --- what is shown

void ViewportWidget::ShowScene(std::shared_ptr<const TViewportScene> scene) {
    m_scene = std::move(scene);
    ForgetHover();
    if (!m_scene) {
        m_wasFramed = false;  // another scene comes
        m_picture.reset();
        m_image = {};
        update();
        return;
    }
    if (!m_wasFramed && !m_scene->Bounds().IsEmpty()) {
        m_wasFramed = true;
        m_navigation.Frame(m_scene->Bounds(), PictureSize().width(), PictureSize().height());
    }
    AskPicture(m_gesture != Gesture::kNone && m_gesture != Gesture::kClick);
}

void ViewportWidget::SetShading(ViewportShading shading) {
    m_shading = shading;
    AskPicture(false);
}

void ViewportWidget::SetEdges(bool areShown) {
    m_showsEdges = areShown;
    AskPicture(false);
}

void ViewportWidget::SetGrid(bool isShown) {
    m_showsGrid = isShown;
    AskPicture(false);
}

void ViewportWidget::FrameAll() {
    if (!m_scene) return;
    m_navigation.Remember();
    m_navigation.Frame(m_scene->Bounds(), PictureSize().width(), PictureSize().height());
    CameraChanged();
}

void ViewportWidget::FrameSelection() {
    if (!m_scene) return;
    Box3 box = SelectionBox();
    m_navigation.Remember();
    m_navigation.Frame(box.IsEmpty() ? m_scene->Bounds() : box, PictureSize().width(),
                       PictureSize().height());
    CameraChanged();
}

Box3 ViewportWidget::SelectionBox() const {
    Box3 box;
    for (const TViewNode& node : m_scene->Nodes()) {
        bool hasItems = false;
        if (node.scatter && node.scatter->isEdited)
            for (const TViewItem& item : node.scatter->Items()) {
                if (!(item.flags & TViewItem::kSelected)) continue;
                hasItems = true;
                Matrix3 toWorld = item.toObject * node.toWorld;
                box += toWorld.BoxTransform(node.scatter->prototypes[item.prototype].bounds);
            }
        if (!node.isSelected || hasItems) continue;
        if (node.bounds.IsEmpty())
            box += node.toWorld.row[3];
        else
            box += node.toWorld.BoxTransform(node.bounds);
    }
    return box;
}

void ViewportWidget::LookThroughCamera() {
    if (!m_scene) return;
    for (const TViewNode& node : m_scene->Nodes()) {
        if (node.kind != TViewKind::kCamera) continue;
        m_navigation.Remember();
        m_navigation.LookFrom(node.toWorld, node.slopeX);
        CameraChanged();
        m_throughCamera = node.handle;
        return;
    }
}

void ViewportWidget::StartFrom(const Matrix3& camera, float slope) {
    m_navigation.LookFrom(camera, slope);
    m_wasFramed = true;
}

void ViewportWidget::ShowGizmo(GizmoTool tool, const Matrix3& frame) {
    if (m_gizmo.IsDragging()) return;
    m_gizmo.tool = tool;
    m_gizmo.SetFrame(frame);
    update();
}

void ViewportWidget::SetTool(IViewTool* tool) {
    if (tool == m_tool) return;
    if (m_gesture == Gesture::kTool) CancelGesture();
    m_tool = tool;
    ForgetHover();
    update();
}

void ViewportWidget::CameraChanged() {
    m_throughCamera = 0;
    AskPicture(true);
    m_rest->start();
    if (onCameraChanged) onCameraChanged();
}

// --- pixels

QPointF ViewportWidget::ToPixel(const QPointF& logical) const {
    QSize size = PictureSize();
    return {logical.x() * size.width() / std::max(width(), 1),
            logical.y() * size.height() / std::max(height(), 1)};
}

QPointF ViewportWidget::ToLogical(const QPointF& pixel) const {
    QSize size = PictureSize();
    return {pixel.x() * std::max(width(), 1) / size.width(),
            pixel.y() * std::max(height(), 1) / size.height()};
}

QSize ViewportWidget::PictureSize() const {
    double ratio = devicePixelRatioF();
    return {std::max(1, int(std::lround(width() * ratio))),
            std::max(1, int(std::lround(height() * ratio)))};
}

TViewportCamera ViewportWidget::Camera() const {
    Box3 bounds = m_scene ? m_scene->Bounds() : Box3{};
    return m_navigation.Camera(PictureSize().width(), PictureSize().height(), bounds);
}

// --- asking and hearing

ViewRequest ViewportWidget::Request(bool isMoving) const {
    ViewRequest request;
    request.scene = m_scene;
    request.camera = Camera();
    request.shading = m_shading;
    request.showsEdges = m_showsEdges, request.showsGrid = m_showsGrid;
    request.isMoving = isMoving;
    return request;
}

void ViewportWidget::AskPicture(bool isMoving) {
    if (!m_scene) return;
    m_renderer->Ask(Request(isMoving));
    update();
}

void ViewportWidget::AskPick(PickWish::Kind kind, const TPixelRect& rectangle) {
    if (!m_scene) return;
    PickWish wish{kind, Request(false), rectangle, m_onlySeen, ++m_pickNumber};
    wish.takesTouched = kind == PickWish::kRectangle && m_last.x() < m_pressed.x();
    m_modes[wish.number] = ModeOf(m_modifiers);
    m_picker->Ask(std::move(wish));
}

void ViewportWidget::TakePicture(std::shared_ptr<const ViewPicture> picture) {
    if (!m_scene) return;
    m_picture = std::move(picture);
    m_image = QImage(m_picture->rgbx.data(), m_picture->width, m_picture->height,
                     qsizetype(m_picture->width) * 4, QImage::Format_RGBX8888);
    update();
    Tell();
}

bool ViewportWidget::IsUpToDate() const {
    if (!m_picture || m_picture->scene != m_scene || !m_picture->isWhole) return false;
    TViewportCamera camera = Camera();
    return camera.Transform() == m_picture->camera.Transform() &&
           camera.Width() == m_picture->width && camera.Height() == m_picture->height;
}

void ViewportWidget::TakeAnswer(const PickAnswer& answer) {
    if (answer.wish.kind == PickWish::kHover) return TakeHover(answer);
    auto mode = m_modes.find(answer.wish.number);
    ViewportPick pick;
    pick.ids = answer.ids, pick.scene = answer.wish.view.scene;
    if (mode != m_modes.end()) pick.mode = mode->second;
    m_modes.erase(m_modes.begin(), m_modes.upper_bound(answer.wish.number));
    pick.camera = answer.wish.view.camera;
    if (answer.wish.kind == PickWish::kRectangle) {
        pick.rectangle = answer.wish.rectangle;
        pick.takesTouched = answer.wish.takesTouched;
        if (onRectangle) onRectangle(pick);
        return;
    }
    QPoint at(answer.wish.rectangle.left, answer.wish.rectangle.top);
    bool isAgain = (at - m_lastClick).manhattanLength() <= 2;
    m_clickTurn = isAgain && !pick.ids.empty() ? (m_clickTurn + 1) % pick.ids.size() : 0;
    m_lastClick = at;
    pick.meant = m_clickTurn;
    for (float depth : answer.depths)
        pick.places.push_back(
            PlaceAtDepth(pick.camera, float(at.x()) + 0.5f, float(at.y()) + 0.5f, depth));
    if (!pick.places.empty()) pick.place = pick.places[0];
    if (onPick) onPick(pick);
}

void ViewportWidget::TakeHover(const PickAnswer& answer) {
    if (answer.wish.view.scene != m_scene || m_gesture != Gesture::kNone) return;
    uint32_t id = answer.ids.empty() ? TViewportScene::kNoId : answer.ids[0];
    m_pointerDepth.reset();
    if (!answer.depths.empty()) m_pointerDepth = answer.depths[0];
    m_depthAt = {double(answer.wish.rectangle.left), double(answer.wish.rectangle.top)};
    m_modes.erase(m_modes.begin(), m_modes.upper_bound(answer.wish.number));
    if (id == m_hovered) return;
    m_hovered = id;
    m_hoveredCorners = answer.corners;
    update();
    Tell();
}

void ViewportWidget::ForgetHover() {
    m_hovered = TViewportScene::kNoId;
    m_hoveredCorners.clear();
}

// --- gestures

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
    m_pivot = gesture == Gesture::kOrbit ? Pivot(at) : m_navigation.Pose().target;
    ForgetHover();
}

void ViewportWidget::MoveNavigation(const QPointF& by) {
    auto dx = float(by.x()), dy = float(by.y());
    if (m_gesture == Gesture::kOrbit) m_navigation.Orbit(dx, dy, m_pivot);
    if (m_gesture == Gesture::kPan) m_navigation.Pan(dx, dy, std::max(width(), 1));
    if (m_gesture == Gesture::kZoom) m_navigation.Zoom(std::pow(kZoomOfPixel, dx - dy), m_pivot);
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
    m_pressed = m_last = event->position();
    bool isAlt = m_modifiers & Qt::AltModifier, isCtrl = m_modifiers & Qt::ControlModifier;
    if (m_button == Qt::MiddleButton)
        BeginNavigation(!isAlt   ? Gesture::kPan
                        : isCtrl ? Gesture::kZoom
                                 : Gesture::kOrbit,
                        m_pressed);
    else if (m_button == Qt::LeftButton && m_tool &&
             m_tool->Press(*this, ToPixel(m_pressed), m_modifiers))
        m_gesture = Gesture::kTool;
    else if (m_button == Qt::LeftButton && !PressGizmo(ToPixel(m_pressed)))
        m_gesture = Gesture::kClick;
    update();
}

void ViewportWidget::mouseMoveEvent(QMouseEvent* event) {
    QPointF at = event->position();
    m_pointer = at;
    QPointF by = at - m_last;
    m_last = at;
    if (std::exchange(m_ignoresMove, false)) return;
    QPointF pixel = ToPixel(at);
    switch (m_gesture) {
        case Gesture::kNone: {
            if (m_tool) m_tool->Hover(*this, pixel);
            GizmoHandle handle =
                m_gizmo.HandleAt(Camera(), float(pixel.x()), float(pixel.y()), PixelScale());
            if (handle != m_gizmo.hovered) m_gizmo.hovered = handle, update();
            int x = int(std::floor(pixel.x())), y = int(std::floor(pixel.y()));
            AskPick(PickWish::kHover, {x, y, x + 1, y + 1});
            return;
        }
        case Gesture::kClick:
            if ((at - m_pressed).manhattanLength() <= kClickReach) return;
            m_gesture = Gesture::kRectangle;
            [[fallthrough]];
        case Gesture::kRectangle:
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

void ViewportWidget::mouseReleaseEvent(QMouseEvent* event) {
    // Whatever the modifiers are by now; other buttons end nothing.
    if (event->button() != m_button) return;
    Gesture gesture = m_gesture;
    QPointF a = ToPixel(m_pressed), b = ToPixel(event->position());
    if (gesture == Gesture::kClick) {
        int x = int(std::floor(a.x())), y = int(std::floor(a.y()));
        AskPick(PickWish::kClick, {x, y, x + 1, y + 1});
    } else if (gesture == Gesture::kRectangle) {
        auto low = [](double u, double v) { return int(std::floor(std::min(u, v))); };
        auto high = [](double u, double v) { return int(std::ceil(std::max(u, v))); };
        AskPick(PickWish::kRectangle,
                {low(a.x(), b.x()), low(a.y(), b.y()), high(a.x(), b.x()), high(a.y(), b.y())});
    } else if (gesture == Gesture::kGizmo) {
        m_gizmo.Commit();
    } else if (gesture == Gesture::kTool) {
        m_tool->Release(*this);
    }
    EndGesture();
}

void ViewportWidget::EndGesture() {
    bool moved =
        m_gesture == Gesture::kOrbit || m_gesture == Gesture::kPan || m_gesture == Gesture::kZoom;
    // The pointer stands again where it began.
    if (moved && rect().contains(m_pressed.toPoint()) && m_ignoresMove)
        QCursor::setPos(mapToGlobal(m_pressed.toPoint()));
    m_gesture = Gesture::kNone;
    m_button = Qt::NoButton;
    m_ignoresMove = false;
    update();
}

void ViewportWidget::CancelGesture() {
    if (m_gesture == Gesture::kGizmo) m_gizmo.Cancel();
    if (m_gesture == Gesture::kTool) m_tool->Cancel(*this);
    if (m_gesture == Gesture::kOrbit || m_gesture == Gesture::kPan || m_gesture == Gesture::kZoom) {
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
    if (m_gesture != Gesture::kNone) return;
    double steps = event->angleDelta().y() / kStep;
    QPointF pixel = ToPixel(event->position());
    m_navigation.Remember();
    m_navigation.Zoom(std::pow(kZoomOfStep, float(steps)),
                      m_navigation.PlaceAt(float(pixel.x()), float(pixel.y()),
                                           PictureSize().width(), PictureSize().height()));
    CameraChanged();
    event->accept();
}

// --- keys

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
    if (TypeIntoGizmo(event)) return;
    if (event->key() == Qt::Key_Escape && m_gesture != Gesture::kNone) return CancelGesture();
    if (m_gesture == Gesture::kTool) return;
    if (m_tool && m_tool->Key(*this, event->key(), event->modifiers())) return;
    if (PressViewKey(event)) return;
    if (event->key() == Qt::Key_W && event->modifiers() == Qt::AltModifier && onMaximize)
        return onMaximize();
    if (isPlain) switch (event->key()) {
            case Qt::Key_F:
                return isShift ? FrameAll() : FrameSelection();
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
    if (isKey && (m_gesture == Gesture::kGizmo || m_gesture == Gesture::kTool)) {
        if (event->type() == QEvent::KeyPress) keyPressEvent(static_cast<QKeyEvent*>(event));
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void ViewportWidget::resizeEvent(QResizeEvent*) { AskPicture(false); }
