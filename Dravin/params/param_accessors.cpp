#include "Dravin/params/param_accessors.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/params/dravin_params.h"

namespace {

IDravinParamOwner* OwnerOf(IParamBlock2& block) {
    return dynamic_cast<IDravinParamOwner*>(block.GetOwner());
}

// Updates parts of the panel after any change.
class PanelPBAccessor : public PBAccessor {
public:
    explicit PanelPBAccessor(std::vector<PanelUpdate> updates) : m_updates(std::move(updates)) {}

    void WasSet(IParamBlock2& block, ParamID id, int index, TimeValue t) const override {
        Update(block);
    }
    void ListChanged(ListChange, IParamBlock2& block, ParamID, int, int) const override {
        Update(block);
    }

protected:
    void Update(IParamBlock2& block) const {
        if (IDravinParamOwner* owner = OwnerOf(block))
            for (PanelUpdate update : m_updates) owner->UpdatePanel(update);
    }

private:
    std::vector<PanelUpdate> m_updates;
};

class NodeListPBAccessor : public PBAccessor {
public:
    void WasSet(IParamBlock2& block, ParamID id, int index, TimeValue t) const override {
        CleanNodeList(block, id);
    }
    // Elements that SetCount made are still to be filled.
    void ListChanged(ListChange change, IParamBlock2& block, ParamID id, int, int) const override {
        if (change != ListChange::kCount) CleanNodeList(block, id);
    }
};

// Fitting items to a slope needs them upright.
class ScaleSlopePBAccessor : public PanelPBAccessor {
public:
    ScaleSlopePBAccessor() : PanelPBAccessor({PanelUpdate::kEnableRules}) {}
    void WasSet(IParamBlock2& block, ParamID id, int index, TimeValue t) const override {
        if (block.GetBool(id, t)) block.SetValue(surfaceParams::kDirection, 0, 0);
        Update(block);
    }
};

class ModePBAccessor : public PBAccessor {
public:
    void Set(ParamValue& value, IParamBlock2& block, ParamID id, int index,
             TimeValue t) const override {
        IDravinParamOwner* owner = OwnerOf(block);
        int32_t old = block.GetInt(id, t), wanted = std::get<int32_t>(value);
        if (owner && wanted != old && !owner->SwitchMode(wanted, t)) value = old;
    }
};

const PanelPBAccessor refresh({PanelUpdate::kEnableRules});
const PanelPBAccessor distMode({PanelUpdate::kDistributionGroup, PanelUpdate::kEnableRules});
const NodeListPBAccessor nodeList;
const PanelPBAccessor referenceList({PanelUpdate::kReferenceList});
const PanelPBAccessor surface({PanelUpdate::kSurfaceList, PanelUpdate::kEnableRules});
const ScaleSlopePBAccessor scaleSlope;
const ModePBAccessor mode;
const PanelPBAccessor fakeShadows({PanelUpdate::kShadowControls});
const PanelPBAccessor tint({PanelUpdate::kTintGradient});

}  // namespace

const PBAccessor& kRefreshAccessor = refresh;
const PBAccessor& kDistModeAccessor = distMode;
const PBAccessor& kNodeListAccessor = nodeList;
const PBAccessor& kReferenceListAccessor = referenceList;
const PBAccessor& kSurfaceAccessor = surface;
const PBAccessor& kScaleSlopeAccessor = scaleSlope;
const PBAccessor& kModeAccessor = mode;
const PBAccessor& kFakeShadowsAccessor = fakeShadows;
const PBAccessor& kTintAccessor = tint;

bool CleanNodeList(IParamBlock2& block, ParamID id) {
    using TargetPtr = std::shared_ptr<ReferenceTarget>;
    std::vector<ParamElement> kept;
    std::vector<ReferenceTarget*> seen;
    for (ParamElement& element : block.GetElements(id)) {
        ReferenceTarget* target = std::get<TargetPtr>(element.value).get();
        if (!target || std::find(seen.begin(), seen.end(), target) != seen.end()) continue;
        seen.push_back(target);
        kept.push_back(std::move(element));
    }
    if (int(kept.size()) == block.Count(id)) return false;
    NotifySuspender noNotices(block);
    AccessorSuspender noReentry(block);
    return block.SetElements(id, std::move(kept));
}

std::string EffectParamElementName(const IParamBlock2& block, int index) {
    std::string name;
    if (index >= 0 && index < block.Count(effectParams::kEfpaname))
        name = block.GetString(effectParams::kEfpaname, 0, index);
    return fmt::format("Parameter {} ({}) - Value", index + 1, name);
}
