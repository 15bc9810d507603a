// How items look: mirrored or not, tint, frame, shadows, animation sample.
#pragma once

#include "Dravin/engine/item_lanes.h"

struct TBuildInput;

// Of all lanes that are left, which have their place and normal.
void SetLooks(const TBuildInput& input, TItemLanes& lanes);

class TDravinItemList;
// Tints of a finished list under other ranges or colours, in place, by all threads of the input.
// Colours of a tint map stay. For lists that no effect program wrote to.
void TintAgain(const TBuildInput& input, TDravinItemList& items);
