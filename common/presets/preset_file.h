// Presets in a file: named sections of lines `parameter=value`, in the form of an INI file.
//
// The presets of one class stand in sections that begin with its name; "Class.Name" holds preset
// "Name". Names count without regard to case. A file may hold presets of several classes and
// anything else; all of that stays when a preset changes. Writing goes through a lock, so that
// programs that save at the same time lose nothing, and replaces the file as a whole. No object is
// needed here; PresetStore knows what the lines mean.
#pragma once

#include <string>
#include <vector>

#include "host/base/ini_file.h"

enum class [[nodiscard]] PresetStatus : int{
    kDone = 0,
    kBadName = 1,         // no name that a section can have
    kNoSuchPreset = 2,    // no file, no section, or an empty one
    kUnreadable = 3,      // the file is there and cannot be read
    kTooLarge = 4,        // the file, or a list in it
    kNotWritten = 5,      // the file is as it was
    kNothingApplied = 6,  // no line is about a parameter of the object
    kNameTaken = 7,
};

struct PresetResult {
    PresetStatus status = PresetStatus::kDone;
    std::string error;  // for users: what is wrong, where, and what helps
    std::vector<std::string> warnings;

    explicit operator bool() const { return status == PresetStatus::kDone; }
};

class PresetFile {
public:
    static constexpr uint64_t kLargestFile = 16 << 20;

    PresetFile(std::string path, std::string className)
        : m_path(std::move(path)), m_className(std::move(className)) {}

    const std::string& Path() const { return m_path; }

    // Names in the order of the file. Every section counts that begins with the class name,
    // whatever the character behind it; what follows that is the name. A file that does not exist
    // has none.
    PresetResult List(std::vector<std::string>* names) const;

    // The lines of a preset. With an empty name those of the first section, whatever it is; `name`
    // becomes what follows the class name and its point, or the whole name of another section.
    PresetResult Read(std::string* name, IniFile::Entries* lines) const;
    // Writes a preset in place of the one of that name; the file is made where there is none.
    PresetResult Write(const std::string& name, const IniFile::Entries& lines) const;
    // Writes a file with this preset and nothing else.
    PresetResult WriteAlone(const std::string& name, const IniFile::Entries& lines) const;
    PresetResult Delete(const std::string& name) const;
    // Refuses a name that is taken by another preset.
    PresetResult Rename(const std::string& name, const std::string& newName) const;

private:
    std::string SectionOf(const std::string& name) const { return m_className + "." + name; }
    PresetResult Load(IniFile* file) const;
    PresetResult NotThere(const IniFile& file, const std::string& name) const;
    std::vector<std::string> NamesIn(const IniFile& file) const;

    std::string m_path, m_className;
};

// Why a text cannot name a preset; empty where it can.
std::string PresetNameFault(const std::string& name);
