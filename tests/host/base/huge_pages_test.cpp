#include "host/base/huge_pages.h"

#include <gtest/gtest.h>

#include <algorithm>

TEST(HugePages, ResizingIsAsEver) {
    std::vector<int> array;
    for (size_t size : {size_t{0}, size_t{3}, size_t{3} << 20, size_t{5}, size_t{4} << 20}) {
        size_t before = array.size();
        ResizeInHugePages(array, size);
        ASSERT_EQ(array.size(), size);
        size_t kept = std::min(before, size);
        EXPECT_TRUE(std::all_of(array.begin(), array.begin() + std::ptrdiff_t(kept),
                                [](int v) { return v == 7; }));
        EXPECT_TRUE(std::all_of(array.begin() + std::ptrdiff_t(kept), array.end(),
                                [](int v) { return v == 0; }));
        std::fill(array.begin(), array.end(), 7);
    }
}

// Whatever part of a page it is asked for, nothing beyond is touched.
TEST(HugePages, AWishChangesNothing) {
    std::vector<char> bytes(size_t{5} << 20, 9);
    for (size_t first : {size_t{0}, size_t{1}, size_t{4095}, size_t{4096}})
        WantHugePages(bytes.data() + first, bytes.size() - first - 1);
    WantHugePages(nullptr, 0);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 9), std::ptrdiff_t(bytes.size()));
}
