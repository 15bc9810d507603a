#include "apps/studio/tools/create_tool.h"

#include <cmath>

#include <QPainter>

#include "apps/studio/theme.h"

namespace {

constexpr float kShortestDrag = 1e-4f;
constexpr double kCross = 12;  // logical pixels

// How far above a place the line of sight under a pixel passes it.
float HeightAbove(const TViewportCamera& camera, const Point3& place, QPointF pixel) {
    ViewRay ray = RayThrough(camera, float(pixel.x()), float(pixel.y()));
    const Point3 up{0, 0, 1};
    Point3 between = place - ray.origin;
    float cosine = DotProd(up, ray.direction), square = 1 - cosine * cosine;
    if (square < 1e-6f) return 0;  // it is looked at from above
    return (DotProd(between, ray.direction) * cosine - DotProd(between, up)) / square;
}

}  // namespace

CreationRule PlacedByClick() {
    return [](const CreationStep& step, Creation& made) {
        if (step.message == CreationMessage::kAbort) return CreationAnswer::kAbort;
        made.transform.SetTrans(step.onGrid);
        bool isEnd = step.message == CreationMessage::kClick && step.point > 0;
        return isEnd ? CreationAnswer::kStop : CreationAnswer::kContinue;
    };
}

CreationRule SizedByDrag() {
    return [](const CreationStep& step, Creation& made) {
        if (step.message == CreationMessage::kAbort) return CreationAnswer::kAbort;
        if (step.point == 0) made.transform.SetTrans(step.onGrid);
        made.drag = Length(step.onGrid - made.transform.GetTrans());
        if (step.message != CreationMessage::kClick || step.point == 0)
            return CreationAnswer::kContinue;
        return made.drag < kShortestDrag ? CreationAnswer::kAbort : CreationAnswer::kStop;
    };
}

CreationRule LiftedByDrag() {
    return [](const CreationStep& step, Creation& made) {
        if (step.message == CreationMessage::kAbort) return CreationAnswer::kAbort;
        if (step.point == 0) made.transform.SetTrans(step.onGrid);
        if (step.point > 0) {
            made.transform.row[3].z += step.height - made.drag;
            made.drag = step.height;
        }
        bool isEnd = step.message == CreationMessage::kClick && step.point > 0;
        return isEnd ? CreationAnswer::kStop : CreationAnswer::kContinue;
    };
}

void CreateTool::Start(CreationRule rule, PolyShape icon, bool isSized) {
    m_rule = std::move(rule);
    m_icon = std::move(icon);
    m_isSized = isSized;
    m_making.reset();
    m_hovered.reset();
}

void CreateTool::Tell(CreationMessage message, int point, const Point3& onGrid, float height) {
    if (!m_making) return;
    CreationAnswer answer = m_rule({message, point, onGrid, height}, *m_making);
    if (answer == CreationAnswer::kContinue) return;
    Creation made = *m_making;
    m_making.reset();
    if (answer == CreationAnswer::kStop && onMade) onMade(made);
}

bool CreateTool::Press(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers) {
    std::optional<Point3> place = placeAt(view, pixel);
    if (!place) return true;
    m_making.emplace();
    m_first = m_last = *place;
    m_height = 0;
    Tell(CreationMessage::kClick, 0, *place, 0);
    return true;
}

void CreateTool::Drag(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers) {
    if (std::optional<Point3> place = placeAt(view, pixel)) m_last = *place;
    m_height = HeightAbove(view.Camera(), m_first, pixel);
    Tell(CreationMessage::kMove, 1, m_last, m_height);
}

void CreateTool::Release(ViewportWidget&) { Tell(CreationMessage::kClick, 1, m_last, m_height); }

void CreateTool::Cancel(ViewportWidget&) { Tell(CreationMessage::kAbort, 1, m_last, m_height); }

void CreateTool::Hover(ViewportWidget& view, QPointF pixel) {
    m_hovered = placeAt(view, pixel);
    view.update();
}

bool CreateTool::Key(ViewportWidget&, int key, Qt::KeyboardModifiers) {
    if (key != Qt::Key_Escape) return false;
    if (onGivenUp) onGivenUp();
    return true;
}

void CreateTool::Paint(ViewportWidget& view, QPainter& painter) const {
    if (!m_making && !m_hovered) return;
    TViewportCamera camera = view.Camera();
    Matrix3 place = m_making ? m_making->transform : Matrix3::Translation(*m_hovered);
    TScreenPoint a, b;
    painter.setPen(QPen(CurrentColors().accent, 1.5));
    painter.setBrush(Qt::NoBrush);
    auto draw = [&](const Point3& from, const Point3& to) {
        if (camera.Project(from, &a) && camera.Project(to, &b))
            painter.drawLine(view.ToLogical({a.x, a.y}), view.ToLogical({b.x, b.y}));
    };
    float size = m_isSized && m_making ? m_making->drag : 1;
    for (const PolyLine& line : m_icon.lines)
        for (size_t i = 0; i < line.NumSegments(); ++i)
            draw(line.points[i] * size * place,
                 line.points[(i + 1) % line.points.size()] * size * place);
    if (m_making) draw(m_first, place.GetTrans());  // how far it was lifted
    if (!m_icon.lines.empty() || !camera.Project(place.GetTrans(), &a)) return;
    QPointF at = view.ToLogical({a.x, a.y});
    painter.drawLine(at - QPointF(kCross, 0), at + QPointF(kCross, 0));
    painter.drawLine(at - QPointF(0, kCross), at + QPointF(0, kCross));
}
