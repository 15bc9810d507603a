#include "Dravin/effects/tavuvm_expr/value.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/comma_locale.h"

namespace tavuvm_expr {

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
const float notANumber = std::numeric_limits<float>::quiet_NaN();

}  // namespace

TEST(Value, IsACellOf16BytesTaggedByKind) {
    EXPECT_EQ(sizeof(value), 16u);
    EXPECT_EQ(value(7).kind(), value_kind::integer);
    EXPECT_EQ(value(7.0f).kind(), value_kind::real);
    EXPECT_EQ(value(vector3{1, 2, 3}).kind(), value_kind::vector);
    EXPECT_EQ(int(value_kind::integer), 0);
    EXPECT_EQ(int(value_kind::real), 1);
    EXPECT_EQ(int(value_kind::vector), 2);
}

TEST(Value, TheDefaultIsTheIntegerZero) {
    EXPECT_TRUE(value().is_integer());
    EXPECT_EQ(value().integer(), 0);
}

TEST(Value, ReadsAsAReal) {
    EXPECT_EQ(value(-3).to_real(), -3.0f);
    EXPECT_EQ(value(16777217).to_real(), 16777216.0f);  // 24 bits of precision
    EXPECT_EQ(value(2.5f).to_real(), 2.5f);
    EXPECT_EQ(value(vector3{1, 2, 3}).to_real(), 0.0f);
}

TEST(Value, ReadsAsAnInteger) {
    EXPECT_EQ(value(-3).to_integer(), -3);
    EXPECT_EQ(value(2.9f).to_integer(), 2);
    EXPECT_EQ(value(-2.9f).to_integer(), -2);
    EXPECT_EQ(value(vector3{1, 2, 3}).to_integer(), 0);
}

TEST(Value, RealsOutside32BitsGiveTheNearestEnd) {
    EXPECT_EQ(truncated(2147483648.0f), 2147483647);
    EXPECT_EQ(truncated(-2147483648.0f), -2147483647 - 1);
    EXPECT_EQ(truncated(2147483520.0f), 2147483520);  // the largest float below 2^31
    EXPECT_EQ(truncated(-2147483904.0f), -2147483647 - 1);
    EXPECT_EQ(truncated(infinity), 2147483647);
    EXPECT_EQ(truncated(-infinity), -2147483647 - 1);
    EXPECT_EQ(truncated(notANumber), 0);
}

TEST(Value, OnlyAVectorReadsAsAVector) {
    vector3 v = value(vector3{1, 2, 3}).to_vector();
    EXPECT_EQ(v.x, 1);
    EXPECT_EQ(v.y, 2);
    EXPECT_EQ(v.z, 3);
    EXPECT_TRUE(value(value(7).to_vector()).identical(vector3{}));
    EXPECT_TRUE(value(value(7.5f).to_vector()).identical(vector3{}));
}

TEST(Value, TextOfIntegersAndReals) {
    EXPECT_EQ(value(-2147483647 - 1).text(), "-2147483648");
    EXPECT_EQ(value(2.0f).text(), "2");
    EXPECT_EQ(value(0.1f).text(), "0.100000001");  // 9 significant digits
    EXPECT_EQ(value(-0.0f).text(), "-0");
    EXPECT_EQ(value(1e20f).text(), "1.00000002e+20");
    EXPECT_EQ(value(16777216.0f).text(), "16777216");
    EXPECT_EQ(value(1e-5f).text(), "9.99999975e-06");
}

TEST(Value, TextOfWhatIsNotFinite) {
    EXPECT_EQ(value(infinity).text(), "inf");
    EXPECT_EQ(value(-infinity).text(), "-inf");
    EXPECT_EQ(value(std::copysign(notANumber, 1.0f)).text(), "nan");
    EXPECT_EQ(value(std::copysign(notANumber, -1.0f)).text(), "-nan");
}

TEST(Value, TextOfAVector) { EXPECT_EQ(value(vector3{1, -2.5f, infinity}).text(), "[1,-2.5,inf]"); }

TEST(Value, TextKnowsNoDecimalComma) {
    CommaLocale comma;
    EXPECT_EQ(value(1234.5f).text(), "1234.5");
    EXPECT_EQ(value(1234567).text(), "1234567");
}

TEST(Value, IdenticalMeansKindAndBits) {
    EXPECT_TRUE(value(1).identical(1));
    EXPECT_FALSE(value(1).identical(1.0f));
    EXPECT_FALSE(value(0.0f).identical(-0.0f));
    EXPECT_TRUE(value(notANumber).identical(-notANumber));
    EXPECT_FALSE(value(vector3{1, 2, 3}).identical(vector3{1, 2, 4}));
}

}  // namespace tavuvm_expr
