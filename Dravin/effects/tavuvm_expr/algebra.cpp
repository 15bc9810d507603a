#include "Dravin/effects/tavuvm_expr/algebra.h"

namespace tavuvm_expr::algebra {

namespace {

bool of_integers(opcode op, int32_t a, int32_t b, value* result) {
    switch (op) {
        case opcode::add:
            *result = add(a, b);
            return true;
        case opcode::sub:
            *result = sub(a, b);
            return true;
        case opcode::mult:
            *result = mult(a, b);
            return true;
        case opcode::div:
            *result = div(a, b);
            return true;
        case opcode::mod:
            *result = mod(a, b);
            return true;
        case opcode::pow:
            *result = pow(a, b);
            return true;
        case opcode::equal:
            *result = int32_t(a == b);
            return true;
        case opcode::not_equal:
            *result = int32_t(a != b);
            return true;
        case opcode::less:
            *result = int32_t(a < b);
            return true;
        case opcode::less_equal:
            *result = int32_t(a <= b);
            return true;
        case opcode::greater:
            *result = int32_t(a > b);
            return true;
        case opcode::greater_equal:
            *result = int32_t(a >= b);
            return true;
        case opcode::log_and:
            *result = log_and(a, b);
            return true;
        case opcode::log_or:
            *result = log_or(a, b);
            return true;
        case opcode::bit_and:
            *result = a & b;
            return true;
        case opcode::bit_or:
            *result = a | b;
            return true;
        case opcode::bit_xor:
            *result = a ^ b;
            return true;
        case opcode::shift_left:
            *result = shift_left(a, b);
            return true;
        case opcode::shift_right:
            *result = shift_right(a, b);
            return true;
        default:
            return false;
    }
}

bool of_reals(opcode op, float a, float b, value* result) {
    switch (op) {
        case opcode::add:
            *result = a + b;
            return true;
        case opcode::sub:
            *result = a - b;
            return true;
        case opcode::mult:
            *result = a * b;
            return true;
        case opcode::div:
            *result = div(a, b);
            return true;
        case opcode::mod:
            *result = mod(a, b);
            return true;
        case opcode::pow:
            *result = std::pow(a, b);
            return true;
        case opcode::equal:
            *result = int32_t(equal(a, b));
            return true;
        case opcode::not_equal:
            *result = int32_t(!equal(a, b));
            return true;
        case opcode::less:
            *result = int32_t(a < b);
            return true;
        case opcode::less_equal:
            *result = int32_t(a <= b);
            return true;
        case opcode::greater:
            *result = int32_t(a > b);
            return true;
        case opcode::greater_equal:
            *result = int32_t(a >= b);
            return true;
        default:
            return false;
    }
}

bool of_vectors(opcode op, const vector3& a, const vector3& b, value* result) {
    switch (op) {
        case opcode::add:
            *result = add(a, b);
            return true;
        case opcode::sub:
            *result = sub(a, b);
            return true;
        case opcode::mult:
            *result = dot(a, b);
            return true;
        case opcode::pow:
            *result = cross(a, b);
            return true;
        case opcode::equal:
            *result = int32_t(equal(a, b));
            return true;
        case opcode::not_equal:
            *result = int32_t(!equal(a, b));
            return true;
        default:
            return false;
    }
}

// A vector and a number, in this order whatever the order in the source: a number minus a vector
// gives the vector minus the number.
bool of_vector_and_number(opcode op, const vector3& v, float r, bool swapped, value* result) {
    switch (op) {
        case opcode::add:
            *result = add(v, r);
            return true;
        case opcode::sub:
            *result = sub(v, r);
            return true;
        case opcode::mult:
            *result = mult(v, r);
            return true;
        case opcode::div:
            if (swapped) return false;
            *result = div(v, r);
            return true;
        default:
            return false;
    }
}

}  // namespace

bool apply(opcode op, const value& left, const value& right, value* result) {
    if (left.is_integer() && right.is_integer())
        return of_integers(op, left.integer(), right.integer(), result);
    // A real comes to a logical operator only where the compiler could not know its kind.
    if (needs_integers(op) && !left.is_vector() && !right.is_vector())
        return of_integers(op, left.to_integer(), right.to_integer(), result);
    if (left.is_vector() && right.is_vector())
        return of_vectors(op, left.vector(), right.vector(), result);
    if (left.is_vector())
        return of_vector_and_number(op, left.vector(), right.to_real(), false, result);
    if (right.is_vector())
        return of_vector_and_number(op, right.vector(), left.to_real(), true, result);
    return of_reals(op, left.to_real(), right.to_real(), result);
}

value negated(const value& v) {
    if (v.is_integer()) return sub(0, v.integer());
    if (v.is_real()) return -v.real();
    vector3 a = v.vector();
    return vector3{-a.x, -a.y, -a.z};
}

}  // namespace tavuvm_expr::algebra
