// Random numbers of the scatter engine: bit-exact on every machine and in every thread arrangement.
//
// The generator is a multiply-with-carry recurrence of lag four (Marsaglia's "mother of all"
// family, 1994) on 32-bit words. Whoever scatters re-seeds it for every item instead of sharing a
// stream, so the order in which items are made never matters. Plain values; every thread owns its
// own.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

class TNuRandom {
public:
    explicit TNuRandom(uint32_t seed = 123456) { Seed(seed); }

    void Seed(uint32_t seed) {
        uint32_t s = seed;
        for (uint64_t* word : {&m_x0, &m_x1, &m_x2, &m_x3, &m_carry})
            *word = s = s * 29943829u - 1u;
        for (int i = 0; i < kWarmUpSteps; ++i) Step();
    }

    // Next 32 bits.
    uint32_t Step() {
        uint64_t sum = 2111111111u * m_x3 + 1492u * m_x2 + 1776u * m_x1 + 5115u * m_x0 + m_carry;
        m_x3 = m_x2;
        m_x2 = m_x1;
        m_x1 = m_x0;
        m_x0 = uint32_t(sum);
        m_carry = sum >> 32;
        return uint32_t(m_x0);
    }

    // Uniform integer in [min, max]; always one step. max < min gives the least integer: callers
    // sort their ranges, so it only arises where a count is 0.
    int32_t IRandom(int32_t min, int32_t max) { return ScaleToRange(Step(), min, max); }

    // Uniform float, strictly between 0 and 1.
    float Random() {
        float f;
        do f = ToUnit(Step());
        while (!IsOpenUnit(f));
        return f;
    }

    // What Random and IRandom make of one output; the batch form (nurandom_batch.h) shares them.
    static float ToUnit(uint32_t x) { return float(double(x) * 0x1p-32); }
    static bool IsOpenUnit(float f) { return f > 0 && f < 1.0f; }
    static int32_t ScaleToRange(uint32_t x, int32_t min, int32_t max) {
        if (max < min) return INT32_MIN;
        uint64_t count = uint64_t(int64_t(max) - int64_t(min) + 1);
        return int32_t(int64_t(min) + int64_t((count * x) >> 32));
    }

    // Whether Random() would reject this output and step again.
    static bool IsRejected(uint32_t x) { return !IsOpenUnit(ToUnit(x)); }

    static constexpr int kWarmUpSteps = 19;

    // A generator as the vector lanes leave it: the last four outputs, newest last, and the carry.
    static TNuRandom FromLanes(const uint32_t outputs[4], uint32_t carry) {
        TNuRandom generator{Unseeded()};
        generator.m_x3 = outputs[0];
        generator.m_x2 = outputs[1];
        generator.m_x1 = outputs[2];
        generator.m_x0 = outputs[3];
        generator.m_carry = carry;
        return generator;
    }
    // The way back: the last four outputs, newest last; the carry.
    uint32_t ToLanes(uint32_t outputs[4]) const {
        outputs[0] = uint32_t(m_x3);
        outputs[1] = uint32_t(m_x2);
        outputs[2] = uint32_t(m_x1);
        outputs[3] = uint32_t(m_x0);
        return uint32_t(m_carry);
    }

private:
    struct Unseeded {};
    explicit TNuRandom(Unseeded) {}

    uint64_t m_x0, m_x1, m_x2, m_x3, m_carry;
};

// Discrete distribution over n outcomes, drawn with one uniform number.
//
// Weights are relative; if all are zero, every outcome is equally likely. Storage is n floats and n
// indices. A draw takes constant time on average and changes nothing: threads may share a table.
// Method: inversion with a guide table (Chen and Asau 1974; Devroye 1986, section III.2.4). The
// guide is entered at the rounded index and only scanned forward, which favours outcomes just above
// a guide boundary a little; saved scenes rely on exactly these draws.
class TNuRandomTable {
public:
    // weights: n >= 1 values, fewer than 2^32, none negative, copied. None at all is the caller's
    // mistake (asserted).
    explicit TNuRandomTable(std::span<const float> weights);

    // Outcome in [0, n) for u in (0, 1), as TNuRandom::Random() gives it.
    size_t Sample(float u) const {
        u = std::min(u, 1.0f);  // no further than the last outcome
        // n * u rounded to the nearest whole number, halves up: exact in double precision.
        auto rounded = int64_t(double(m_numOutcomes * u) + 0.5);
        size_t i = m_lookup[size_t(std::clamp(rounded, int64_t{0}, m_lastOutcome))];
        // Mostly one step or none is left: the first is no branch to guess.
        i += u > m_cumulative[i];
        while (u > m_cumulative[i]) ++i;
        return i;
    }

    size_t Count() const { return m_cumulative.size(); }
    std::span<const float> Cumulative() const { return m_cumulative; }

private:
    std::vector<float> m_cumulative;  // normalised running sum; the last entry is 1
    std::vector<uint32_t> m_lookup;   // k -> first outcome whose running sum reaches k / n
    float m_numOutcomes = 0;
    int64_t m_lastOutcome = 0;
};

// A probability curve turned into a table; empty when no curve is in use.
class TCurveSampler {
public:
    TCurveSampler() = default;
    // weights: the curve at `count` even steps of its horizontal range, as percent. Values above
    // 100 count as 100.
    explicit TCurveSampler(std::span<const float> weights);

    bool IsEmpty() const { return m_table.empty(); }

    // Value in [min, max] distributed as the curve says; min when the sampler is empty. Consumes
    // one Random(), or nothing when empty.
    float CurveRandom(TNuRandom& generator, float min, float max) const {
        return IsEmpty() ? min : CurveValue(generator.Random(), min, max);
    }
    // The same for a uniform number drawn before; the sampler must not be empty.
    float CurveValue(float u, float min, float max) const {
        float t = float(m_table[0].Sample(u)) / float(m_table[0].Count());
        return (max - min) * t + min;
    }

private:
    std::vector<TNuRandomTable> m_table;  // none or one
};
