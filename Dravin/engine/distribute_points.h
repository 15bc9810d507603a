// Items at points that the scene supplies: along paths, at reference objects or on the faces of
// reference meshes, and at particles.
#pragma once

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item_list.h"

// Runs the input's path, reference or particle distribution; appends in the order of the points.
// kTooManyItems: above the limits, or no reference object at all; kNoReference: a particle source
// that is no particle system.
TBuildResult DistributePoints(const TBuildInput& input, const TGeometryChoice& geometry,
                              TDravinItemList& items, TBuildStatistics& statistics);
