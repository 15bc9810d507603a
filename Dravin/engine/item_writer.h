// Lanes to records: what is kept of finished items.
#pragma once

#include <span>

#include "Dravin/engine/item_cells.h"
#include "Dravin/engine/item_list.h"

// Where a finished lane stands and how large it is.
ItemPlace PlaceOf(const TItemLanes& lanes, const TCells& cells, size_t k);

// Appends lanes in the order given.
void AppendLanes(const TItemLanes& lanes, const TCells& cells, std::span<const uint32_t> kept,
                 TDravinItemList& items, TDravinItemList::Appender& appender);
