// The machine on code of all kinds, also such as no compiler makes.
#include "Dravin/effects/tavuvm_expr/vmachine.h"

#include <algorithm>
#include <limits>

#include <gtest/gtest.h>

#include "tests/Dravin/effects/tavuvm_expr/test_language.h"

namespace tavuvm_expr {

namespace {

// Codes by their numbers, which are fixed for good.
enum : int32_t {
    kSkip = 1,
    kAdd = 2,
    kLogAnd = 14,
    kBitAnd = 16,
    kBitOr = 17,
    kBitXor = 18,
    kNot = 20,
    kLoad = 23,
    kStore = 24,
    kFill = 25,
    kListStore = 27,
    kFrameBase = 33,
    kStackBase = 34,
    kLoadRegister = 35,
    kLoadVector = 37,
    kStoreVector = 38,
    kSetX = 39,
    kSetY = 40,
    kSetZ = 41,
    kGetX = 42,
    kGetY = 43,
    kGetZ = 44,
    kPush = 45,
    kOne = 46,
    kZero = 47,
    kCall = 48,
    kHeader = 51,
    kReturn = 53,
    kPrint = 54,
    kStop = 56,
};

using Cells = std::vector<value>;

// Slots: 0 a constant 7, then integers 1 to 4.
std::shared_ptr<compiled_program> Program(Cells code) {
    auto p = std::make_shared<compiled_program>();
    p->code = std::move(code);
    p->initial = {7, 1, 2, 3, 4};
    p->is_constant = {1, 0, 0, 0, 0};
    p->num_host_slots = 3;
    p->functions = &TestFunctions();
    return p;
}

// Code behind a header that reserves the slots.
Cells Headed(Cells code) {
    code.insert(code.begin(), {kHeader, 5});
    return code;
}

// What a run prints; "error N at cell C" when it fails.
std::string Outcome(Cells code, TNuRandom* random = nullptr) {
    vmachine machine(Program(std::move(code)));
    std::string output;
    machine.set_output(&output);
    if (!machine.run(random))
        output += "error " + std::to_string(int(machine.error())) + " at cell " +
                  std::to_string(machine.error_cell());
    std::replace(output.begin(), output.end(), '\n', ' ');
    return output;
}

// The same behind a header: cells are counted from the header's.
std::string HeadedOutcome(Cells code) { return Outcome(Headed(std::move(code))); }

}  // namespace

// --- plain instructions

TEST(VMachine, NothingRunsToItsEnd) {
    vmachine machine(Program({}));
    EXPECT_TRUE(machine.run(nullptr));
    EXPECT_EQ(machine.error(), run_error::none);
    EXPECT_TRUE(machine.result().identical(0));
    EXPECT_TRUE(vmachine().run(nullptr));
}

TEST(VMachine, PushesAndConstants) {
    EXPECT_EQ(HeadedOutcome({kPush, 2.5f, kPrint, kOne, kPrint, kZero, kPrint}), "2.5 1 0 ");
    EXPECT_EQ(HeadedOutcome({kPush, vector3{1, 2, 3}, kPrint}), "[1,2,3] ");
}

TEST(VMachine, AnInstructionMayBeARealOrAVectorCell) {
    // 54.9 is truncated to 54, print; a vector reads as 0, which is no instruction.
    EXPECT_EQ(HeadedOutcome({kOne, vector3{54, 54, 54}, 54.9f}), "1 ");
    EXPECT_EQ(HeadedOutcome({45.5f, 8, kPrint}), "8 ");
}

TEST(VMachine, BitwiseOperators) {
    EXPECT_EQ(HeadedOutcome({kPush, 12, kPush, 10, kBitAnd, kPrint}), "8 ");
    EXPECT_EQ(HeadedOutcome({kPush, 12, kPush, 10, kBitOr, kPrint}), "14 ");
    EXPECT_EQ(HeadedOutcome({kPush, 12, kPush, 10, kBitXor, kPrint}), "6 ");
    EXPECT_EQ(HeadedOutcome({kPush, 12.9f, kPush, 10, kBitXor, kPrint}), "6 ");
    EXPECT_EQ(HeadedOutcome({kPush, 12, kPush, 10, kLogAnd, kPrint}), "1 ");
    EXPECT_EQ(HeadedOutcome({kPush, vector3{1, 1, 1}, kNot, kPrint}), "1 ");
}

TEST(VMachine, ThirtyAndMoreCodesDoNothing) {
    for (int32_t code : {1, 28, 29, 30, 31, 32, 49, 50, 52, 55})
        EXPECT_EQ(HeadedOutcome({kPush, 5, code, kPrint}), "5 ") << code;
}

TEST(VMachine, UnknownCodesAreIgnored) {
    for (int32_t code : {0, -1, 26, 36, 57, 1000, 2147483647, -2147483647 - 1})
        EXPECT_EQ(HeadedOutcome({kPush, 5, code, kPrint}), "5 ") << code;
}

// --- variables

TEST(VMachine, LoadsTakeAnyNumberAsASlot) {
    EXPECT_EQ(HeadedOutcome({kPush, 2, kLoad, kPrint}), "2 ");
    EXPECT_EQ(HeadedOutcome({kPush, 3.9f, kLoad, kPrint}), "3 ");
    EXPECT_EQ(HeadedOutcome({kPush, vector3{3, 3, 3}, kLoad, kPrint}),
              "7 ");  // a vector reads as 0
}

TEST(VMachine, ASlotBeyondTheVariablesIsError3) {
    EXPECT_EQ(HeadedOutcome({kPush, 5, kLoad, kPrint}), "error 3 at cell 4");
    EXPECT_EQ(HeadedOutcome({kPush, -1, kLoad}), "error 3 at cell 4");
    EXPECT_EQ(HeadedOutcome({kPush, 9, kPush, 5, kPush, 1, kStore}), "error 3 at cell 8");
    EXPECT_EQ(HeadedOutcome({kPush, 9, kPush, -1, kPush, 1, kStore}), "error 3 at cell 8");
    EXPECT_EQ(HeadedOutcome({kOne, kPush, 5, kPush, 1, kFill}), "error 3 at cell 7");
    EXPECT_EQ(HeadedOutcome({kOne, kPush, 5, kPush, 1, kPush, 1, kListStore}), "error 3 at cell 9");
}

TEST(VMachine, StoresConvertToTheirType) {
    struct Case {
        value stored;
        int32_t type;
        const char* kept;
    };
    const vector3 v{1, 2, 3};
    const Case cases[] = {
        {5, 1, "5"},       {-2.9f, 1, "-2"}, {v, 1, "0"},       {5, 2, "5"},
        {2.5f, 2, "2.5"},  {v, 2, "0"},      {5, 3, "[0,0,0]"}, {2.5f, 3, "[0,0,0]"},
        {v, 3, "[1,2,3]"}, {2.5f, 0, "2.5"}, {v, 4, "[1,2,3]"}, {5, -1, "5"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(
            HeadedOutcome({kPush, c.stored, kOne, kPush, c.type, kStore, kOne, kLoad, kPrint}),
            std::string(c.kept) + " ");
}

TEST(VMachine, AStoreOfARealTypeMakesAReal) {
    vmachine machine(Program(Headed({kPush, 5, kOne, kPush, 2, kStore})));
    EXPECT_TRUE(machine.run(nullptr));
    EXPECT_TRUE(machine.slot(1).identical(5.0f));
}

TEST(VMachine, StoresIntoConstantsAreSkippedButMarked) {
    vmachine machine(Program(Headed({kPush, 5, kZero, kOne, kStore})));
    EXPECT_TRUE(machine.run(nullptr));
    EXPECT_TRUE(machine.slot(0).identical(7));
    EXPECT_TRUE(machine.is_modified(0));
    EXPECT_FALSE(machine.is_modified(1));
}

TEST(VMachine, FillsWriteTheValueUnchanged) {
    vmachine machine(Program(Headed({kPush, 2.5f, kPush, 2, kPush, 3, kFill})));
    EXPECT_TRUE(machine.run(nullptr));
    for (size_t slot : {2, 3, 4}) EXPECT_TRUE(machine.slot(slot).identical(2.5f));
    EXPECT_TRUE(machine.slot(1).identical(1));
    EXPECT_TRUE(machine.is_modified(2));
    EXPECT_FALSE(machine.is_modified(3));  // the mark is the first slot's
}

TEST(VMachine, FillsOfConstantsOrOfNothing) {
    vmachine constant(Program(Headed({kPush, 9, kZero, kPush, 3, kFill})));
    EXPECT_TRUE(constant.run(nullptr));
    EXPECT_TRUE(constant.slot(0).identical(7));
    EXPECT_TRUE(constant.slot(1).identical(1));  // the flag is the first slot's
    EXPECT_TRUE(constant.is_modified(0));
    for (int32_t count : {0, -1, -2147483647 - 1}) {
        vmachine none(Program(Headed({kPush, 9, kPush, 1, kPush, count, kFill})));
        EXPECT_TRUE(none.run(nullptr));
        EXPECT_TRUE(none.slot(1).identical(1));
    }
    EXPECT_EQ(HeadedOutcome({kPush, 9, kPush, 3, kPush, 3, kFill}), "error 3 at cell 8");
    EXPECT_EQ(HeadedOutcome({kPush, 9, kPush, 3, kPush, 2147483647, kFill}), "error 3 at cell 8");
}

TEST(VMachine, ListsStoreInOrderAndConvert) {
    vmachine machine(Program(Headed({kPush, 5.5f, kPush, 6.5f, kPush, vector3{1, 2, 3}, kPush, 2,
                                     kPush, 3, kPush, 1, kListStore})));
    EXPECT_TRUE(machine.run(nullptr));
    EXPECT_TRUE(machine.slot(2).identical(5));
    EXPECT_TRUE(machine.slot(3).identical(6));
    EXPECT_TRUE(machine.slot(4).identical(0));
    EXPECT_TRUE(machine.is_modified(2));
    EXPECT_FALSE(machine.is_modified(3));
}

TEST(VMachine, ListsOfConstantsAreSkippedAndCountsAreChecked) {
    vmachine constant(Program(Headed({kPush, 8, kPush, 9, kZero, kPush, 2, kOne, kListStore})));
    EXPECT_TRUE(constant.run(nullptr));
    EXPECT_TRUE(constant.slot(0).identical(7));
    EXPECT_TRUE(constant.slot(1).identical(1));
    EXPECT_EQ(HeadedOutcome({kOne, kOne, kPush, 4, kPush, 2, kOne, kListStore}),
              "error 3 at cell 9");
    EXPECT_EQ(HeadedOutcome({kOne, kPush, 1, kPush, 2, kOne, kListStore}), "error 1 at cell 8");
    EXPECT_EQ(HeadedOutcome({kOne, kPush, 1, kPush, -1, kOne, kListStore}), "error 1 at cell 8");
}

// --- frames

TEST(VMachine, FramesGiveTheirBases) {
    vmachine machine(Program({kPush, 9, kFrameBase, kStackBase, kReturn}));
    std::string output;
    machine.set_output(&output);
    EXPECT_TRUE(machine.run({2, 3, 1}, nullptr, nullptr));
    EXPECT_TRUE(machine.result().identical(3));  // below the cell that return leaves out
    vmachine printing(Program({kFrameBase, kPrint, kStackBase, kPrint}));
    printing.set_output(&output);
    EXPECT_TRUE(printing.run({0, 4, 5}, nullptr, nullptr));
    EXPECT_EQ(output, "4\n5\n");
}

TEST(VMachine, SlotsAreFormedRelativeToABase) {
    // Slot 1 of a frame that starts at 2.
    vmachine machine(Program(Headed({kFrameBase, kOne, kAdd, kLoad, kZero, kReturn})));
    EXPECT_TRUE(machine.run({0, 2, 0}, nullptr, nullptr));
    EXPECT_TRUE(machine.result().identical(3));
}

TEST(VMachine, ARunMayStartAnywhere) {
    vmachine machine(Program(Headed({kPush, 5, kPrint, kPush, 6, kPrint})));
    std::string output;
    machine.set_output(&output);
    EXPECT_TRUE(machine.run({5, 0, 5}, nullptr, nullptr));
    EXPECT_EQ(output, "6\n");
    EXPECT_TRUE(machine.run({1000, 1000, 1000}, nullptr, nullptr));
    EXPECT_EQ(output, "6\n");
}

TEST(VMachine, HeadersReserveTheirCells) {
    EXPECT_EQ(Outcome({kHeader, 5, kPush, 9, kPrint, kPush, 4, kLoad, kPrint}), "9 4 ");
    EXPECT_EQ(Outcome({kHeader, 6}), "error 1 at cell 0");
    EXPECT_EQ(Outcome({kHeader, -1}), "error 1 at cell 0");
    EXPECT_EQ(Outcome({kHeader}), "error 1 at cell 0");
    // Nothing below the reserved cells is ever popped.
    EXPECT_EQ(Outcome({kHeader, 5, kPrint}), "error 1 at cell 2");
}

// --- registers

TEST(VMachine, GeneralRegistersAreTheHosts) {
    vmachine machine(
        Program(Headed({kPush, 4, kLoadRegister, kPrint, kPush, 2.9f, kLoadRegister, kPrint})));
    std::string output;
    machine.set_output(&output);
    machine.set_register(4, vector3{1, 2, 3});
    machine.set_register(2, 2.5f);
    EXPECT_TRUE(machine.run(nullptr));
    EXPECT_EQ(output, "[1,2,3]\n2.5\n");
    EXPECT_EQ(HeadedOutcome({kPush, 5, kLoadRegister}), "error 5 at cell 4");
    EXPECT_EQ(HeadedOutcome({kPush, -1, kLoadRegister}), "error 5 at cell 4");
}

TEST(VMachine, VectorRegistersAreBuiltComponentByComponent) {
    EXPECT_EQ(HeadedOutcome({kPush, vector3{1, 2, 3}, kPush, 3, kStoreVector, kPush, 9, kPush, 3,
                             kSetY, kPush, 3, kLoadVector, kPrint}),
              "[1,9,3] ");
    EXPECT_EQ(HeadedOutcome(
                  {kPush, 8, kZero, kSetX, kPush, 2.5f, kZero, kSetZ, kZero, kLoadVector, kPrint}),
              "[8,0,2.5] ");
    // A register may hold any value; setting a component makes it a vector.
    EXPECT_EQ(HeadedOutcome({kPush, 5, kOne, kStoreVector, kOne, kLoadVector, kPrint}), "5 ");
    EXPECT_EQ(HeadedOutcome(
                  {kPush, 5, kOne, kStoreVector, kPush, 6, kOne, kSetX, kOne, kLoadVector, kPrint}),
              "[6,0,0] ");
}

TEST(VMachine, AVectorRegisterBeyondTheFourthIsError5) {
    EXPECT_EQ(HeadedOutcome({kPush, 4, kLoadVector}), "error 5 at cell 4");
    EXPECT_EQ(HeadedOutcome({kOne, kPush, 4, kStoreVector}), "error 5 at cell 5");
    for (int32_t code : {kSetX, kSetY, kSetZ}) {
        EXPECT_EQ(HeadedOutcome({kOne, kPush, 4, code}), "error 5 at cell 5");
        EXPECT_EQ(HeadedOutcome({kOne, kPush, -1, code}), "error 5 at cell 5");
        EXPECT_EQ(HeadedOutcome({kOne, kPush, vector3{9, 9, 9}, code}), "");  // a vector reads as 0
    }
}

TEST(VMachine, ComponentsOfTheTop) {
    const vector3 v{1.5f, 2.5f, 3.5f};
    EXPECT_EQ(
        HeadedOutcome({kPush, v, kGetX, kPrint, kPush, v, kGetY, kPrint, kPush, v, kGetZ, kPrint}),
        "1.5 2.5 3.5 ");
    for (int32_t code : {kGetX, kGetY, kGetZ}) {
        vmachine machine(Program(Headed({kPush, 5, code, kZero, kReturn})));
        EXPECT_TRUE(machine.run(nullptr));
        EXPECT_TRUE(machine.result().identical(0.0f));
    }
}

// --- calls

TEST(VMachine, CallsTakeTheirArgumentsInOrder) {
    int32_t power = TestFunctions().find("pow"), ease = TestFunctions().find("easein");
    EXPECT_EQ(HeadedOutcome({kPush, 2, kPush, 5, kCall, power, 2, kPrint}), "32 ");
    // Six arguments are the most that any function takes.
    EXPECT_EQ(
        HeadedOutcome({kPush, 2, kZero, kOne, kZero, kPush, 10, kPush, 2, kCall, ease, 6, kPrint}),
        "40 ");
}

TEST(VMachine, MoreThanSixArgumentsAreError8) {
    Cells code = {kOne, kOne, kOne, kOne, kOne, kOne, kOne, kCall, 0, 7};
    EXPECT_EQ(HeadedOutcome(code), "error 8 at cell 9");
    EXPECT_EQ(HeadedOutcome({kCall, 0, 2147483647}), "error 8 at cell 2");
}

TEST(VMachine, AFunctionThatFailsIsError7) {
    function_library functions;
    functions.add(
        {"failing", type_code::real, {}, [](const call_context&, std::span<const value>, value*) {
             return false;
         }});
    auto p = Program(Headed({kCall, 0, 0}));
    p->functions = &functions;
    vmachine machine(p);
    EXPECT_FALSE(machine.run(nullptr));
    EXPECT_EQ(machine.error(), run_error::call_failed);
    EXPECT_EQ(machine.error_cell(), 2u);
}

TEST(VMachine, ACallWithoutAFunctionIsError7) {
    for (int32_t number : {-1, 100000})
        EXPECT_EQ(HeadedOutcome({kCall, number, 0}), "error 7 at cell 2");
    vmachine machine(Program(Headed({kCall, TestFunctions().find("declared"), 0})));
    EXPECT_FALSE(machine.run(nullptr));
    EXPECT_EQ(machine.error(), run_error::call_failed);
    EXPECT_EQ(machine.error_text(), "call to empty boost::function");
}

TEST(VMachine, CountsOfArgumentsAreChecked) {
    EXPECT_EQ(HeadedOutcome({kOne, kOne, kCall, 0, 2}), "error 7 at cell 4");  // sin takes one
    EXPECT_EQ(HeadedOutcome({kCall, 0, 1}), "error 1 at cell 2");              // none is there
    EXPECT_EQ(HeadedOutcome({kCall, 0, -1}), "error 1 at cell 2");
}

TEST(VMachine, ARoundingErrorIsError1AtTheCall) {
    int32_t round = TestFunctions().find("round");
    EXPECT_EQ(HeadedOutcome({kPush, 1e20f, kCall, round, 1}), "error 1 at cell 4");
}

// --- ends

TEST(VMachine, ReturnTakesTheValueBelowTheTopAndEnds) {
    vmachine machine(Program(Headed({kPush, 5, kPush, 0, kReturn, kPush, 6, kPush, 0, kReturn})));
    EXPECT_TRUE(machine.run(nullptr));
    EXPECT_TRUE(machine.result().identical(5));
}

TEST(VMachine, StopEndsLikeReturn) {
    vmachine machine(Program(Headed({kPush, 2.5f, kPush, 0, kStop, kPush, 6, kPrint})));
    std::string output;
    machine.set_output(&output);
    EXPECT_TRUE(machine.run(nullptr));
    EXPECT_TRUE(machine.result().identical(2.5f));
    EXPECT_EQ(output, "");
    // A single value on the stack is the result.
    vmachine single(Program(Headed({kPush, 8, kStop})));
    EXPECT_TRUE(single.run(nullptr));
    EXPECT_TRUE(single.result().identical(8));
    EXPECT_EQ(HeadedOutcome({kStop}), "error 1 at cell 2");
}

TEST(VMachine, AStackThatRunsOutIsError1) {
    EXPECT_EQ(HeadedOutcome({kAdd}), "error 1 at cell 2");
    EXPECT_EQ(HeadedOutcome({kOne, kAdd}), "error 1 at cell 3");
    EXPECT_EQ(HeadedOutcome({kPrint}), "error 1 at cell 2");
    EXPECT_EQ(HeadedOutcome({kOne, kStore}), "error 1 at cell 3");
    EXPECT_EQ(Outcome({kAdd}), "error 1 at cell 0");
}

TEST(VMachine, CodeThatEndsInsideAnInstructionIsError1) {
    EXPECT_EQ(HeadedOutcome({kOne, kPrint, kPush}), "1 error 1 at cell 4");
    EXPECT_EQ(HeadedOutcome({kCall, 0}), "error 1 at cell 2");
    EXPECT_EQ(HeadedOutcome({kCall}), "error 1 at cell 2");
}

TEST(VMachine, KindsThatNoOperatorTakesAreError1) {
    EXPECT_EQ(HeadedOutcome({kPush, vector3{}, kOne, kLogAnd}), "error 1 at cell 5");
    EXPECT_EQ(HeadedOutcome({kPush, vector3{}, kPush, vector3{}, 4 + 1}),
              "error 1 at cell 6");  // div
}

TEST(VMachine, AFailedRunKeepsWhatItPrintedAndStored) {
    vmachine machine(
        Program(Headed({kPush, 9, kOne, kOne, kStore, kOne, kPrint, kPush, 99, kLoad})));
    std::string output;
    machine.set_output(&output);
    EXPECT_FALSE(machine.run(nullptr));
    EXPECT_EQ(output, "1\n");
    EXPECT_TRUE(machine.slot(1).identical(9));
    // The next run starts afresh.
    machine.load(Program(Headed({kOne, kPrint})));
    EXPECT_TRUE(machine.run(nullptr));
    EXPECT_EQ(machine.error(), run_error::none);
}

// --- the host's side

TEST(VMachine, SlotsBeyondTheVariablesReadZeroAndSetError3) {
    vmachine machine(Program({}));
    EXPECT_TRUE(machine.slot(4).identical(4));
    EXPECT_EQ(machine.error(), run_error::none);
    EXPECT_TRUE(machine.slot(5).identical(0));
    EXPECT_EQ(machine.error(), run_error::slot_range);
    EXPECT_TRUE(machine.run(nullptr));
    machine.set_slot(5, 1);
    EXPECT_EQ(machine.error(), run_error::slot_range);
    EXPECT_FALSE(machine.is_modified(5));
}

TEST(VMachine, ResettingKeepsTheHostsSlotsAndClearsTheMarks) {
    vmachine machine(
        Program(Headed({kPush, 9, kPush, 4, kOne, kStore, kPush, 9, kOne, kOne, kStore})));
    machine.set_slot(2, 20);
    EXPECT_TRUE(machine.run(nullptr));
    EXPECT_TRUE(machine.is_modified(1) && machine.is_modified(4));
    machine.reset();
    EXPECT_TRUE(machine.slot(1).identical(9));  // the host's: slots 0 to 2
    EXPECT_TRUE(machine.slot(2).identical(20));
    EXPECT_TRUE(machine.slot(4).identical(4));  // the program's own starts again
    EXPECT_FALSE(machine.is_modified(1) || machine.is_modified(4));
}

TEST(VMachine, VariablesKeepTheirValuesFromRunToRunWithoutAReset) {
    vmachine machine(Program(Headed({kPush, 3, kLoad, kOne, kAdd, kPush, 3, kOne, kStore})));
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(machine.run(nullptr));
    EXPECT_TRUE(machine.slot(3).identical(6));
}

TEST(VMachine, AMachineMayMove) {
    vmachine first(Program(Headed({kPush, 3, kLoad, kPush, 4, kLoad, kAdd, kPrint})));
    vmachine second = std::move(first);
    std::string output;
    second.set_output(&output);
    second.set_slot(3, 30);
    EXPECT_TRUE(second.run(nullptr));
    EXPECT_EQ(output, "34\n");
}

TEST(VMachine, ARunMayHaveAThreadOfItsOwn) {
    vmachine machine(Program(Headed({kPush, 5, kPush, 0, kReturn})));
    machine.start({}, nullptr, nullptr).join();
    EXPECT_TRUE(machine.result().identical(5));
}

TEST(VMachine, MachinesMayShareAProgram) {
    auto program = Program(Headed({kPush, 3, kLoad, kZero, kReturn}));
    vmachine a(program), b(program);
    a.set_slot(3, 10);
    EXPECT_TRUE(a.run(nullptr) && b.run(nullptr));
    EXPECT_TRUE(a.result().identical(10));
    EXPECT_TRUE(b.result().identical(3));
}

// --- code as text

TEST(VMachine, TheDisassemblerWritesALineAnInstruction) {
    EXPECT_EQ(
        disassembled(*Program({kHeader, 5, kPush, 2.5f, kSkip, 99, kCall, 3, 1, kPush})),
        "0 program_header 5\n2 push 2.5\n4 no_operation\n5 no_operation\n6 call 3 1\n9 push\n");
}

TEST(VMachine, TheStackBoundCoversEveryCount) {
    EXPECT_EQ(stack_bound({kOne, kOne, kAdd, kOne, kOne}), 3u);
    EXPECT_EQ(stack_bound({kAdd, kAdd, kOne}), 2u);
    EXPECT_EQ(stack_bound({}), 0u);
}

}  // namespace tavuvm_expr
