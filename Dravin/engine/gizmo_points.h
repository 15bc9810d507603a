// Corners of the distribution map's tiles on the ground, which a viewport draws.
#pragma once

#include <vector>

#include "Dravin/engine/distribute_grid.h"

// Places of the first cell of every tile of the group's grid that lies inside the areas and on the
// ground: object space, tile by tile from the bottom. Decimation does not thin them.
std::vector<Point3> GizmoPoints(const TBuildInput& input, const TGridGroup& group,
                                const TGrid& grid);
