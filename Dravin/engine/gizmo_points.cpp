#include "Dravin/engine/gizmo_points.h"

#include <cmath>

#include "Dravin/engine/surfaces.h"

namespace {

// The first index at or behind `first` at which a tile starts.
int64_t FirstTileStart(int64_t first, int pixels) {
    int32_t pixel = TileOf(first, pixels).pixel;
    return pixel == 0 ? first : first + pixels - pixel;
}

// Only the hard limits of the rules count: falloffs thin items, not corners.
bool DropOnGround(const TBuildInput& input, const TGridGroup& group, Point3& point) {
    if (input.surfaces.empty()) return true;
    std::optional<TItemHit> hit = SurfaceHit(input, point, group.areas.Settings().surfaces);
    if (!hit) return false;
    point = hit->point;
    return !IsBeyond(input.altitude, point.z) && !IsBeyond(input.slope, SlopeOf(hit->faceNormal));
}

}  // namespace

std::vector<Point3> GizmoPoints(const TBuildInput& input, const TGridGroup& group,
                                const TGrid& grid) {
    std::vector<Point3> points;
    int64_t endRow = grid.firstRow + grid.rows, endColumn = grid.firstColumn + grid.columns;
    for (int64_t row = FirstTileStart(grid.firstRow, grid.py); row < endRow; row += grid.py)
        for (int64_t column = FirstTileStart(grid.firstColumn, grid.px); column < endColumn;
             column += grid.px) {
            Point3 cell{float(grid.X(column)), float(grid.Y(row)), grid.z};
            if (!group.areas.Passes({cell.x, cell.y})) continue;
            Point3 point = grid.rotated ? cell * grid.frame : cell;
            if (!DropOnGround(input, group, point)) continue;
            if (input.camera.limitActive && !input.camera.view.Contains(point)) continue;
            points.push_back(point);
        }
    return points;
}
