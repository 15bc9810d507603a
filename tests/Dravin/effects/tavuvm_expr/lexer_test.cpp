#include "Dravin/effects/tavuvm_expr/lexer.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/comma_locale.h"

namespace tavuvm_expr::parser {

namespace {

// Every token up to the end: numbers of typed ones with what they carry, characters in quotes.
std::string Tokens(std::string_view source, bool caseSensitive = false) {
    lexer l(source, caseSensitive);
    std::string text;
    for (token t = l.next(); !t.is(token_type::end); t = l.next()) {
        if (!text.empty()) text += ' ';
        if (t.is_character)
            text += fmt::format("'{}'", t.character);
        else
            text += std::to_string(int(t.type));
        if (t.is(token_type::identifier)) text += ":" + l.identifier();
        if (t.is(token_type::integer_literal)) text += ":" + std::to_string(l.integer());
        if (t.is(token_type::real_literal)) text += fmt::format(":{}", l.real());
    }
    return text;
}

}  // namespace

TEST(Lexer, KeywordsHaveTheirNumbers) {
    EXPECT_EQ(Tokens("true false int real vector return print"), "5 6 9 10 11 13 15");
}

TEST(Lexer, KeywordsAsPartsOfNamesAreNames) {
    EXPECT_EQ(Tokens("integer printx _print int2"), "7:integer 7:printx 7:_print 7:int2");
}

TEST(Lexer, OperatorsHaveTheirNumbers) {
    EXPECT_EQ(Tokens("+ - * / % ++ -- ^ !"), "22 23 24 25 26 27 28 29 32");
    EXPECT_EQ(Tokens("== != < <= > >= && || << >>"), "33 34 35 36 37 38 39 40 44 45");
}

TEST(Lexer, ASingleAmpersandOrBarIsLogicalToo) {
    EXPECT_EQ(Tokens("a & b | c"), "7:a 39 7:b 40 7:c");
}

TEST(Lexer, OperatorsAreMatchedLongestFirst) {
    EXPECT_EQ(Tokens("+++"), "27 22");
    EXPECT_EQ(Tokens("---"), "28 23");
    EXPECT_EQ(Tokens("<<="), "44 '='");
    EXPECT_EQ(Tokens("==="), "33 '='");
    EXPECT_EQ(Tokens("!==!"), "34 '=' 32");
    EXPECT_EQ(Tokens("&&&|||"), "39 39 40 40");
}

TEST(Lexer, OtherCharactersMeanThemselves) {
    EXPECT_EQ(Tokens("(),;{}[].='\"#"), "'(' ')' ',' ';' '{' '}' '[' ']' '.' '=' ''' '\"' '#'");
    EXPECT_EQ(Tokens("@$~?\\`:"), "'@' '$' '~' '?' '\\' '`' ':'");
}

TEST(Lexer, WhiteSpaceOfEveryKindIsSkipped) {
    EXPECT_EQ(Tokens(" \t\v\f\r\n a \r\n\r\n "), "7:a");
    EXPECT_EQ(Tokens(""), "");
    EXPECT_EQ(Tokens(" \n"), "");
}

TEST(Lexer, NamesAndKeywordsAreFolded) {
    EXPECT_EQ(Tokens("Int X rEaL DPITEM"), "9 7:x 10 7:dpitem");
}

TEST(Lexer, TheCaseSensitiveSwitchFoldsNothing) {
    EXPECT_EQ(Tokens("Int X int", true), "7:Int 7:X 9");
    EXPECT_EQ(Tokens("0x1F 0X1F", true), "2:31 2:0 7:X1F");
}

TEST(Lexer, IntegersAreDecimalOrHexadecimal) {
    EXPECT_EQ(Tokens("0 007 2147483647"), "2:0 2:7 2:2147483647");
    EXPECT_EQ(Tokens("0x1F 0X1f 0xFFFFFFFF"), "2:31 2:31 2:-1");
}

TEST(Lexer, IntegersBeyond32BitsAreInvalid) {
    EXPECT_EQ(Tokens("2147483648"), "0");
    EXPECT_EQ(Tokens("18446744073709551617"), "0");
    EXPECT_EQ(Tokens("0x100000000"), "0");
    EXPECT_EQ(Tokens("0x"), "0");
    EXPECT_EQ(Tokens("0xg"), "0 7:g");
}

TEST(Lexer, ADigitAfterThePointIsEnoughAndOneBeforeItToo) {
    EXPECT_EQ(Tokens(".5 1. 1.25"), "3:0.5 3:1 3:1.25");
    EXPECT_EQ(Tokens("a.b .c"), "7:a '.' 7:b '.' 7:c");
}

TEST(Lexer, ASecondPointMakesAnInvalidToken) {
    EXPECT_EQ(Tokens("1.2.3 x"), "0 7:x");
    EXPECT_EQ(Tokens("1.."), "0");
    EXPECT_EQ(Tokens(".5."), "0");
}

TEST(Lexer, RealsAreNarrowedToSinglePrecision) {
    lexer l("0.1 16777217.0");
    l.next();
    EXPECT_EQ(l.real(), 0.1f);
    l.next();
    EXPECT_EQ(l.real(), 16777216.0f);
}

TEST(Lexer, RealsBeyondTheRangeAreInfiniteOrZero) {
    EXPECT_EQ(Tokens("1" + std::string(400, '0') + ".0"), "3:inf");
    EXPECT_EQ(Tokens("1" + std::string(40, '0') + ".0"), "3:inf");  // a double, but no float
    EXPECT_EQ(Tokens("0." + std::string(400, '0') + "1"), "3:0");
}

TEST(Lexer, ThereAreNoExponents) { EXPECT_EQ(Tokens("1.5e3"), "3:1.5 7:e3"); }

TEST(Lexer, ADecimalCommaLocaleChangesNoNumber) {
    CommaLocale comma;
    EXPECT_EQ(Tokens("1.5"), "3:1.5");
    EXPECT_EQ(Tokens("1,5"), "2:1 ',' 2:5");
}

TEST(Lexer, PositionsAreThoseOfTheFirstCharacter) {
    lexer l("  ab <= 0x10");
    token name = l.next(), op = l.next(), number = l.next(), end = l.next();
    EXPECT_EQ(name.begin, 2u);
    EXPECT_EQ(name.end, 4u);
    EXPECT_EQ(op.begin, 5u);
    EXPECT_EQ(op.end, 7u);
    EXPECT_EQ(number.begin, 8u);
    EXPECT_EQ(end.begin, 12u);
    EXPECT_TRUE(l.next().is(token_type::end));
}

TEST(Lexer, RewindingGivesTheSameTokenAgain) {
    lexer l("one two");
    token one = l.next();
    l.next();
    l.rewind(one);
    EXPECT_EQ(l.next().begin, one.begin);
    EXPECT_EQ(l.identifier(), "one");
}

TEST(Lexer, AByteOrderMarkAtTheStartIsSkipped) {
    EXPECT_EQ(Tokens("\xEF\xBB\xBFx"), "7:x");
    EXPECT_EQ(Tokens("x\xEF\xBB\xBF"), "7:x '\xEF' '\xBB' '\xBF'");
}

TEST(Lexer, ANulIsACharacterAndEndsNothing) {
    EXPECT_EQ(Tokens(std::string_view("a\0b", 3)), std::string("7:a '\0' 7:b", 11));
}

// --- raw reading

TEST(Lexer, ARawCharacterIsTheVeryNextOne) {
    lexer l("' A");
    l.next();
    EXPECT_EQ(l.raw_character(), 32);
    EXPECT_EQ(l.raw_character(), 65);
    EXPECT_EQ(l.raw_character(), std::nullopt);
}

TEST(Lexer, AByteAbove127IsNoCharacter) {
    lexer l("'\xE9'");
    l.next();
    EXPECT_EQ(l.raw_character(), std::nullopt);
    EXPECT_TRUE(l.next().is('\xE9'));
}

struct StringCase {
    const char* source;  // behind the opening quote
    const char* text;    // null: no closing quote
    const char* rest;
};

TEST(Lexer, StringsSkipBlanksThenLineBreaksThenOneQuote) {
    const StringCase cases[] = {
        {"abc\" x", "abc", "7:x"},
        {" \tabc \" x", "abc ", "7:x"},
        {"\r\n\nabc\"", "abc", ""},
        {" \n abc\"", " abc", ""},  // blanks behind the breaks belong to the text
        {"\" x\" y", " x", "7:y"},  // an empty literal swallows up to the next quote
        {"\"\" y", "", "7:y"},
        {" \n\"x\"", "x", ""},
        {"a # b\" c", "a # b", "7:c"},
        {"caf\xC3\xA9\"", "caf\xC3\xA9", ""},
        {"abc", nullptr, ""},
        {"\"", nullptr, ""},
        {"", nullptr, ""},
    };
    for (const StringCase& c : cases) {
        lexer l(c.source);
        std::optional<std::string> text = l.raw_string();
        ASSERT_EQ(text.has_value(), c.text != nullptr) << c.source;
        if (!text) continue;
        EXPECT_EQ(*text, c.text) << c.source;
        token next = l.next();
        EXPECT_EQ(next.is(token_type::identifier) ? "7:" + l.identifier() : "", c.rest);
    }
}

TEST(Lexer, ACommentRunsToTheEndOfItsLineAndTakesTheBreaks) {
    lexer l("# one ; two\r\n\r\n\n  x");
    l.next();
    l.skip_comment();
    token t = l.next();
    EXPECT_TRUE(t.is(token_type::identifier));
    EXPECT_EQ(t.begin, 18u);
    lexer atEnd("# no break");
    atEnd.next();
    atEnd.skip_comment();
    EXPECT_TRUE(atEnd.next().is(token_type::end));
}

}  // namespace tavuvm_expr::parser
