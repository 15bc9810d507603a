// Tokens of the expression language.
//
// Operator numbers are design: the operators' order decides their instruction codes and their
// levels, so no number ever changes. Reserved numbers belong to words that the lexer does not
// produce; the parser understands them, so that a keyword can switch them on.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavuvm_expr {

enum class token_type : uint8_t {
    invalid = 0,  // a malformed number
    end = 1,      // end of input
    integer_literal = 2,
    real_literal = 3,
    keyword_true = 5,
    keyword_false = 6,
    identifier = 7,
    reserved_int = 8,
    keyword_int = 9,
    keyword_real = 10,
    keyword_vector = 11,
    keyword_return = 13,
    reserved_char = 14,
    keyword_print = 15,
    reserved_comment = 17,
    reserved_block_comment = 18,
    reserved_block_comment_2 = 19,
    add = 22,
    sub = 23,
    mult = 24,
    div = 25,
    mod = 26,
    inc = 27,
    dec = 28,
    pow = 29,
    pos = 30,
    neg = 31,
    not_ = 32,
    equal = 33,
    not_equal = 34,
    less = 35,
    less_equal = 36,
    greater = 37,
    greater_equal = 38,
    log_and = 39,
    log_or = 40,
    and_ = 41,
    or_ = 42,
    xor_ = 43,
    shift_left = 44,
    shift_right = 45,
};

inline constexpr token_type first_operator = token_type::add;
inline constexpr token_type last_operator = token_type::shift_right;

// Keywords, the invalid token and the end of input lie below this number.
inline constexpr int last_word_token = 21;

// One token: typed, or a single character that means itself.
struct token {
    token_type type = token_type::end;
    char character = 0;  // of a character token; 0 when typed
    bool is_character = false;
    size_t begin = 0, end = 0;  // byte range in the source

    bool is(token_type t) const { return !is_character && type == t; }
    bool is(char c) const { return is_character && character == c; }
    bool is_operator() const {
        return !is_character && type >= first_operator && type <= last_operator;
    }
};

}  // namespace tavuvm_expr
