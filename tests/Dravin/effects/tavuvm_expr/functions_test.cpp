// Every built-in function: ordinary arguments, edges, wrong numbers and types of arguments.
#include <cmath>
#include <set>

#include <gtest/gtest.h>

#include "tests/Dravin/effects/tavuvm_expr/test_language.h"

namespace tavuvm_expr {

namespace {

// Result kind and arguments: r real, i integer, v vector, * anything.
struct Signature {
    const char *name, *arguments;
};
constexpr Signature signatures[] = {
    {"sin", "r"},      {"cos", "r"},         {"tan", "r"},          {"asin", "r"},
    {"acos", "r"},     {"atan", "r"},        {"atan2", "rr"},       {"sinh", "r"},
    {"cosh", "r"},     {"tanh", "r"},        {"radToDeg", "r"},     {"degToRad", "r"},
    {"ceil", "r"},     {"floor", "r"},       {"round", "r"},        {"trunc", "r"},
    {"ln", "r"},       {"log", "r"},         {"exp", "r"},          {"pow", "rr"},
    {"sqrt", "r"},     {"abs", "r"},         {"mod", "rr"},         {"min", "rr"},
    {"max", "rr"},     {"length", "v"},      {"unit", "v"},         {"comp", "vi"},
    {"dotprod", "vv"}, {"crossprod", "vv"},  {"randomReal", "rr"},  {"randomInt", "ii"},
    {"if", "***"},     {"easeIn", "rrrrrr"}, {"easeOut", "rrrrrr"}, {"easeInOut", "rrrrrr"},
};

std::string Argument(char type, bool right) {
    bool isVector = type == 'v';
    return isVector == right ? "[1, 2, 3]" : type == 'i' ? "2" : "0.5";
}

// A call whose argument `wrong` has a type that the function does not take; -1: none.
std::string Call(const Signature& s, int wrong = -1) {
    std::string call = s.name;
    for (int i = 0; s.arguments[i]; ++i)
        call += (i ? ", " : "(") + Argument(s.arguments[i], i != wrong);
    return call + ")";
}

float Real(const std::string& expression) {
    value v = Result(expression);
    EXPECT_TRUE(v.is_real()) << expression;
    return v.real();
}

std::string Text(const std::string& expression) { return Result(expression).text(); }

constexpr double pi = 3.14159265358979323846;

}  // namespace

// --- all of them

TEST(Functions, TheLibraryHoldsThem) {
    function_library library;
    library.add_builtins();
    EXPECT_EQ(library.size(), std::size(signatures));
    for (const Signature& s : signatures) {
        int number = library.find(folded(s.name));
        ASSERT_GE(number, 0) << s.name;
        EXPECT_EQ(library.at(size_t(number)).arguments.size(), std::string(s.arguments).size());
    }
    EXPECT_EQ(library.find("nothing"), -1);
}

TEST(Functions, NamesAreWrittenInAnyCase) {
    EXPECT_EQ(Printed("print SQRT(4); print radtodeg(0); print EASEIN(0, 0, 1, 5, 10, 1);"),
              "2\n0\n5\n");
}

TEST(Functions, ACallWithAnArgumentMoreOrLessDoesNotCompile) {
    for (const Signature& s : signatures) {
        std::string call = Call(s);
        EXPECT_EQ(ErrorLine("print " + call + ";"), "") << call;
        std::string wanted = "Compile error. Wrong number of arguments in function: \"" +
                             folded(s.name) + "\" at line 1:";
        EXPECT_EQ(ErrorLine("print " + call.substr(0, call.size() - 1) + ", 1);"), wanted);
        EXPECT_EQ(ErrorLine(std::string("print ") + s.name + "();"), wanted);
        bool several = s.arguments[1] && s.arguments[1] != 'v';
        if (several) {
            EXPECT_EQ(ErrorLine("print " + call.substr(0, call.rfind(", ")) + ");"), wanted);
        }
    }
}

TEST(Functions, AnArgumentOfAnotherTypeDoesNotCompile) {
    for (const Signature& s : signatures)
        for (int i = 0; s.arguments[i] && s.arguments[i] != '*'; ++i) {
            std::string type = s.arguments[i] == 'v'   ? "Vector"
                               : s.arguments[i] == 'i' ? "Integer"
                                                       : "Real";
            EXPECT_EQ(ErrorLine("print " + Call(s, i) + ";"),
                      "Compile error. Wrong argument in function: \"" + folded(s.name) +
                          "\". Expected " + type + " at line 1:");
        }
}

TEST(Functions, IntegersStandForRealsAndRealsForIntegers) {
    EXPECT_EQ(Printed("print sqrt(16); print comp([1, 2, 3], 1.9); print pow(2, 3);"), "4\n2\n8\n");
}

TEST(Functions, UnknownOnesAndThoseWithoutABody) {
    EXPECT_EQ(ErrorLine("print nothing(1);"),
              "Compile error. Unknown function: \"nothing\" at line 1:");
    EXPECT_EQ(ErrorLine("Declared();"),
              "Compile error. Undefined function: \"declared\" at line 1:");
}

// --- angles

TEST(Functions, TrigonometryIsInRadians) {
    EXPECT_NEAR(Real("sin(pi / 6)"), 0.5, 1e-7);
    EXPECT_NEAR(Real("cos(pi / 3)"), 0.5, 1e-7);
    EXPECT_NEAR(Real("tan(pi / 4)"), 1, 1e-6);
    EXPECT_NEAR(Real("asin(1)"), pi / 2, 1e-7);
    EXPECT_NEAR(Real("acos(0)"), pi / 2, 1e-7);
    EXPECT_NEAR(Real("atan(1)"), pi / 4, 1e-7);
    EXPECT_EQ(Text("sin(0)") + Text("cos(0)") + Text("tan(0)"), "010");
}

TEST(Functions, TheTwoArgumentArcTangentKnowsTheQuadrant) {
    EXPECT_NEAR(Real("atan2(1, 1)"), pi / 4, 1e-7);
    EXPECT_NEAR(Real("atan2(1, -1)"), 3 * pi / 4, 1e-6);
    EXPECT_NEAR(Real("atan2(-1, -1)"), -3 * pi / 4, 1e-6);
    EXPECT_EQ(Text("atan2(0, 0)"), "0");
    EXPECT_NEAR(Real("atan2(0, -1)"), pi, 1e-6);
}

TEST(Functions, HyperbolicFunctions) {
    EXPECT_NEAR(Real("sinh(ln(2))"), 0.75, 1e-6);  // (2 - 1/2) / 2
    EXPECT_NEAR(Real("cosh(ln(2))"), 1.25, 1e-6);
    EXPECT_NEAR(Real("tanh(ln(2))"), 0.6, 1e-6);
}

TEST(Functions, DegreesAndRadians) {
    EXPECT_EQ(Text("radToDeg(1.0)"), "57.2957802");  // the float next to 57.29577951
    EXPECT_EQ(Text("degToRad(1.0)"), "0.0174532924");
    EXPECT_EQ(Text("degToRad(180)"), "3.14159274");
    EXPECT_EQ(Text("radToDeg(pi)"), "180");
}

TEST(Functions, OutsideTheirDomainTheyGiveNoNumber) {
    for (const char* call :
         {"asin(2)", "acos(-1.5)", "sqrt(-1)", "ln(-1)", "log(-1)", "mod(1, 0)", "pow(-8, 0.5)"})
        EXPECT_TRUE(std::isnan(Real(call))) << call;
    EXPECT_EQ(Text("ln(0)"), "-inf");
    EXPECT_EQ(Text("log(0)"), "-inf");
}

// --- whole numbers

TEST(Functions, CeilAndFloorGiveReals) {
    EXPECT_TRUE(Result("ceil(1.2)").identical(2.0f));
    EXPECT_TRUE(Result("ceil(-1.2)").identical(-1.0f));
    EXPECT_TRUE(Result("floor(1.8)").identical(1.0f));
    EXPECT_TRUE(Result("floor(-1.2)").identical(-2.0f));
    EXPECT_TRUE(Result("floor(7)").identical(7.0f));
}

TEST(Functions, RoundGoesAwayFromZeroAndGivesIntegers) {
    EXPECT_TRUE(Result("round(2.5)").identical(3));
    EXPECT_TRUE(Result("round(-2.5)").identical(-3));
    EXPECT_TRUE(Result("round(2.4)").identical(2));
    EXPECT_TRUE(Result("round(0.49999997)").identical(0));  // the float below a half
    EXPECT_TRUE(Result("round(2147483520.0)").identical(2147483520));
    EXPECT_TRUE(Result("round(-2147483648.0)").identical(-2147483647 - 1));
}

TEST(Functions, TruncGoesTowardZeroAndGivesReals) {
    EXPECT_TRUE(Result("trunc(2.9)").identical(2.0f));
    EXPECT_TRUE(Result("trunc(-2.9)").identical(-2.0f));
}

TEST(Functions, WholeNumbersOutside32BitsAreRoundingErrors) {
    for (std::string name : {"round", "trunc"})
        for (std::string x : {"2147483648.0", "-2147483904.0", "1.0 / 0.0", "sqrt(-1)"})
            EXPECT_EQ(Printed("print 1; print " + name + "(" + x + "); print 2;"), "1\nerror 1");
    EXPECT_EQ(Printed("print ceil(3000000000.0); print floor(3000000000.0);"), "3e+09\n3e+09\n");
}

TEST(Functions, ARoundingErrorHasItsText) {
    auto text = [](const char* source) {
        TestHost host;
        vmachine machine(host.names.compile(source).code);
        machine.run(nullptr);
        return machine.error_text();
    };
    EXPECT_EQ(
        text("round(2147483648.0);"),
        "Error in function boost::math::iround<float>(float): Value 2.14748365e+09 can not be "
        "represented in the target integer type.");
    EXPECT_EQ(
        text("trunc(-4294967296.0);"),
        "Error in function boost::math::itrunc<float>(float): Value -4.2949673e+09 can not be "
        "represented in the target integer type.");
    // What is not finite fails before its range is looked at.
    EXPECT_EQ(text("round(1.0 / 0.0);"),
              "Error in function boost::math::round<float>(float): Value inf can not be "
              "represented in the target integer type.");
    EXPECT_EQ(text("trunc(1.0 / 0.0);"),
              "Error in function boost::math::trunc<float>(float): Value inf can not be "
              "represented in the target integer type.");
}

// --- powers

TEST(Functions, LogarithmsPowersAndRoots) {
    EXPECT_NEAR(Real("ln(e)"), 1, 1e-7);
    EXPECT_EQ(Text("log(1000)"), "3");
    EXPECT_NEAR(Real("exp(1)"), 2.718281828, 1e-6);
    EXPECT_EQ(Text("exp(0)"), "1");
    EXPECT_EQ(Text("pow(2, 10)"), "1024");
    EXPECT_EQ(Text("pow(4, -0.5)"), "0.5");
    EXPECT_EQ(Text("sqrt(2.25)"), "1.5");
}

TEST(Functions, TheAbsoluteValueClearsTheSign) {
    EXPECT_TRUE(Result("abs(-3)").identical(3.0f));
    EXPECT_TRUE(Result("abs(-0.0)").identical(0.0f));
    EXPECT_EQ(Text("abs(-1.0 / 0.5)"), "2");
}

TEST(Functions, TheRemainderHasTheSignOfTheDividend) {
    EXPECT_EQ(Text("mod(5.5, 2)"), "1.5");
    EXPECT_EQ(Text("mod(-5.5, 2)"), "-1.5");
    EXPECT_EQ(Text("mod(7, -3.5)"), "0");
    EXPECT_EQ(Text("mod(7, 3) / 2"), "0.5");  // a real, whatever its arguments
}

// --- choices

TEST(Functions, MinAndMaxKeepTheKind) {
    EXPECT_TRUE(Result("min(1, 2.5)").identical(1));
    EXPECT_TRUE(Result("min(2.5, 1)").identical(1));
    EXPECT_TRUE(Result("max(1, 2.5)").identical(2.5f));
    EXPECT_TRUE(Result("max(3, 2.5)").identical(3));
    EXPECT_TRUE(Result("min(-1.5, -1)").identical(-1.5f));
}

TEST(Functions, IfTakesItsFirstChoiceAboveZero) {
    EXPECT_EQ(Text("if(1, 10, 20)"), "10");
    EXPECT_EQ(Text("if(0, 10, 20)"), "20");
    EXPECT_EQ(Text("if(-1, 1, 2)"), "2");
    EXPECT_EQ(Text("if(0.9, 1, 2)"), "2");  // the condition is truncated
    EXPECT_EQ(Text("if(1.5, 1, 2)"), "1");
    EXPECT_EQ(Text("if([1, 1, 1], 1, 2)"), "2");
    EXPECT_EQ(Text("if(true, [1, 2, 3], 5)"), "[1,2,3]");
}

TEST(Functions, AnIfStandsWhereverOneOfItsBranchesCould) {
    EXPECT_EQ(Printed("vector v = if(1, [1, 2, 3], 5); print v;"), "[1,2,3]\n");
    EXPECT_EQ(Printed("vector v = if(0, [1, 2, 3], 5); print v;"), "[0,0,0]\n");
    EXPECT_EQ(Printed("int x = if(1, [1, 2, 3], 5); print x;"), "0\n");
    EXPECT_EQ(ErrorLine("vector v = if(1, 2, 5);"), "Compile error. Invalid assignment at line 1:");
}

// --- vectors

TEST(Functions, LengthAndUnit) {
    EXPECT_EQ(Text("length([3, 4, 12])"), "13");
    EXPECT_EQ(Text("length([0, 0, 0])"), "0");
    EXPECT_EQ(Text("unit([3, 4, 0])"), "[0.600000024,0.800000012,0]");
    EXPECT_EQ(Text("unit([0, 0, 0])"), "[0,0,0]");
    EXPECT_EQ(Text("unit([0, 0, -0.5])"), "[0,0,-1]");
}

TEST(Functions, AVectorOfNearlyNoLengthStaysAsItIs) {
    EXPECT_EQ(Text("unit([0.0000001, 0, 0])"), "[1.00000001e-07,0,0]");
    EXPECT_EQ(Text("unit([0.0000002, 0, 0])"), "[1,0,0]");
}

TEST(Functions, ComponentsByIndex) {
    EXPECT_EQ(Text("comp([1, 2, 3], 0)"), "1");
    EXPECT_EQ(Text("comp([1, 2, 3], 2)"), "3");
    EXPECT_EQ(Text("comp([1, 2, 3], 2.9)"), "3");
    EXPECT_EQ(Text("comp([1, 2, 3], -0.9)"), "1");
    for (const char* outside : {"3", "-1", "2147483647", "4294967296.0"})
        EXPECT_TRUE(Result(std::string("comp([1, 2, 3], ") + outside + ")").identical(0.0f));
}

TEST(Functions, ProductsOfVectors) {
    EXPECT_TRUE(Result("dotprod([1, 2, 3], [4, 5, 6])").identical(32.0f));
    EXPECT_EQ(Text("crossprod([1, 2, 3], [4, 5, 6])"), "[-3,6,-3]");
    EXPECT_EQ(Text("crossprod([1, 0, 0], [0, 1, 0])"), "[0,0,1]");
}

TEST(Functions, ADotProductIsDeclaredAVector) {
    EXPECT_EQ(Printed("real r = dotprod([1, 2, 3], [4, 5, 6]); print r;"), "32\n");
    EXPECT_EQ(Printed("vector v = dotprod([1, 2, 3], [4, 5, 6]); print v;"), "[0,0,0]\n");
}

// --- random numbers: of the item's generator, which these tests seed with 123456

TEST(Functions, RandomRealsLieBetweenTheirEnds) {
    TNuRandom same(123456);
    float r = same.Random();
    EXPECT_TRUE(Result("randomReal(1, 5)").identical(1 + r * 4));
    EXPECT_TRUE(Result("randomReal(5, 1)").identical(1 + r * 4));
    EXPECT_TRUE(Result("randomReal(2, 2)").identical(2.0f));
    for (uint32_t seed = 0; seed < 1000; ++seed) {
        float x = Result("randomReal(5, 1)", seed).real();
        ASSERT_TRUE(x >= 1 && x < 5) << seed;
    }
}

TEST(Functions, RandomIntegersReachBothEnds) {
    TNuRandom same(123456);
    EXPECT_TRUE(Result("randomInt(5, 1)").identical(same.IRandom(1, 5)));
    EXPECT_TRUE(Result("randomInt(2.9, 2.1)").identical(2));
    std::set<int32_t> seen;
    for (uint32_t seed = 0; seed < 200; ++seed)
        seen.insert(Result("randomInt(5, 1)", seed).integer());
    EXPECT_EQ(seen, (std::set<int32_t>{1, 2, 3, 4, 5}));
}

TEST(Functions, RandomIntegersOfTheWholeRange) {
    // A range of 2^32 numbers gives the generator's 32 bits, shifted.
    TNuRandom same(123456);
    EXPECT_EQ(Result("randomInt(-2147483647 - 1, 2147483647)").integer(),
              int32_t(int64_t(same.Step()) - 2147483648));
}

TEST(Functions, WithoutAGeneratorDrawsAreZero) {
    TestHost host;
    auto drawn = [&](const char* source) {
        vmachine machine(host.names.compile(source).code);
        EXPECT_TRUE(machine.run(nullptr));
        return machine.result();
    };
    EXPECT_TRUE(drawn("return randomReal(1, 5);").identical(0.0f));
    EXPECT_TRUE(drawn("return randomInt(1, 5);").identical(0));
}

TEST(Functions, DrawsFollowEachOtherAndAreNeverLeftOut) {
    TNuRandom same(123456);
    float first = same.Random(), second = same.Random();
    EXPECT_EQ(Printed("print randomReal(0, 1); print randomReal(0, 1);"),
              text_of(first) + "\n" + text_of(second) + "\n");
    EXPECT_EQ(Printed("randomReal(0, 1); print randomReal(0, 1);"), text_of(second) + "\n");
}

// --- easing

TEST(Functions, EaseInIsClampedBelowOnly) {
    EXPECT_EQ(Text("easeIn(0.5, 0, 1, 0, 8, 2)"), "2");
    EXPECT_EQ(Text("easeIn(-1, 0, 1, 5, 10, 2)"), "5");
    EXPECT_EQ(Text("easeIn(2, 0, 1, 0, 10, 2)"), "40");
    EXPECT_EQ(Text("easeIn(15, 10, 20, 2, 4, 1)"), "3");
}

TEST(Functions, EaseOutIsClampedAboveOnly) {
    EXPECT_EQ(Text("easeOut(0.5, 0, 1, 0, 8, 2)"), "6");
    EXPECT_EQ(Text("easeOut(2, 0, 1, 0, 10, 2)"), "10");
    EXPECT_EQ(Text("easeOut(-1, 0, 1, 0, 10, 1)"), "-10");
}

TEST(Functions, EaseInOutIsClampedAtBothEnds) {
    EXPECT_EQ(Text("easeInOut(2, 0, 1, 0, 10, 2)"), "10");
    EXPECT_EQ(Text("easeInOut(-1, 0, 1, 5, 10, 2)"), "5");
    EXPECT_EQ(Text("easeInOut(0.25, 0, 1, 0, 8, 2)"), "1");
    EXPECT_EQ(Text("easeInOut(0.5, 0, 1, 0, 8, 2)"), "4");
    EXPECT_EQ(Text("easeInOut(0.75, 0, 1, 0, 8, 2)"), "7");
}

TEST(Functions, AnEmptyIntervalIsPassedAtOnce) {
    EXPECT_EQ(Text("easeOut(0.5, 1, 1, 0, 10, 1)"), "10");
    EXPECT_EQ(Text("easeInOut(0.5, 1, 1, 3, 10, 1)"), "10");
    EXPECT_EQ(Text("easeIn(0.5, 1, 1, 0, 10, 2)"), "inf");
    EXPECT_EQ(Text("easeOut(0.4, 0.5, 0.50000006, 0, 10, 1)"), "10");
}

TEST(Functions, TheEndsOfAnEasingKeepTheirKind) {
    EXPECT_TRUE(Result("easeIn(0, 0, 1, 5, 10.5, 2)").identical(5));
    EXPECT_TRUE(Result("easeOut(1, 0, 1, 5.5, 10, 2)").identical(10));
    EXPECT_TRUE(Result("easeInOut(-3, 0, 1, 5, 10, 2)").identical(5));
    EXPECT_TRUE(Result("easeInOut(3, 0, 1, 5, 10, 2)").identical(10));
    EXPECT_TRUE(Result("easeIn(0.5, 0, 1, 0, 4, 1)").identical(2.0f));
}

TEST(Functions, ADescendingIntervalEasesToo) {
    EXPECT_EQ(Text("easeIn(0.5, 1, 0, 0, 8, 2)"), "2");
    EXPECT_EQ(Text("easeIn(2, 1, 0, 5, 8, 2)"), "5");
}

// --- constants

TEST(Functions, TheConstantsAreSinglePrecision) {
    EXPECT_EQ(Printed("print pi; print E; pi = 3; print pi;"),
              "3.14159274\n2.71828175\n3.14159274\n");
}

}  // namespace tavuvm_expr
