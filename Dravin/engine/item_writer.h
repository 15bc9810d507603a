// From lanes to the item list.
#pragma once

#include <span>

#include "Dravin/engine/item_cells.h"
#include "Dravin/engine/item_list.h"

// Lanes `kept`, in rising order, as items behind those of the appender.
void AppendLanes(const TItemLanes& lanes, const TCells& cells, std::span<const uint32_t> kept,
                 TDravinItemList& items, TDravinItemList::Appender& appender);
