// The last step of an item: effect programs, then the list.
//
// Programs may change an item, drop it, or ask for another geometry or placement; then its cell or
// point is built again, once, with what they asked for. Where no program asks for that, items wait
// here and run through the programs a batch at a time; they reach the list in the same order.
#pragma once

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Dravin/engine/build_status.h"
#include "Dravin/engine/effect_runner.h"
#include "Dravin/engine/item_list.h"

class TAreaTest;
struct TGrid;

class TEffectStage {
public:
    // rejected: of the task; items that programs drop are counted there.
    TEffectStage(const TBuildInput& input, const TGeometryChoice& geometry, TDravinItemList& items,
                 TRejections& rejected);

    // What hides the parts of an item that stands across a border: asked once the item is final.
    struct Border {
        const TAreaTest* areas = nullptr;
        const TGrid* grid = nullptr;
        const TSpecimenElement* source = nullptr;
    };

    // --- one cell or point: its items, from the first to the last
    void StartCell();
    // Takes a finished item. False: it was dropped, or asks for another try (below).
    bool Take(const TDravinItem& item, const TSpecimen& specimen, const TSpecimenSize& size,
              const Border& border);
    // Whether the item just taken is to be made again with other settings. Asking clears it.
    bool AsksForPlacement() { return std::exchange(m_again, false); }
    // The row of the geometry list that the cell is to be made with, all items of it. Asking
    // clears it.
    std::optional<int32_t> AsksForGeometry() { return std::exchange(m_geometryAsked, {}); }
    bool WantsGeometry() const { return m_geometryAsked.has_value(); }
    void FinishCell();

    // Settings of the try in progress; null and the build's own before anything was asked for.
    const TItemOverrides* Overrides() const { return m_hasOverrides ? &m_overrides : nullptr; }
    const TTransformRanges& Ranges() const {
        return m_hasOverrides ? m_overriddenRanges : m_ranges;
    }

    // Programs on one item at once; the list is not touched. False: the item is discarded.
    bool RunNow(TDravinItem& item, const TSpecimen& specimen, const TSpecimenSize& size);

    // All waiting items go to the list. To be called when a task is done.
    void Flush();

    bool IsOn() const { return m_runner != nullptr; }
    size_t NumProduced() const { return m_produced; }

private:
    static constexpr size_t kBatch = 256;
    struct Waiting {
        TDravinItem item;
        Border border;
    };

    void RunOne(TDravinItem& item, const TSpecimen& specimen, const TSpecimenSize& size,
                TEffectOutcome* outcome);
    void RunBatch();
    void Judge(const TEffectOutcome& outcome, int32_t currentRow);
    void AppendPlain(const TDravinItem& item, const Border& border);
    void Append(TDravinItem& item, const Border& border);

    const TBuildInput& m_input;
    TTransformRanges m_ranges, m_overriddenRanges;
    TDravinItemList& m_items;
    TDravinItemList::Appender m_appender = nullptr;
    size_t m_produced = 0;
    TRejections& m_rejected;
    TRejections m_rejectedBefore;  // the cell in progress, which counts for its last try only
    std::unique_ptr<IEffectRunner> m_runner;  // null: no programs
    bool m_isBatched = false, m_usesRandom = false;

    // The cell in progress.
    std::vector<Waiting> m_cell;
    bool m_wasAgain = false, m_again = false;
    std::optional<int32_t> m_geometryAsked;
    bool m_hasOverrides = false;
    TItemOverrides m_overrides;

    // The batch.
    std::vector<Waiting> m_waiting;
    std::vector<TEffectItem> m_batch;
    std::vector<TNuRandom> m_generators;
    std::vector<uint32_t> m_seeds;
};
