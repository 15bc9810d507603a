#include "Dravin/effects/tavuvm_expr/batch_machine.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>

namespace tavuvm_expr {

namespace {

constexpr std::align_val_t alignment{64};
constexpr size_t number_size = 4;

}  // namespace

void batch_machine::free_memory::operator()(std::byte* p) const {
    ::operator delete[](p, alignment);
}

batch_machine::batch_machine(std::shared_ptr<const batch_program> p,
                             const function_library& functions)
    : m_program(std::move(p)), m_functions(functions) {
    // Lanes start at cache lines: uniform numbers come first in memory.
    m_offset.resize(m_program->is_uniform.size());
    size_t uniform_bytes = 0;
    for (size_t r = 0; r < m_offset.size(); ++r)
        if (m_program->is_uniform[r]) m_offset[r] = uniform_bytes, uniform_bytes += number_size;
    size_t next = (uniform_bytes + 63) / 64 * 64;
    for (size_t r = 0; r < m_offset.size(); ++r)
        if (!m_program->is_uniform[r]) m_offset[r] = next, next += width * number_size;
    m_memory.reset(
        static_cast<std::byte*>(::operator new[](std::max<size_t>(next, 64), alignment)));
    std::memset(m_memory.get(), 0, std::max<size_t>(next, 64));
    for (const batch_program::constant& c : m_program->constants) set_part(c.target, c.number);
}

void batch_machine::set_part(lane_register r, const value& number) {
    if (r == no_register) return;
    if (number.is_integer())
        *integer_lane(r) = number.integer();
    else
        *real_lane(r) = number.real();
}

void batch_machine::bind(std::span<const value> slots) {
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

void batch_machine::execute(const lane_instruction& instruction, size_t count,
                            const lane_state& state) {
    lane_operand operands[4];
    assert(instruction.num_arguments <= std::size(operands));
    for (uint32_t i = 0; i < instruction.num_arguments; ++i) {
        lane_register r = m_program->arguments[instruction.first_argument + i];
        operands[i] = {lane(r), m_program->is_uniform[r] ? 0u : 1u};
    }
    static const lane_kernel* const kernels = lane_kernels();
    kernels[size_t(instruction.op)](count, operands, lane(instruction.result), state);
}

void batch_machine::run(size_t count, std::span<TNuRandom* const> randoms, void* host) {
    assert(count <= width);
    m_any_failed = false;
    std::memset(m_failed, 0, count);
    lane_state state{randoms.empty() ? nullptr : randoms.data(), m_failed};
    for (const lane_instruction& i : m_program->code) {
        if (i.op == lane_op::count)
            call_function(m_program->calls[i.call], count, state, host);
        else
            execute(i, count, state);
    }
    m_any_failed = std::any_of(m_failed, m_failed + count, [](uint8_t f) { return f != 0; });
}

value batch_machine::get(const lane_value& v, size_t k) const {
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

void batch_machine::call_function(const lane_call& call, size_t count, const lane_state& state,
                                  void* host) {
    const function& f = m_functions.at(call.function);
    value arguments[max_arguments], result;
    for (size_t k = 0; k < count; ++k) {
        for (size_t i = 0; i < call.arguments.size(); ++i) arguments[i] = get(call.arguments[i], k);
        call_context context{state.randoms ? state.randoms[k] : nullptr, host, nullptr};
        result = 0;
        if (!f.body(context, {arguments, call.arguments.size()}, &result)) m_failed[k] = 1;
        const lane_register* part = call.result.part;
        if (call.result.kind == lane_value::shape::vector) {
            vector3 v = result.to_vector();
            real_lane(part[0])[k] = v.x, real_lane(part[1])[k] = v.y, real_lane(part[2])[k] = v.z;
        } else {
            real_lane(part[0])[k] = result.to_real();
            integer_lane(part[1])[k] = result.to_integer();
            integer_lane(part[2])[k] = result.is_integer();
        }
    }
}

}  // namespace tavuvm_expr
