// Gradient noise over three-dimensional space.
//
// Lattice gradients point to the middles of a cube's edges and are blended with a quintic fade
// (Perlin, "Improving Noise", 2002); the lattice is hashed from its integer coordinates, so the
// pattern does not repeat. Deterministic, the same bits everywhere; pure functions, safe in any
// thread.
#pragma once

#include <cstdint>

#include "host/math/point.h"

// Value about 0, within [-0.55, 0.55] and mostly within [-0.4, 0.4]; 0 at points with integer
// coordinates, and wherever a coordinate is not finite or beyond 2^30. Different seeds give
// unrelated patterns.
float Noise3(const Point3& p, uint32_t seed = 0);

// Sum of `levels` (1 to 16, clamped) noises, each of twice the frequency and half the amplitude of
// the one before, divided by the sum of the amplitudes: the range stays that of Noise3.
float FractalNoise3(const Point3& p, int levels, uint32_t seed = 0);
