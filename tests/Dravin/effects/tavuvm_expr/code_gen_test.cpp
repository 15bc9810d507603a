// What the compiler makes of programs, and what it refuses.
#include "Dravin/effects/tavuvm_expr/code_gen.h"

#include <gtest/gtest.h>

#include "tests/Dravin/effects/tavuvm_expr/test_language.h"

namespace tavuvm_expr {

namespace {

// Instructions behind the header, one a blank-separated part: the test host has slots 0 to 8 (pi,
// e, five attributes of "it", amount, number), so a program's first variable has slot 9.
std::string Code(const std::string& source) {
    TestHost host;
    compilation c = host.names.compile(source);
    if (!c.code) return c.error;
    std::string all = disassembled(*c.code), code;
    for (size_t begin = all.find('\n') + 1; begin < all.size();) {
        size_t end = all.find('\n', begin), name = all.find(' ', begin) + 1;
        if (!code.empty()) code += "; ";
        code += all.substr(name, end - name);
        begin = end + 1;
    }
    return code;
}

struct CodeCase {
    const char *source, *code;
};

// A program of one line, the message, and the column of the caret.
struct ErrorCase {
    const char *source, *message;
    size_t column;
};

void ExpectErrors(std::span<const ErrorCase> cases) {
    for (const ErrorCase& c : cases) {
        TestHost host;
        EXPECT_EQ(host.names.compile(c.source).error, "Compile error. " + std::string(c.message) +
                                                          " at line 1:\n" + c.source + "\n" +
                                                          std::string(c.column, ' ') + "^\n");
    }
}

}  // namespace

// --- code

TEST(CodeGen, TheHeaderReservesTheSlots) {
    TestHost host;
    compilation c = host.names.compile("int a, b[3]; vector v;");
    EXPECT_EQ(disassembled(*c.code), "0 program_header 14\n");
    EXPECT_EQ(c.code->num_host_slots, 9u);
    EXPECT_EQ(c.code->initial.size(), 14u);
    EXPECT_TRUE(c.code->initial[13].is_vector());
    EXPECT_EQ(c.code->is_constant[0] + c.code->is_constant[1], 2);  // pi and e
    EXPECT_EQ(std::count(c.code->is_constant.begin(), c.code->is_constant.end(), 1), 2);
}

TEST(CodeGen, OperandsComeBeforeTheirOperator) {
    const CodeCase cases[] = {
        {"print 1 + 2.5;", "push 1; push 2.5; add; print"},
        {"print 1 - 2 * 3;", "push 1; push 2; push 3; mult; sub; print"},
        {"print -amount;", "push 7; load; neg; print"},
        {"print !true;", "push 1; not_; print"},
        {"print [1, 2, 3.5];", "push [1,2,3.5]; print"},
        {"return 5;", "push 5; push 0; return_"},
        {"print sqrt(4);", "push 4; call 14 1; print"},
        {"sqrt(4);", "push 4; call 14 1; push 3; store_vector"},
    };
    for (const CodeCase& c : cases) EXPECT_EQ(Code(c.source), c.code) << c.source;
}

TEST(CodeGen, EveryOperatorHasItsInstruction) {
    const std::pair<const char*, int> cases[] = {{"+", 2},   {"-", 3},   {"*", 4},   {"/", 5},
                                                 {"%", 6},   {"^", 7},   {"==", 8},  {"!=", 9},
                                                 {"<", 10},  {"<=", 11}, {">", 12},  {">=", 13},
                                                 {"&&", 14}, {"||", 15}, {"<<", 21}, {">>", 22}};
    TestHost host;
    for (auto [op, code] : cases) {
        compilation c = host.names.compile(std::string("print 1 ") + op + " 2;");
        ASSERT_TRUE(c.code) << op;
        EXPECT_EQ(c.code->code[6].integer(), code) << op;
    }
}

TEST(CodeGen, StoresNameTheirSlotAndType) {
    const CodeCase cases[] = {
        {"int x = 2;", "push 2; push 9; push 1; store"},
        {"real x = 2;", "push 2; push 9; push 2; store"},
        {"vector x = it.size;", "push 3; load; push 9; push 3; store"},
        {"it.count++;", "push 5; load; push 1; add; push 5; push 1; store"},
        {"int a[3]; a[2] = 7;", "push 7; push 11; push 1; store"},
        {"int a[3]; a[number] = 7;", "push 7; push 9; push 8; load; add; push 1; store"},
        {"int a[3]; a = 7;", "push 7; push 9; push 3; fill"},
        {"real a[2]; a = {7, 8};", "push 7; push 8; push 9; push 2; push 2; list_store"},
        {"real a[] = {7};", "push 7; push 9; push 1; push 2; list_store"},
    };
    for (const CodeCase& c : cases) EXPECT_EQ(Code(c.source), c.code) << c.source;
}

TEST(CodeGen, ComponentsAreLoadedChangedAndStored) {
    EXPECT_EQ(Code("print it.place.y;"), "push 2; load; get_y; print");
    EXPECT_EQ(Code("it.place.z = 1;"),
              "push 1; push 2; load; push 0; store_vector; push 0; set_z; push 0; load_vector; "
              "push 2; push 3; store");
    // An index that has to be computed is computed once.
    EXPECT_EQ(Code("vector a[2]; a[number].x = 1;"),
              "push 1; push 9; push 8; load; add; push 1; store_vector; push 1; load_vector; load; "
              "push 0; store_vector; push 0; set_x; push 0; load_vector; push 1; load_vector; "
              "push 3; store");
}

TEST(CodeGen, VectorsAreBuiltInARegister) {
    EXPECT_EQ(Code("print [1, number, 3];"),
              "push 1; push 8; load; push 3; push [0,0,0]; push 0; store_vector; push 0; set_z; "
              "push 0; set_y; push 0; set_x; push 0; load_vector; print");
}

TEST(CodeGen, CompilingTwiceGivesTheSameCode) {
    TestHost host;
    const char* source = "int a[3]; a[1] = 5; it.place.x = a[1] * pi;";
    std::string first = disassembled(*host.names.compile(source).code);
    EXPECT_EQ(disassembled(*host.names.compile(source).code), first);
    EXPECT_EQ(host.names.num_slots(), 9u);  // a language keeps nothing of a program
}

TEST(CodeGen, AFailedCompilationLeavesNoCode) {
    TestHost host;
    compilation c = host.names.compile("int x = 1; y = x;");
    EXPECT_EQ(c.code, nullptr);
    EXPECT_EQ(c.error,
              "Compile error. Undeclared variable \"y\" at line 1:\nint x = 1; y = x;\n"
              "           ^\n");
}

// --- programs that run

TEST(CodeGen, UnsetVariablesAreZeroOfTheirType) {
    EXPECT_EQ(Printed("int i; real r; vector v; real a[2]; print i / 2; print r / 4; print v; "
                      "print a[1];"),
              "0\n0\n[0,0,0]\n0\n");
}

TEST(CodeGen, ArraysTakeOneValueForAllOrAList) {
    EXPECT_EQ(Printed("int a[3]; a = 7; print a[0] + a[2]; a = {1, 2, 3}; print a[0]; print a[2];"),
              "14\n1\n3\n");
    // A list converts, one value for all does not.
    EXPECT_EQ(Printed("int a[2] = {1.9, -1.9}; print a[0]; print a[1]; a = 1.5; print a[1];"),
              "1\n-1\n1.5\n");
}

TEST(CodeGen, IndicesAreComputed) {
    EXPECT_EQ(Printed("int a[] = {5, 6, 7}, i = 1; print a[i]; print a[i + 1]; a[i - 1]++; "
                      "print a[0];"),
              "6\n7\n6\n");
    EXPECT_EQ(Printed("int a[] = {5, 6, 7}; print a[true]; print a['A' - 65];"), "6\n5\n");
}

TEST(CodeGen, AnIndexIsDrawnOnce) {
    // Four draws would pick different elements; the sum shows that one was read and written.
    EXPECT_EQ(Printed("vector a[2]; a[randomInt(0, 1)].x = 5; print a[0].x + a[1].x;"), "5\n");
}

TEST(CodeGen, StoresConvertByTheTypeOfTheTarget) {
    EXPECT_EQ(Printed("int x = 2.9; print x; x = -2.9; print x; real r = 7; print r / 2;"),
              "2\n-2\n3.5\n");
    EXPECT_EQ(Printed("it.count = 2.9; print it.count; it.place.x = 3; print it.place;"),
              "2\n[3,0,0]\n");
}

TEST(CodeGen, StepsWorkOnWhateverOneCanBeAddedTo) {
    EXPECT_EQ(Printed("int i; real r = 0.5; vector v; i++; r--; v++; v.y++; print i; print r; "
                      "print v;"),
              "1\n-0.5\n[1,2,1]\n");
}

TEST(CodeGen, AFunctionAndAStructureMayShareAName) {
    // `twice` is a function of the host; followed by a point it would be a structure.
    EXPECT_EQ(Printed("print twice(4); real x = max(1, 2); print x;"), "8\n2\n");
}

TEST(CodeGen, StoringIntoAConstantIsSkipped) {
    EXPECT_EQ(Printed("pi = 3; e++; print pi; print e;"), "3.14159274\n2.71828175\n");
}

TEST(CodeGen, ARemarkAfterReturnIsNeverReached) {
    EXPECT_EQ(Printed("print 1; return 5; print 2;"), "1\n");
}

// --- refusals

TEST(CodeGen, NamesThatAreNotDeclared) {
    const ErrorCase cases[] = {
        {"y = 1;", "Undeclared variable \"y\"", 0},
        {"Y = 1;", "Undeclared variable \"y\"", 0},
        {"print 1 + y;", "Undeclared variable \"y\"", 10},
        {"print y[1];", "Undeclared variable \"y\"", 6},
        {"print y.x;", "Undeclared variable \"y\"", 6},
        {"int x = x + y;", "Undeclared variable \"y\"", 12},
        {"print sin;", "Undeclared variable \"sin\"", 6},
        {"sin = 1;", "Undeclared variable \"sin\"", 0},
        {"a[q] = 1;", "Undeclared variable \"a\"", 0},
        {"int a[2]; a[q] = 1;", "Undeclared variable \"q\"", 12},
    };
    ExpectErrors(cases);
}

TEST(CodeGen, NamesThatAreTaken) {
    const ErrorCase cases[] = {
        {"int x, X;", "Duplicated variable \"x\"", 7},
        {"int x; vector x;", "Duplicated variable \"x\"", 14},
        {"int amount;", "Duplicated identifier \"amount\"", 4},
        {"real pi;", "Duplicated identifier \"pi\"", 5},
        {"int It;", "Duplicated identifier \"it\"", 4},
        {"int sin;", "Duplicated identifier \"sin\"", 4},
        {"int twice;", "Duplicated identifier \"twice\"", 4},
    };
    ExpectErrors(cases);
}

TEST(CodeGen, AttributesThatDoNotFit) {
    const ErrorCase cases[] = {
        {"print it.nothing;", "Unknown attribute", 6},
        {"it.nothing = 1;", "Unknown variable attribute", 0},
        {"it.fixed = 1;", "Invalid variable attribute", 0},
        {"it.fixed++;", "Invalid variable attribute", 0},
        {"print it;", "Wrong operand. attribute expected", 6},
        {"it = 1;", "Expected reference", 0},
        {"print it.place[0];", "Invalid variable attribute", 6},
        {"print it.weight.x;", "Invalid variable attribute", 6},
        {"print it.place.w;", "Invalid variable attribute", 6},
        {"print it.place.xx;", "Invalid variable attribute", 6},
        {"print it.place.x.y;", "Invalid variable attribute", 6},
        {"int x; x.y = 1;", "Invalid variable attribute", 7},
        {"vector a[2]; print a.x;", "Invalid variable attribute", 19},
    };
    ExpectErrors(cases);
}

TEST(CodeGen, AssignmentsThatDoNotFit) {
    const ErrorCase cases[] = {
        {"vector v; v = 1;", "Invalid assignment", 10},
        {"int x; x = [1, 2, 3];", "Invalid assignment", 7},
        {"vector v = 2.5;", "Invalid assignment", 7},
        {"it.place = 1;", "Invalid assignment", 0},
        {"it.place.x = [1, 2, 3];", "Invalid assignment", 0},
        {"int x; x = \"text\";", "Invalid assignment", 7},
        {"int s = \"text\";", "Invalid assignment", 4},
        {"int a[2]; a = [1, 2, 3];", "Invalid assignment", 10},
        {"vector a[1]; a = {4};", "Invalid assignment", 18},
        {"int x; x = {1};", "Single value cannot initialized from an array", 7},
        {"it.place = {1, 2, 3};", "Single value cannot initialized from an array", 0},
        {"int a[2]; a[0] = {1};", "Single value cannot initialized from an array", 10},
        {"int a[3]; a = {1, 2};", "Wrong operand. Expected integer of size 3", 14},
        {"vector a[1]; a = {};", "Wrong operand. Expected vector of size 1", 17},
    };
    ExpectErrors(cases);
}

TEST(CodeGen, OperandsThatDoNotFit) {
    const ErrorCase cases[] = {
        {"int a = [1,2,3] / [1,1,1];", "Operands are not compatible", 8},
        {"print 1 + (2 + 3 % 2.5);", "Operands are not compatible", 15},
        {"print !1.5;", "Wrong operand. Expected integer value", 6},
        {"print [1, [2, 3, 4], 5];", "Wrong operand. Expected numeric value", 10},
        {"int a[2]; print a[1.5];", "Wrong operand. Expected integer value", 18},
        {"int a[2]; print a + 1;", "Wrong operand. Expected integer value", 16},
        {"real a[2]; print a;", "Wrong operand. Expected real value", 17},
        {"vector a[2]; return a;", "Wrong operand. Expected vector value", 20},
    };
    ExpectErrors(cases);
}

TEST(CodeGen, CallsThatDoNotFit) {
    const ErrorCase cases[] = {
        {"print nothing(1);", "Unknown function: \"nothing\"", 6},
        {"it(1);", "Unknown function: \"it\"", 0},
        {"declared();", "Undefined function: \"declared\"", 0},
        {"print sqrt(1, 2);", "Wrong number of arguments in function: \"sqrt\"", 6},
        {"print sqrt([1, 2, 3]);", "Wrong argument in function: \"sqrt\". Expected Real", 11},
        {"print length(1);", "Wrong argument in function: \"length\". Expected Vector", 13},
        {"print comp([1,2,3], [1,2,3]);", "Wrong argument in function: \"comp\". Expected Integer",
         20},
    };
    ExpectErrors(cases);
}

TEST(CodeGen, OnlyTheFirstErrorIsToldOnItsLine) {
    TestHost host;
    EXPECT_EQ(host.names.compile("int x;\nx = 1 +\n   2 * q;\nz = 3;").error,
              "Compile error. Undeclared variable \"q\" at line 3:\n   2 * q;\n       ^\n");
    EXPECT_EQ(host.names.compile("int x;\r\ny = 1;").error,
              "Compile error. Undeclared variable \"y\" at line 3:\ny = 1;\n^\n");
    // Nothing is compiled of a program that does not parse.
    EXPECT_TRUE(host.names.compile("y = 1;\nx = ;").error.starts_with("Parse error. "));
}

TEST(CodeGen, AStatementOfNoKindIsAnInternalError) {
    ast::statements tree;
    tree.list.push_back({});
    TestHost host;
    try {
        code_gen::program(tree, host.names).generate();
        FAIL();
    } catch (const source_error& error) {
        EXPECT_STREQ(error.what(), "Internal error: compiling 'nil'");
    }
}

// --- handles of textures and curves

TEST(CodeGen, HandlesAreOnlyForTheirFunctions) {
    function_library functions;
    functions.add_builtins();
    functions.add({"sample",
                   type_code::real,
                   {type_code::texmap},
                   [](const call_context&, std::span<const value> a, value* result) {
                       *result = a[0].to_real();
                       return true;
                   }});
    expr_lang names(functions);
    names.declare_variable("paint", type_code::texmap, 3);
    names.declare_variable("shape", type_code::curve, 4);
    auto line = [&](const char* source) {
        std::string error = names.compile(source).error;
        return error.substr(0, error.find(" at line"));
    };
    EXPECT_EQ(line("print sample(paint);"), "");
    EXPECT_EQ(line("print sample(shape);"),
              "Compile error. Wrong argument in function: \"sample\". Expected Texmap");
    EXPECT_EQ(line("print sample(3);"),
              "Compile error. Wrong argument in function: \"sample\". Expected Texmap");
    EXPECT_EQ(line("print paint + 1;"), "Compile error. algebra::validate out of range");
    EXPECT_EQ(line("int x = paint;"), "Compile error. Invalid assignment");
    EXPECT_EQ(line("paint = 1;"), "Compile error. Invalid assignment");
    EXPECT_EQ(line("print !paint;"), "Compile error. Wrong operand. Expected integer value");
    EXPECT_EQ(line("print -paint;"), "");  // a negation keeps any type
}

TEST(CodeGen, TypesHaveTheirNames) {
    const std::pair<int, const char*> names[] = {{0, "None"},   {1, "Integer"},  {2, "Real"},
                                                 {3, "Vector"}, {5, "Texmap"},   {6, "Curve"},
                                                 {7, "<any>"},  {8, "<unknown>"}};
    for (auto [code, name] : names) EXPECT_EQ(type_name(type_code(code)), name);
}

// --- sizes

TEST(CodeGen, ArraySizesEndWithTheSlots) {
    // 65536 cells less the nine of the host.
    EXPECT_EQ(Printed("int a[65527]; a = 1; print a[65526];"), "1\n");
    const ErrorCase cases[] = {
        {"int a[65528];", "Compile error allocating variable", 4},
        {"int a[2147483647];", "Compile error allocating variable", 4},
        {"int a[0];", "Compile error allocating variable", 4},
        {"int a[] = {};", "Compile error allocating variable", 4},
        {"int a[65000], b[527], c;", "Compile error allocating variable", 22},
    };
    ExpectErrors(cases);
}

TEST(CodeGen, ThousandsOfVariables) {
    std::string source;
    for (int i = 0; i < 65527; ++i) source += "int v" + std::to_string(i) + ";";
    TestHost host;
    EXPECT_TRUE(host.names.compile(source).code);
    EXPECT_EQ(host.names.compile(source + "int last;").code, nullptr);
}

TEST(CodeGen, AMegabyteOfSums) {
    std::string source = "print 1";
    while (source.size() < 1000000) source += "+1";
    EXPECT_EQ(Printed(source + ";"), std::to_string(source.size() / 2 - 2) + "\n");
}

TEST(CodeGen, AMegabyteOfStatements) {
    std::string source = "int x; ";
    int count = 0;
    for (; source.size() < 1000000; ++count) source += "x = x + 1;\n";
    EXPECT_EQ(Printed(source + "print x;"), std::to_string(count) + "\n");
}

TEST(CodeGen, TheDeepestNestingCompiles) {
    std::string open, close;
    for (int i = 0; i < 990; ++i) open += "-(", close += ")";
    EXPECT_EQ(Printed("print " + open + "1" + close + ";"), "1\n");
    std::string powers = "print 1";
    for (int i = 0; i < 990; ++i) powers += " ^ 1";
    EXPECT_EQ(Printed(powers + ";"), "1\n");
}

}  // namespace tavuvm_expr
