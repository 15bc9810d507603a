// Every operator with every pair of types, and the edges of its arithmetic.
#include <gtest/gtest.h>

#include "tests/Dravin/effects/tavuvm_expr/test_language.h"

namespace tavuvm_expr {

namespace {

// Printed values of expressions, separated by blanks.
std::string Values(std::initializer_list<const char*> expressions) {
    std::string source;
    for (const char* e : expressions) source += std::string("print ") + e + ";";
    std::string text = Printed(source);
    for (char& c : text)
        if (c == '\n') c = ' ';
    return text.empty() ? text : text.substr(0, text.size() - 1);
}

// Results of one operator in the order ii ir iv ri rr rv vi vr vv; "-": the pair does not compile.
struct OperatorCase {
    const char* op;
    const char* results[9];
};

constexpr const char* lefts[] = {"9", "2.25", "[1, 2, 3]"};
constexpr const char* rights[] = {"2", "0.5", "[4, 5, 6]"};

}  // namespace

TEST(Operators, EveryPairOfTypesHasItsResultOrIsRefused) {
    const OperatorCase cases[] = {
        {"+",
         {"11", "9.5", "[13,14,15]", "4.25", "2.75", "[6.25,7.25,8.25]", "[3,4,5]", "[1.5,2.5,3.5]",
          "[5,7,9]"}},
        // A number minus a vector is the vector minus the number.
        {"-",
         {"7", "8.5", "[-5,-4,-3]", "0.25", "1.75", "[1.75,2.75,3.75]", "[-1,0,1]", "[0.5,1.5,2.5]",
          "[-3,-3,-3]"}},
        {"*",
         {"18", "4.5", "[36,45,54]", "4.5", "1.125", "[9,11.25,13.5]", "[2,4,6]", "[0.5,1,1.5]",
          "32"}},
        {"/", {"4", "18", "-", "1.125", "4.5", "-", "[0.5,1,1.5]", "[2,4,6]", "-"}},
        {"%", {"1", "-", "-", "-", "0.25", "-", "-", "-", "-"}},
        {"^", {"81", "3", "-", "5.0625", "1.5", "-", "-", "-", "[-3,6,-3]"}},
        {"==", {"0", "0", "-", "0", "0", "-", "-", "-", "0"}},
        {"!=", {"1", "1", "-", "1", "1", "-", "-", "-", "1"}},
        {"<", {"0", "0", "-", "0", "0", "-", "-", "-", "-"}},
        {"<=", {"0", "0", "-", "0", "0", "-", "-", "-", "-"}},
        {">", {"1", "1", "-", "1", "1", "-", "-", "-", "-"}},
        {">=", {"1", "1", "-", "1", "1", "-", "-", "-", "-"}},
        {"&&", {"0", "-", "-", "-", "-", "-", "-", "-", "-"}},
        {"||", {"1", "-", "-", "-", "-", "-", "-", "-", "-"}},
        {"<<", {"36", "-", "-", "-", "-", "-", "-", "-", "-"}},
        {">>", {"2", "-", "-", "-", "-", "-", "-", "-", "-"}},
    };
    for (const OperatorCase& c : cases)
        for (int i = 0; i < 9; ++i) {
            std::string source =
                std::string("print ") + lefts[i / 3] + " " + c.op + " " + rights[i % 3] + ";";
            std::string wanted = std::string(c.results[i]) + "\n";
            if (wanted == "-\n")
                wanted = "Compile error. Operands are not compatible at line 1:\n" + source +
                         "\n      ^\n";
            EXPECT_EQ(Printed(source), wanted) << source;
        }
}

TEST(Operators, ComparisonsHoldBothWays) {
    EXPECT_EQ(Values({"2 < 9", "2 < 9.5", "0.5 < 2", "0.5 < 2.25"}), "1 1 1 1");
    EXPECT_EQ(Values({"2 <= 2", "2 <= 2.0", "2.0 <= 2", "3 <= 2"}), "1 1 1 0");
    EXPECT_EQ(Values({"2 >= 2", "2 >= 2.0", "1 >= 2", "-1 > -2"}), "1 1 0 1");
    EXPECT_EQ(Values({"2 > 2", "2 < 2"}), "0 0");
    EXPECT_EQ(Values({"9 == 9", "9 == 9.0", "[1,2,3] == [1,2,3]", "[1,2,3] != [1,2,3]"}),
              "1 1 1 0");
    EXPECT_EQ(Printed("int x; x = 1 >= 2; print x;"), "0\n");
}

TEST(Operators, BooleansAreIntegers) {
    EXPECT_EQ(Values({"true", "false", "true + 1", "true && true", "!true", "true << 3"}),
              "1 0 2 1 0 8");
    EXPECT_EQ(Printed("int x = true; real r = true; print x; print r / 2;"), "1\n0.5\n");
    EXPECT_EQ(Values({"true == 1", "true * 2.5"}), "1 2.5");
}

// --- integers

TEST(Operators, IntegersWrapIn32Bits) {
    EXPECT_EQ(Values({"2147483647 + 1", "-2147483647 - 2", "65536 * 65536", "2147483647 * 2"}),
              "-2147483648 2147483647 0 -2");
    EXPECT_EQ(Values({"-(0 - 2147483647 - 1)"}), "-2147483648");
}

TEST(Operators, IntegerDivisionTruncates) {
    EXPECT_EQ(Values({"7 / 2", "-7 / 2", "7 / -2", "-7 / -2"}), "3 -3 -3 3");
    EXPECT_EQ(Values({"7 % 2", "-7 % 2", "7 % -2", "-7 % -2"}), "1 -1 1 -1");
}

TEST(Operators, AnIntegerDividedByZeroIsZero) {
    EXPECT_EQ(Values({"7 / 0", "7 % 0", "0 / 0", "-7 % 0"}), "0 0 0 0");
}

TEST(Operators, TheLeastIntegerByMinusOneWraps) {
    EXPECT_EQ(Printed("int least = -2147483647 - 1; print least / -1; print least % -1;"),
              "-2147483648\n0\n");
}

TEST(Operators, IntegerPowersGoThroughReals) {
    EXPECT_EQ(Values({"2 ^ 10", "(-2) ^ 3", "2 ^ -1", "0 ^ 0", "7 ^ 0"}), "1024 -8 0 1 1");
    // 3 ^ 17 is 129140163, between two floats that lie 8 apart.
    EXPECT_EQ(Values({"3 ^ 17"}), "129140160");
    EXPECT_EQ(Values({"2 ^ 31", "(-2) ^ 33", "0 ^ -1"}), "2147483647 -2147483648 2147483647");
}

TEST(Operators, IntegersCompareExactly) {
    EXPECT_EQ(Values({"16777217 == 16777216", "16777217 > 16777216"}), "0 1");
    EXPECT_EQ(Values({"16777217 == 16777216.0", "16777217 > 16777216.0"}), "1 0");
}

TEST(Operators, LogicIsBitwiseFirst) {
    EXPECT_EQ(Values({"2 && 1", "2 & 3", "2 && 3", "1 || 2", "0 || 0", "-1 && 4"}), "0 1 1 1 0 1");
}

TEST(Operators, BothSidesOfLogicAreEvaluated) {
    EXPECT_EQ(Printed("print 0 && round(1.0 / 0.0);"), "error 1");
    EXPECT_EQ(Printed("print 1 || round(1.0 / 0.0);"), "error 1");
}

TEST(Operators, ShiftsCountModulo32AndAreLogical) {
    EXPECT_EQ(Values({"-8 >> 1", "1 << 33", "1 << 31", "1 << -1", "-1 >> -1", "-1 >> 32"}),
              "2147483644 2 -2147483648 -2147483648 1 -1");
}

TEST(Operators, GroupingDecidesIntegerDivisions) {
    EXPECT_EQ(Printed("int x; x = 2 * 7 / 2; print x;"), "6\n");
    EXPECT_EQ(Printed("int x; x = 7 / 2 * 2; print x;"), "6\n");
    EXPECT_EQ(Values({"7 + 3 - 2 - 1", "10 - 4 + 3", "2 ^ 3 ^ 2", "100 / 10 / 5"}), "7 9 512 2");
}

// --- reals

TEST(Operators, ARealDividedByNearlyZeroIsPositiveInfinity) {
    EXPECT_EQ(Values({"7.0 / 0.0", "-7.0 / 0.0", "0.0 / 0.0", "7 / 0.0", "7.0 / 0"}),
              "inf inf inf inf inf");
    EXPECT_EQ(Values({"-1.0 / 0.0000001", "1.0 / (0.0 - 0.0000001)"}), "inf inf");
    // The tolerance itself, 2^-23, divides: 1 / 2^-23 is 8388608.
    EXPECT_EQ(Values({"1.0 / 0.00000011920929", "-1.0 / 0.00000011920929"}), "8388608 -8388608");
}

TEST(Operators, TheRealRemainderHasTheSignOfTheDividend) {
    EXPECT_EQ(Values({"5.5 % 2.0", "-5.5 % 2.0", "5.5 % -2.0"}), "1.5 -1.5 1.5");
    EXPECT_EQ(Values({"5.5 % 0.0", "-5.5 % 0.0000001"}), "inf inf");
}

TEST(Operators, RealsAreEqualBelowTheTolerance) {
    EXPECT_EQ(Values({"0.1 + 0.2 == 0.3", "0.1 + 0.2 != 0.3"}), "1 0");
    // 1 + 2^-23 is a tolerance away, 0.5 + 2^-24 half of one.
    EXPECT_EQ(Values({"1.0 == 1.00000011920929", "0.5 == 0.50000005960464477539"}), "0 1");
    // The difference of two infinities is no number.
    EXPECT_EQ(Values({"1.0 / 0.0 == 1.0 / 0.0", "1.0 / 0.0 != 1.0 / 0.0"}), "0 1");
    EXPECT_EQ(Values({"0.50000005960464477539 > 0.5"}), "1");  // orders know no tolerance
}

TEST(Operators, NotANumberIsNothingsEqual) {
    EXPECT_EQ(Values({"sqrt(-1) == sqrt(-1)", "sqrt(-1) < 1", "sqrt(-1) >= 1"}), "0 0 0");
}

TEST(Operators, RealArithmeticIsSinglePrecision) {
    EXPECT_EQ(Values({"16777216.0 + 1.0", "0.1 * 3", "1.0 / 3.0"}),
              "16777216 0.300000012 0.333333343");
    EXPECT_EQ(Values({"2.0 ^ 0.5", "(-8.0) ^ 2"}), "1.41421354 64");
}

// --- vectors

TEST(Operators, AVectorDividedByNearlyZeroIsInfinite) {
    EXPECT_EQ(Values({"[1, -2, 0] / 0.0", "[1, -2, 0] / 0"}), "[inf,inf,inf] [inf,inf,inf]");
}

TEST(Operators, VectorsAreEqualComponentByComponent) {
    EXPECT_EQ(Values({"[1,2,3] == [1,2,4]", "[0.1,0,0] + [0.2,0,0] == [0.3,0,0]"}), "0 1");
}

TEST(Operators, NumbersMinusVectorsAreSwapped) {
    EXPECT_EQ(Values({"1.0 - [1, 2, 3]", "[1, 2, 3] - 1.0", "1 - [1, 2, 3]"}),
              "[0,1,2] [0,1,2] [0,1,2]");
}

TEST(Operators, TheProductOfVectorsIsAReal) {
    EXPECT_EQ(Printed("real d = [1,0,0] * [0,1,0]; print d;"), "0\n");
    EXPECT_EQ(ErrorLine("vector d = [1,0,0] * [0,1,0];"),
              "Compile error. Invalid assignment at line 1:");
}

// --- one operand

TEST(Operators, NegationKeepsTheKind) {
    EXPECT_EQ(Values({"-(5)", "-2.5", "-[1, -2, 0]", "-(7) / 2", "-0.0"}),
              "-5 -2.5 [-1,2,-0] -3 -0");
}

TEST(Operators, NotNeedsAnInteger) {
    EXPECT_EQ(Values({"!0", "!5", "!(-1)", "!false"}), "1 0 0 1");
    const char* wrong = "Compile error. Wrong operand. Expected integer value at line 1:";
    EXPECT_EQ(ErrorLine("print !1.5;"), wrong);
    EXPECT_EQ(ErrorLine("print ![1, 2, 3];"), wrong);
}

TEST(Operators, OperatorsThatAreNotBinary) {
    EXPECT_EQ(ErrorLine("print 1 ! 2;"), "Compile error. Operands are not compatible at line 1:");
}

// --- kinds that only the run knows

TEST(Operators, TheKindOfTheValueRules) {
    // Declared integers whose values are reals.
    EXPECT_EQ(Values({"ceil(3.5) / 3", "floor(3.5) / 2", "trunc(7.9) / 2"}), "1.33333337 1.5 3.5");
    EXPECT_EQ(Values({"ceil(2.5) % 2", "ceil(2.5) << 1", "!floor(0.5)", "ceil(0.5) && 3"}),
              "1 6 1 1");
    // Declared reals that keep an integer.
    EXPECT_EQ(Values({"min(7, 9.5) / 2", "max(7, 2.5) / 2", "if(1, 7, 2.5) / 2"}), "3 3 3");
}

TEST(Operators, AConversionOfARealOutsideTheRangeGivesItsEnd) {
    EXPECT_EQ(Printed("int x = 3000000000.0; print x; x = -3000000000.0; print x;"),
              "2147483647\n-2147483648\n");
    EXPECT_EQ(Printed("int x = sqrt(-1); print x;"), "0\n");
}

TEST(Operators, KindsThatNoOperatorTakesStopTheRun) {
    EXPECT_EQ(Printed("print if(1, [1, 2, 3], 2) % 2;"), "error 1");
    EXPECT_EQ(Printed("print if(0, [1, 2, 3], 5) % 2;"), "1\n");
    EXPECT_EQ(Printed("print 2 / if(1, [1, 2, 3], 2);"), "error 1");
    EXPECT_EQ(Printed("print if(1, [1, 2, 3], 2) < 2;"), "error 1");
}

}  // namespace tavuvm_expr
