#include "Dravin/dravin.h"

#include "Dravin/build/custom_edit.h"
#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin_globals.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

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

// Undo and redo exchange the items that the object holds with those that it held.
class StoredItemsRestore : public RestoreObj {
public:
    StoredItemsRestore(TDravin& object, std::vector<TStoredItem> before)
        : m_object(std::static_pointer_cast<TDravin>(object.shared_from_this())),
          m_other(std::move(before)) {}

    void Restore(bool) override { Exchange(); }
    void Redo() override { Exchange(); }
    size_t Size() const override { return sizeof *this + m_other.size() * sizeof(TStoredItem); }

private:
    void Exchange() {
        std::swap(m_object->storedItems, m_other);
        m_object->m_build->SetValidity(Interval::Never());
        m_object->NotifyDependents();
    }

    std::shared_ptr<TDravin> m_object;
    std::vector<TStoredItem> m_other;
};

void TDravin::SetStoredItems(std::vector<TStoredItem> items) {
    std::swap(storedItems, items);
    Hold* hold = CurrentHold();
    if (hold && hold->Holding() && weak_from_this().lock())
        hold->Put(std::make_unique<StoredItemsRestore>(*this, std::move(items)));
    m_build->SetValidity(Interval::Never());
    NotifyDependents();
}

std::span<const DravinCurveName> DravinCurveNames() { return kCurveNames; }

std::shared_ptr<TDravin> TDravin::Create() { return std::make_shared<TDravin>(); }

TDravin::TDravin() {
    for (const ParamBlockDesc2& desc : DravinBlocks()) {
        m_blocks.emplace_back(this);
        m_blocks.back() = IParamBlock2::Create(desc, this);
    }
    for (int slot = 0; slot < kNumDravinSlots; ++slot) m_slots.emplace_back(this);
    CreateCurveSets();
    m_build = std::make_unique<TDravinBuild>(*this);
}

TDravin::~TDravin() = default;

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

void TDravin::UpdatePanel(PanelUpdate what) {
    if (onPanelUpdate) onPanelUpdate(what);
}

bool TDravin::SwitchMode(int newMode, TimeValue t) {
    if (onSwitchMode) return onSwitchMode(newMode, t);
    if (newMode == 0)
        SetStoredItems({});
    else
        ConvertToCustomEdit(*this, t);
    return true;
}

RefResult TDravin::NotifyRefChanged(const RefChange& change, ReferenceTarget* from) {
    if (!m_build) return RefResult::kSucceed;  // still being made
    m_build->SetValidity(Interval::Never());
    bool surfaces =
        BlockIdOf(from) == kSurfaceParams &&
        (change.paramId == surfaceParams::kSurflist || change.paramId == surfaceParams::kSurfmode);
    INode* node = surfaces ? GetWorldNode(*this) : nullptr;
    if (node && node->GetScene() && HostContext::Current()) SweepSurfaceCache(*node->GetScene());
    return RefResult::kSucceed;
}

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
