// The six simple shapes that may stand for an item's own mesh.
//
// All lie in the unit range, base at z = 0 and top at z = 1, so that an item's width, depth and
// height apply as they do to a source of unit size. They are made once, shared by all objects, and
// live as long as the process. Thread safe.
#pragma once

#include "host/geom/mesh.h"

enum TProxyShape {
    kProxyPlane,
    kProxyPyramid,
    kProxyBox,
    kProxyThinBox,
    kProxyPlant,
    kProxyArrow,
    kNumProxyShapes
};

// Shapes beyond the six are the plane.
const Mesh& ProxyShapeMesh(int shape);
