// The making of items: one road from the cells of a source to the list.
//
//     cells  a batch of a source's cells (item_cells.h), which dropped what the map is against
//     draw   the random values of each, and the row of the geometry list that it shows
//     lanes  one for each element of that row, which steps place, size, land, judge and finish
//            (item_steps.h)
//     again  programs may ask for another geometry or placement: such cells are built once more
//     list   what is left, in the order of the cells and their elements
//
// Pieces of the source run on several threads and join in their order, so that the items do not
// depend on the number of threads. A build may be told to make a part of all pieces, for one of
// several machines; the parts' items one after the other are those of the whole.
#pragma once

#include "Dravin/engine/build_items.h"
#include "Dravin/engine/item_cells.h"

// Appends the items of all sources to the list, or gives them to the input's consumer and leaves
// the list as it was. Statistics: what the steps count is added, and how many items were made. The
// items are the same for any number of threads. Not kOk: the items are more than the build may
// make.
TBuildStatus ProduceItems(const TBuildInput& input, const TGeometryChoice& geometry,
                          const TItemSources& sources, TDravinItemList& items,
                          TBuildStatistics& statistics);
