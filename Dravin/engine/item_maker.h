// Makes the items of one piece of a source: cells, draws, lanes, steps, programs, list.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "Dravin/engine/effect_runner.h"
#include "Dravin/engine/item_cells.h"
#include "Dravin/engine/item_list.h"
#include "Dravin/engine/lane_draws.h"

// Serves one thread. All that it is made of outlives it.
class TItemMaker {
public:
    TItemMaker(const TBuildInput& input, const TGeometryChoice& geometry, const TCellRules& rules,
               ICellReader& reader, TDravinItemList& items);

    // Makes the next cells' items; false behind the last.
    bool Advance();
    const TTaskCounts& Counts() const { return m_counts; }
    int64_t NumMade() const { return m_numMade; }

private:
    std::unique_ptr<TItemLanes> MakeLanes(size_t capacity) const;

    // --- cells

    void DrawCells();

    uint32_t HashSeed(size_t i) const;
    uint32_t FirstSeed(size_t i) const;
    uint32_t SeedOf(const TLaneOrigin& o) const;

    int32_t ChooseRow(size_t i);

    // --- lanes

    // Elements that cell i shows with a row, from the first to behind the last: all of them, or the
    // one level of detail that shows there.
    std::pair<int, int> Elements(size_t i, int32_t row);

    void AddOrigins(size_t i, int32_t row, bool again, const TItemOverrides* overrides);
    // The element, or those of the row that stands in its place.
    void AddOrigin(TLaneOrigin origin);
    void AddReplacement(const TLaneOrigin& replaced);
    // Null: none.
    const TItemDelta* DeltaOf(const TLaneOrigin& origin) const;

    // Makes the items of cells from `first` on, as many as fill the lanes; the cell behind them.
    size_t MakePortion(size_t first);

    void SpreadOrigins(std::vector<TLaneOrigin>& origins);

    TItemLanes* Fitting(std::unique_ptr<TItemLanes>& lanes, size_t count);

    // Lanes of the origins, through all steps and programs.
    void MakeItems(std::span<const TLaneOrigin> origins, TItemLanes& lanes);

    void Load(std::span<const TLaneOrigin> origins, TItemLanes& lanes);

    // Where each lane is its cell's first, in order, the cells' own draws serve.
    void DrawLanes(std::span<const TLaneOrigin> origins, TItemLanes& lanes);

    // --- programs

    void RunPrograms(TItemLanes& lanes);

    // Origins of what the programs want to be built again; those lanes are replaced. A cell is
    // built again once, whatever the programs ask for then, from the lane on that asked first; one
    // that asks for another geometry as a whole.
    bool CollectAgain();

    void CollectCell(size_t first, size_t end);

    bool Asks(size_t k) const;
    std::optional<int32_t> GeometryAsked(size_t k) const;

    // --- to the list

    void CountFates(const TItemLanes& lanes);

    bool IsKept(const TItemLanes& lanes, size_t k) const;

    // What the list holds of hand-edited items that are not shown: their place, and no size.
    void TidyDropped();

    // Lanes of the first try and of the second in the order of their cells.
    void AppendPortion();
    void Keep(const TItemLanes& lanes, size_t k);
    void AppendKept();

    const TBuildInput& m_input;
    const TGeometryChoice& m_geometry;
    const TCellRules& m_rules;
    ICellReader& m_reader;
    TDravinItemList& m_items;
    TDravinItemList::Appender m_appender = nullptr;
    TTaskCounts m_counts;
    int64_t m_numMade = 0;

    TCells m_cells;
    std::vector<uint32_t> m_cellSeeds, m_seeds;
    TLaneDraws m_cellDraws, m_laneDraws;
    std::vector<TLaneOrigin> m_origins, m_firstOrigins, m_againOrigins;
    std::unique_ptr<TItemLanes> m_lanes, m_againLanes;
    // On their way to the list.
    std::vector<uint32_t> m_kept;
    const TItemLanes* m_keptFrom = nullptr;

    std::unique_ptr<IEffectRunner> m_runner;  // null: no programs
    bool m_replaces, m_usesRandom;
    std::vector<TEffectOutcome> m_outcomes;
    std::vector<TItemOverrides> m_asked;
    const TLaneDraws* m_drawn = nullptr;  // where the lanes at work have their values from
    TNuRandomLanes m_randoms;
};
