#include "Dravin/dravin.h"

#include <fmt/format.h>

#include <unordered_map>

#include "Dravin/list_restore.h"
#include "host/params/clone_map.h"

namespace {

constexpr CurveDefaults kFalloff{100, 100, 0, 0};
constexpr CurveDefaults kConstant{100, 100, 100, 0};
constexpr CurveDefaults kProbability{100, 100, 100, 0x200};

constexpr DravinCurveName kCurveNames[] = {
    {"camdenscurve", kSlotCamDensityCurve, 0, "Camera Density Falloff"},
    {"camscacurve", kSlotCamScaleCurve, 0, "Camera Scale Falloff"},
    {"spdenscurve", kSlotAreaDensityCurve, 0, "Area Density Falloff"},
    {"spscalcurve", kSlotAreaScaleCurve, 0, "Area Scale Falloff"},
    {"rotprobcurve", kSlotRotProbCurve, 0, "Rotation Probability Curve"},
    {"scaprobcurve", kSlotScaProbCurve, 0, "Scale Probability Curve"},
    {"altitude_density", kSlotSurfaceCurves, 0, "Altitude Density Falloff"},
    {"altitude_scale", kSlotSurfaceCurves, 1, "Altitude Scale Falloff"},
    {"slope_density", kSlotSurfaceCurves, 2, "Slope Density Falloff"},
    {"slope_scale", kSlotSurfaceCurves, 3, "Slope Scale Falloff"},
};

// Block id whose description names this slot, -1 for a slot that holds no block.
int BlockOfSlot(int slot) {
    for (const ParamBlockDesc2& desc : DravinBlocks())
        if (desc.referenceSlot == slot) return desc.id;
    return -1;
}

}  // namespace

void TDravin::SetStoredItems(std::vector<TStoredItem> items) {
    ReplaceList(*this, m_storedItems, std::move(items), [this] { TellItemsChanged(); });
}

namespace {

struct HashOfId {
    size_t operator()(const TItemId& id) const { return size_t(HashOf(id)); }
};

// One delta an item, the last of it, where its first stood.
std::vector<TItemDelta> WithoutRepeats(std::vector<TItemDelta> deltas) {
    std::unordered_map<TItemId, size_t, HashOfId> places;
    std::vector<TItemDelta> kept;
    for (TItemDelta& delta : deltas) {
        auto [it, isNew] = places.try_emplace(delta.id, kept.size());
        if (isNew)
            kept.push_back(delta);
        else
            kept[it->second] = delta;
    }
    return kept;
}

}  // namespace

void TDravin::SetDeltas(std::vector<TItemDelta> deltas) {
    ReplaceList(*this, m_deltas, WithoutRepeats(std::move(deltas)), [this] { TellItemsChanged(); });
}

void TDravin::SetDelta(const TItemDelta& delta) {
    std::vector<TItemDelta> deltas = m_deltas;
    deltas.push_back(delta);
    SetDeltas(std::move(deltas));
}

std::span<const DravinCurveName> DravinCurveNames() { return kCurveNames; }

std::shared_ptr<TDravin> TDravin::Create() { return std::make_shared<TDravin>(); }

void TDravin::CreateCurveSets() {
    EnsureCurveSet(*this, kSlotCamDensityCurve, 1, kFalloff);
    EnsureCurveSet(*this, kSlotCamScaleCurve, 1, kFalloff);
    EnsureCurveSet(*this, kSlotAreaDensityCurve, 1, kFalloff);
    EnsureCurveSet(*this, kSlotAreaScaleCurve, 1, kFalloff);
    EnsureCurveSet(*this, kSlotSurfaceCurves, 4, kConstant);
    EnsureCurveSet(*this, kSlotRotProbCurve, 1, kProbability);
    EnsureCurveSet(*this, kSlotScaProbCurve, 1, kProbability);
    EnsureCurveSet(*this, kSlotEffectCurves, 0, kFalloff).title = "Effect Curves";
    for (const DravinCurveName& curve : kCurveNames)
        if (curve.slot != kSlotSurfaceCurves) CurveSet(curve.slot)->title = curve.title;
}

TDravin::Param TDravin::FindParam(std::string_view name) {
    DravinParamRef found = FindDravinParam(name);
    if (!found) return {};
    return {&Block(DravinBlockId(found.block->id)), found.def};
}

int TDravin::BlockIdOf(const ReferenceTarget* target) const {
    for (size_t i = 0; i < m_blocks.size(); ++i)
        if (m_blocks[i].Get() == target) return int(i);
    return -1;
}

TCurveSet* TDravin::CurveSet(DravinSlot slot) const {
    return dynamic_cast<TCurveSet*>(m_slots[size_t(slot)].Get());
}

std::optional<FalloffCurve> TDravin::Curve(DravinSlot slot, int index) const {
    const TCurveSet* set = CurveSet(slot);
    if (!set || index < 0 || index >= set->GetNumCurves()) return std::nullopt;
    return set->Evaluator(index);
}

void TDravin::CleanNodeLists() {
    for (ParamID id : {distParams::kDistpathnodes, distParams::kDistpflownodes})
        CleanNodeList(Block(kDistParams), id);
}

void TDravin::UpdatePanel(PanelUpdate what) { panelUpdate.Send(what); }

std::shared_ptr<ReferenceTarget> TDravin::GetReference(int slot) const {
    if (slot < 0 || slot >= kNumDravinSlots) return nullptr;
    if (int block = BlockOfSlot(slot); block >= 0) return m_blocks[size_t(block)].Share();
    return m_slots[size_t(slot)].Share();
}

void TDravin::SetReference(int slot, std::shared_ptr<ReferenceTarget> target) {
    if (slot < 0 || slot >= kNumDravinSlots) return;
    int id = BlockOfSlot(slot);
    if (id < 0) {
        m_slots[size_t(slot)] = std::move(target);
        return;
    }
    auto block = std::dynamic_pointer_cast<IParamBlock2>(target);
    if (block && &block->GetDesc() == &DravinBlocks()[size_t(id)]) m_blocks[size_t(id)] = block;
}

void TDravin::ResetReference(int slot) {
    if (BlockOfSlot(slot) >= 0) return;
    SetReference(slot, nullptr);
    CreateCurveSets();
}

std::string TDravin::SubAnimName(int i) const {
    if (int block = BlockOfSlot(i); block >= 0) return DravinBlocks()[size_t(block)].title;
    if (i < 0 || i >= NumSubs()) return {};
    const TCurveSet* set = CurveSet(DravinSlot(i));
    return set && !set->title->empty() ? set->title.Get() : fmt::format("Reference {}", i);
}

std::shared_ptr<ReferenceTarget> TDravin::Clone(CloneMap& map) const {
    auto copy = Create();
    for (size_t i = 0; i < m_blocks.size(); ++i) {
        std::shared_ptr<IParamBlock2> block = m_blocks[i]->CloneFor(copy.get(), map);
        copy->m_blocks[i] = block;
        map.Add(*m_blocks[i].Get(), block);
    }
    for (int slot = 0; slot < kNumDravinSlots; ++slot) {
        // What stands in the internal slot belongs to this object alone.
        if (BlockOfSlot(slot) >= 0 || slot == kSlotInternal) continue;
        std::shared_ptr<ReferenceTarget> held = m_slots[size_t(slot)].Share();
        if (CurveSet(DravinSlot(slot)))
            copy->m_slots[size_t(slot)] = map.CopyPart(held);
        else
            map.Refer(held, [copy, slot](auto target) {
                copy->m_slots[size_t(slot)] = std::move(target);
            });
    }
    // Edited items stay with their object: the copy starts without any.
    copy->m_deltas = m_deltas;
    copy->specIdCounter = specIdCounter;
    copy->chooseMapSize = chooseMapSize;
    return copy;
}
