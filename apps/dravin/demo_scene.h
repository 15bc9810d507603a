// The demo's scene: a valley with a lake, a meadow, a rock field and a forest of six species.
//
// Written as a person would write it: a scene description with comments, images for the terrain and
// the masks beside it, and copies of the models, so that the folder can be moved, read, changed and
// built again on its own. Three smaller scenes that come ready made lie beside it.
#pragma once

#include <string>

inline constexpr double kDemoItems = 1.2e6;

struct DemoOptions {
    std::string dataFolder;     // the product's data: models/ and scenes/ are copied from it
    double items = kDemoItems;  // how many items to aim at, 1000 .. 1e8; the grids follow
};

// Creates `folder` and writes into it forest.json, wall.json, autumn.json and boulders.json, the
// images that they name (images/…) and the models (models/…). False with a reason in `error`; what
// was written by then stays.
bool WriteDemoScene(const std::string& folder, const DemoOptions& options, std::string* error);
