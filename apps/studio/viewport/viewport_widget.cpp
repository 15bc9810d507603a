#include "apps/studio/viewport/viewport_widget.h"

#include <cmath>

#include <QCoreApplication>
#include <QTimer>

namespace {

constexpr int kRestMilliseconds = 150;

QString Tr(const char* text) { return QCoreApplication::translate("Viewport", text); }

PickMode ModeOf(Qt::KeyboardModifiers modifiers) {
    if (modifiers & Qt::ControlModifier) return PickMode::kAdd;
    if (modifiers & Qt::AltModifier) return PickMode::kRemove;
    return modifiers & Qt::ShiftModifier ? PickMode::kToggle : PickMode::kReplace;
}

// Of some nodes alone; null where none of them is there any more.
std::shared_ptr<const TViewportScene> PartOf(const TViewportScene& scene,
                                             const std::set<NodeHandle>& handles) {
    std::vector<TViewNode> nodes;
    for (const TViewNode& node : scene.Nodes())
        if (handles.contains(node.handle)) nodes.push_back(node);
    if (nodes.empty()) return nullptr;
    return std::make_shared<const TViewportScene>(std::move(nodes), scene.Light(), scene.Time());
}

// Runs `work` in the widget's thread while it lives.
template <class Work>
void Post(ViewportWidget* widget, Work work) {
    QMetaObject::invokeMethod(widget, std::move(work), Qt::QueuedConnection);
}

}  // namespace

ViewportWidget::ViewportWidget(QWidget* parent, bool avoidsOpenGl)
    : QWidget(parent), m_walk(m_navigation, [this] { CameraChanged(); }), m_rest(new QTimer(this)) {
    setFocusPolicy(Qt::StrongFocus);
    setContextMenuPolicy(Qt::PreventContextMenu);
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
    m_given = m_scene = std::move(scene);
    ForgetHover();
    if (!m_scene) {
        m_wasFramed = false;  // another scene comes
        m_wantsNewPicture = true;
        m_only.clear();
        m_picture.reset();
        m_image = {};
        update();
        return;
    }
    if (!m_only.empty()) m_scene = PartOf(*m_given, m_only);
    if (!m_scene) m_scene = m_given, m_only.clear();
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

void ViewportWidget::SetOnlySelected(bool isOn) {
    m_only.clear();
    if (!m_given) return;
    if (isOn)
        for (const TViewNode& node : m_given->Nodes())
            if (node.isSelected) m_only.insert(node.handle);
    ShowScene(m_given);
}

void ViewportWidget::SetSafeFrame(double aspect) {
    m_safeFrame = aspect;
    update();
}

void ViewportWidget::SetBusy(const QString& text) {
    if (text == m_busy) return;
    m_busy = text;
    update();
}

void ViewportWidget::SetRestCursor(Qt::CursorShape shape) {
    m_restCursor = shape;
    UpdateCursor();
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
    if (!m_given) return;
    for (const TViewNode& node : m_given->Nodes())
        if (node.kind == TViewKind::kCamera) return LookThrough(node.handle);
}

void ViewportWidget::LookThrough(NodeHandle camera) {
    if (!m_given) return;
    for (const TViewNode& node : m_given->Nodes()) {
        if (node.kind != TViewKind::kCamera || node.handle != camera) continue;
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
    UpdateCursor();
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

void ViewportWidget::AskPick(PickWish::Kind kind, TPickRegion region) {
    if (!m_scene) return;
    PickWish wish{kind, Request(false), std::move(region), m_onlySeen, ++m_pickNumber};
    bool isRectangle = kind == PickWish::kRegion && wish.region.lasso.empty();
    wish.takesTouched = isRectangle && m_last.x() < m_pressed.x();
    m_modes[wish.number] = ModeOf(m_modifiers);
    m_picker->Ask(std::move(wish));
}

void ViewportWidget::TakePicture(std::shared_ptr<const ViewPicture> picture) {
    bool isGone = m_wantsNewPicture && picture->scene != m_scene;
    if (!m_scene || isGone) return;
    m_wantsNewPicture = false;
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
    pick.region = answer.wish.region;
    if (answer.wish.kind == PickWish::kRegion) {
        pick.takesTouched = answer.wish.takesTouched;
        pick.seen = answer.seen;
        if (onRegion) onRegion(pick);
        return;
    }
    QPoint at(pick.region.rectangle.left, pick.region.rectangle.top);
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
    const TPixelRect& at = answer.wish.region.rectangle;
    m_depthAt = {double(at.left), double(at.top)};
    m_modes.erase(m_modes.begin(), m_modes.upper_bound(answer.wish.number));
    Tell();
    if (id == m_hovered) return;
    m_hovered = id;
    m_hoveredCorners = answer.corners;
    update();
}

std::optional<Point3> ViewportWidget::PlaceUnderPointer() const {
    if (!m_pointerDepth) return std::nullopt;
    return PlaceAtDepth(Camera(), float(m_depthAt.x()) + 0.5f, float(m_depthAt.y()) + 0.5f,
                        *m_pointerDepth);
}

void ViewportWidget::ForgetHover() {
    m_hovered = TViewportScene::kNoId;
    m_hoveredCorners.clear();
}

void ViewportWidget::resizeEvent(QResizeEvent*) { AskPicture(false); }
