#include "Dravin/presets/preset_commands.h"

#include "Dravin/dravin.h"
#include "host/base/log.h"
#include "host/scene/host_context.h"

namespace {

constexpr const char* kCaption = "Dravin Pack Presets";
constexpr const char* kEnding = ".ope";
constexpr const char* kKind = "Preset files";

IUserInterface& User() { return HostContext::Current()->UserInterface(); }

bool Agrees(const char* question) { return User().Question(question, kCaption) == Answer::kYes; }

}  // namespace

TPresetCommands::TPresetCommands(TDravin& object, std::string path)
    : m_object(object), m_path(std::move(path)) {}

std::vector<std::string> TPresetCommands::Names() const {
    std::vector<std::string> names;
    PresetResult result = DravinPresetFile(m_path).List(&names);
    if (!result) LogWarning(result.error);
    return names;
}

// Tells what came of it; the log says more than the box.
bool TPresetCommands::Finish(const PresetResult& result, const std::string& failure,
                             const char* caption) {
    for (const std::string& warning : result.warnings) LogWarning(warning);
    if (result) return true;
    if (failure != result.error) LogError(result.error);
    User().MessageBox(failure, caption, MessageKind::kError);
    return false;
}

bool TPresetCommands::Choose(const std::string& name) {
    if (name.empty() ||
        !Agrees("All parameters for this object will be overwritten.\nAre you sure ?"))
        return false;
    std::string loaded = name;
    PresetResult result = LoadDravinPreset(m_object, &loaded, m_path);
    return Finish(result, result.error, kCaption);
}

bool TPresetCommands::Save(const std::string& name) {
    if (!Agrees("Save current parameters as a preset ?")) return false;
    PresetResult result = SaveDravinPreset(m_object, name, m_path);
    return Finish(result, result.error, kCaption);
}

bool TPresetCommands::Delete(const std::string& name) {
    if (!Agrees("Selected preset will be deleted. Are you sure ?")) return false;
    PresetResult result = DravinPresetFile(m_path).Delete(name);
    return Finish(result, result.error, kCaption);
}

bool TPresetCommands::Export(std::string path, const std::string& name) {
    if (path.empty()) {
        std::string offered = (name.empty() ? "dravin_preset" : name) + kEnding;
        path = User()
                   .PickFile({"Export Dravin preset", true, {}, {kEnding}, offered, kKind})
                   .value_or("");
        if (path.empty()) return false;
    }
    if (!path.ends_with(kEnding)) path += kEnding;
    return Finish(ExportDravinPreset(m_object, path), "Error saving preset", "Export Preset");
}

bool TPresetCommands::Import(std::string path) {
    if (path.empty())
        path =
            User().PickFile({"Import Dravin preset", false, {}, {kEnding}, {}, kKind}).value_or("");
    if (path.empty()) return false;
    std::string first;
    return Finish(LoadDravinPreset(m_object, &first, path), "Error loading preset",
                  "Import Preset");
}
