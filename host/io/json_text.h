// JSON written straight into a growing text, for outputs too large for a tree of values.
#pragma once

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

// A quoted string. Control characters are escaped; bytes that are no valid UTF-8 become U+FFFD.
void AppendJsonString(std::string& out, std::string_view text);

// A number in its shortest form that reads back the same; a float that is not finite becomes null.
template <class T>
void AppendNumber(std::string& out, T value) {
    char digits[40];
    auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    out.append(digits, size_t(end - digits));
}
inline void AppendJsonNumber(std::string& out, float value) {
    if (std::isfinite(value))
        AppendNumber(out, value);
    else
        out += "null";
}
