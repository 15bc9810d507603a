#include "Dravin/engine/falloff_curve.h"

#include <algorithm>
#include <cmath>

namespace {

double Bezier(double a, double b, double c, double d, double t) {
    double s = 1 - t;
    return s * s * s * a + 3 * s * s * t * b + 3 * s * t * t * c + t * t * t * d;
}

double BezierSlope(double a, double b, double c, double d, double t) {
    double s = 1 - t;
    return 3 * (s * s * (b - a) + 2 * s * t * (c - b) + t * t * (d - c));
}

// Parameter at which an increasing Bezier reaches x: Newton's steps, held inside a shrinking
// bracket.
double ParameterAt(double x0, double x1, double x2, double x3, double x) {
    double low = 0, high = 1, t = (x - x0) / (x3 - x0);
    for (int i = 0; i < 52; ++i) {
        double f = Bezier(x0, x1, x2, x3, t) - x;
        (f < 0 ? low : high) = t;
        double next = t - f / BezierSlope(x0, x1, x2, x3, t);
        if (!(next > low && next < high)) next = 0.5 * (low + high);
        if (std::abs(next - t) < 1e-15) return next;
        t = next;
    }
    return t;
}

// Value of the segment p..q at x, which lies between p.px and q.px. Bisection keeps to one branch
// even where handles make the segment double back.
double SegmentValue(const CurvePoint& p, const CurvePoint& q, double x) {
    double x0 = p.px, x1 = x0 + p.outx, x3 = q.px, x2 = x3 + q.inx;
    double y0 = p.py, y1 = y0 + p.outy, y3 = q.py, y2 = y3 + q.iny;
    if (p.outx == 0 && p.outy == 0 && q.inx == 0 && q.iny == 0)
        return y0 + (y3 - y0) * (x - x0) / (x3 - x0);
    if (x1 >= x0 && x1 <= x3 && x2 >= x0 && x2 <= x3)
        return Bezier(y0, y1, y2, y3, ParameterAt(x0, x1, x2, x3, x));
    double low = 0, high = 1;
    for (int i = 0; i < 52; ++i) {
        double middle = 0.5 * (low + high);
        (Bezier(x0, x1, x2, x3, middle) < x ? low : high) = middle;
    }
    return Bezier(y0, y1, y2, y3, high);
}

bool IsFinite(const CurvePoint& p) {
    return std::isfinite(p.px) && std::isfinite(p.py) && std::isfinite(p.inx) &&
           std::isfinite(p.iny) && std::isfinite(p.outx) && std::isfinite(p.outy);
}

}  // namespace

BezierCurve::BezierCurve(std::span<const CurvePoint> given) {
    std::copy_if(given.begin(), given.end(), std::back_inserter(m_points), IsFinite);
    std::stable_sort(m_points.begin(), m_points.end(),
                     [](const CurvePoint& a, const CurvePoint& b) { return a.px < b.px; });
}

float BezierCurve::Value(float x) const {
    if (m_points.empty()) return 0;
    // The segment that ends at the first point not left of x.
    auto end = std::lower_bound(m_points.begin(), m_points.end(), x,
                                [](const CurvePoint& p, float at) { return p.px < at; });
    if (end == m_points.end()) return m_points.back().py;
    if (end == m_points.begin()) return m_points.front().py;
    return float(SegmentValue(*(end - 1), *end, x));
}

FalloffCurve::FalloffCurve(std::span<const CurvePoint> given) {
    std::vector<CurvePoint> points;
    std::copy_if(given.begin(), given.end(), std::back_inserter(points), IsFinite);
    if (points.empty()) return;
    std::stable_sort(points.begin(), points.end(),
                     [](const CurvePoint& a, const CurvePoint& b) { return a.px < b.px; });

    size_t segment = 0;
    for (int i = 0; i < kTableSize; ++i) {
        double x = double(i) / double(kTableSize - 1);
        while (segment + 1 < points.size() && double(points[segment + 1].px) < x) ++segment;
        double value = points[segment].py;
        if (x > double(points[segment].px) && segment + 1 < points.size())
            value = SegmentValue(points[segment], points[segment + 1], x);
        m_table[size_t(i)] = float(value);
    }
}

FalloffCurve FalloffCurve::Line(float y0, float y1) {
    const CurvePoint ends[2] = {{.px = 0, .py = y0}, {.px = 1, .py = y1}};
    return FalloffCurve(ends);
}
