// Functions that programs call: the built-in library, and room for those of a host.
//
// A library is filled once and only read afterwards; threads may share it.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Dravin/effects/tavuvm_expr/types.h"
#include "Dravin/effects/tavuvm_expr/value.h"
#include "common/nurandom/nurandom.h"

namespace tavuvm_expr {

// A built-in takes six arguments at most.
inline constexpr size_t max_arguments = 6;

// What a function may use besides its arguments.
struct call_context {
    TNuRandom* random = nullptr;   // of the current item; may be absent
    void* host = nullptr;          // whatever the host gave to the run
    std::string* error = nullptr;  // takes the text of a failure; may be absent
};

// False: the call failed, and with it the run.
using function_body = bool (*)(const call_context& context, std::span<const value> arguments,
                               value* result);

struct function {
    std::string name;  // lower case
    type_code result = type_code::real;
    std::vector<type_code> arguments;
    function_body body = nullptr;  // null: declared, but without implementation
    bool is_pure = true;           // the same arguments give the same result; draws nothing
    bool can_fail = false;
    bool is_builtin = false;  // of the language itself
};

class function_library {
public:
    // Empty. The built-in functions come with add_builtins.
    function_library() = default;

    // Adds a function; a name that is already there is the caller's mistake (asserted).
    void add(function f);
    // Adds sin … easeInOut.
    void add_builtins();

    // Number of the function with a lower-case name; -1 when there is none.
    int find(std::string_view name) const;
    const function& at(size_t number) const { return m_functions[number]; }
    size_t size() const { return m_functions.size(); }

private:
    std::vector<function> m_functions;
};

}  // namespace tavuvm_expr
