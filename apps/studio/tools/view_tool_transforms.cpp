// Axes of the gizmo, what it snaps to, numbers typed for it, and copies that it leaves.
#include <cmath>

#include "apps/studio/tools/copy_question.h"
#include "apps/studio/tools/snap_window.h"
#include "apps/studio/tools/typed_transform.h"
#include "apps/studio/tools/view_places.h"
#include "apps/studio/tools/view_tools.h"
#include "host/scene/scene.h"

namespace {

constexpr float kCatchReach = 10;  // a person's pixels

bool IsGround(const TViewNode& node) {
    return node.kind == TViewKind::kMesh || node.kind == TViewKind::kTerrain;
}

Matrix3 UnitAxes(Matrix3 axes) {
    for (int i = 0; i < 3; ++i) axes.row[i] = Normalize(axes.row[i]);
    return axes;
}

// Z along the normal, x as near to the world's as can be.
Matrix3 AxesOn(const Point3& normal) {
    Point3 near = std::abs(normal.x) < 0.99f ? Point3{1, 0, 0} : Point3{0, 1, 0};
    Point3 y = Normalize(CrossProd(normal, near));
    return {{CrossProd(y, normal), y, normal, {}}};
}

}  // namespace

// --- axes

void ViewTools::SetAxes(GizmoAxes axes) {
    m_axes = axes;
    m_session.Look([this](Scene& scene) { Follow(scene); });
}

Matrix3 ViewTools::FrameOf(Scene&, const GizmoPlace& place) const {
    Matrix3 frame;
    if (m_axes == GizmoAxes::kLocal) frame = UnitAxes(place.local);
    if (m_axes == GizmoAxes::kParent) frame = UnitAxes(place.parent);
    if (m_axes == GizmoAxes::kSurface && m_session.View())
        frame = AxesOn(GroundNormal(*m_session.View(), place.middle,
                                    [moved = m_target->Moved()](const TViewNode& node) {
                                        return IsGround(node) && !moved(node, nullptr);
                                    }));
    frame.SetTrans(place.middle);
    return frame;
}

// Of the active view.
Matrix3 ViewTools::FrameInView() const {
    ViewportWidget& view = m_views.ActiveView();
    return view.Gizmo().FrameIn(view.Camera());
}

// --- snapping

std::optional<Point3> ViewTools::Catch(ViewportWidget& view, QPointF pixel) const {
    if (m_snapSettings.toPoints) {
        float reach = kCatchReach * float(view.devicePixelRatioF());
        auto x = float(pixel.x()), y = float(pixel.y());
        if (auto place = m_snapPlaces.Near(view.Camera(), x, y, reach)) return place;
    }
    if (!m_snapSettings.toSurface || !view.Shown()) return std::nullopt;
    return PlaceOn(*view.Shown(), view, pixel, [moved = m_target->Moved()](const TViewNode& node) {
        return IsGround(node) && !moved(node, nullptr);
    });
}

std::optional<Point3> ViewTools::PlaceOnPlane(ViewportWidget& view, QPointF pixel) const {
    std::optional<Point3> place = PlaceOnGrid(view, pixel);
    double step = m_snapSettings.step;
    if (place && m_snaps && m_snapSettings.toGrid)
        for (int i = 0; i < 3; ++i)
            (*place)[i] = float(std::round(double((*place)[i]) / step) * step);
    return place;
}

void ViewTools::OpenSnapping() {
    if (!m_snapWindow)
        m_snapWindow = new SnapWindow(
            m_snapSettings, [this] { ShowState(); }, m_views.window());
    m_snapWindow->show();
    m_snapWindow->raise();
}

// --- numbers

void ViewTools::OpenTyped() {
    if (!m_typed) {
        TypedTransform::Hooks hooks;
        hooks.setTo = [this](int axis, double value) {
            TakeTyped([=, this](GizmoTool tool, Scene& scene) {
                Matrix3 own = UnitAxes(m_target->Place(scene)->local);
                own.SetTrans(m_target->Place(scene)->middle);
                return ChangeTo(tool, *m_target->State(scene), own, axis, value);
            });
        };
        hooks.changeBy = [this](int axis, double value) {
            TakeTyped([=, this, frame = FrameInView()](GizmoTool tool, Scene&) {
                return ChangeBy(tool, frame, axis, value);
            });
        };
        m_typed = new TypedTransform(std::move(hooks), m_views.window());
    }
    m_session.Look([this](Scene& scene) { ShowTyped(scene); });
    m_typed->show();
    m_typed->raise();
    m_typed->activateWindow();
}

void ViewTools::ShowTyped(Scene& scene) {
    if (m_typed) m_typed->Show(m_tool, m_target->State(scene));
}

void ViewTools::TakeTyped(std::function<ToolChange(GizmoTool, Scene&)> change) {
    GizmoTool tool = m_tool == GizmoTool::kNone ? GizmoTool::kMove : m_tool;
    Step(StepName(tool), [this, tool, change = std::move(change)](Scene& scene) {
        if (m_target->State(scene)) m_target->Change(scene, change(tool, scene));
    });
}

// --- copies

// The gesture waits for the answer, and so does undo.
void ViewTools::AskCopies(const ToolChange& made) {
    m_copyQuestion = new CopyQuestion(m_level == Level::kNodes, m_views.window());
    m_copyQuestion->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_copyQuestion, &QDialog::finished, this,
            [this, made, question = m_copyQuestion.data()](int result) {
                if (result == QDialog::Accepted)
                    m_session.EndGesture([this, made, copies = question->Copies()](Scene& scene) {
                        m_target->Clone(scene, made, copies);
                    });
                else
                    m_session.EndGesture();
                m_keepsBoxes = result == QDialog::Accepted;
                ShowState();
            });
    m_copyQuestion->open();
}
