#include "Dravin/engine/item_numbers.h"

#include "Dravin/engine/lane_draws.h"
#include "Dravin/engine/lane_loops.h"
#include "common/nurandom/nurandom_batch.h"

namespace {

constexpr size_t kRounding = 32;  // whole vectors: the rest would go one by one

}  // namespace

TItemNumbers::TItemNumbers(const TTransformSettings& settings)
    : m_settings(settings),
      m_ranges(TransformRanges(settings)),
      m_first(TLaneDraws::FirstNumberStep(settings)),
      m_numSteps(m_first + 3) {}

void TItemNumbers::Draw(std::span<const uint32_t> itemSeeds, std::span<Point3> out) {
    size_t n = itemSeeds.size();
    m_stride = (n + kRounding - 1) / kRounding * kRounding;
    m_seeds.assign(m_stride, 0);
    for (size_t i = 0; i < n; ++i) m_seeds[i] = m_settings.seed + itemSeeds[i];
    m_outputs.resize(m_numSteps * m_stride);
    DrawSteps(m_seeds, m_numSteps, m_outputs);
    const uint32_t* numbers = m_outputs.data() + m_first * m_stride;
    for (size_t i = 0; i < n; ++i)
        out[i] = {TNuRandom::ToUnit(numbers[i]), TNuRandom::ToUnit(numbers[m_stride + i]),
                  TNuRandom::ToUnit(numbers[2 * m_stride + i])};
    // An output that is drawn again shifts all behind it: such items are drawn alone.
    if (!lane_loops::AnyRejected(m_outputs)) return;
    for (size_t i = 0; i < n; ++i) {
        if (!IsRejected(i)) continue;
        TNuRandom generator(m_seeds[i]);
        PlainSource source{generator};
        ItemRandoms drawn;
        FillRandoms(source, m_settings, m_ranges, drawn);
        out[i] = {drawn.random1, drawn.random2, drawn.random3};
    }
}

bool TItemNumbers::IsRejected(size_t lane) const {
    for (size_t step = 0; step < m_numSteps; ++step)
        if (TNuRandom::IsRejected(m_outputs[step * m_stride + lane])) return true;
    return false;
}
