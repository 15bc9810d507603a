#include "Dravin/engine/lane_loops.h"

#include <bit>
#include <cmath>

#include "common/nurandom/nurandom.h"
#include "host/math/point.h"
#include "host/math/sin_cos.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Dravin/engine/lane_loops.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace lane_loops {
namespace HWY_NAMESPACE {

void ToUnitLoop(const uint32_t* __restrict x, size_t count, float* __restrict out) {
    // The same bits as ToUnit: a power of two changes no digit.
    for (size_t k = 0; k < count; ++k) out[k] = float(x[k]) * 0x1p-32f;
}

bool AnyRejectedLoop(const uint32_t* __restrict x, size_t count) {
    // Outputs at both ends of the range are rejected; moved by one they are the largest.
    uint32_t largest = 0;
    for (size_t k = 0; k < count; ++k) largest = std::max(largest, x[k] - 1);
    return largest >= 0xFFFFFF7Fu;
}

void ToRangeLoop(const uint32_t* __restrict x, size_t count, float min, float max,
                 float* __restrict out) {
    float width = max - min;
    for (size_t k = 0; k < count; ++k) out[k] = min + float(x[k]) * 0x1p-32f * width;
}

void ToPercentRangeLoop(const uint32_t* __restrict x, size_t count, int32_t min, uint32_t numValues,
                        float* __restrict out) {
    for (size_t k = 0; k < count; ++k)
        out[k] = float(min + int32_t((uint64_t{numValues} * x[k]) >> 32)) * 0.01f;
}

struct V {
    float x, y, z;
};
inline V Cross(const V& a, const V& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
// Choices are made of masks, all ones or none: compilers make branches of conditions, and loops
// with branches stay scalar.
inline uint32_t MaskOf(bool b) { return 0u - uint32_t(b); }
inline float Choose(uint32_t mask, float a, float b) {
    uint32_t bits = (std::bit_cast<uint32_t>(a) & mask) | (std::bit_cast<uint32_t>(b) & ~mask);
    return std::bit_cast<float>(bits);
}
// As Normalize of points.
inline V Unit(const V& a) {
    float length = std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
    uint32_t is = MaskOf(length > 0);
    float divisor = Choose(is, length, 1.0f);
    return {Choose(is, a.x / divisor, 0.0f), Choose(is, a.y / divisor, 0.0f),
            Choose(is, a.z / divisor, 0.0f)};
}

void MakeFramesLoop(size_t count, const float* __restrict rx, const float* __restrict ry,
                    const float* __restrict rz, const float* __restrict nx,
                    const float* __restrict ny, const float* __restrict nz, float* __restrict xx,
                    float* __restrict xy, float* __restrict xz, float* __restrict yx,
                    float* __restrict yy, float* __restrict yz, float* __restrict zx,
                    float* __restrict zy, float* __restrict zz) {
    for (size_t k = 0; k < count; ++k) {
        V normal{nx[k], ny[k], nz[k]}, reference{rx[k], ry[k], rz[k]};
        V y = Unit(Cross(normal, reference)), other = Unit(Cross(normal, {0, 1, 0}));
        // A normal along the reference leaves the turn open; the y axis serves then.
        uint32_t open = MaskOf(y.x == 0) & MaskOf(y.y == 0) & MaskOf(y.z == 0);
        y = {Choose(open, other.x, y.x), Choose(open, other.y, y.y), Choose(open, other.z, y.z)};
        V x = Unit(Cross(y, normal));
        xx[k] = x.x, xy[k] = x.y, xz[k] = x.z;
        yx[k] = y.x, yy[k] = y.y, yz[k] = y.z;
        zx[k] = normal.x, zy[k] = normal.y, zz[k] = normal.z;
    }
}

// Whether all angles are within what is reduced; others give no numbers.
bool SinCosLoop(const float* __restrict angle, size_t count, float* __restrict s,
                float* __restrict c) {
    uint32_t within = ~0u;
    for (size_t k = 0; k < count; ++k) {
        SinCos a = ReducedSinCos(angle[k]);
        s[k] = a.sin, c[k] = a.cos;
        within &= MaskOf(std::abs(angle[k]) <= kLargestReduced);
    }
    return within != 0;
}

// a = a c + b s, b = b c - a s.
void TurnPairLoop(size_t count, const float* __restrict s, const float* __restrict c,
                  float* __restrict a, float* __restrict b) {
    for (size_t k = 0; k < count; ++k) {
        float p = a[k], q = b[k];
        a[k] = p * c[k] + q * s[k];
        b[k] = q * c[k] - p * s[k];
    }
}

void LeanLoop(size_t count, const float* __restrict ax, const float* __restrict ay,
              const float* __restrict az, float keep, float up, float* __restrict ox,
              float* __restrict oy, float* __restrict oz) {
    for (size_t k = 0; k < count; ++k) {
        // The zeros that are added are those of WorkingNormal: they decide the sign of a zero.
        V v = Unit({ax[k] * keep + 0.0f, ay[k] * keep + 0.0f, az[k] * keep + up});
        ox[k] = v.x, oy[k] = v.y, oz[k] = v.z;
    }
}

void AddScaledLoop(size_t count, const float* __restrict b, const float* __restrict f,
                   float* __restrict a) {
    for (size_t k = 0; k < count; ++k) a[k] += f[k] * b[k];
}

}  // namespace HWY_NAMESPACE
}  // namespace lane_loops
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace lane_loops {

HWY_EXPORT(ToUnitLoop);
HWY_EXPORT(AnyRejectedLoop);
HWY_EXPORT(ToRangeLoop);
HWY_EXPORT(ToPercentRangeLoop);
HWY_EXPORT(MakeFramesLoop);
HWY_EXPORT(SinCosLoop);
HWY_EXPORT(TurnPairLoop);
HWY_EXPORT(AddScaledLoop);
HWY_EXPORT(LeanLoop);

void ToUnit(std::span<const uint32_t> outputs, float* out) {
    HWY_DYNAMIC_DISPATCH(ToUnitLoop)(outputs.data(), outputs.size(), out);
}

bool AnyRejected(std::span<const uint32_t> outputs) {
    return HWY_DYNAMIC_DISPATCH(AnyRejectedLoop)(outputs.data(), outputs.size());
}

void ToRange(std::span<const uint32_t> outputs, float min, float max, float* out) {
    HWY_DYNAMIC_DISPATCH(ToRangeLoop)(outputs.data(), outputs.size(), min, max, out);
}

void ToPercentRange(std::span<const uint32_t> outputs, int32_t min, int32_t max, float* out) {
    int64_t numValues = int64_t{max} - min + 1;
    if (numValues >= 1 && numValues <= INT64_C(0xFFFFFFFF))
        return HWY_DYNAMIC_DISPATCH(ToPercentRangeLoop)(outputs.data(), outputs.size(), min,
                                                        uint32_t(numValues), out);
    for (size_t k = 0; k < outputs.size(); ++k)
        out[k] = float(TNuRandom::ScaleToRange(outputs[k], min, max)) * 0.01f;
}

void MakeFrames(size_t count, ConstPointColumns r, ConstPointColumns n, PointColumns x,
                PointColumns y, PointColumns z) {
    HWY_DYNAMIC_DISPATCH(MakeFramesLoop)
    (count, r.x, r.y, r.z, n.x, n.y, n.z, x.x, x.y, x.z, y.x, y.y, y.z, z.x, z.y, z.z);
}

namespace {

constexpr size_t kBlock = 256;

// Turns the plane of the axes a and b by the angles.
void TurnPlane(size_t count, const float* angles, PointColumns a, PointColumns b) {
    float s[kBlock], c[kBlock];
    for (size_t first = 0; first < count; first += kBlock) {
        size_t n = std::min(kBlock, count - first);
        bool within = HWY_DYNAMIC_DISPATCH(SinCosLoop)(angles + first, n, s, c);
        for (size_t k = 0; !within && k < n; ++k) {
            if (std::abs(angles[first + k]) <= kLargestReduced) continue;
            SinCos plain = SinCosOf(angles[first + k]);
            s[k] = plain.sin, c[k] = plain.cos;
        }
        HWY_DYNAMIC_DISPATCH(TurnPairLoop)(n, s, c, a.x + first, b.x + first);
        HWY_DYNAMIC_DISPATCH(TurnPairLoop)(n, s, c, a.y + first, b.y + first);
        HWY_DYNAMIC_DISPATCH(TurnPairLoop)(n, s, c, a.z + first, b.z + first);
    }
}

}  // namespace

void TurnFrames(size_t count, ConstPointColumns angles, PointColumns x, PointColumns y,
                PointColumns z) {
    TurnPlane(count, angles.x, y, z);
    TurnPlane(count, angles.y, z, x);
    TurnPlane(count, angles.z, x, y);
}

void Lean(size_t count, ConstPointColumns a, float keep, float up, PointColumns out) {
    HWY_DYNAMIC_DISPATCH(LeanLoop)(count, a.x, a.y, a.z, keep, up, out.x, out.y, out.z);
}

void AddScaled(size_t count, PointColumns a, ConstPointColumns b, const float* f) {
    HWY_DYNAMIC_DISPATCH(AddScaledLoop)(count, b.x, f, a.x);
    HWY_DYNAMIC_DISPATCH(AddScaledLoop)(count, b.y, f, a.y);
    HWY_DYNAMIC_DISPATCH(AddScaledLoop)(count, b.z, f, a.z);
}

}  // namespace lane_loops

#endif
