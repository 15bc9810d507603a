#include "Dravin/effects/tavuvm_expr/single_machine.h"

#include <cmath>
#include <utility>

#include "Dravin/effects/tavuvm_expr/lane_numbers.h"

namespace tavuvm_expr {

namespace {

// One number of four bytes, of either kind.
union number {
    float r;
    int32_t i;
};
static_assert(sizeof(number) == 4);

// The numbers made last.
struct latest {
    float r = 0;
    int32_t i = 0;
};

template <class N>
float& as(N& n, float) {
    return n.r;
}
template <class N>
int32_t& as(N& n, int32_t) {
    return n.i;
}

// An operation has a code for each argument that may be the number made last, one for none, and one
// for three such operations in a row: those of a vector's parts.
constexpr int num_variants = 6, from_memory = 4, three_in_a_row = 5;
constexpr uint16_t code_of(lane_op op, int variant) {
    return uint16_t(int(op) * num_variants + variant);
}

template <int variant, class Step, class F, class R, class... A, size_t... k>
[[gnu::always_inline]] inline void compute(R (F::*)(A...) const, const Step& s, number* values,
                                           latest& last, std::index_sequence<k...>) {
    R made = F()((int(k) == variant ? as(last, A()) : as(values[s.arguments[k]], A()))...);
    as(values[s.result], R()) = as(last, R()) = made;
}

template <int variant, class Step, class R, class F, class... A>
[[gnu::always_inline]] inline void compute(R (F::*f)(A...) const, const Step& s, number* values,
                                           latest& last) {
    compute<variant>(f, s, values, last, std::index_sequence_for<A...>());
}

// The step that is due, and how many it stands for.
template <auto f, int variant, class Step>
[[gnu::always_inline]] inline size_t apply(const Step* due, number* values, latest& last) {
    if constexpr (variant != three_in_a_row) {
        compute<variant>(f, *due, values, last);
        return 1;
    }
    for (int part = 0; part < 3; ++part) compute<from_memory>(f, due[part], values, last);
    return 3;
}

}  // namespace

single_machine::single_machine(std::shared_ptr<const batch_program> p,
                               const function_library& functions)
    : lane_registers(std::move(p), 1), m_functions(functions) {
    lane_register last = no_register;
    for (const lane_instruction& i : code().code) {
        m_steps.push_back(step_of(i, last));
        last = i.result;
    }
    mark_triples();
}

void single_machine::mark_triples() {
    for (size_t k = 0; k + 2 < m_steps.size(); ++k) {
        lane_op op = code().code[k].op;
        bool same = code().code[k + 1].op == op && code().code[k + 2].op == op;
        if (!same || op == lane_op::count || has_side_effect(op)) continue;
        m_steps[k].code = code_of(op, three_in_a_row);
        k += 2;
    }
}

single_machine::step single_machine::step_of(const lane_instruction& i, lane_register last) const {
    step s;
    s.call = i.call;
    int variant = from_memory;
    for (uint32_t k = 0; k < i.num_arguments; ++k) {
        lane_register r = code().arguments[i.first_argument + k];
        if (r == last) variant = int(k);
        s.arguments[k] = uint16_t(position(r));
    }
    if (i.op != lane_op::count) s.result = uint16_t(position(i.result));
    if (has_side_effect(i.op)) variant = from_memory;
    s.code = code_of(i.op, variant);
    return s;
}

bool single_machine::run(TNuRandom* random, void* host) {
    auto* values = reinterpret_cast<number*>(memory());
    latest last;
    const step* const end = m_steps.data() + m_steps.size();
    size_t done = 1;
    for (const step* due = m_steps.data(); due != end; due += done) {
        const step& s = *due;
        auto real = [&](int k) { return values[s.arguments[k]].r; };
        auto integer = [&](int k) { return values[s.arguments[k]].i; };
        auto put_real = [&](float r) { values[s.result].r = last.r = r; };
        auto put_integer = [&](int32_t i) { values[s.result].i = last.i = i; };
        done = 1;
        switch (s.code) {
#define V(name, variant)                                                      \
    case code_of(lane_op::name, variant):                                     \
        done = apply<&numbers::name::operator(), variant>(due, values, last); \
        break;
#define X(name, kind, kinds) V(name, 0) V(name, 1) V(name, 2) V(name, 3) V(name, 4) V(name, 5)
            TAVUVM_NUMBER_OPS(X)
#undef X
#undef V
            case code_of(lane_op::round, from_memory): {
                float whole = std::round(real(0));
                if (!builtins::fits_integer(whole)) return false;
                put_integer(truncated(whole));
                break;
            }
            case code_of(lane_op::trunc, from_memory): {
                float whole = std::trunc(real(0));
                if (!builtins::fits_integer(whole)) return false;
                put_real(whole);
                break;
            }
            case code_of(lane_op::random_real, from_memory):
                put_real(random ? builtins::random_real(*random, real(0), real(1)) : 0.0f);
                break;
            case code_of(lane_op::random_int, from_memory):
                put_integer(random ? builtins::random_int(*random, integer(0), integer(1)) : 0);
                break;
            case code_of(lane_op::count, from_memory): {
                const lane_call& c = code().calls[s.call];
                if (!call(m_functions.at(c.function), c, 0, random, host)) return false;
                break;
            }
        }
    }
    return true;
}

}  // namespace tavuvm_expr
