#include <gtest/gtest.h>

#include "tests/Dravin/effects/tavuvm_expr/compare_machines.h"
#include "tests/Dravin/effects/tavuvm_expr/random_program.h"

namespace tavuvm_expr {

TEST(BatchMachine, GivesTheBitsOfThePlainMachineOnRandomPrograms) {
    int inLanes = 0;
    for (uint32_t seed = 0; seed < 3000; ++seed) {
        std::string source = random_program(seed).make(1 + int(seed % 12));
        bool hasLanes = false;
        std::string difference = CompareMachines(source, 1 + seed % 40, &hasLanes);
        ASSERT_EQ(difference, "") << "seed " << seed << "\n" << source;
        inLanes += hasLanes;
    }
    EXPECT_EQ(inLanes, 3000);
}

TEST(BatchMachine, WholeBatchesAgreeToo) {
    for (uint32_t seed = 100000; seed < 100100; ++seed) {
        std::string source = random_program(seed).make(6);
        ASSERT_EQ(CompareMachines(source, batch_machine::width), "") << source;
    }
}

TEST(BatchMachine, ComputedIndicesStayOnThePlainMachine) {
    bool hasLanes = true;
    EXPECT_EQ(CompareMachines("int a[3]; it.weight = a[it.count % 3];", 8, &hasLanes), "");
    EXPECT_FALSE(hasLanes);
}

TEST(BatchMachine, ParametersMayBeStoredInto) {
    EXPECT_EQ(CompareMachines("amount++; number = number * 2; it.weight = amount * number;", 20),
              "");
}

// Code that no compiler makes has a form in lanes only where that means the same.
TEST(BatchMachine, CodeWithoutItsHeaderStaysOnThePlainMachine) {
    TestHost host;
    compilation c = host.names.compile("it.weight = 1;");
    auto hasLanes = [&](std::vector<value> code) {
        compiled_program p = *c.code;
        p.code = std::move(code);
        return batch_program::make(p, {}) != nullptr;
    };
    std::vector<value> code = c.code->code, headless(code.begin() + 2, code.end()), twice = code;
    twice.insert(twice.end(), code.begin(), code.begin() + 2);
    EXPECT_TRUE(hasLanes(code));
    EXPECT_FALSE(hasLanes(headless));
    EXPECT_FALSE(hasLanes(twice));
    EXPECT_FALSE(hasLanes({}));
    code[1] = 5;  // not the number of its slots
    EXPECT_FALSE(hasLanes(code));
}

TEST(BatchMachine, LeavesOutWhatNobodyReads) {
    TestHost host;
    compilation c =
        host.names.compile("real r = sin(it.weight); vector v = it.place * r; it.count = 1;");
    std::vector<uint8_t> varying(host.names.num_slots(), 1);
    auto lanes = batch_program::make(*c.code, varying);
    ASSERT_NE(lanes, nullptr);
    EXPECT_TRUE(lanes->code.empty());
    EXPECT_TRUE(lanes->inputs.empty());
    EXPECT_EQ(lanes->outputs.size(), 1u);
}

TEST(BatchMachine, ComputesOnceWhatIsTheSameForAllItems) {
    TestHost host;
    compilation c = host.names.compile("it.weight = it.weight * (sin(amount) + number);");
    std::vector<uint8_t> varying(host.names.num_slots(), 0);
    varying[host.first + 2] = 1;
    auto lanes = batch_program::make(*c.code, varying);
    ASSERT_NE(lanes, nullptr);
    EXPECT_EQ(lanes->code.size(), 1u);
    EXPECT_EQ(lanes->uniform_code.size(), 3u);  // sine, number as a real, their sum
}

// Outputs at the ends of the range are no numbers between 0 and 1: such items draw again.
TEST(BatchMachine, RejectedOutputsAreDrawnAgain) {
    TestHost host;
    compilation c = host.names.compile("it.weight = randomReal(0, 1);");
    std::vector<uint8_t> varying(host.names.num_slots(), 1);
    auto lanes = batch_program::make(*c.code, varying);
    ASSERT_NE(lanes, nullptr);
    batch_machine machine(lanes, TestFunctions());
    machine.bind(host.names.initial_values());
    // With no outputs before it, the next output of a generator is its carry.
    const uint32_t carries[] = {5, 0xFFFFFF7F, 0xFFFFFF80, 0xFFFFFFFF, 77};
    const uint32_t none[4] = {};
    TNuRandomLanes randoms;
    randoms.Resize(std::size(carries));
    for (size_t k = 0; k < std::size(carries); ++k)
        randoms.Columns().Set(k, TNuRandom::FromLanes(none, carries[k]));
    machine.run(std::size(carries), randoms.Columns(), nullptr);
    for (size_t k = 0; k < std::size(carries); ++k) {
        TNuRandom plain = TNuRandom::FromLanes(none, carries[k]);
        EXPECT_EQ(machine.get(lanes->outputs[0].value, k).real(), plain.Random()) << k;
        EXPECT_EQ(randoms.Columns().Get(k).Step(), plain.Step()) << k;
    }
}

// Columns of the caller's are read where they stand, and stay.
TEST(BatchMachine, ReadsColumnsInPlace) {
    TestHost host;
    compilation c = host.names.compile("it.weight = it.weight * 2 + 1;");
    std::vector<uint8_t> varying(host.names.num_slots(), 1);
    auto lanes = batch_program::make(*c.code, varying);
    ASSERT_NE(lanes, nullptr);
    batch_machine machine(lanes, TestFunctions());
    machine.bind(host.names.initial_values());
    const float column[] = {1, 2, 3}, other[] = {10, 20, 30};
    machine.bind_lane(lanes->inputs[0].value.part[0], column);
    machine.run(3, {}, nullptr);
    EXPECT_EQ(machine.get(lanes->outputs[0].value, 2).real(), 7);
    machine.bind_lane(lanes->inputs[0].value.part[0], other);
    machine.run(3, {}, nullptr);
    EXPECT_EQ(machine.get(lanes->outputs[0].value, 2).real(), 61);
    EXPECT_EQ(column[2], 3);
}

TEST(BatchMachine, FailingItemsAreTold) {
    // Item 4 of the test host has a count of -1: its quotient is infinite.
    EXPECT_EQ(CompareMachines("it.count = round(1.0 / (it.count + 1.0));", 22), "");
}

}  // namespace tavuvm_expr
