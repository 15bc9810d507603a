// Many generators at once, in vector lanes.
//
// Each lane runs the recurrence of one TNuRandom, integers only, so every instruction set gives the
// same bits as the plain class; the widest one that the processor has is chosen when first called.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "common/nurandom/nurandom.h"

// Seeds one generator for each entry of `seeds` and writes its first `numSteps` outputs:
// out[step * seeds.size() + lane] is output `step` of lane `lane`. out.size() is numSteps * lanes.
// Thread safe.
void DrawSteps(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out);

// The same, one generator after the other: the meaning, and the judge of the lanes.
void DrawStepsScalar(std::span<const uint32_t> seeds, size_t numSteps, std::span<uint32_t> out);

// One generator for each seed, `numSteps` steps behind its seeding (at least 4). Where one of these
// steps gave an output that TNuRandom::Random() rejects, rejected[lane] is set to 1, else to 0.
// All three have the same size. Thread safe.
void SeedAndSkip(std::span<const uint32_t> seeds, size_t numSteps, std::span<TNuRandom> out,
                 std::span<uint8_t> rejected);
