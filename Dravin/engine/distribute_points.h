// Items at points that the scene supplies: along paths, at reference objects or on the faces of
// reference meshes, and at particles.
#pragma once

#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item_cells.h"

// Adds the sources of the input's path, reference or particle distribution; items come in the order
// of the points. kTooManyItems: above the limits, or no reference object at all; kNoReference: a
// particle source that is no particle system.
TBuildStatus LayPoints(const TBuildInput& input, TItemSources& sources,
                       TBuildStatistics& statistics);
