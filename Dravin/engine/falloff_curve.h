// Falloff curves: what fades density, scale or probability over a measure in [0, 1].
//
// A curve is a piecewise cubic Bezier: each segment runs from a point to the next, with the first
// point's out-handle and the second's in-handle as control offsets; zero handles give a straight
// line. Beyond the first and last point the end values hold. Evaluation reads a table of 1000
// samples over [0, 1] linearly, is const and thread safe, and costs the same for every curve.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

// Stored as it is in files: 28 bytes, little-endian.
struct CurvePoint {
    float px = 0, py = 0;      // position and value
    float inx = 0, iny = 0;    // incoming handle, relative to the point
    float outx = 0, outy = 0;  // outgoing handle, relative to the point
    int32_t flags = 0;         // editor's bits, kept unchanged

    friend bool operator==(const CurvePoint&, const CurvePoint&) = default;
};
static_assert(sizeof(CurvePoint) == 28);

// The shape itself: exact at every x, inside [0, 1] or not. Slower than FalloffCurve; const.
class BezierCurve {
public:
    // Points in any order; those with a coordinate that is not a number are left out.
    explicit BezierCurve(std::span<const CurvePoint> points);

    // 0 without points.
    float Value(float x) const;

private:
    std::vector<CurvePoint> m_points;  // sorted by place
};

class FalloffCurve {
public:
    static constexpr int kTableSize = 1000;

    // The zero curve.
    FalloffCurve() = default;
    // Points in any order; those with a coordinate that is not a number are left out of the shape.
    // No points give the zero curve, one a constant.
    explicit FalloffCurve(std::span<const CurvePoint> points);
    // A straight line from y0 at 0 to y1 at 1.
    static FalloffCurve Line(float y0, float y1);

    // Value at x, which is clamped to [0, 1] (not-a-number counts as 0).
    float Value(float x) const {
        if (!(x > 0)) return m_table.front();
        if (x >= 1) return m_table.back();
        float place = x * float(kTableSize - 1);
        size_t i = size_t(place);
        float u = place - float(i);
        return m_table[i] + (m_table[i + 1] - m_table[i]) * u;
    }

    friend bool operator==(const FalloffCurve&, const FalloffCurve&) = default;

private:
    std::array<float, kTableSize> m_table{};  // sample i stands at i / (kTableSize - 1)
};

// Value of a curve at x, or 100 minus it. Without a curve the result is 1, inverted or not: that is
// on the scale of effect curves, not of percentages.
inline float EvalFalloffCurve(const FalloffCurve* curve, float x, bool invert) {
    if (!curve) return 1.0f;
    float value = curve->Value(x);
    return invert ? 100.0f - value : value;
}
