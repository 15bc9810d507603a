#include "Dravin/effects/tavuvm_expr/functions.h"

#include <cassert>

#include <fmt/format.h>

#include "Dravin/effects/tavuvm_expr/builtins.h"

namespace tavuvm_expr {

namespace {

using arguments = std::span<const value>;
using context = const call_context&;

float real(arguments a, size_t i) { return a[i].to_real(); }

// A function of one real, of two reals, made from a plain one.
template <float (*F)(float)>
bool of_real(context, arguments a, value* result) {
    *result = F(real(a, 0));
    return true;
}
template <float (*F)(float, float)>
bool of_reals(context, arguments a, value* result) {
    *result = F(real(a, 0), real(a, 1));
    return true;
}

// --- rounding

bool rounding_error(context c, const char* function, float number) {
    if (c.error)
        *c.error = fmt::format(
            "Error in function {0}<float>(float): Value {1} can not be represented in the target "
            "integer type.",
            function, text_of(number));
    return false;
}

// What is not finite has no whole number at all; the others may have one that does not fit.
const char* if_finite(float x, const char* fitting, const char* rounding) {
    return std::isfinite(x) ? fitting : rounding;
}

bool round_half_away(context c, arguments a, value* result) {
    float x = real(a, 0), whole = std::round(x);
    if (!builtins::fits_integer(whole))
        return rounding_error(c, if_finite(x, "boost::math::iround", "boost::math::round"), x);
    *result = int32_t(whole);
    return true;
}

bool truncate(context c, arguments a, value* result) {
    float x = real(a, 0), whole = std::trunc(x);
    if (!builtins::fits_integer(whole))
        return rounding_error(c, if_finite(x, "boost::math::itrunc", "boost::math::trunc"), x);
    *result = whole;
    return true;
}

// --- choices: a copy of one argument, its kind kept

bool min_value(context, arguments a, value* result) {
    *result = real(a, 1) < real(a, 0) ? a[1] : a[0];
    return true;
}
bool max_value(context, arguments a, value* result) {
    *result = real(a, 1) > real(a, 0) ? a[1] : a[0];
    return true;
}
bool choose(context, arguments a, value* result) {
    *result = a[0].to_integer() > 0 ? a[1] : a[2];
    return true;
}

// --- vectors

bool length(context, arguments a, value* result) {
    *result = algebra::length(a[0].to_vector());
    return true;
}
bool unit(context, arguments a, value* result) {
    *result = algebra::unit(a[0].to_vector());
    return true;
}
bool component(context, arguments a, value* result) {
    vector3 v = a[0].to_vector();
    int32_t i = a[1].to_integer();
    *result = i == 0 ? v.x : i == 1 ? v.y : i == 2 ? v.z : 0.0f;
    return true;
}
bool dot_product(context, arguments a, value* result) {
    *result = algebra::dot(a[0].to_vector(), a[1].to_vector());
    return true;
}
bool cross_product(context, arguments a, value* result) {
    *result = algebra::cross(a[0].to_vector(), a[1].to_vector());
    return true;
}

// --- random numbers of the item

bool random_real(context c, arguments a, value* result) {
    *result = c.random ? builtins::random_real(*c.random, real(a, 0), real(a, 1)) : 0.0f;
    return true;
}
bool random_int(context c, arguments a, value* result) {
    *result = c.random ? builtins::random_int(*c.random, a[0].to_integer(), a[1].to_integer()) : 0;
    return true;
}

// --- easing: arguments x, x0, x1, y0, y1, exponent

float place(arguments a) { return builtins::ease_place(real(a, 0), real(a, 1), real(a, 2)); }
value eased(arguments a, float s) { return builtins::ease_value(real(a, 3), real(a, 4), s); }

bool ease_in(context, arguments a, value* result) {
    float t = place(a);
    *result = t <= 0 ? a[3] : eased(a, builtins::ease_in(t, real(a, 5)));
    return true;
}
bool ease_out(context, arguments a, value* result) {
    float t = place(a);
    *result = t >= 1 ? a[4] : eased(a, builtins::ease_out(t, real(a, 5)));
    return true;
}
bool ease_in_out(context, arguments a, value* result) {
    float t = place(a);
    *result = t <= 0 ? a[3] : t >= 1 ? a[4] : eased(a, builtins::ease_in_out(t, real(a, 5)));
    return true;
}

}  // namespace

void function_library::add(function f) {
    assert(find(f.name) < 0);
    m_functions.push_back(std::move(f));
}

int function_library::find(std::string_view name) const {
    for (size_t i = 0; i < m_functions.size(); ++i)
        if (m_functions[i].name == name) return int(i);
    return -1;
}

void function_library::add_builtins() {
    using enum type_code;
    using T = std::vector<type_code>;
    auto math = [&](const char* name, function_body body) {
        add({name, type_code::real, {type_code::real}, body});
    };
    math("sin", of_real<std::sin>);
    math("cos", of_real<std::cos>);
    math("tan", of_real<std::tan>);
    math("asin", of_real<std::asin>);
    math("acos", of_real<std::acos>);
    math("atan", of_real<std::atan>);
    math("sinh", of_real<std::sinh>);
    math("cosh", of_real<std::cosh>);
    math("tanh", of_real<std::tanh>);
    math("radtodeg", of_real<builtins::rad_to_deg>);
    math("degtorad", of_real<builtins::deg_to_rad>);
    math("ln", of_real<std::log>);
    math("log", of_real<std::log10>);
    math("exp", of_real<std::exp>);
    math("sqrt", of_real<std::sqrt>);
    math("abs", of_real<std::fabs>);

    const T two_reals(2, type_code::real), two_vectors(2, vector), easing(6, type_code::real);
    add({"atan2", type_code::real, two_reals, of_reals<std::atan2>});
    add({"pow", type_code::real, two_reals, of_reals<std::pow>});
    add({"mod", type_code::real, two_reals, of_reals<std::fmod>});

    // Declared integers whose values are reals.
    add({"ceil", integer, {type_code::real}, of_real<std::ceil>});
    add({"floor", integer, {type_code::real}, of_real<std::floor>});
    add({"round", integer, {type_code::real}, round_half_away, true, true});
    add({"trunc", integer, {type_code::real}, truncate, true, true});

    add({"min", type_code::real, two_reals, min_value});
    add({"max", type_code::real, two_reals, max_value});
    add({"if", any, {any, any, any}, choose});

    add({"length", type_code::real, {vector}, tavuvm_expr::length});
    add({"unit", vector, {vector}, unit});
    add({"comp", type_code::real, {vector, integer}, component});
    add({"dotprod", vector, two_vectors, dot_product});
    add({"crossprod", vector, two_vectors, cross_product});

    add({"randomreal", type_code::real, two_reals, random_real, false});
    add({"randomint", integer, {integer, integer}, random_int, false});

    add({"easein", type_code::real, easing, ease_in});
    add({"easeout", type_code::real, easing, ease_out});
    add({"easeinout", type_code::real, easing, ease_in_out});
    for (function& f : m_functions) f.is_builtin = true;
}

}  // namespace tavuvm_expr
