// The cells in which spheres of one class of radii lie: a uniform grid over the plane in which the
// spheres are spread most, so that those on a wall do not share the few cells below it.
//
// A cell is at least as wide as the class's largest sphere, hence a sphere that is no larger looks
// into three by three cells at most. Cells are numbered row by row; where there would be more of
// them than spheres, which takes few spheres far apart, they share numbers by hashing.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "host/math/box.h"

struct TCollisionPlane {
    int u = 0, v = 1;  // axes
    Box2 box;

    TCollisionPlane() = default;
    // around: of all spheres' centres, not empty.
    explicit TCollisionPlane(const Box3& around);
    Point2 Of(const Point3& p) const { return {p[u], p[v]}; }
};

class TCollisionCells {
public:
    TCollisionCells() = default;
    // largestRadius: of the class, finite, at least 0. count: spheres of the class.
    TCollisionCells(const TCollisionPlane& plane, float largestRadius, size_t count);

    size_t Count() const { return m_count; }
    float LargestRadius() const { return m_largestRadius; }

    // Number of the cell of a centre in the plane's box.
    uint32_t At(const Point3& center) const {
        Point2 p = m_plane.Of(center);
        return Number(Column(p.x), Row(p.y));
    }

    // Calls visit(first, last), both included, for runs of cells that hold every sphere of the
    // class near enough to overlap this one, and others; ends early when it returns true, and
    // returns so.
    template <class Visit>
    bool AnyNear(const Point3& center, float radius, const Visit& visit) const {
        double reach = std::max((double(radius) + double(m_largestRadius)) * kSlack, 0.0);
        Point2 p = m_plane.Of(center);
        int64_t c0 = Column(p.x - reach), c1 = Column(p.x + reach);
        int64_t r0 = Row(p.y - reach), r1 = Row(p.y + reach);
        for (int64_t r = r0; r <= r1; ++r) {
            if (m_dense) {
                if (visit(Number(c0, r), Number(c1, r))) return true;
                continue;
            }
            for (int64_t c = c0; c <= c1; ++c)
                if (uint32_t cell = Number(c, r); visit(cell, cell)) return true;
        }
        return false;
    }

private:
    static constexpr double kSlack = 1 + 1e-5;  // covers the rounding of the test of two spheres

    int64_t Column(double x) const { return Place(x - m_minX, m_lastColumn); }
    int64_t Row(double y) const { return Place(y - m_minY, m_lastRow); }
    // Rising with the offset, whatever the rounding.
    int64_t Place(double offset, double last) const {
        return int64_t(std::min(std::max(offset * m_cellsPerUnit, 0.0), last));
    }
    uint32_t Number(int64_t column, int64_t row) const {
        if (m_dense) return uint32_t(row * m_columns + column);
        uint64_t mixed =
            (uint64_t(row) * 0x9E3779B97F4A7C15u) ^ (uint64_t(column) * 0xC2B2AE3D27D4EB4Fu);
        uint64_t hash = (mixed ^ (mixed >> 29)) * 0xBF58476D1CE4E5B9u >> 32;
        return uint32_t(hash & (m_count - 1));
    }

    TCollisionPlane m_plane;
    float m_largestRadius = 0;
    double m_minX = 0, m_minY = 0, m_cellsPerUnit = 1;
    double m_lastColumn = 0, m_lastRow = 0;
    int64_t m_columns = 1;
    size_t m_count = 0;   // of numbers; a power of two where cells share them
    bool m_dense = true;  // every cell has a number of its own
};
