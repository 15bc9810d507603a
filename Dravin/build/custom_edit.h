// From the items of a distribution to items that are edited by hand.
#pragma once

#include <vector>

#include "Dravin/engine/stored_items.h"
#include "host/math/interval.h"

class TDravin;
struct TDravinItem;
struct TStoredItem;

// What a build made of a stored item, into that item.
void KeepResults(const TDravinItem& item, TStoredItem& stored);

enum class FrozenItems { kAll, kInView };

// Replaces the object's stored items by the items that its rules give at time t, so that custom
// edit mode starts from what generate mode showed: seeds, sizes, frames and geometry stay, heights
// are stored without the items' z offset, which is added again at every build. kInView leaves out
// what a camera that limits does not see. Display limits do not thin them, and overlapping items go
// as in a render: custom edit mode removes none. Called while `mode` is still generate mode.
//
// A build that fails, or an object outside a scene, leaves no stored items.
void ConvertToCustomEdit(TDravin& object, TimeValue t, FrozenItems which = FrozenItems::kAll);

// The items that it would store. Empty for an object outside a scene.
std::vector<TStoredItem> FrozenItemsOf(TDravin& object, TimeValue t, FrozenItems which);
