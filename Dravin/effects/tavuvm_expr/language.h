// What a program may refer to before it declares anything: constants, variables and structures of
// the host, functions.
//
// Every variable has a slot, a cell of the machine's variable area; an attribute of a structure is
// a variable too. The constants "pi" and "e" are always there. A language serves any number of
// compilations and is not changed by them.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Dravin/effects/tavuvm_expr/functions.h"
#include "Dravin/effects/tavuvm_expr/types.h"
#include "Dravin/effects/tavuvm_expr/value.h"

namespace tavuvm_expr {

// Cells of variables that a program may have, arrays included.
inline constexpr size_t max_slots = 65536;

// What a name stands for; names of equal kind clash as duplicates, others as identifiers.
enum class declaration_kind : uint8_t {
    none = 0,
    host_variable = 1,  // constants and parameters
    variable = 2,       // of the program
    function = 3,
    host_function = 4,
    structure = 5,
};

struct variable {
    declaration_kind kind = declaration_kind::variable;
    type_code type = type_code::integer;
    bool is_array = false;
    int32_t array_size = 1;
    size_t slot = 0;  // the first one
};

struct attribute {
    std::string name;  // as shown; programs may write it in any case
    type_code type = type_code::integer;
    bool is_writable = false;
};

struct structure {
    std::vector<attribute> attributes;
    size_t first_slot = 0;  // one slot an attribute, in order

    // Index of the attribute with a lower-case name; -1 when there is none.
    int find(std::string_view name) const;
};

class language {
public:
    // functions is borrowed.
    explicit language(const function_library& functions);

    // Each returns the (first) slot. A name that is taken, or no room: asserted, a mistake of the
    // host; ask is_taken before declaring names that users chose.
    size_t declare_constant(std::string_view name, const value& constant);
    size_t declare_variable(std::string_view name, type_code type, const value& initial);
    size_t declare_structure(std::string_view name, std::vector<attribute> attributes);

    // The value that a slot of the host starts with.
    void set_initial(size_t slot, const value& v) { m_initial[slot] = v; }

    // Kind of what already bears a name in any case; none when it is free. A function and a
    // structure may share a name: what follows the name tells them apart.
    declaration_kind kind_of(std::string_view name) const;
    bool is_taken(std::string_view name) const { return kind_of(name) != declaration_kind::none; }

    // --- by lower-case name; null when there is none
    const variable* find_variable(std::string_view name) const;
    const structure* find_structure(std::string_view name) const;

    const function_library& functions() const { return *m_functions; }
    size_t num_slots() const { return m_initial.size(); }
    const std::vector<value>& initial_values() const { return m_initial; }
    const std::vector<uint8_t>& constant_flags() const { return m_constant; }

private:
    size_t add_slot(const value& initial, bool constant);

    const function_library* m_functions;
    std::unordered_map<std::string, variable> m_variables;
    std::unordered_map<std::string, structure> m_structures;
    std::vector<value> m_initial;
    std::vector<uint8_t> m_constant;
};

// Letters A to Z as a to z; the language folds every name so.
std::string folded(std::string_view name);

// Value that a variable of a type starts with: 0, 0.0, [0,0,0].
value zero_of(type_code type);

}  // namespace tavuvm_expr
