// A picture that any number of threads draw into at once, with the same outcome.
//
// A pixel is a number of 64 bits: above, how far away it is; below, what it shows. The smallest
// wins, whoever comes first.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <vector>

// The pixels that somebody draws to: [left, right) x [top, bottom).
struct TPixelRect {
    int left = 0, top = 0, right = 0, bottom = 0;
};

class TSplatBuffer {
public:
    static constexpr uint64_t kNothing = ~uint64_t{0};

    TSplatBuffer(int width, int height);

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    TPixelRect Rect() const { return {0, 0, m_width, m_height}; }
    // Nothing anywhere.
    void Clear(int threads);
    // A place inside; nearness above 0. Any thread.
    void Put(int x, int y, float nearness, uint32_t value) {
        // Positive floats are ordered as their bits are.
        uint64_t wanted = uint64_t{~std::bit_cast<uint32_t>(nearness)} << 32 | value;
        std::atomic_ref<uint64_t> pixel(m_pixels[size_t(y) * size_t(m_width) + size_t(x)]);
        uint64_t there = pixel.load(std::memory_order_relaxed);
        while (wanted < there &&
               !pixel.compare_exchange_weak(there, wanted, std::memory_order_relaxed)) {
        }
    }
    bool IsEmpty(size_t i) const { return m_pixels[i] == kNothing; }
    // All pixels, row by row, top down: the value below, the complement of the nearness' bits
    // above.
    const uint64_t* Data() const { return m_pixels.data(); }
    // What the pixel shows; row by row, top down. Not empty.
    uint32_t Value(size_t i) const { return uint32_t(m_pixels[i]); }
    // 0 where it is empty.
    float Nearness(size_t i) const {
        return IsEmpty(i) ? 0 : std::bit_cast<float>(~uint32_t(m_pixels[i] >> 32));
    }

private:
    int m_width, m_height;
    std::vector<uint64_t> m_pixels;
};
