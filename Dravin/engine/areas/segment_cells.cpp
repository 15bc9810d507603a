#include "Dravin/engine/areas/segment_cells.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr size_t kFewestLeaves = 4;
constexpr double kCellsPerLeaf = 64, kMostCells = 1 << 18;
constexpr double kLeafSizesPerCell = 2;  // side of a cell, at most
constexpr float kMargin = 0.05f;         // beyond the box, of its longer side
// The centre of a cell and the cell of a point are off by a few units in the last place of the
// largest coordinate (2^-24 of it); this is some thirty of them.
constexpr float kRounding = 2e-6f;

}  // namespace

std::shared_ptr<TSegmentCells> TSegmentCells::Make(const Box2& box, size_t numLeaves,
                                                   float leafSize) {
    float margin = kMargin * std::max(box.Width(), box.Height());
    Box2 around{box.min - Point2{margin, margin}, box.max + Point2{margin, margin}};
    double surface = double(around.Width()) * double(around.Height());
    double side = std::sqrt(surface / std::min(kCellsPerLeaf * double(numLeaves), kMostCells));
    // Where leaves are much smaller than a cell, it would hold too many of them.
    bool pays = numLeaves >= kFewestLeaves && side <= kLeafSizesPerCell * double(leafSize);
    if (!pays || !(side > 0) || !std::isfinite(float(1 / side))) return nullptr;
    return std::make_shared<TSegmentCells>(around, side);
}

TSegmentCells::TSegmentCells(const Box2& box, double side) : m_box(box) {
    double width = box.Width(), height = box.Height();
    auto count = [&](double length) { return std::clamp(length / side, 1.0, kMostCells); };
    m_columns = uint32_t(count(width));
    m_rows = uint32_t(count(height));
    m_columnsPerUnit = float(m_columns / width);
    m_rowsPerUnit = float(m_rows / height);
    float largest = std::max({std::abs(m_box.min.x), std::abs(m_box.min.y), std::abs(m_box.max.x),
                              std::abs(m_box.max.y)});
    m_radius = float(std::hypot(width / m_columns, height / m_rows) / 2) + kRounding * largest;
    m_cells = std::make_unique<Cell[]>(size_t(m_columns) * m_rows);
}
