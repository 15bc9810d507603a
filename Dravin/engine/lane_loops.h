// The loops over columns that are worth vectors.
//
// Each is a plain loop, compiled for every instruction set that processors may have; the best one
// is chosen when first called. Elements do not depend on each other and nothing is contracted, so
// that all of them give the same bits. Columns of one call do not overlap. Thread safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace lane_loops {

// Uniform numbers in (0, 1) of generator outputs.
void ToUnit(std::span<const uint32_t> outputs, float* out);
// Whether TNuRandom::Random() would draw one of them again.
bool AnyRejected(std::span<const uint32_t> outputs);
// min + u (max - min).
void ToRange(std::span<const uint32_t> outputs, float min, float max, float* out);
// Whole numbers in [min, max], in hundredths.
void ToPercentRange(std::span<const uint32_t> outputs, int32_t min, int32_t max, float* out);

struct PointColumns {
    float *x, *y, *z;
};
struct ConstPointColumns {
    const float *x, *y, *z;
};

// Frames with z axis `normal` and the x axis as near to `reference` as that allows (MakeFrame).
void MakeFrames(size_t count, ConstPointColumns reference, ConstPointColumns normal,
                PointColumns axisX, PointColumns axisY, PointColumns axisZ);
// Turns frames about their own x axis, then y, then z, by angles in radians. Angles beyond
// kLargestReduced (sin_cos.h) are taken as they come.
void TurnFrames(size_t count, ConstPointColumns angles, PointColumns axisX, PointColumns axisY,
                PointColumns axisZ);

// Unit vectors along keep * a + (0, 0, up); the zero vector stays zero (WorkingNormal).
void Lean(size_t count, ConstPointColumns a, float keep, float up, PointColumns out);

// a += b * f.
void AddScaled(size_t count, PointColumns a, ConstPointColumns b, const float* f);

}  // namespace lane_loops
