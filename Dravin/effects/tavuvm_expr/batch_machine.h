// Runs a batch program over items, `width` at a time.
//
//     machine.bind(slots);                            // parameters, time: once a build
//     for (const auto& input : machine.code().inputs)  // every batch: the items' values
//         machine.real_lane(input.value.part[0])[k] = …;
//     machine.run(count, randoms, host);
//     machine.get(machine.code().outputs[0].value, k)  // what the program stored for item k
//
// One machine serves one thread; machines share their program.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "Dravin/effects/tavuvm_expr/batch_program.h"

namespace tavuvm_expr {

class batch_machine {
public:
    static constexpr size_t width = 256;

    // functions: of the program that the batch program was made from.
    batch_machine(std::shared_ptr<const batch_program> p, const function_library& functions);

    const batch_program& code() const { return *m_program; }

    // Gives the slots that are the same for all items their values: slots[i] of slot i.
    void bind(std::span<const value> slots);

    // --- lanes of an input, to be filled before a run
    float* real_lane(lane_register r) { return reinterpret_cast<float*>(lane(r)); }
    int32_t* integer_lane(lane_register r) { return reinterpret_cast<int32_t*>(lane(r)); }

    // Runs items [0, count), count <= width. randoms[k]: generator of item k; empty: none.
    // Items that the plain machine would stop with an error have failed(k) set: their outputs mean
    // nothing, their generators are where they happen to be.
    void run(size_t count, std::span<TNuRandom* const> randoms, void* host);
    bool failed(size_t k) const { return m_failed[k] != 0; }
    bool any_failed() const { return m_any_failed; }

    // --- results of item k
    float real(lane_register r, size_t k) const {
        return reinterpret_cast<const float*>(lane(r))[m_program->is_uniform[r] ? 0 : k];
    }
    int32_t integer(lane_register r, size_t k) const {
        return reinterpret_cast<const int32_t*>(lane(r))[m_program->is_uniform[r] ? 0 : k];
    }
    value get(const lane_value& v, size_t k) const;
    // The whole lane, for copying out: item k stands at data + k * stride numbers.
    lane_operand view(lane_register r) const {
        return {lane(r), m_program->is_uniform[r] ? 0u : 1u};
    }

private:
    const std::byte* lane(lane_register r) const { return m_memory.get() + m_offset[r]; }
    std::byte* lane(lane_register r) { return m_memory.get() + m_offset[r]; }
    void execute(const lane_instruction& instruction, size_t count, const lane_state& state);
    void call_function(const lane_call& call, size_t count, const lane_state& state, void* host);
    void set_part(lane_register r, const value& number);

    struct free_memory {
        void operator()(std::byte* p) const;
    };

    std::shared_ptr<const batch_program> m_program;
    const function_library& m_functions;
    std::vector<size_t> m_offset;
    std::unique_ptr<std::byte[], free_memory> m_memory;
    uint8_t m_failed[width] = {};
    bool m_any_failed = false;
};

}  // namespace tavuvm_expr
