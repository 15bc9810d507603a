// The scalar forms of the built-in functions on plain numbers, shared by the machine's library and
// the lanes of the batch machine.
#pragma once

#include <cmath>
#include <numbers>

#include "Dravin/effects/tavuvm_expr/algebra.h"
#include "common/nurandom/nurandom.h"

namespace tavuvm_expr::builtins {

inline float rad_to_deg(float x) { return float(double(x * 180.0f) * (1 / std::numbers::pi)); }
inline float deg_to_rad(float x) { return float(double(x) * std::numbers::pi * (1.0 / 180.0)); }

// Whether `round` and `trunc` have a result: whole numbers of 32 bits.
inline bool fits_integer(float whole) { return whole >= -2147483648.0f && whole < 2147483648.0f; }

// Between a and b, in either order, at u in (0, 1).
inline float random_between(float u, float a, float b) {
    return a <= b ? a + u * (b - a) : b + u * (a - b);
}
inline float random_real(TNuRandom& random, float a, float b) {
    return random_between(random.Random(), a, b);
}
// A whole number from a to b, in either order, for an output of a generator.
inline int32_t whole_between(uint32_t output, int32_t a, int32_t b) {
    return TNuRandom::ScaleToRange(output, a <= b ? a : b, a <= b ? b : a);
}
inline int32_t random_int(TNuRandom& random, int32_t a, int32_t b) {
    return whole_between(random.Step(), a, b);
}

// Place of x in [x0, x1]; infinite in an empty interval.
inline float ease_place(float x, float x0, float x1) {
    return std::fabs(x1 - x0) < algebra::tolerance ? algebra::infinity : (x - x0) / (x1 - x0);
}
inline float ease_in(float t, float p) { return std::pow(t, p); }
inline float ease_out(float t, float p) { return 1 - std::pow(1 - t, p); }
inline float ease_in_out(float t, float p) {
    return t < 0.5f ? std::pow(2 * t, p) * 0.5f : 1 - std::pow(2 * (1 - t), p) * 0.5f;
}
inline float ease_value(float y0, float y1, float s) { return y0 + (y1 - y0) * s; }

}  // namespace tavuvm_expr::builtins
