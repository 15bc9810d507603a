#include "Dravin/tools/toolbar.h"

#include "Dravin/config/settings.h"
#include "host/scene/host_context.h"
#include "host/script/script_system.h"

namespace {

constexpr const char* kToolbarsKey = "Tavu Software";
constexpr const char* kDisabledSetting = "DisableToolbars";

constexpr const char* kScripts[] = {"startObjectCreation Dravin_Pro",
                                    "startObjectCreation DravinLOD",
                                    "UtilityPanel.OpenUtility Dravin_Tools"};

bool IsDisabled() {
    auto value = DravinSettings().ReadMachine(kToolbarsKey, kDisabledSetting);
    return value && *value != "0" && !value->empty();
}

}  // namespace

const std::array<ToolbarAction, TDToolbar::kNumButtons>& TDToolbar::Actions() {
    static constexpr std::array<ToolbarAction, kNumButtons> actions{{
        {"Dravin Pro", "Create a Dravin object"},
        {"Dravin LOD", "Create a LOD object"},
        {"Dravin Tools", "Open the tools"},
        {"Library", "Open the library browser"},
    }};
    return actions;
}

bool TDToolbar::Create() {
    if (m_isShown || IsDisabled()) return false;
    m_isShown = true;
    shown.Send(true);
    return true;
}

void TDToolbar::Destroy() {
    if (std::exchange(m_isShown, false)) shown.Send(false);
}

bool TDToolbar::Execute(int action) {
    if (action == kOpenLibrary) {
        libraryWanted.Send();
        return true;
    }
    HostContext* session = HostContext::Current();
    if (action < 0 || action >= kOpenLibrary || !session) return false;
    return !session->State<ScriptSystem>().Execute(kScripts[action]).IsError();
}
