// What the operations over lanes compute of the numbers of one item: shared by the machine that
// takes whole lanes and by the one that takes single items, so that both give the same bits.
//
// A structure an operation, called like a function; names are those of lane_ops.h.
#pragma once

#include "Dravin/effects/tavuvm_expr/builtins.h"

namespace tavuvm_expr::numbers {

using i32 = int32_t;

// Always part of the loop that calls it, which is compiled for wider vectors than this.
#define TAVUVM_FUNCTION(name, parameters, result)                                         \
    struct name {                                                                         \
        [[gnu::always_inline]] inline auto operator() parameters const { return result; } \
    };

TAVUVM_FUNCTION(add_r, (float a, float b), a + b)
TAVUVM_FUNCTION(sub_r, (float a, float b), a - b)
TAVUVM_FUNCTION(mul_r, (float a, float b), a* b)
TAVUVM_FUNCTION(div_r, (float a, float b), algebra::is_near_zero(b) ? algebra::infinity : a / b)
TAVUVM_FUNCTION(mod_r, (float a, float b), algebra::mod(a, b))
TAVUVM_FUNCTION(pow_r, (float a, float b), std::pow(a, b))
TAVUVM_FUNCTION(eq_r, (float a, float b), i32(std::fabs(a - b) < algebra::tolerance))
TAVUVM_FUNCTION(ne_r, (float a, float b), i32(!(std::fabs(a - b) < algebra::tolerance)))
TAVUVM_FUNCTION(lt_r, (float a, float b), i32(a < b))
TAVUVM_FUNCTION(le_r, (float a, float b), i32(a <= b))
TAVUVM_FUNCTION(gt_r, (float a, float b), i32(a > b))
TAVUVM_FUNCTION(ge_r, (float a, float b), i32(a >= b))
TAVUVM_FUNCTION(neg_r, (float a), -a)
TAVUVM_FUNCTION(mul_add_r, (float a, float b, float c), a* b + c)
TAVUVM_FUNCTION(mul_sub_r, (float a, float b, float c), a* b - c)
TAVUVM_FUNCTION(sub_mul_r, (float a, float b, float c), a - b * c)

TAVUVM_FUNCTION(add_i, (i32 a, i32 b), algebra::add(a, b))
TAVUVM_FUNCTION(sub_i, (i32 a, i32 b), algebra::sub(a, b))
TAVUVM_FUNCTION(mul_i, (i32 a, i32 b), algebra::mult(a, b))
TAVUVM_FUNCTION(div_i, (i32 a, i32 b), algebra::div(a, b))
TAVUVM_FUNCTION(mod_i, (i32 a, i32 b), algebra::mod(a, b))
TAVUVM_FUNCTION(pow_i, (i32 a, i32 b), algebra::pow(a, b))
TAVUVM_FUNCTION(eq_i, (i32 a, i32 b), i32(a == b))
TAVUVM_FUNCTION(ne_i, (i32 a, i32 b), i32(a != b))
TAVUVM_FUNCTION(lt_i, (i32 a, i32 b), i32(a < b))
TAVUVM_FUNCTION(le_i, (i32 a, i32 b), i32(a <= b))
TAVUVM_FUNCTION(gt_i, (i32 a, i32 b), i32(a > b))
TAVUVM_FUNCTION(ge_i, (i32 a, i32 b), i32(a >= b))
TAVUVM_FUNCTION(log_and_i, (i32 a, i32 b), algebra::log_and(a, b))
TAVUVM_FUNCTION(log_or_i, (i32 a, i32 b), algebra::log_or(a, b))
TAVUVM_FUNCTION(and_i, (i32 a, i32 b), a& b)
TAVUVM_FUNCTION(or_i, (i32 a, i32 b), a | b)
TAVUVM_FUNCTION(xor_i, (i32 a, i32 b), a ^ b)
TAVUVM_FUNCTION(shl_i, (i32 a, i32 b), algebra::shift_left(a, b))
TAVUVM_FUNCTION(shr_i, (i32 a, i32 b), algebra::shift_right(a, b))
TAVUVM_FUNCTION(not_i, (i32 a), i32(a == 0))
TAVUVM_FUNCTION(to_real, (i32 a), float(a))
TAVUVM_FUNCTION(to_integer, (float a), truncated(a))
TAVUVM_FUNCTION(select_r, (i32 c, float a, float b), c > 0 ? a : b)
TAVUVM_FUNCTION(select_i, (i32 c, i32 a, i32 b), c > 0 ? a : b)
TAVUVM_FUNCTION(min_r, (float a, float b), b < a ? b : a)
TAVUVM_FUNCTION(max_r, (float a, float b), b > a ? b : a)

TAVUVM_FUNCTION(sin, (float a), std::sin(a))
TAVUVM_FUNCTION(cos, (float a), std::cos(a))
TAVUVM_FUNCTION(tan, (float a), std::tan(a))
TAVUVM_FUNCTION(asin, (float a), std::asin(a))
TAVUVM_FUNCTION(acos, (float a), std::acos(a))
TAVUVM_FUNCTION(atan, (float a), std::atan(a))
TAVUVM_FUNCTION(sinh, (float a), std::sinh(a))
TAVUVM_FUNCTION(cosh, (float a), std::cosh(a))
TAVUVM_FUNCTION(tanh, (float a), std::tanh(a))
TAVUVM_FUNCTION(ln, (float a), std::log(a))
TAVUVM_FUNCTION(log, (float a), std::log10(a))
TAVUVM_FUNCTION(exp, (float a), std::exp(a))
TAVUVM_FUNCTION(sqrt, (float a), std::sqrt(a))
TAVUVM_FUNCTION(abs, (float a), std::fabs(a))
TAVUVM_FUNCTION(ceil, (float a), std::ceil(a))
TAVUVM_FUNCTION(floor, (float a), std::floor(a))
TAVUVM_FUNCTION(rad_to_deg, (float a), builtins::rad_to_deg(a))
TAVUVM_FUNCTION(deg_to_rad, (float a), builtins::deg_to_rad(a))
TAVUVM_FUNCTION(atan2, (float a, float b), std::atan2(a, b))
TAVUVM_FUNCTION(pow, (float a, float b), std::pow(a, b))
TAVUVM_FUNCTION(fmod, (float a, float b), std::fmod(a, b))
// One component of a vector of that length, as `unit` makes it.
TAVUVM_FUNCTION(unit_part, (float a, float l), algebra::is_near_zero(l) ? a : a / l)
TAVUVM_FUNCTION(ease_place, (float x, float a, float b), builtins::ease_place(x, a, b))
// Place, value at the start, value at the end, exponent.
TAVUVM_FUNCTION(ease_in, (float t, float a, float b, float p),
                t <= 0 ? a : builtins::ease_value(a, b, builtins::ease_in(t, p)))
TAVUVM_FUNCTION(ease_out, (float t, float a, float b, float p),
                t >= 1 ? b : builtins::ease_value(a, b, builtins::ease_out(t, p)))
TAVUVM_FUNCTION(ease_in_out, (float t, float a, float b, float p),
                t <= 0   ? a
                : t >= 1 ? b
                         : builtins::ease_value(a, b, builtins::ease_in_out(t, p)))

// x, y, z and the index of the component.
TAVUVM_FUNCTION(component, (float x, float y, float z, i32 i),
                i == 0   ? x
                : i == 1 ? y
                : i == 2 ? z
                         : 0.0f)

#undef TAVUVM_FUNCTION

}  // namespace tavuvm_expr::numbers
