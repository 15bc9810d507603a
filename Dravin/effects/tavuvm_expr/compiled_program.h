// A compiled program: what a machine runs.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Dravin/effects/tavuvm_expr/functions.h"
#include "Dravin/effects/tavuvm_expr/opcodes.h"
#include "Dravin/effects/tavuvm_expr/value.h"

namespace tavuvm_expr {

struct compiled_program {
    // Cells: an instruction code as an integer, followed by its operand cells.
    std::vector<value> code;
    // The variable area before a run, and which slots no store changes. Slots of the host come
    // first, those of the program's own variables behind them.
    std::vector<value> initial;
    std::vector<uint8_t> is_constant;
    size_t num_host_slots = 0;
    const function_library* functions = nullptr;
};

// Most values that the code can have on its stack at one time, whatever its counts turn out to be.
size_t stack_bound(const std::vector<value>& code);

// One line an instruction: cell, name, operands. For tests and the curious.
std::string disassembled(const compiled_program& p);

}  // namespace tavuvm_expr
