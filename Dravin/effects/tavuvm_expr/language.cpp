#include "Dravin/effects/tavuvm_expr/language.h"

#include <algorithm>
#include <cassert>
#include <numbers>

namespace tavuvm_expr {

std::string folded(std::string_view name) {
    std::string text(name);
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return text;
}

value zero_of(type_code type) {
    if (type == type_code::real) return 0.0f;
    if (type == type_code::vector) return vector3{};
    return 0;
}

int structure::find(std::string_view name) const {
    auto same = [&](const attribute& a) { return folded(a.name) == name; };
    auto it = std::find_if(attributes.begin(), attributes.end(), same);
    return it == attributes.end() ? -1 : int(it - attributes.begin());
}

language::language(const function_library& functions) : m_functions(&functions) {
    declare_constant("pi", float(std::numbers::pi));
    declare_constant("e", float(std::numbers::e));
}

size_t language::add_slot(const value& initial, bool constant) {
    assert(m_initial.size() < max_slots);
    m_initial.push_back(initial);
    m_constant.push_back(constant);
    return m_initial.size() - 1;
}

size_t language::declare_constant(std::string_view name, const value& constant) {
    assert(!is_taken(name));
    auto type = type_code(int(constant.kind()) + 1);
    size_t slot = add_slot(constant, true);
    m_variables[folded(name)] = {declaration_kind::host_variable, type, false, 1, slot};
    return slot;
}

size_t language::declare_variable(std::string_view name, type_code type, const value& initial) {
    assert(!is_taken(name));
    size_t slot = add_slot(initial, false);
    m_variables[folded(name)] = {declaration_kind::host_variable, type, false, 1, slot};
    return slot;
}

size_t language::declare_structure(std::string_view name, std::vector<attribute> attributes) {
    assert(!find_structure(folded(name)) && !find_variable(folded(name)));
    size_t first = m_initial.size();
    for (const attribute& a : attributes) add_slot(zero_of(a.type), false);
    m_structures[folded(name)] = {std::move(attributes), first};
    return first;
}

declaration_kind language::kind_of(std::string_view name) const {
    std::string key = folded(name);
    if (const variable* v = find_variable(key)) return v->kind;
    if (find_structure(key)) return declaration_kind::structure;
    return m_functions->find(key) >= 0 ? declaration_kind::function : declaration_kind::none;
}

const variable* language::find_variable(std::string_view name) const {
    auto it = m_variables.find(std::string(name));
    return it == m_variables.end() ? nullptr : &it->second;
}

const structure* language::find_structure(std::string_view name) const {
    auto it = m_structures.find(std::string(name));
    return it == m_structures.end() ? nullptr : &it->second;
}

}  // namespace tavuvm_expr
