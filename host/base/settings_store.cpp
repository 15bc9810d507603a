#include "host/base/settings_store.h"

#include <cstdlib>
#include <filesystem>

#include "host/base/ini_file.h"
#include "host/base/text.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kFile = "settings.ini";

// A file that cannot be read has no values.
std::optional<std::string> ReadFrom(const std::string& path, const std::string& key,
                                    const std::string& value) {
    IniFile file;
    std::string unread;
    if (path.empty() || !file.Load(path, &unread)) return std::nullopt;
    return file.Get(key, value);
}

}  // namespace

std::string UserConfigFolder(const std::string& name) {
    // Relative paths there count as none.
    if (const char* folder = std::getenv("XDG_CONFIG_HOME"); folder && *folder == '/')
        return (fs::path(folder) / name).string();
    const char* home = std::getenv("HOME");
    return home && *home ? (fs::path(home) / ".config" / name).string() : std::string();
}

SettingsStore::SettingsStore(std::string userFile, std::vector<std::string> machineFiles)
    : m_userFile(std::move(userFile)), m_machineFiles(std::move(machineFiles)) {}

SettingsStore SettingsStore::OfUser(const std::string& name) {
    std::string folder = UserConfigFolder(name);
    const char* given = std::getenv("XDG_CONFIG_DIRS");
    std::vector<std::string> machineFiles;
    for (const std::string& dir : Split(given && *given ? given : "/etc/xdg", ':'))
        if (dir.starts_with('/')) machineFiles.push_back((fs::path(dir) / name / kFile).string());
    return {folder.empty() ? folder : (fs::path(folder) / kFile).string(), machineFiles};
}

std::optional<std::string> SettingsStore::Read(const std::string& key,
                                               const std::string& value) const {
    std::optional<std::string> text = ReadFrom(m_userFile, key, value);
    return text ? text : ReadMachine(key, value);
}

std::optional<std::string> SettingsStore::ReadMachine(const std::string& key,
                                                      const std::string& value) const {
    for (const std::string& path : m_machineFiles)
        if (std::optional<std::string> text = ReadFrom(path, key, value)) return text;
    return std::nullopt;
}

int SettingsStore::ReadInt(const std::string& key, const std::string& value, int otherwise) const {
    std::optional<std::string> text = Read(key, value);
    return text ? ParseLeadingInteger(*text) : otherwise;
}

bool SettingsStore::Write(const std::string& key, const std::string& value, const std::string& text,
                          std::string* error) const {
    if (m_userFile.empty()) {
        *error = "there is no folder for settings; set HOME or XDG_CONFIG_HOME";
        return false;
    }
    return IniFile::Edit(
        m_userFile, [&](IniFile& file) { file.Set(key, value, text); }, error);
}
