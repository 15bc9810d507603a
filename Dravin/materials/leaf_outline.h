// Simplified outlines of splines.
//
// Lines become paths of whole numbers, thousandths of a scene unit; paths lose the points that
// stand no further than a tolerance from what is left (Ramer 1972, Douglas and Peucker 1973), and
// those with an area's worth of points come back as closed lines in the plane z = 0. All arithmetic
// is exact, so that every machine gives the same outline.
#pragma once

#include <cstdint>
#include <vector>

#include "host/geom/poly_line.h"

struct OutlinePoint {
    int64_t x = 0, y = 0;
    friend bool operator==(const OutlinePoint&, const OutlinePoint&) = default;
};
using OutlinePath = std::vector<OutlinePoint>;

// A length in thousandths of a unit: the product in single precision, truncated towards zero. What
// goes beyond 64 bits stays at their end, what is no number is 0.
int64_t OutlineUnits(float length);

// The path without the points that are no further than |tolerance| from the line between their kept
// neighbours. The ends stay; of equally distant points the earlier is kept first. Three points or
// fewer stay as they are.
OutlinePath SimplifiedPath(const OutlinePath& path, int64_t tolerance);

// The outline of a shape: each of its lines simplified by `distance` scene units (its sign does not
// matter), without those of fewer than three points.
PolyShape LeafOutline(const PolyShape& shape, float distance);
