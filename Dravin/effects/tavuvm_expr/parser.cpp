#include "Dravin/effects/tavuvm_expr/parser.h"

namespace tavuvm_expr::parser {

using ast::expression_kind;
using ast::node_index;

namespace {

// Level by token number, from the first operator on; inc, dec and pos have none.
constexpr int levels[] = {
    10, 11, 12, 13, 14,        // add sub mult div mod
    -1, -1,                    // inc dec
    19, -1, 15, 20,            // pow pos neg not
    6,  7,  4,  5,  2,  3,     // equal not_equal less less_equal greater greater_equal
    0,  1,  16, 17, 18, 8, 9,  // log-and log-or and or xor shift-left shift-right
};
static_assert(std::size(levels) == size_t(last_operator) - size_t(first_operator) + 1);

}  // namespace

int operator_level(const token& t) {
    return t.is_operator() ? levels[size_t(t.type) - size_t(first_operator)] : -1;
}

// --- tokens

token expr_parser::take() {
    token t = m_token;
    m_last_end = t.end;
    m_token = m_lexer.next();
    return t;
}

bool expr_parser::take_if(char c) {
    if (!m_token.is(c)) return false;
    take();
    return true;
}

void expr_parser::expect(char c) {
    if (!take_if(c)) fail_expected(std::string("'") + c + "'");
}

uint32_t expr_parser::expect_identifier() {
    if (!m_token.is(token_type::identifier)) fail_expected("identifier");
    uint32_t name = m_program.add_text(m_lexer.identifier());
    take();
    return name;
}

void expr_parser::fail(const std::string& message) const {
    throw source_error(source_error::stage::parse, message, m_token.begin);
}

void expr_parser::fail_expected(const std::string& what) const { fail("Expected " + what); }

node_index expr_parser::leaf(expression_kind kind, const token& t, int32_t integer, float real) {
    ast::expression e;
    e.kind = kind;
    e.range = {t.begin, t.end};
    e.integer = integer;
    e.real = real;
    return m_program.add(e);
}

// --- program

ast::statements expr_parser::parse() {
    m_token = m_lexer.next();
    while (parse_comment()) {
    }
    bool braced = take_if('{');
    parse_block(braced);
    if (braced) {
        expect('}');
        parse_end_of_program();
    }
    return std::move(m_program);
}

void expr_parser::parse_end_of_program() {
    while (parse_comment()) {
    }
    if (!m_token.is(token_type::end)) fail("Unknown statement");
}

void expr_parser::parse_block(bool braced) {
    while (!m_token.is(token_type::end) && !(braced && m_token.is('}'))) {
        if (take_if(';') || parse_comment()) continue;
        parse_statement();
        parse_separator(braced);
    }
}

void expr_parser::parse_separator(bool braced) {
    if (take_if(';') || m_closed_by_brace || (braced && m_token.is('}'))) return;
    if (braced) fail("expected '}'");
    throw source_error::missing_separator("expected ';'", m_token.begin);
}

void expr_parser::parse_statement() {
    m_closed_by_brace = false;
    if (parse_value_statement() || parse_declarations() || parse_assignment() ||
        parse_call_statement())
        return;
    fail("Unknown statement");
}

bool expr_parser::parse_comment() {
    bool reserved = m_token.is(token_type::reserved_comment) ||
                    m_token.is(token_type::reserved_block_comment) ||
                    m_token.is(token_type::reserved_block_comment_2);
    if (!m_token.is('#') && !reserved) return false;
    m_lexer.skip_comment();
    m_token = m_lexer.next();
    return true;
}

bool expr_parser::parse_value_statement() {
    bool returns = m_token.is(token_type::keyword_return);
    if (!returns && !m_token.is(token_type::keyword_print)) return false;
    ast::statement s;
    s.kind = returns ? ast::statement_kind::return_statement : ast::statement_kind::print_statement;
    size_t begin = take().begin;
    s.value = parse_expression();
    s.range = range_from(begin);
    m_program.list.push_back(s);
    return true;
}

// --- declarations

bool expr_parser::parse_declarations() {
    ast::declared_type type;
    switch (m_token.is_character ? token_type::end : m_token.type) {
        case token_type::reserved_char:
            type = ast::declared_type::character;
            break;
        case token_type::reserved_int:
        case token_type::keyword_int:
            type = ast::declared_type::integer;
            break;
        case token_type::keyword_real:
            type = ast::declared_type::real;
            break;
        case token_type::keyword_vector:
            type = ast::declared_type::vector;
            break;
        default:
            return false;
    }
    size_t begin = take().begin;
    ast::statement s;
    s.kind = ast::statement_kind::variable_declarations;
    s.first_declaration = uint32_t(m_program.declarations.size());
    do parse_declarator(type);
    while (take_if(','));
    s.num_declarations = uint32_t(m_program.declarations.size()) - s.first_declaration;
    s.range = range_from(begin);
    m_program.list.push_back(s);
    return true;
}

void expr_parser::parse_declarator(ast::declared_type type) {
    m_closed_by_brace = false;
    ast::simple_variable_declaration declaration;
    declaration.type = type;
    size_t begin = m_token.begin;
    declaration.name = expect_identifier();
    node_index brackets = ast::no_node;
    if (m_token.is('[')) {
        declaration.is_array = true;
        token open = take();
        brackets = m_token.is(']') ? leaf(expression_kind::nil, open) : parse_expression();
        expect(']');
    }
    declaration.range = range_from(begin);
    if (take_if('=')) declaration.initialiser = parse_assigned_value();
    check_initialiser(declaration, brackets);
    m_program.declarations.push_back(declaration);
}

void expr_parser::check_initialiser(ast::simple_variable_declaration& declaration,
                                    node_index brackets) {
    auto fault = [&](const char* message) {
        throw source_error(source_error::stage::parse, message, declaration.range.first);
    };
    bool has_value = declaration.initialiser != ast::no_node;
    bool from_list = has_value && m_program.node(declaration.initialiser).kind ==
                                      expression_kind::expression_list;
    if (!declaration.is_array) {
        if (from_list) fault("Single value cannot initialized from an array");
        return;
    }
    const ast::expression& size = m_program.node(brackets);
    bool sized = size.kind == expression_kind::int_number;
    bool empty = size.kind == expression_kind::nil;
    if ((has_value && !from_list) || (!sized && !empty) || (empty && !has_value))
        fault("Invalid array initialization");
    int32_t length = from_list ? int32_t(m_program.node(declaration.initialiser).num_children) : 0;
    declaration.array_size = sized ? size.integer : length;
    if (from_list && declaration.array_size != length)
        fault("Array size doesn't match with list size");
}

// --- assignments and calls

// Target, then a value, `++` or `--`. Anything else behind the target: the parser goes back to it.
bool expr_parser::parse_assignment() {
    if (!m_token.is(token_type::identifier)) return false;
    token start = m_token;
    auto go_back = [&] {
        m_lexer.rewind(start);
        m_token = m_lexer.next();
        return false;
    };

    ast::statement s;
    s.kind = ast::statement_kind::assignment;
    s.target = parse_target();
    if (s.target == ast::no_node) return go_back();
    if (take_if('=')) {
        s.value = parse_assigned_value();
    } else if (m_token.is(token_type::inc) || m_token.is(token_type::dec)) {
        token step = take();
        ast::expression sum;
        sum.kind = expression_kind::binary;
        sum.op = step.type == token_type::inc ? token_type::add : token_type::sub;
        sum.range = range_from(start.begin);
        node_index operands[] = {s.target, leaf(expression_kind::int_number, step, 1)};
        s.value = m_program.add(sum, operands);
    } else {
        return go_back();
    }
    s.range = range_from(start.begin);
    m_program.list.push_back(s);
    return true;
}

node_index expr_parser::parse_target() {
    size_t begin = m_token.begin;
    uint32_t name = expect_identifier();
    return m_token.is('(') ? ast::no_node : parse_reference(name, begin);
}

bool expr_parser::parse_call_statement() {
    if (!m_token.is(token_type::identifier)) return false;
    token start = m_token;
    uint32_t name = expect_identifier();
    if (!m_token.is('(')) {
        m_lexer.rewind(start);
        m_token = m_lexer.next();
        return false;
    }
    ast::statement s;
    s.kind = ast::statement_kind::function_call;
    s.value = parse_call(name, start.begin);
    s.range = range_from(start.begin);
    m_program.list.push_back(s);
    return true;
}

node_index expr_parser::parse_assigned_value() {
    if (m_token.is('"')) return parse_string();
    if (m_token.is('{')) return parse_expression_list();
    return parse_expression();
}

node_index expr_parser::parse_string() {
    token quote = m_token;
    auto text = m_lexer.raw_string();
    if (!text) fail("Internal error parsing string");
    ast::expression e;
    e.kind = expression_kind::string;
    e.name = m_program.add_text(std::move(*text));
    m_token = m_lexer.next();
    m_last_end = m_token.begin;
    e.range = range_from(quote.begin);
    return m_program.add(e);
}

node_index expr_parser::parse_expression_list() {
    size_t begin = take().begin;
    std::vector<node_index> elements;
    if (!m_token.is('}')) {
        do elements.push_back(parse_expression());
        while (take_if(','));
    }
    expect('}');
    m_closed_by_brace = true;
    ast::expression e;
    e.kind = expression_kind::expression_list;
    e.range = range_from(begin);
    return m_program.add(e, elements);
}

}  // namespace tavuvm_expr::parser
