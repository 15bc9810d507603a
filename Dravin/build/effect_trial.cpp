#include "Dravin/build/effect_trial.h"

#include <algorithm>
#include <utility>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/effects/effect_list.h"
#include "Dravin/effects/item_probe.h"
#include "Dravin/engine/build_items.h"

namespace {

const TEffectPrograms* ProgramsOf(const TBuildInput& input) {
    return dynamic_cast<const TEffectPrograms*>(input.parts.programs.get());
}

// The input as a probe wants it, while this lives: its items go nowhere, so that nothing needs to
// be done with all of them.
class ProbedInput {
public:
    ProbedInput(TBuildInput& input, const TItemProbe& probe, TBuildProgress& progress)
        : m_input(input),
          m_effects(std::exchange(input.effects, &probe)),
          m_consumer(std::exchange(input.consumer, nullptr)),
          m_progress(std::exchange(input.progress, &progress)),
          m_collisions(std::exchange(input.collisions, false)) {}
    ~ProbedInput() {
        m_input.effects = m_effects;
        m_input.consumer = m_consumer;
        m_input.progress = m_progress;
        m_input.collisions = m_collisions;
    }
    ProbedInput(const ProbedInput&) = delete;
    ProbedInput& operator=(const ProbedInput&) = delete;

private:
    TBuildInput& m_input;
    const IEffectPrograms* m_effects;
    const TItemConsumer* m_consumer;
    TBuildProgress* m_progress;
    bool m_collisions;
};

}  // namespace

std::optional<TProbedItem> TDravinBuild::ProbeItem(const TItemId& id, size_t program) {
    if (!m_input) return std::nullopt;
    TBuildProgress progress;
    TItemProbe probe(m_input->effects ? ProgramsOf(*m_input) : nullptr, program, id, progress);
    ProbedInput probed(*m_input, probe, progress);
    TDravinItemList items{0u};
    TBuildStatistics statistics;
    (void)BuildItemArray(*m_input, items, statistics);
    return probe.Found();
}

size_t ProgramsBefore(const TDravin& object, const std::string& effectId) {
    TEffectContext context;
    TEffectList list(object.Block(kEffectParams), object.CurveSet(kSlotEffectCurves), context);
    std::span<const TEffectError> errors = object.Build().EffectErrors();
    size_t count = 0;
    for (const TEffect& effect : list.Effects()) {
        if (effect.id == effectId) break;
        bool fails = std::any_of(errors.begin(), errors.end(), [&](const TEffectError& error) {
            return error.effectId == effect.id;
        });
        count += effect.enabled && !effect.expression.empty() && !fails;
    }
    return count;
}

TTrialSurroundings::TTrialSurroundings(const TDravin& object)
    : m_geometry(object.Build().Input()->geometry, object.Build().Input()->specimens) {
    const TBuildInput& input = *object.Build().Input();
    m_host.input = &input;
    m_host.geometry = &m_geometry;
    const TEffectPrograms* programs = ProgramsOf(input);
    if (!programs) return;
    for (const auto& curve : programs->curves) m_curves.push_back(curve.get());
    m_host.textures = programs->textures;
    m_host.curves = m_curves;
}
