#include "Dravin/render/ui_interface.h"

#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "host/base/log.h"
#include "host/scene/host_context.h"

namespace {

// In the order of the panel.
constexpr int TOptions::*kRollups[] = {
    &TOptions::rollupGeom, &TOptions::rollupDist, &TOptions::rollupAreas, &TOptions::rollupEdit,
    &TOptions::rollupCam,  &TOptions::rollupShad, &TOptions::rollupSurf,  &TOptions::rollupTrans,
    &TOptions::rollupMat,  &TOptions::rollupEff,  &TOptions::rollupAnim,  &TOptions::rollupDisp,
    &TOptions::rollupAbout};

}  // namespace

void TUInterface::setRollup(int64_t state) {
    if (!HostContext::Current()) return;
    TOptions& options = DravinGlobals().options;
    for (size_t i = 0; i < std::size(kRollups); ++i) options.*kRollups[i] = int(state >> i & 1);
    std::string error;
    if (!SaveOptions(options, OptionsFile(), &error)) LogWarning(error);
    m_object.UpdatePanel(PanelUpdate::kEnableRules);
}

std::span<const FPFunction> IUInterface::Functions() const {
    static const std::vector<FPFunction> table{
        {0,
         "setRollup",
         FPType::kNone,
         {{"state", FPType::kInt64}},
         {},
         [](FPInterface& interface, FPArguments arguments) -> FPValues {
             static_cast<IUInterface&>(interface).setRollup(std::get<int64_t>(arguments[0]));
             return {};
         }}};
    return table;
}
