// A closed outline for the benchmarks of areas: a wavy ring over the middle of a ground of
// 1000 x 500.
#pragma once

#include <cmath>
#include <vector>

#include "host/geom/poly_line.h"
#include "host/math/point.h"

inline std::vector<Point2> WavyOutline(int numSegments) {
    std::vector<Point2> corners;
    for (int k = 0; k < numSegments; ++k) {
        double t = 2 * 3.14159265358979323846 * k / numSegments;
        double r = 1 + 0.25 * std::sin(7 * t) + 0.1 * std::sin(31 * t) + 0.03 * std::sin(97 * t);
        corners.push_back({float(500 + 330 * r * std::cos(t)), float(250 + 180 * r * std::sin(t))});
    }
    return corners;
}

inline PolyShape WavyShape(int numSegments) {
    PolyLine line;
    line.closed = true;
    for (Point2 p : WavyOutline(numSegments)) line.points.push_back({p.x, p.y, 0});
    PolyShape shape;
    shape.lines.push_back(std::move(line));
    return shape;
}
