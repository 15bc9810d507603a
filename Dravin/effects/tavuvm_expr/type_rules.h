// Which operands an operator accepts, and the type of its result.
#pragma once

#include <optional>

#include "Dravin/effects/tavuvm_expr/opcodes.h"
#include "Dravin/effects/tavuvm_expr/tokens.h"
#include "Dravin/effects/tavuvm_expr/types.h"

namespace tavuvm_expr::algebra {

// Instruction of a binary operator; none for those that stand alone.
std::optional<opcode> instruction_of(token_type op);

// Result types over all pairs of the operands' types that the operator takes; 0 when it takes none.
// Only integer, real, vector and boolean count.
type_set validate(opcode op, type_set left, type_set right);

}  // namespace tavuvm_expr::algebra
