// Items that were edited by hand, as they are kept.
#pragma once

#include <cstdint>

#include "host/math/color.h"
#include "host/math/matrix3.h"

struct TStoredItem {
    Point3 storedPosition;  // object space, without the item's z offset
    uint32_t seed = 0;
    int specimenIndex = 0;  // row of the geometry list, modulo its length
    Point3 sizeFactor{1, 1, 1};
    Matrix3 sourceTransform;  // x axis: reference direction; z axis: normal
    int elementIndex = 0;     // taken into the elements that the row has
    int userId = 0;
    bool selected = false;

    // What the last build made of it, kept for those who read files: builds make it anew.
    bool discarded = false, mirrored = false;
    Point3 position;
    float width = 0, height = 0;
    Point3 scale{1, 1, 1};
    Color tintColor;
    float tintBlend = 0;
    float zOffset = 0;
    int animationOffset = 0;

    friend bool operator==(const TStoredItem&, const TStoredItem&) = default;
};
