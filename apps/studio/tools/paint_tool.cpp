#include "apps/studio/tools/paint_tool.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <QPainter>

#include "apps/studio/theme.h"

namespace {

constexpr double kSizeStep = 1.25, kStrengthStep = 0.1;
constexpr int kRingCorners = 64;
constexpr float kFirstSize = 0.1f;  // of the ground's longer side

// Lines between places that the camera sees.
void DrawClosed(const ViewportWidget& view, QPainter& painter, const std::vector<Point3>& places) {
    TViewportCamera camera = view.Camera();
    for (size_t i = 0; i < places.size(); ++i) {
        TScreenPoint a, b;
        if (camera.Project(places[i], &a) && camera.Project(places[(i + 1) % places.size()], &b))
            painter.drawLine(view.ToLogical({a.x, a.y}), view.ToLogical({b.x, b.y}));
    }
}

}  // namespace

void PaintTool::Take(PaintTarget target) {
    m_stroke.reset();
    m_target = std::move(target);
    if (brush.size <= 0 && !m_target->ground.Bounds().IsEmpty()) {
        Point3 width = m_target->ground.Bounds().Width();
        brush.SetSize(std::max(width.x, width.y) * kFirstSize);
        if (onBrushChanged) onBrushChanged();
    }
    m_radius = float(brush.size / 2);
    ShowRegion(m_target->region);
}

void PaintTool::Forget() {
    m_stroke.reset();
    m_target.reset();
}

TPaintMode PaintTool::ModeOf(Qt::KeyboardModifiers modifiers, bool isEraser) const {
    if (modifiers & Qt::ShiftModifier) return TPaintMode::kSmooth;
    if (isEraser) return TPaintMode::kErase;
    bool isErasing = m_target && m_target->mode == TPaintMode::kErase;
    bool isOther = modifiers & Qt::ControlModifier;
    return isErasing == isOther ? TPaintMode::kPaint : TPaintMode::kErase;
}

TPaintSample PaintTool::SampleAt(const ViewportWidget& view, const Point3& place) const {
    Point3 p = place * Inverse(m_target->toWorld);
    auto radius = float(brush.size / 2), strength = float(brush.strength);
    if (brush.pen == PenPressure::kSize) radius *= view.Pressure();
    if (brush.pen == PenPressure::kStrength) strength *= view.Pressure();
    return {{p.x, p.y}, radius, strength};
}

// --- strokes

bool PaintTool::Press(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers modifiers) {
    if (!m_target || (onBegin && !onBegin())) return true;  // no rectangle comes of it either
    m_stroke = std::make_unique<TPaintStroke>(m_target->region, ModeOf(modifiers, view.IsEraser()));
    m_hasChanged = false;
    Follow(view, pixel);
    return true;
}

void PaintTool::Drag(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers) {
    if (m_stroke) Follow(view, pixel);
}

// A stroke that leaves the ground goes on where it comes back.
void PaintTool::Follow(ViewportWidget& view, QPointF pixel) {
    m_place = m_target->ground.Under(view, pixel);
    if (!m_place) return;
    TPaintSample sample = SampleAt(view, *m_place);
    m_radius = sample.radius;
    if (!m_stroke->MoveTo(sample)) return;
    m_hasChanged = true;
    ShowRegion(m_stroke->Region());
    if (onPreview) onPreview(std::make_shared<const TPaintRegion>(m_stroke->Region()));
}

void PaintTool::Release(ViewportWidget& view) {
    if (!m_stroke) return;
    End(view, m_hasChanged ? std::make_shared<const TPaintRegion>(m_stroke->Region()) : nullptr);
}

void PaintTool::Cancel(ViewportWidget& view) {
    if (m_stroke) End(view, nullptr);
}

void PaintTool::End(ViewportWidget& view, Region region) {
    m_stroke.reset();
    m_radius = float(brush.size / 2);
    // The scene has it in a moment; the next stroke may come before.
    if (region) m_target->region = *region;
    ShowRegion(m_target->region);
    if (onEnd) onEnd(std::move(region));
    view.update();
}

void PaintTool::Hover(ViewportWidget& view, QPointF pixel) {
    if (!m_target) return;
    m_place = m_target->ground.Under(view, pixel);
    m_radius = float(brush.size / 2);
    view.update();
}

bool PaintTool::Key(ViewportWidget& view, int key, Qt::KeyboardModifiers modifiers) {
    bool isLess = key == Qt::Key_BracketLeft || key == Qt::Key_BraceLeft;
    bool isMore = key == Qt::Key_BracketRight || key == Qt::Key_BraceRight;
    if (key == Qt::Key_Escape) {
        if (onLeave) onLeave();
        return true;
    }
    if (!isLess && !isMore) return false;
    if (modifiers & Qt::ShiftModifier)
        brush.SetStrength(brush.strength + (isMore ? kStrengthStep : -kStrengthStep));
    else
        brush.SetSize(isMore ? brush.size * kSizeStep : brush.size / kSizeStep);
    m_radius = float(brush.size / 2);
    if (onBrushChanged) onBrushChanged();
    view.update();
    return true;
}

// --- what is shown

void PaintTool::ShowRegion(const TPaintRegion& region) {
    m_outlines.clear();
    for (const PolyLine& line : region.Shape().lines) {
        std::vector<Point3>& outline = m_outlines.emplace_back();
        outline.reserve(line.points.size());
        for (const Point3& p : line.points)
            outline.push_back(m_target->ground.Drop(p * m_target->toWorld));
    }
}

std::vector<Point3> PaintTool::Ring() const {
    std::vector<Point3> ring;
    if (!m_target || !m_place) return ring;
    Point3 middle = *m_place * Inverse(m_target->toWorld);
    for (int k = 0; k < kRingCorners; ++k) {
        float angle = 2 * std::numbers::pi_v<float> * float(k) / kRingCorners;
        Point3 p = middle + Point3{std::cos(angle), std::sin(angle), 0} * m_radius;
        ring.push_back(m_target->ground.Drop(p * m_target->toWorld));
    }
    return ring;
}

void PaintTool::Paint(ViewportWidget& view, QPainter& painter) const {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(CurrentColors().accent, 2));
    for (const std::vector<Point3>& outline : m_outlines) DrawClosed(view, painter, outline);
    // Light on dark, so that it is seen on any ground.
    std::vector<Point3> ring = Ring();
    for (const QPen& pen : {QPen(QColor(0, 0, 0, 140), 3.5), QPen(QColor(255, 255, 255), 1.5)}) {
        painter.setPen(pen);
        DrawClosed(view, painter, ring);
    }
}
