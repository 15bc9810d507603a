#include "common/nurandom/nurandom.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "common/nurandom/nurandom_batch.h"

namespace {

// First outputs, and the thousandth, of a few seeds. They were worked out elsewhere with whole
// numbers of any length, where nothing can overflow unnoticed (Python):
//
//   def stream(seed, n):
//       w, s = [], seed
//       for _ in range(5):
//           s = (s * 29943829 - 1) % 2**32
//           w.append(s)
//       x, carry, out = w[:4], w[4], []
//       for i in range(19 + n):
//           total = 2111111111 * x[3] + 1492 * x[2] + 1776 * x[1] + 5115 * x[0] + carry
//           x, carry = [total % 2**32] + x[:3], total // 2**32
//           if i >= 19: out.append(x[0])
//       return out
struct Stream {
    uint32_t seed, first[6], thousandth;
};
constexpr Stream kStreams[] = {
    {123456, {1027091763, 2882968808, 4042864717, 2893607915, 1925155204, 1559197057}, 550437979},
    {0, {1445749771, 2509506533, 1448685498, 3417165405, 488436217, 903297720}, 234698135},
    {1, {3672204162, 2131177473, 2518281962, 733136712, 3115709642, 516846697}, 1695762290},
    {4294967295,
     {2980139045, 2504015225, 2945574169, 2753518838, 3415682686, 71107606},
     1987500604},
};

TEST(NuRandom, StreamsAreTheOnesWorkedOutElsewhere) {
    for (const Stream& stream : kStreams) {
        TNuRandom generator(stream.seed);
        for (uint32_t expected : stream.first) EXPECT_EQ(generator.Step(), expected);
        for (int i = 6; i < 999; ++i) generator.Step();
        EXPECT_EQ(generator.Step(), stream.thousandth);
    }
}

TEST(NuRandom, IRandomOfEqualBoundsReturnsItAndStepsOnce) {
    TNuRandom a(7), b(7);
    EXPECT_EQ(a.IRandom(5, 5), 5);
    b.Step();
    EXPECT_EQ(a.Step(), b.Step());
}

TEST(NuRandom, IRandomOfReversedBoundsGivesTheLeastIntegerAndStepsOnce) {
    TNuRandom a(7), b(7);
    EXPECT_EQ(a.IRandom(0, -1), INT32_MIN);
    b.Step();
    EXPECT_EQ(a.Step(), b.Step());
}

TEST(NuRandom, IRandomStaysInsideItsRange) {
    TNuRandom generator(99);
    for (int i = 0; i < 100000; ++i) {
        int32_t v = generator.IRandom(0, 32767);
        ASSERT_GE(v, 0);
        ASSERT_LE(v, 32767);
    }
    EXPECT_EQ(TNuRandom::ScaleToRange(0xFFFFFFFFu, INT32_MIN, INT32_MAX), INT32_MAX);
    EXPECT_EQ(TNuRandom::ScaleToRange(0, INT32_MIN, INT32_MAX), INT32_MIN);
}

TEST(NuRandom, RandomIsStrictlyInsideTheUnitInterval) {
    EXPECT_FALSE(TNuRandom::IsOpenUnit(TNuRandom::ToUnit(0)));
    EXPECT_FALSE(TNuRandom::IsOpenUnit(TNuRandom::ToUnit(0xFFFFFFFFu)));
    EXPECT_TRUE(TNuRandom::IsOpenUnit(TNuRandom::ToUnit(0xFFFFFF7Fu)));  // 1 - 2^-24 after rounding
    TNuRandom generator(1);
    for (int i = 0; i < 100000; ++i) {
        float f = generator.Random();
        ASSERT_GT(f, 0);
        ASSERT_LT(f, 1);
    }
}

TEST(NuRandomTable, ZeroWeightsAreUniform) {
    const float weights[4] = {0, 0, 0, 0};
    TNuRandomTable table(weights);
    EXPECT_EQ(std::vector<float>(table.Cumulative().begin(), table.Cumulative().end()),
              (std::vector<float>{0.25f, 0.5f, 0.75f, 1.0f}));
    EXPECT_EQ(table.Sample(0.3f), 1u);
}

TEST(NuRandomTable, AWeightOfZeroIsNeverDrawn) {
    const float weights[2] = {0, 1};
    TNuRandomTable table(weights);
    for (float u = 0.001f; u < 1; u += 0.001f) EXPECT_EQ(table.Sample(u), 1u);
}

TEST(NuRandomTable, TheGuideIsEnteredAtTheRoundedIndex) {
    // Running sums 0.1, 0.2, 0.3, 1: u = 0.15 enters at round(0.6) = 1, whose guide entry is the
    // first sum that reaches 0.25, outcome 2. Scanning never goes back to outcome 1.
    const float weights[4] = {1, 1, 1, 7};
    TNuRandomTable table(weights);
    EXPECT_EQ(table.Sample(0.15f), 2u);
    EXPECT_EQ(table.Sample(0.999999f), 3u);
}

TEST(NuRandomTable, DrawsAreThoseOfThePlainMethod) {
    // The method as its description says it, at the halves between guide entries, at the running
    // sums, right beside both, and at random places.
    TNuRandom random(9);
    for (size_t n : {1, 2, 3, 7, 100, 1000}) {
        std::vector<float> weights(n), places;
        for (float& w : weights) w = std::max(random.Random() - 0.3f, 0.0f);
        TNuRandomTable table(weights);
        std::span<const float> sums = table.Cumulative();
        for (size_t k = 0; k < n; ++k)
            for (float u : {(float(k) + 0.5f) / float(n), sums[k], random.Random()})
                for (float v : {std::nextafter(u, 0.0f), u, std::nextafter(u, 2.0f)})
                    if (v > 0 && v < 1) places.push_back(v);
        for (float u : places) {
            size_t k = std::min(size_t(std::round(float(n) * u)), n - 1), i = 0;
            while (sums[i] < float(k) / float(n)) ++i;
            while (sums[i] < u) ++i;
            ASSERT_EQ(table.Sample(u), i) << n << " " << u;
        }
    }
}

TEST(CurveSampler, EmptyReturnsMinWithoutASingleStep) {
    TCurveSampler empty;
    TNuRandom a(5), b(5);
    EXPECT_EQ(empty.CurveRandom(a, 3, 9), 3);
    EXPECT_EQ(a.Step(), b.Step());
}

TEST(CurveSampler, ValuesAbove100CountAs100) {
    const float high[2] = {100, 500}, level[2] = {100, 100};
    TCurveSampler a{std::span<const float>(high)}, b{std::span<const float>(level)};
    for (float u = 0.05f; u < 1; u += 0.1f)
        EXPECT_EQ(a.CurveValue(u, 0, 10), b.CurveValue(u, 0, 10));
    EXPECT_EQ(a.CurveValue(0.9f, 0, 10), 5);  // outcome 1 of 2 is t = 1/2
}

class BatchLanes : public testing::TestWithParam<size_t> {};

TEST_P(BatchLanes, GiveTheBitsOfThePlainClass) {
    std::vector<uint32_t> seeds;
    for (size_t i = 0; i < GetParam(); ++i) seeds.push_back(uint32_t(i * 2654435761u));
    std::vector<uint32_t> lanes(seeds.size() * 30), plain(lanes.size());
    DrawSteps(seeds, 30, lanes);
    DrawStepsScalar(seeds, 30, plain);
    EXPECT_EQ(lanes, plain);
}

// The last four outputs and the carry are all there is of a generator.
TEST_P(BatchLanes, TheCarryCompletesTheGeneratorsBehindTheirSteps) {
    const size_t count = GetParam(), steps = 22;
    std::vector<uint32_t> seeds, out(count * steps), carry(count);
    for (size_t i = 0; i < count; ++i) seeds.push_back(uint32_t(i * 2654435761u));
    DrawSteps(seeds, steps, out, carry);
    for (size_t i = 0; i < count; ++i) {
        auto output = [&](size_t step) { return out[step * count + i]; };
        const uint32_t last[] = {output(18), output(19), output(20), output(21)};
        TNuRandom lane = TNuRandom::FromLanes(last, carry[i]), plain(seeds[i]);
        for (size_t step = 0; step < steps; ++step) plain.Step();
        for (int step = 0; step < 6; ++step) EXPECT_EQ(lane.Step(), plain.Step());
    }
}

TEST_P(BatchLanes, StepTogether) {
    const size_t count = GetParam();
    TNuRandomLanes lanes;
    lanes.Resize(count);
    std::vector<TNuRandom> plain;
    for (size_t i = 0; i < count; ++i) {
        plain.emplace_back(uint32_t(i * 2654435761u));
        lanes.Columns().Set(i, plain[i]);
    }
    std::vector<uint32_t> out(count);
    for (int step = 0; step < 7; ++step) {
        StepLanes(lanes.Columns(), out);
        for (size_t i = 0; i < count; ++i) ASSERT_EQ(out[i], plain[i].Step());
    }
    for (size_t i = 0; i < count; ++i) EXPECT_EQ(lanes.Columns().Get(i).Step(), plain[i].Step());
}

INSTANTIATE_TEST_SUITE_P(Counts, BatchLanes,
                         testing::Values(0, 1, 2, 7, 15, 16, 17, 33, 256, 1001));

}  // namespace
