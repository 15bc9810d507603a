#include "Dravin/engine/build_items.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "Dravin/engine/distribute_grid.h"
#include "Dravin/engine/distribute_points.h"

namespace {

void DebugLog(const TBuildInput& input, const std::string& text) {
    if (input.debugLog) input.debugLog(text);
}

// The groups that the grid runs over. Until areas narrow them, the surfaces are the ground: one
// group over their common bounds.
std::vector<TGridGroup> CollectGroups(const TBuildInput& input, const TGeometryChoice& geometry) {
    std::vector<TGridGroup> groups;
    if (input.surfaces.empty() || input.surfaceBounds.IsEmpty()) return groups;
    TGridGroup ground;
    ground.bounds = Inverse(DistributionFrame(input.grid)).BoxTransform(input.surfaceBounds);
    ground.rows = geometry.Unrestricted();
    groups.push_back(std::move(ground));
    return groups;
}

double Measure(const std::vector<TGridGroup>& groups) {
    double measure = 0;
    for (const TGridGroup& g : groups)
        measure += (double(g.bounds.max.x) - g.bounds.min.x) *
                   (double(g.bounds.max.y) - g.bounds.min.y);
    return measure;
}

int32_t Decimation(const TBuildInput& input, const std::vector<TGridGroup>& groups) {
    if (input.render) return int32_t{1} << std::clamp(input.renderSkip, 0, 30);
    float coverage = input.grid.hasTexture ? kTextureCoverage : input.density.Coverage();
    return GridDecimation(input.grid, Measure(groups), coverage, false, input.displayLimit);
}

TBuildResult DistributeImageXY(const TBuildInput& input, const TGeometryChoice& geometry,
                               TDravinItemList& items, TBuildStatistics& statistics) {
    std::vector<TGridGroup> groups = CollectGroups(input, geometry);
    if (groups.empty()) return TBuildResult::kNoAreas;
    statistics.decimation = Decimation(input, groups);
    DebugLog(input, fmt::format("BuildItemArray->DistributeImageXY ({} areas)", groups.size()));
    for (const TGridGroup& group : groups) {
        TBuildResult result = DistributeGroup(input, geometry, group, statistics.decimation, items,
                                              &statistics.cellsInArea);
        if (result != TBuildResult::kOk) return result;
    }
    return TBuildResult::kOk;
}

TBuildResult Distribute(const TBuildInput& input, const TGeometryChoice& geometry,
                        TDravinItemList& items, TBuildStatistics& statistics) {
    if (input.specimens.empty()) return TBuildResult::kOk;
    if (input.distributionMode == kDistImage && input.surfaceMode == kSurfaceXY)
        return DistributeImageXY(input, geometry, items, statistics);
    if (input.distributionMode != kDistImage)
        return DistributePoints(input, geometry, items, statistics);
    // The distribution over texture coordinates takes its place here.
    return TBuildResult::kOk;
}

// Draws an item's random values again from the settings of its build.
ItemCompleter RandomsOf(const TBuildInput& input) {
    return [settings = &input.transforms, specimens = &input.specimens,
            ranges = TransformRanges(input.transforms)](TDravinItem& item) {
        TNuRandom generator;
        RedrawItemRandoms(*settings, ranges, generator, item);
        size_t row = size_t(item.specimenIndex);
        if (row < specimens->size())
            CompletePlacement(*settings, (*specimens)[row].Element(item.elementIndex), item);
    };
}

}  // namespace

uint32_t TBuildInput::ItemGroupsNeeded() const {
    uint32_t groups = 0;
    bool grid = distributionMode == kDistImage && !customEdit;
    if (grid) groups |= kGroupCell;
    if (!grid) groups |= kGroupSource;
    if (!surfaces.empty()) groups |= kGroupSurface;
    if (channels.Any()) groups |= kGroupUvws;
    bool scaled = transforms.globalSize || altitude.scaleCurve || slope.scaleCurve || !grid;
    if (scaled) groups |= kGroupFactors;
    const TTransformSettings& t = transforms;
    if (t.animation >= kAnimRandom || t.useLookAt || t.horizontalShadow || t.verticalShadow)
        groups |= kGroupLooks;
    return groups;
}

std::vector<TRowSlice> SplitRows(int64_t rows, int threads) {
    std::vector<TRowSlice> slices;
    int64_t perTask = threads < 2 ? rows : rows / threads + 1;
    for (int64_t first = 0; first < rows; first += perTask)
        slices.push_back({first, std::min(perTask, rows - first)});
    return slices;
}

TBuildResult BuildItemArray(const TBuildInput& input, TDravinItemList& items,
                            TBuildStatistics& statistics) {
    statistics.cellsInArea = statistics.itemCount = 0;
    statistics.decimation = 1;
    items.Prepare(input.ItemGroupsNeeded(), RandomsOf(input));
    TGeometryChoice geometry(input.geometry, input.specimens);

    TBuildResult result = Distribute(input, geometry, items, statistics);
    if (result != TBuildResult::kOk) {
        items.Clear();
        return result;
    }
    // Collisions take their place here, over the whole list.
    statistics.itemCount = statistics.createdCount =
        int32_t(std::min<size_t>(items.Count(), std::numeric_limits<int32_t>::max()));
    return TBuildResult::kOk;
}
