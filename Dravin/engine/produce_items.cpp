#include "Dravin/engine/produce_items.h"

#include <algorithm>

#include "Dravin/engine/item_budget.h"
#include "Dravin/engine/item_maker.h"
#include "host/base/thread_pool.h"

namespace {

// One piece of one source.
struct TPiece {
    const IItemSource* source;
    size_t number;
};

std::vector<TPiece> PiecesOf(const TItemSources& sources) {
    std::vector<TPiece> pieces;
    for (const auto& source : sources)
        for (size_t i = 0; i < source->NumPieces(); ++i) pieces.push_back({source.get(), i});
    return pieces;
}

// What became of it.
struct TMade {
    TDravinItemList items;
    TTaskCounts counts;

    explicit TMade(TDravinItemList part) : items(std::move(part)) {}
};

// Ends early where the budget is spent.
void MakePiece(const TBuildInput& input, const TGeometryChoice& geometry, const TPiece& piece,
               TItemBudget& budget, TOpenBlocks& blocks, TMade& made) {
    made.items.Open(blocks.Take());
    std::unique_ptr<ICellReader> reader = piece.source->Read(piece.number);
    TItemMaker maker(input, geometry, piece.source->Rules(), *reader, made.items);
    TItemShare share(budget);
    while (maker.Advance())
        if (!share.Tell(maker.NumMade())) return;
    made.counts = maker.Counts();
    blocks.Give(made.items.Close());
}

}  // namespace

TBuildResult ProduceItems(const TBuildInput& input, const TGeometryChoice& geometry,
                          const TItemSources& sources, int threads, TDravinItemList& items,
                          TBuildStatistics& statistics) {
    std::vector<TPiece> pieces = PiecesOf(sources);
    int64_t units = 0;
    for (const auto& source : sources) units += source->NumUnits();
    input.NextStage(units);

    std::vector<std::unique_ptr<TMade>> made(pieces.size());
    bool limited = std::all_of(sources.begin(), sources.end(),
                               [](const auto& source) { return source->Rules().limited; });
    TItemBudget budget(input, items, limited);
    TOpenBlocks blocks;
    ParallelFor(pieces.size(), threads, [&](size_t i) {
        if (budget.Result() != TBuildResult::kOk) return;
        made[i] = std::make_unique<TMade>(items.MakePart());
        MakePiece(input, geometry, pieces[i], budget, blocks, *made[i]);
    });
    if (budget.Result() != TBuildResult::kOk) return budget.Result();
    for (std::unique_ptr<TMade>& piece : made) {
        statistics.Add(piece->counts);
        items.Splice(std::move(piece->items));
        piece.reset();
    }
    return TBuildResult::kOk;
}
