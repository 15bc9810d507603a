// Trees of programs as text: one line a statement, expressions as (operator operand …).
#pragma once

#include <string>

#include <fmt/format.h>

#include "Dravin/effects/tavuvm_expr/parser.h"
#include "Dravin/effects/tavuvm_expr/value.h"

namespace tavuvm_expr {

inline std::string OperatorText(token_type op) {
    constexpr const char* texts[] = {"+",   "-",   "*",   "/",   "%",  "++",  "--", "^",
                                     "pos", "neg", "not", "==",  "!=", "<",   "<=", ">",
                                     ">=",  "&&",  "||",  "and", "or", "xor", "<<", ">>"};
    return texts[size_t(op) - size_t(first_operator)];
}

class TreeDump {
public:
    explicit TreeDump(const ast::statements& tree) : m_tree(tree) {}

    std::string Text() const {
        std::string text;
        for (const ast::statement& s : m_tree.list) text += StatementText(s) + "\n";
        return text;
    }

    std::string Expression(ast::node_index i) const {
        using enum ast::expression_kind;
        const ast::expression& e = m_tree.node(i);
        switch (e.kind) {
            case int_number:
                return std::to_string(e.integer);
            case real_number:
                return text_of(e.real) + "r";
            case boolean:
                return e.integer ? "true" : "false";
            case string:
                return fmt::format("\"{}\"", m_tree.text(e.name));
            case identifier:
                return m_tree.text(e.name);
            case identifier_array:
                return m_tree.text(e.name) + Children(e, "[", ", ", "]");
            case identifier_component:
                return Children(e, "", ".", "");
            case ast::expression_kind::vector:
                return Children(e, "[", ", ", "]");
            case function:
                return m_tree.text(e.name) + Children(e, "(", ", ", ")");
            case unary:
            case binary:
                return fmt::format("({}{}", OperatorText(e.op), Children(e, " ", " ", ")"));
            case expression_list:
                return Children(e, "{", ", ", "}");
            default:
                return "nil";
        }
    }

private:
    std::string Children(const ast::expression& e, const char* open, const char* between,
                         const char* close) const {
        std::string text = open;
        for (size_t i = 0; ast::node_index child : m_tree.children(e))
            text += (i++ ? between : "") + Expression(child);
        return text + close;
    }

    std::string StatementText(const ast::statement& s) const {
        switch (s.kind) {
            case ast::statement_kind::nil:
                return "nil";
            case ast::statement_kind::return_statement:
                return "return " + Expression(s.value);
            case ast::statement_kind::print_statement:
                return "print " + Expression(s.value);
            case ast::statement_kind::assignment:
                return Expression(s.target) + " = " + Expression(s.value);
            case ast::statement_kind::function_call:
                return "call " + Expression(s.value);
            case ast::statement_kind::variable_declarations:
                break;
        }
        std::string text = "declare";
        for (uint32_t i = 0; i < s.num_declarations; ++i)
            text += (i ? ", " : " ") + Declaration(m_tree.declarations[s.first_declaration + i]);
        return text;
    }

    std::string Declaration(const ast::simple_variable_declaration& d) const {
        constexpr const char* types[] = {"char", "int", "real", "vector"};
        std::string text = types[size_t(d.type)] + (" " + m_tree.text(d.name));
        if (d.is_array) text += fmt::format("[{}]", d.array_size);
        if (d.initialiser != ast::no_node) text += " = " + Expression(d.initialiser);
        return text;
    }

    const ast::statements& m_tree;
};

// The tree of a program; the full error text when it does not parse.
inline std::string Tree(std::string_view source) {
    try {
        ast::statements tree = parser::expr_parser(source).parse();
        return TreeDump(tree).Text();
    } catch (const source_error& error) {
        return error.format(source);
    }
}

}  // namespace tavuvm_expr
