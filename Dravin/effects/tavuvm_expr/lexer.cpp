#include "Dravin/effects/tavuvm_expr/lexer.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

namespace tavuvm_expr::parser {

namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

constexpr std::pair<std::string_view, token_type> keywords[] = {
    {"true", token_type::keyword_true},     {"false", token_type::keyword_false},
    {"int", token_type::keyword_int},       {"real", token_type::keyword_real},
    {"vector", token_type::keyword_vector}, {"return", token_type::keyword_return},
    {"print", token_type::keyword_print},
};

// Longer lexemes stand before their beginnings.
constexpr std::pair<std::string_view, token_type> operators[] = {
    {"!=", token_type::not_equal},   {"!", token_type::not_},
    {"%", token_type::mod},          {"&&", token_type::log_and},
    {"&", token_type::log_and},      {"*", token_type::mult},
    {"++", token_type::inc},         {"+", token_type::add},
    {"--", token_type::dec},         {"-", token_type::sub},
    {"/", token_type::div},          {"<=", token_type::less_equal},
    {"<<", token_type::shift_left},  {"<", token_type::less},
    {"==", token_type::equal},       {">=", token_type::greater_equal},
    {">>", token_type::shift_right}, {">", token_type::greater},
    {"^", token_type::pow},          {"||", token_type::log_or},
    {"|", token_type::log_or},
};

bool is_line_break(char c) { return c == '\r' || c == '\n'; }
bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool is_hex_digit(char c) {
    return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
char lower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

// Digits with one point. A number beyond the range of a double becomes infinite, or 0 when all its
// digits before the point are 0.
float real_of(std::string_view text) {
    double number = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc::result_out_of_range) {
        bool small = text.substr(0, text.find('.')).find_first_not_of('0') == text.npos;
        number = small ? 0 : std::numeric_limits<double>::infinity();
    }
    return float(number);
}

}  // namespace

lexer::lexer(std::string_view source, bool case_sensitive)
    : m_source(source), m_case_sensitive(case_sensitive) {
    if (source.starts_with(byte_order_mark)) m_position = byte_order_mark.size();
}

token lexer::typed(token_type type, size_t end) {
    token t{type, 0, false, m_position, end};
    m_position = end;
    return t;
}

token lexer::next() {
    while (is_blank(at(m_position)) || is_line_break(at(m_position))) ++m_position;
    if (m_position >= m_source.size()) return typed(token_type::end, m_position);

    char c = at(m_position);
    if (is_letter(c)) return read_word();
    if (is_digit(c) || (c == '.' && is_digit(at(m_position + 1)))) return read_number();
    if (auto t = read_operator()) return *t;

    token t{token_type::invalid, c, true, m_position, m_position + 1};
    ++m_position;
    return t;
}

token lexer::read_word() {
    size_t end = m_position;
    while (is_letter(at(end)) || is_digit(at(end))) ++end;
    m_identifier = m_source.substr(m_position, end - m_position);
    if (!m_case_sensitive)
        std::transform(m_identifier.begin(), m_identifier.end(), m_identifier.begin(), lower);
    for (const auto& [word, type] : keywords)
        if (m_identifier == word) return typed(type, end);
    return typed(token_type::identifier, end);
}

token lexer::read_number() {
    char x = at(m_position + 1);
    if (at(m_position) == '0' && (x == 'x' || (x == 'X' && !m_case_sensitive)))
        return read_hexadecimal();

    size_t end = m_position, points = 0;
    while (is_digit(at(end)) || (at(end) == '.' && points < 2)) points += at(end++) == '.';
    std::string_view text = m_source.substr(m_position, end - m_position);
    if (points > 1) return typed(token_type::invalid, end);
    if (points == 1) {
        m_real = real_of(text);
        return typed(token_type::real_literal, end);
    }
    auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), m_integer);
    return typed(error == std::errc() ? token_type::integer_literal : token_type::invalid, end);
}

token lexer::read_hexadecimal() {
    size_t end = m_position + 2;
    while (is_hex_digit(at(end))) ++end;
    std::string_view digits = m_source.substr(m_position + 2, end - m_position - 2);
    uint32_t number = 0;
    auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    m_integer = int(number);
    return typed(error == std::errc() ? token_type::integer_literal : token_type::invalid, end);
}

std::optional<token> lexer::read_operator() {
    std::string_view rest = m_source.substr(m_position, 2);
    for (const auto& [lexeme, type] : operators)
        if (rest.starts_with(lexeme)) return typed(type, m_position + lexeme.size());
    return std::nullopt;
}

std::optional<int> lexer::raw_character() {
    if (m_position >= m_source.size()) return std::nullopt;
    auto code = static_cast<unsigned char>(m_source[m_position]);
    if (code > 127) return std::nullopt;
    ++m_position;
    return code;
}

std::optional<std::string> lexer::raw_string() {
    while (is_blank(at(m_position))) ++m_position;
    while (is_line_break(at(m_position))) ++m_position;
    if (at(m_position) == '"') ++m_position;
    size_t end = m_source.find('"', m_position);
    if (end == m_source.npos) return std::nullopt;
    std::string text(m_source.substr(m_position, end - m_position));
    m_position = end + 1;
    return text;
}

void lexer::skip_comment() {
    while (m_position < m_source.size() && !is_line_break(at(m_position))) ++m_position;
    while (is_line_break(at(m_position))) ++m_position;
}

}  // namespace tavuvm_expr::parser
