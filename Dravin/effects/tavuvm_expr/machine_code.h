// A program's code as the machine runs it: decoded once, with what often stands together merged
// into one step.
//
// A `push` followed by the instruction that takes the number from the stack at once becomes one
// step; operators read variables and literals where they stand; changing one component of a vector
// variable is one step instead of five. Results and errors are those of the cells: every step
// knows the cell of the instruction that can fail.
#pragma once

#include <vector>

#include "Dravin/effects/tavuvm_expr/compiled_program.h"

// Steps that stand for more than one instruction, or for one whose questions are answered.
#define TAVUVM_MERGED_STEPS(X) \
    X(load_slot)               \
    X(load_part)               \
    X(store_slot)              \
    X(store_part)              \
    X(load_vector_of)          \
    X(store_vector_of)         \
    X(set_part_of)             \
    X(call_known)              \
    X(call_min)                \
    X(call_max)                \
    X(call_if)                 \
    X(call_length)

namespace tavuvm_expr {

enum class step_kind : uint8_t {
#define X(name, code, operands, pops, pushes) name,
    TAVUVM_OPCODES(X)
#undef X
#define X(name) name,
        TAVUVM_MERGED_STEPS(X)
#undef X
};

struct machine_step {
    step_kind kind = step_kind::no_operation;
    uint8_t pops = 0, pushes = 0;
    opcode op = opcode::no_operation;  // of the instruction that it stands for
    uint32_t cell = 0;
    // Slot and type (store_slot), slot and axis (parts), register and axis (set_part_of), function
    // and number of arguments (calls), number of variables (program_header).
    int32_t a = 0, b = 0;
    // Operands of an operator that need not come from the stack; null: they do.
    const value *left = nullptr, *right = nullptr;
    const function* known = nullptr;
    int32_t target = -1;  // slot that an operator's result goes to, as type b; -1: the stack
    value immediate;
};

class machine_code {
public:
    machine_code() = default;
    // variables: the machine's variable area; it and the program must stay where they are.
    machine_code(const compiled_program& p, const value* variables, size_t start);

    const std::vector<machine_step>& steps() const { return m_steps; }
    // Whether no step can find too few values on the stack, or too little room: there are no jumps,
    // so its depth is known everywhere. All code of the compiler passes.
    bool is_verified() const { return m_is_verified; }

private:
    machine_step decode(const compiled_program& p, size_t cell) const;
    void resolve_call(const compiled_program& p, machine_step& s) const;
    bool merge();
    bool merge_operands();
    bool merge_store_part();
    bool merge_target();
    bool is_pushed(size_t back) const;
    const value* operand_of(const machine_step& s) const;
    bool verify() const;
    machine_step& last(size_t back = 0) { return m_steps[m_steps.size() - 1 - back]; }
    const machine_step& last(size_t back = 0) const { return m_steps[m_steps.size() - 1 - back]; }
    void replace(size_t count, const machine_step& s);

    const compiled_program* m_program = nullptr;
    const value* m_variables = nullptr;
    std::vector<machine_step> m_steps;
    bool m_is_verified = false;
};

}  // namespace tavuvm_expr
