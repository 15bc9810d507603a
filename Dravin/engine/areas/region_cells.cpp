#include "Dravin/engine/areas/region_cells.h"

#include <algorithm>
#include <cmath>

#include "Dravin/engine/areas/row_bands.h"

namespace {

constexpr size_t kFewSegments = 8;  // asked one by one as fast as through a grid
constexpr double kCellsPerSegment = 32;
constexpr double kMostCells = 1 << 22;
constexpr int kMostCellsASide = 1 << 12;
// The crossing of a row and a segment, and the cell of a point, are off by a few units in the last
// place of the largest coordinate (2^-24 of it); this is some sixty of them.
constexpr double kRounding = 4e-6;

double LargestCoordinate(const Box2& b) {
    return std::max({std::abs(double(b.min.x)), std::abs(double(b.min.y)),
                     std::abs(double(b.max.x)), std::abs(double(b.max.y))});
}

}  // namespace

TRegionCells::TRegionCells(
    std::span<const TFlatSegment> border, const Box2& bounds,
    const std::function<void(float y, std::vector<float>& list)>& appendCrossings) {
    if (border.empty()) return;
    double largest = LargestCoordinate(bounds), slack = kRounding * largest;
    Point2 room{float(2 * slack), float(2 * slack)};
    m_box = {bounds.min - room, bounds.max + room};
    double width = double(m_box.max.x) - double(m_box.min.x);
    double height = double(m_box.max.y) - double(m_box.min.y);
    bool usable = width > 0 && height > 0;
    if (border.size() <= kFewSegments || !usable) return;

    double widths = 0, heights = 0;
    for (const TFlatSegment& s : border) {
        widths += std::abs(double(s.b.x) - double(s.a.x)) / width;
        heights += std::abs(double(s.b.y) - double(s.a.y)) / height;
    }
    double cells = std::min(kCellsPerSegment * double(border.size()), kMostCells);
    double side = std::sqrt(width * height / cells);
    auto count = [&](double length, double shares) {
        int most = int(std::clamp(length / side, 1.0, double(kMostCellsASide)));
        return SliceCount(border.size(), shares, most);
    };
    m_columns = count(width, widths);
    m_rows = count(height, heights);
    m_stride = size_t(m_columns + 3) / 4 * 4;
    m_columnsPerUnit = float(m_columns / width);
    m_rowsPerUnit = float(m_rows / height);
    if (!std::isfinite(m_columnsPerUnit) || !std::isfinite(m_rowsPerUnit)) return;

    std::vector<uint8_t> states(m_stride * size_t(m_rows), kOutside);
    for (const TFlatSegment& s : border) Touch(s, slack, states);
    std::vector<float> crossings;
    for (int row = 0; row < m_rows; ++row) {
        crossings.clear();
        appendCrossings(float(m_box.min.y + (row + 0.5) / m_rowsPerUnit), crossings);
        Classify(crossings, Row(states).subspan(size_t(row) * m_stride, m_stride));
    }
    Pack(states);
}

// Marks the cells that the segment runs through, row by row, with the slack on all sides.
void TRegionCells::Touch(const TFlatSegment& s, double slack, std::vector<uint8_t>& states) const {
    Point2 low = s.a.y <= s.b.y ? s.a : s.b, high = s.a.y <= s.b.y ? s.b : s.a;
    auto place = [](double x, double origin, float perUnit, int count) {
        return int(std::clamp((x - origin) * perUnit, 0.0, double(count - 1)));
    };
    double run = double(high.x) - low.x, rise = double(high.y) - low.y;
    auto xAt = [&](double y) {
        double share = rise > 0 ? std::clamp((y - low.y) / rise, 0.0, 1.0) : 0;
        return low.x + run * share;
    };
    int firstRow = place(low.y - slack, m_box.min.y, m_rowsPerUnit, m_rows);
    int lastRow = place(high.y + slack, m_box.min.y, m_rowsPerUnit, m_rows);
    for (int row = firstRow; row <= lastRow; ++row) {
        double bottom = m_box.min.y + row / double(m_rowsPerUnit) - slack;
        double top = m_box.min.y + (row + 1) / double(m_rowsPerUnit) + slack;
        double x0 = rise > 0 ? xAt(bottom) : low.x, x1 = rise > 0 ? xAt(top) : high.x;
        int first = place(std::min(x0, x1) - slack, m_box.min.x, m_columnsPerUnit, m_columns);
        int last = place(std::max(x0, x1) + slack, m_box.min.x, m_columnsPerUnit, m_columns);
        auto begin = states.begin() + std::ptrdiff_t(size_t(row) * m_stride);
        std::fill(begin + first, begin + last + 1, uint8_t(kTouched));
    }
}

// The others are what their centre is: inside with an odd number of crossings to their right.
void TRegionCells::Classify(const std::vector<float>& crossings, Row states) const {
    size_t passed = 0;
    for (int column = 0; column < m_columns; ++column) {
        float x = float(m_box.min.x + (column + 0.5) / m_columnsPerUnit);
        while (passed < crossings.size() && crossings[passed] <= x) ++passed;
        uint8_t& state = states[size_t(column)];
        if (state != kTouched) state = (crossings.size() - passed) % 2 ? kInside : kOutside;
    }
}

void TRegionCells::Pack(std::span<const uint8_t> states) {
    m_cells.assign(states.size() / 4, 0);
    for (size_t i = 0; i < states.size(); ++i) m_cells[i / 4] |= uint8_t(states[i] << (i % 4 * 2));
}
