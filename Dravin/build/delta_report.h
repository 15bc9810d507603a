// What became of an object's changes of single items in a build.
#pragma once

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item_deltas.h"

// Counts the deltas that a build has found, and names those whose items it has not made. That can
// be told only of a build that makes all items there are: not of a part, of a display that leaves
// items out, or of what a camera sees.
void CountDeltas(const TBuildInput& input, TBuildStatistics& statistics);

// "2 changed, 1 deleted, 3 without their item"; empty where the object has none.
std::string DeltaText(const TDeltaCounts& counts);
// What to tell of items that are no longer there; empty where none are missed.
std::string MissingItemsText(const TDeltaCounts& counts);
