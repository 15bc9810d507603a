// Numbers as text, fast: the same characters as std::to_chars gives.
#pragma once

#include <cstdint>

// Room that a number wants, more than its text takes.
inline constexpr int kNumberRoom = 32;

// Each writes a number at `out` and returns the end of its text; kNumberRoom characters must be
// free. Floats in the shortest form that reads back the same, of several the nearest; those that
// are not finite as inf, -inf, nan and -nan.
//
// Of floats from 0.001 to 10^7 the interval of numbers that read back the same is worked out in
// whole numbers of 64 bits, where it is exact: with m the 24 bits of the mantissa and k digits
// behind the point, (2m - 1) 10^k to (2m + 1) 10^k over a power of two. Digits are dropped from the
// right as long as the interval holds a number without them. Others go to std::to_chars.
// (Own derivation; the idea is that of Steele and White 1990.)
char* WriteNumber(char* out, float value);
char* WriteNumber(char* out, int32_t value);
char* WriteNumber(char* out, uint32_t value);

// Six significant digits as printf's "%g" writes them in the C locale, whatever the locale: "0.1",
// "123457", "1e+06"; those that are not finite as inf, -inf, nan and -nan.
//
// From 0.0001 to 10^6 the digits are v 10^k in double precision, where the product is exact (24
// bits of the float and at most 21 of 5^9), rounded to even. Others go to std::to_chars.
char* WriteSixDigits(char* out, float value);
