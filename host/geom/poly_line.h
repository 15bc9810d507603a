// Polylines and shapes made of them: the form in which splines and outlines reach their users.
//
// Points are in the space of whoever made the line. A closed line runs from its last point back to
// its first, which is not repeated. Plain data.
#pragma once

#include <vector>

#include "host/math/box.h"
#include "host/math/matrix3.h"

struct PolyLine {
    std::vector<Point3> points;
    bool closed = false;

    // 0 for fewer than two points; a closed line has as many as points, an open one less by one.
    size_t NumSegments() const { return points.size() < 2 ? 0 : points.size() - (closed ? 0 : 1); }
    friend bool operator==(const PolyLine&, const PolyLine&) = default;
};

struct PolyShape {
    std::vector<PolyLine> lines;

    Box3 BoundingBox() const {
        Box3 box;
        for (const PolyLine& line : lines)
            for (const Point3& p : line.points) box += p;
        return box;
    }
    void Transform(const Matrix3& m) {
        for (PolyLine& line : lines)
            for (Point3& p : line.points) p = p * m;
    }
    friend bool operator==(const PolyShape&, const PolyShape&) = default;
};
