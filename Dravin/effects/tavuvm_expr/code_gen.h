// The compiler: from the tree of a program to the code of the machine.
//
// Expressions become postfix code, operands first; the type of every value is known while its code
// is made. Names are resolved against the language and the program's own declarations.
// Throws source_error with the first fault.
#pragma once

#include <string>
#include <unordered_map>

#include "Dravin/effects/tavuvm_expr/ast.h"
#include "Dravin/effects/tavuvm_expr/compiled_program.h"
#include "Dravin/effects/tavuvm_expr/language.h"
#include "Dravin/effects/tavuvm_expr/source_error.h"

namespace tavuvm_expr::code_gen {

class program {
public:
    // Both are borrowed.
    program(const ast::statements& tree, const language& names);

    compiled_program generate();

private:
    // A variable, an element, an attribute or one component of them.
    struct place {
        type_code type = type_code::integer;  // of the whole variable
        size_t slot = 0;
        ast::node_index index = ast::no_node;  // of an element, when it is not a literal
        int component = -1;                    // 0..2: x, y, z of a vector
        bool is_writable = true;
        bool is_array = false;  // the whole array
        int32_t array_size = 1;
        type_code value_type() const { return component < 0 ? type : type_code::real; }
    };

    // --- statements
    void generate(const ast::statement& s);
    void generate_declaration(const ast::simple_variable_declaration& declaration);
    void declare(const ast::simple_variable_declaration& declaration);
    void check_free(const std::string& name, size_t position) const;
    void generate_assignment(const place& target, ast::node_index assigned, size_t position);
    void generate_list(const place& target, ast::node_index list, size_t position);
    void check_storable(type_code target, type_set assigned, size_t position) const;
    void store(const place& target);
    void store_component(const place& target);

    // --- expressions; each returns the types of the value that its code pushes
    type_set generate_expression(ast::node_index node);
    type_set generate_binary(ast::node_index node);
    type_set combine(ast::node_index node, type_set left, type_set right);
    type_set generate_unary(const ast::expression& e);
    type_set generate_vector(const ast::expression& e);
    type_set generate_call(const ast::expression& e);
    void check_argument(const function& f, size_t i, type_set types,
                        ast::node_index argument) const;
    type_set generate_load(ast::node_index node);
    void address(const place& p);

    // --- names
    place resolve(ast::node_index node, bool is_target) const;
    place resolve_variable(ast::node_index node) const;
    place resolve_attribute(ast::node_index node, bool is_target) const;
    place resolve_component(place whole, std::span<const ast::node_index> rest,
                            size_t position) const;
    const variable* find_variable(const std::string& name) const;

    // --- code
    void emit(opcode op) { m_code.push_back(int32_t(op)); }
    void push(const value& immediate);
    void vector_register(opcode op, int number);
    size_t begin_of(ast::node_index node) const { return m_tree.node(node).range.first; }
    [[noreturn]] void fail(const std::string& message, size_t position) const {
        throw source_error(source_error::stage::compile, message, position);
    }

    const ast::statements& m_tree;
    const language& m_names;
    std::unordered_map<std::string, variable> m_variables;  // the program's own
    std::vector<value> m_code, m_initial;
};

}  // namespace tavuvm_expr::code_gen
