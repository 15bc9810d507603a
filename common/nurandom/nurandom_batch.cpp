#include "common/nurandom/nurandom_batch.h"

#include <cassert>

#include "common/nurandom/nurandom.h"

#ifndef NURANDOM_SKIP_SCALAR
#define NURANDOM_SKIP_SCALAR

// The least output that rounds to 1, and so cannot be a number below 1.
static constexpr uint64_t kSmallestRejected = 0xFFFFFF80u;

static void SkipScalar(std::span<const uint32_t> seeds, size_t numSteps, std::span<TNuRandom> out,
                       std::span<uint8_t> rejected) {
    for (size_t lane = 0; lane < seeds.size(); ++lane) {
        out[lane].Seed(seeds[lane]);
        rejected[lane] = 0;
        for (size_t step = 0; step < numSteps; ++step)
            rejected[lane] |= TNuRandom::IsRejected(out[lane].Step());
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
void DrawStepsLanes(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out) {
    DrawStepsScalar(seeds, numSteps, out);
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

void DrawStepsLanes(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out) {
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
    }
    for (; first < count; ++first) {
        TNuRandom generator(seeds[first]);
        for (size_t step = 0; step < numSteps; ++step) out[step * count + first] = generator.Step();
    }
}

#endif

#if HWY_TARGET == HWY_SCALAR

void SeedAndSkipLanes(std::span<const uint32_t> seeds, size_t numSteps, std::span<TNuRandom> out,
                      std::span<uint8_t> rejected) {
    SkipScalar(seeds, numSteps, out, rejected);
}

#else

void SeedAndSkipLanes(std::span<const uint32_t> seeds, size_t numSteps, std::span<TNuRandom> out,
                      std::span<uint8_t> rejected) {
    const hn::ScalableTag<uint64_t> d64;
    const hn::Rebind<uint32_t, decltype(d64)> half;
    using Generator = LaneGenerator<hn::ScalableTag<uint64_t> >;
    const size_t lanes = hn::Lanes(d64);
    // Outputs at both ends of the range are rejected; moved by the lower end they are the largest.
    const uint64_t lowest = kSmallestRejected;
    constexpr size_t kMaxLanes = HWY_MAX_BYTES / sizeof(uint64_t);
    HWY_ALIGN uint64_t word[5][kMaxLanes];
    HWY_ALIGN uint64_t largest[kMaxLanes];

    size_t first = 0;
    for (; first + lanes <= seeds.size(); first += lanes) {
        Generator g;
        g.Seed(hn::PromoteTo(d64, hn::LoadU(half, seeds.data() + first)));
        auto worst = hn::Zero(d64);
        for (size_t step = 0; step < numSteps; ++step) {
            auto x = hn::And(hn::Sub(g.Step(), hn::Set(d64, 1)), hn::Set(d64, 0xFFFFFFFFu));
            worst = hn::Max(worst, x);
        }
        const decltype(g.x0) words[] = {g.x3, g.x2, g.x1, g.x0, g.carry};
        for (int w = 0; w < 5; ++w) hn::Store(words[w], d64, word[w]);
        hn::Store(worst, d64, largest);
        for (size_t lane = 0; lane < lanes; ++lane) {
            const uint32_t outputs[] = {uint32_t(word[0][lane]), uint32_t(word[1][lane]),
                                        uint32_t(word[2][lane]), uint32_t(word[3][lane])};
            out[first + lane] = TNuRandom::FromLanes(outputs, uint32_t(word[4][lane]));
            rejected[first + lane] = largest[lane] >= lowest - 1;
        }
    }
    SkipScalar(seeds.subspan(first), numSteps, out.subspan(first), rejected.subspan(first));
}

#endif

}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

HWY_EXPORT(DrawStepsLanes);
HWY_EXPORT(SeedAndSkipLanes);

void SeedAndSkip(std::span<const uint32_t> seeds, size_t numSteps, std::span<TNuRandom> out,
                 std::span<uint8_t> rejected) {
    assert(out.size() == seeds.size() && rejected.size() == seeds.size() && numSteps >= 4);
    HWY_DYNAMIC_DISPATCH(SeedAndSkipLanes)(seeds, numSteps, out, rejected);
}

void DrawSteps(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out) {
    assert(out.size() == seeds.size() * numSteps);
    HWY_DYNAMIC_DISPATCH(DrawStepsLanes)(seeds, numSteps, out);
}

void DrawStepsScalar(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out) {
    assert(out.size() == seeds.size() * numSteps);
    for (size_t lane = 0; lane < seeds.size(); ++lane) {
        TNuRandom generator(seeds[lane]);
        for (size_t step = 0; step < numSteps; ++step)
            out[step * seeds.size() + lane] = generator.Step();
    }
}

#endif
