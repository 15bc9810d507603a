// Areas and splines drawn in the views, and areas painted there.
#include "Dravin/commands/area_paint.h"
#include "Dravin/dravin.h"
#include "apps/studio/tools/brush_bar.h"
#include "apps/studio/tools/view_tools.h"
#include "apps/studio/windows/command_calls.h"
#include "host/params/undo_step.h"
#include "host/scene/scene.h"

namespace {

ParamInput PlacesInput(const std::vector<Point3>& places) {
    ParamInput::Array rows;
    for (const Point3& p : places) rows.push_back(PlaceInput(p));
    return ParamInput(std::move(rows));
}

}  // namespace

NodeHandle ViewTools::ScatterForAreas(Scene& scene) {
    NodeHandle handle = SelectedScatter(scene);
    if (!handle && m_level != Level::kNodes && ScatterOf(scene, m_target->Object()))
        handle = m_target->Object();
    if (!handle)
        m_session.told.Send(MessageLevel::kWarning,
                            "Select the scatter object that the area is for first");
    return handle;
}

// One of them at a time has the left button.
void ViewTools::SetViewTool() {
    IViewTool* tool = nullptr;
    if (m_paint.Target()) tool = &m_paint;
    if (IsOutlining()) tool = &m_outline;
    if (m_creates) tool = &m_create;
    if (m_nodePick.Wish()) tool = &m_nodePick;
    m_views.ForEachView([&](ViewportWidget& view) { view.SetTool(tool); });
}

// --- outlines

void ViewTools::DrawArea(bool begins) {
    if (m_session.HasGesture()) return ShowState();
    auto set = [this](NodeHandle object) {
        m_areaObject = object;
        m_drawsSpline = false;
        m_creates.reset();
        m_outline.Start(false);
        SetViewTool();
        ShowState();
    };
    if (!begins) return set(0);
    ShowState();  // the action has checked itself
    m_session.Look([this, set](Scene& scene) {
        if (NodeHandle handle = ScatterForAreas(scene)) return set(handle);
    });
}

// A spline of its own, which may be moved like any other, and a row of the list of areas.
void ViewTools::AddArea(const std::vector<Point3>& outline) {
    NodeHandle handle = m_areaObject;
    DrawArea(false);
    m_session.Do([this, outline, handle](Scene& scene) {
        INode* object = scene.FindHandle(handle);
        if (!object) return;
        UndoStep step("Draw Area");
        TCommandResult result = m_session.Commands().Run(
            "spline.create", scene, "",
            {{"points", PlacesInput(outline)}, {"closed", ParamInput(true)}});
        if (result) {
            INode* node = scene.FindNode(std::get<std::string>(result.value.value));
            node->SetName(scene.UniqueNodeName("Area"));
            result = m_session.Commands().Run("area.add", scene, object->GetName(),
                                              {{"node", ParamInput(node->GetName())}});
        }
        if (result) return;
        step.Cancel();
        m_session.told.Send(MessageLevel::kError, result.error);
    });
}

void ViewTools::DrawSpline(bool begins) {
    if (m_session.HasGesture()) return ShowState();
    m_areaObject = 0;
    m_drawsSpline = begins;
    m_creates.reset();
    m_outline.Start(true);
    SetViewTool();
    ShowState();
}

void ViewTools::Outlined(const std::vector<Point3>& points, bool isClosed) {
    if (m_areaObject) return AddArea(points);
    DrawSpline(false);
    Create("spline.create", {{"points", PlacesInput(points)}, {"closed", ParamInput(isClosed)}});
}

// --- the brush

void ViewTools::ConnectBrush() {
    m_paint.brush = BrushSettings::Load();
    m_paint.onBegin = [this] { return m_session.BeginGesture("Paint Stroke"); };
    m_paint.onPreview = [this](PaintTool::Region region) {
        m_session.Preview(SetRegion(std::move(region)));
    };
    m_paint.onEnd = [this](PaintTool::Region region) {
        m_session.EndGesture(region ? SetRegion(std::move(region)) : std::function<void(Scene&)>());
        ShowState();
    };
    m_paint.onLeave = [this] { ToggleBrush(); };
    m_paint.onBrushChanged = [this] {
        SaveBrush();
        if (m_brushBar) m_brushBar->Show();
    };
}

void ViewTools::SaveBrush() {
    m_paint.brush.Save();
    ShowState();
}

std::function<void(Scene&)> ViewTools::SetRegion(PaintTool::Region region) const {
    return [handle = m_paint.Target()->object, area = m_paint.Target()->areaId,
            region = std::move(region)](Scene& scene) {
        if (TDravin* object = ScatterOf(scene, handle)) SetPaintRegion(*object, area, *region);
    };
}

// Off where it is on; else on the paint area that the object has, or on a new one.
void ViewTools::ToggleBrush() {
    ShowState();  // the action has checked itself
    if (m_session.HasGesture()) return;
    m_session.Look([this](Scene& scene) {
        if (std::optional<TPaintSession> now = PaintSession()) {
            EndPaint();
            return m_session.Refresh();
        }
        NodeHandle handle = ScatterForAreas(scene);
        if (!handle) return;
        DrawArea(false);
        const IParamBlock2& areas = ScatterOf(scene, handle)->Block(kAreaParams);
        bool hasPaint = false;
        for (int i = 0; i < areas.Count(areaParams::kArtypelist); ++i)
            hasPaint |= areas.GetInt(areaParams::kArtypelist, 0, i) == kAreaPaint;
        if (!hasPaint) RunNow(m_session, "area.add", handle, {{"kind", ParamInput("paint")}});
        RunNow(m_session, "area.brush", handle, {});
    });
}

// The brush is where the session says; strokes that are being painted are left alone.
void ViewTools::FollowBrush(Scene& scene) {
    if (m_session.HasGesture()) return;
    std::optional<TPaintSession> session = PaintSession();
    INode* shown = nullptr;
    for (INode* node : scene.Nodes())
        if (session && node->GetObjectRef() == session->object.get() && !shown) shown = node;
    if (shown) {
        PaintTarget target;
        target.object = shown->GetHandle();
        target.areaId = session->areaId, target.mode = session->mode;
        target.toWorld = shown->GetObjectTM(scene.GetTime());
        target.region =
            PaintRegionOf(*session->object, session->areaId, PaintStepsPerUnit(scene.unitScale));
        target.ground = PaintGround(PaintNodes(*session->object), scene.GetTime());
        m_paint.Take(std::move(target));
    } else {
        m_paint.Forget();
    }
    if (m_brushInBar) m_brushInBar->setVisible(shown != nullptr);
    SetViewTool();
}
