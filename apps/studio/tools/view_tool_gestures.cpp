// Gestures of the gizmo, and what the tools draw over the views.
#include <QPainter>

#include "apps/studio/theme.h"
#include "apps/studio/tools/view_tools.h"

void ViewTools::Connect(ViewportWidget& view) {
    view.onPick = [this](const ViewportPick& pick) { TakePick(pick); };
    view.onRegion = [this](const ViewportPick& pick) { TakeRegion(pick); };
    view.onPaintOver = [this, &view](QPainter& painter) { PaintOver(view, painter); };
    TransformGizmo& gizmo = view.Gizmo();
    gizmo.onBegin = [this, &view] { Begin(view); };
    gizmo.onPreview = [this, &view](const Matrix3& change) { PreviewChange(view, change); };
    gizmo.onCommit = [this, &view](const Matrix3& change) { Commit(view, change); };
    gizmo.onCancel = [this] {
        m_session.EndGesture();
        ShowState();
    };
    gizmo.snapping.placeAt = [this, &view](const TViewportCamera&, float x, float y) {
        return Catch(view, {double(x), double(y)});
    };
}

void ViewTools::Begin(ViewportWidget& view) {
    m_dragged = false;
    m_clones = (view.PressModifiers() & Qt::ShiftModifier) && m_target->CanClone();
    if (view.Shown()) m_snapPlaces = SnapPlaces(*view.Shown(), *m_target);
    m_session.BeginGesture(m_clones ? "Clone" : StepName(m_tool));
    ShowState();
}

// Copies come in the end; until then their boxes stand for them.
void ViewTools::PreviewChange(ViewportWidget& view, const Matrix3& change) {
    if (!m_session.HasGesture()) return;
    m_dragged = true;
    m_shownChange = change;
    m_views.ForEachView([](ViewportWidget& each) { each.update(); });
    if (m_clones) return;
    ToolChange made{m_tool, change, view.Gizmo().Frame(), view.Gizmo().Values()};
    m_session.Preview([this, made](Scene& scene) { m_target->Change(scene, made); });
}

void ViewTools::Commit(ViewportWidget& view, const Matrix3& change) {
    ToolChange made{m_tool, change, view.Gizmo().Frame(), view.Gizmo().Values()};
    bool isChange = m_dragged && !(change == Matrix3());
    // The view shows the change when it is built; until then the boxes do.
    m_keepsBoxes = isChange;
    if (isChange && m_clones) return AskCopies(made);
    if (!isChange)
        m_session.EndGesture();
    else
        m_session.EndGesture([this, made](Scene& scene) { m_target->Change(scene, made); });
    ShowState();
}

void ViewTools::PaintOver(ViewportWidget& view, QPainter& painter) const {
    constexpr size_t kMostBoxes = 3000;
    if (IsOutlining()) m_outline.Paint(view, painter);
    if (m_creates) m_create.Paint(view, painter);
    if (m_paint.Target()) m_paint.Paint(view, painter);
    PaintMarks(view, painter);
    TViewportCamera camera = view.Camera();
    QColor color = CurrentColors().accent;
    color.setAlpha(m_session.HasGesture() ? 255 : 170);
    painter.setPen(QPen(color, 1.2));
    for (size_t i = 0; i < std::min(m_boxes.size(), kMostBoxes); ++i)
        for (size_t corner = 0; corner < 8; ++corner)
            for (size_t axis = 1; axis < 8; axis <<= 1) {
                TScreenPoint a, b;
                if (corner & axis || !camera.Project(m_boxes[i][corner] * m_shownChange, &a) ||
                    !camera.Project(m_boxes[i][corner | axis] * m_shownChange, &b))
                    continue;
                painter.drawLine(view.ToLogical({a.x, a.y}), view.ToLogical({b.x, b.y}));
            }
}

// Points are squares, handles circles; what is selected is filled.
void ViewTools::PaintMarks(ViewportWidget& view, QPainter& painter) const {
    constexpr double kHalf = 3.5;
    TViewportCamera camera = view.Camera();
    TScreenPoint a, b;
    painter.setPen(QPen(CurrentColors().accent, 1));
    for (const auto& [from, to] : m_marks.lines)
        if (camera.Project(from, &a) && camera.Project(to, &b))
            painter.drawLine(view.ToLogical({a.x, a.y}), view.ToLogical({b.x, b.y}));
    for (const TargetMarks::Mark& mark : m_marks.points) {
        if (!camera.Project(mark.place, &a)) continue;
        painter.setPen(QPen(CurrentColors().accent, 1.5));
        painter.setBrush(mark.isSelected ? QColor(255, 255, 255) : QColor(20, 22, 24));
        QRectF box(view.ToLogical({a.x, a.y}) - QPointF(kHalf, kHalf),
                   QSizeF(2 * kHalf, 2 * kHalf));
        mark.isHandle ? painter.drawEllipse(box) : painter.drawRect(box);
    }
    painter.setBrush(Qt::NoBrush);
}
