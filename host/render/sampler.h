// Sample positions in the unit square that depend on pixel, sample and dimension only.
//
// Two-dimensional Sobol points, shuffled and Owen-scrambled by hashing (Burley 2020, "Practical
// Hash-based Owen Scrambling"; the permutation is Laine and Karras 2011): the first 2^k samples of
// a pixel are stratified, pixels are independent, and no state is shared, so that any thread may
// draw any sample of any pixel and gets the same numbers.
#pragma once

#include <cstdint>

#include "host/math/point.h"

// A good 32-bit mixing function ("lowbias32", Wellons 2018).
inline uint32_t HashMix(uint32_t x) {
    x ^= x >> 16;
    x *= 0x7feb352du;
    x ^= x >> 15;
    x *= 0x846ca68bu;
    return x ^ (x >> 16);
}

// Uniform in [0, 1) from the top 24 bits.
inline float UnitFloat(uint32_t bits) { return float(bits >> 8) * 0x1p-24f; }

class SampleSequence {
public:
    SampleSequence(uint32_t x, uint32_t y, uint32_t sample)
        : m_pixel(HashMix(x + HashMix(y + 0x9e3779b9u))), m_sample(sample) {}

    // The next pair of dimensions of this sample.
    Point2 Next2D() {
        uint32_t seed = HashMix(m_pixel ^ (0x68bc21ebu * ++m_dimension));
        uint32_t index = Scramble(m_sample, seed);
        uint32_t u = Scramble(ReverseBits(index), HashMix(seed ^ 0x02e5be93u));
        uint32_t v = Scramble(SobolSecond(index), HashMix(seed ^ 0x967a889bu));
        return {UnitFloat(u), UnitFloat(v)};
    }

    // A plain hash of this sample's place in its sequence, for decisions that need no strata.
    uint32_t NextHash() { return HashMix(m_pixel + HashMix(m_sample ^ (++m_dimension << 20))); }

private:
    static uint32_t ReverseBits(uint32_t x) {
        x = __builtin_bswap32(x);
        x = ((x >> 4) & 0x0f0f0f0fu) | ((x & 0x0f0f0f0fu) << 4);
        x = ((x >> 2) & 0x33333333u) | ((x & 0x33333333u) << 2);
        return ((x >> 1) & 0x55555555u) | ((x & 0x55555555u) << 1);
    }
    static uint32_t SobolSecond(uint32_t index) {
        uint32_t result = 0;
        for (uint32_t v = 1u << 31; index; index >>= 1, v ^= v >> 1)
            if (index & 1) result ^= v;
        return result;
    }
    static uint32_t Scramble(uint32_t x, uint32_t seed) {
        x = ReverseBits(x);
        x += seed;
        x ^= x * 0x6c50b47cu;
        x ^= x * 0xb82f1e52u;
        x ^= x * 0xc7afe638u;
        x ^= x * 0x8d22f6e6u;
        return ReverseBits(x);
    }

    uint32_t m_pixel, m_sample, m_dimension = 0;
};
