#include "common/nurandom/nurandom.h"

#include <algorithm>
#include <cassert>

TNuRandomTable::TNuRandomTable(std::span<const float> weights) {
    size_t n = weights.size();
    assert(n > 0 && "common/nurandom: a table needs at least one weight");
    m_cumulative.reserve(n);
    double total = 0;
    for (float weight : weights) m_cumulative.push_back(float(total += weight));

    if (total == 0) {
        for (size_t i = 0; i < n; ++i) m_cumulative[i] = float(i + 1) / float(n);
    } else {
        for (float& c : m_cumulative) c = c / float(total);
    }

    m_lookup.reserve(n);
    size_t j = 0;
    for (size_t k = 0; k < n; ++k) {
        float u = float(k) / float(n);
        while (j + 1 < n && u > m_cumulative[j]) ++j;
        m_lookup.push_back(uint32_t(j));
    }
    m_numOutcomes = float(n);
    m_lastOutcome = int64_t(n) - 1;
}

TCurveSampler::TCurveSampler(std::span<const float> weights) {
    std::vector<float> clamped(weights.begin(), weights.end());
    for (float& w : clamped) w = std::min(w, 100.0f);
    m_table.emplace_back(clamped);
}
