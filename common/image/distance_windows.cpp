#include "common/image/distance_windows.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "common/image/distance_windows.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#ifndef COMMON_IMAGE_DISTANCE_WINDOWS_ONCE
#define COMMON_IMAGE_DISTANCE_WINDOWS_ONCE

namespace image {

constexpr int kMostSteps = 256;    // from a pixel
constexpr int kStepsPerPixel = 4;  // along a row, on average
constexpr int kMostLanes = 16;

}  // namespace image

#endif

HWY_BEFORE_NAMESPACE();
namespace image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Ints = hn::CappedTag<int32_t, kMostLanes>;

void SquareLanes(const uint16_t* columns, int width, int32_t* squares) {
    const Ints ints;
    const hn::Rebind<uint16_t, Ints> shorts;
    const int lanes = int(hn::Lanes(ints));
    int x = 0;
    for (; x + lanes <= width; x += lanes) {
        auto wide = hn::PromoteTo(ints, hn::LoadU(shorts, columns + x));
        hn::StoreU(hn::Mul(wide, wide), ints, squares + x);
    }
    for (; x < width; ++x) squares[x] = int32_t(columns[x]) * columns[x];
}

// squares: with room on both sides.
bool MeasureLanes(const int32_t* squares, int width, float* distances) {
    const Ints ints;
    const hn::Rebind<float, Ints> floats;
    const int lanes = int(hn::Lanes(ints));
    if (width < lanes) return false;
    int steps = kStepsPerPixel * width;
    for (int next = 0; next < width; next += lanes) {
        int x = std::min(next, width - lanes);  // the last few, and some once more
        const int32_t* at = squares + x;
        auto best = hn::LoadU(ints, at);
        int d = 1;
        while (!hn::AllFalse(ints, hn::Gt(best, hn::Set(ints, d * d)))) {
            if (d >= kMostSteps || --steps < 0) return false;
            auto near = hn::Min(hn::LoadU(ints, at - d), hn::LoadU(ints, at + d));
            best = hn::Min(best, hn::Add(near, hn::Set(ints, d * d)));
            ++d;
        }
        hn::StoreU(hn::Sqrt(hn::ConvertTo(floats, best)), floats, distances + x);
    }
    return true;
}

}  // namespace image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace image {

HWY_EXPORT(SquareLanes);
HWY_EXPORT(MeasureLanes);

// Beyond the row nothing is near.
RowWindows::RowWindows(int width)
    : m_width(width), m_squares(size_t(width) + 2 * kMostSteps, int32_t{kNoTarget} * kNoTarget) {}

bool RowWindows::Measure(const uint16_t* columns, float* distances) {
    int32_t* squares = m_squares.data() + kMostSteps;
    HWY_DYNAMIC_DISPATCH(SquareLanes)(columns, m_width, squares);
    return HWY_DYNAMIC_DISPATCH(MeasureLanes)(squares, m_width, distances);
}

}  // namespace image

#endif
