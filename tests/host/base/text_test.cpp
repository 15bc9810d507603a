#include "host/base/text.h"

#include <gtest/gtest.h>

namespace {

TEST(ParseNumber, TakesWholeTextsWithADecimalPointOnly) {
    EXPECT_EQ(ParseNumber("-1.5e2"), -150.0);
    EXPECT_FALSE(ParseNumber("1,5"));
    EXPECT_FALSE(ParseNumber("1x"));
    EXPECT_FALSE(ParseNumber(""));
    EXPECT_EQ(ParseInteger("42"), 42);
    EXPECT_FALSE(ParseInteger("4.2"));
}

TEST(FormatNumber, ReadsBackAsTheSameFloat) {
    for (float f : {0.1f, 1e20f, -3.4028235e38f, 1.17549435e-38f, 16777217.0f})
        EXPECT_EQ(float(*ParseNumber(FormatNumber(f))), f);
    EXPECT_EQ(FormatNumber(0.1f), "0.1");
}

TEST(FormatCount, SwitchesAtAThousandAndAboveAMillion) {
    EXPECT_EQ(FormatCount(1000), "1000");
    EXPECT_EQ(FormatCount(1001), "1.0K");
    EXPECT_EQ(FormatCount(1500), "1.5K");
    EXPECT_EQ(FormatCount(1000000), "1000.0K");
    EXPECT_EQ(FormatCount(2500000), "2.5M");
    EXPECT_EQ(FormatCount(-5), "-5");
}

TEST(FormatGrouped, GroupsThousands) {
    EXPECT_EQ(FormatGrouped(0), "0");
    EXPECT_EQ(FormatGrouped(999), "999");
    EXPECT_EQ(FormatGrouped(1234567), "1,234,567");
    EXPECT_EQ(FormatGrouped(-123456), "-123,456");
}

TEST(Split, CountsEmptyFields) {
    EXPECT_EQ(Split("a;;b;", ';'), (std::vector<std::string>{"a", "", "b", ""}));
    EXPECT_EQ(Split("", ';'), (std::vector<std::string>{""}));
}

TEST(NearestName, FindsTyposAndNothingFar) {
    std::vector<std::string> names{"sphere", "spline", "box"};
    EXPECT_EQ(NearestName("shpere", names), "sphere");
    EXPECT_EQ(NearestName("splien", names), "spline");
    EXPECT_EQ(NearestName("bx", names), "box");
    EXPECT_EQ(NearestName("elephant", names), "");
    EXPECT_EQ(DidYouMean("bx", names), ", did you mean \"box\"?");
    EXPECT_EQ(DidYouMean("elephant", names), "");
}

TEST(CutText, CountsCharactersAndNeverSplitsOne) {
    EXPECT_EQ(CutText("h\xC3\xA4user", 2), "h\xC3\xA4");
    EXPECT_EQ(CutText("abc", 5), "abc");
    EXPECT_EQ(CutText("abc", 0), "");
}

TEST(ListedNames, SaysHowManyAreLeftOut) {
    EXPECT_EQ(ListedNames({}), "");
    EXPECT_EQ(ListedNames({"oak"}), "\"oak\"");
    EXPECT_EQ(ListedNames({"a", "b", "c"}, 3), "\"a\", \"b\", \"c\"");
    EXPECT_EQ(ListedNames({"a", "b", "c", "d", "e"}, 2), "\"a\", \"b\" and 3 more");
}

}  // namespace

TEST(FirstLine, IsShortAndWhole) {
    EXPECT_EQ(FirstLine("\n  first line \r\nsecond"), "first line");
    EXPECT_EQ(FirstLine(" \n"), "");
    EXPECT_EQ(FirstLine(std::string(300, 'x')), std::string(300, 'x'));
    EXPECT_EQ(FirstLine(std::string(5000, 'x')), std::string(300, 'x') + "...");
}
