#include "Dravin/viewport/splat_buffer.h"

#include <algorithm>

#include "host/base/thread_pool.h"

TSplatBuffer::TSplatBuffer(int width, int height)
    : m_width(width), m_height(height), m_pixels(size_t(width) * size_t(height), kNothing) {}

void TSplatBuffer::Clear(int threads) {
    ParallelRanges(m_pixels.size(), 65536, threads, [this](size_t first, size_t last) {
        std::fill(m_pixels.begin() + long(first), m_pixels.begin() + long(last), kNothing);
    });
}
