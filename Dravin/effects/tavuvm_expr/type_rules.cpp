#include "Dravin/effects/tavuvm_expr/type_rules.h"

namespace tavuvm_expr::algebra {

namespace {

// Results by the operands' types in the order ii ir iv ri rr rv vi vr vv; '-' is incompatible.
struct type_table {
    const char results[10];
};
constexpr type_table sums = {"irvrrvvvv"};
constexpr type_table products = {"irvrrvvvr"};
constexpr type_table quotients = {"ir-rr-vv-"};
constexpr type_table remainders = {"i---r----"};
constexpr type_table powers = {"ir-rr---v"};
constexpr type_table equalities = {"ii-ii---i"};
constexpr type_table orders = {"ii-ii----"};
constexpr type_table logic = {"i--------"};

const type_table& table_of(opcode op) {
    switch (op) {
        case opcode::add:
        case opcode::sub:
            return sums;
        case opcode::mult:
            return products;
        case opcode::div:
            return quotients;
        case opcode::mod:
            return remainders;
        case opcode::pow:
            return powers;
        case opcode::equal:
        case opcode::not_equal:
            return equalities;
        case opcode::less:
        case opcode::less_equal:
        case opcode::greater:
        case opcode::greater_equal:
            return orders;
        default:
            return logic;
    }
}

type_set type_of(char c) {
    return c == 'i'   ? set_of(type_code::integer)
           : c == 'r' ? real_types
           : c == 'v' ? vector_types
                      : 0;
}

}  // namespace

std::optional<opcode> instruction_of(token_type op) {
    switch (op) {
        case token_type::add:
            return opcode::add;
        case token_type::sub:
            return opcode::sub;
        case token_type::mult:
            return opcode::mult;
        case token_type::div:
            return opcode::div;
        case token_type::mod:
            return opcode::mod;
        case token_type::pow:
            return opcode::pow;
        case token_type::equal:
            return opcode::equal;
        case token_type::not_equal:
            return opcode::not_equal;
        case token_type::less:
            return opcode::less;
        case token_type::less_equal:
            return opcode::less_equal;
        case token_type::greater:
            return opcode::greater;
        case token_type::greater_equal:
            return opcode::greater_equal;
        case token_type::log_and:
            return opcode::log_and;
        case token_type::log_or:
            return opcode::log_or;
        case token_type::and_:
            return opcode::bit_and;
        case token_type::or_:
            return opcode::bit_or;
        case token_type::xor_:
            return opcode::bit_xor;
        case token_type::shift_left:
            return opcode::shift_left;
        case token_type::shift_right:
            return opcode::shift_right;
        default:
            return std::nullopt;
    }
}

type_set validate(opcode op, type_set left, type_set right) {
    constexpr type_set classes[] = {integer_types, real_types, vector_types};
    const type_table& table = table_of(op);
    type_set result = 0;
    for (int l = 0; l < 3; ++l)
        for (int r = 0; r < 3; ++r)
            if ((left & classes[l]) && (right & classes[r]))
                result |= type_of(table.results[3 * l + r]);
    return result;
}

}  // namespace tavuvm_expr::algebra
