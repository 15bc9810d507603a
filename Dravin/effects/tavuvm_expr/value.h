// One value of a running program: integer, real or vector in a cell of 16 bytes.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>
#include <string>

namespace tavuvm_expr {

enum class value_kind : uint32_t { integer = 0, real = 1, vector = 2 };

struct vector3 {
    float x = 0, y = 0, z = 0;
};

// Integer from a real: truncated toward zero, the nearest end of the range outside it, 0 for
// not-a-number.
inline int32_t truncated(float r) {
    if (r >= 2147483648.0f) return std::numeric_limits<int32_t>::max();
    if (r < -2147483648.0f) return std::numeric_limits<int32_t>::min();
    return r == r ? int32_t(r) : 0;
}

class value {
public:
    value() = default;
    value(int32_t i) : m_cell{int32_t(value_kind::integer), i, 0, 0} {}
    value(float r) : m_cell{int32_t(value_kind::real), bits(r), 0, 0} {}
    value(const vector3& v)
        : m_cell{int32_t(value_kind::vector), bits(v.x), bits(v.y), bits(v.z)} {}

    value_kind kind() const { return value_kind(m_cell[0]); }
    bool is_integer() const { return kind() == value_kind::integer; }
    bool is_real() const { return kind() == value_kind::real; }
    bool is_vector() const { return kind() == value_kind::vector; }

    // --- payload of the value's own kind
    int32_t integer() const { return m_cell[1]; }
    float real() const { return number(1); }
    vector3 vector() const { return {number(1), number(2), number(3)}; }

    // --- conversions; a vector reads as 0, a number as the zero vector
    float to_real() const { return is_real() ? real() : is_integer() ? float(integer()) : 0.0f; }
    int32_t to_integer() const {
        return is_integer() ? integer() : is_real() ? truncated(real()) : 0;
    }
    vector3 to_vector() const { return is_vector() ? vector() : vector3{}; }

    // Same kind and same bits; all not-a-numbers are one.
    bool identical(const value& other) const;

    // As `print` writes it.
    std::string text() const;

private:
    static int32_t bits(float r) { return std::bit_cast<int32_t>(r); }
    float number(int i) const { return std::bit_cast<float>(int32_t(m_cell[i])); }

    // Kind, then the payload. One register: a cell written in parts and read as a whole right
    // after that would stall the processor.
    using cell = int32_t __attribute__((vector_size(16)));
    cell m_cell{};
};
static_assert(sizeof(value) == 16);

// A number as `print` writes it: 9 significant digits, inf, nan.
std::string text_of(float number);

}  // namespace tavuvm_expr
