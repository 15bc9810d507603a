// Transforms as glTF wants them: translation, rotation, scale.
#pragma once

#include "host/math/matrix3.h"

// The x scale is negative when the transform mirrors; shear is left out. Axes of length zero get
// any direction that makes the rotation proper. The rotation is a unit quaternion.
struct GltfPlacement {
    Point3 translation;
    Quat rotation;
    Point3 scale;
};
GltfPlacement PlaceForGltf(const Matrix3& m);

// Whether two axes are not at right angles, to about 1e-4 radians.
bool HasShear(const Matrix3& m);
