// Runs a batch program over items, `width` at a time.
//
//     machine.bind(slots);                             // parameters, time: once a build
//     for (const auto& input : machine.code().inputs)  // every batch: the items' values
//         machine.bind_lane(input.value.part[0], …);   // or fill machine.real_lane(…)
//     machine.run(count, randoms, host);
//     machine.get(machine.code().outputs[0].value, k)  // what the program stored for item k
//
// One machine serves one thread; machines share their program.
#pragma once

#include "Dravin/effects/tavuvm_expr/lane_registers.h"

namespace tavuvm_expr {

class batch_machine : public lane_registers {
public:
    static constexpr size_t width = lane_width;

    // functions: of the program that the batch program was made from.
    batch_machine(std::shared_ptr<const batch_program> p, const function_library& functions)
        : lane_registers(std::move(p), width), m_functions(functions) {}

    // Runs items [0, count), count <= width. Generator k is item k's; empty: none.
    // Items that the plain machine would stop with an error have failed(k) set: their outputs mean
    // nothing, their generators are where they happen to be.
    void run(size_t count, const TNuRandomColumns& randoms, void* host);
    bool failed(size_t k) const { return m_failed[k] != 0; }
    bool any_failed() const { return m_any_failed; }

private:
    void call_function(const lane_call& c, size_t count, const lane_state& state, void* host);

    const function_library& m_functions;
    uint8_t m_failed[width] = {};
    bool m_any_failed = false;
};

}  // namespace tavuvm_expr
