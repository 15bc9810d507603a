#include "host/math/noise3.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kFarthest = 1073741824.0f;  // 2^30: lattice coordinates fit 32 bits

uint32_t Mix(uint32_t h) {
    h = (h ^ (h >> 16)) * 0x7FEB352Du;
    h = (h ^ (h >> 15)) * 0x846CA68Bu;
    return h ^ (h >> 16);
}

uint32_t HashLattice(int32_t x, int32_t y, int32_t z, uint32_t seed) {
    return Mix(uint32_t(x) + Mix(uint32_t(y) + Mix(uint32_t(z) + Mix(seed + 0x9E3779B9u))));
}

// Dot product of (x, y, z) with one of the twelve edge directions, four of them twice.
float DotGradient(uint32_t hash, float x, float y, float z) {
    uint32_t h = hash & 15;
    float a = h < 8 ? x : y;
    float b = h < 4 ? y : (h == 12 || h == 14 ? x : z);
    return (h & 1 ? -a : a) + (h & 2 ? -b : b);
}

float Fade(float t) { return t * t * t * (t * (t * 6 - 15) + 10); }
float Blend(float a, float b, float t) { return a + (b - a) * t; }

}  // namespace

float Noise3(const Point3& p, uint32_t seed) {
    float reach = std::max({std::abs(p.x), std::abs(p.y), std::abs(p.z)});
    if (!IsFinite(p) || reach >= kFarthest) return 0;
    float fx = std::floor(p.x), fy = std::floor(p.y), fz = std::floor(p.z);
    auto ix = int32_t(fx), iy = int32_t(fy), iz = int32_t(fz);
    float x = p.x - fx, y = p.y - fy, z = p.z - fz;

    float corner[8];
    for (int i = 0; i < 8; ++i) {
        int dx = i & 1, dy = i >> 1 & 1, dz = i >> 2;
        corner[i] = DotGradient(HashLattice(ix + dx, iy + dy, iz + dz, seed), x - float(dx),
                                y - float(dy), z - float(dz));
    }
    float u = Fade(x), v = Fade(y), w = Fade(z);
    float low = Blend(Blend(corner[0], corner[1], u), Blend(corner[2], corner[3], u), v);
    float high = Blend(Blend(corner[4], corner[5], u), Blend(corner[6], corner[7], u), v);
    return 0.5f * Blend(low, high, w);
}

float FractalNoise3(const Point3& p, int levels, uint32_t seed) {
    float sum = 0, total = 0, amplitude = 1, frequency = 1;
    for (int i = 0; i < std::clamp(levels, 1, 16); ++i) {
        sum += amplitude * Noise3(p * frequency, seed + uint32_t(i));
        total += amplitude;
        amplitude *= 0.5f;
        frequency *= 2;
    }
    return sum / total;
}
