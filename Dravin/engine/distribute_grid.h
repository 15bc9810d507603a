// Image mode: items born on the cells of a distribution map.
#pragma once

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item_list.h"

// One include group, as the grid sees it.
struct TGridGroup {
    Box3 bounds;                        // distribution frame
    TGridArea overrides;
    const IMapSampler* map = nullptr;   // the group's own map instead of the object's; null: none
    TAreaGeometry rows;
    TItemArea area;
    int index = 0;
};

// Lays the group's grid and distributes it over the build's threads; appends the items in the order
// of the cells, row by row from the bottom. cells: the grid's cell count, for the statistics.
TBuildResult DistributeGroup(const TBuildInput& input, const TGeometryChoice& geometry,
                             const TGridGroup& group, int32_t decimation, TDravinItemList& items,
                             int32_t* cells);
