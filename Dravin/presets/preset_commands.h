// What users do with presets in the panel of a scatter object, without a window: choose, save,
// delete, export and import. Questions and messages go to the user-interface port. One thread.
#pragma once

#include <string>
#include <vector>

#include "Dravin/presets/dravin_presets.h"

class TPresetCommands {
public:
    // path: of the presets file; the object must outlive this.
    explicit TPresetCommands(TDravin& object, std::string path = DravinPresetsPath());

    // Names for the list; none where the file cannot be read.
    std::vector<std::string> Names() const;

    // Each is true when it has done something: the user agreed, and it worked.
    bool Choose(const std::string& name);
    bool Save(const std::string& name);
    bool Delete(const std::string& name);
    // Writes a file of one preset, which takes the file's base name; ".ope" is added where the path
    // has another ending. Asks for the file where none is given, and offers one of that name.
    bool Export(std::string path = {}, const std::string& name = {});
    // Loads the first preset of a file, which it asks for where none is given.
    bool Import(std::string path = {});

private:
    bool Finish(const PresetResult& result, const std::string& failure, const char* caption);

    TDravin& m_object;
    std::string m_path;
};
