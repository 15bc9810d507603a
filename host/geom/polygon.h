// Triangles of a flat polygon.
#pragma once

#include <span>
#include <vector>

#include "host/geom/mesh.h"

// Splits a polygon of n >= 3 corners into n - 2 triangles of corner indices, appended to
// `triangles`, with the polygon's winding. Concave polygons are cut by ears (Meisters 1975) in the
// plane of the polygon's area vector; convex ones, and those of more than kMaxEarCorners corners or
// without area, become a fan from the first corner.
inline constexpr size_t kMaxEarCorners = 1024;
void TriangulatePolygon(std::span<const Point3> corners, std::vector<Triple>& triangles);

// Visible edges of triangle t of a polygon of n corners: those that are edges of the polygon.
uint8_t PolygonEdgeFlags(const Triple& t, size_t n);
