// Rays through a height field.
//
// The ray's way over the plane is halved again and again, front to back, down to single cells;
// where its heights there lie wholly above or below those of a block, the block is passed over at
// once. In a cell the ray's height over the plane of each triangle is a linear function, whose sign
// is known at both ends of the piece. A hit is a change of sign, also between two pieces: so a ray
// cannot slip through between neighbours, whatever rounding does. Arithmetic is in double
// precision. (The pyramid is that of maximum mipmaps, Tevs, Ihrke and Seidel 2008; the rest is our
// own.)
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
            if (piece.bits >= HeightField::kBlockBits && PassesOver(piece)) continue;
            if (piece.bits > 0)
                Split(piece);
            else if (TraceCell(piece))
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
        double a = m_ray.At(2, piece.near), b = m_ray.At(2, piece.far);
        Side side = std::min(a, b) > range.high  ? kAbove
                    : std::max(a, b) < range.low ? kBelow
                                                 : kUnknown;
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

    bool TraceCell(const Piece& piece) {
        size_t i = piece.column, j = piece.row;
        double x0 = m_field.X(i), y0 = m_field.Y(j);
        double width = m_field.X(i + 1) - x0, height = m_field.Y(j + 1) - y0;
        // Above 0 on the lower triangle's side of the diagonal.
        double side0 = (m_ray.origin[0] - x0) * height - (m_ray.origin[1] - y0) * width;
        double slope = m_ray.direction[0] * height - m_ray.direction[1] * width;
        double crossing = -side0 / slope;
        if (slope != 0 && crossing > piece.near && crossing < piece.far) {
            bool upperFirst = slope > 0;
            return TraceTriangle({piece.column, piece.row, upperFirst}, piece.near, crossing) ||
                   TraceTriangle({piece.column, piece.row, !upperFirst}, crossing, piece.far);
        }
        double far = std::isfinite(piece.far) ? piece.far : piece.near;
        bool upper = side0 + slope * (piece.near + (far - piece.near) / 2) < 0;
        return TraceTriangle({piece.column, piece.row, upper}, piece.near, piece.far);
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

    // A square leaves at most two parts behind for each of its at most 31 halvings.
    static constexpr size_t kStack = 64;

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
