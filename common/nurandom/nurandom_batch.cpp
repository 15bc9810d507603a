#include "common/nurandom/nurandom_batch.h"

#include <cassert>

#include "common/nurandom/nurandom.h"

#ifndef NURANDOM_ONE_BY_ONE
#define NURANDOM_ONE_BY_ONE

// Lanes from `first` on; carry may be null.
static void DrawOneByOne(size_t first, std::span<const uint32_t> seeds, size_t numSteps,
                         std::span<uint32_t> out, uint32_t* carry) {
    for (size_t lane = first; lane < seeds.size(); ++lane) {
        TNuRandom generator(seeds[lane]);
        for (size_t step = 0; step < numSteps; ++step)
            out[step * seeds.size() + lane] = generator.Step();
        uint32_t outputs[4];
        if (carry) carry[lane] = generator.ToLanes(outputs);
    }
}

#endif

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "common/nurandom/nurandom_batch.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {
#if HWY_TARGET == HWY_SCALAR

// A processor without vectors.
void DrawStepsLanes(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out,
                    uint32_t* carry) {
    DrawOneByOne(0, seeds, numSteps, out, carry);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

// 64-bit lanes hold 32-bit words, as in the plain generator; MulEven multiplies the low halves into
// whole 64-bit products. Two vectors run side by side to hide the multiplier's latency.
template <class D64>
struct LaneGenerator {
    using V = hn::Vec<D64>;
    V x0, x1, x2, x3, carry;

    static V Product(V word, uint32_t factor) {
        const D64 d64;
        const hn::Repartition<uint32_t, D64> d32;
        return hn::MulEven(hn::BitCast(d32, word), hn::BitCast(d32, hn::Set(d64, factor)));
    }

    void Seed(V seed) {
        const D64 d64;
        const V low = hn::Set(d64, 0xFFFFFFFFu), one = hn::Set(d64, 1);
        V s = seed;
        for (V* word : {&x0, &x1, &x2, &x3, &carry})
            *word = s = hn::And(hn::Sub(Product(s, 29943829u), one), low);
        for (int i = 0; i < TNuRandom::kWarmUpSteps; ++i) Step();
    }

    V Step() {
        const D64 d64;
        V sum = hn::Add(hn::Add(Product(x3, 2111111111u), Product(x2, 1492u)),
                        hn::Add(hn::Add(Product(x1, 1776u), Product(x0, 5115u)), carry));
        x3 = x2;
        x2 = x1;
        x1 = x0;
        x0 = hn::And(sum, hn::Set(d64, 0xFFFFFFFFu));
        carry = hn::ShiftRight<32>(sum);
        return x0;
    }
};

void DrawStepsLanes(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out,
                    uint32_t* carry) {
    const hn::ScalableTag<uint64_t> d64;
    const hn::Rebind<uint32_t, decltype(d64)> half;
    using Generator = LaneGenerator<hn::ScalableTag<uint64_t> >;
    const size_t lanes = hn::Lanes(d64), count = seeds.size();

    size_t first = 0;
    for (; first + 2 * lanes <= count; first += 2 * lanes) {
        Generator a, b;
        a.Seed(hn::PromoteTo(d64, hn::LoadU(half, seeds.data() + first)));
        b.Seed(hn::PromoteTo(d64, hn::LoadU(half, seeds.data() + first + lanes)));
        for (size_t step = 0; step < numSteps; ++step) {
            uint32_t* row = out.data() + step * count + first;
            hn::StoreU(hn::TruncateTo(half, a.Step()), half, row);
            hn::StoreU(hn::TruncateTo(half, b.Step()), half, row + lanes);
        }
        if (!carry) continue;
        hn::StoreU(hn::TruncateTo(half, a.carry), half, carry + first);
        hn::StoreU(hn::TruncateTo(half, b.carry), half, carry + first + lanes);
    }
    DrawOneByOne(first, seeds, numSteps, out, carry);
}

#endif

// Outputs and carry are 32-bit words; the compiler multiplies them as such.
void StepLoop(uint32_t* __restrict x0, uint32_t* __restrict x1, uint32_t* __restrict x2,
              uint32_t* __restrict x3, uint32_t* __restrict carry, size_t count,
              uint32_t* __restrict out) {
    for (size_t k = 0; k < count; ++k) {
        uint64_t sum = uint64_t{2111111111u} * x3[k] + uint64_t{1492u} * x2[k] +
                       uint64_t{1776u} * x1[k] + uint64_t{5115u} * x0[k] + carry[k];
        x3[k] = x2[k];
        x2[k] = x1[k];
        x1[k] = x0[k];
        out[k] = x0[k] = uint32_t(sum);
        carry[k] = uint32_t(sum >> 32);
    }
}

}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

HWY_EXPORT(DrawStepsLanes);
HWY_EXPORT(StepLoop);

void StepLanes(const TNuRandomColumns& g, std::span<uint32_t> out) {
    HWY_DYNAMIC_DISPATCH(StepLoop)(g.x0, g.x1, g.x2, g.x3, g.carry, out.size(), out.data());
}

void DrawSteps(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out,
               std::span<uint32_t> carry) {
    assert(out.size() == seeds.size() * numSteps);
    assert(carry.empty() || carry.size() == seeds.size());
    HWY_DYNAMIC_DISPATCH(DrawStepsLanes)
    (seeds, numSteps, out, carry.empty() ? nullptr : carry.data());
}

void DrawStepsScalar(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out) {
    assert(out.size() == seeds.size() * numSteps);
    DrawOneByOne(0, seeds, numSteps, out, nullptr);
}

#endif
