// A small host for programs under test: an item-like structure, parameters, both machines.
#pragma once

#include <string>
#include <vector>

#include "Dravin/effects/tavuvm_expr/batch_machine.h"
#include "Dravin/effects/tavuvm_expr/expr_lang.h"
#include "Dravin/effects/tavuvm_expr/vmachine.h"

namespace tavuvm_expr {

inline const function_library& TestFunctions() {
    static const function_library library = [] {
        function_library all;
        all.add_builtins();
        // A host function without lanes, and one that is known by name only.
        all.add({"twice",
                 type_code::real,
                 {type_code::real},
                 [](const call_context&, std::span<const value> a, value* result) {
                     *result = a[0].to_real() * 2;
                     return true;
                 }});
        all.add({"declared", type_code::real, {}, nullptr});
        return all;
    }();
    return library;
}

// Structure "it" with attributes of all types, two parameters.
struct TestHost {
    expr_lang names{TestFunctions()};
    size_t first = names.declare_structure("it", {{"place", type_code::vector, true},
                                                  {"size", type_code::vector, true},
                                                  {"weight", type_code::real, true},
                                                  {"count", type_code::integer, true},
                                                  {"fixed", type_code::real, false}});
    size_t amount = names.declare_variable("amount", type_code::real, 2.5f);
    size_t number = names.declare_variable("number", type_code::integer, 3);
    static constexpr size_t kNumAttributes = 5;

    // Attributes of item k: numbers that differ from item to item.
    value attribute(size_t i, size_t k) const {
        float x = float(int(k * 37 % 101) - 50) * 0.125f, y = float(k % 7) - 3;
        switch (i) {
            case 0:
                return vector3{x, y, x * y};
            case 1:
                return vector3{1, 1 + x * 0.01f, 2};
            case 2:
                return x;
            case 3:
                return int32_t(k % 11) - 5;
            default:
                return y * 0.5f;
        }
    }
};

// What a program printed on one item; the error text when it does not compile, "error N" after a
// run-time error.
inline std::string Printed(const std::string& source, uint32_t seed = 123456) {
    TestHost host;
    compilation c = host.names.compile(source);
    if (!c.code) return c.error;
    vmachine machine(c.code);
    std::string output;
    machine.set_output(&output);
    TNuRandom random(seed);
    if (!machine.run(&random)) output += "error " + std::to_string(int(machine.error()));
    return output;
}

// What an expression gives, returned to the host; the integer 0 when it does not compile or fails.
inline value Result(const std::string& expression, uint32_t seed = 123456) {
    TestHost host;
    compilation c = host.names.compile("return " + expression + ";");
    if (!c.code) return 0;
    vmachine machine(c.code);
    TNuRandom random(seed);
    machine.run(&random);
    return machine.result();
}

// First line of the error that a program ends with; empty when it compiles.
inline std::string ErrorLine(const std::string& source) {
    TestHost host;
    std::string error = host.names.compile(source).error;
    return error.substr(0, error.find('\n'));
}

}  // namespace tavuvm_expr
