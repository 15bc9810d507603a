#include "Dravin/render/render_state.h"

#include "Dravin/build/camera_input.h"
#include "Dravin/build/object_log.h"
#include "Dravin/dravin.h"
#include "Dravin/render/engine_registry.h"
#include "Dravin/render/object_registry.h"
#include "Dravin/render/trees_interface.h"
#include "Dravin/render/ui_interface.h"
#include "host/scene/host_context.h"
#include "host/scene/renderers.h"
#include "host/script/script_system.h"

namespace {

// Whether pictures follow every change: what the renderer says of the render that goes on.
bool AsksForInteractive(ClassId renderer) {
    HostContext* session = HostContext::Current();
    if (renderer != kCoronaId || !session) return false;
    ScriptResult type =
        session->State<ScriptSystem>().Execute("CoronaRenderer.CoronaFp.getRenderType()");
    return !type.IsError() && (type.Text() == "2" || type.Text() == "3");
}

// How the session's pictures want an object built.
TBuildFlags RenderFlags(const TDravinBuild& build, TimeValue t) {
    TBuildFlags flags;
    flags.render = true;
    // Whoever asks in this way takes nodes, or has proxies of them.
    flags.forceInstances = true;
    HostContext* session = HostContext::Current();
    if (!session) return flags;
    const Renderers& renderers = session->State<Renderers>();
    flags.noLimit = flags.unprotected = renderers.wish.noLimit;
    flags.forceThreads = renderers.wish.threads;
    flags.noMesh = TEngineRegistry::OfCurrentRenderer().flag && !build.RendersMesh(t);
    return flags;
}

bool WantSame(const TBuildFlags& a, const TBuildFlags& b) {
    return a.render == b.render && a.forceInstances == b.forceInstances && a.noLimit == b.noLimit &&
           a.unprotected == b.unprotected && a.noMesh == b.noMesh && !a.skipMesh && !a.fileMesh &&
           !a.effectsOff && !a.noCameraLimit && !a.selectedOnly && a.part.IsWhole();
}

}  // namespace

TRenderState::TRenderState(TDravin& object)
    : m_object(object),
      m_registry(TObjectRegistry::Current()),
      m_trees(std::make_unique<TTreesInterface>(object)),
      m_ui(std::make_unique<TUInterface>(object)) {
    if (m_registry) m_registry->Add(object);
}

TRenderState::~TRenderState() {
    if (m_registry) m_registry->Remove(m_object);
}

uint64_t TRenderState::BuildNumber() const { return m_object.Build().BuildNumber(); }

bool TRenderState::IsRendering() const { return m_object.updateState.isRendering; }

void TRenderState::Begin(TimeValue t) {
    TDravinEngine engine = TEngineRegistry::OfCurrentRenderer();
    bool reads512 = engine.version >= TDravinInstanceV512::kVersion;
    if (m_generator) m_generator->Clear();  // of a render that never ended
    m_generator = reads512 ? static_cast<TDravinBaseNodeGenerator*>(&m_nodesV512) : &m_nodesV1;
    m_generator->SetNodes(engine.flag ? TNodesOf::kTemplatesToo : TNodesOf::kCustomObjects);
    m_object.updateState.isRendering = true;
    ObjectLog(m_object, LogKind::kNormal, "IDravinRenderBegin");
    INode* node = ShownBy(m_object);
    if (node) CheckAutoCamera(m_object, *node->GetScene());
    m_isInteractive = AsksForInteractive(CurrentRendererId());
    BuildForRender(t);
}

void TRenderState::End(TimeValue t) {
    ObjectLog(m_object, LogKind::kNormal, "IDravinRenderEnd");
    if (CurrentRendererId() == kCoronaId) return;
    Finish(t);
}

// Builds that failed leave no items.
bool TRenderState::ShowsBefore(TimeValue t, const TBuildFlags& flags) const {
    HostContext* session = HostContext::Current();
    if (!session || !session->State<Renderers>().wish.keepsBuilds) return false;
    const TDravinBuild& build = m_object.Build();
    return build.Validity().Contains(t) && build.Status() == TBuildStatus::kSuccess &&
           !build.Items().IsEmpty() && WantSame(build.Flags(), flags);
}

void TRenderState::BuildForRender(TimeValue t) {
    m_object.updateState.isRendering = true;
    wasRendered = true;
    TDravinBuild& build = m_object.Build();
    TBuildFlags flags = RenderFlags(build, t);
    if (ShowsBefore(t, flags)) return;
    build.ForgetView();
    build.BuildMesh(t, flags);
}

void TRenderState::Finish(TimeValue t) {
    if (m_generator) m_generator->Clear();
    m_generator = nullptr;
    bool wasRendering = IsRendering();
    m_isInteractive = false;
    if (!wasRendering) return m_object.Build().ForgetView();
    m_leftBuild = BuildNumber();
    // Pictures that follow each other keep what was built for them: it is nothing for views as it
    // is.
    HostContext* session = HostContext::Current();
    if (session && session->State<Renderers>().wish.keepsBuilds) {
        m_object.updateState = {};
        m_object.updateState.updateOnce = true;
        m_object.Build().ForgetView();
    } else {
        m_object.updateState.isRendering = false;
        m_object.RenderEnd(t);
    }
    if (session) session->RequestRedraw();
}

TimeValue HostTimeOf(const TDravin& object) {
    if (INode* node = ShownBy(object)) return node->GetScene()->GetTime();
    HostContext* session = HostContext::Current();
    Scene* scene = session ? session->CurrentScene() : nullptr;
    return scene ? scene->GetTime() : 0;
}
