// Custom edit mode: items that were edited by hand stand in place of a distribution.
//
// A stored item keeps what edits change: its place, seed, geometry, size and frame. Everything else
// follows from the parameters again at every build, by the same steps as for a distributed item:
// random values from the seed, translation, surfaces, camera, scale, rotation, tint. No area and no
// density rule acts on it, and an item that a rule removes stays in the list, marked as discarded,
// so that item i of the list is always stored item i.
#pragma once

#include <cstdint>

#include "Dravin/engine/item_list.h"
#include "host/math/matrix3.h"

class TGeometryChoice;
struct TBuildInput;
struct TBuildStatistics;

struct TStoredItem {
    Point3 storedPosition;  // object space, without the item's z offset
    uint32_t seed = 0;
    int specimenIndex = 0;  // row of the geometry list, modulo its length
    Point3 sizeFactor{1, 1, 1};
    Matrix3 sourceTransform;  // x axis: reference direction; z axis: normal
    int elementIndex = 0;     // taken into the elements that the row has
    int userId = 0;
    bool selected = false;

    friend bool operator==(const TStoredItem&, const TStoredItem&) = default;
};

// Appends the input's stored items to the prepared list in their order. The input has specimens;
// the list of an earlier build that it may name stores the same groups and has an item for each.
// Statistics: the decimation of the display and the number of discarded items are set. The items
// are the same for any number of threads.
void ProcessStoredItems(const TBuildInput& input, const TGeometryChoice& geometry,
                        TDravinItemList& items, TBuildStatistics& statistics);
