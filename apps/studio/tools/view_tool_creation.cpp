// Objects made by hand in the views.
#include "Dravin/dravin_globals.h"
#include "Dravin/proxy/dproxy.h"
#include "Dravin/viewport/viewport_items.h"
#include "apps/studio/tools/view_places.h"
#include "apps/studio/tools/view_tools.h"
#include "apps/studio/windows/command_calls.h"
#include "host/params/undo_step.h"
#include "host/scene/scene.h"

namespace {

CreationRule RuleOfProxies() {
    return [](const CreationStep& step, Creation& made) {
        return DProxy::Place(step.message, step.point, step.onGrid, &made.transform);
    };
}

}  // namespace

void ViewTools::StartCreation(CreateKind kind) {
    if (m_session.HasGesture()) return ShowState();
    if (m_creates == kind) return EndCreation();
    if (m_paint.Target()) ToggleBrush();
    m_create.onGivenUp = [this] { EndCreation(); };
    m_create.onMade = [this](const Creation& made) { Made(made); };
    m_create.placeAt = [this](ViewportWidget& view, QPointF pixel) {
        std::optional<Point3> place = m_snaps ? Catch(view, pixel) : std::nullopt;
        return place ? place : PlaceOnPlane(view, pixel);
    };
    m_session.Look([this, kind](Scene&) {
        m_creationMode = DravinGlobals().options.defaultCreationMode;
        if (m_views.ActiveView().Shown())
            m_snapPlaces = SnapPlaces(*m_views.ActiveView().Shown(), *m_target);
        bool isSized = kind == CreateKind::kScatter && m_creationMode == 2;
        CreationRule rule = kind == CreateKind::kProxy   ? RuleOfProxies()
                            : kind == CreateKind::kLight ? LiftedByDrag()
                            : isSized                    ? SizedByDrag()
                                                         : PlacedByClick();
        PolyShape icon = kind == CreateKind::kScatter ? EmptyIcon(1) : PolyShape();
        m_areaObject = 0, m_drawsSpline = false;
        m_creates = kind;
        m_create.Start(std::move(rule), std::move(icon), isSized);
        SetViewTool();
        ShowState();
    });
}

void ViewTools::EndCreation() {
    m_creates.reset();
    SetViewTool();
    ShowState();
}

void ViewTools::Made(const Creation& made) {
    CreateKind kind = *m_creates;
    int mode = m_creationMode;
    EndCreation();
    TArguments arguments = {{"position", PlaceInput(made.transform.GetTrans())}};
    if (kind == CreateKind::kLod) return Create("lod.create", std::move(arguments));
    if (kind == CreateKind::kProxy) return Create("proxy.create", std::move(arguments));
    if (kind == CreateKind::kLight) return Create("light.create", std::move(arguments));
    arguments["creation"] = ParamInput(int64_t(mode));
    arguments["drag"] = ParamInput(double(made.drag));
    if (mode != 1) return Create("object.create", std::move(arguments));
    // Further clicks add items.
    Create("object.create", std::move(arguments), [this](Scene&, INode& node) {
        OpenItems(node.GetHandle());
        SetClickMode(ClickMode::kAddItem);
    });
}

// Where the active view stands; what it turns around is what the camera looks at.
void ViewTools::CreateCamera() {
    constexpr double kDegrees = 57.29577951308232;
    const ViewPose& pose = m_views.ActiveView().Navigation().Pose();
    double fov = 2 * std::atan(double(pose.slope)) * kDegrees;
    Create("camera.create", {{"position", PlaceInput(pose.Transform().GetTrans())},
                             {"toward", PlaceInput(pose.target)},
                             {"fov", ParamInput(fov)}});
}

void ViewTools::Create(const std::string& command, TArguments arguments,
                       std::function<void(Scene&, INode&)> then) {
    m_session.Do([this, command, arguments = std::move(arguments), then](Scene& scene) {
        UndoStep step(m_session.Commands().Find(command)->label);
        TCommandResult result = m_session.Commands().Run(command, scene, "", arguments);
        if (!result) {
            step.Cancel();
            return m_session.told.Send(MessageLevel::kError, result.error);
        }
        INode* node = scene.FindNode(std::get<std::string>(result.value.value));
        INode* const one[] = {node};
        scene.Select(one);
        if (then) then(scene, *node);
    });
}

bool ViewTools::RightClick() {
    if (m_nodePick.Wish()) return m_nodePick.Begin(nullptr), true;
    if (IsOutlining()) return m_outline.End(), true;
    if (m_creates) return EndCreation(), true;
    if (m_clickMode == ClickMode::kSelect) return false;
    SetClickMode(ClickMode::kSelect);
    return true;
}
