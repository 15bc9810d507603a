// Display colours (what images and materials hold) and linear light (what adds and multiplies):
// the sRGB transfer functions of IEC 61966-2-1, 0..1 on both sides.
#pragma once

#include <cmath>

#include "host/math/color.h"

inline float DisplayToLinear(float value) {
    return value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
}

inline float LinearToDisplay(float value) {
    return value <= 0.0031308f ? value * 12.92f : 1.055f * std::pow(value, 1 / 2.4f) - 0.055f;
}

inline Color DisplayToLinear(Color c) {
    return {DisplayToLinear(c.r), DisplayToLinear(c.g), DisplayToLinear(c.b)};
}

inline Color LinearToDisplay(Color c) {
    return {LinearToDisplay(c.r), LinearToDisplay(c.g), LinearToDisplay(c.b)};
}
