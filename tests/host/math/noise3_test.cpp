#include "host/math/noise3.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

TEST(Noise3, VanishesAtLatticePoints) {
    for (int i = -5; i <= 5; ++i) EXPECT_EQ(Noise3({float(i), float(2 * i), float(7 - i)}), 0);
}

TEST(Noise3, StaysInItsRangeAndUsesIt) {
    float least = 1, most = -1;
    double sum = 0;
    constexpr int kSamples = 200000;
    for (int i = 0; i < kSamples; ++i) {
        float f = float(i);
        float n = Noise3({f * 0.137f, std::fmod(f * 0.731f, 511.0f), std::fmod(f * 0.377f, 97.0f)});
        least = std::min(least, n), most = std::max(most, n), sum += n;
    }
    EXPECT_GE(least, -0.55f);
    EXPECT_LE(most, 0.55f);
    EXPECT_LT(least, -0.35f);
    EXPECT_GT(most, 0.35f);
    EXPECT_NEAR(sum / kSamples, 0, 0.01);
}

TEST(Noise3, IsContinuousAcrossCells) {
    constexpr float kStep = 1e-3f;
    for (float x : {0.9999f, -0.0005f, 3.9995f})
        for (float y : {0.3f, -1.7f})
            EXPECT_NEAR(Noise3({x, y, 0.4f}), Noise3({x + kStep, y, 0.4f}), 3 * kStep);
}

TEST(Noise3, SeedsGiveOtherPatterns) {
    int different = 0;
    for (int i = 0; i < 100; ++i) {
        Point3 p{float(i) * 0.31f, 0.5f, 0.25f};
        EXPECT_EQ(Noise3(p, 3), Noise3(p, 3));
        different += Noise3(p, 0) != Noise3(p, 1);
    }
    EXPECT_GT(different, 90);
}

TEST(Noise3, HugeAndUndefinedCoordinatesGiveZero) {
    float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(Noise3({inf, 0, 0}), 0);
    EXPECT_EQ(Noise3({0, std::nanf(""), 0.5f}), 0);
    EXPECT_EQ(Noise3({0.5f, 0.5f, -1e20f}), 0);
    EXPECT_EQ(FractalNoise3({1e30f, 1e30f, 1e30f}, 16), 0);
}

TEST(FractalNoise3, OneLevelIsTheNoiseItself) {
    Point3 p{0.3f, 1.6f, -2.2f};
    EXPECT_EQ(FractalNoise3(p, 1, 9), Noise3(p, 9));
    EXPECT_EQ(FractalNoise3(p, -3, 9), Noise3(p, 9));
    float expected = (Noise3(p, 9) + 0.5f * Noise3(p * 2, 10)) / 1.5f;
    EXPECT_FLOAT_EQ(FractalNoise3(p, 2, 9), expected);
}
