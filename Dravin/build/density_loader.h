// Finds and loads the distribution-map image of an object.
#pragma once

#include <string>

#include "Dravin/engine/density_map.h"

// The file that a stored map name stands for: as it is when absolute, else beside the scene, else
// in the distribution-map library. Empty when it is in none of them.
std::string FindDistMapFile(const std::string& mapName, const std::string& sceneFile);

// Pixels of that image with their pass flags; empty with a reason when it cannot be loaded.
TDensityMap LoadDensityMap(const std::string& mapName, const std::string& sceneFile,
                           int thresholdPercent, std::string* error);
