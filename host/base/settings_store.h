// Settings of programs on this machine: named values below keys, kept in INI files.
//
// There is a machine-wide part, which is only read, and one of the user, which is read before it
// and takes what is written. A key is the path of a section, such as "Maker\Product\Window".
#pragma once

#include <optional>
#include <string>
#include <vector>

class SettingsStore {
public:
    // userFile: empty where there is none; what is written then fails. machineFiles: the first that
    // has a value counts.
    SettingsStore(std::string userFile, std::vector<std::string> machineFiles);
    // The files settings.ini in the folder `name` of $XDG_CONFIG_HOME and of $XDG_CONFIG_DIRS, or
    // where these stand when unset.
    static SettingsStore OfUser(const std::string& name);

    std::optional<std::string> Read(const std::string& key, const std::string& value) const;
    // Of the machine-wide part alone.
    std::optional<std::string> ReadMachine(const std::string& key, const std::string& value) const;
    // `otherwise` without the value; a text that is no number is 0.
    int ReadInt(const std::string& key, const std::string& value, int otherwise) const;
    // False with a reason in `error`.
    bool Write(const std::string& key, const std::string& value, const std::string& text,
               std::string* error) const;

    const std::string& UserFile() const { return m_userFile; }

private:
    std::string m_userFile;
    std::vector<std::string> m_machineFiles;
};

// The folder `name` of the user's configuration: in $XDG_CONFIG_HOME, else in ~/.config. Empty
// where neither is known.
std::string UserConfigFolder(const std::string& name);
