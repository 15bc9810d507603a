// Distances along one row of a distance map, where they are short: every pixel looks at its
// neighbours, nearer ones first, until those beyond are farther than what was found.
//
// That is quadratic in the distance, but it runs in vector lanes without a branch a pixel: while a
// row takes a few steps a pixel, all lanes together counted as one, it beats the lower envelope of
// parabolas. Squares are whole numbers, so both give the same bits.
#pragma once

#include <cstdint>
#include <vector>

namespace image {

// No side of a map, border included, is as long.
inline constexpr int kLongestMapSide = 30000;

// The distance along a column that has no target: farther than any pixel of it.
inline constexpr uint16_t kNoTarget = kLongestMapSide;

class RowWindows {
public:
    explicit RowWindows(int width);

    // columns: distances along the columns; distances: those in the plane. False when they are too
    // long for this method, or there are none; `distances` is then incomplete.
    bool Measure(const uint16_t* columns, float* distances);

private:
    int m_width;
    std::vector<int32_t> m_squares;  // of the columns, with room on both sides
};

}  // namespace image
