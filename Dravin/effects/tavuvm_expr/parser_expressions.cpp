// Expressions: precedence climbing over binary operators, a unary layer below, primaries at the
// bottom.
#include "Dravin/effects/tavuvm_expr/parser.h"

namespace tavuvm_expr::parser {

using ast::expression_kind;
using ast::node_index;

node_index expr_parser::parse_expression() {
    nesting_guard guard(*this);
    size_t begin = m_token.begin;
    return parse_binary(parse_unary(), begin, 0);
}

// left: an operand that starts at left_begin. Takes operators of min_level and above.
node_index expr_parser::parse_binary(node_index left, size_t left_begin, int min_level) {
    for (int level = operator_level(m_token); level >= 0 && level >= min_level;
         level = operator_level(m_token)) {
        ast::expression e;
        e.kind = expression_kind::binary;
        e.op = take().type;
        size_t right_begin = m_token.begin;
        node_index right = parse_unary();
        // A power takes its neighbours with it from one level below the operator on its left.
        bool power_follows = m_token.is(token_type::pow);
        if (power_follows || level < operator_level(m_token)) {
            nesting_guard guard(*this);
            right = parse_binary(right, right_begin, power_follows ? level - 1 : level + 1);
        }
        e.range = range_from(left_begin);
        node_index operands[] = {left, right};
        left = m_program.add(e, operands);
    }
    return left;
}

node_index expr_parser::parse_unary() {
    if (m_token.is(token_type::add)) {
        take();
        return parse_primary();
    }
    bool negates = m_token.is(token_type::sub);
    if (!negates && !m_token.is(token_type::not_)) return parse_primary();
    ast::expression e;
    e.kind = expression_kind::unary;
    e.op = negates ? token_type::neg : token_type::not_;
    size_t begin = take().begin;
    node_index operand[] = {parse_primary()};
    e.range = range_from(begin);
    return m_program.add(e, operand);
}

node_index expr_parser::parse_primary() {
    if (!m_token.is_character) {
        switch (m_token.type) {
            case token_type::integer_literal:
            case token_type::real_literal:
                return parse_number();
            case token_type::keyword_true:
                return leaf(expression_kind::boolean, take(), 1);
            case token_type::keyword_false:
                return leaf(expression_kind::boolean, take(), 0);
            case token_type::identifier:
                return parse_named();
            default:
                break;
        }
        if (int(m_token.type) < last_word_token) fail("Keyword cannot be an expression");
    }
    if (m_token.is('\'')) return parse_character();
    if (m_token.is('(')) return parse_parenthesised();
    if (m_token.is('[')) return parse_vector();
    fail_expected("expression");
}

node_index expr_parser::parse_number() {
    int32_t integer = m_lexer.integer();
    float real = m_lexer.real();
    token t = take();
    if (t.type == token_type::integer_literal) return leaf(expression_kind::int_number, t, integer);
    return leaf(expression_kind::real_number, t, 0, real);
}

node_index expr_parser::parse_character() {
    token quote = m_token;
    auto code = m_lexer.raw_character();
    if (!code) fail_expected("char");
    m_token = m_lexer.next();
    expect('\'');
    return leaf(expression_kind::int_number, quote, *code);
}

node_index expr_parser::parse_parenthesised() {
    take();
    node_index inner = parse_expression();
    expect(')');
    return inner;
}

node_index expr_parser::parse_vector() {
    size_t begin = take().begin;
    node_index components[3];
    for (int i = 0; i < 3; ++i) {
        if (i > 0) expect(',');
        components[i] = parse_expression();
    }
    expect(']');
    ast::expression e;
    e.kind = expression_kind::vector;
    e.range = range_from(begin);
    return m_program.add(e, components);
}

// --- names

node_index expr_parser::parse_named() {
    size_t begin = m_token.begin;
    uint32_t name = expect_identifier();
    return m_token.is('(') ? parse_call(name, begin) : parse_reference(name, begin);
}

// What a name stands for without a call: a variable, an element or an attribute.
node_index expr_parser::parse_reference(uint32_t name, size_t begin) {
    node_index first = parse_element(name, begin);
    return m_token.is('.') ? parse_components(first, begin) : first;
}

// A name with the index that may follow it.
node_index expr_parser::parse_element(uint32_t name, size_t begin) {
    ast::expression e;
    e.kind = expression_kind::identifier;
    e.name = name;
    if (!take_if('[')) {
        e.range = range_from(begin);
        return m_program.add(e);
    }
    e.kind = expression_kind::identifier_array;
    node_index index[] = {parse_expression()};
    expect(']');
    e.range = range_from(begin);
    return m_program.add(e, index);
}

node_index expr_parser::parse_call(uint32_t name, size_t begin) {
    take();
    std::vector<node_index> arguments;
    if (!take_if(')')) {
        do arguments.push_back(parse_expression());
        while (take_if(','));
        if (!take_if(')')) fail_expected("')' or ',' in argument list");
    }
    ast::expression e;
    e.kind = expression_kind::function;
    e.name = name;
    e.range = range_from(begin);
    return m_program.add(e, arguments);
}

// first: the part before the first point.
node_index expr_parser::parse_components(node_index first, size_t begin) {
    std::vector<node_index> parts = {first};
    while (take_if('.')) {
        size_t part_begin = m_token.begin;
        if (!m_token.is(token_type::identifier)) fail_expected("attribute");
        uint32_t name = expect_identifier();
        parts.push_back(parse_element(name, part_begin));
    }
    ast::expression e;
    e.kind = expression_kind::identifier_component;
    e.range = range_from(begin);
    return m_program.add(e, parts);
}

}  // namespace tavuvm_expr::parser
