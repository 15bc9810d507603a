#include "Dravin/render/render_notices.h"

#include "Dravin/build/dravin_build.h"
#include "Dravin/config/system_log.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/render/build_report.h"
#include "Dravin/render/object_registry.h"
#include "Dravin/render/pack_interface.h"
#include "Dravin/render/render_state.h"
#include "Dravin/render/vray_adapter.h"
#include "host/scene/confirm_warning.h"
#include "host/scene/host_context.h"
#include "host/scene/renderers.h"
#include "host/script/script_system.h"

namespace {

constexpr const char* kSettingsQuestion =
    "To use Dravin with Mental Ray it is recommended to use these options:\n\n"
    "- Processing -> Translator -> Use Placeholder Objects\n"
    "- Renderer -> Scanline disabled\n"
    "- Renderer -> Raytrace acceleration BSP2\n"
    "- Display->Hide Custom objects\n\n"
    "Do you want to enable them ?";
constexpr const char* kSettingsCaption = "Dravin Helper";
constexpr const char* kWantedSettings[] = {"renderers.current.ScanlineEnable = false",
                                           "renderers.current.RaytraceMethod = 4",
                                           "renderers.current.Use_Placeholders = true"};

// Whoever ticks its box is not asked again in the session.
struct SettingsQuestion {
    WarningQuestion question{kSettingsQuestion, kSettingsCaption,
                             [] { return !DravinGlobals().options.noPopups; }};
};

// A truth is 1 or 0 in such texts.
std::string TextOf(const ScriptResult& result) {
    if (auto* truth = std::get_if<bool>(&result.value)) return *truth ? "1" : "0";
    return result.Text();
}

bool HasGoodSettings(ScriptSystem& scripts) {
    auto ask = [&](const char* property) { return scripts.Execute(property); };
    ScriptResult scanline = ask("renderers.current.ScanlineEnable");
    ScriptResult method = ask("renderers.current.RaytraceMethod");
    ScriptResult placeholders = ask("renderers.current.Use_Placeholders");
    return !scanline.IsError() && TextOf(scanline) != "1" &&
           (method.IsError() || TextOf(method) == "4") &&
           (placeholders.IsError() || TextOf(placeholders) == "1");
}

// Adapters serve the renderer of this name, whatever its versions call themselves.
bool IsVRay() {
    const std::string& name = HostContext::Current()->State<Renderers>().Current().name;
    return name.find("V-Ray") != std::string::npos || name.find("VRay") != std::string::npos;
}

bool IsAutomatic(const TDravin& object) {
    return object.Block(kDispParams).GetInt(dispParams::kRendermode, HostTimeOf(object)) ==
           kRenderAutomatic;
}

}  // namespace

bool IsMentalRayBased() {
    ClassId renderer = CurrentRendererId();
    return renderer == kMentalRayId || renderer == kIrayId;
}

void CheckMentalRaySettings() {
    HostContext& session = *HostContext::Current();
    if (session.quiet || CurrentRendererId() != kMentalRayId) return;
    auto& scripts = session.State<ScriptSystem>();
    if (HasGoodSettings(scripts)) return;
    if (!ConfirmWarning(session.State<SettingsQuestion>().question)) return;
    for (const char* setting : kWantedSettings) scripts.Execute(setting);
}

TRenderNotices& TRenderNotices::Current() {
    return HostContext::Current()->State<TRenderNotices>();
}

TRenderNotices::TRenderNotices() {
    NotificationHub& hub = HostContext::Current()->notifications;
    hub.Register(HostNotify::kPreRender, [this](HostNotify, INode*) { PreRender(); });
    hub.Register(HostNotify::kPostRender, [this](HostNotify, INode*) { PostRender(); });
    auto tell = [&hub](HostNotify notice, const char* name) {
        hub.Register(notice, [name](HostNotify, INode*) { SystemLog(LogKind::kNormal, name); });
    };
    tell(HostNotify::kRenderPreEvalFrameInfo, "NotifyRenderPreEvalFrameInfo");
    tell(HostNotify::kPreRenderFrame, "NotifyPreRenderFrame");
    tell(HostNotify::kPostRenderFrame, "NotifyPostRenderFrame");
}

void TRenderNotices::PreRender() {
    SystemLog(LogKind::kNormal, "NotifyPreRender starts");
    CheckMentalRaySettings();
    std::shared_ptr<TObjectRegistry> registry = TObjectRegistry::Current();
    ShowHidden();  // of a render that never ended
    m_proxies.clear();
    for (const auto& object : registry->Objects()) {
        object->Build().ResetStatus();
        object->Render().wasRendered = false;
    }
    if (IsMentalRayBased())
        for (const auto& object : registry->ShownObjects()) {
            if (!IsAutomatic(*object)) continue;
            object->Render().BuildForRender(0);
            m_proxies.push_back({object, std::make_unique<TProxyObjects>(*object)});
            std::vector<INode*> nodes;
            m_proxies.back().proxies->Create(&nodes);
        }
    for (const auto& object : registry->Objects())
        if (object->Block(kDispParams).GetBool(dispParams::kHidecustom)) HideCustomObjects(*object);
    if (IsVRay() && TVRayAdapter::Current().Load())
        if (IAdapterRenderHook* hook = TVRayAdapter::Current().Hook()) hook->PreRender();
    SystemLog(LogKind::kNormal, "NotifyPreRender ends");
}

void TRenderNotices::HideCustomObjects(const TDravin& object) {
    TimeValue now = HostTimeOf(object);
    const IParamBlock2& rows = object.Block(kGeomParams);
    for (int i = 0; i < rows.Count(geomParams::kCobjlist); ++i) {
        INode* node = rows.GetNode(geomParams::kCobjlist, now, i);
        if (!node || rows.GetInt(geomParams::kGeomlist, now, i) != kGeomCustom) continue;
        // A group is shown by what stands in it.
        if (node->IsGroupHead())
            VisitNodes(node, [&](INode* member) { Hide(*member, now); });
        else
            Hide(*node, now);
    }
}

void TRenderNotices::Hide(INode& node, TimeValue t) {
    if (node.IsHidden(t)) return;
    HoldSuspender noUndo(CurrentHold());
    m_hidden.push_back(
        {std::static_pointer_cast<INode>(node.shared_from_this()), node.hidden.Content()});
    node.SetHidden(true);
}

void TRenderNotices::ShowHidden() {
    HoldSuspender noUndo(CurrentHold());
    for (HiddenNode& hidden : std::exchange(m_hidden, {}))
        if (auto node = hidden.node.lock()) node->hidden.SetContent(std::move(hidden.before));
}

void TRenderNotices::PostRender() {
    SystemLog(LogKind::kNormal, "NotifyPostRender starts");
    TBuildReport report;
    for (const auto& object : TObjectRegistry::Current()->ShownObjects()) {
        TRenderState& render = object->Render();
        if (render.wasRendered) report.Check(*object);
        if (render.IsRendering()) render.Finish(HostTimeOf(*object));
    }
    m_proxies.clear();
    ShowHidden();
    report.Show();
}

void StartRenderIntegration() {
    TRenderNotices::Current();
    HostContext::Current()->State<StaticInterfaces>().Add(TDravinPackInterface::Current());
}
