#include "Dravin/engine/density_map.h"

#include <cassert>

TDensityMap::TDensityMap(int width, int height, const std::vector<uint16_t>& rgb,
                         int thresholdPercent)
    : m_width(width), m_height(height) {
    assert(rgb.size() == size_t(width) * size_t(height) * 3);
    constexpr float kUnit = 1.5259022e-05f;  // 1 / 65535
    float threshold = float(thresholdPercent) * 0.01f;
    m_pixels.reserve(size_t(width) * size_t(height));
    size_t passing = 0;
    for (int row = height - 1; row >= 0; --row)
        for (int column = 0; column < width; ++column) {
            const uint16_t* c = &rgb[(size_t(row) * size_t(width) + size_t(column)) * 3];
            Color color{float(c[0]) * kUnit, float(c[1]) * kUnit, float(c[2]) * kUnit};
            bool passes = Luminance(color) > threshold;
            passing += passes;
            m_pixels.push_back({color, passes ? 1.0f : 0.0f});
        }
    if (!m_pixels.empty()) m_coverage = float(passing) / float(m_pixels.size());
}
