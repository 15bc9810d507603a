// The distribution map as an image: which of its pixels make items.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/math/color.h"

// Pixels with their pass flags, bottom row first.
class TDensityMap {
public:
    struct Pixel {
        Color color;
        float pass = 0;  // 1 where the luminance is above the threshold
    };

    TDensityMap() = default;
    // rgb: width x height x 3 channels of 16 bits, top row first. thresholdPercent: the comparison
    // is strict, so a white image passes nothing at 100.
    TDensityMap(int width, int height, const std::vector<uint16_t>& rgb, int thresholdPercent);

    bool IsEmpty() const { return m_pixels.empty(); }
    int Width() const { return m_width; }
    int Height() const { return m_height; }
    // Row 0 is the bottom of the image.
    const Pixel& At(int column, int row) const {
        return m_pixels[size_t(row) * size_t(m_width) + size_t(column)];
    }
    // Fraction of the pixels that pass.
    float Coverage() const { return m_coverage; }

private:
    int m_width = 0, m_height = 0;
    std::vector<Pixel> m_pixels;
    float m_coverage = 0;
};

// Coverage that is assumed of a texture map.
inline constexpr float kTextureCoverage = 0.75f;
