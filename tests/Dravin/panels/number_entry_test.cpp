#include "Dravin/panels/number_entry.h"

#include <gtest/gtest.h>

namespace {

// The value of an entry where the field holds `present`; the error as text.
struct Entered {
    double value = 0;
    std::string error;
    bool isRelative = false;
};

Entered Enter(std::string_view text, double present = 0, TNumberForm form = {}) {
    Entered result;
    TNumberEntry entry;
    if (entry.Parse(text, form, &result.error)) entry.Apply(present, &result.value, &result.error);
    result.isRelative = entry.IsRelative();
    return result;
}

}  // namespace

TEST(NumberEntry, ExpressionsFollowTheRulesOfArithmetic) {
    struct Row {
        const char* text;
        double value;
    };
    for (const Row& row :
         {Row{"12.5", 12.5}, Row{"2,5", 2.5}, Row{"2*3", 6}, Row{"(1+2)/4", 0.75}, Row{"1+2*3", 7},
          Row{"-4", -4}, Row{"2--3", 5}, Row{" 10 - 4 - 3 ", 3}, Row{"1e3", 1000},
          Row{"2E-2", 0.02}, Row{".5", 0.5}, Row{"+7", 7}, Row{"-(2+1)*2", -6}, Row{"8/2/2", 2}}) {
        Entered entered = Enter(row.text);
        EXPECT_EQ(entered.error, "") << row.text;
        EXPECT_DOUBLE_EQ(entered.value, row.value) << row.text;
        EXPECT_FALSE(entered.isRelative) << row.text;
    }
}

TEST(NumberEntry, RelativeEntriesChangeThePresentValue) {
    struct Row {
        const char* text;
        double value;  // of 40
    };
    for (const Row& row :
         {Row{"50%", 20}, Row{"50%+1", 21}, Row{"+=5", 45}, Row{"-=5", 35}, Row{"*=2", 80},
          Row{"/=4", 10}, Row{"r10", 50}, Row{"r-10", 30}, Row{"+= 2*3", 46}, Row{"R1", 41}}) {
        Entered entered = Enter(row.text, 40);
        EXPECT_EQ(entered.error, "") << row.text;
        EXPECT_DOUBLE_EQ(entered.value, row.value) << row.text;
        EXPECT_TRUE(entered.isRelative) << row.text;
    }
}

TEST(NumberEntry, LengthsTakeUnits) {
    TNumberForm centimetres{true, 0.01};
    EXPECT_DOUBLE_EQ(Enter("2m", 0, centimetres).value, 200);
    EXPECT_DOUBLE_EQ(Enter("30 cm", 0, centimetres).value, 30);
    EXPECT_DOUBLE_EQ(Enter("2m+5mm", 0, centimetres).value, 200.5);
    EXPECT_DOUBLE_EQ(Enter("1km", 0, centimetres).value, 100000);
    EXPECT_NEAR(Enter("1ft", 0, centimetres).value, 30.48, 1e-9);
    EXPECT_NE(Enter("2m").error, "");
}

TEST(NumberEntry, WhatIsNoNumberSaysWhy) {
    for (const char* text : {"",     "  ",   "abc", "1+",    "(1",  "1)",    "1 2",      "1,2,3",
                             "1..2", "%",    "*3",  "2**3",  "1/0", "1e999", "r",        "+=",
                             "0/0",  "1e40", "--",  "5 %%x", "∞",   "1;2",   "2 furlong"})
        EXPECT_NE(Enter(text, 40).error, "") << text;
    EXPECT_NE(Enter(std::string(10000, '(')).error, "");
    EXPECT_NE(Enter(std::string(900, '-') + "1").error, "");
}

TEST(NumberEntry, ShownNumbersHaveFourDecimalsAtMost) {
    EXPECT_EQ(ShownNumber(0.1f), "0.1");
    EXPECT_EQ(ShownNumber(100), "100");
    EXPECT_EQ(ShownNumber(1.23456), "1.2346");
    EXPECT_EQ(ShownNumber(-0.00001), "0");
    EXPECT_EQ(FullNumber(1.23456f), "1.23456");
}

TEST(NumberEntry, TheCursorSaysWhichDigitSteps) {
    EXPECT_DOUBLE_EQ(StepAtCursor("123.45", 1, 9), 100);
    EXPECT_DOUBLE_EQ(StepAtCursor("123.45", 3, 9), 1);
    EXPECT_DOUBLE_EQ(StepAtCursor("123.45", 6, 9), 0.01);
    EXPECT_DOUBLE_EQ(StepAtCursor("-12", 2, 9), 10);
    EXPECT_DOUBLE_EQ(StepAtCursor("12", 0, 9), 9);   // left of all digits
    EXPECT_DOUBLE_EQ(StepAtCursor("2*3", 3, 9), 9);  // no plain number
}

TEST(NumberEntry, StepsFollowTheSizeOfTheValue) {
    EXPECT_DOUBLE_EQ(StepFor(0, true), 1);
    EXPECT_DOUBLE_EQ(StepFor(5000, true), 100);
    EXPECT_DOUBLE_EQ(StepFor(2, false), 0.01);
    EXPECT_DOUBLE_EQ(StepFor(0, false), 0.1);
}
