// Runs one program on the plain machine, in lanes and as single items, and says where they differ.
// No test library: the fuzz target compares its programs here too.
#pragma once

#include <fmt/format.h>

#include "Dravin/effects/tavuvm_expr/single_machine.h"
#include "tests/Dravin/effects/tavuvm_expr/test_language.h"

namespace tavuvm_expr {

// The attributes of item k, into its place among the registers.
inline void FillItem(const TestHost& host, lane_registers& registers, size_t place, size_t k) {
    for (const batch_program::binding& b : registers.code().inputs) {
        value v = host.attribute(b.slot - host.first, k);
        vector3 parts = v.to_vector();
        const float component[3] = {parts.x, parts.y, parts.z};
        if (v.is_integer()) registers.integer_lane(b.value.part[0])[place] = v.integer();
        if (v.is_real()) registers.real_lane(b.value.part[0])[place] = v.real();
        for (int p = 0; v.is_vector() && p < 3; ++p)
            if (b.value.part[p] != no_register)
                registers.real_lane(b.value.part[p])[place] = component[p];
    }
}

// Where what stands at a place differs from what the plain machine has left; else empty.
inline std::string Difference(const TestHost& host, const compiled_program& code,
                              const lane_registers& registers, size_t place, vmachine& machine) {
    const batch_program& lanes = registers.code();
    size_t stored = 0;
    for (const batch_program::binding& b : lanes.outputs) {
        value got = registers.get(b.value, place), want = machine.slot(b.slot);
        stored += machine.is_modified(b.slot);
        if (!got.identical(want) || !machine.is_modified(b.slot))
            return fmt::format("slot {}: {}, {} plain", b.slot, got.text(), want.text());
    }
    for (size_t slot = 0; slot < host.names.num_slots(); ++slot)
        stored -= machine.is_modified(slot) && !code.is_constant[slot];
    if (stored != 0) return "not the same slots are stored into";
    value returned = lanes.returns ? registers.get(lanes.result, place) : value(0);
    if (returned.identical(machine.result())) return {};
    return fmt::format("{} returned, {} plain", returned.text(), machine.result().text());
}

// Items [0, count) of a program over the slots of `host`. Empty when all agree on every item, or
// when the program has no form in lanes (`hasLanes` tells).
inline std::string CompareMachines(const TestHost& host,
                                   const std::shared_ptr<const compiled_program>& code,
                                   size_t count, bool* hasLanes = nullptr) {
    std::vector<uint8_t> varying(host.names.num_slots(), 0);
    for (size_t i = 0; i < TestHost::kNumAttributes; ++i) varying[host.first + i] = 1;
    auto lanes = batch_program::make(*code, varying);
    if (hasLanes) *hasLanes = lanes != nullptr;
    if (!lanes) return {};

    batch_machine batch(lanes, TestFunctions());
    single_machine single(lanes, TestFunctions());
    batch.bind(host.names.initial_values());
    single.bind(host.names.initial_values());
    TNuRandomLanes randoms;
    randoms.Resize(count);
    for (size_t k = 0; k < count; ++k) {
        randoms.Columns().Set(k, TNuRandom(uint32_t(k * 7919)));
        FillItem(host, batch, k, k);
    }
    batch.run(count, randoms.Columns(), nullptr);

    vmachine machine(code);
    for (size_t k = 0; k < count; ++k) {
        machine.reset();
        for (size_t i = 0; i < TestHost::kNumAttributes; ++i)
            machine.set_slot(host.first + i, host.attribute(i, k));
        for (size_t slot : {host.amount, host.number})
            machine.set_slot(slot, host.names.initial_values()[slot]);
        TNuRandom random(uint32_t(k * 7919)), same = random;
        bool done = machine.run(&random);
        FillItem(host, single, 0, k);
        if (done == batch.failed(k) || done != single.run(&same, nullptr))
            return fmt::format("item {}: only one machine fails", k);
        if (!done) continue;
        std::string inLanes = Difference(host, *code, batch, k, machine);
        if (!inLanes.empty()) return fmt::format("item {} in lanes: {}", k, inLanes);
        std::string alone = Difference(host, *code, single, 0, machine);
        if (!alone.empty()) return fmt::format("item {} alone: {}", k, alone);
        uint32_t next = random.Step();
        if (next != randoms.Columns().Get(k).Step() || next != same.Step())
            return fmt::format("item {}: not the same draws", k);
    }
    return {};
}

// The same for program text; the error text when it does not compile.
inline std::string CompareMachines(const std::string& source, size_t count,
                                   bool* hasLanes = nullptr) {
    TestHost host;
    compilation c = host.names.compile(source);
    return c.code ? CompareMachines(host, c.code, count, hasLanes) : c.error;
}

}  // namespace tavuvm_expr
