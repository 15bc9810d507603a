#include "Dravin/engine/item_completer.h"

#include <optional>

#include "Dravin/engine/effect_runner.h"
#include "Dravin/engine/item_deltas.h"
#include "Dravin/engine/source_grid.h"

namespace {

const TSpecimenElement& ElementOf(const TBuildInput& input, const TDravinItem& item) {
    const TSpecimen& specimen =
        input.specimens[SpecimenRow(item.specimenIndex, input.specimens.size())];
    return specimen.Element(item.elementIndex);
}

// --- groups that follow from others

// The one grid of a build whose items remember their cell by its number.
struct TKnownGrid {
    TGrid grid;
    bool isImage;
};

std::optional<TKnownGrid> KnownGrid(const TItemSources& sources) {
    auto* source =
        sources.size() == 1 ? dynamic_cast<const TGridSource*>(sources[0].get()) : nullptr;
    if (!source) return std::nullopt;
    const TGrid& grid = source->Grid();
    bool numbered = grid.columns > 0 && grid.rows <= (int64_t{1} << 31) / grid.columns;
    return numbered ? std::optional(TKnownGrid{grid, source->IsImage()}) : std::nullopt;
}

// As the reader of the grid gives it.
void DeriveCell(const TBuildInput& input, const TKnownGrid& known, uint32_t groups,
                TDravinItem& item) {
    const TGrid& grid = known.grid;
    int64_t row = grid.firstRow + item.sourceIndex / grid.columns;
    int64_t column = grid.firstColumn + item.sourceIndex % grid.columns;
    TTileIndex c = TileOf(column, grid.px), r = TileOf(row, grid.py);
    if (groups & kGroupCell) {
        item.hash[0] = uint32_t(c.pixel);
        item.hash[1] = uint32_t(c.tile);
        item.hash[2] = uint32_t(r.pixel);
        item.hash[3] = uint32_t(r.tile);
        item.mapCoordinates = grid.MapCoordinates(column, row);
    }
    if (groups & kGroupBirth)
        item.storedPosition =
            grid.ToObject(grid.Place(column, row) + ElementOf(input, item).offset);
    if (groups & kGroupMapColor) {
        const Color& color = input.density.At(c.pixel, r.pixel).color;
        item.mapColor = {color.r, color.g, color.b, 1};
    }
}

constexpr uint32_t kCellGroups = kGroupCell | kGroupBirth | kGroupMapColor;

// Programs that build items again may change what else would follow from the cell and the surface.
uint32_t DerivedGroups(const TBuildInput& input, const std::optional<TKnownGrid>& grid) {
    uint32_t groups = input.specimens.empty() ? 0u : uint32_t{kGroupCenter};
    bool replaces = input.effects && input.effects->MayReplace();
    if (replaces || !grid) return groups;
    if (!input.surfaces.empty()) groups |= kGroupNormal;
    groups |= kGroupCell | kGroupBirth;
    if (grid->isImage) groups |= kGroupMapColor;
    return groups;
}

// --- what no list stores

// Coordinates of the maps where an item lies on a surface.
void CompleteUvws(const TBuildInput& input, TDravinItem& item) {
    static_cast<ItemUvws&>(item) = {};
    if (item.surfaceFace < 0 || size_t(item.surfaceIndex) >= input.surfaces.size()) return;
    TSurfHit hit;
    hit.face = item.surfaceFace;
    hit.bary1 = item.weights.x;
    hit.bary2 = item.weights.y;
    const TSurfXYArray& array = *input.surfaces[size_t(item.surfaceIndex)].array;
    for (int map = 0; map < kNumItemMaps; ++map)
        if (int channel = input.channels.channel[map]; channel >= 0)
            item.mapUvws[map] = array.Uvw(channel, hit);
}

// keepsDraws: angles and scales are stored that need not be the drawn ones.
void Complete(const TBuildInput& input, const TTransformRanges& ranges, bool keepsDraws,
              TDravinItem& item) {
    TNuRandom generator;
    RedrawItemRandoms(input.transforms, ranges, generator, item);
    if (keepsDraws) {
        item.rotation = item.keptRotation;
        item.randomScale = item.keptRandomScale;
    }
    CompleteUvws(input, item);
    bool lies = item.surfaceFace >= 0 && input.KnowsSlopes();
    item.surfaceSlope = lies ? SlopeOf(item.surfaceNormal) : 0;
    if (input.specimens.empty()) return;
    CompletePlacement(input.transforms, ElementOf(input, item), item);
    item.id = IdOfItem(input, item);
}

}  // namespace

ItemCompleter CompleterOf(const TBuildInput& input, const TItemSources& sources) {
    std::optional<TKnownGrid> grid = KnownGrid(sources);
    ItemCompleter completer;
    completer.derived = DerivedGroups(input, grid);
    completer.derive = [&input, grid](TDravinItem& item, uint32_t groups) {
        if (groups & kGroupCenter) item.centerPercent = ElementOf(input, item).centerPercent;
        if (groups & kGroupNormal)
            item.normal = WorkingNormal(item.surfaceNormal, input.directionPercent);
        if (groups & kCellGroups) DeriveCell(input, *grid, groups, item);
    };
    bool keepsDraws = input.ItemGroupsNeeded() & kGroupKept;
    completer.complete = [&input, keepsDraws, ranges = TransformRanges(input.transforms)](
                             TDravinItem& item) { Complete(input, ranges, keepsDraws, item); };
    return completer;
}
