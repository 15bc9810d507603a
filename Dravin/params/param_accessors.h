// What happens when a parameter of the Dravin object is changed by a user or a script.
//
// Accessors know the object only through IDravinParamOwner, so that the schema stands below it.
#pragma once

#include "host/params/param_block.h"

// Parts of the panel that follow a change.
enum class PanelUpdate {
    kEnableRules,        // which controls are enabled
    kDistributionGroup,  // show the group of the selected mode
    kSurfaceList,
    kReferenceList,
    kShadowControls,
    kTintGradient,
    kAreaList,
    kEditGeometryLists,  // of the editing of items
};

class IDravinParamOwner {
public:
    virtual ~IDravinParamOwner() = default;
    virtual void UpdatePanel(PanelUpdate what) = 0;
    // Goes from one editing mode to the other; false when the user declined, and nothing was done.
    virtual bool SwitchMode(int newMode, TimeValue t) = 0;
};

// Removes null elements and later repeats of a node from a list of nodes, without notices from the
// block and without calling its accessor. True when something was removed.
bool CleanNodeList(IParamBlock2& block, ParamID id);

// Display name of one effect parameter's value: its number and its name.
std::string EffectParamElementName(const IParamBlock2& block, int index);

// Accessors by what they do; they have no state.
extern const PBAccessor& kRefreshAccessor;
extern const PBAccessor& kDistModeAccessor;
extern const PBAccessor& kNodeListAccessor;
extern const PBAccessor& kReferenceListAccessor;
extern const PBAccessor& kSurfaceAccessor;
extern const PBAccessor& kScaleSlopeAccessor;
extern const PBAccessor& kModeAccessor;
extern const PBAccessor& kFakeShadowsAccessor;
extern const PBAccessor& kTintAccessor;
