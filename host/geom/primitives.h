// Ready-made meshes: plane, box, sphere, cone, cylinder.
//
// Lengths are scene units and may be zero or negative (taken as given: a flat or turned-out shape);
// segment counts below the least that a shape needs are raised to it, counts above kMaxSegments are
// lowered to that. Every mesh is closed (but for the plane), faces outwards, has welded vertices,
// material id 0, smoothing bits, hidden diagonals and mapping channel 1 over [0, 1] x [0, 1].
#pragma once

#include "host/geom/mesh.h"

inline constexpr int kMaxSegments = 4096;

// In the XY plane, centred on the origin, facing +z; u runs along x, v along y.
Mesh MakePlane(float width, float length, int widthSegments = 1, int lengthSegments = 1);

// Width along x, length along y, height along z; the base is centred on the origin. Each side shows
// the whole texture and has a smoothing bit of its own.
Mesh MakeBox(float width, float length, float height, int segments = 1);

// Centred on the origin, poles on z. `segments` (at least 3) run round the axis, half as many (at
// least 2) from pole to pole; u runs round the axis from +x, v from the lower pole to the upper.
Mesh MakeSphere(float radius, int segments = 32);

// Base disc at z = 0, tip at (0, 0, height). The base's texture is its plan.
Mesh MakeCone(float radius, float height, int segments = 32);

// Discs at z = 0 and z = height, one smoothing bit each for side, bottom and top.
Mesh MakeCylinder(float radius, float height, int segments = 32);
