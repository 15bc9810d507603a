#include "Dravin/effects/effect_folders.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include <fmt/format.h>

#include "Dravin/config/settings.h"
#include "host/base/ini_file.h"

namespace {

// A folder that the environment names, else one below the home folder; empty without either.
std::string FolderOf(const char* variable, const char* belowHome) {
    if (const char* folder = std::getenv(variable); folder && *folder == '/') return folder;
    const char* home = std::getenv("HOME");
    return home && *home ? (std::filesystem::path(home) / belowHome).string() : std::string();
}

}  // namespace

std::optional<TEffectsFolders> EffectsFolders(std::map<std::string, std::string>& values,
                                              const std::string& dataFolder,
                                              const std::string& documentsFolder,
                                              std::string* error) {
    auto make = [&](const std::filesystem::path& folder) {
        std::error_code code;
        std::filesystem::create_directories(folder, code);
        if (code && error)
            *error = fmt::format("{}: cannot make the folder: {}", folder.string(), code.message());
        return !code;
    };
    auto user = std::find_if(values.begin(), values.end(),
                             [](const auto& v) { return v.first != "effects"; });
    if (user == values.end()) {
        std::filesystem::path folder =
            std::filesystem::path(documentsFolder) / "Dravin Pack" / "effects";
        if (!make(folder)) return std::nullopt;
        user = values.emplace("User's Effects", folder.string()).first;
    }
    if (!values.contains("effects")) {
        std::filesystem::path folder = std::filesystem::path(dataFolder) / "effects";
        if (!make(folder)) return std::nullopt;
        values["effects"] = folder.string();
    }
    return TEffectsFolders{values["effects"], user->second};
}

std::optional<TEffectsFolders> EffectsFoldersOfUser(std::string* error) {
    SettingsStore settings = DravinSettings();
    std::string key = std::string(kSettingsKey) + "\\EffectsDir";
    std::string data = FolderOf("XDG_DATA_HOME", ".local/share");
    std::string documents = FolderOf("XDG_DOCUMENTS_DIR", "Documents");
    if (data.empty() || documents.empty()) {
        *error = "no home folder is known that effects could lie in (see HOME)";
        return std::nullopt;
    }
    std::map<std::string, std::string> values;
    IniFile file;
    std::string missing;
    if (file.Load(settings.UserFile(), &missing))
        for (const auto& [name, folder] : file.ReadSection(key)) values.emplace(name, folder);
    std::map<std::string, std::string> before = values;
    auto folders =
        EffectsFolders(values, (std::filesystem::path(data) / "dravin").string(), documents, error);
    if (!folders) return std::nullopt;
    for (const auto& [name, folder] : values)
        if (!before.contains(name) && !settings.Write(key, name, folder, error))
            return std::nullopt;
    return folders;
}
