// Presets of scatter objects: all parameters but those that say what an object is, not how it
// scatters (the version that saved it, its id for renderers, the editing mode).
//
// They lie in one file of the user's, dravin_presets.ini in the configuration folder, and travel in
// files of one preset with the ending .ope. Falloff curves, maps and keys are not part of a preset.
// A current HostContext is needed; its scene is where nodes and materials are found by name.
#pragma once

#include <string>

#include "common/presets/preset_file.h"

class TDravin;

// The user's file; empty where no configuration folder is known.
std::string DravinPresetsPath();
PresetFile DravinPresetFile(const std::string& path);

PresetResult SaveDravinPreset(TDravin& object, const std::string& name, const std::string& path);
// Writes a file that holds this preset alone, under the file's base name.
PresetResult ExportDravinPreset(TDravin& object, const std::string& path);
// Gives the object the values of a preset (an empty name: the file's first, whose name it becomes)
// and brings the rest in line: lists of one table become equally long, templates follow their
// names, curves of effects their texts. One undo step.
PresetResult LoadDravinPreset(TDravin& object, std::string* name, const std::string& path);
