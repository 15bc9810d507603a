#include "Dravin/engine/areas/row_bands.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kMostBands = 1 << 16;

}  // namespace

int SliceCount(size_t n, double sum, int limit) {
    // Cutting m times puts m * sum entries beside the first of each part.
    double most = sum > 0 ? 7 * double(n) / sum : double(limit);
    return int(std::clamp(std::min(most, double(n)), 1.0, double(limit)));
}

TRowBands::TRowBands(std::span<const Range> ranges) {
    if (ranges.empty()) return;
    m_low = ranges[0].low;
    m_high = ranges[0].high;
    double heights = 0;
    for (const Range& r : ranges) {
        m_low = std::min(m_low, r.low);
        m_high = std::max(m_high, r.high);
        heights += double(r.high) - double(r.low);
    }
    double height = double(m_high) - double(m_low);
    size_t bands = size_t(SliceCount(ranges.size(), heights / height, kMostBands));
    float scale = float(double(bands) / height);
    // Too flat or too high for single precision: one band for all.
    bool cut = scale > 0 && std::isfinite(scale) && std::isfinite(m_high - m_low);
    m_scale = scale;
    m_last = cut ? bands - 1 : 0;

    // Count, then fill from the back, so that m_first ends at the first entry of each band.
    m_first.assign(m_last + 2, 0);
    auto forEachBand = [&](const Range& r, auto visit) {
        size_t last = BandOf(r.high);
        for (size_t band = BandOf(r.low); band <= last; ++band) visit(band);
    };
    for (const Range& r : ranges) forEachBand(r, [&](size_t band) { ++m_first[band]; });
    for (size_t band = 1; band < m_first.size(); ++band) m_first[band] += m_first[band - 1];
    m_entries.resize(m_first.back());
    for (size_t i = ranges.size(); i-- > 0;)
        forEachBand(ranges[i], [&](size_t band) { m_entries[--m_first[band]] = uint32_t(i); });
}
