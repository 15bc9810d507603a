#include <gtest/gtest.h>

#include "host/base/input_limit.h"

namespace {

class InputLimitTest : public testing::Test {
protected:
    void TearDown() override { SetInputLimit(kDefaultInputLimit); }
};

TEST_F(InputLimitTest, TheLimitItselfIsAllowedAndOneByteMoreNamesTheOption) {
    SetInputLimit(uint64_t{3} << 20);
    EXPECT_EQ(OverInputLimit(uint64_t{3} << 20), "");
    EXPECT_EQ(OverInputLimit((uint64_t{3} << 20) + 1),
              "would take 4 MiB of memory, one input may take 3; --input-limit 4 allows it");
}

TEST_F(InputLimitTest, WhatTheTextSuggestsSuffices) {
    SetInputLimit(1);
    uint64_t bytes = 123456789;  // 117.7 MiB
    EXPECT_NE(OverInputLimit(bytes).find("--input-limit 118 "), std::string::npos);
    SetInputLimit(uint64_t{118} << 20);
    EXPECT_EQ(OverInputLimit(bytes), "");
}

TEST_F(InputLimitTest, NoLimitAllowsEverything) {
    SetInputLimit(kNoInputLimit);
    EXPECT_EQ(OverInputLimit(kNoInputLimit), "");
    EXPECT_EQ(RaisedByInputLimit(7), kNoInputLimit);
}

TEST_F(InputLimitTest, OtherLimitsGrowAlongAndNeverShrink) {
    EXPECT_EQ(RaisedByInputLimit(7), 7u);
    SetInputLimit(1);
    EXPECT_EQ(RaisedByInputLimit(7), 7u);
    SetInputLimit(kDefaultInputLimit + 1);
    EXPECT_EQ(RaisedByInputLimit(7), kDefaultInputLimit + 1);
    EXPECT_EQ(RaisedByInputLimit(kDefaultInputLimit + 2), kDefaultInputLimit + 2);
}

}  // namespace
