// Effects on disk, one definition a file: those that ship with the product, and libraries of the
// user's.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Names of the shipped effects, sorted: their files without the ending.
std::vector<std::string> ShippedEffects();

// File of a shipped effect. False with a reason, and the nearest name, when there is none.
bool FindShippedEffect(const std::string& name, std::string* path, std::string* error);

// A library: a folder of effects and further folders. Names are paths below it without the ending,
// joined by "/"; none may leave the folder, be empty or begin with a dot. Each operation is false,
// or empty, with a reason.
class TEffectLibrary {
public:
    explicit TEffectLibrary(std::string folder) : m_folder(std::move(folder)) {}

    struct Entry {
        std::string name;
        bool isFolder = false;
    };
    // What lies in one of its folders ("": itself), by name without regard to case. Hidden files
    // and those that are no effects are left out; links are followed.
    std::optional<std::vector<Entry>> List(const std::string& folder, std::string* error) const;
    // The text of an effect.
    std::optional<std::string> Load(const std::string& name, std::string* error) const;
    // An effect that is there is replaced only where `replaces`.
    bool Save(const std::string& name, const std::string& text, bool replaces, std::string* error);
    // Effects and folders; nothing is there under the new name.
    bool Rename(const std::string& name, const std::string& newName, std::string* error);
    bool MakeFolder(const std::string& name, std::string* error);
    // An effect, or a folder with all in it; links go, not what they lead to.
    bool Delete(const std::string& name, std::string* error);

private:
    std::optional<std::string> PathOf(const std::string& name, std::string* error) const;

    std::string m_folder;
};
