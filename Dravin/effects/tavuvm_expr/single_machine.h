// Runs a batch program over one item at a time: the typed form of a program for single items.
//
// The same operations as those of the batch machine, on numbers instead of lanes: kinds, slots and
// functions are resolved, what is the same for all items is worked out once a binding, an operation
// is a few bytes that say where its numbers stand. What an operation makes is at hand for the next
// one without a way through memory. Use and results are those of batch_machine.h, with a width
// of 1.
#pragma once

#include "Dravin/effects/tavuvm_expr/lane_registers.h"

namespace tavuvm_expr {

class single_machine : public lane_registers {
public:
    // functions: of the program that the batch program was made from.
    single_machine(std::shared_ptr<const batch_program> p, const function_library& functions);

    // Runs the item whose numbers stand in the lanes of the inputs; random may be null. False: the
    // plain machine would stop with an error. What the item is left with then, and its generator,
    // mean nothing.
    bool run(TNuRandom* random, void* host);

private:
    // An operation and where its numbers stand, counted from the first register.
    struct step {
        uint16_t code = 0;  // the operation, and which argument is the number made last
        uint16_t result = 0;
        uint16_t arguments[4] = {};
        uint32_t call = 0;
    };
    step step_of(const lane_instruction& i, lane_register last) const;
    void mark_triples();

    const function_library& m_functions;
    std::vector<step> m_steps;
};

}  // namespace tavuvm_expr
