// The opacity maps that quads show where they come from the materials of items.
#pragma once

#include <unordered_map>

#include "Dravin/geometry/specimen_list.h"
#include "host/scene/shadow_type.h"

struct TOpacityMaps {
    Texmap *vertical = nullptr, *horizontal = nullptr;  // null: none
};

// Of a material: through multi-materials (their first entry) and wrapper materials, which name
// maps, down to a standard material, whose opacity map serves upright quads where nobody names one.
TOpacityMaps FindOpacityMaps(Mtl* material, TimeValue t);

// By source, for all rows of a build. The maps are brought to time t; what could not be prepared is
// told.
using TOpacityTables = std::unordered_map<const TSpecBuildNode*, TOpacityMaps>;
TOpacityTables MakeOpacityTables(const TSpecBuildList& specimens, TimeValue t, IShadowScene& scene);
