// Runs one program on the plain machine and in lanes and says where they differ. No test library:
// the fuzz target compares its programs here too.
#pragma once

#include <fmt/format.h>

#include "tests/Dravin/effects/tavuvm_expr/test_language.h"

namespace tavuvm_expr {

// Items [0, count) of a program over the slots of `host`. Empty when both agree on every item, or
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
    batch.bind(host.names.initial_values());
    TNuRandomLanes randoms;
    randoms.Resize(count);
    for (size_t k = 0; k < count; ++k) randoms.Columns().Set(k, TNuRandom(uint32_t(k * 7919)));
    for (const batch_program::binding& b : lanes->inputs)
        for (size_t k = 0; k < count; ++k) {
            value v = host.attribute(b.slot - host.first, k);
            vector3 parts = v.to_vector();
            const float component[3] = {parts.x, parts.y, parts.z};
            if (v.is_integer()) batch.integer_lane(b.value.part[0])[k] = v.integer();
            if (v.is_real()) batch.real_lane(b.value.part[0])[k] = v.real();
            for (int p = 0; v.is_vector() && p < 3; ++p)
                if (b.value.part[p] != no_register)
                    batch.real_lane(b.value.part[p])[k] = component[p];
        }
    batch.run(count, randoms.Columns(), nullptr);

    vmachine machine(code);
    for (size_t k = 0; k < count; ++k) {
        machine.reset();
        for (size_t i = 0; i < TestHost::kNumAttributes; ++i)
            machine.set_slot(host.first + i, host.attribute(i, k));
        for (size_t slot : {host.amount, host.number})
            machine.set_slot(slot, host.names.initial_values()[slot]);
        TNuRandom random(uint32_t(k * 7919));
        bool done = machine.run(&random);
        if (done == batch.failed(k)) return fmt::format("item {}: only one machine fails", k);
        if (!done) continue;
        size_t stored = 0;
        for (const batch_program::binding& b : lanes->outputs) {
            value got = batch.get(b.value, k), want = machine.slot(b.slot);
            stored += machine.is_modified(b.slot);
            if (!got.identical(want) || !machine.is_modified(b.slot))
                return fmt::format("item {}, slot {}: {} in lanes, {} plain", k, b.slot, got.text(),
                                   want.text());
        }
        for (size_t slot = 0; slot < host.names.num_slots(); ++slot)
            stored -= machine.is_modified(slot) && !code->is_constant[slot];
        if (stored != 0) return fmt::format("item {}: not the same slots are stored into", k);
        value returned = lanes->returns ? batch.get(lanes->result, k) : value(0);
        if (!returned.identical(machine.result()))
            return fmt::format("item {}: {} in lanes, {} plain returned", k, returned.text(),
                               machine.result().text());
        if (random.Step() != randoms.Columns().Get(k).Step())
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
