// Image mode: items born on the cells of a distribution map.
#pragma once

#include "Dravin/engine/build_status.h"
#include "Dravin/engine/source_grid.h"

// Remembers why a ground got no cells.
void NoteEmptyGrid(TGridResult laid, TBuildStatistics& statistics);

// Lays the group's grid and adds it to the sources; the group outlives them. Its items come in the
// order of the cells, row by row from the bottom. Statistics: the decimation is read, the cell
// count set, and the gizmo points added where they are wanted.
TBuildStatus LayGroup(const TBuildInput& input, const TGridGroup& group, TItemSources& sources,
                      TBuildStatistics& statistics);
