#include "Dravin/effects/tavuvm_expr/lane_registers.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>

namespace tavuvm_expr {

namespace {

constexpr std::align_val_t alignment{64};
constexpr size_t number_size = sizeof(float);

}  // namespace

void lane_registers::free_memory::operator()(std::byte* p) const {
    ::operator delete[](p, alignment);
}

lane_registers::lane_registers(std::shared_ptr<const batch_program> p, size_t width)
    : m_program(std::move(p)), m_offset(m_program->num_registers) {
    // Uniform numbers come first in memory, so that wide lanes start at cache lines.
    size_t next = 0;
    for (size_t r = 0; r < m_offset.size(); ++r)
        if (m_program->is_uniform[r]) m_offset[r] = next, next += number_size;
    next = (next + 63) / 64 * 64;
    for (size_t r = 0; r < m_offset.size(); ++r)
        if (!m_program->is_uniform[r]) m_offset[r] = next, next += width * number_size;
    next = std::max<size_t>(next, 64);
    m_memory.reset(static_cast<std::byte*>(::operator new[](next, alignment)));
    std::memset(m_memory.get(), 0, next);
    for (size_t offset : m_offset) m_lane.push_back(m_memory.get() + offset);
    for (const batch_program::constant& c : m_program->constants) set_part(c.target, c.number);
}

void lane_registers::set_part(lane_register r, const value& number) {
    if (r == no_register) return;
    if (number.is_integer())
        *integer_lane(r) = number.integer();
    else
        *real_lane(r) = number.real();
}

void lane_registers::bind(std::span<const value> slots) {
    for (const batch_program::binding& b : m_program->uniforms) {
        const value& v = slots[b.slot];
        vector3 parts = v.to_vector();
        switch (b.value.kind) {
            case lane_value::shape::integer:
                set_part(b.value.part[0], v.to_integer());
                break;
            case lane_value::shape::real:
                set_part(b.value.part[0], v.to_real());
                break;
            default:
                set_part(b.value.part[0], parts.x);
                set_part(b.value.part[1], parts.y);
                set_part(b.value.part[2], parts.z);
        }
    }
    for (const lane_instruction& i : m_program->uniform_code) execute(i, 1, {});
}

void lane_registers::execute(const lane_instruction& instruction, size_t count,
                             const lane_state& state) {
    lane_operand operands[4];
    assert(instruction.num_arguments <= std::size(operands));
    for (uint32_t i = 0; i < instruction.num_arguments; ++i)
        operands[i] = view(m_program->arguments[instruction.first_argument + i]);
    static const lane_kernel* const kernels = lane_kernels();
    kernels[size_t(instruction.op)](count, operands, m_lane[instruction.result], state);
}

value lane_registers::get(const lane_value& v, size_t k) const {
    switch (v.kind) {
        case lane_value::shape::integer:
            return integer(v.part[0], k);
        case lane_value::shape::real:
            return real(v.part[0], k);
        case lane_value::shape::vector:
            return vector3{real(v.part[0], k), real(v.part[1], k), real(v.part[2], k)};
        case lane_value::shape::number:
            break;
    }
    if (integer(v.part[2], k)) return integer(v.part[1], k);
    return real(v.part[0], k);
}

bool lane_registers::call(const function& f, const lane_call& c, size_t k, TNuRandom* random,
                          void* host) {
    value arguments[max_arguments], result = 0;
    for (size_t i = 0; i < c.arguments.size(); ++i) arguments[i] = get(c.arguments[i], k);
    call_context context{random, host, nullptr};
    bool done = f.body(context, {arguments, c.arguments.size()}, &result);
    set_result(c.result, result, k);
    return done;
}

void lane_registers::set_result(const lane_value& to, const value& result, size_t k) {
    auto real_at = [&](int i) -> float& { return reinterpret_cast<float*>(m_lane[to.part[i]])[k]; };
    auto integer_at = [&](int i) -> int32_t& {
        return reinterpret_cast<int32_t*>(m_lane[to.part[i]])[k];
    };
    if (to.kind == lane_value::shape::vector) {
        vector3 v = result.to_vector();
        real_at(0) = v.x, real_at(1) = v.y, real_at(2) = v.z;
    } else {
        real_at(0) = result.to_real();
        integer_at(1) = result.to_integer();
        integer_at(2) = result.is_integer();
    }
}

}  // namespace tavuvm_expr
