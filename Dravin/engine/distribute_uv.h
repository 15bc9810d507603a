// Image mode in texture space: the distribution map laid over each surface's mapping.
#pragma once

#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item_cells.h"

// Adds a source for each surface that has a mapping. Items come in the order of surfaces and cells.
// Statistics: the cell count and the decimation of the last one are set.
TBuildStatus LaySurfaces(const TBuildInput& input, const TGeometryChoice& geometry,
                         TItemSources& sources, TBuildStatistics& statistics);
