// An object's parameter values as presets, and back.
//
// Works on whatever has parameter blocks: every parameter of every block is a line under its
// internal name, in block order and inside a block in declaration order, unless the filter leaves
// it out. Animated parameters have their value at one time. Maps, controllers and whatever else
// has no name that could be found again are left out, with a warning. One thread, the object's.
#pragma once

#include "common/presets/preset_file.h"
#include "common/presets/preset_text.h"

class PresetStore {
public:
    // The most elements that a list of a preset may have.
    static constexpr size_t kMostElements = 1 << 16;

    // The blocks must outlive the store.
    explicit PresetStore(std::vector<IParamBlock2*> blocks) : m_blocks(std::move(blocks)) {}

    // The filter: where `leavesOut` is true all parameters pass but those of these names, else
    // these alone.
    std::vector<std::string> names;
    bool leavesOut = true;
    bool IsStored(std::string_view name) const;

    TimeValue time = 0;  // at which values are read
    PresetNamer nameOf;  // of what values refer to; must be set before Save
    NameResolver find;   // and back; must be set before Load

    // The values as a preset of the file.
    PresetResult Save(const PresetFile& file, const std::string& name) const;
    // The same as a file that holds this preset alone.
    PresetResult Export(const PresetFile& file, const std::string& name) const;
    // Gives the parameters the values of a preset; an empty name is as PresetFile::Read says. Lists
    // get as many elements as the preset has, keys go. Whatever a line cannot set is told in a
    // warning. After a failure nothing has changed. One step of undo, and no accessor is called.
    PresetResult Load(const PresetFile& file, std::string* name) const;

private:
    struct Change {
        IParamBlock2* block;
        const ParamDef* def;
        std::vector<ParamElement> elements;
    };
    IniFile::Entries Lines(std::vector<std::string>* warnings) const;
    PresetResult ReadChanges(const IniFile::Entries& lines, std::vector<Change>* changes) const;
    static void Apply(std::vector<Change> changes, const std::string& step);

    std::vector<IParamBlock2*> m_blocks;
};
