// How items look: mirrored or not, tint, frame, shadows, animation sample.
#pragma once

#include "Dravin/engine/item_lanes.h"

struct TBuildInput;

// Of all lanes that are left, which have their place and normal.
void SetLooks(const TBuildInput& input, TItemLanes& lanes);
