// Rays through a height field.
//
// The ray's way over the plane is halved again and again, front to back, down to the blocks of the
// pyramid; where its heights there lie wholly above or below those of a block, the block is passed
// over at once. In the smallest blocks it goes from cell to cell. There its height over the plane
// of each triangle is a linear function, whose sign is known at both ends of the piece. A hit is a
// change of sign, also between two pieces: so a ray cannot slip through between neighbours,
// whatever rounding does. Arithmetic is in double precision. (The pyramid is that of maximum
// mipmaps, Tevs, Ihrke and Seidel 2008; the rest is our own.)
#pragma once

#include <algorithm>
#include <array>
#include <cmath>

#include "host/geom/height_field.h"

struct HeightRay {
    std::array<double, 3> origin, direction;  // object space; the direction has any length but 0
    double near = 0, far = std::numeric_limits<double>::infinity();

    double At(int axis, double distance) const {
        return origin[size_t(axis)] + direction[size_t(axis)] * distance;
    }
};

struct HeightRayHit {
    double distance = 0;  // in lengths of the direction
    HeightTriangle triangle;
    double weight1 = 0, weight2 = 0;  // of the second and third corner
};

// Calls accept(hit) for the hits within [near, far], nearest first, until it returns true.
template <class Accept>
class HeightTracer {
public:
    HeightTracer(const HeightField& field, const HeightRay& ray, const Accept& accept)
        : m_field(field), m_ray(ray), m_accept(accept) {
        for (size_t i = 0; i < 2; ++i) m_inverse[i] = 1 / ray.direction[i];
    }

    bool Trace() {
        Piece root{0, 0, int(m_field.NumLevels()) - 1 + HeightField::kBlockBits, m_ray.near,
                   m_ray.far};
        if (!ClipToBounds(&root)) return false;
        m_stack[m_count++] = root;
        while (m_count > 0) {
            Piece piece = m_stack[--m_count];
            if (PassesOver(piece)) continue;
            if (piece.bits > HeightField::kBlockBits)
                Split(piece);
            else if (TraceBlock(piece))
                return true;
        }
        return false;
    }

private:
    // The ray between two distances, over a square of 2^bits cells.
    struct Piece {
        uint32_t column, row;
        int bits;
        double near, far;
    };
    enum Side { kUnknown, kAbove, kBelow };

    bool ClipToBounds(Piece* piece) const {
        const Box3& b = m_field.Bounds();
        if (b.IsEmpty()) return false;
        // Wider in height, so that the ray is on one side where it enters.
        double span = std::max({std::fabs(b.min.z), std::fabs(b.max.z), m_field.Size().x});
        double slack = 1e-3 * (double(b.max.z) - b.min.z) + 1e-5 * span;
        size_t right = m_field.NumColumns() - 1, top = m_field.NumRows() - 1;
        return Clip(0, m_field.X(0), m_field.X(right), piece) &&
               Clip(1, m_field.Y(0), m_field.Y(top), piece) &&
               Clip(2, b.min.z - slack, b.max.z + slack, piece);
    }
    bool Clip(size_t axis, double low, double high, Piece* piece) const {
        double o = m_ray.origin[axis], d = m_ray.direction[axis];
        if (!std::isfinite(o + d)) return false;
        if (d == 0) return o >= low && o < high && piece->near <= piece->far;
        double a = (low - o) / d, b = (high - o) / d;
        piece->near = std::max(piece->near, std::min(a, b));
        piece->far = std::min(piece->far, std::max(a, b));
        return piece->near <= piece->far;
    }

    // Whether the ray stays above or below all of a block, and has been there before.
    bool PassesOver(const Piece& piece) {
        auto shift = uint32_t(piece.bits);
        HeightField::Range range = m_field.BlockRange(size_t(piece.bits - HeightField::kBlockBits),
                                                      piece.column >> shift, piece.row >> shift);
        if (range.low > range.high) {
            m_side = kUnknown;
            return true;
        }
        return StaysBeside(piece.near, piece.far, range.low, range.high);
    }
    bool StaysBeside(double near, double far, double low, double high) {
        double a = m_ray.At(2, near), b = m_ray.At(2, far);
        Side side = std::min(a, b) > high ? kAbove : std::max(a, b) < low ? kBelow : kUnknown;
        if (side == kUnknown || (m_side != kUnknown && m_side != side)) return false;
        m_side = side;
        return true;
    }

    // Distance at which the ray crosses the sample line `at` of an axis, infinite where it does not
    // after `near`. Returns whether it is on the line's far side at `near`.
    bool Crosses(size_t axis, double line, double near, double* distance) const {
        double o = m_ray.origin[axis], d = m_ray.direction[axis];
        *distance = std::numeric_limits<double>::infinity();
        if (d == 0) return o >= line;
        double crossing = (line - o) * m_inverse[axis];
        if (!(crossing > near)) return d > 0;
        *distance = crossing;
        return d < 0;
    }

    // Pushes the quarters of a square that the ray passes, the nearest last.
    void Split(const Piece& piece) {
        uint32_t half = uint32_t{1} << (piece.bits - 1);
        uint32_t column = piece.column + half, row = piece.row + half;
        double x = std::numeric_limits<double>::infinity(), y = x;
        bool right = false, up = false;
        if (column < m_field.NumColumns() - 1)
            right = Crosses(0, m_field.X(column), piece.near, &x);
        if (row < m_field.NumRows() - 1) up = Crosses(1, m_field.Y(row), piece.near, &y);
        std::array<Piece, 3> parts;
        size_t count = 0;
        for (double near = piece.near;;) {
            double far = std::min({x, y, piece.far});
            parts[count++] = {piece.column + (right ? half : 0), piece.row + (up ? half : 0),
                              piece.bits - 1, near, far};
            if (far >= piece.far) break;
            bool crossesX = x == far, crossesY = y == far;
            if (crossesX) right = !right, x = std::numeric_limits<double>::infinity();
            if (crossesY) up = !up, y = std::numeric_limits<double>::infinity();
            near = far;
        }
        while (count > 0) m_stack[m_count++] = parts[--count];
    }

    // The ray's place along one axis of a block: its cell, and where it leaves that cell.
    struct Step {
        uint32_t cell;
        double crossing;  // infinite where the cell is the last of the block on the ray's way
    };
    double CrossingOf(size_t axis, uint32_t line) const {
        double at = axis == 0 ? m_field.X(line) : m_field.Y(line);
        return (at - m_ray.origin[axis]) * m_inverse[axis];
    }
    // The cell in [first, last) at a distance: crossings decide, so that neighbours agree.
    Step StepAt(size_t axis, double distance, uint32_t first, uint32_t last) const {
        double low = axis == 0 ? m_field.X(first) : m_field.Y(first);
        double high = axis == 0 ? m_field.X(last) : m_field.Y(last);
        double part = (m_ray.At(int(axis), distance) - low) / (high - low);
        uint32_t cell = first + uint32_t(std::clamp(part, 0.0, 0.999) * (last - first));
        double d = m_ray.direction[axis];
        auto isPast = [&](uint32_t line) {  // on the far side of a sample line
            if (d == 0)
                return m_ray.origin[axis] >= (axis == 0 ? m_field.X(line) : m_field.Y(line));
            return d > 0 ? CrossingOf(axis, line) <= distance : CrossingOf(axis, line) > distance;
        };
        while (cell > first && !isPast(cell)) --cell;
        while (cell + 1 < last && isPast(cell + 1)) ++cell;
        return Leave(axis, cell, first, last);
    }
    Step Leave(size_t axis, uint32_t cell, uint32_t first, uint32_t last) const {
        double d = m_ray.direction[axis];
        uint32_t line = d > 0 ? cell + 1 : cell;
        bool leavesBlock = d == 0 || line == (d > 0 ? last : first);
        return {cell,
                leavesBlock ? std::numeric_limits<double>::infinity() : CrossingOf(axis, line)};
    }

    bool TraceBlock(const Piece& piece) {
        uint32_t size = uint32_t{1} << piece.bits;
        auto right = std::min(piece.column + size, uint32_t(m_field.NumColumns() - 1));
        auto top = std::min(piece.row + size, uint32_t(m_field.NumRows() - 1));
        Step x = StepAt(0, piece.near, piece.column, right);
        Step y = StepAt(1, piece.near, piece.row, top);
        for (double near = piece.near;;) {
            double far = std::min({x.crossing, y.crossing, piece.far});
            if (TraceCell(x.cell, y.cell, near, far)) return true;
            if (far >= piece.far) return false;
            bool crossesX = x.crossing == far, crossesY = y.crossing == far;
            if (crossesX) x = Leave(0, Next(0, x.cell), piece.column, right);
            if (crossesY) y = Leave(1, Next(1, y.cell), piece.row, top);
            near = far;
        }
    }
    uint32_t Next(size_t axis, uint32_t cell) const {
        return m_ray.direction[axis] > 0 ? cell + 1 : cell - 1;
    }

    bool TraceCell(uint32_t i, uint32_t j, double near, double far) {
        double a = m_field.Height(i, j), b = m_field.Height(i + 1, j);
        double c = m_field.Height(i + 1, j + 1), d = m_field.Height(i, j + 1);
        bool isWhole = !std::isnan(a + b + c + d);
        if (isWhole && StaysBeside(near, far, std::min({a, b, c, d}), std::max({a, b, c, d})))
            return false;
        double x0 = m_field.X(i), y0 = m_field.Y(j);
        double width = m_field.X(i + 1) - x0, depth = m_field.Y(j + 1) - y0;
        // Above 0 on the lower triangle's side of the diagonal.
        double side0 = (m_ray.origin[0] - x0) * depth - (m_ray.origin[1] - y0) * width;
        double slope = m_ray.direction[0] * depth - m_ray.direction[1] * width;
        double crossing = -side0 / slope;
        if (slope != 0 && crossing > near && crossing < far) {
            bool upperFirst = slope > 0;
            return TraceTriangle({i, j, upperFirst}, near, crossing) ||
                   TraceTriangle({i, j, !upperFirst}, crossing, far);
        }
        bool upper = side0 + slope * (near + (far - near) / 2) < 0;
        return TraceTriangle({i, j, upper}, near, far);
    }

    bool TraceTriangle(const HeightTriangle& t, double near, double far) {
        size_t i = t.column, j = t.row;
        double x0 = m_field.X(i), y0 = m_field.Y(j);
        double width = m_field.X(i + 1) - x0, depth = m_field.Y(j + 1) - y0;
        double a = m_field.Height(i, j), c = m_field.Height(i + 1, j + 1);
        double middle = t.upper ? m_field.Height(i, j + 1) : m_field.Height(i + 1, j);
        double slopeX = (t.upper ? c - middle : middle - a) / width;
        double slopeY = (t.upper ? middle - a : c - middle) / depth;
        // Height of the ray over the plane at distance 0, and its change along the ray.
        double over0 =
            m_ray.origin[2] - a - slopeX * (m_ray.origin[0] - x0) - slopeY * (m_ray.origin[1] - y0);
        double change =
            m_ray.direction[2] - slopeX * m_ray.direction[0] - slopeY * m_ray.direction[1];
        double atNear = over0 + change * near, atFar = over0 + change * far;
        if (std::isnan(atNear) || std::isnan(atFar)) {  // a hole
            m_side = kUnknown;
            return false;
        }
        Side first = atNear >= 0 ? kAbove : kBelow, last = atFar >= 0 ? kAbove : kBelow;
        bool enters = m_side != kUnknown && m_side != first;
        m_side = last;
        if (enters && Hit(t, near)) return true;
        return first != last && Hit(t, near + (far - near) * (atNear / (atNear - atFar)));
    }

    bool Hit(const HeightTriangle& t, double distance) {
        size_t i = t.column + t.upper, j = t.row + t.upper;  // of the first corner
        double width = m_field.X(t.column + 1) - double(m_field.X(t.column));
        double depth = m_field.Y(t.row + 1) - double(m_field.Y(t.row));
        double across = std::fabs(m_ray.At(0, distance) - m_field.X(i)) / width;
        double along = std::fabs(m_ray.At(1, distance) - m_field.Y(j)) / depth;
        return m_accept(HeightRayHit{distance, t, std::max(0.0, across - along), along});
    }

    // A square leaves at most two parts behind for each of its at most 16 halvings.
    static constexpr size_t kStack = 40;

    const HeightField& m_field;
    const HeightRay& m_ray;
    const Accept& m_accept;
    std::array<double, 2> m_inverse;
    Side m_side = kUnknown;
    std::array<Piece, kStack> m_stack;
    size_t m_count = 0;
};

template <class Accept>
bool TraceHeights(const HeightField& field, const HeightRay& ray, const Accept& accept) {
    return HeightTracer<Accept>(field, ray, accept).Trace();
}
