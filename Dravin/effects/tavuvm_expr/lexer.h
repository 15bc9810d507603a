// From program text to tokens, one at a time.
//
// Identifiers and keywords are folded to lower case as they are read. Numbers are converted without
// the process locale. The lexer throws nothing: what it cannot read becomes the invalid token.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Dravin/effects/tavuvm_expr/tokens.h"

namespace tavuvm_expr::parser {

class lexer {
public:
    // source is borrowed.
    explicit lexer(std::string_view source, bool case_sensitive = false);

    // Skips white space and reads one token.
    token next();
    // Goes back to the start of a token read before.
    void rewind(const token& t) { m_position = t.begin; }

    // --- raw reading, right behind the last token
    // The very next character as its code; none at the end of input or for a byte above 127.
    std::optional<int> raw_character();
    // Text of a string literal whose opening quote was the last token. Leading blanks, then line
    // breaks, then one quote are skipped, so an empty literal takes the text up to the next quote:
    // that is how the language reads strings. None when no closing quote follows.
    std::optional<std::string> raw_string();
    // Skips the rest of the line and all line breaks behind it.
    void skip_comment();

    const std::string& identifier() const { return m_identifier; }  // of the last identifier
    int integer() const { return m_integer; }                       // of the last integer literal
    float real() const { return m_real; }                           // of the last real literal
    size_t size() const { return m_source.size(); }

private:
    token typed(token_type type, size_t end);
    token read_word();
    token read_number();
    token read_hexadecimal();
    std::optional<token> read_operator();
    char at(size_t i) const { return i < m_source.size() ? m_source[i] : '\0'; }

    std::string_view m_source;
    bool m_case_sensitive;
    size_t m_position = 0;
    std::string m_identifier;
    int m_integer = 0;
    float m_real = 0;
};

}  // namespace tavuvm_expr::parser
