#include "host/base/utf8.h"

#include <gtest/gtest.h>

namespace {

TEST(Utf8, TakesTheFirstAndLastOfEveryLength) {
    for (std::string_view good :
         {"", "plain", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF",
          "\xEE\x80\x80", "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF",
          "seven..\xC3\xA4 and more"})
        EXPECT_TRUE(IsUtf8(good)) << good;
    EXPECT_TRUE(IsUtf8(std::string_view("\0", 1)));
}

TEST(Utf8, RefusesWhatTheStandardRefuses) {
    // Tails alone, leads alone, overlong forms, surrogates, beyond U+10FFFF, leads that are none.
    for (std::string_view bad :
         {"\x80", "\xBF", "\xC3", "\xE2\x82", "\xF0\x9F\x98", "\xC0\x80", "\xC1\xBF",
          "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF4\x90\x80\x80",
          "\xF5\x80\x80\x80", "\xFF", "eight...\xC3", "\xC3z"}) {
        EXPECT_FALSE(IsUtf8(bad)) << bad;
        EXPECT_TRUE(IsUtf8(MendUtf8(bad)));
    }
}

TEST(Utf8, MendsEveryByteThatBelongsToNothing) {
    EXPECT_EQ(MendUtf8("a\xFF\xC3\xA4\xE2\x82z"), "a\xEF\xBF\xBD\xC3\xA4\xEF\xBF\xBD\xEF\xBF\xBDz");
    EXPECT_EQ(MendUtf8("good"), "good");
}

}  // namespace
