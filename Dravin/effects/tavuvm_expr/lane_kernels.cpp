// The operations over whole lanes. The loops are plain; compiled once for every instruction set,
// the compiler makes vectors of them. No operation is contracted or reordered, so all give equal
// bits.
#include "Dravin/effects/tavuvm_expr/lane_ops.h"

#include <algorithm>
#include <cmath>

#include "Dravin/effects/tavuvm_expr/lane_numbers.h"

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

// Any of the four may be uniform.
template <class R, class A, class B, class C, class D, class F>
void quaternary(size_t count, const lane_operand* arguments, void* out, const lane_state&) {
    const A* a = lane<A>(arguments[0]);
    const B* b = lane<B>(arguments[1]);
    const C* c = lane<C>(arguments[2]);
    const D* d = lane<D>(arguments[3]);
    size_t stride[4];
    for (int p = 0; p < 4; ++p) stride[p] = arguments[p].stride;
    R* r = static_cast<R*>(out);
    for (size_t i = 0; i < count; ++i)
        r[i] = F()(a[i * stride[0]], b[i * stride[1]], c[i * stride[2]], d[i * stride[3]]);
}

// The loop for a function of numbers, by what it takes and gives.
template <class F, class R, class... A>
constexpr lane_kernel loop_of(R (F::*)(A...) const) {
    if constexpr (sizeof...(A) == 1)
        return unary<R, A..., F>;
    else if constexpr (sizeof...(A) == 2)
        return binary<R, A..., F>;
    else if constexpr (sizeof...(A) == 3)
        return ternary<R, A..., F>;
    else
        return quaternary<R, A..., F>;
}

using i32 = int32_t;

// --- rounding: a number without a whole one of 32 bits stops the plain machine

void round(size_t count, const lane_operand* arguments, void* out, const lane_state& state) {
    const float* a = lane<float>(arguments[0]);
    i32* r = static_cast<i32*>(out);
    for (size_t i = 0; i < count; ++i) {
        float whole = std::round(a[i * arguments[0].stride]);
        if (!builtins::fits_integer(whole) && state.failed) state.failed[i] = 1;
        r[i] = truncated(whole);
    }
}

void trunc(size_t count, const lane_operand* arguments, void* out, const lane_state& state) {
    const float* a = lane<float>(arguments[0]);
    float* r = static_cast<float*>(out);
    for (size_t i = 0; i < count; ++i) {
        float whole = std::trunc(a[i * arguments[0].stride]);
        if (!builtins::fits_integer(whole) && state.failed) state.failed[i] = 1;
        r[i] = whole;
    }
}

// --- draws; items without a generator draw 0

// Outputs become numbers in (0, 1). The few that are rejected are drawn again from their generator.
void draw_units(size_t count, const TNuRandomColumns& randoms, float* u) {
    uint32_t x[lane_width];
    StepLanes(randoms, {x, count});
    uint32_t largest = 0;  // both ends of the range are rejected; moved by one they are the largest
    for (size_t i = 0; i < count; ++i) {
        largest = std::max(largest, x[i] - 1);
        u[i] = float(x[i]) * 0x1p-32f;
    }
    if (!TNuRandom::IsRejected(largest + 1)) return;
    for (size_t i = 0; i < count; ++i) {
        if (!TNuRandom::IsRejected(x[i])) continue;
        TNuRandom generator = randoms.Get(i);
        u[i] = generator.Random();
        randoms.Set(i, generator);
    }
}

void random_real(size_t count, const lane_operand* arguments, void* out, const lane_state& state) {
    const float *a = lane<float>(arguments[0]), *b = lane<float>(arguments[1]);
    size_t stride_a = arguments[0].stride, stride_b = arguments[1].stride;
    float* r = static_cast<float*>(out);
    if (state.randoms.IsEmpty()) return void(std::fill_n(r, count, 0.0f));
    float u[lane_width];
    draw_units(count, state.randoms, u);
    if (stride_a == 0 && stride_b == 0) {
        const float first = *a, second = *b;
        for (size_t i = 0; i < count; ++i) r[i] = builtins::random_between(u[i], first, second);
        return;
    }
    for (size_t i = 0; i < count; ++i)
        r[i] = builtins::random_between(u[i], a[i * stride_a], b[i * stride_b]);
}

void random_int(size_t count, const lane_operand* arguments, void* out, const lane_state& state) {
    const i32 *a = lane<i32>(arguments[0]), *b = lane<i32>(arguments[1]);
    size_t stride_a = arguments[0].stride, stride_b = arguments[1].stride;
    i32* r = static_cast<i32*>(out);
    if (state.randoms.IsEmpty()) return void(std::fill_n(r, count, 0));
    uint32_t x[lane_width];
    StepLanes(state.randoms, {x, count});
    for (size_t i = 0; i < count; ++i)
        r[i] = builtins::whole_between(x[i], a[i * stride_a], b[i * stride_b]);
}

const lane_kernel kernels[] = {
#define X(name, result, arguments) loop_of(&numbers::name::operator()),
    TAVUVM_NUMBER_OPS(X)
#undef X
#define X(name, result, arguments) name,
        TAVUVM_STATE_OPS(X)
#undef X
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
