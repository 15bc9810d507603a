// The fast form of a program: the same code, decoded once into operations over whole lanes of
// items.
//
// Programs have no jumps, so the stack of the plain machine can be followed while decoding: every
// value becomes the result of one operation, vectors become three lanes of numbers, what is the
// same for all items is computed once a binding, and what nobody reads is left out. The plain
// machine (vmachine.h) is the meaning: results are the same bits.
//
// Not every program has this form: those that compute the index of an array, and code that the
// compiler does not produce, run on the plain machine only.
#pragma once

#include <memory>
#include <vector>

#include "Dravin/effects/tavuvm_expr/compiled_program.h"
#include "Dravin/effects/tavuvm_expr/lane_ops.h"

namespace tavuvm_expr {

// Index of a register: one lane of numbers.
using lane_register = uint32_t;
inline constexpr lane_register no_register = ~0u;
// Programs that need more stay on the plain machine; operations hold 16 bits of each.
inline constexpr size_t max_registers = 65000;

// Most arguments of an operation: calls of functions without lanes take every argument as up to
// four numbers.
struct lane_instruction {
    lane_op op = lane_op::count;  // count: a call, a lane for each argument's numbers
    lane_register result = no_register;
    uint32_t first_argument = 0;  // in the program's `arguments`
    uint32_t num_arguments = 0;
    uint32_t call = 0;  // index into `calls`
};

// A value in lanes. A number whose kind differs from item to item is held both as a real and as an
// integer, with a lane that says which it is.
struct lane_value {
    enum class shape : uint8_t { integer, real, vector, number };
    shape kind = shape::integer;
    // integer: the integer; real: the real; vector: x, y, z; number: real, integer, is-integer.
    lane_register part[3] = {no_register, no_register, no_register};
};

// A call of a function that has no lanes: item by item.
struct lane_call {
    uint32_t function = 0;
    std::vector<lane_value> arguments;
    lane_value result;  // of the function's declared kind
};

class batch_program {
public:
    // Null when the program has no such form. varying[slot]: the host gives another value for each
    // item; all other slots of the host are the same for all. functions of the program stay
    // borrowed.
    static std::shared_ptr<const batch_program> make(const compiled_program& p,
                                                     const std::vector<uint8_t>& varying);

    struct binding {
        size_t slot = 0;
        lane_value value;
    };
    std::vector<binding> inputs;    // varying slots that the program reads
    std::vector<binding> uniforms;  // other slots of the host that it reads
    std::vector<binding> outputs;   // slots of the host that it stores into, in order of slots
    lane_value result;              // of `return`
    bool returns = false;

    struct constant {
        lane_register target = no_register;
        value number;  // integer or real
    };
    std::vector<constant> constants;
    std::vector<lane_instruction> uniform_code;  // run once a binding
    std::vector<lane_instruction> code;          // run for every batch
    std::vector<lane_register> arguments;
    std::vector<lane_call> calls;

    // Registers below num_uniform hold one number, the others a lane.
    uint32_t num_registers = 0;
    std::vector<uint8_t> is_uniform;
    bool can_fail = false;
    bool draws = false;  // uses the items' random numbers
};

}  // namespace tavuvm_expr
