// How a viewport's picture is painted, with what stands over it.
#include <QLocale>
#include <QPainter>
#include <QPainterPath>

#include "apps/studio/viewport/viewport_widget.h"

namespace {

constexpr int kMargin = 10, kAxis = 28;
constexpr double kActionSafe = 0.9;  // of the safe frame

QColor ToColor(Color c) { return QColor::fromRgbF(c.r, c.g, c.b); }

QString Number(uint64_t n) { return QLocale(QLocale::English).toString(qulonglong(n)); }

const char* NameOf(const ViewPose& pose) {
    switch (pose.side) {
        case ViewSide::kFront:
            return "Front";
        case ViewSide::kBack:
            return "Back";
        case ViewSide::kLeft:
            return "Left";
        case ViewSide::kRight:
            return "Right";
        case ViewSide::kTop:
            return "Top";
        case ViewSide::kBottom:
            return "Bottom";
        default:
            return pose.isParallel ? "Parallel" : "Perspective";
    }
}

const char* NameOf(ViewportShading shading) {
    switch (shading) {
        case ViewportShading::kPoints:
            return "Points";
        case ViewportShading::kBoxes:
            return "Boxes";
        case ViewportShading::kTextured:
            return "Textured";
        case ViewportShading::kWire:
            return "Wire";
        case ViewportShading::kRendered:
            return "Rendered";
        default:
            return "Shaded";
    }
}

// The part of a line of camera space that lies beyond a depth; false where none does.
bool CutBefore(float nearest, Point3* a, Point3* b) {
    if (a->z < b->z) std::swap(a, b);  // a is the nearer one
    float depthA = -a->z, depthB = -b->z;
    if (!(depthB > nearest)) return false;
    if (depthA < nearest) *a = *a + (*b - *a) * ((nearest - depthA) / (depthB - depthA));
    return true;
}

// A label with a soft ground, so that it can be read over anything.
void PaintLabel(QPainter& painter, const QRectF& room, int align, const QString& text) {
    QRectF box = painter.fontMetrics().boundingRect(room.toRect(), align, text);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(20, 22, 24, 150));
    painter.drawRoundedRect(box.adjusted(-6, -3, 6, 3), 4, 4);
    painter.setPen(QColor(225, 228, 230));
    painter.drawText(room, align, text);
}

}  // namespace

void ViewportWidget::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (m_image.isNull())
        painter.fillRect(rect(), QColor(38, 40, 43));
    else
        painter.drawImage(rect(), m_image);
    painter.setRenderHint(QPainter::Antialiasing);
    PaintIcons(painter);
    PaintSafeFrame(painter);
    if (m_scene && onPaintOver) onPaintOver(painter);
    if (m_scene) PaintHover(painter);
    PaintGizmo(painter);
    PaintAxes(painter);
    PaintLabels(painter);
    PaintTexts(painter);
    if (m_gesture == Gesture::kRectangle || m_gesture == Gesture::kLasso) PaintRegion(painter);
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(QColor(255, 217, 51, 140), 2));
        painter.drawRect(rect().adjusted(1, 1, -1, -1));
    }
}

// Left to right takes what lies inside: a full line; the other way a dashed one. So does a lasso.
void ViewportWidget::PaintRegion(QPainter& painter) const {
    bool isLasso = m_gesture == Gesture::kLasso;
    bool isInside = isLasso || m_last.x() >= m_pressed.x();
    painter.setPen(QPen(QColor(255, 217, 51), 1, isInside ? Qt::SolidLine : Qt::DashLine));
    painter.setBrush(QColor(255, 217, 51, 28));
    if (isLasso)
        painter.drawPolygon(m_lasso.data(), int(m_lasso.size()));
    else
        painter.drawRect(QRectF(m_pressed, m_last).normalized());
}

// The box of what is under the pointer.
void ViewportWidget::PaintHover(QPainter& painter) const {
    if (m_hoveredCorners.empty() || m_gesture != Gesture::kNone) return;
    TViewportCamera camera = Camera();
    painter.setPen(QPen(QColor(255, 217, 51, 200), 1.2));
    for (int corner = 0; corner < 8; ++corner)
        for (int axis = 1; axis < 8; axis <<= 1) {
            TScreenPoint a, b;
            if (corner & axis || !camera.Project(m_hoveredCorners[size_t(corner)], &a) ||
                !camera.Project(m_hoveredCorners[size_t(corner | axis)], &b))
                continue;
            painter.drawLine(ToLogical({a.x, a.y}), ToLogical({b.x, b.y}));
        }
}

void ViewportWidget::PaintGizmo(QPainter& painter) const {
    for (const GizmoLine& line : m_gizmo.Lines(Camera(), PixelScale())) {
        painter.setPen(QPen(ToColor(line.color), 2, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(ToLogical({line.x0, line.y0}), ToLogical({line.x1, line.y1}));
    }
    if (!m_gizmo.IsDragging()) return;
    TScreenPoint at;
    if (m_gizmo.Caught() && Camera().Project(*m_gizmo.Caught(), &at)) {
        constexpr double kArm = 7;
        QPointF middle = ToLogical({at.x, at.y});
        painter.setPen(QPen(QColor(255, 217, 51), 2));
        for (QPointF arm : {QPointF(kArm, kArm), QPointF(kArm, -kArm)})
            painter.drawLine(middle - arm, middle + arm);
    }
    QRectF beside(m_pointer + QPointF(16, 16), QSizeF(300, 24));
    PaintLabel(painter, beside, Qt::AlignLeft | Qt::AlignTop,
               QString::fromStdString(m_gizmo.Text()));
}

// The world's axes in a corner.
void ViewportWidget::PaintAxes(QPainter& painter) const {
    const QColor colors[3] = {{220, 80, 80}, {110, 190, 80}, {90, 140, 250}};
    QPointF middle(kMargin + kAxis, height() - kMargin - kAxis);
    Matrix3 toView = Camera().Transform();
    for (int a = 0; a < 3; ++a) {
        Point3 axis = toView.row[a] * float(kAxis);
        QPointF tip = middle + QPointF(axis.x, -axis.y);
        painter.setPen(QPen(colors[a], 2));
        painter.drawLine(middle, tip);
        painter.drawText(QRectF(tip - QPointF(8, 8), QSizeF(16, 16)), Qt::AlignCenter,
                         QString(QChar("XYZ"[a])));
    }
}

QString ViewportWidget::Notice() const {
    if (!m_picture) return {};
    const ViewPicture& p = *m_picture;
    QStringList texts;
    if (p.wantedSamples > 0)
        texts << (p.samples == 0 ? tr("preparing the picture")
                                 : tr("%1 of %2 samples").arg(p.samples).arg(p.wantedSamples));
    else if (p.counts.itemsDrawn < p.counts.itemsInView)
        texts
            << tr("%1 of %2 shown").arg(Number(p.counts.itemsDrawn), Number(p.counts.itemsInView));
    else if (p.isSimplified || !p.isWhole)
        texts << tr("%1 shown, simplified").arg(Number(p.counts.itemsDrawn));
    if (!p.note.empty()) texts << QString::fromStdString(p.note);
    return texts.join(", ");
}

void ViewportWidget::PaintTexts(QPainter& painter) const {
    QRectF room = QRectF(rect()).adjusted(kMargin + 6, kMargin, -kMargin - 6, -kMargin);
    QString notice = Notice();
    if (!notice.isEmpty()) PaintLabel(painter, room, Qt::AlignRight | Qt::AlignTop, notice);
    QString below = m_busy;
    if (m_gesture == Gesture::kWalk)
        below = tr("walking, %1 a second").arg(m_walk.Speed(), 0, 'g', 3);
    if (!below.isEmpty()) PaintLabel(painter, room, Qt::AlignRight | Qt::AlignBottom, below);
}

QString ViewportWidget::ViewName() const {
    if (m_throughCamera && m_given)
        for (const TViewNode& node : m_given->Nodes())
            if (node.handle == m_throughCamera) return QString::fromStdString(node.name);
    return tr(NameOf(m_navigation.Pose()));
}

std::array<QRectF, 2> ViewportWidget::LabelBoxes() const {
    constexpr double kAround = 6, kGap = 4;
    QFontMetricsF metrics(font());
    std::array<QRectF, 2> boxes;
    double left = kMargin;
    const QString names[] = {ViewName(), tr(NameOf(m_shading))};
    for (size_t i = 0; i < boxes.size(); ++i) {
        double width = metrics.horizontalAdvance(names[i]) + 2 * kAround;
        boxes[i] = {left, kMargin - 3, width, metrics.height() + kAround};
        left += width + kGap;
    }
    return boxes;
}

// From where one looks, and how: each opens its menu.
void ViewportWidget::PaintLabels(QPainter& painter) const {
    std::array<QRectF, 2> boxes = LabelBoxes();
    const QString names[] = {ViewName(), tr(NameOf(m_shading))};
    for (size_t i = 0; i < boxes.size(); ++i) {
        bool isLit = m_gesture == Gesture::kNone && underMouse() && boxes[i].contains(m_pointer);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(20, 22, 24, isLit ? 220 : 150));
        painter.drawRoundedRect(boxes[i], 4, 4);
        painter.setPen(isLit ? QColor(255, 217, 51) : QColor(225, 228, 230));
        painter.drawText(boxes[i], Qt::AlignCenter, names[i]);
    }
    painter.setBrush(Qt::NoBrush);
}

// Splines, cameras, lights and marks, which the ray tracer does not know, over the picture that it
// makes in place of another.
void ViewportWidget::PaintIcons(QPainter& painter) const {
    bool standsIn = m_picture && m_picture->samples > 0 && m_shading != ViewportShading::kRendered;
    if (!standsIn || !m_scene) return;
    ViewRequest request = Request(false);
    request.showsGrid = false;  // it would lie over what stands on it
    for (const TViewLine& line : ViewLines(*m_scene, request.camera, SettingsOf(request))) {
        Point3 from = line.a, to = line.b;
        if (!CutBefore(request.camera.Nearest(), &from, &to)) continue;
        TScreenPoint a = request.camera.ToScreen(from), b = request.camera.ToScreen(to);
        painter.setPen(QColor(line.color & 255, line.color >> 8 & 255, line.color >> 16 & 255));
        painter.drawLine(ToLogical({a.x, a.y}), ToLogical({b.x, b.y}));
    }
}

// What a picture holds is as wide as the view; what it does not is dimmed.
void ViewportWidget::PaintSafeFrame(QPainter& painter) const {
    if (m_safeFrame <= 0) return;
    QRectF view(rect());
    QRectF frame(0, 0, view.width(), view.width() / m_safeFrame);
    frame.moveCenter(view.center());
    QRectF action(0, 0, frame.width() * kActionSafe, frame.height() * kActionSafe);
    action.moveCenter(view.center());
    QPainterPath outside;
    outside.addRect(view);
    outside.addRect(frame);  // counted twice: not filled
    painter.fillPath(outside, QColor(0, 0, 0, 110));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(255, 217, 51, 180), 1));
    painter.drawRect(frame);
    painter.setPen(QPen(QColor(255, 217, 51, 110), 1, Qt::DashLine));
    painter.drawRect(action);
}

void ViewportWidget::Tell() {
    if (!onStatus || !m_picture) return;
    QString text;
    if (std::optional<Point3> place = PlaceUnderPointer())
        text = QString("%1  %2  %3 | ")
                   .arg(place->x, 0, 'f', 2)
                   .arg(place->y, 0, 'f', 2)
                   .arg(place->z, 0, 'f', 2);
    text += tr("%1 items in view, %2 ms")
                .arg(Number(m_picture->counts.itemsInView))
                .arg(m_picture->seconds * 1000, 0, 'f', 0);
    if (QString notice = Notice(); !notice.isEmpty()) text += ", " + notice;
    if (TViewportScene::Found found = m_scene->Find(m_hovered); found.node) {
        text += " | " + QString::fromStdString(found.node->name);
        if (found.item != TViewportScene::kNoItem) text += tr(" item %1").arg(found.item);
    }
    onStatus(text);
}
