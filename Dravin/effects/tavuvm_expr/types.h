// Compile-time types.
//
// An expression's type is a set: most hold one type, but the result of `if` has the types of both
// branches, and `dotprod` is declared a vector while its value is a real. An operator accepts its
// operands when one pair of their types is allowed; the machine goes by the kinds that it meets.
#pragma once

#include <cstdint>
#include <string_view>

namespace tavuvm_expr {

// Numbers are those of function signatures; the kind of a value plus one for the first three.
enum class type_code : uint8_t {
    none = 0,
    integer = 1,
    real = 2,
    vector = 3,
    boolean = 4,  // an integer 0 or 1 at run time
    texmap = 5,
    curve = 6,
    any = 7,
};

// One bit a type code.
using type_set = uint8_t;
constexpr type_set set_of(type_code type) { return type_set(1u << int(type)); }

inline constexpr type_set integer_types = set_of(type_code::integer) | set_of(type_code::boolean);
inline constexpr type_set real_types = set_of(type_code::real);
inline constexpr type_set vector_types = set_of(type_code::vector);
inline constexpr type_set number_types = integer_types | real_types;
inline constexpr type_set handle_types = set_of(type_code::texmap) | set_of(type_code::curve);

// Name in messages: "Integer", "Real", …; "<unknown>" for a type without one.
std::string_view type_name(type_code type);

}  // namespace tavuvm_expr
