#include "host/base/stream_copy.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <vector>

namespace {

TEST(StreamCopy, CopiesAnyPieceAndNothingBeside) {
    std::vector<uint8_t> source(1000);
    std::iota(source.begin(), source.end(), uint8_t{1});
    for (size_t bytes : {size_t{0}, size_t{1}, size_t{15}, size_t{16}, size_t{144}, size_t{901}})
        for (size_t to : {0, 1, 16})
            for (size_t from : {0, 16, 17}) {
                std::vector<uint8_t> expected(1000, 99), target = expected;
                std::copy_n(&source[from], bytes, &expected[to]);
                StreamCopy(&target[to], &source[from], bytes);
                EXPECT_EQ(target, expected) << bytes << " from " << from << " to " << to;
            }
}

TEST(StreamCopy, TakesNothingFromNowhere) { StreamCopy(nullptr, nullptr, 0); }

}  // namespace
