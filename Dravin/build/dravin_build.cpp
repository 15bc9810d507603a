#include "Dravin/build/dravin_build.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include <fmt/format.h>

#include "Dravin/build/camera_input.h"
#include "Dravin/build/density_loader.h"
#include "Dravin/build/dravin_instances.h"
#include "Dravin/build/input_maker.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/engine/build_items.h"
#include "host/base/log.h"
#include "host/base/thread_pool.h"
#include "host/scene/host_context.h"

namespace {

using Clock = std::chrono::steady_clock;

int32_t MillisecondsSince(Clock::time_point start) {
    auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    return int32_t(std::clamp<int64_t>(elapsed.count(), 1, std::numeric_limits<int32_t>::max()));
}

constexpr int kProxyMesh = 1;  // of vmesh and rmesh

}  // namespace

TDravinBuild::TDravinBuild(TDravin& object) : m_object(object) {}
TDravinBuild::~TDravinBuild() = default;

void TDravinBuild::BuildMesh(TimeValue time, const TBuildFlags& flags) {
    if (m_running || m_deleting) return;
    std::lock_guard lock(m_lock);
    m_running = true;
    if (HostContext::Current()) m_buildNumber = ++DravinGlobals().numBuilds;
    if (!flags.render) ++m_buildCounter;
    Clock::time_point start = Clock::now();

    m_time = time;
    m_flags = flags;
    m_validity = Interval::Forever();
    m_panel.status = TBuildStatus::kSuccess;
    TBuildStatistics fresh;
    fresh.facesInLastRender = m_statistics.facesInLastRender;
    m_statistics = std::move(fresh);
    m_items.Clear();
    Log(LogKind::kNormal, fmt::format("Starting BuildMesh({})", time));

    if (flags.render) RememberView();
    TParameters parameters = ReadParameters(m_object, time, &m_validity);
    m_panel.distributing = parameters.mode == 0;
    m_panel.collisions = parameters.collision;
    Run(parameters);

    FinishStatus();
    m_statistics.buildMs = MillisecondsSince(start);
    m_statistics.itemsPerSecond =
        int32_t(std::min<int64_t>(int64_t{m_statistics.itemCount} * 1000 / m_statistics.buildMs,
                                  std::numeric_limits<int32_t>::max()));
    if (m_panel.status != TBuildStatus::kSuccess) m_validity = Interval::Instant(time);
    if (!m_validity.Contains(time)) m_validity = Interval::Instant(time);
    m_running = false;
    Log(LogKind::kNormal, fmt::format("Exiting BuildMesh ({} items, code {})",
                                      m_statistics.itemCount, int(m_panel.status)));
}

// A render takes the view of the scene, and objects that follow the render camera take that.
void TDravinBuild::RememberView() {
    INode* node = GetWorldNode(m_object);
    Scene* scene = node ? node->GetScene() : nullptr;
    if (!scene) return;
    CheckAutoCamera(m_object, *scene);
    m_view = scene->view;
}

// From parameters to items; leaves its outcome in the status.
void TDravinBuild::Run(const TParameters& parameters) {
    m_input.reset();
    m_maker = std::make_unique<TInputMaker>(m_object, parameters, m_time, m_flags, m_view);
    m_panel.threads = m_maker->Threads();

    std::string sceneFile = m_maker->GetScene() ? m_maker->GetScene()->path : "", error;
    TDensityMap density;
    if (!m_maker->DistMap() && parameters.mode == 0)
        density = LoadDensityMap(parameters.mapname, sceneFile, parameters.threshold, &error);
    if (!error.empty()) LogWarning(error);

    bool noMap = parameters.mode == 0 && !m_maker->DistMap() && density.IsEmpty();
    if (noMap)
        m_panel.status = TBuildStatus::kNoDistributionMap;
    else if (parameters.mode != 0 && m_object.storedItems.empty())
        m_panel.status = TBuildStatus::kNoItems;
    else if (parameters.disabled)
        m_panel.status = TBuildStatus::kDisabled;
    if (m_panel.status != TBuildStatus::kSuccess) return;

    TSpecListRequest request;
    request.time = m_time;
    request.self = &m_object;
    request.proxyMode = (m_flags.render ? parameters.rmesh : parameters.vmesh) == kProxyMesh;
    request.animation = NormaliseAnimation(
        {parameters.animation, parameters.animsamples, parameters.animsoffset, parameters.animstart,
         parameters.animend, m_maker->GetScene() ? m_maker->GetScene()->ticksPerFrame : 160},
        parameters.animonlyrend, m_flags.render);
    TTreeSpecList rows(
        std::static_pointer_cast<IParamBlock2>(m_object.Block(kGeomParams).shared_from_this()));
    m_panel.status =
        m_specimens.Build(rows, DravinGlobals().templates, DravinGlobals().meshes,
                          SharedGenerator(), request, &m_object.specIdCounter, &m_validity);
    if (m_panel.status != TBuildStatus::kSuccess) return;

    m_input = m_maker->Make(m_specimens.EngineSpecimens(), std::move(density), m_rereadSurfaces,
                            &m_validity);
    m_rereadSurfaces = false;
    m_statistics.effectsCompileError = m_maker->EffectsFailed();
    Log(LogKind::kDebug, "BuildItemArray");
    m_panel.status = StatusOfResult(BuildItemArray(*m_input, m_items, m_statistics));
}

// A build that leaves nothing to see says so, and renders remember how they ended.
void TDravinBuild::FinishStatus() {
    bool nothing = m_statistics.itemCount - m_statistics.discardedItems < 1;
    if (m_panel.status == TBuildStatus::kSuccess && nothing) {
        m_statistics.itemCount = 0;
        m_panel.status = TBuildStatus::kNoVisibleItems;
    }
    if (m_panel.status != TBuildStatus::kSuccess) m_items.Clear();
    if (m_flags.render) m_panel.lastRenderStatus = m_panel.status;
}

TPanelMessage TDravinBuild::PanelLines() const {
    constexpr int kDiagnosticSeed = 9999;
    if (m_object.Block(kGenParams).GetInt(genParams::kSeed, m_time) != kDiagnosticSeed)
        return Message();
    const TDravinGlobals& globals = DravinGlobals();
    return {fmt::format("IC:{}  BC:{}  ITBC: {}  ITBS: {}", globals.surfaces.NumEntries(),
                        m_buildCounter, globals.meshes.NumEntries(), globals.meshes.NumSamples()),
            ""};
}

std::unique_ptr<IInstanceSource> TDravinBuild::MakeInstanceSource() const {
    return std::make_unique<TDravinInstances>(m_object, *this,
                                              m_maker ? m_maker->ObjectTM() : Matrix3{});
}
