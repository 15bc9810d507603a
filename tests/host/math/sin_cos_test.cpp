#include "host/math/sin_cos.h"

#include <algorithm>
#include <limits>

#include <gtest/gtest.h>

namespace {

// How far a float is from a number, in units of its last place.
double ErrorInUlps(float found, double exact) {
    float nearest = float(exact);
    double ulp = double(std::nextafter(std::abs(nearest), 2.0f)) - double(std::abs(nearest));
    return std::abs(double(found) - exact) / ulp;
}

}  // namespace

TEST(SinCosOf, IsWithinABitMoreThanHalfAUnitOfTheLastPlace) {
    double worst = 0;
    for (int64_t i = -200000; i <= 200000; ++i) {
        auto x = float(double(i) * 0.000314159);
        SinCos a = SinCosOf(x);
        worst = std::max({worst, ErrorInUlps(a.sin, std::sin(double(x))),
                          ErrorInUlps(a.cos, std::cos(double(x)))});
    }
    for (float x = 1; x <= kLargestReduced; x *= 1.0007f) {
        SinCos a = SinCosOf(x);
        worst = std::max({worst, ErrorInUlps(a.sin, std::sin(double(x))),
                          ErrorInUlps(a.cos, std::cos(double(x)))});
    }
    EXPECT_LT(worst, 0.51);
}

TEST(SinCosOf, QuarterTurnsComeOut) {
    EXPECT_EQ(SinCosOf(0).sin, 0);
    EXPECT_EQ(SinCosOf(0).cos, 1);
    for (int n = -8; n <= 8; ++n) {
        SinCos a = SinCosOf(float(n) * 1.57079637f);
        const float sines[] = {0, 1, 0, -1};
        EXPECT_NEAR(a.sin, sines[(n + 8) % 4], 1e-6);
        EXPECT_NEAR(a.cos, sines[(n + 9) % 4], 1e-6);
    }
}

TEST(SinCosOf, WhatIsTooLargeOrNoNumberGoesTheLibrarysWay) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (float x : {2e6f, -3e30f}) {
        EXPECT_EQ(SinCosOf(x).sin, std::sin(x));
        EXPECT_EQ(SinCosOf(x).cos, std::cos(x));
    }
    for (float x : {kInfinity, -kInfinity, std::nanf("")}) {
        EXPECT_TRUE(std::isnan(SinCosOf(x).sin));
        EXPECT_TRUE(std::isnan(SinCosOf(x).cos));
    }
}
