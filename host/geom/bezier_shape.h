// Cubic Bezier splines and their polylines.
//
// A segment runs from knot a to the next one, b, with control points a.p, a.p + a.out, b.p + b.in
// and b.p. A segment whose two handles are zero is straight. Plain data.
#pragma once

#include <vector>

#include "host/geom/poly_line.h"

struct BezierKnot {
    Point3 p;
    Point3 in{}, out{};  // handles, relative to p

    friend bool operator==(const BezierKnot&, const BezierKnot&) = default;
};

struct BezierSpline {
    std::vector<BezierKnot> knots;
    bool closed = false;

    friend bool operator==(const BezierSpline&, const BezierSpline&) = default;
};

struct BezierShape {
    std::vector<BezierSpline> splines;
    int steps = 6;  // points between two knots; below 0 counts as 0

    friend bool operator==(const BezierShape&, const BezierShape&) = default;
};

// Point of the segment a -> b at t in [0, 1] (de Casteljau's polynomial form).
Point3 BezierPoint(const BezierKnot& a, const BezierKnot& b, float t);

// One line a spline, in order. Knots become points exactly; curved segments get `steps` points at
// even parameter steps between their knots, straight ones none.
PolyShape MakePolyShape(const BezierShape& shape);
