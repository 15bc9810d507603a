#include "Dravin/engine/lane_draws.h"

#include <algorithm>

#include "Dravin/engine/lane_loops.h"
#include "Dravin/engine/step_tools.h"

namespace {

// Lanes are drawn in whole vectors: the rest would go one by one.
constexpr size_t kRounding = 32;

// Axes in the order in which scales and angles are drawn.
constexpr int kScaleOrder[] = {0, 2}, kAngleOrder[] = {2, 0, 1};

}  // namespace

TLaneDraws::TLaneDraws(const TTransformSettings& settings, bool rotates)
    : m_settings(settings),
      m_ranges(TransformRanges(settings)),
      m_steps(StepsOf(settings)),
      m_rotates(rotates || settings.applyRotation) {}

TLaneDraws::Steps TLaneDraws::StepsOf(const TTransformSettings& s) {
    bool scales = !s.scaCurve || !s.scaCurve->IsEmpty();
    bool turns = !s.rotCurve || !s.rotCurve->IsEmpty();
    Steps steps{};
    uint8_t next = 9;  // behind A, B and the translation
    for (int axis : kScaleOrder) steps.scale[axis] = scales ? next++ : uint8_t(kNotDrawn);
    steps.integer = next++;
    steps.random1 = next, next += 3;
    for (int axis : kAngleOrder) steps.rotation[axis] = turns ? next++ : uint8_t(kNotDrawn);
    steps.sample = next++;
    steps.scale[1] = next++;
    steps.random4 = next++;
    steps.count = ++next;  // random5
    return steps;
}

float TLaneDraws::Unit(size_t step, size_t i) const { return TNuRandom::ToUnit(Output(step)[i]); }

void TLaneDraws::Draw(std::span<const uint32_t> itemSeeds) {
    m_count = itemSeeds.size();
    m_stride = (m_count + kRounding - 1) / kRounding * kRounding;
    m_seeds.assign(m_stride, 0);
    for (size_t i = 0; i < m_count; ++i) m_seeds[i] = m_settings.seed + itemSeeds[i];
    m_outputs.resize(m_steps.count * m_stride);
    m_carry.resize(m_stride);
    DrawSteps(m_seeds, m_steps.count, m_outputs, m_carry);
    MarkRejected();
}

// About one draw in a hundred thousand has an output that is drawn again, which shifts all behind
// it; such draws are made alone.
void TLaneDraws::MarkRejected() {
    m_rejected.clear();
    m_redrawn.clear();
    bool any = false;
    for (size_t step = 0; step < m_steps.count; ++step)
        any |= lane_loops::AnyRejected({Output(step), m_count});
    if (!any) return;
    for (size_t i = 0; i < m_count; ++i) {
        bool rejected = false;
        for (size_t step = 0; step < m_steps.count; ++step)
            rejected |= TNuRandom::IsRejected(Output(step)[i]);
        if (!rejected) continue;
        TNuRandom generator(m_seeds[i]);
        PlainSource source{generator};
        m_rejected.push_back(uint32_t(i));
        FillRandoms(source, m_settings, m_ranges, m_redrawn.emplace_back());
    }
}

Point3 TLaneDraws::RandomB(size_t i) const {
    for (size_t r = 0; r < m_rejected.size(); ++r)
        if (m_rejected[r] == i) return m_redrawn[r].randomB;
    return {Unit(3, i), Unit(4, i), Unit(5, i)};
}

Point3 TLaneDraws::RandomTranslation(size_t i) const {
    for (size_t r = 0; r < m_rejected.size(); ++r)
        if (m_rejected[r] == i) return m_redrawn[r].randomTranslation;
    return {Unit(6, i), Unit(7, i), Unit(8, i)};
}

float TLaneDraws::Random4(size_t i) const {
    for (size_t r = 0; r < m_rejected.size(); ++r)
        if (m_rejected[r] == i) return m_redrawn[r].random4;
    return Unit(m_steps.random4, i);
}

void TLaneDraws::TakeGenerators(TNuRandomLanes& out) const {
    out.Resize(m_count);
    TNuRandomColumns g = out.Columns();
    size_t step = m_steps.count;
    for (uint32_t* word : {g.x0, g.x1, g.x2, g.x3}) std::copy_n(Output(--step), m_count, word);
    std::copy_n(m_carry.data(), m_count, g.carry);
    for (uint32_t i : m_rejected) {
        TNuRandom generator(m_seeds[i]);
        PlainSource source{generator};
        ItemRandoms drawn;
        FillRandoms(source, m_settings, m_ranges, drawn);
        g.Set(i, generator);
    }
}

void TLaneDraws::Fill(TItemLanes& lanes) const {
    size_t n = lanes.count;
    auto unit = [&](size_t step, TLane<float>& lane) {
        lane_loops::ToUnit({Output(step), n}, lane.Data());
    };
    const TTransformSettings& s = m_settings;
    unit(1, lanes.densityDraw);
    if (s.applyTranslation) {
        unit(6, lanes.randomTranslation.x);
        unit(7, lanes.randomTranslation.y);
        unit(8, lanes.randomTranslation.z);
    }
    if (s.mirror)
        for (size_t k = 0; k < n; ++k)
            lanes.randomInteger[k] = TNuRandom::ScaleToRange(Output(m_steps.integer)[k], 0, 32767);
    unit(m_steps.random1, lanes.random1);
    unit(m_steps.random1 + 1u, lanes.random2);
    if (s.tintFromMap) unit(m_steps.random1 + 2u, lanes.random3);
    if (s.animation == kAnimRandom)
        for (size_t k = 0; k < n; ++k)
            lanes.randomSample[k] =
                TNuRandom::ScaleToRange(Output(m_steps.sample)[k], 0, s.animSamples - 1);
    if (s.applyScale || m_rotates) FillScales(lanes);
    if (m_rotates) FillRotations(lanes);
    for (uint32_t i : m_rejected)
        if (i < n) FillAgain(lanes, i);
}

void TLaneDraws::FillScales(TItemLanes& lanes) const {
    const TTransformSettings& s = m_settings;
    TLane<float>* axes[] = {&lanes.randomScale.x, &lanes.randomScale.y, &lanes.randomScale.z};
    bool any = std::any_of(&lanes.overrides[0], &lanes.overrides[0] + lanes.count,
                           [](const TItemOverrides* o) { return o && o->hasScale; });
    for (int axis = 0; axis < 3; ++axis) {
        float* out = axes[axis]->Data();
        bool curved = s.scaCurve && axis != 1;
        auto one = [&](const TTransformRanges& ranges, size_t k) {
            int32_t min = ranges.scaleMin[axis], max = ranges.scaleMax[axis];
            if (m_steps.scale[axis] == kNotDrawn) return float(min) * 0.01f;
            if (!curved)
                return float(TNuRandom::ScaleToRange(Output(m_steps.scale[axis])[k], min, max)) *
                       0.01f;
            return s.scaCurve->CurveValue(Unit(m_steps.scale[axis], k), float(min), float(max)) *
                   0.01f;
        };
        if (!any && !curved) {
            lane_loops::ToPercentRange({Output(m_steps.scale[axis]), lanes.count},
                                       m_ranges.scaleMin[axis], m_ranges.scaleMax[axis], out);
            continue;
        }
        for (size_t k = 0; k < lanes.count; ++k)
            out[k] = one(RangesOf(s, m_ranges, lanes.overrides[k]), k);
    }
}

void TLaneDraws::FillRotations(TItemLanes& lanes) const {
    const TTransformSettings& s = m_settings;
    TLane<float>* axes[] = {&lanes.rotation.x, &lanes.rotation.y, &lanes.rotation.z};
    bool any = std::any_of(&lanes.overrides[0], &lanes.overrides[0] + lanes.count,
                           [](const TItemOverrides* o) { return o && o->hasRotation; });
    for (int axis = 0; axis < 3; ++axis) {
        float* out = axes[axis]->Data();
        auto one = [&](const TTransformRanges& ranges, size_t k) {
            float min = ranges.rotMin[axis], max = ranges.rotMax[axis];
            if (m_steps.rotation[axis] == kNotDrawn) return min;
            float u = Unit(m_steps.rotation[axis], k);
            return s.rotCurve ? s.rotCurve->CurveValue(u, min, max) : min + u * (max - min);
        };
        if (!any && !s.rotCurve) {
            lane_loops::ToRange({Output(m_steps.rotation[axis]), lanes.count},
                                m_ranges.rotMin[axis], m_ranges.rotMax[axis], out);
            continue;
        }
        for (size_t k = 0; k < lanes.count; ++k)
            out[k] = one(RangesOf(s, m_ranges, lanes.overrides[k]), k);
    }
}

void TLaneDraws::FillAgain(TItemLanes& lanes, size_t k) const {
    TNuRandom generator(m_seeds[k]);
    PlainSource source{generator};
    ItemRandoms r;
    FillRandoms(source, m_settings, RangesOf(m_settings, m_ranges, lanes.overrides[k]), r);
    lanes.densityDraw[k] = r.randomA.y;
    lanes.randomTranslation.Set(k, r.randomTranslation);
    lanes.randomScale.Set(k, r.randomScale);
    lanes.rotation.Set(k, r.rotation);
    lanes.random1[k] = r.random1;
    lanes.random2[k] = r.random2;
    lanes.random3[k] = r.random3;
    lanes.randomInteger[k] = r.randomInteger;
    lanes.randomSample[k] = r.randomSample;
}
