// When a scatter object is built: its validity, what freezes it, explicit rebuilds, renders' ends.
#include "Dravin/build/evaluation.h"

#include <set>

#include <fmt/format.h>

#include "Dravin/build/custom_edit.h"
#include "Dravin/build/dravin_build.h"
#include "Dravin/build/invalidation.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "host/base/log.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

const Scene* SceneOf(const TDravin& object) {
    INode* node = GetWorldNode(object);
    return node ? node->GetScene() : nullptr;
}

// Somebody looks at the object, and it stands still long enough to be built.
bool IsShownNow(const TDravin& object) {
    HostContext* session = HostContext::Current();
    if (!session || !session->buildsAtOnce || !SceneOf(object)) return false;
    if (!session->redrawRequested.HasListeners()) return false;
    Hold* hold = CurrentHold();
    return !DravinGlobals().openingFile && !object.IsBuilding() && !(hold && hold->IsRestoring());
}

}  // namespace

bool TDravin::IsFrozen(TimeValue t) const {
    if (updateState.isRendering || m_build->Items().IsEmpty()) return false;
    if (Block(kDispParams).GetBool(dispParams::kManualupdate, t)) return true;
    return HostContext::Current() && DravinGlobals().freezeAll;
}

bool TDravin::NeedsBuild(TimeValue t) const {
    if (IsFrozen(t) && !updateState.updateOnce) return false;
    const TDravinBuild& build = *m_build;
    // Who asked for items alone left the view without its mesh.
    // Renders and views have settings of their own.
    if (build.IsRender() != updateState.isRendering) return true;
    bool lacksMesh = !updateState.isRendering && (build.Flags().noMesh || build.HasStreamed());
    if (lacksMesh || !build.Validity().Contains(t)) return true;
    // Nobody tells an object that its own node has moved; its items stand on what has not.
    INode* node = GetWorldNode(*this);
    return node && build.Input() && !(node->GetObjectTM(t) == build.ObjectTM());
}

void TDravin::BuildForView(TimeValue t, bool keepItems) {
    TBuildFlags flags;
    flags.render = updateState.isRendering;
    flags.keepItems = keepItems;
    m_build->BuildMesh(t, flags);
}

// The flag for one more build is taken here and not by ObjectValidity, which others may ask first
// that do not build.
std::shared_ptr<Object> TDravin::Evaluated(TimeValue t, Interval* valid) {
    if (HostContext::Current() && !IsBuilding()) {
        if (IsFrozen(t) && !updateState.updateOnce) m_build->SetValidity(Interval::Forever());
        if (NeedsBuild(t)) BuildForView(t, true);
        if (!updateState.isRendering) updateState.updateOnce = false;
    }
    return Object::Evaluated(t, valid);
}

void TDravin::RebuildNow(bool notify) {
    Invalidate(TRemake::kItems);
    const Scene* scene = SceneOf(*this);
    if (HostContext::Current()) BuildForView(scene ? scene->GetTime() : 0, false);
    if (notify) NotifyDependents();
    if (HostContext* session = HostContext::Current()) session->RequestRedraw();
}

void TDravin::ClearCaches() {
    m_build->Areas().Clear();
    m_build->SetSurfacesChanged();
    m_build->NoteChange(TRemake::kItems);
}

void TDravin::RenderEnd(TimeValue) {
    if (updateState.renderLock && !updateState.isRendering) return;
    updateState = {};
    updateState.updateOnce = true;
    Invalidate(TRemake::kItems);
    NotifyDependents();
    m_build->ForgetView();
}

void TDravin::TellItemsChanged() {
    Invalidate(TRemake::kItems);
    NotifyDependents();
}

RefResult TDravin::NotifyRefChanged(const RefChange& change, ReferenceTarget* from) {
    if (!m_build) return RefResult::kSucceed;  // still being made
    bool hasSession = HostContext::Current() != nullptr;
    if (hasSession && DravinGlobals().makingMaterial) return RefResult::kSucceed;
    TChangeSource source{BlockIdOf(from)};
    for (int slot = 0; slot < kNumDravinSlots; ++slot)
        if (&m_slots[size_t(slot)] == change.slot) source.slot = slot;
    TReaction reaction = ReactionTo(*this, change, source);
    React(reaction);
    bool surfaces = source.block == kSurfaceParams && (change.paramId == surfaceParams::kSurflist ||
                                                       change.paramId == surfaceParams::kSurfmode);
    INode* node = surfaces ? GetWorldNode(*this) : nullptr;
    if (node && node->GetScene() && hasSession) SweepSurfaceCache(*node->GetScene());
    return reaction.stops ? RefResult::kStop : RefResult::kSucceed;
}

void TDravin::React(const TReaction& reaction) {
    if (reaction.surfacesChanged) m_build->SetSurfacesChanged();
    if (reaction.dropsInternal) m_slots[kSlotInternal] = nullptr;
    if (reaction.refreshesAreaList) UpdatePanel(PanelUpdate::kAreaList);
    if (reaction.refreshesEditLists) UpdatePanel(PanelUpdate::kEditGeometryLists);
    m_build->NoteChange(reaction.remake);
    if (reaction.action == TReaction::kIgnore) return;
    Invalidate(reaction.remake);
    const Scene* scene = SceneOf(*this);
    bool atOnce = reaction.action == TReaction::kRebuild && IsShownNow(*this);
    if (atOnce && !IsFrozen(scene->GetTime())) RebuildNow(true);
    HostContext* session = HostContext::Current();
    if (reaction.redraws && session) session->RequestRedraw();
}

void TDravin::Invalidate(TRemake what) {
    m_build->Invalidate(what);
    m_mesh = nullptr;
    m_meshValidity = Interval::Never();
}

bool TDravin::SwitchMode(int newMode, TimeValue t) {
    ModeSwitch asked{newMode, t, {}};
    modeSwitch.Send(asked);
    if (asked.answer) return *asked.answer;
    if (newMode == 0)
        SetStoredItems({});
    else
        ConvertToCustomEdit(*this, t);
    return true;
}

std::shared_ptr<const Mesh> TDravin::GetRenderMesh(TimeValue t) {
    if (m_meshValidity.Contains(t)) return m_mesh;
    if (IsBuilding()) return nullptr;
    TDravinBuild build(*this);
    TBuildFlags flags;
    flags.render = flags.fileMesh = true;
    build.BuildMesh(t, flags);
    if (build.Status() != TBuildStatus::kSuccess) {
        INode* node = GetWorldNode(*this);
        std::string why = !build.Failure().empty()   ? build.Failure()
                          : !build.Refusal().empty() ? build.Refusal()
                                                     : build.Message()[0];
        LogWarning(
            fmt::format("{}: it shows nothing to others: {}", node ? node->GetName() : "", why));
    }
    m_mesh = build.ObjectMesh().IsBuilt() ? build.ObjectMesh().ShareMesh() : nullptr;
    m_meshValidity = build.Validity();
    return m_mesh;
}

void UpdateObject(TDravin& object) {
    if (!object.updateState.renderLock) object.updateState.isRendering = false;
    object.ClearCaches();
    ScopedFlag refreshing(DravinGlobals().rebuildingFromPanel);
    object.RebuildNow(true);
}

int UpdateAllObjects(const Scene& scene) {
    std::set<TDravin*> updated;
    for (INode* node : scene.Nodes())
        if (auto* object = dynamic_cast<TDravin*>(node->GetObjectRef()))
            if (updated.insert(object).second) UpdateObject(*object);
    return int(updated.size());
}

void FreezeAllObjects(bool frozen) { DravinGlobals().freezeAll = frozen; }

bool AreAllObjectsFrozen() { return DravinGlobals().freezeAll; }
