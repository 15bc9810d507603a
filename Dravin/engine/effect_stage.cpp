#include "Dravin/engine/effect_stage.h"

#include "Dravin/engine/item_pipeline.h"

TEffectStage::TEffectStage(const TBuildInput& input, const TGeometryChoice& geometry,
                           TDravinItemList& items, TRejections& rejected)
    : m_input(input),
      m_ranges(TransformRanges(input.transforms)),
      m_items(items),
      m_rejected(rejected) {
    if (!input.effects) return;
    m_runner = input.effects->MakeRunner(input, geometry);
    m_isBatched = !input.effects->MayReplace();
    m_usesRandom = input.effects->UsesRandom();
    if (m_usesRandom) m_generators.resize(m_isBatched ? kBatch : 1);
    if (!m_isBatched) return;
    m_waiting.reserve(kBatch);
    m_batch.reserve(kBatch);
}

void TEffectStage::StartCell() {
    m_cell.clear();
    m_wasAgain = m_again = m_hasOverrides = false;
    m_geometryAsked.reset();
    if (m_runner && !m_isBatched) m_rejectedBefore = m_rejected;
}

bool TEffectStage::Take(const TDravinItem& item, const TSpecimen& specimen,
                        const TSpecimenSize& size, const Border& border) {
    if (!m_runner) {
        AppendPlain(item, border);
        return true;
    }
    if (m_isBatched) {
        m_waiting.push_back({item, border});
        m_batch.push_back({nullptr, &specimen, size, nullptr, {}});
        if (m_waiting.size() == kBatch) Flush();
        return true;
    }
    Waiting finished{item, border};
    TEffectOutcome outcome;
    RunOne(finished.item, specimen, size, &outcome);
    if (finished.item.discarded) return ++m_rejected.effect, false;
    Judge(outcome, item.specimenIndex);
    if (m_again || m_geometryAsked) return false;
    m_cell.push_back(std::move(finished));
    return true;
}

// A cell is built again at most once, whatever the programs ask for then.
void TEffectStage::Judge(const TEffectOutcome& outcome, int32_t currentRow) {
    if (m_wasAgain || m_input.specimens.empty()) return;
    bool geometry = false;
    if (outcome.geometryWritten) {
        auto row = int32_t(SpecimenRow(outcome.specimen, m_input.specimens.size()));
        geometry = row != currentRow;
        if (geometry) m_geometryAsked = row;
    }
    if (!geometry && !outcome.placementWritten) return;
    m_wasAgain = true;
    m_again = !geometry;
    m_hasOverrides = true;
    m_overrides = outcome.overrides;
    m_overriddenRanges = TransformRanges(m_input.transforms, &m_overrides);
    if (!geometry) return;
    m_cell.clear();
    m_rejected = m_rejectedBefore;
}

void TEffectStage::FinishCell() {
    for (Waiting& w : m_cell) Append(w.item, w.border);
    m_cell.clear();
    m_hasOverrides = false;
}

// Without programs most items need no copy.
void TEffectStage::AppendPlain(const TDravinItem& item, const Border& border) {
    if (item.partial) {
        TDravinItem masked = item;
        return Append(masked, border);
    }
    m_items.Append(item, m_appender);
    ++m_produced;
}

void TEffectStage::Append(TDravinItem& item, const Border& border) {
    if (item.partial && border.areas && border.source)
        HideElementsOutside(m_input, *border.areas, border.grid, *border.source, item);
    item.keptRotation = item.rotation;
    item.keptRandomScale = item.randomScale;
    m_items.Append(item, m_appender);
    ++m_produced;
}

void TEffectStage::RunOne(TDravinItem& item, const TSpecimen& specimen, const TSpecimenSize& size,
                          TEffectOutcome* outcome) {
    TEffectItem one{&item, &specimen, size, nullptr, {}};
    if (m_usesRandom) {
        one.random = m_generators.data();
        GeneratorsBehindDraws(m_input.transforms, Ranges(), {&item.seed, 1}, {one.random, 1});
    }
    m_runner->Run({&one, 1});
    *outcome = one.outcome;
}

bool TEffectStage::RunNow(TDravinItem& item, const TSpecimen& specimen, const TSpecimenSize& size) {
    if (!m_runner) return item.discarded == 0;
    int32_t row = item.specimenIndex;
    TEffectOutcome outcome;
    RunOne(item, specimen, size, &outcome);
    if (item.discarded) return ++m_rejected.effect, false;
    Judge(outcome, row);
    return true;
}

void TEffectStage::RunBatch() {
    size_t count = m_batch.size();
    if (m_usesRandom) {
        m_seeds.clear();
        for (const Waiting& w : m_waiting) m_seeds.push_back(w.item.seed);
        GeneratorsBehindDraws(m_input.transforms, m_ranges, m_seeds, {m_generators.data(), count});
    }
    for (size_t i = 0; i < count; ++i) {
        m_batch[i].item = &m_waiting[i].item;
        if (m_usesRandom) m_batch[i].random = &m_generators[i];
    }
    m_runner->Run(m_batch);
}

void TEffectStage::Flush() {
    if (!m_batch.empty()) RunBatch();
    for (Waiting& w : m_waiting) {
        if (w.item.discarded)
            ++m_rejected.effect;
        else
            Append(w.item, w.border);
    }
    m_waiting.clear();
    m_batch.clear();
}
