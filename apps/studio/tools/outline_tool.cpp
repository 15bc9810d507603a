#include "apps/studio/tools/outline_tool.h"

#include <cmath>

#include <QPainter>

#include "apps/studio/theme.h"
#include "apps/studio/tools/view_places.h"

namespace {

constexpr double kFirstReach = 10;  // logical pixels

// On the first thing under the pointer that is no item, else on the construction plane; where there
// is neither, at the depth of what the view turns around.
Point3 PlaceUnder(ViewportWidget& view, QPointF pixel) {
    auto isGround = [](const TViewNode& node) {
        return node.kind == TViewKind::kMesh || node.kind == TViewKind::kTerrain;
    };
    if (view.Shown())
        if (std::optional<Point3> place = PlaceOn(*view.Shown(), view, pixel, isGround))
            return *place;
    if (std::optional<Point3> place = PlaceOnGrid(view, pixel)) return *place;
    QSize size = view.PictureSize();
    return view.Navigation().PlaceAt(float(pixel.x()), float(pixel.y()), size.width(),
                                     size.height());
}

}  // namespace

bool OutlineTool::IsOnFirst(const ViewportWidget& view, QPointF pixel) const {
    TScreenPoint first;
    if (m_points.size() < 3 || !view.Camera().Project(m_points[0], &first)) return false;
    QPointF away = view.ToLogical(pixel) - view.ToLogical({first.x, first.y});
    return std::hypot(away.x(), away.y()) <= kFirstReach;
}

bool OutlineTool::Press(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers) {
    m_pointer = pixel;
    if (IsOnFirst(view, pixel)) {
        Finish(true);
        return true;
    }
    m_points.push_back(PlaceUnder(view, pixel));
    return true;
}

void OutlineTool::Drag(ViewportWidget& view, QPointF pixel, Qt::KeyboardModifiers) {
    m_pointer = pixel;
    if (!m_points.empty()) m_points.back() = PlaceUnder(view, pixel);
}

void OutlineTool::Release(ViewportWidget&) {}

void OutlineTool::Cancel(ViewportWidget&) {
    if (!m_points.empty()) m_points.pop_back();
}

void OutlineTool::Hover(ViewportWidget& view, QPointF pixel) {
    m_pointer = pixel;
    if (!m_points.empty()) view.update();
}

bool OutlineTool::Key(ViewportWidget& view, int key, Qt::KeyboardModifiers) {
    if (key == Qt::Key_Escape) {
        m_points.clear();
        if (onGivenUp) onGivenUp();
    } else if (key == Qt::Key_Backspace) {
        if (!m_points.empty()) m_points.pop_back();
    } else if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        Finish(!m_mayStayOpen);
    } else {
        return false;
    }
    view.update();
    return true;
}

bool OutlineTool::Finish(bool isClosed) {
    if (m_points.size() < (isClosed ? 3 : 2)) return false;
    if (onDrawn) onDrawn(std::exchange(m_points, {}), isClosed);
    return true;
}

void OutlineTool::End() {
    if (Finish(!m_mayStayOpen)) return;
    m_points.clear();
    if (onGivenUp) onGivenUp();
}

void OutlineTool::Paint(ViewportWidget& view, QPainter& painter) const {
    TViewportCamera camera = view.Camera();
    painter.setPen(QPen(CurrentColors().accent, 2));
    painter.setBrush(CurrentColors().accent);
    QPointF before;
    for (size_t i = 0; i < m_points.size(); ++i) {
        TScreenPoint at;
        if (!camera.Project(m_points[i], &at)) continue;
        QPointF here = view.ToLogical({at.x, at.y});
        if (i > 0) painter.drawLine(before, here);
        painter.drawEllipse(here, 3, 3);
        before = here;
    }
    if (m_points.empty()) return;
    painter.setPen(QPen(CurrentColors().accent, 1, Qt::DashLine));
    painter.drawLine(before, view.ToLogical(m_pointer));
}
