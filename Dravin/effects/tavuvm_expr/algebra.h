// What the operators compute, by the kinds of their operands: the language's arithmetic.
//
// Integers wrap in 32 bits, reals and vectors are single precision. These functions are the meaning
// of the operators; the lanes of the batch machine (lane_kernels.cpp) give the same bits.
#pragma once

#include <cmath>
#include <limits>

#include "Dravin/effects/tavuvm_expr/opcodes.h"
#include "Dravin/effects/tavuvm_expr/value.h"

namespace tavuvm_expr::algebra {

// Reals nearer than this are equal; a divisor nearer to 0 counts as 0.
inline constexpr float tolerance = 1.1920929e-07f;
inline constexpr float infinity = std::numeric_limits<float>::infinity();

inline bool is_near_zero(float r) { return r > -tolerance && r < tolerance; }

// --- integers
inline int32_t add(int32_t a, int32_t b) { return int32_t(uint32_t(a) + uint32_t(b)); }
inline int32_t sub(int32_t a, int32_t b) { return int32_t(uint32_t(a) - uint32_t(b)); }
inline int32_t mult(int32_t a, int32_t b) { return int32_t(uint32_t(a) * uint32_t(b)); }
// A divisor of 0 gives 0; the least integer by -1 wraps.
inline int32_t div(int32_t a, int32_t b) { return b == 0 ? 0 : b == -1 ? sub(0, a) : a / b; }
inline int32_t mod(int32_t a, int32_t b) { return b == 0 || b == -1 ? 0 : a % b; }
inline int32_t pow(int32_t a, int32_t b) { return truncated(std::pow(float(a), float(b))); }
inline int32_t log_and(int32_t a, int32_t b) { return (a & b) != 0; }
inline int32_t log_or(int32_t a, int32_t b) { return (a | b) != 0; }
inline int32_t shift_left(int32_t a, int32_t b) { return int32_t(uint32_t(a) << (b & 31)); }
// Logical: a negative number loses its sign.
inline int32_t shift_right(int32_t a, int32_t b) { return int32_t(uint32_t(a) >> (b & 31)); }

// --- reals
// A divisor near 0 gives positive infinity, whatever the sign of the dividend.
inline float div(float a, float b) { return is_near_zero(b) ? infinity : a / b; }
inline float mod(float a, float b) { return is_near_zero(b) ? infinity : std::fmod(a, b); }
inline bool equal(float a, float b) { return std::fabs(a - b) < tolerance; }

// --- vectors
inline vector3 add(const vector3& a, float b) { return {a.x + b, a.y + b, a.z + b}; }
inline vector3 sub(const vector3& a, float b) { return {a.x - b, a.y - b, a.z - b}; }
inline vector3 mult(const vector3& a, float b) { return {a.x * b, a.y * b, a.z * b}; }
inline vector3 div(const vector3& a, float b) { return {div(a.x, b), div(a.y, b), div(a.z, b)}; }
inline vector3 add(const vector3& a, const vector3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline vector3 sub(const vector3& a, const vector3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline float dot(const vector3& a, const vector3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline vector3 cross(const vector3& a, const vector3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline bool equal(const vector3& a, const vector3& b) {
    return equal(a.x, b.x) && equal(a.y, b.y) && equal(a.z, b.z);
}
inline float length(const vector3& v) { return std::sqrt(dot(v, v)); }
// The vector divided by its length; unchanged when that is 0.
inline vector3 unit(const vector3& v) {
    float l = length(v);
    return is_near_zero(l) ? v : vector3{v.x / l, v.y / l, v.z / l};
}

// Applies a binary operator to two values. False: the operator does not exist for these kinds;
// programs of the compiler come here only when the branches of an `if` differ in kind.
bool apply(opcode op, const value& left, const value& right, value* result);

value negated(const value& v);

// A value as a variable of a kind keeps it.
inline value converted(const value& v, value_kind kind) {
    if (v.kind() == kind) return v;
    switch (kind) {
        case value_kind::integer:
            return v.to_integer();
        case value_kind::real:
            return v.to_real();
        case value_kind::vector:
            return v.to_vector();
    }
    return v;
}

}  // namespace tavuvm_expr::algebra
