// The matrix of an item from its parts, for loops over many items.
#pragma once

#include <cstdint>

#include "host/math/matrix3.h"

// The parts, as item lists store them.
struct TItemTransformParts {
    Point3 position, axisX, axisY, axisZ;
    float width = 1, depth = 1, height = 1;
    bool isMirrored = false;
    int32_t centerPercent = 50;
};

// As ItemTransform (transforms.h), which is made of this.
inline Matrix3 TransformOfParts(const TItemTransformParts& parts, bool scaleOnSlope,
                                float factor = 1) {
    float x = parts.width, y = parts.depth, z = parts.height;
    if (scaleOnSlope) {
        float vertical = parts.axisZ.z;
        x /= vertical;
        y /= vertical;
    }
    Matrix3 t{{parts.axisX, parts.axisY, parts.axisZ, {}}};
    t.PreScale({(parts.isMirrored ? -x : x) * factor, y * factor, z * factor});
    t.SetTrans(parts.position);
    if (parts.centerPercent != 50) t.PreTranslate({(50 - float(parts.centerPercent)) / 100, 0, 0});
    return t;
}
