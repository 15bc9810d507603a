#include "Dravin/engine/item_maker.h"

#include <algorithm>

#include "Dravin/engine/item_deltas.h"
#include "Dravin/engine/item_steps.h"
#include "Dravin/engine/item_writer.h"
#include "Dravin/engine/lod.h"

namespace {

// Between the seeds of elements that stand in the place of one; odd, so that many differ.
constexpr uint32_t kReplacementSeeds = 0x9e3779b1;

}  // namespace

TItemMaker::TItemMaker(const TBuildInput& input, const TGeometryChoice& geometry,
                       const TCellRules& rules, ICellReader& reader, TDravinItemList& items)
    : m_input(input),
      m_geometry(geometry),
      m_rules(rules),
      m_reader(reader),
      m_items(items),
      m_counts{std::vector<int32_t>(geometry.Clusters().size()), {}, {}, {}},
      m_cellDraws(input.transforms, input.effects != nullptr),
      m_laneDraws(input.transforms, input.effects != nullptr),
      m_lanes(MakeLanes(kCellsInBatch)),
      m_runner(input.effects ? input.effects->MakeRunner(input, geometry) : nullptr),
      m_replaces(input.effects && input.effects->MayReplace()),
      m_usesRandom(input.effects && input.effects->UsesRandom()) {}

bool TItemMaker::Advance() {
    if (!m_reader.Next(m_cells, m_counts.rejected)) return false;
    DrawCells();
    for (size_t first = 0; first < m_cells.count;) first = MakePortion(first);
    return true;
}

std::unique_ptr<TItemLanes> TItemMaker::MakeLanes(size_t capacity) const {
    return std::make_unique<TItemLanes>(capacity, m_items.Groups(), m_input.channels.AnyRead());
}

void TItemMaker::DrawCells() {
    m_cellSeeds.resize(m_cells.count);
    for (size_t i = 0; i < m_cells.count; ++i) m_cellSeeds[i] = FirstSeed(i);
    m_cellDraws.Draw(m_cellSeeds);
    for (size_t i = 0; i < m_cells.count; ++i)
        if (m_cells.row[i] < 0) m_cells.row[i] = ChooseRow(i);
}

uint32_t TItemMaker::HashSeed(size_t i) const {
    const uint32_t hash[] = {m_cells.hash[0][i], m_cells.hash[1][i], m_cells.hash[2][i],
                             m_cells.hash[3][i]};
    return m_rules.hashed ? CellSeed(hash) : 0;
}

uint32_t TItemMaker::FirstSeed(size_t i) const {
    return m_input.transforms.customEdit ? m_cells.seed[i] : HashSeed(i) + m_cells.ordinal[i];
}

uint32_t TItemMaker::SeedOf(const TLaneOrigin& o) const {
    if (o.seed) return *o.seed;
    if (m_input.transforms.customEdit || o.isFirst) return m_cellSeeds[o.cell];
    return HashSeed(o.cell) + uint16_t(o.element) + m_rules.laterOrdinal;
}

int32_t TItemMaker::ChooseRow(size_t i) {
    Point3 b = m_cellDraws.RandomB(i);
    if (!m_rules.rows) return m_geometry.ByProbability(b.x);
    Color color = m_cells.mapColor[i].Rgb();
    if (m_input.geometry.mode == kByColorMap && m_input.diversityMap)
        color = m_input.diversityMap->SampleOne(m_cells.choice[i]).Rgb();
    return m_geometry.Assign(*m_rules.rows, b, color, m_cells.choice[i].position,
                             m_counts.clusters);
}

std::pair<int, int> TItemMaker::Elements(size_t i, int32_t row) {
    const TSpecimen& specimen = m_input.specimens[size_t(row)];
    if (!specimen.lod && !m_rules.ownElements) return {0, int(specimen.elements.size())};
    float random = m_cellDraws.Random4(i);
    int one = m_rules.ownElements
                  ? m_reader.ElementOf(m_cells, i, specimen, random, &m_counts.lodSpan)
                  : ChooseLodLevel(*specimen.lod, m_input.camera, m_input.lodView, m_input.render,
                                   m_input.transforms.globalScale, m_cells.levelPlace[i], random,
                                   &m_counts.lodSpan);
    return {one, one + 1};
}

void TItemMaker::AddOrigins(size_t i, int32_t row, bool again, const TItemOverrides* overrides) {
    auto [begin, end] = Elements(i, row);
    for (int e = begin; e < end; ++e) {
        TLaneOrigin o;
        o.cell = uint32_t(i);
        o.row = row;
        o.element = int16_t(e);
        o.isFirst = !again && e == begin;
        o.overrides = overrides;
        AddOrigin(o);
    }
}

const TItemDelta* TItemMaker::DeltaOf(const TLaneOrigin& o) const {
    if (!m_input.deltas) return nullptr;
    int element = m_input.specimens[size_t(o.row)].lod ? 0 : o.element;
    return m_input.deltas->Find(IdOfCell(m_input, m_rules, m_cells, o.cell, SeedOf(o), element));
}

void TItemMaker::AddOrigin(TLaneOrigin o) {
    o.delta = DeltaOf(o);
    if (o.delta && o.delta->geometry >= 0) return AddReplacement(o);
    m_origins.push_back(o);
}

void TItemMaker::AddReplacement(const TLaneOrigin& replaced) {
    auto row = int32_t(SpecimenRow(replaced.delta->geometry, m_input.specimens.size()));
    uint32_t seed = SeedOf(replaced);
    auto [begin, end] = Elements(replaced.cell, row);
    for (int e = begin; e < end; ++e) {
        TLaneOrigin& o = m_origins.emplace_back(replaced);
        o.row = row;
        o.element = int16_t(e);
        o.isFirst = replaced.isFirst && e == begin;
        o.seed = seed + uint32_t(e - begin) * kReplacementSeeds;
    }
}

size_t TItemMaker::MakePortion(size_t first) {
    m_origins.clear();
    size_t end = first;
    while (end < m_cells.count) {
        size_t before = m_origins.size();
        AddOrigins(end, m_cells.row[end], false, nullptr);
        if (before > 0 && m_origins.size() > kCellsInBatch) {
            m_origins.resize(before);
            break;
        }
        ++end;
    }
    SpreadOrigins(m_origins);
    MakeItems(m_origins, *Fitting(m_lanes, m_origins.size()));
    if (m_replaces && CollectAgain()) {
        MakeItems(m_againOrigins, *Fitting(m_againLanes, m_againOrigins.size()));
        if (m_input.deltas) ApplyDeltas(m_input, *m_againLanes, m_counts.deltas);
        CountFates(*m_againLanes);
    } else {
        m_againOrigins.clear();
    }
    if (m_input.deltas) ApplyDeltas(m_input, *m_lanes, m_counts.deltas);
    CountFates(*m_lanes);
    if (m_rules.keepsDropped) TidyDropped();
    AppendPortion();
    return end;
}

void TItemMaker::SpreadOrigins(std::vector<TLaneOrigin>& origins) {
    if (!m_rules.spreads) return;
    m_seeds.clear();
    // Only what moves has need of its draws.
    if (m_input.transforms.applyTranslation)
        for (const TLaneOrigin& o : origins) m_seeds.push_back(SeedOf(o));
    m_laneDraws.Draw(m_seeds);
    m_reader.Spread(m_cells, m_laneDraws, origins);
}

TItemLanes* TItemMaker::Fitting(std::unique_ptr<TItemLanes>& lanes, size_t count) {
    if (!lanes || lanes->capacity < count) lanes = MakeLanes(std::max(count, kCellsInBatch));
    return lanes.get();
}

void TItemMaker::MakeItems(std::span<const TLaneOrigin> origins, TItemLanes& lanes) {
    Load(origins, lanes);
    DrawLanes(origins, lanes);
    m_reader.Place(m_cells, origins, lanes);
    SizeAndMove(m_input, m_rules.area, lanes);
    bool fades = m_rules.areas && m_input.NeedsAreaDistances();
    if (fades) FadeInArea(m_input, m_rules.areas->Settings(), lanes);
    m_reader.Land(m_cells, lanes);
    if (m_rules.obeysSurfaces) ObeySurfaceRules(m_input, lanes);
    if (m_rules.areas && m_input.areaFalloffs.scaleCurve)
        ScaleInArea(m_input, m_rules.areas->Settings(), lanes);
    ObeyCameraView(m_input, lanes);
    FinishItems(m_input, m_rules, lanes);
    if (m_runner) RunPrograms(lanes);
    HideParts(m_input, m_rules, lanes);
}

void TItemMaker::Load(std::span<const TLaneOrigin> origins, TItemLanes& lanes) {
    lanes.count = origins.size();
    for (size_t k = 0; k < origins.size(); ++k) {
        const TLaneOrigin& o = origins[k];
        const TSpecimen& specimen = m_input.specimens[size_t(o.row)];
        lanes.cell[k] = o.cell;
        lanes.seed[k] = SeedOf(o);
        lanes.row[k] = o.row;
        lanes.element[k] = o.element;
        lanes.stateFlags[k] = 0;
        lanes.specimen[k] = &specimen;
        lanes.source[k] = &specimen.elements[size_t(o.element)];
        lanes.fate[k] = o.fate;
        lanes.overrides[k] = o.overrides;
        lanes.delta[k] = o.delta;
        lanes.mapColor[k] = m_cells.mapColor[o.cell];
        lanes.mapCoordinates[k] = m_cells.mapCoordinates[o.cell];
        lanes.externalScale.Set(k, {1, 1, 1});
        lanes.falloffScale.Set(k, {1, 1, 1});
        lanes.cameraScale[k] = 1;
        lanes.borders[k] = {};
        lanes.selected[k] = 0;
    }
    if (lanes.from.Size() > 0)
        for (size_t k = 0; k < origins.size(); ++k)
            lanes.from[k] = m_rules.hasSources ? m_cells.from[origins[k].cell] : ItemSource{};
}

void TItemMaker::DrawLanes(std::span<const TLaneOrigin> origins, TItemLanes& lanes) {
    bool same = origins.size() == m_cells.count;
    for (size_t k = 0; same && k < origins.size(); ++k)
        same = origins[k].isFirst && origins[k].cell == k;
    if (!same) m_laneDraws.Draw({lanes.seed.Data(), lanes.count});
    m_drawn = same ? &m_cellDraws : &m_laneDraws;
    m_drawn->Fill(lanes);
}

void TItemMaker::RunPrograms(TItemLanes& lanes) {
    m_outcomes.resize(lanes.count);
    for (TEffectOutcome& outcome : m_outcomes) outcome.Clear();
    if (m_usesRandom) m_drawn->TakeGenerators(m_randoms);
    m_runner->Run(
        {lanes, m_cells, m_outcomes, m_usesRandom ? m_randoms.Columns() : TNuRandomColumns()});
}

bool TItemMaker::CollectAgain() {
    m_origins.swap(m_firstOrigins);
    m_origins.clear();
    m_asked.clear();
    m_asked.reserve(m_lanes->count);  // origins point into it
    for (size_t k = 0; k < m_lanes->count;) {
        size_t end = k;
        while (end < m_lanes->count && m_lanes->cell[end] == m_lanes->cell[k]) ++end;
        CollectCell(k, end);
        k = end;
    }
    m_againOrigins.swap(m_origins);
    return !m_againOrigins.empty();
}

void TItemMaker::CollectCell(size_t first, size_t end) {
    size_t asks = first;
    while (asks < end && !Asks(asks)) ++asks;
    if (asks == end) return;
    const TItemOverrides& overrides = m_asked.emplace_back(m_outcomes[asks].overrides);
    std::optional<int32_t> row = GeometryAsked(asks);
    size_t replaced = row ? first : asks;
    for (size_t k = replaced; k < end; ++k) m_lanes->Drop(k, TLaneFate::kReplaced);
    if (row) {
        size_t before = m_origins.size();
        AddOrigins(m_lanes->cell[first], *row, true, &overrides);
        if (!m_rules.spreads) return;
        std::vector<TLaneOrigin> cell(m_origins.begin() + long(before), m_origins.end());
        SpreadOrigins(cell);
        m_origins.resize(before);
        m_origins.insert(m_origins.end(), cell.begin(), cell.end());
        return;
    }
    for (size_t k = replaced; k < end; ++k) {
        TLaneOrigin o = m_firstOrigins[k];
        o.isFirst = false;
        o.overrides = &overrides;
        o.seed ? m_origins.push_back(o) : AddOrigin(o);
    }
}

bool TItemMaker::Asks(size_t k) const {
    if (!m_lanes->IsAlive(k)) return false;
    return m_outcomes[k].placementWritten || GeometryAsked(k).has_value();
}

std::optional<int32_t> TItemMaker::GeometryAsked(size_t k) const {
    // Geometry that was chosen by hand stays.
    if (!m_outcomes[k].geometryWritten || m_firstOrigins[k].seed) return std::nullopt;
    auto row = int32_t(SpecimenRow(m_outcomes[k].specimen, m_input.specimens.size()));
    return row != m_lanes->row[k] ? std::optional(row) : std::nullopt;
}

void TItemMaker::CountFates(const TItemLanes& lanes) {
    for (size_t k = 0; k < lanes.count; ++k) CountFate(lanes.fate[k], m_counts.rejected);
}

bool TItemMaker::IsKept(const TItemLanes& lanes, size_t k) const {
    if (lanes.fate[k] == TLaneFate::kReplaced) return false;
    return m_rules.keepsDropped || lanes.IsAlive(k);
}

void TItemMaker::TidyDropped() {
    for (TItemLanes* lanes : {m_lanes.get(), m_againLanes.get()})
        for (size_t k = 0; lanes && k < lanes->count; ++k) {
            lanes->row[k] = m_cells.keptRow[lanes->cell[k]];
            if (lanes->IsAlive(k) || lanes->fate[k] == TLaneFate::kEffect) continue;
            ClearFinished(*lanes, k);
        }
}

void TItemMaker::AppendPortion() {
    size_t again = 0, numAgain = m_againOrigins.size();
    for (size_t k = 0; k < m_lanes->count; ++k) {
        for (; again < numAgain && m_againLanes->cell[again] < m_lanes->cell[k]; ++again)
            Keep(*m_againLanes, again);
        Keep(*m_lanes, k);
    }
    for (; again < numAgain; ++again) Keep(*m_againLanes, again);
    AppendKept();
}

// Lanes that follow each other in the list and are of one try go to it together.
void TItemMaker::Keep(const TItemLanes& lanes, size_t k) {
    if (!IsKept(lanes, k)) return;
    if (m_keptFrom != &lanes) AppendKept();
    m_keptFrom = &lanes;
    m_kept.push_back(uint32_t(k));
}

void TItemMaker::AppendKept() {
    if (m_kept.empty()) return;
    AppendLanes(*m_keptFrom, m_cells, m_kept, m_items, m_appender);
    m_numMade += int64_t(m_kept.size());
    m_kept.clear();
}
