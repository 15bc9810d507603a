// Between two keys: linear and Bezier interpolation of everything that can have keys.
//
// Numbers, points and colours run component by component, whole numbers rounded to the nearest
// (halves away from zero), rotations along the shorter arc. What has nothing between (truth values,
// texts, references) steps: the earlier value holds.
#pragma once

#include <cmath>
#include <concepts>
#include <cstdint>

#include "host/math/color.h"
#include "host/math/matrix3.h"

namespace key_math {

// At u of 0..1 between a and b.
inline float Linear(float a, float b, double u) {
    return float(double(a) + (double(b) - double(a)) * u);
}
inline int32_t Linear(int32_t a, int32_t b, double u) {
    return int32_t(std::round(double(a) + (double(b) - double(a)) * u));
}
inline bool Linear(bool a, bool, double) { return a; }
inline Point3 Linear(const Point3& a, const Point3& b, double u) { return a + (b - a) * float(u); }
inline Color Linear(const Color& a, const Color& b, double u) { return a + (b - a) * float(u); }
inline Quat Linear(const Quat& a, const Quat& b, double u) { return Slerp(a, b, float(u)); }

// Weights of a cubic Bezier curve's start, its two handles and its end. The handles are relative to
// the value that they belong to, so the ends carry theirs with them.
struct BezierWeights {
    double start, out, in, end;

    explicit BezierWeights(double u) {
        double v = 1 - u, first = v * v * v, second = 3 * v * v * u, third = 3 * v * u * u;
        start = first + second, out = second, in = third, end = third + u * u * u;
    }
};

template <std::floating_point T>
T Bezier(T a, T out, T in, T b, const BezierWeights& w) {
    return T(double(a) * w.start + double(out) * w.out + double(in) * w.in + double(b) * w.end);
}
inline int32_t Bezier(int32_t a, int32_t out, int32_t in, int32_t b, const BezierWeights& w) {
    double v = Bezier(double(a), double(out), double(in), double(b), w);
    return int32_t(std::round(std::fmin(std::fmax(v, -2147483648.0), 2147483647.0)));
}
inline bool Bezier(bool a, bool, bool, bool, const BezierWeights&) { return a; }
inline Point3 Bezier(const Point3& a, const Point3& out, const Point3& in, const Point3& b,
                     const BezierWeights& w) {
    return {Bezier(a.x, out.x, in.x, b.x, w), Bezier(a.y, out.y, in.y, b.y, w),
            Bezier(a.z, out.z, in.z, b.z, w)};
}
inline Color Bezier(const Color& a, const Color& out, const Color& in, const Color& b,
                    const BezierWeights& w) {
    return {Bezier(a.r, out.r, in.r, b.r, w), Bezier(a.g, out.g, in.g, b.g, w),
            Bezier(a.b, out.b, in.b, b.b, w)};
}
// Component by component and then of unit length, as glTF has its cubic splines.
inline Quat Bezier(const Quat& a, const Quat& out, const Quat& in, const Quat& b,
                   const BezierWeights& w) {
    return Quat{Bezier(a.x, out.x, in.x, b.x, w), Bezier(a.y, out.y, in.y, b.y, w),
                Bezier(a.z, out.z, in.z, b.z, w), Bezier(a.w, out.w, in.w, b.w, w)}
        .Normalized();
}

}  // namespace key_math

// How a type runs between keys; to be specialised for types that key_math has nothing for.
template <class T>
struct KeyMath {
    static T Linear(const T& a, const T& b, double u) { return key_math::Linear(a, b, u); }
    static T Bezier(const T& a, const T& out, const T& in, const T& b,
                    const key_math::BezierWeights& w) {
        return key_math::Bezier(a, out, in, b, w);
    }
};
