// BuildItemArray: a build input in, an item list out.
#pragma once

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item_list.h"

// Runs the distribution of the input into `items`, which is emptied and prepared first. Statistics:
// cells, counts and decimation are set. On a result other than kOk the list is empty. The items are
// the same for any number of threads. The input must outlive the list, whose items draw their
// random values again from its settings.
TBuildStatus BuildItemArray(const TBuildInput& input, TDravinItemList& items,
                            TBuildStatistics& statistics);

// What the first include group of the input's areas covers; without one, the surfaces where they
// are the ground by themselves. Object space; empty when there is no ground.
Box3 ScatterBounds(const TBuildInput& input);

// Size of the distribution map that suits ground of these bounds: 100 metres, or 25 where neither
// side of the ground reaches 2 metres. In scene units, of which one is `unitScale` metres.
float AutomaticMapSize(const Box3& bounds, double unitScale);
