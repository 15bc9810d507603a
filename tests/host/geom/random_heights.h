// Small height fields of random hills, with or without holes.
#pragma once

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "host/geom/height_field.h"

// holes: the share of samples that are missing.
inline HeightField RandomHeights(size_t columns, size_t rows, Point2 size, double holes,
                                 uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> bump(-1, 1);
    std::vector<float> heights;
    for (size_t j = 0; j < rows; ++j)
        for (size_t i = 0; i < columns; ++i) {
            float h = 3 * std::sin(0.4f * float(i)) * std::cos(0.3f * float(j)) + bump(random);
            bool isHole = double(random() % 1000) < holes * 1000;
            heights.push_back(isHole ? std::numeric_limits<float>::quiet_NaN() : h);
        }
    return {columns, rows, size, heights};
}
