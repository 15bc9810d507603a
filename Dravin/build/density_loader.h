// Finds and loads the distribution-map image of an object.
#pragma once

#include <string>

#include "Dravin/engine/density_map.h"
#include "host/io/scene_file.h"

// The file that a stored map name stands for: as it is when absolute, else beside the scene, else
// in the distribution-map library. No path when it is in none of them.
SceneFile FindDistMapFile(const std::string& mapName, const std::string& sceneFile);

struct TDensityLoad {
    TDensityMap map;  // with its pass flags; empty where there is an error
    std::string error;
    bool isLimit = false;  // a limit refused the image; the error names the option that raises it
    std::string warning;   // of the file's place
};
TDensityLoad LoadDensityMap(const std::string& mapName, const std::string& sceneFile,
                            int thresholdPercent);
