// A plain picture of values: width x height, row by row from row 0.
#pragma once

#include <cstddef>
#include <vector>

namespace image {

template <class T>
class TImage {
public:
    TImage() = default;
    // All values are zero.
    TImage(int width, int height)
        : m_width(width), m_height(height), m_pixels(size_t(width) * size_t(height)) {}

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    bool IsInside(int x, int y) const { return x >= 0 && y >= 0 && x < m_width && y < m_height; }
    T& At(int x, int y) { return m_pixels[size_t(y) * size_t(m_width) + size_t(x)]; }
    const T& At(int x, int y) const { return m_pixels[size_t(y) * size_t(m_width) + size_t(x)]; }

private:
    int m_width = 0, m_height = 0;
    std::vector<T> m_pixels;
};

}  // namespace image
