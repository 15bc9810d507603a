#include "host/base/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

namespace {

template <class T>
std::string Ours(T value) {
    char text[kNumberRoom];
    return {text, WriteNumber(text, value)};
}

template <class T>
std::string Standard(T value) {
    char text[64];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

}  // namespace

TEST(NumberText, KnownFloats) {
    EXPECT_EQ(Ours(0.0f), "0");
    EXPECT_EQ(Ours(-0.0f), "-0");
    EXPECT_EQ(Ours(0.1f), "0.1");
    EXPECT_EQ(Ours(-0.25f), "-0.25");
    EXPECT_EQ(Ours(1.0f / 3), "0.33333334");
    EXPECT_EQ(Ours(16777216.0f), "16777216");
    EXPECT_EQ(Ours(20000.0f), "20000");
    EXPECT_EQ(Ours(100000.0f), "1e+05");
    EXPECT_EQ(Ours(std::numeric_limits<float>::infinity()), "inf");
}

TEST(NumberText, FloatsOfAllSizesAreAsTheStandardWritesThem) {
    std::mt19937 generator(7);
    for (int i = 0; i < 400000; ++i) {
        float value = std::bit_cast<float>(uint32_t(generator()));
        ASSERT_EQ(Ours(value), Standard(value)) << std::bit_cast<uint32_t>(value);
    }
    // Evenly over the range that is worked out here, and a little beyond.
    uint32_t end = std::bit_cast<uint32_t>(2e7f);
    for (uint32_t bits = std::bit_cast<uint32_t>(0.0008f); bits < end; bits += 487) {
        float value = -std::bit_cast<float>(bits);
        ASSERT_EQ(Ours(value), Standard(value)) << bits;
    }
}

TEST(NumberText, NeighboursOfShortNumbers) {
    // Around numbers of few digits, powers of two and powers of ten the shortest text changes most.
    for (float base : {1.f, 2.f, 5.f, 9.f, 1.5f, 0.3f})
        for (float scale = 1e-4f; scale < 2e7f; scale *= 10)
            for (float start : {base * scale, std::exp2(std::round(std::log2(base * scale)))}) {
                float value = std::nextafter(std::nextafter(start, 0.f), 0.f);
                for (int i = 0; i < 5; ++i, value = std::nextafter(value, 1e9f))
                    ASSERT_EQ(Ours(value), Standard(value));
            }
}

TEST(NumberText, WholeNumbers) {
    for (uint32_t power = 1, i = 0; i < 10; ++i, power *= 10)
        for (uint32_t value : {power - 1, power, power + 1}) {
            EXPECT_EQ(Ours(value), std::to_string(value));
            EXPECT_EQ(Ours(-int32_t(value)), std::to_string(-int32_t(value)));
        }
    EXPECT_EQ(Ours(std::numeric_limits<int32_t>::min()), "-2147483648");
    EXPECT_EQ(Ours(std::numeric_limits<uint32_t>::max()), "4294967295");
}

TEST(NumberText, SixDigitsAreThoseOfPrintf) {
    auto ours = [](float value) {
        char text[kNumberRoom];
        return std::string(text, WriteSixDigits(text, value));
    };
    auto expected = [](float value) {
        char text[64];
        std::snprintf(text, sizeof text, "%g", double(value));
        return std::string(text);
    };
    EXPECT_EQ(ours(0.1f), "0.1");
    EXPECT_EQ(ours(-123456.5f), "-123456");  // a tie goes to the even digit
    EXPECT_EQ(ours(1e6f), "1e+06");
    for (float value : {0.f, -0.f, 1e-4f, 9.9999994e-5f, 999999.5f, 999999.44f, 99999.95f, 1e-5f,
                        std::numeric_limits<float>::infinity(), std::numeric_limits<float>::max()})
        EXPECT_EQ(ours(value), expected(value));
    std::mt19937 generator(11);
    for (int i = 0; i < 300000; ++i) {
        float value = std::bit_cast<float>(uint32_t(generator()));
        ASSERT_EQ(ours(value), expected(value)) << std::bit_cast<uint32_t>(value);
    }
    uint32_t end = std::bit_cast<uint32_t>(2e6f);
    for (uint32_t bits = std::bit_cast<uint32_t>(0.00005f); bits < end; bits += 397)
        ASSERT_EQ(ours(-std::bit_cast<float>(bits)), expected(-std::bit_cast<float>(bits))) << bits;
}
