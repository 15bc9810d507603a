// Many generators at once, in vector lanes.
//
// Each lane runs the recurrence of one TNuRandom, integers only, so every instruction set gives the
// same bits as the plain class; the widest one that the processor has is chosen when first called.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "common/nurandom/nurandom.h"

// Generators side by side, a column a word: the last four outputs, x0 the newest, and the carry.
// Borrowed.
struct TNuRandomColumns {
    uint32_t *x0 = nullptr, *x1 = nullptr, *x2 = nullptr, *x3 = nullptr, *carry = nullptr;

    bool IsEmpty() const { return !x0; }
    // Those from generator `first` on.
    TNuRandomColumns From(size_t first) const {
        return {x0 + first, x1 + first, x2 + first, x3 + first, carry + first};
    }
    TNuRandom Get(size_t k) const {
        const uint32_t outputs[] = {x3[k], x2[k], x1[k], x0[k]};
        return TNuRandom::FromLanes(outputs, carry[k]);
    }
    void Set(size_t k, const TNuRandom& generator) const {
        uint32_t outputs[4];
        carry[k] = generator.ToLanes(outputs);
        x3[k] = outputs[0], x2[k] = outputs[1], x1[k] = outputs[2], x0[k] = outputs[3];
    }
};

// The same, owned.
class TNuRandomLanes {
public:
    // Generators that are there already are not kept.
    void Resize(size_t count) {
        m_count = count;
        m_words.resize(5 * count);
    }
    size_t Count() const { return m_count; }
    TNuRandomColumns Columns() {
        uint32_t* w = m_words.data();
        return {w, w + m_count, w + 2 * m_count, w + 3 * m_count, w + 4 * m_count};
    }

private:
    size_t m_count = 0;
    std::vector<uint32_t> m_words;
};

// Steps the generators [0, out.size()) once; out[k] is the output of generator k. Thread safe.
void StepLanes(const TNuRandomColumns& generators, std::span<uint32_t> out);

// Seeds one generator for each entry of `seeds` and writes its first `numSteps` outputs:
// out[step * seeds.size() + lane] is output `step` of lane `lane`. out.size() is numSteps * lanes.
// carry takes what generators behind their steps need besides their last four outputs, one a lane;
// it may be empty. Thread safe.
void DrawSteps(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out,
               std::span<uint32_t> carry);
inline void DrawSteps(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out) {
    DrawSteps(seeds, numSteps, out, {});
}

// The same, one generator after the other: the meaning, and the judge of the lanes.
void DrawStepsScalar(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out);
