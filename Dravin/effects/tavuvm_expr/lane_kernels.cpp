// The operations over whole lanes. The loops are plain; compiled once for every instruction set,
// the compiler makes vectors of them. No operation is contracted or reordered, so all give equal
// bits.
#include "Dravin/effects/tavuvm_expr/lane_ops.h"

#include <cmath>

#include "Dravin/effects/tavuvm_expr/builtins.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Dravin/effects/tavuvm_expr/lane_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace tavuvm_expr {
namespace HWY_NAMESPACE {

// An output lane may be an input lane, but only item by item.
#if defined(__clang__)
#define TAVUVM_INDEPENDENT _Pragma("clang loop vectorize(assume_safety)")
#else
#define TAVUVM_INDEPENDENT _Pragma("GCC ivdep")
#endif

template <class T>
const T* lane(const lane_operand& operand) {
    return static_cast<const T*>(operand.data);
}

// --- one, two, three arguments; a uniform argument is read once

template <class R, class A, class F>
void unary(size_t count, const lane_operand* arguments, void* out, const lane_state&) {
    const A* a = lane<A>(arguments[0]);
    R* r = static_cast<R*>(out);
    TAVUVM_INDEPENDENT
    for (size_t i = 0; i < count; ++i) r[i] = F()(a[i]);
}

template <class R, class A, class B, class F>
void binary(size_t count, const lane_operand* arguments, void* out, const lane_state&) {
    const A* a = lane<A>(arguments[0]);
    const B* b = lane<B>(arguments[1]);
    R* r = static_cast<R*>(out);
    if (arguments[1].stride == 0) {
        const B s = *b;
        TAVUVM_INDEPENDENT
        for (size_t i = 0; i < count; ++i) r[i] = F()(a[i], s);
    } else if (arguments[0].stride == 0) {
        const A s = *a;
        TAVUVM_INDEPENDENT
        for (size_t i = 0; i < count; ++i) r[i] = F()(s, b[i]);
    } else {
        TAVUVM_INDEPENDENT
        for (size_t i = 0; i < count; ++i) r[i] = F()(a[i], b[i]);
    }
}

template <bool uniform_a, bool uniform_b, bool uniform_c, class R, class A, class B, class C,
          class F>
void ternary_loop(size_t count, const A* a, const B* b, const C* c, R* r) {
    const A first = *a;
    const B second = *b;
    const C third = *c;
    TAVUVM_INDEPENDENT
    for (size_t i = 0; i < count; ++i)
        r[i] = F()(uniform_a ? first : a[i], uniform_b ? second : b[i], uniform_c ? third : c[i]);
}

template <class R, class A, class B, class C, class F>
void ternary(size_t count, const lane_operand* arguments, void* out, const lane_state&) {
    const A* a = lane<A>(arguments[0]);
    const B* b = lane<B>(arguments[1]);
    const C* c = lane<C>(arguments[2]);
    R* r = static_cast<R*>(out);
    int uniform = (arguments[0].stride == 0) * 4 + (arguments[1].stride == 0) * 2 +
                  (arguments[2].stride == 0);
    switch (uniform) {
        case 0:
            return ternary_loop<0, 0, 0, R, A, B, C, F>(count, a, b, c, r);
        case 1:
            return ternary_loop<0, 0, 1, R, A, B, C, F>(count, a, b, c, r);
        case 2:
            return ternary_loop<0, 1, 0, R, A, B, C, F>(count, a, b, c, r);
        case 3:
            return ternary_loop<0, 1, 1, R, A, B, C, F>(count, a, b, c, r);
        case 4:
            return ternary_loop<1, 0, 0, R, A, B, C, F>(count, a, b, c, r);
        case 5:
            return ternary_loop<1, 0, 1, R, A, B, C, F>(count, a, b, c, r);
        case 6:
            return ternary_loop<1, 1, 0, R, A, B, C, F>(count, a, b, c, r);
        default:
            return ternary_loop<1, 1, 1, R, A, B, C, F>(count, a, b, c, r);
    }
}

// Four reals, any of them uniform.
template <class F>
void quaternary(size_t count, const lane_operand* arguments, void* out, const lane_state&) {
    const float* p[4];
    size_t stride[4];
    for (int k = 0; k < 4; ++k) p[k] = lane<float>(arguments[k]), stride[k] = arguments[k].stride;
    float* r = static_cast<float*>(out);
    for (size_t i = 0; i < count; ++i)
        r[i] =
            F()(p[0][i * stride[0]], p[1][i * stride[1]], p[2][i * stride[2]], p[3][i * stride[3]]);
}

using i32 = int32_t;

#define TAVUVM_FUNCTION(name, parameters, result)                      \
    struct name {                                                      \
        HWY_INLINE auto operator() parameters const { return result; } \
    };

TAVUVM_FUNCTION(f_add_r, (float a, float b), a + b)
TAVUVM_FUNCTION(f_sub_r, (float a, float b), a - b)
TAVUVM_FUNCTION(f_mul_r, (float a, float b), a* b)
TAVUVM_FUNCTION(f_div_r, (float a, float b), algebra::is_near_zero(b) ? algebra::infinity : a / b)
TAVUVM_FUNCTION(f_mod_r, (float a, float b), algebra::mod(a, b))
TAVUVM_FUNCTION(f_pow_r, (float a, float b), std::pow(a, b))
TAVUVM_FUNCTION(f_eq_r, (float a, float b), i32(std::fabs(a - b) < algebra::tolerance))
TAVUVM_FUNCTION(f_ne_r, (float a, float b), i32(!(std::fabs(a - b) < algebra::tolerance)))
TAVUVM_FUNCTION(f_lt_r, (float a, float b), i32(a < b))
TAVUVM_FUNCTION(f_le_r, (float a, float b), i32(a <= b))
TAVUVM_FUNCTION(f_gt_r, (float a, float b), i32(a > b))
TAVUVM_FUNCTION(f_ge_r, (float a, float b), i32(a >= b))
TAVUVM_FUNCTION(f_neg_r, (float a), -a)
TAVUVM_FUNCTION(f_mul_add_r, (float a, float b, float c), a* b + c)
TAVUVM_FUNCTION(f_mul_sub_r, (float a, float b, float c), a* b - c)
TAVUVM_FUNCTION(f_sub_mul_r, (float a, float b, float c), a - b * c)

TAVUVM_FUNCTION(f_add_i, (i32 a, i32 b), algebra::add(a, b))
TAVUVM_FUNCTION(f_sub_i, (i32 a, i32 b), algebra::sub(a, b))
TAVUVM_FUNCTION(f_mul_i, (i32 a, i32 b), algebra::mult(a, b))
TAVUVM_FUNCTION(f_div_i, (i32 a, i32 b), algebra::div(a, b))
TAVUVM_FUNCTION(f_mod_i, (i32 a, i32 b), algebra::mod(a, b))
TAVUVM_FUNCTION(f_pow_i, (i32 a, i32 b), algebra::pow(a, b))
TAVUVM_FUNCTION(f_eq_i, (i32 a, i32 b), i32(a == b))
TAVUVM_FUNCTION(f_ne_i, (i32 a, i32 b), i32(a != b))
TAVUVM_FUNCTION(f_lt_i, (i32 a, i32 b), i32(a < b))
TAVUVM_FUNCTION(f_le_i, (i32 a, i32 b), i32(a <= b))
TAVUVM_FUNCTION(f_gt_i, (i32 a, i32 b), i32(a > b))
TAVUVM_FUNCTION(f_ge_i, (i32 a, i32 b), i32(a >= b))
TAVUVM_FUNCTION(f_log_and_i, (i32 a, i32 b), algebra::log_and(a, b))
TAVUVM_FUNCTION(f_log_or_i, (i32 a, i32 b), algebra::log_or(a, b))
TAVUVM_FUNCTION(f_and_i, (i32 a, i32 b), a& b)
TAVUVM_FUNCTION(f_or_i, (i32 a, i32 b), a | b)
TAVUVM_FUNCTION(f_xor_i, (i32 a, i32 b), a ^ b)
TAVUVM_FUNCTION(f_shl_i, (i32 a, i32 b), algebra::shift_left(a, b))
TAVUVM_FUNCTION(f_shr_i, (i32 a, i32 b), algebra::shift_right(a, b))
TAVUVM_FUNCTION(f_not_i, (i32 a), i32(a == 0))
TAVUVM_FUNCTION(f_to_real, (i32 a), float(a))
TAVUVM_FUNCTION(f_to_integer, (float a), truncated(a))
TAVUVM_FUNCTION(f_select_r, (i32 c, float a, float b), c > 0 ? a : b)
TAVUVM_FUNCTION(f_select_i, (i32 c, i32 a, i32 b), c > 0 ? a : b)
TAVUVM_FUNCTION(f_min_r, (float a, float b), b < a ? b : a)
TAVUVM_FUNCTION(f_max_r, (float a, float b), b > a ? b : a)

TAVUVM_FUNCTION(f_sin, (float a), std::sin(a))
TAVUVM_FUNCTION(f_cos, (float a), std::cos(a))
TAVUVM_FUNCTION(f_tan, (float a), std::tan(a))
TAVUVM_FUNCTION(f_asin, (float a), std::asin(a))
TAVUVM_FUNCTION(f_acos, (float a), std::acos(a))
TAVUVM_FUNCTION(f_atan, (float a), std::atan(a))
TAVUVM_FUNCTION(f_sinh, (float a), std::sinh(a))
TAVUVM_FUNCTION(f_cosh, (float a), std::cosh(a))
TAVUVM_FUNCTION(f_tanh, (float a), std::tanh(a))
TAVUVM_FUNCTION(f_ln, (float a), std::log(a))
TAVUVM_FUNCTION(f_log, (float a), std::log10(a))
TAVUVM_FUNCTION(f_exp, (float a), std::exp(a))
TAVUVM_FUNCTION(f_sqrt, (float a), std::sqrt(a))
TAVUVM_FUNCTION(f_abs, (float a), std::fabs(a))
TAVUVM_FUNCTION(f_ceil, (float a), std::ceil(a))
TAVUVM_FUNCTION(f_floor, (float a), std::floor(a))
TAVUVM_FUNCTION(f_rad_to_deg, (float a), builtins::rad_to_deg(a))
TAVUVM_FUNCTION(f_deg_to_rad, (float a), builtins::deg_to_rad(a))
TAVUVM_FUNCTION(f_atan2, (float a, float b), std::atan2(a, b))
TAVUVM_FUNCTION(f_fmod, (float a, float b), std::fmod(a, b))
// One component of a vector of that length, as `unit` makes it.
TAVUVM_FUNCTION(f_unit_part, (float a, float l), algebra::is_near_zero(l) ? a : a / l)
TAVUVM_FUNCTION(f_ease_place, (float x, float a, float b), builtins::ease_place(x, a, b))
// Place, value at the start, value at the end, exponent.
TAVUVM_FUNCTION(f_ease_in, (float t, float a, float b, float p),
                t <= 0 ? a : builtins::ease_value(a, b, builtins::ease_in(t, p)))
TAVUVM_FUNCTION(f_ease_out, (float t, float a, float b, float p),
                t >= 1 ? b : builtins::ease_value(a, b, builtins::ease_out(t, p)))
TAVUVM_FUNCTION(f_ease_in_out, (float t, float a, float b, float p),
                t <= 0   ? a
                : t >= 1 ? b
                         : builtins::ease_value(a, b, builtins::ease_in_out(t, p)))

// x, y, z and the index of the component.
void component(size_t count, const lane_operand* arguments, void* out, const lane_state&) {
    const float* p[3];
    for (int k = 0; k < 3; ++k) p[k] = lane<float>(arguments[k]);
    const i32* index = lane<i32>(arguments[3]);
    float* r = static_cast<float*>(out);
    for (size_t i = 0; i < count; ++i) {
        i32 k = index[i * arguments[3].stride];
        r[i] = k >= 0 && k < 3 ? p[k][i * arguments[k].stride] : 0.0f;
    }
}

// --- rounding: a number without a whole one of 32 bits stops the plain machine

void round_lane(size_t count, const lane_operand* arguments, void* out, const lane_state& state) {
    const float* a = lane<float>(arguments[0]);
    i32* r = static_cast<i32*>(out);
    for (size_t i = 0; i < count; ++i) {
        float whole = std::round(a[i * arguments[0].stride]);
        if (!builtins::fits_integer(whole) && state.failed) state.failed[i] = 1;
        r[i] = truncated(whole);
    }
}

void trunc_lane(size_t count, const lane_operand* arguments, void* out, const lane_state& state) {
    const float* a = lane<float>(arguments[0]);
    float* r = static_cast<float*>(out);
    for (size_t i = 0; i < count; ++i) {
        float whole = std::trunc(a[i * arguments[0].stride]);
        if (!builtins::fits_integer(whole) && state.failed) state.failed[i] = 1;
        r[i] = whole;
    }
}

// --- draws

void random_real_lane(size_t count, const lane_operand* arguments, void* out,
                      const lane_state& state) {
    const float *a = lane<float>(arguments[0]), *b = lane<float>(arguments[1]);
    size_t stride_a = arguments[0].stride, stride_b = arguments[1].stride;
    float* r = static_cast<float*>(out);
    for (size_t i = 0; i < count; ++i)
        r[i] = state.randoms
                   ? builtins::random_real(*state.randoms[i], a[i * stride_a], b[i * stride_b])
                   : 0.0f;
}

void random_int_lane(size_t count, const lane_operand* arguments, void* out,
                     const lane_state& state) {
    const i32 *a = lane<i32>(arguments[0]), *b = lane<i32>(arguments[1]);
    size_t stride_a = arguments[0].stride, stride_b = arguments[1].stride;
    i32* r = static_cast<i32*>(out);
    for (size_t i = 0; i < count; ++i)
        r[i] = state.randoms
                   ? builtins::random_int(*state.randoms[i], a[i * stride_a], b[i * stride_b])
                   : 0;
}

// --- the table, in the order of the operations

#define TAVUVM_RR(name) binary<float, float, float, f_##name>
#define TAVUVM_RR_I(name) binary<i32, float, float, f_##name>
#define TAVUVM_II(name) binary<i32, i32, i32, f_##name>
#define TAVUVM_R(name) unary<float, float, f_##name>
#define TAVUVM_RRR(name) ternary<float, float, float, float, f_##name>

const lane_kernel kernels[] = {
    TAVUVM_RR(add_r),
    TAVUVM_RR(sub_r),
    TAVUVM_RR(mul_r),
    TAVUVM_RR(div_r),
    TAVUVM_RR(mod_r),
    TAVUVM_RR(pow_r),
    TAVUVM_RR_I(eq_r),
    TAVUVM_RR_I(ne_r),
    TAVUVM_RR_I(lt_r),
    TAVUVM_RR_I(le_r),
    TAVUVM_RR_I(gt_r),
    TAVUVM_RR_I(ge_r),
    TAVUVM_R(neg_r),
    TAVUVM_RRR(mul_add_r),
    TAVUVM_RRR(mul_sub_r),
    TAVUVM_RRR(sub_mul_r),
    TAVUVM_II(add_i),
    TAVUVM_II(sub_i),
    TAVUVM_II(mul_i),
    TAVUVM_II(div_i),
    TAVUVM_II(mod_i),
    TAVUVM_II(pow_i),
    TAVUVM_II(eq_i),
    TAVUVM_II(ne_i),
    TAVUVM_II(lt_i),
    TAVUVM_II(le_i),
    TAVUVM_II(gt_i),
    TAVUVM_II(ge_i),
    TAVUVM_II(log_and_i),
    TAVUVM_II(log_or_i),
    TAVUVM_II(and_i),
    TAVUVM_II(or_i),
    TAVUVM_II(xor_i),
    TAVUVM_II(shl_i),
    TAVUVM_II(shr_i),
    unary<i32, i32, f_not_i>,
    unary<float, i32, f_to_real>,
    unary<i32, float, f_to_integer>,
    ternary<float, i32, float, float, f_select_r>,
    ternary<i32, i32, i32, i32, f_select_i>,
    TAVUVM_RR(min_r),
    TAVUVM_RR(max_r),
    TAVUVM_R(sin),
    TAVUVM_R(cos),
    TAVUVM_R(tan),
    TAVUVM_R(asin),
    TAVUVM_R(acos),
    TAVUVM_R(atan),
    TAVUVM_R(sinh),
    TAVUVM_R(cosh),
    TAVUVM_R(tanh),
    TAVUVM_R(ln),
    TAVUVM_R(log),
    TAVUVM_R(exp),
    TAVUVM_R(sqrt),
    TAVUVM_R(abs),
    TAVUVM_R(ceil),
    TAVUVM_R(floor),
    TAVUVM_R(rad_to_deg),
    TAVUVM_R(deg_to_rad),
    TAVUVM_RR(atan2),
    TAVUVM_RR(pow_r),
    TAVUVM_RR(fmod),
    TAVUVM_RR(unit_part),
    component,
    TAVUVM_RRR(ease_place),
    quaternary<f_ease_in>,
    quaternary<f_ease_out>,
    quaternary<f_ease_in_out>,
    round_lane,
    trunc_lane,
    random_real_lane,
    random_int_lane,
};
static_assert(sizeof kernels / sizeof kernels[0] == size_t(lane_op::count));

const lane_kernel* kernel_table() { return kernels; }

}  // namespace HWY_NAMESPACE
}  // namespace tavuvm_expr
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tavuvm_expr {

HWY_EXPORT(kernel_table);

const lane_kernel* lane_kernels() {
    static const lane_kernel* const table = HWY_DYNAMIC_DISPATCH(kernel_table)();
    return table;
}

const lane_op_info& info_of(lane_op op) {
    static constexpr lane_op_info infos[] = {
#define X(name, result, arguments) {#name, #result[0], arguments},
        TAVUVM_LANE_OPS(X)
#undef X
    };
    return infos[size_t(op)];
}

}  // namespace tavuvm_expr

#endif
