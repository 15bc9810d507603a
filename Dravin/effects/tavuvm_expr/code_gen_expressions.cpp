// Expressions.
#include <algorithm>

#include <fmt/format.h>

#include "Dravin/effects/tavuvm_expr/code_gen.h"
#include "Dravin/effects/tavuvm_expr/type_rules.h"

namespace tavuvm_expr::code_gen {

using ast::expression_kind;
using ast::node_index;

type_set program::generate_expression(node_index node) {
    const ast::expression& e = m_tree.node(node);
    switch (e.kind) {
        case expression_kind::int_number:
        case expression_kind::boolean:
            push(e.integer);
            return set_of(type_code::integer);
        case expression_kind::real_number:
            push(e.real);
            return real_types;
        case expression_kind::vector:
            return generate_vector(e);
        case expression_kind::function:
            return generate_call(e);
        case expression_kind::unary:
            return generate_unary(e);
        case expression_kind::binary:
            return generate_binary(node);
        case expression_kind::identifier:
        case expression_kind::identifier_array:
        case expression_kind::identifier_component:
            return generate_load(node);
        default:
            fail("Expected expression", e.range.first);
    }
}

// --- operators

// Long chains lean to the left: the left spine is walked, not recursed into.
type_set program::generate_binary(node_index node) {
    std::vector<node_index> spine;
    while (m_tree.node(node).kind == expression_kind::binary) {
        spine.push_back(node);
        node = m_tree.children(node)[0];
    }
    type_set types = generate_expression(node);
    for (auto it = spine.rbegin(); it != spine.rend(); ++it) {
        type_set right = generate_expression(m_tree.children(*it)[1]);
        types = combine(*it, types, right);
    }
    return types;
}

type_set program::combine(node_index node, type_set left, type_set right) {
    const ast::expression& e = m_tree.node(node);
    auto op = algebra::instruction_of(e.op);
    if (!op) fail("Operands are not compatible", e.range.first);
    if ((left | right) & handle_types) fail("algebra::validate out of range", e.range.first);
    emit(*op);
    type_set result = algebra::validate(*op, left, right);
    if (!result) fail("Operands are not compatible", e.range.first);
    return result;
}

type_set program::generate_unary(const ast::expression& e) {
    node_index operand = m_tree.children(e)[0];
    type_set types = generate_expression(operand);
    if (e.op == token_type::neg) {
        emit(opcode::neg);  // of any type, which it keeps
        return types;
    }
    if (!(types & integer_types)) fail("Wrong operand. Expected integer value", e.range.first);
    emit(opcode::not_);
    return set_of(type_code::integer);
}

// Components are computed before the register is used: they may hold vectors themselves.
type_set program::generate_vector(const ast::expression& e) {
    auto components = m_tree.children(e);
    auto literal = [&](node_index n) {
        expression_kind kind = m_tree.node(n).kind;
        return kind == expression_kind::int_number || kind == expression_kind::real_number;
    };
    if (std::all_of(components.begin(), components.end(), literal)) {
        float c[3];
        for (int i = 0; i < 3; ++i) {
            const ast::expression& n = m_tree.node(components[size_t(i)]);
            c[i] = n.kind == expression_kind::int_number ? float(n.integer) : n.real;
        }
        push(vector3{c[0], c[1], c[2]});
        return vector_types;
    }

    for (node_index component : components)
        if (!(generate_expression(component) & number_types))
            fail("Wrong operand. Expected numeric value", begin_of(component));
    push(vector3{});
    vector_register(opcode::store_vector, 0);
    for (opcode setter : {opcode::set_z, opcode::set_y, opcode::set_x}) vector_register(setter, 0);
    vector_register(opcode::load_vector, 0);
    return vector_types;
}

// --- calls

type_set program::generate_call(const ast::expression& e) {
    const std::string& name = m_tree.text(e.name);
    int number = m_names.functions().find(name);
    if (number < 0) fail("Unknown function: \"" + name + "\"", e.range.first);
    const function& f = m_names.functions().at(size_t(number));
    if (!f.body) fail("Undefined function: \"" + name + "\"", e.range.first);
    auto arguments = m_tree.children(e);
    if (arguments.size() != f.arguments.size())
        fail("Wrong number of arguments in function: \"" + name + "\"", e.range.first);

    type_set types = 0, last_two = 0;
    for (size_t i = 0; i < arguments.size(); ++i) {
        types = generate_expression(arguments[i]);
        check_argument(f, i, types, arguments[i]);
        if (i > 0) last_two |= types;
    }
    emit(opcode::call);
    m_code.push_back(number);
    m_code.push_back(int32_t(arguments.size()));

    if (f.result == type_code::any) return last_two;
    if (f.name == "dotprod") return real_types | vector_types;
    return set_of(f.result);
}

void program::check_argument(const function& f, size_t i, type_set types,
                             node_index argument) const {
    type_code wanted = f.arguments[i];
    type_set accepted = set_of(wanted);
    if (wanted == type_code::any) accepted = type_set(~0);
    if (accepted & number_types) accepted |= number_types;
    if (!(types & accepted))
        fail(fmt::format("Wrong argument in function: \"{}\". Expected {}", f.name,
                         type_name(wanted)),
             begin_of(argument));
}

// --- loads

type_set program::generate_load(node_index node) {
    place p = resolve(node, false);
    if (p.is_array)
        fail(fmt::format("Wrong operand. Expected {} value", folded(type_name(p.type))),
             begin_of(node));
    address(p);
    emit(opcode::load);
    constexpr opcode getters[] = {opcode::get_x, opcode::get_y, opcode::get_z};
    if (p.component >= 0) emit(getters[p.component]);
    return set_of(p.value_type());
}

// Pushes the slot of a place.
void program::address(const place& p) {
    if (p.index == ast::no_node) return push(int32_t(p.slot));
    const ast::expression& index = m_tree.node(p.index);
    if (index.kind == expression_kind::int_number && index.integer >= 0 &&
        size_t(index.integer) < max_slots)
        return push(int32_t(p.slot) + index.integer);
    push(int32_t(p.slot));
    if (!(generate_expression(p.index) & integer_types))
        fail("Wrong operand. Expected integer value", begin_of(p.index));
    emit(opcode::add);
}

}  // namespace tavuvm_expr::code_gen
