#include "Dravin/engine/produce_items.h"

#include <algorithm>

#include "Dravin/engine/item_budget.h"
#include "Dravin/engine/item_maker.h"
#include "host/base/in_order.h"
#include "host/base/thread_pool.h"

namespace {

// Pieces whose items may wait for those of a slower one.
constexpr size_t kStreamWindow = 64;

// One piece of one source.
struct TPiece {
    const IItemSource* source;
    size_t number;
};

// Those of the part that the build makes: equal shares, as far as pieces are alike.
std::vector<TPiece> PiecesOf(const TItemSources& sources, const TBuildPart& part) {
    std::vector<TPiece> pieces;
    for (const auto& source : sources)
        for (size_t i = 0; i < source->NumPieces(); ++i) pieces.push_back({source.get(), i});
    auto border = [&](int n) {
        return std::ptrdiff_t(pieces.size() * size_t(n) / size_t(part.of));
    };
    return {pieces.begin() + border(part.number - 1), pieces.begin() + border(part.number)};
}

// What all pieces share.
struct TProduction {
    const TBuildInput& input;
    const TGeometryChoice& geometry;
    std::vector<TPiece> pieces;
    TItemBudget budget;
    TOpenBlocks blocks;
    std::vector<TTaskCounts> counts;

    TProduction(const TBuildInput& in, const TGeometryChoice& choice, const TItemSources& sources,
                const TDravinItemList& items)
        : input(in),
          geometry(choice),
          pieces(PiecesOf(sources, in.part)),
          budget(in, items, AreLimited(sources)),
          counts(pieces.size()) {}

    static bool AreLimited(const TItemSources& sources) {
        return std::all_of(sources.begin(), sources.end(),
                           [](const auto& source) { return source->Rules().limited; });
    }

    bool IsSpent() const { return budget.Result() != TBuildStatus::kSuccess; }

    // Makes the items of piece i; false where the budget was spent before the end.
    bool Make(size_t i, TDravinItemList& items) {
        if (IsSpent()) return false;
        std::unique_ptr<ICellReader> reader = pieces[i].source->Read(pieces[i].number);
        TItemMaker maker(input, geometry, pieces[i].source->Rules(), *reader, items);
        TItemShare share(budget);
        while (maker.Advance())
            if (!share.Tell(maker.NumMade())) return false;
        counts[i] = maker.Counts();
        return true;
    }
};

// The items of all pieces one after the other.
void Collect(TProduction& production, TDravinItemList& items) {
    std::vector<std::unique_ptr<TDravinItemList>> made(production.pieces.size());
    ParallelFor(made.size(), production.input.threads, [&](size_t i) {
        made[i] = std::make_unique<TDravinItemList>(items.MakePart());
        made[i]->Open(production.blocks.Take());
        if (production.Make(i, *made[i])) production.blocks.Give(made[i]->Close());
    });
    if (production.IsSpent()) return;
    for (auto& part : made) items.Splice(std::move(*part)), part.reset();
}

// The items of each piece to the consumer; the next piece takes their memory.
void Stream(TProduction& production, TDravinItemList& items) {
    InOrder order(kStreamWindow);
    ParallelFor(production.pieces.size(), production.input.threads, [&](size_t i) {
        try {
            TDravinItemList part = items.MakePart();
            part.Open(production.blocks.Take());
            if (!production.Make(i, part)) return order.Stop();
            auto act = (*production.input.consumer)(part);
            production.blocks.Give(part.Rewind());
            order.Put(i, std::move(act));
        } catch (...) {
            order.Stop();
            throw;
        }
    });
}

}  // namespace

TBuildStatus ProduceItems(const TBuildInput& input, const TGeometryChoice& geometry,
                          const TItemSources& sources, TDravinItemList& items,
                          TBuildStatistics& statistics) {
    int64_t units = 0;
    for (const auto& source : sources) units += source->NumUnits();
    input.NextStage(units);
    TProduction production(input, geometry, sources, items);
    input.Streams() ? Stream(production, items) : Collect(production, items);
    statistics.outOfMemory = production.budget.IsOutOfMemory();
    if (production.IsSpent()) return production.budget.Result();
    for (const TTaskCounts& counts : production.counts) statistics.Add(counts);
    statistics.itemLimit = production.budget.MostItems();
    statistics.createdCount = AsCount(production.budget.Made());
    return TBuildStatus::kSuccess;
}
