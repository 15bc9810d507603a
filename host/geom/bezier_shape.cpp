#include "host/geom/bezier_shape.h"

#include <algorithm>

Point3 BezierPoint(const BezierKnot& a, const BezierKnot& b, float t) {
    float s = 1 - t;
    return a.p * (s * s * s) + (a.p + a.out) * (3 * s * s * t) + (b.p + b.in) * (3 * s * t * t) +
           b.p * (t * t * t);
}

PolyShape MakePolyShape(const BezierShape& shape) {
    PolyShape result;
    int steps = std::max(shape.steps, 0);
    for (const BezierSpline& spline : shape.splines) {
        PolyLine& line = result.lines.emplace_back();
        line.closed = spline.closed;
        size_t n = spline.knots.size();
        for (size_t k = 0; k < n; ++k) {
            const BezierKnot &a = spline.knots[k], &b = spline.knots[(k + 1) % n];
            line.points.push_back(a.p);
            bool isLast = k + 1 == n;
            bool isStraight = a.out == Point3{} && b.in == Point3{};
            if (isStraight || n < 2 || (isLast && !spline.closed)) continue;
            for (int i = 1; i <= steps; ++i)
                line.points.push_back(BezierPoint(a, b, float(i) / float(steps + 1)));
        }
    }
    return result;
}
