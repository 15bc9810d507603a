// Image mode: items born on the cells of a distribution map.
#pragma once

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item_list.h"

// One include group, as the grid sees it.
struct TGridGroup {
    Box3 bounds;      // distribution frame
    Box3 uncut;       // the same before a camera's view cut them; empty when none did
    TAreaTest areas;  // with the group's settings
    TAreaGeometry rows;
    int index = 0;
};

// The object's settings, with the group's own texture in place of the map.
TGridSettings GroupGrid(const TBuildInput& input, const TAreaSettings& area);

// Remembers why a ground got no cells.
void NoteEmptyGrid(TGridResult laid, TBuildStatistics& statistics);

// Lays the group's grid and distributes it over the build's threads; appends the items in the order
// of the cells, row by row from the bottom. Statistics: the decimation is read, the cell count set,
// and the gizmo points added where they are wanted.
TBuildResult DistributeGroup(const TBuildInput& input, const TGeometryChoice& geometry,
                             const TGridGroup& group, TDravinItemList& items,
                             TBuildStatistics& statistics);
