#include "Dravin/engine/distribute_grid.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "Dravin/engine/gizmo_points.h"

namespace {

// Cells that a camera's view cut off before anything looked at them. grid: what the view left; it
// has no cells where nothing is left.
int64_t CellsOutsideView(const TGridSettings& settings, const TGridGroup& group, const TGrid& grid,
                         int32_t decimation) {
    if (group.uncut.IsEmpty()) return 0;
    TGridSettings unlimited = settings;
    unlimited.maxCells = 0;
    TGrid whole;
    TGridResult laid = MakeGrid(unlimited, group.areas.Settings().grid, group.uncut, &whole);
    if (laid != TGridResult::kOk) return 0;
    return UsedCells(whole, decimation) - UsedCells(grid, decimation);
}

}  // namespace

void NoteEmptyGrid(TGridResult laid, TBuildStatistics& statistics) {
    statistics.cellsTooSmall |= laid == TGridResult::kCellsTooSmall;
    statistics.cellsTooFar |= laid == TGridResult::kCellsTooFar;
}

TBuildStatus LayGroup(const TBuildInput& input, const TGridGroup& group, TItemSources& sources,
                      TBuildStatistics& statistics) {
    TGrid grid;
    TGridSettings settings = GroupGrid(input, group.areas.Settings());
    TGridResult laid = MakeGrid(settings, group.areas.Settings().grid, group.bounds, &grid);
    if (laid == TGridResult::kTooDense) return TBuildStatus::kDensityTooHigh;
    statistics.rejected.camera += CellsOutsideView(settings, group, grid, statistics.decimation);
    NoteEmptyGrid(laid, statistics);
    if (laid != TGridResult::kOk) return TBuildStatus::kSuccess;
    statistics.cellsInArea =
        int32_t(std::min<int64_t>(grid.cells, std::numeric_limits<int32_t>::max()));
    if (input.drawGizmo && !input.render) {
        std::vector<Point3> corners = GizmoPoints(input, group, grid);
        statistics.gizmoPoints.insert(statistics.gizmoPoints.end(), corners.begin(), corners.end());
    }

    if (input.debugLog)
        input.debugLog(fmt::format("BuildItemArray->DistributeArea({})->Starting {} threads",
                                   group.index, std::max(1, input.threads)));
    sources.push_back(std::make_unique<TGridSource>(input, group, grid, statistics.decimation));
    return TBuildStatus::kSuccess;
}
