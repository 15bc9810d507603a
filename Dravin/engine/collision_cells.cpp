#include "Dravin/engine/collision_cells.h"

#include <bit>
#include <cmath>

namespace {

constexpr double kMostCellsASide = 1e9;
constexpr double kSpheresPerCell = 3;  // before any is taken out

}  // namespace

TCollisionPlane::TCollisionPlane(const Box3& around) {
    Point3 width = around.Width();
    int flattest = 2;
    for (int axis = 0; axis < 2; ++axis)
        if (width[axis] < width[flattest]) flattest = axis;
    if (flattest < 2) u = flattest == 0 ? 1 : 0, v = 2;
    box += Of(around.min);
    box += Of(around.max);
}

TCollisionCells::TCollisionCells(const TCollisionPlane& plane, float largestRadius, size_t count)
    : m_plane(plane), m_largestRadius(largestRadius) {
    const Box2& box = plane.box;
    double width = double(box.max.x) - box.min.x, height = double(box.max.y) - box.min.y;
    // As wide as the largest sphere, or so much wider that a cell holds a few spheres: then the
    // cells are few and near each other.
    double room = double(std::max<size_t>(count, 1)) / kSpheresPerCell;
    double diameter = 2.0 * double(largestRadius);
    double cell = std::clamp(std::sqrt(width * height / room), diameter, 8 * diameter);
    cell = std::max(cell, std::max(width, height) / kMostCellsASide);
    if (!(cell > 0)) cell = 1;
    m_cellsPerUnit = 1 / cell;
    m_minX = box.min.x;
    m_minY = box.min.y;
    m_columns = int64_t(width / cell) + 1;
    int64_t rows = int64_t(height / cell) + 1;
    m_lastColumn = double(m_columns - 1);
    m_lastRow = double(rows - 1);
    m_count = std::bit_ceil(count / 2 + 16);
    m_dense = double(m_columns) * double(rows) <= double(m_count);
    if (m_dense) m_count = size_t(m_columns * rows);
}
