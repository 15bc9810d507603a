// A grid of cells over a region that knows which of them its border does not touch: those lie
// wholly inside or wholly outside, so that most points are answered by one read of memory.
//
// A cell counts as touched when the border comes as near as rounding could carry it: for all points
// of an untouched cell the test of the border itself would give the same answer. Two bits a cell.
// Immutable; threads may share one.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "Dravin/engine/areas/flat_segment.h"
#include "host/math/box.h"

class TRegionCells {
public:
    enum State : uint8_t { kOutside = 0, kInside = 1, kTouched = 2 };

    TRegionCells() = default;
    // border: finite segments that lie in `bounds`. appendCrossings(y, list) appends in rising
    // order the places where a row enters or leaves the region.
    TRegionCells(std::span<const TFlatSegment> border, const Box2& bounds,
                 const std::function<void(float y, std::vector<float>& list)>& appendCrossings);

    // kTouched: only the border itself can tell. Points that are not finite are outside.
    State At(Point2 p) const {
        bool within =
            p.x >= m_box.min.x && p.x <= m_box.max.x && p.y >= m_box.min.y && p.y <= m_box.max.y;
        if (!within) return kOutside;
        if (m_cells.empty()) return kTouched;
        int column = int((p.x - m_box.min.x) * m_columnsPerUnit);
        int row = int((p.y - m_box.min.y) * m_rowsPerUnit);
        size_t cell = size_t(row < m_rows ? row : m_rows - 1) * m_stride +
                      size_t(column < m_columns ? column : m_columns - 1);
        return State((m_cells[cell / 4] >> (cell % 4 * 2)) & 3);
    }

private:
    // One byte a cell, before they are packed.
    using Row = std::span<uint8_t>;
    void Touch(const TFlatSegment& segment, double slack, std::vector<uint8_t>& states) const;
    void Classify(const std::vector<float>& crossings, Row states) const;
    void Pack(std::span<const uint8_t> states);

    Box2 m_box;  // of the region, with room for rounding
    int m_columns = 0, m_rows = 0;
    size_t m_stride = 0;  // cells a row, a multiple of four
    float m_columnsPerUnit = 0, m_rowsPerUnit = 0;
    std::vector<uint8_t> m_cells;
};
