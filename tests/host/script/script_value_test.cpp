#include "host/script/script_value.h"

#include <gtest/gtest.h>

#include "host/script/script_tokens.h"

namespace {

TEST(ScriptValue, HasATextForEveryKind) {
    EXPECT_EQ(ToText({}), "undefined");
    EXPECT_EQ(ToText(true), "true");
    EXPECT_EQ(ToText(false), "false");
    EXPECT_EQ(ToText(4), "4");
    EXPECT_EQ(ToText(0.5), "0.5");
    EXPECT_EQ(ToText("a b"), "a b");
    EXPECT_EQ((ScriptResult{1, {}}.Text()), "1");
}

// The only token of a text.
ScriptToken OneToken(const std::string& text) {
    std::vector<ScriptToken> tokens;
    auto error = ReadScriptTokens(text, false, &tokens);
    EXPECT_FALSE(error) << error->reason;
    EXPECT_EQ(tokens.size(), 1u) << text;
    return tokens.empty() ? ScriptToken{} : tokens[0];
}

TEST(ScriptValue, QuotedTextsComeBack) {
    for (std::string text :
         {std::string(), std::string("a \"b\" 'c'"), std::string("C:\\new\\trees"),
          std::string("\\"), std::string("\n\r\t;"), std::string("(["), std::string("\0x", 2),
          std::string("B\xC3\xA4ume")}) {
        EXPECT_TRUE(OneToken(QuoteForScript(text)).Is(ScriptTokenKind::kText, text)) << text;
        EXPECT_TRUE(OneToken(NodeForScript(text)).Is(ScriptTokenKind::kNode, text)) << text;
    }
    EXPECT_EQ(QuoteForScript("a\\\"b"), "\"a\\\\\\\"b\"");
    EXPECT_EQ(NodeForScript("Oak's"), "$'Oak\\'s'");
}

// Paths come unquoted too; only the letters that mean something lose their backslash.
TEST(ScriptValue, OtherBackslashesStay) {
    EXPECT_EQ(OneToken("\"dravinpack\\optmat.mse\"").text, "dravinpack\\optmat.mse");
    EXPECT_EQ(OneToken("\"a\\tb\"").text, "a\tb");
}

}  // namespace
