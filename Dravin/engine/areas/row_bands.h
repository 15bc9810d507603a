// Which of many y ranges hold a row: the plane cut into bands, each with the ranges that reach it.
//
// There are as many bands as keep the lists short, and few enough that all lists together hold at
// most eight times as many entries as there are ranges. Immutable; threads may share one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Into how many slices of equal size an extent is cut so that n parts, whose shares of the extent
// add up to `sum`, lie in eight slices each at most, on average. At least 1, at most `limit`.
int SliceCount(size_t n, double sum, int limit);

class TRowBands {
public:
    struct Range {
        float low, high;  // both belong to it
    };

    TRowBands() = default;
    // ranges: finite, copied.
    explicit TRowBands(std::span<const Range> ranges);

    // Indices in rising order: every range that holds y, and others near by.
    std::span<const uint32_t> Near(float y) const {
        if (!(y >= m_low && y <= m_high)) return {};
        size_t band = BandOf(y);
        return {m_entries.data() + m_first[band], m_entries.data() + m_first[band + 1]};
    }

private:
    // Rising with y, whatever the rounding: a range reaches every band that one of its rows is in.
    size_t BandOf(float y) const {
        if (m_last == 0) return 0;
        size_t band = size_t((y - m_low) * m_scale);
        return band < m_last ? band : m_last;
    }

    float m_low = 1, m_high = 0;  // empty
    float m_scale = 0;            // bands a unit
    size_t m_last = 0;
    std::vector<uint32_t> m_first, m_entries;
};
