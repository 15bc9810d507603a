#include "host/base/number_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

// "00" to "99".
constexpr std::array<char, 200> kPairs = [] {
    std::array<char, 200> pairs{};
    for (size_t i = 0; i < 100; ++i)
        pairs[2 * i] = char('0' + i / 10), pairs[2 * i + 1] = char('0' + i % 10);
    return pairs;
}();

constexpr std::array<uint64_t, 12> kPowers = [] {
    std::array<uint64_t, 12> powers{1};
    for (size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
    return powers;
}();

int NumDigits(uint32_t value) {
    value |= 1;  // 0 has a digit too
    // 1233 / 4096 is the logarithm of 2: a guess that is right or one too small.
    int guess = (std::bit_width(value) * 1233) >> 12;
    return guess + (value >= kPowers[size_t(guess)]);
}

// The digits of `value`, exactly `count` of them.
void PutDigits(char* out, uint32_t value, int count) {
    for (; count >= 2; count -= 2, value /= 100)
        std::memcpy(out + count - 2, &kPairs[size_t(value % 100) * 2], 2);
    if (count == 1) *out = char('0' + value % 10);
}

// A decimal number: digits times 10^exponent, without zeros at its end.
struct Decimal {
    uint32_t digits;
    int exponent;
};

// Floats whose interval fits: 0.001 to below 10^7, as the numbers of their bits.
constexpr uint32_t kLeastBits = std::bit_cast<uint32_t>(0.001f);
constexpr uint32_t kEndBits = std::bit_cast<uint32_t>(1e7f);
// Digits behind the point with which the interval of every float from a power of two on holds a
// whole number: it is 10^places times the step of the mantissa wide, three quarters of that for the
// power itself. One entry for each exponent of two from that of kLeastBits on.
constexpr int kLeastExponent = -10, kEndExponent = 24;
constexpr std::array<uint8_t, kEndExponent - kLeastExponent> kPlaces = [] {
    std::array<uint8_t, kEndExponent - kLeastExponent> places{};
    double step = 1.0 / (1 << 23) / (1 << -kLeastExponent);
    for (uint8_t& place : places) {
        for (double width = step * 3 / 4; width < 1; width *= 10) ++place;
        step *= 2;
    }
    return places;
}();

// The interval of whole numbers that read back the same, and what lies behind the point of the
// float itself: digits are dropped from all three.
struct Interval {
    uint32_t first, last, middle;
    uint32_t rest = 0;     // of middle: the digit that was dropped last ...
    bool hasMore = false;  // ... and whether something stood behind it

    bool DropDigit() {
        uint32_t shorterFirst = (first + 9) / 10, shorterLast = last / 10;
        if (shorterFirst > shorterLast) return false;
        first = shorterFirst, last = shorterLast;
        hasMore |= rest != 0;
        rest = middle % 10, middle /= 10;
        return true;
    }
    // The nearest number to the float; of two the even one.
    uint32_t Nearest() const {
        bool isUp = rest > 5 || (rest == 5 && (hasMore || middle % 2 == 1));
        uint32_t nearest = middle + isUp;
        return nearest < first ? first : nearest > last ? last : nearest;
    }
};

// The shortest decimal that reads back as this float, of positive bits within the limits above.
Decimal Shortest(uint32_t bits) {
    uint32_t mantissa = (bits & 0x7FFFFF) | 0x800000;
    int exponent = int(bits >> 23) - 127;  // of two: 1 <= value / 2^exponent < 2
    int places = kPlaces[size_t(exponent - kLeastExponent)];
    uint64_t power = kPowers[size_t(places)];
    // In units of half the last place of the mantissa over 2^shift, all of them exact.
    int shift = 24 - exponent;
    uint64_t middle = 2 * uint64_t(mantissa) * power;
    bool isPower = (bits & 0x7FFFFF) == 0;  // the step below 2^n is half as wide
    uint64_t low = middle - (isPower ? power / 2 : power), high = middle + power;
    uint64_t mask = (uint64_t{1} << shift) - 1;
    // Ends belong to the interval when the mantissa is even: reading rounds to even.
    bool isEven = mantissa % 2 == 0;
    Interval interval;
    interval.first = uint32_t(low >> shift) + ((low & mask) != 0 || !isEven);
    interval.last = uint32_t(high >> shift) - ((high & mask) == 0 && !isEven);
    interval.middle = uint32_t(middle >> shift);
    uint64_t behind = (middle & mask) * 10;
    interval.rest = uint32_t(behind >> shift), interval.hasMore = (behind & mask) != 0;
    int dropped = 0;
    while (interval.DropDigit()) ++dropped;
    return {interval.Nearest(), dropped - places};
}

// Digits with a point before the last `places` of them, at least one before it.
char* PutFixed(char* out, uint32_t digits, int places) {
    // All ten digits that there may be, zeros in front of them for what is below 1, then the parts.
    char text[kNumberRoom + 16];
    std::memset(text, '0', 16);
    char* end = text + 26;
    uint32_t high = digits / 100000000, rest = digits % 100000000;
    uint32_t upper = rest / 10000, lower = rest % 10000;
    std::memcpy(end - 10, &kPairs[size_t(high) * 2], 2);
    std::memcpy(end - 8, &kPairs[size_t(upper / 100) * 2], 2);
    std::memcpy(end - 6, &kPairs[size_t(upper % 100) * 2], 2);
    std::memcpy(end - 4, &kPairs[size_t(lower / 100) * 2], 2);
    std::memcpy(end - 2, &kPairs[size_t(lower % 100) * 2], 2);
    int before = std::max(NumDigits(digits) - places, 1);
    std::memcpy(out, end - places - before, 16);
    out += before;
    *out = '.';
    std::memcpy(out + 1, end - places, 16);
    return out + (places > 0 ? places + 1 : 0);
}

}  // namespace

char* WriteNumber(char* out, uint32_t value) {
    int count = NumDigits(value);
    PutDigits(out, value, count);
    return out + count;
}

char* WriteNumber(char* out, int32_t value) {
    if (value < 0) *out++ = '-';
    return WriteNumber(out, value < 0 ? 0u - uint32_t(value) : uint32_t(value));
}

char* WriteNumber(char* out, float value) {
    uint32_t bits = std::bit_cast<uint32_t>(value), positive = bits & 0x7FFFFFFF;
    if (positive == 0) {
        if (bits) *out++ = '-';
        *out++ = '0';
        return out;
    }
    if (positive >= kLeastBits && positive < kEndBits) {
        Decimal decimal = Shortest(positive);
        // Whole numbers with several zeros are shorter as powers of ten, as 1e+05.
        if (decimal.exponent <= 4) {
            *out = '-', out += bits >> 31;
            if (decimal.exponent <= 0) return PutFixed(out, decimal.digits, -decimal.exponent);
            return WriteNumber(out, decimal.digits * uint32_t(kPowers[size_t(decimal.exponent)]));
        }
    }
    return std::to_chars(out, out + kNumberRoom, value).ptr;
}

char* WriteSixDigits(char* out, float value) {
    // The least numbers whose six digits have 9, 8, ... 0 places behind the point.
    constexpr double kLeast[] = {1e-4, 1e-3, 1e-2, 1e-1, 1, 10, 100, 1000, 1e4, 1e5};
    double positive = std::abs(double(value));
    if (!(positive >= kLeast[0] && positive < 999999.5)) {
        if (positive == 0) return WriteNumber(out, value);
        return std::to_chars(out, out + kNumberRoom, value, std::chars_format::general, 6).ptr;
    }
    int step = 0;
    for (int i = 1; i < 10; ++i) step += positive >= kLeast[i];
    int places = 9 - step;
    auto digits = uint32_t(std::nearbyint(positive * double(kPowers[size_t(places)])));
    for (; places > 0 && digits % 10 == 0; --places) digits /= 10;
    *out = '-', out += std::signbit(value);
    return PutFixed(out, digits, places);
}
