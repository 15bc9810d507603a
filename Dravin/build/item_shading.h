// What materials want to know of the items of a build, for all who show them.
#pragma once

#include <span>
#include <vector>

#include "Dravin/materials/tint.h"
#include "host/math/interval.h"

class TDravin;
class TDravinBuild;

// How an object tints, and how it blends tints in.
struct TObjectTint {
    TTintSettings settings;
    int blend = 0;
};
TObjectTint ReadObjectTint(const TDravin& object, TimeValue t);

// Of an item of the list. Its random values are drawn again, which is slow at every hit: whoever
// asks often reads all beforehand, in the order of `items`. The build must have an input.
TShadedItem ReadShadedItem(const TDravinBuild& build, uint32_t item);
std::vector<TShadedItem> ReadShadedItems(const TDravinBuild& build,
                                         std::span<const uint32_t> items);
