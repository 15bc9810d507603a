// Statements and names.
#include "Dravin/effects/tavuvm_expr/code_gen.h"

#include <fmt/format.h>

namespace tavuvm_expr::code_gen {

using ast::expression_kind;
using ast::node_index;

namespace {

// Registers for vectors under construction: one for the vector, one for its address, and one that
// takes the result of a call that nobody wants.
constexpr int work_register = 0, address_register = 1, waste_register = 3;

type_code type_of(ast::declared_type type) { return type_code(int(type)); }

std::string lower_name(type_code type) { return folded(type_name(type)); }

}  // namespace

program::program(const ast::statements& tree, const language& names)
    : m_tree(tree), m_names(names), m_initial(names.initial_values()) {}

compiled_program program::generate() {
    emit(opcode::program_header);
    m_code.push_back(0);
    for (const ast::statement& s : m_tree.list) generate(s);
    m_code[1] = int32_t(m_initial.size());

    compiled_program p;
    p.code = std::move(m_code);
    p.initial = std::move(m_initial);
    p.is_constant = m_names.constant_flags();
    p.is_constant.resize(p.initial.size());
    p.num_host_slots = m_names.num_slots();
    p.functions = &m_names.functions();
    return p;
}

void program::generate(const ast::statement& s) {
    switch (s.kind) {
        case ast::statement_kind::nil:
            fail("Internal error: compiling 'nil'", s.range.first);
        case ast::statement_kind::return_statement:
            generate_expression(s.value);
            push(0);
            emit(opcode::return_);
            break;
        case ast::statement_kind::print_statement:
            generate_expression(s.value);
            emit(opcode::print);
            break;
        case ast::statement_kind::assignment:
            generate_assignment(resolve(s.target, true), s.value, s.range.first);
            break;
        case ast::statement_kind::variable_declarations:
            for (uint32_t i = 0; i < s.num_declarations; ++i)
                generate_declaration(m_tree.declarations[s.first_declaration + i]);
            break;
        case ast::statement_kind::function_call:
            generate_expression(s.value);
            vector_register(opcode::store_vector, waste_register);
            break;
    }
}

// --- declarations

void program::generate_declaration(const ast::simple_variable_declaration& declaration) {
    declare(declaration);
    if (declaration.initialiser == ast::no_node) return;
    const variable& v = m_variables[m_tree.text(declaration.name)];
    place target{v.type, v.slot};
    target.is_array = v.is_array;
    target.array_size = v.array_size;
    generate_assignment(target, declaration.initialiser, declaration.range.first);
}

void program::declare(const ast::simple_variable_declaration& declaration) {
    const std::string& name = m_tree.text(declaration.name);
    size_t position = declaration.range.first;
    check_free(name, position);
    if (declaration.array_size < 1 || size_t(declaration.array_size) > max_slots - m_initial.size())
        fail("Compile error allocating variable", position);
    type_code type = type_of(declaration.type);
    m_variables[name] = {declaration_kind::variable, type, declaration.is_array,
                         declaration.array_size, m_initial.size()};
    m_initial.insert(m_initial.end(), size_t(declaration.array_size), zero_of(type));
}

void program::check_free(const std::string& name, size_t position) const {
    if (m_variables.contains(name)) fail("Duplicated variable \"" + name + "\"", position);
    if (m_names.is_taken(name)) fail("Duplicated identifier \"" + name + "\"", position);
}

// --- assignments

void program::generate_assignment(const place& target, node_index assigned, size_t position) {
    if (!target.is_writable) fail("Invalid variable attribute", position);
    const ast::expression& e = m_tree.node(assigned);
    if (e.kind == expression_kind::expression_list)
        return generate_list(target, assigned, position);
    if (e.kind == expression_kind::string) fail("Invalid assignment", position);

    check_storable(target.value_type(), generate_expression(assigned), position);
    if (target.component >= 0) return store_component(target);
    if (!target.is_array) return store(target);
    // One value for all elements of an array.
    push(int32_t(target.slot));
    push(target.array_size);
    emit(opcode::fill);
}

void program::generate_list(const place& target, node_index list, size_t position) {
    if (!target.is_array) fail("Single value cannot initialized from an array", position);
    auto elements = m_tree.children(list);
    if (elements.size() != size_t(target.array_size))
        fail(fmt::format("Wrong operand. Expected {} of size {}", lower_name(target.type),
                         target.array_size),
             begin_of(list));
    for (node_index element : elements)
        check_storable(target.type, generate_expression(element), begin_of(element));
    push(int32_t(target.slot));
    push(target.array_size);
    push(int32_t(target.type));
    emit(opcode::list_store);
}

void program::check_storable(type_code target, type_set assigned, size_t position) const {
    type_set wanted = target == type_code::vector ? vector_types : number_types;
    if (set_of(target) & handle_types) wanted = 0;
    if (!(assigned & wanted)) fail("Invalid assignment", position);
}

void program::store(const place& target) {
    address(target);
    push(int32_t(target.type));
    emit(opcode::store);
}

// The value on the stack goes into one component: the vector is loaded, changed and stored back.
void program::store_component(const place& target) {
    // An address that has to be computed is computed once: its index may draw random numbers.
    bool computed = target.index != ast::no_node;
    address(target);
    if (computed) {
        vector_register(opcode::store_vector, address_register);
        vector_register(opcode::load_vector, address_register);
    }
    emit(opcode::load);
    vector_register(opcode::store_vector, work_register);
    constexpr opcode setters[] = {opcode::set_x, opcode::set_y, opcode::set_z};
    vector_register(setters[target.component], work_register);
    vector_register(opcode::load_vector, work_register);
    if (computed)
        vector_register(opcode::load_vector, address_register);
    else
        address(target);
    push(int32_t(type_code::vector));
    emit(opcode::store);
}

// --- names

const variable* program::find_variable(const std::string& name) const {
    auto it = m_variables.find(name);
    return it != m_variables.end() ? &it->second : m_names.find_variable(name);
}

program::place program::resolve(node_index node, bool is_target) const {
    const ast::expression& e = m_tree.node(node);
    if (e.kind == expression_kind::identifier_component) return resolve_attribute(node, is_target);
    if (m_names.find_structure(m_tree.text(e.name)) && !find_variable(m_tree.text(e.name))) {
        if (is_target) fail("Expected reference", e.range.first);
        fail("Wrong operand. attribute expected", e.range.first);
    }
    return resolve_variable(node);
}

program::place program::resolve_variable(node_index node) const {
    const ast::expression& e = m_tree.node(node);
    const std::string& name = m_tree.text(e.name);
    const variable* v = find_variable(name);
    if (!v) fail("Undeclared variable \"" + name + "\"", e.range.first);
    place p{v->type, v->slot};
    if (e.kind == expression_kind::identifier_array) {
        p.index = m_tree.children(e)[0];
    } else {
        p.is_array = v->is_array;
        p.array_size = v->array_size;
    }
    return p;
}

// a.b, a.b.x and v.x: attributes of structures, components of vectors.
program::place program::resolve_attribute(node_index node, bool is_target) const {
    const ast::expression& e = m_tree.node(node);
    auto parts = m_tree.children(e);
    const ast::expression& first = m_tree.node(parts[0]);
    const structure* s = m_names.find_structure(m_tree.text(first.name));
    if (!s || first.kind != expression_kind::identifier)
        return resolve_component(resolve_variable(parts[0]), parts.subspan(1), e.range.first);

    const ast::expression& named = m_tree.node(parts[1]);
    int i = s->find(m_tree.text(named.name));
    if (i < 0) fail(is_target ? "Unknown variable attribute" : "Unknown attribute", e.range.first);
    if (named.kind != expression_kind::identifier)
        fail("Invalid variable attribute", e.range.first);
    const attribute& a = s->attributes[size_t(i)];
    place p{a.type, s->first_slot + size_t(i)};
    p.is_writable = a.is_writable;
    return resolve_component(p, parts.subspan(2), e.range.first);
}

// rest: the names behind a variable or attribute; none, or one of x, y, z behind a vector.
program::place program::resolve_component(place whole, std::span<const node_index> rest,
                                          size_t position) const {
    if (rest.empty()) return whole;
    const ast::expression& e = m_tree.node(rest[0]);
    const std::string& name = m_tree.text(e.name);
    bool is_component = e.kind == expression_kind::identifier && name.size() == 1 &&
                        name[0] >= 'x' && name[0] <= 'z';
    if (!is_component || rest.size() > 1 || whole.type != type_code::vector || whole.is_array)
        fail("Invalid variable attribute", position);
    whole.component = name[0] - 'x';
    return whole;
}

// --- code

void program::push(const value& immediate) {
    emit(opcode::push);
    m_code.push_back(immediate);
}

void program::vector_register(opcode op, int number) {
    push(number);
    emit(op);
}

}  // namespace tavuvm_expr::code_gen
