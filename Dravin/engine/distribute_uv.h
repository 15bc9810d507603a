// Image mode in texture space: the distribution map laid over each surface's mapping.
#pragma once

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item_list.h"

// Distributes over all surfaces that have a mapping, one after the other; appends in the order of
// surfaces and cells.
TBuildResult DistributeImageUV(const TBuildInput& input, const TGeometryChoice& geometry,
                               TDravinItemList& items, TBuildStatistics& statistics);
