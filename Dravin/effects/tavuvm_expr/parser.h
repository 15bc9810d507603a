// Recursive-descent parser of the expression language.
//
// Statements end with `;`. Binary operators are parsed by precedence climbing, each operator with a
// level of its own: `a * b / c` is `a * (b / c)`, and log-or binds tighter than log-and. Programs
// rely on this grouping.
//
// Nesting is limited (max_nesting), so that no program can exhaust the stack.
#pragma once

#include <string_view>

#include "Dravin/effects/tavuvm_expr/ast.h"
#include "Dravin/effects/tavuvm_expr/lexer.h"
#include "Dravin/effects/tavuvm_expr/source_error.h"

namespace tavuvm_expr::parser {

// Parentheses, brackets, arguments and right-hand operands inside each other.
inline constexpr int max_nesting = 1000;

// Level of a binary operator, higher binds tighter; -1 for every other token.
int operator_level(const token& t);

class expr_parser {
public:
    // source is borrowed.
    explicit expr_parser(std::string_view source) : m_lexer(source) {}

    // The whole program. Throws source_error with the first fault.
    ast::statements parse();

private:
    // --- statements
    void parse_block(bool braced);
    void parse_end_of_program();
    void parse_separator(bool braced);
    void parse_statement();
    bool parse_comment();
    bool parse_value_statement();
    bool parse_declarations();
    void parse_declarator(ast::declared_type type);
    void parse_array_size(ast::simple_variable_declaration& declaration);
    void check_initialiser(ast::simple_variable_declaration& declaration, ast::node_index brackets);
    bool parse_assignment();
    bool parse_call_statement();
    ast::node_index parse_assigned_value();
    ast::node_index parse_string();
    ast::node_index parse_expression_list();

    // --- expressions
    ast::node_index parse_expression();
    ast::node_index parse_binary(ast::node_index left, size_t left_begin, int min_level);
    ast::node_index parse_unary();
    ast::node_index parse_primary();
    ast::node_index parse_number();
    ast::node_index parse_character();
    ast::node_index parse_parenthesised();
    ast::node_index parse_vector();
    ast::node_index parse_named();
    ast::node_index parse_call(uint32_t name, size_t begin);
    ast::node_index parse_element(uint32_t name, size_t begin);
    ast::node_index parse_components(ast::node_index first, size_t begin);
    // A name with what may follow it in a target: brackets, attributes.
    ast::node_index parse_target();
    ast::node_index parse_reference(uint32_t name, size_t begin);

    // --- tokens
    token take();
    bool take_if(char c);
    void expect(char c);
    uint32_t expect_identifier();
    [[noreturn]] void fail(const std::string& message) const;
    [[noreturn]] void fail_expected(const std::string& what) const;
    ast::node_index leaf(ast::expression_kind kind, const token& t, int32_t integer = 0,
                         float real = 0);
    ast::source_range range_from(size_t begin) const { return {begin, m_last_end}; }

    // Counts one level of nesting while it lives.
    class nesting_guard {
    public:
        explicit nesting_guard(expr_parser& parser) : m_parser(parser) {
            if (++parser.m_nesting > max_nesting) parser.fail("Expression is nested too deeply");
        }
        ~nesting_guard() { --m_parser.m_nesting; }

    private:
        expr_parser& m_parser;
    };

    lexer m_lexer;
    token m_token;                   // the next one, not taken yet
    size_t m_last_end = 0;           // behind the last token taken
    bool m_closed_by_brace = false;  // the last statement ended with a closing brace
    int m_nesting = 0;
    ast::statements m_program;
};

}  // namespace tavuvm_expr::parser
