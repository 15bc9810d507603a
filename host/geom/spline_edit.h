// Changes of single points of Bezier shapes: knots and their handles.
//
// Knots are counted through all splines of a shape, from 0. A handle whose knot is smooth lies
// opposite to its twin, whatever their lengths. No state; any thread.
#pragma once

#include <compare>
#include <cstddef>
#include <optional>
#include <span>

#include "host/geom/bezier_shape.h"

enum class SplinePart { kKnot, kIn, kOut };

// A knot of a shape, or one of its handles.
struct SplinePoint {
    size_t knot = 0;
    SplinePart part = SplinePart::kKnot;
    friend auto operator<=>(const SplinePoint&, const SplinePoint&) = default;
};

struct KnotPlace {
    size_t spline = 0, knot = 0;  // the knot in its spline
};

size_t NumKnots(const BezierShape& shape);
// None: the shape has fewer knots.
std::optional<KnotPlace> FindKnot(const BezierShape& shape, size_t number);
// Where a point is; of one that does not exist the origin.
Point3 PlaceOf(const BezierShape& shape, const SplinePoint& point);
// Of the segment a -> b: straight ones are gone along evenly, others as BezierPoint does.
Point3 SegmentPoint(const BezierKnot& a, const BezierKnot& b, float t);
// Moves a knot with its handles, or a handle; the twin of a smooth one turns with it, keeping its
// length.
void MovePoint(BezierShape& shape, const SplinePoint& point, const Point3& to);
// Whether both handles are there, opposite to each other.
bool IsSmooth(const BezierKnot& knot);

// A knot on the segment behind a knot, at t in (0, 1); the curve keeps its form. The number of the
// new one; none: there is no such segment.
std::optional<size_t> InsertKnot(BezierShape& shape, size_t knot, float t);
// Splines of fewer than two knots go too.
void DeleteKnots(BezierShape& shape, std::span<const size_t> knots);
// Handles along the line through both neighbours, a third as long as the way to them; none at the
// end of an open spline's outer side.
void MakeSmooth(BezierShape& shape, size_t knot);
// No handles.
void MakeCorner(BezierShape& shape, size_t knot);
// The spline of that knot. False: it has fewer than three knots and stays open, or is so already.
bool SetClosed(BezierShape& shape, size_t knot, bool isClosed);
