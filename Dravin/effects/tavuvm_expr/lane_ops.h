// The operations of the batch machine: each takes whole lanes of numbers and makes a lane of them.
//
// X(name, result kind, kinds of the arguments); i is a lane of 32-bit integers, r of floats. Every
// operation gives bit for bit what the plain machine computes for each item; vectors are three
// lanes of floats.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "common/nurandom/nurandom_batch.h"

#define TAVUVM_NUMBER_OPS(X) \
    X(add_r, r, "rr")        \
    X(sub_r, r, "rr")        \
    X(mul_r, r, "rr")        \
    X(div_r, r, "rr")        \
    X(mod_r, r, "rr")        \
    X(pow_r, r, "rr")        \
    X(eq_r, i, "rr")         \
    X(ne_r, i, "rr")         \
    X(lt_r, i, "rr")         \
    X(le_r, i, "rr")         \
    X(gt_r, i, "rr")         \
    X(ge_r, i, "rr")         \
    X(neg_r, r, "r")         \
    X(mul_add_r, r, "rrr")   \
    X(mul_sub_r, r, "rrr")   \
    X(sub_mul_r, r, "rrr")   \
    X(add_i, i, "ii")        \
    X(sub_i, i, "ii")        \
    X(mul_i, i, "ii")        \
    X(div_i, i, "ii")        \
    X(mod_i, i, "ii")        \
    X(pow_i, i, "ii")        \
    X(eq_i, i, "ii")         \
    X(ne_i, i, "ii")         \
    X(lt_i, i, "ii")         \
    X(le_i, i, "ii")         \
    X(gt_i, i, "ii")         \
    X(ge_i, i, "ii")         \
    X(log_and_i, i, "ii")    \
    X(log_or_i, i, "ii")     \
    X(and_i, i, "ii")        \
    X(or_i, i, "ii")         \
    X(xor_i, i, "ii")        \
    X(shl_i, i, "ii")        \
    X(shr_i, i, "ii")        \
    X(not_i, i, "i")         \
    X(to_real, r, "i")       \
    X(to_integer, i, "r")    \
    X(select_r, r, "irr")    \
    X(select_i, i, "iii")    \
    X(min_r, r, "rr")        \
    X(max_r, r, "rr")        \
    X(sin, r, "r")           \
    X(cos, r, "r")           \
    X(tan, r, "r")           \
    X(asin, r, "r")          \
    X(acos, r, "r")          \
    X(atan, r, "r")          \
    X(sinh, r, "r")          \
    X(cosh, r, "r")          \
    X(tanh, r, "r")          \
    X(ln, r, "r")            \
    X(log, r, "r")           \
    X(exp, r, "r")           \
    X(sqrt, r, "r")          \
    X(abs, r, "r")           \
    X(ceil, r, "r")          \
    X(floor, r, "r")         \
    X(rad_to_deg, r, "r")    \
    X(deg_to_rad, r, "r")    \
    X(atan2, r, "rr")        \
    X(pow, r, "rr")          \
    X(fmod, r, "rr")         \
    X(unit_part, r, "rr")    \
    X(component, r, "rrri")  \
    X(ease_place, r, "rrr")  \
    X(ease_in, r, "rrrr")    \
    X(ease_out, r, "rrrr")   \
    X(ease_in_out, r, "rrrr")

// Those that may fail or draw numbers.
#define TAVUVM_STATE_OPS(X) \
    X(round, i, "r")        \
    X(trunc, r, "r")        \
    X(random_real, r, "rr") \
    X(random_int, i, "ii")

#define TAVUVM_LANE_OPS(X) \
    TAVUVM_NUMBER_OPS(X)   \
    TAVUVM_STATE_OPS(X)

namespace tavuvm_expr {

enum class lane_op : uint8_t {
#define X(name, result, arguments) name,
    TAVUVM_LANE_OPS(X)
#undef X
        count
};

struct lane_op_info {
    const char* name;
    char result;
    std::string_view arguments;
};
const lane_op_info& info_of(lane_op op);

// Draws numbers or may fail: never left out, never merged.
constexpr bool has_side_effect(lane_op op) { return op >= lane_op::round; }

// Most items that an operation takes at once.
inline constexpr size_t lane_width = 256;

// A lane, or one number for all items (stride 0).
struct lane_operand {
    const void* data = nullptr;
    size_t stride = 1;
};

// What operations work on besides their arguments.
struct lane_state {
    TNuRandomColumns randoms;   // one an item; empty: none
    uint8_t* failed = nullptr;  // set where the plain machine would stop with an error
};

// out may be one of the argument lanes.
using lane_kernel = void (*)(size_t count, const lane_operand* arguments, void* out,
                             const lane_state& state);

// One kernel an operation, for up to lane_width items, for the widest vectors that the processor
// has. Thread safe.
const lane_kernel* lane_kernels();

}  // namespace tavuvm_expr
