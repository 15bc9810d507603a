// What item lists do not store, worked out of what they do.
#pragma once

#include "Dravin/engine/item_cells.h"
#include "Dravin/engine/item_list.h"

// Of the items that a build makes of these sources. The input outlives what is returned, the
// sources need not.
ItemCompleter CompleterOf(const TBuildInput& input, const TItemSources& sources);
