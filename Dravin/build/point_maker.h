// Reads the sources of the point distributions from a scatter object: path shapes, reference nodes,
// particle systems.
#pragma once

#include "Dravin/dravin.h"
#include "Dravin/engine/point_input.h"

// At time t, with places brought into the object's space by `objectInverse`; threads: of long
// reference lists. `valid` is narrowed by the sources. Empty list elements are passed over.
TPointInput MakePointInput(const TDravin& object, TimeValue t, const Matrix3& objectInverse,
                           int threads, Interval* valid);
