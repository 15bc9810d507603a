#include "Dravin/build/dravin_build.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include <fmt/format.h>

#include "Dravin/build/camera_input.h"
#include "Dravin/build/delta_report.h"
#include "Dravin/build/density_loader.h"
#include "Dravin/build/dravin_instances.h"
#include "Dravin/build/input_maker.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/engine/build_items.h"
#include "Dravin/engine/item_looks.h"
#include "Dravin/materials/automatic_material.h"
#include "host/base/log.h"
#include "host/base/memory_size.h"
#include "host/base/thread_pool.h"
#include "host/scene/host_context.h"
#include "host/scene/renderers.h"

namespace {

using Clock = std::chrono::steady_clock;

int32_t MillisecondsSince(Clock::time_point start) {
    auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    return int32_t(std::clamp<int64_t>(elapsed.count(), 1, std::numeric_limits<int32_t>::max()));
}

constexpr int kProxyMesh = 1;                  // of vmesh and rmesh
constexpr uint64_t kFacesPerUnit = 1'000'000;  // of maxfaces

// The right to build an object. Whoever finds it taken has none; it is given back on every way out.
class BuildTurn {
public:
    explicit BuildTurn(std::atomic<bool>& taken)
        : m_taken(taken.exchange(true) ? nullptr : &taken) {}
    ~BuildTurn() {
        if (m_taken) *m_taken = false;
    }
    BuildTurn(const BuildTurn&) = delete;
    BuildTurn& operator=(const BuildTurn&) = delete;

    explicit operator bool() const { return m_taken; }

private:
    std::atomic<bool>* m_taken;
};

}  // namespace

TDravinBuild::TDravinBuild(TDravin& object) : m_object(object) {}
TDravinBuild::~TDravinBuild() = default;

void TDravinBuild::BuildMesh(TimeValue time, const TBuildFlags& flags,
                             const TItemConsumer* consumer) {
    if (m_deleting) return;
    BuildTurn turn(m_object.Building());
    if (!turn) return;
    m_time = time;
    m_flags = flags;
    m_consumer = consumer;
    try {
        BuildAtOnce();
    } catch (const std::bad_alloc&) {
        BreakOff(TBuildStatus::kTooManyItems,
                 "out of memory; fewer items (a larger size of the map, lower limits under "
                 "'Display') or simpler sources need less");
        m_outOfMemory = true;
    } catch (const std::exception& error) {
        BreakOff(TBuildStatus::kNoItems, error.what());
    } catch (...) {
        BreakOff(TBuildStatus::kNoItems, "unknown error");
    }
    m_consumer = nullptr;
    if (m_input) m_input->consumer = nullptr;
}

void TDravinBuild::BuildAtOnce() {
    if (HostContext::Current()) m_buildNumber = ++DravinGlobals().numBuilds;
    if (!m_flags.render) ++m_buildCounter;
    Clock::time_point start = Clock::now();

    m_progress.Start(0);
    m_failure.clear();
    m_refusal.clear();
    Log(LogKind::kNormal, fmt::format("Starting BuildMesh({})", m_time));
    if (CanKeepItems())
        MakeShownAgain();
    else
        MakeAll();
    m_remake = TRemake::kNothing;
    FinishStatus();
    m_statistics.buildMs = MillisecondsSince(start);
    m_statistics.itemsPerSecond =
        int32_t(std::min<int64_t>(int64_t{m_statistics.itemCount} * 1000 / m_statistics.buildMs,
                                  std::numeric_limits<int32_t>::max()));
    if (m_panel.status != TBuildStatus::kSuccess) m_validity = Interval::Instant(m_time);
    if (!m_validity.Contains(m_time)) m_validity = Interval::Instant(m_time);
    if (m_panel.status == TBuildStatus::kCancelled) m_validity = Interval::Never();
    Log(LogKind::kNormal, fmt::format("Exiting BuildMesh ({} items, code {})",
                                      m_statistics.itemCount, int(m_panel.status)));
}

void TDravinBuild::MakeAll() {
    m_effectErrors.clear();
    m_outOfMemory = m_streamed = false;
    m_validity = Interval::Forever();
    m_panel.status = TBuildStatus::kSuccess;
    TBuildStatistics fresh;
    fresh.facesInLastRender = m_statistics.facesInLastRender;
    m_statistics = std::move(fresh);
    if (m_flags.selectedOnly) std::swap(m_items, m_lastItems);
    m_items.Clear();
    // Otherwise the memory of the mesh before serves the next one.
    if (m_flags.noMesh || m_flags.skipMesh || m_consumer) m_mesh.Clear();

    if (m_flags.render) RememberView();
    TParameters parameters(m_object, m_time, &m_validity);
    m_panel.distributing = parameters.Int(editionParams::kMode) == 0;
    m_panel.collisions = parameters.Bool(distParams::kCollision);
    m_lastForView = IsForView();
    m_lastShowedProxies = ShowsProxies();
    Run(parameters);
    NarrowToReferences();
    NarrowToSources(parameters);
    m_itemsValidity = m_validity;
    m_lastItems.Release();
}

// --- only what is shown

bool TDravinBuild::IsForView() const {
    const TBuildFlags& f = m_flags;
    bool isPlain = !f.noMesh && !f.render && !f.skipMesh && !f.fileMesh && !f.viewportOnly &&
                   !f.effectsOff && !f.noLimit && !f.unprotected && !f.noCameraLimit &&
                   !f.collisions && !f.selectedOnly && f.forceThreads == 0 && f.displayLimit == 0;
    return isPlain && f.part.IsWhole() && !m_consumer;
}

bool TDravinBuild::ShowsProxies() const {
    const IParamBlock2& display = m_object.Block(kDispParams);
    return display.GetInt(m_flags.render ? dispParams::kRmesh : dispParams::kVmesh, m_time) ==
           kProxyMesh;
}

// Items are kept where nothing that they follow from has changed since a build under the same
// conditions.
bool TDravinBuild::CanKeepItems() const {
    bool isAsked = m_flags.keepItems && IsForView() && m_lastForView && !m_rereadSurfaces &&
                   (m_remake == TRemake::kShown || m_remake == TRemake::kTints);
    bool hasItems = m_panel.status == TBuildStatus::kSuccess && m_input && !m_items.IsEmpty() &&
                    m_itemsValidity.Contains(m_time);
    if (!isAsked || !hasItems || m_lastShowedProxies != ShowsProxies()) return false;
    // Programs may read tints; hand-edited items that are hidden have none.
    return m_remake == TRemake::kShown || !(m_input->effects || m_input->customEdit);
}

void TDravinBuild::MakeShownAgain() {
    Log(LogKind::kDebug, "BuildMesh keeps the items");
    m_validity = m_itemsValidity;
    TParameters parameters(m_object, m_time, &m_validity);
    m_panel.status = BuildSpecimens(parameters);
    if (m_panel.status != TBuildStatus::kSuccess) return;
    if (m_remake == TRemake::kTints) {
        ReadTints(parameters, m_input->transforms);
        TintAgain(*m_input, m_items);
        m_itemsValidity = m_validity;
    }
    MakeMaterial(parameters);
    if (m_panel.status == TBuildStatus::kSuccess)
        MakeMesh(MeshSettings(parameters, m_input->threads));
}

// --- what a build holds on

// The result holds no longer than what it was made from: the object's own place, everything that
// its parameters name, and the cameras that a build may look through. Sources have rules of their
// own.
void TDravinBuild::NarrowToReferences() {
    auto narrow = [this](INode* node) {
        node->GetObjectTM(m_time, &m_validity);
        node->hidden.At(m_time, &m_validity);
        Object* object = node->GetObjectRef();
        if (object && object != &m_object) m_validity &= object->ObjectValidity(m_time);
    };
    auto narrowTree = [&](INode* node) {
        if (node) VisitNodes(node, narrow);
    };
    for (const ParamBlockDesc2& desc : DravinBlocks())
        for (const ParamDef& def : desc.params) {
            bool isSource = desc.id == kGeomParams && def.id == geomParams::kCobjlist;
            if (def.type != ParamType::kNode || isSource) continue;
            const IParamBlock2& block = m_object.Block(DravinBlockId(desc.id));
            for (int i = 0; i < block.Count(def.id); ++i)
                narrowTree(block.GetNode(def.id, m_time, i));
        }
    INode* own = GetWorldNode(m_object);
    if (!own) return;
    narrow(own);
    const Scene* scene = own->GetScene();
    for (INode* camera :
         {scene ? scene->RenderCamera() : nullptr, scene ? scene->ViewCamera() : nullptr})
        if (camera) narrow(camera);
}

// A source shows its mesh, wherever it stands; of those in groups the place among the others
// counts. How long meshes hold the specimens say that show more than one moment of them.
void TDravinBuild::NarrowToSources(const TParameters& parameters) {
    auto narrow = [this](INode* node) { node->GetObjectTM(m_time, &m_validity); };
    for (INode* node : parameters.Nodes(geomParams::kCobjlist)) {
        INode* head = node ? node->GetOutermostHead() : nullptr;
        if (head) VisitNodes(head, narrow);
    }
}

// Gives everything back that the build held, which needs no memory; the text may need some.
void TDravinBuild::BreakOff(TBuildStatus status, const char* why) {
    m_items = TDravinItemList(0u);
    m_mesh.Clear();
    m_lastItems = TDravinItemList(0u);
    m_input.reset();
    m_specimens = {};
    m_statistics = {};
    m_areas.Clear();
    m_validity = Interval::Instant(m_time);
    m_panel.status = status;
    if (m_flags.render) m_panel.lastRenderStatus = status;
    try {
        m_failure = why;
        INode* node = GetWorldNode(m_object);
        LogError(fmt::format("{}: the build broke off: {}", node ? node->GetName() : "", why));
        Log(LogKind::kNormal, fmt::format("Exiting BuildMesh (0 items, code {})", int(status)));
    } catch (...) {
        // The status says what matters where there is no memory for words.
    }
}

// A render takes the view of the scene, and objects that follow the render camera take that.
void TDravinBuild::RememberView() {
    INode* node = GetWorldNode(m_object);
    Scene* scene = node ? node->GetScene() : nullptr;
    if (!scene) return;
    CheckAutoCamera(m_object, *scene);
    m_view = scene->ActiveView(m_time);
}

TBuildStatus TDravinBuild::BuildSpecimens(const TParameters& parameters) {
    INode* node = GetWorldNode(m_object);
    const Scene* scene = node ? node->GetScene() : nullptr;
    TSpecListRequest request;
    request.time = m_time;
    request.isOpen = [](const Object& object) {
        auto* scatter = dynamic_cast<const TDravin*>(&object);
        return scatter && scatter->IsBuilding();
    };
    request.proxyMode = ShowsProxies();
    request.animation = NormaliseAnimation(
        {parameters.Int(animParams::kAnimation), parameters.Int(animParams::kAnimsamples),
         parameters.Int(animParams::kAnimsoffset), parameters.Int(animParams::kAnimstart),
         parameters.Int(animParams::kAnimend), scene ? scene->ticksPerFrame.Get() : 160},
        parameters.Bool(animParams::kAnimonlyrend), m_flags.render);
    TTreeSpecList rows(
        std::static_pointer_cast<IParamBlock2>(m_object.Block(kGeomParams).shared_from_this()));
    DravinGlobals().meshes.UsePlantClouds(DravinGlobals().options.useLaubwerkCloud != 0);
    return m_specimens.Build(rows, DravinGlobals().templates, DravinGlobals().meshes,
                             SharedGenerator(), request, &m_object.specIdCounter, &m_validity);
}

// From parameters to items; leaves its outcome in the status.
void TDravinBuild::Run(const TParameters& parameters) {
    m_input.reset();
    TInputMaker maker(m_object, parameters, m_time, m_flags, m_view);
    m_objectTM = maker.ObjectTM();
    m_panel.threads = maker.Threads();

    TDensityMap density = LoadMap(parameters, maker);

    bool noMap = parameters.Int(editionParams::kMode) == 0 && !maker.DistMap() && density.IsEmpty();
    if (noMap)
        m_panel.status = TBuildStatus::kNoDistributionMap;
    else if (parameters.Int(editionParams::kMode) != 0 && m_object.StoredItems().empty())
        m_panel.status = TBuildStatus::kNoItems;
    else if (parameters.Bool(dispParams::kDisabled))
        m_panel.status = TBuildStatus::kDisabled;
    if (m_panel.status != TBuildStatus::kSuccess) return;

    m_panel.status = BuildSpecimens(parameters);
    if (m_panel.status != TBuildStatus::kSuccess) return;

    m_input = maker.Make(m_specimens, std::move(density), m_rereadSurfaces, &m_validity);
    m_rereadSurfaces = false;
    m_input->progress = &m_progress;
    m_input->part = m_flags.part;
    m_input->consumer = m_consumer;
    m_streamed = m_input->Streams();
    m_statistics.effectsCompileError = maker.EffectsFailed();
    m_effectErrors = maker.TakeEffectErrors();
    KeepForSelection();
    Log(LogKind::kDebug, "BuildItemArray");
    m_panel.status = BuildItemArray(*m_input, m_items, m_statistics);
    if (m_statistics.outOfMemory)
        m_refusal = fmt::format(
            "the items would take more memory than the {:.2f} GB that are free; fewer items (a "
            "larger size of the map) need less, --no-limit tries all the same",
            double(m_input->memoryLimit) / 1e9);
    m_input->unselected = nullptr;  // that list is given back
    bool wantsMesh = !m_flags.noMesh && !m_flags.skipMesh && !m_streamed;
    if (m_panel.status == TBuildStatus::kSuccess && !m_flags.noMesh) MakeMaterial(parameters);
    if (m_panel.status == TBuildStatus::kSuccess && wantsMesh)
        MakeMesh(MeshSettings(parameters, maker.Threads()));
}

void TDravinBuild::MakeMaterial(const TParameters& p) {
    if (!p.Bool(geomParams::kConsmat)) return;
    const TOptions& options = DravinGlobals().options;
    bool refreshes = DravinGlobals().rebuildingFromPanel;
    ScopedFlag making(DravinGlobals().makingMaterial);
    BuildAutomaticMaterial(
        m_object, m_specimens,
        {options.optimizeAutomaterial != 0, options.showMapInViewport,
         p.Bool(dispParams::kWireframe), float(p.Int(dispParams::kOpacity)) / 100, refreshes});
}

TObjectMeshSettings TDravinBuild::MeshSettings(const TParameters& p, int threads) const {
    bool render = m_flags.render;
    int mode = render ? p.Int(dispParams::kRmesh) : p.Int(dispParams::kVmesh);
    TObjectMeshSettings s;
    s.render = render;
    s.mode = TMeshMode(std::clamp(mode, 0, 3));
    if (m_flags.fileMesh && mode != kProxyMesh) s.mode = TMeshMode::kFull;
    s.acceptsInstances =
        !m_flags.fileMesh && (m_flags.forceInstances || CurrentRendererTakesInstances());
    s.renderMode = p.Int(dispParams::kRendermode);
    s.consolidates = p.Bool(geomParams::kConsmat);
    s.distributes = p.Int(editionParams::kMode) == 0;
    s.proxyShape = render ? p.Int(dispParams::kRtype) : p.Int(dispParams::kVtype);
    s.adaptiveFaces = uint64_t(std::max(p.Int(dispParams::kAdaptfaces), 0));
    int maxFaces = p.Int(dispParams::kMaxfaces);
    if (maxFaces > 0 && !m_flags.noLimit) s.maxFaces = uint64_t(maxFaces) * kFacesPerUnit;
    if (!m_flags.unprotected) s.maxBytes = FreeMemory();
    s.shadowOffset = float(DravinGlobals().options.vshadowPlaneOffset);
    s.hidesShadowPlanes = !render && p.Bool(shadowParams::kHsplanes);
    s.horizontalOffset = p.Int(shadowParams::kHsoffset);
    s.horizontalScale = p.Int(shadowParams::kHsscale);
    s.scaleOnSlope = m_input->transforms.scaleOnSlope;
    s.selectedOnly = m_flags.selectedOnly;
    s.time = m_time;
    bool isUnthreaded =
        !m_flags.forceThreads && !p.Bool(genParams::kAutothreads) && p.Int(genParams::kThreads) < 1;
    s.threads = isUnthreaded ? 0 : threads;
    return s;
}

void TDravinBuild::MakeMesh(const TObjectMeshSettings& settings) {
    Clock::time_point start = Clock::now();
    Log(LogKind::kDebug, "BuildMeshDravin");
    TMeshOutcome outcome = m_mesh.Build(m_items, m_specimens, DravinGlobals().meshes, settings,
                                        m_statistics.gizmoPoints);
    m_statistics.memoryMb = float(double(m_mesh.BytesHeld()) / (1 << 20));
    m_statistics.meshMs = float(MillisecondsSince(start));
    if (outcome == TMeshOutcome::kDone) return;
    m_panel.status = TBuildStatus::kTooManyFaces;
    const TObjectMeshStatistics& measured = m_mesh.Statistics();
    if (m_flags.render) m_statistics.facesInLastRender = AsCount(int64_t(measured.faces));
    if (outcome == TMeshOutcome::kTooManyFaces) return;
    m_refusal = measured.bytesWanted > settings.maxBytes
                    ? fmt::format(
                          "the mesh of {} faces would take {:.2f} GB, more than the {:.2f} GB that "
                          "are free; proxy shapes or fewer items need less, --no-limit tries all "
                          "the same",
                          measured.faces, double(measured.bytesWanted) / 1e9,
                          double(settings.maxBytes) / 1e9)
                    : fmt::format(
                          "the mesh would have {} faces, more than can be numbered (2147483647); "
                          "no option raises this: use proxy shapes, fewer items, or instances "
                          "(.glb)",
                          measured.faces);
}

// The image that says where items are; empty where there is none, or none that can be read.
TDensityMap TDravinBuild::LoadMap(const TParameters& parameters, const TInputMaker& maker) {
    if (maker.DistMap() || parameters.Int(editionParams::kMode) != 0) return {};
    std::string sceneFile = maker.GetScene() ? maker.GetScene()->path : "";
    TDensityLoad load = LoadDensityMap(parameters.String(distParams::kMapname), sceneFile,
                                       parameters.Int(distParams::kThreshold));
    if (!load.warning.empty()) LogWarning(load.warning);
    if (load.isLimit)
        m_refusal = load.error;
    else if (!load.error.empty())
        LogWarning(load.error);
    return std::move(load.map);
}

// The last list stands in for items that are not selected where it has them all.
void TDravinBuild::KeepForSelection() {
    bool same = m_lastItems.Count() == m_input->storedItems.size() &&
                m_lastItems.Groups() == m_input->ItemGroupsNeeded();
    if (m_flags.selectedOnly && m_input->customEdit && same) m_input->unselected = &m_lastItems;
}

// A build that leaves nothing to see says so, and renders remember how they ended.
void TDravinBuild::FinishStatus() {
    bool nothing = m_statistics.itemCount - m_statistics.discardedItems < 1;
    // Of a part it cannot be told: others may have something.
    if (m_panel.status == TBuildStatus::kSuccess && nothing && m_flags.part.IsWhole()) {
        m_statistics.itemCount = 0;
        m_panel.status = TBuildStatus::kNoVisibleItems;
    }
    bool isDone =
        m_panel.status == TBuildStatus::kSuccess || m_panel.status == TBuildStatus::kNoVisibleItems;
    if (isDone && m_input) CountDeltas(*m_input, m_statistics);
    TellMissingItems();
    if (m_panel.status != TBuildStatus::kSuccess) m_items.Clear(), m_mesh.Clear();
    if (m_flags.render) m_panel.lastRenderStatus = m_panel.status;
}

void TDravinBuild::TellMissingItems() const {
    std::string text = MissingItemsText(m_statistics.deltas);
    if (text.empty()) return;
    INode* node = GetWorldNode(m_object);
    LogWarning(fmt::format("{}: {}", node ? node->GetName() : "", text));
}

bool TDravinBuild::LeavesOverlaps() const {
    return m_input && m_input->collisions && !m_input->customEdit && !m_input->part.IsWhole();
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
    return std::make_unique<TDravinInstances>(m_object, *this, m_objectTM,
                                              m_flags.unprotected ? UINT64_MAX : FreeMemory());
}

bool TDravinBuild::RendersMesh(TimeValue t) const {
    const IParamBlock2& display = m_object.Block(kDispParams);
    const IParamBlock2& shadows = m_object.Block(kShadowParams);
    bool hasPlanes =
        shadows.GetBool(shadowParams::kUsefakeshadows, t) &&
        shadows.GetNode(shadowParams::kLight, t) &&
        (shadows.GetBool(shadowParams::kVshadow, t) || shadows.GetBool(shadowParams::kHshadow, t));
    return hasPlanes || display.GetInt(dispParams::kRendermode, t) == kRenderMeshes ||
           display.GetInt(dispParams::kRmesh, t) == kProxyMesh;
}
