// What programs that do not parse are told: message, line, the line itself, a caret.
#include <gtest/gtest.h>

#include "tests/Dravin/effects/tavuvm_expr/tree_dump.h"

namespace tavuvm_expr {

namespace {

// A program of one line, the message, and the column of the caret.
struct ErrorCase {
    const char *source, *message;
    size_t column;
};

void ExpectErrors(std::span<const ErrorCase> cases) {
    for (const ErrorCase& c : cases)
        EXPECT_EQ(Tree(c.source), fmt::format("Parse error. {} at line 1:\n{}\n{}^\n", c.message,
                                              c.source, std::string(c.column, ' ')));
}

}  // namespace

TEST(ParserErrors, WhatIsNoStatement) {
    const ErrorCase cases[] = {
        {"1;", "Unknown statement", 0},
        {"x;", "Unknown statement", 0},
        {"x y;", "Unknown statement", 0},
        {"x.y(1);", "Unknown statement", 0},
        {"print 1; }", "Unknown statement", 9},
        {"{ print 1; } print 2;", "Unknown statement", 13},
        {"print 1; { print 2; }", "Unknown statement", 9},
        {"x = 1; \xC3\xA9 = 2;", "Unknown statement", 7},
        {"[1, 2, 3];", "Unknown statement", 0},
        {"x[1];", "Unknown statement", 0},
    };
    ExpectErrors(cases);
}

TEST(ParserErrors, SeparatorsThatAreMissing) {
    const ErrorCase cases[] = {
        {"print 1 print 2;", "expected ';'", 8},
        {"x = 1 }", "expected ';'", 6},
        {"int a b;", "expected ';'", 6},
        {"f(1) g(2);", "expected ';'", 5},
        {"print 1", "expected ';'", 7},
        {"{ print 1 print 2; }", "expected '}'", 10},
        {"{ print 1", "expected '}'", 9},
        {"{ print 1;", "Expected '}'", 10},
        {"{", "Expected '}'", 1},
    };
    ExpectErrors(cases);
}

TEST(ParserErrors, WantedTokens) {
    const ErrorCase cases[] = {
        {"print (1;", "Expected ')'", 8},      {"print (1, 2);", "Expected ')'", 8},
        {"v = [1, 2];", "Expected ','", 9},    {"v = [1 2, 3];", "Expected ','", 7},
        {"v = [1, 2, 3;", "Expected ']'", 12}, {"v = [1, 2, 3, 4];", "Expected ']'", 12},
        {"x = a[1;", "Expected ']'", 7},       {"a[1 = 2;", "Expected ']'", 4},
        {"int a[2;", "Expected ']'", 7},       {"a = {1, 2;", "Expected '}'", 9},
        {"c = 'A;", "Expected '''", 6},        {"c = 'AB';", "Expected '''", 6},
    };
    ExpectErrors(cases);
}

TEST(ParserErrors, WantedThings) {
    const ErrorCase cases[] = {
        {"int;", "Expected identifier", 3},
        {"int 5;", "Expected identifier", 4},
        {"int a, ;", "Expected identifier", 7},
        {"int real;", "Expected identifier", 4},
        {"print a.;", "Expected attribute", 8},
        {"print a.int;", "Expected attribute", 8},
        {"a.b. = 1;", "Expected attribute", 5},
        {"f(1 2);", "Expected ')' or ',' in argument list", 4},
        {"print f(1;", "Expected ')' or ',' in argument list", 9},
        {"c = '\xC3\xA9';", "Expected char", 4},
        {"c = '", "Expected char", 4},
    };
    ExpectErrors(cases);
}

TEST(ParserErrors, ExpressionsThatAreMissing) {
    const ErrorCase cases[] = {
        {"print ;", "Expected expression", 6},
        {"x = );", "Expected expression", 4},
        {"print - -1;", "Expected expression", 8},
        {"print --1;", "Expected expression", 6},
        {"print !!1;", "Expected expression", 7},
        {"print + -1;", "Expected expression", 8},
        {"print -+1;", "Expected expression", 7},
        {"print 1 + * 2;", "Expected expression", 10},
        {"print 1 & & 2;", "Expected expression", 10},
        {"f(,);", "Expected expression", 2},
        {"f(1,);", "Expected expression", 4},
        {"a = {1,};", "Expected expression", 7},
        {"v = [];", "Expected expression", 5},
        {"a[] = 1;", "Expected expression", 2},
        {"x = {{1}};", "Expected expression", 5},
        {"print \"text\";", "Expected expression", 6},
    };
    ExpectErrors(cases);
}

TEST(ParserErrors, KeywordsAndBrokenNumbersAreNoExpressions) {
    const ErrorCase cases[] = {
        {"x = 1.2.3;", "Keyword cannot be an expression", 4},
        {"x = 2147483648;", "Keyword cannot be an expression", 4},
        {"x = 0x;", "Keyword cannot be an expression", 4},
        {"x = (return);", "Keyword cannot be an expression", 5},
        {"x = int;", "Keyword cannot be an expression", 4},
        {"print print 1;", "Keyword cannot be an expression", 6},
        {"x = -vector;", "Keyword cannot be an expression", 5},
        {"print", "Keyword cannot be an expression", 5},
        {"x =", "Keyword cannot be an expression", 3},
        {"print 1 +", "Keyword cannot be an expression", 9},
    };
    ExpectErrors(cases);
}

TEST(ParserErrors, ListsAndArraysThatDoNotFit) {
    const ErrorCase cases[] = {
        {"int a[2] = {1, 2, 3};", "Array size doesn't match with list size", 4},
        {"int a[2] = {};", "Array size doesn't match with list size", 4},
        {"int b, a[4] = {1, 2, 3};", "Array size doesn't match with list size", 7},
        {"int a = {1};", "Single value cannot initialized from an array", 4},
        {"vector v = {1, 2, 3};", "Single value cannot initialized from an array", 7},
        {"int a[2] = 5;", "Invalid array initialization", 4},
        {"int a[] = 5;", "Invalid array initialization", 4},
        {"int a[2] = \"ab\";", "Invalid array initialization", 4},
        {"int a[];", "Invalid array initialization", 4},
        {"int a[n];", "Invalid array initialization", 4},
        {"int a[-1];", "Invalid array initialization", 4},
        {"int a[2.0];", "Invalid array initialization", 4},
        {"int a[1 + 1];", "Invalid array initialization", 4},
    };
    ExpectErrors(cases);
}

TEST(ParserErrors, StringsWithoutAnEnd) {
    const ErrorCase cases[] = {
        {"x = \"abc", "Internal error parsing string", 4},
        {"x = \"\"", "Internal error parsing string", 4},  // the second quote begins the text
        {"int s = \"", "Internal error parsing string", 8},
    };
    ExpectErrors(cases);
}

TEST(ParserErrors, OnlyTheFirstErrorIsTold) {
    EXPECT_EQ(Tree("x = ;\ny = ;\nprint [1, 2];"),
              "Parse error. Expected expression at line 1:\nx = ;\n    ^\n");
}

// --- lines

TEST(ParserErrors, AMissingSemicolonBelongsToTheLineBefore) {
    EXPECT_EQ(Tree("int x;\nint y;\nx = 1\ny = 2;\n"),
              "Parse error. expected ';' at line 3:\nx = 1\n     ^\n");
    EXPECT_EQ(Tree("x = 1\n"), "Parse error. expected ';' at line 1:\nx = 1\n     ^\n");
}

TEST(ParserErrors, ButNotBehindAnIndent) {
    EXPECT_EQ(Tree("x = 1\n  y = 2;"), "Parse error. expected ';' at line 2:\n  y = 2;\n  ^\n");
}

TEST(ParserErrors, TheLineBeforeMayBeEmpty) {
    EXPECT_EQ(Tree("x = 1\n\ny = 2;"), "Parse error. expected ';' at line 2:\n\n^\n");
}

TEST(ParserErrors, OtherErrorsStayOnTheirLine) {
    EXPECT_EQ(Tree("{ x = 1\ny = 2; }"), "Parse error. expected '}' at line 2:\ny = 2; }\n^\n");
    EXPECT_EQ(Tree("x = \n;"), "Parse error. Expected expression at line 2:\n;\n^\n");
}

TEST(ParserErrors, ALineBreakOfTwoCharactersCountsTwice) {
    EXPECT_EQ(Tree("int x;\r\nint y;\r\nx = ;\r\n"),
              "Parse error. Expected expression at line 5:\nx = ;\n    ^\n");
    EXPECT_EQ(Tree("\r\r\nx = ;"), "Parse error. Expected expression at line 4:\nx = ;\n    ^\n");
    // The missing semicolon goes back by one character: to the empty line inside the break.
    EXPECT_EQ(Tree("x = 1\r\ny = 2;"), "Parse error. expected ';' at line 2:\n\n^\n");
}

TEST(ParserErrors, TheCaretCountsBytesAndTabsAsOne) {
    EXPECT_EQ(Tree("\tx =\t;"), "Parse error. Expected expression at line 1:\n\tx =\t;\n     ^\n");
    EXPECT_EQ(Tree("s = \"\xC3\xA9\" )"),
              "Parse error. expected ';' at line 1:\ns = \"\xC3\xA9\" )\n         ^\n");
}

TEST(ParserErrors, ANulIsShownLikeAnyCharacter) {
    std::string source("x = \0;", 6);
    EXPECT_EQ(Tree(source), "Parse error. Expected expression at line 1:\n" + source + "\n    ^\n");
}

}  // namespace tavuvm_expr
