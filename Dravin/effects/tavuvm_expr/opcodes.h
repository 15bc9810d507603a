// Instruction codes of the machine: one list feeds the enumeration, the checks, the disassembler.
//
// X(name, code, operand cells in the code, values popped, values pushed). `list_store` and `call`
// pop as many more values as their counts say.
#pragma once

#include <cstdint>

#define TAVUVM_OPCODES(X)          \
    X(no_operation, 1, 0, 0, 0)    \
    X(add, 2, 0, 2, 1)             \
    X(sub, 3, 0, 2, 1)             \
    X(mult, 4, 0, 2, 1)            \
    X(div, 5, 0, 2, 1)             \
    X(mod, 6, 0, 2, 1)             \
    X(pow, 7, 0, 2, 1)             \
    X(equal, 8, 0, 2, 1)           \
    X(not_equal, 9, 0, 2, 1)       \
    X(less, 10, 0, 2, 1)           \
    X(less_equal, 11, 0, 2, 1)     \
    X(greater, 12, 0, 2, 1)        \
    X(greater_equal, 13, 0, 2, 1)  \
    X(log_and, 14, 0, 2, 1)        \
    X(log_or, 15, 0, 2, 1)         \
    X(bit_and, 16, 0, 2, 1)        \
    X(bit_or, 17, 0, 2, 1)         \
    X(bit_xor, 18, 0, 2, 1)        \
    X(neg, 19, 0, 1, 1)            \
    X(not_, 20, 0, 1, 1)           \
    X(shift_left, 21, 0, 2, 1)     \
    X(shift_right, 22, 0, 2, 1)    \
    X(load, 23, 0, 1, 1)           \
    X(store, 24, 0, 3, 0)          \
    X(fill, 25, 0, 3, 0)           \
    X(list_store, 27, 0, 3, 0)     \
    X(frame_base, 33, 0, 0, 1)     \
    X(stack_base, 34, 0, 0, 1)     \
    X(load_register, 35, 0, 1, 1)  \
    X(load_vector, 37, 0, 1, 1)    \
    X(store_vector, 38, 0, 2, 0)   \
    X(set_x, 39, 0, 2, 0)          \
    X(set_y, 40, 0, 2, 0)          \
    X(set_z, 41, 0, 2, 0)          \
    X(get_x, 42, 0, 1, 1)          \
    X(get_y, 43, 0, 1, 1)          \
    X(get_z, 44, 0, 1, 1)          \
    X(push, 45, 1, 0, 1)           \
    X(push_one, 46, 0, 0, 1)       \
    X(push_zero, 47, 0, 0, 1)      \
    X(call, 48, 2, 0, 1)           \
    X(program_header, 51, 1, 0, 0) \
    X(return_, 53, 0, 1, 0)        \
    X(print, 54, 0, 1, 0)          \
    X(stop, 56, 0, 1, 0)

namespace tavuvm_expr {

enum class opcode : int32_t {
#define X(name, code, operands, pops, pushes) name = code,
    TAVUVM_OPCODES(X)
#undef X
};

struct opcode_info {
    const char* name = nullptr;  // null: no instruction, skipped
    int operands = 0, pops = 0, pushes = 0;
};

// Of any number; codes without an instruction are skipped by the machine.
constexpr opcode_info info_of(int32_t code) {
    switch (code) {
#define X(name, code, operands, pops, pushes) \
    case code:                                \
        return {#name, operands, pops, pushes};
        TAVUVM_OPCODES(X)
#undef X
        default:
            return {};
    }
}

// The binary operators stand between these.
constexpr bool is_binary(opcode op) {
    return (op >= opcode::add && op <= opcode::bit_xor) || op == opcode::shift_left ||
           op == opcode::shift_right;
}

// Logical operators and shifts.
constexpr bool needs_integers(opcode op) {
    return (op >= opcode::log_and && op <= opcode::bit_xor) || op == opcode::shift_left ||
           op == opcode::shift_right;
}

}  // namespace tavuvm_expr
