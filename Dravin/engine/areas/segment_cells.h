// What is known of a tree of segments, cell by cell of a grid: the leaves that can hold the nearest
// segment of any point of the cell.
//
// With distance d at a cell's centre and half a diagonal r, no leaf farther than d + 2r from the
// centre can. A cell finds that out when it is first asked for, so that cells that nobody asks
// cost nothing; threads share what each of them found, without locks, and none waits for another.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

#include "host/math/box.h"

class TSegmentCells {
public:
    // Of a cell. Few enough for a search through them to be worth it.
    static constexpr size_t kMostLeaves = 7;

    // Null where cells would not pay: few leaves, leaves too dense for them, or coordinates too
    // large for single precision. box: of all segments; the grid reaches a little beyond and has
    // 64 cells of 32 bytes for a leaf, 2^18 at most. leafSize: the leaves' mean half-perimeter.
    static std::shared_ptr<TSegmentCells> Make(const Box2& box, size_t numLeaves, float leafSize);
    // box: of the grid; side: of a cell. Make gives both.
    TSegmentCells(const Box2& box, double side);

    // The leaves of the cell around p; none where they are not known: outside the grid, where
    // there are too many, and while they are being found. find(center, radius, leaves) writes the
    // leaves of a disc and returns how many there are, which may be more than there is room for.
    template <class Find>
    std::span<const uint32_t> Leaves(Point2 p, const Find& find) {
        bool within =
            p.x >= m_box.min.x && p.x <= m_box.max.x && p.y >= m_box.min.y && p.y <= m_box.max.y;
        if (!within) return {};
        auto column = std::min(uint32_t((p.x - m_box.min.x) * m_columnsPerUnit), m_columns - 1);
        auto row = std::min(uint32_t((p.y - m_box.min.y) * m_rowsPerUnit), m_rows - 1);
        Cell& cell = m_cells[size_t(row) * m_columns + column];
        uint32_t count = cell.count.load(std::memory_order_acquire);
        if (count == kUnknown) count = Fill(cell, {column, row}, find);
        return {cell.leaves.data(), count <= kMostLeaves ? count : 0};
    }

private:
    static constexpr uint32_t kUnknown = 0, kTooMany = UINT32_MAX, kInWork = UINT32_MAX - 1;

    struct alignas(32) Cell {
        std::atomic<uint32_t> count{kUnknown};
        std::array<uint32_t, kMostLeaves> leaves;
    };
    struct Place {
        uint32_t column, row;
    };

    template <class Find>
    uint32_t Fill(Cell& cell, Place place, const Find& find) {
        uint32_t count = kUnknown;
        if (!cell.count.compare_exchange_strong(count, kInWork, std::memory_order_acquire))
            return count;
        Point2 center{m_box.min.x + (float(place.column) + 0.5f) / m_columnsPerUnit,
                      m_box.min.y + (float(place.row) + 0.5f) / m_rowsPerUnit};
        size_t found = find(center, m_radius, std::span<uint32_t>(cell.leaves));
        count = found <= kMostLeaves ? uint32_t(found) : kTooMany;
        if (count == kUnknown) count = kTooMany;
        cell.count.store(count, std::memory_order_release);
        return count;
    }

    Box2 m_box;
    uint32_t m_columns = 1, m_rows = 1;
    float m_columnsPerUnit = 0, m_rowsPerUnit = 0;
    float m_radius = 0;  // of a disc around a cell, with room for rounding
    std::unique_ptr<Cell[]> m_cells;
};
