#include "Dravin/effects/tavuvm_expr/value.h"

#include <fmt/format.h>

namespace tavuvm_expr {

namespace {

bool same_number(float a, float b) {
    return (a != a && b != b) || std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}

}  // namespace

bool value::identical(const value& other) const {
    if (kind() != other.kind()) return false;
    if (is_integer()) return integer() == other.integer();
    if (is_real()) return same_number(real(), other.real());
    vector3 a = vector(), b = other.vector();
    return same_number(a.x, b.x) && same_number(a.y, b.y) && same_number(a.z, b.z);
}

std::string text_of(float number) { return fmt::format("{:.9g}", number); }

std::string value::text() const {
    if (is_integer()) return fmt::format("{}", integer());
    if (is_real()) return text_of(real());
    vector3 v = vector();
    return fmt::format("[{},{},{}]", text_of(v.x), text_of(v.y), text_of(v.z));
}

}  // namespace tavuvm_expr
