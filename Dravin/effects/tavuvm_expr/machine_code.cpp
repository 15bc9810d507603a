#include "Dravin/effects/tavuvm_expr/machine_code.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace tavuvm_expr {

namespace {

constexpr int32_t num_vector_registers = 4;
constexpr uint8_t always_fails = 255;  // more values than any stack holds below it

step_kind kind_of(opcode op) {
    switch (op) {
#define X(name, code, operands, pops, pushes) \
    case opcode::name:                        \
        return step_kind::name;
        TAVUVM_OPCODES(X)
#undef X
    }
    return step_kind::no_operation;
}

// Built-in functions that are a step of their own.
constexpr std::pair<std::string_view, step_kind> inlined[] = {
    {"min", step_kind::call_min},
    {"max", step_kind::call_max},
    {"if", step_kind::call_if},
    {"length", step_kind::call_length},
};

}  // namespace

machine_code::machine_code(const compiled_program& p, const value* variables, size_t start)
    : m_program(&p), m_variables(variables) {
    for (size_t cell = start; cell < p.code.size();) {
        opcode_info info = info_of(p.code[cell].to_integer());
        if (info.name) m_steps.push_back(decode(p, cell));
        while (merge()) {
        }
        cell += 1 + size_t(info.operands);
    }
    m_is_verified = start == 0 && verify();
    if (m_is_verified)
        for (machine_step& s : m_steps) resolve_call(p, s);
}

machine_step machine_code::decode(const compiled_program& p, size_t cell) const {
    machine_step s;
    s.op = opcode(p.code[cell].to_integer());
    opcode_info info = info_of(int32_t(s.op));
    s.kind = kind_of(s.op);
    s.cell = uint32_t(cell);
    s.pops = uint8_t(info.pops);
    s.pushes = uint8_t(info.pushes);
    bool whole = p.code.size() - cell - 1 >= size_t(info.operands);
    if (!whole) s.pops = always_fails;
    if (whole && info.operands > 0) {
        s.immediate = p.code[cell + 1];
        s.a = s.immediate.to_integer();
    }
    if (whole && info.operands > 1) s.b = p.code[cell + 2].to_integer();
    return s;
}

// Calls of functions that exist, with as many arguments as they take, need no questions in a run.
void machine_code::resolve_call(const compiled_program& p, machine_step& s) const {
    bool exists = s.kind == step_kind::call && s.a >= 0 && size_t(s.a) < p.functions->size();
    if (!exists) return;
    const function& f = p.functions->at(size_t(s.a));
    if (!f.body || s.b < 0 || size_t(s.b) != f.arguments.size() || size_t(s.b) > max_arguments)
        return;
    s.kind = step_kind::call_known;
    s.known = &f;
    if (!f.is_builtin) return;
    for (const auto& [name, kind] : inlined)
        if (f.name == name) s.kind = kind;
}

// --- merging

void machine_code::replace(size_t count, const machine_step& s) {
    m_steps.resize(m_steps.size() - count);
    m_steps.push_back(s);
}

// Whether the step `back` before the last pushes an integer literal.
bool machine_code::is_pushed(size_t back) const {
    if (m_steps.size() <= back) return false;
    const machine_step& s = last(back);
    return s.kind == step_kind::push && s.pops == 0 && s.immediate.is_integer();
}

// Merges the last step with what stands before it; false when there is nothing to merge.
bool machine_code::merge() {
    if (m_steps.empty() || last().pops == always_fails) return false;
    if (is_binary(last().op)) return last().target < 0 && merge_operands();
    if (last().kind == step_kind::store_slot) return merge_store_part() || merge_target();
    machine_step s = last();
    bool reads_part = s.kind >= step_kind::get_x && s.kind <= step_kind::get_z;
    if (reads_part && m_steps.size() > 1 && last(1).kind == step_kind::load_slot) {
        s.a = last(1).a;
        s.b = int32_t(s.kind) - int32_t(step_kind::get_x);
        s.kind = step_kind::load_part;
        s.pops = 0;
        replace(2, s);
        return true;
    }

    if (!is_pushed(1)) return false;
    const int32_t number = last(1).a;
    auto is_slot = [&](int32_t i) { return i >= 0 && size_t(i) < m_program->initial.size(); };
    size_t merged = 2;
    s.a = number;
    switch (s.kind) {
        case step_kind::load:
            if (!is_slot(number)) return false;
            s.kind = step_kind::load_slot;
            break;
        case step_kind::store:
            if (!is_pushed(2) || number < 1 || number > 3 || !is_slot(last(2).a)) return false;
            s.kind = step_kind::store_slot;
            s.a = last(2).a;
            s.b = number;
            merged = 3;
            break;
        case step_kind::load_vector:
            s.kind = step_kind::load_vector_of;
            break;
        case step_kind::store_vector:
            s.kind = step_kind::store_vector_of;
            break;
        case step_kind::set_x:
        case step_kind::set_y:
        case step_kind::set_z:
            s.b = int32_t(s.kind) - int32_t(step_kind::set_x);
            s.kind = step_kind::set_part_of;
            break;
        default:
            return false;
    }
    bool is_register = s.kind != step_kind::load_slot && s.kind != step_kind::store_slot;
    if (is_register && (number < 0 || number >= num_vector_registers)) return false;
    s.pops = uint8_t(s.pops - (merged - 1));
    replace(merged, s);
    return true;
}

// `v.x = number` is compiled as: load v, into register 0, set its x, load it, store v.
bool machine_code::merge_store_part() {
    if (m_steps.size() < 5) return false;
    const machine_step &load = last(4), &keep = last(3), &set = last(2), &take = last(1);
    bool matches = load.kind == step_kind::load_slot && load.a == last().a && last().b == 3 &&
                   keep.kind == step_kind::store_vector_of && keep.a == 0 &&
                   set.kind == step_kind::set_part_of && set.a == 0 &&
                   take.kind == step_kind::load_vector_of && take.a == 0;
    if (!matches) return false;
    machine_step s = last();
    s.kind = step_kind::store_part;
    s.b = set.b;
    replace(5, s);
    return true;
}

// An operator whose result goes straight into a variable puts it there.
bool machine_code::merge_target() {
    if (m_steps.size() < 2 || !is_binary(last(1).op) || last(1).target >= 0) return false;
    machine_step s = last(1);
    s.target = last().a;
    s.b = last().b;
    s.pushes = 0;
    replace(2, s);
    return true;
}

// Where the value that a step pushes stands anyway; null when it has to be computed.
const value* machine_code::operand_of(const machine_step& s) const {
    if (s.kind == step_kind::load_slot) return m_variables + s.a;
    bool pushes = s.kind == step_kind::push && s.pops == 0;
    return pushes ? &m_program->code[s.cell + 1] : nullptr;
}

// An operator reads variables and literals where they stand instead of from the stack.
bool machine_code::merge_operands() {
    machine_step s = last();
    if (s.right || m_steps.size() < 2) return false;
    s.right = operand_of(last(1));
    if (!s.right) return false;
    if (m_steps.size() > 2) s.left = operand_of(last(2));
    size_t merged = s.left ? 2 : 1;
    s.pops = uint8_t(s.pops - merged);
    replace(merged + 1, s);
    return true;
}

// --- verification

bool machine_code::verify() const {
    if (m_steps.empty() || m_steps[0].kind != step_kind::program_header) return false;
    if (size_t(uint32_t(m_steps[0].a)) != m_program->initial.size()) return false;
    int64_t depth = 0;
    for (size_t i = 1; i < m_steps.size(); ++i) {
        const machine_step& s = m_steps[i];
        int64_t pops = s.pops;
        if (s.kind == step_kind::program_header) return false;
        if (s.kind == step_kind::call) pops += std::clamp(s.b, 0, int32_t(max_arguments));
        if (s.kind == step_kind::list_store) {
            if (i < 3) return false;
            const machine_step& count = m_steps[i - 2];
            if (count.kind != step_kind::push || m_steps[i - 1].kind != step_kind::push)
                return false;
            pops += std::max(count.immediate.to_integer(), 0);
        }
        if (depth < pops) return false;
        depth += s.pushes - pops;
    }
    return true;
}

}  // namespace tavuvm_expr
