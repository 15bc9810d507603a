// The walk along the borders of a height field: the rules of BorderLoops (mesh_adjacency.h), whose
// neighbours are told by the grid here, so that a terrain of any size needs memory for its borders
// only.
#include <algorithm>
#include <tuple>

#include "host/geom/height_field.h"

namespace {

// Side s of a triangle runs from its corner s to the next one.
struct Side {
    HeightTriangle triangle;
    uint32_t s = 0;

    friend bool operator==(const Side&, const Side&) = default;
    // The order of face numbers.
    friend bool operator<(const Side& a, const Side& b) {
        const HeightTriangle &p = a.triangle, &q = b.triangle;
        return std::tie(p.row, p.column, p.upper, a.s) < std::tie(q.row, q.column, q.upper, b.s);
    }
};

struct Sample {
    uint32_t column, row;
    friend bool operator==(const Sample&, const Sample&) = default;
};

Sample CornerOf(const HeightTriangle& t, uint32_t corner) {
    // Of the lower triangle a, b, c; of the upper one c, d, a.
    constexpr uint32_t kRight[2][3] = {{0, 1, 1}, {1, 0, 0}}, kUp[2][3] = {{0, 0, 1}, {1, 1, 0}};
    return {t.column + kRight[t.upper][corner % 3], t.row + kUp[t.upper][corner % 3]};
}

class OutlineWalk {
public:
    explicit OutlineWalk(const HeightField& field) : m_field(field) {
        if (field.HasHoles())
            CollectAll();
        else
            CollectFrame();
    }

    PolyShape Outline() const {
        PolyShape shape;
        std::vector<bool> done(m_border.size());
        for (size_t start = 0; start < m_border.size(); ++start) {
            if (done[start]) continue;
            PolyLine line{{}, true};
            Side side = m_border[start];
            Sample vertex = CornerOf(side.triangle, side.s);
            do {
                done[IndexOf(side)] = true;
                line.points.push_back({m_field.X(vertex.column), m_field.Y(vertex.row),
                                       m_field.Height(vertex.column, vertex.row)});
                Sample first = CornerOf(side.triangle, side.s);
                vertex = first == vertex ? CornerOf(side.triangle, side.s + 1) : first;
                side = NextBorderSide(side, vertex);
            } while (!(side == m_border[start]));
            shape.lines.push_back(std::move(line));
        }
        return shape;
    }

private:
    // Without holes only the outermost cells have borders.
    void CollectFrame() {
        auto lastRow = uint32_t(m_field.NumRows() - 2),
             lastColumn = uint32_t(m_field.NumColumns() - 2);
        for (uint32_t j = 0; j <= lastRow; ++j) {
            bool whole = j == 0 || j == lastRow || lastColumn == 0;
            for (uint32_t i = 0; i <= lastColumn; i += whole ? 1 : lastColumn) CollectCell(i, j);
        }
    }

    void CollectAll() {
        for (uint32_t j = 0; j + 1 < m_field.NumRows(); ++j)
            for (uint32_t i = 0; i + 1 < m_field.NumColumns(); ++i) CollectCell(i, j);
    }

    void CollectCell(uint32_t i, uint32_t j) {
        for (bool upper : {false, true}) {
            HeightTriangle t{i, j, upper};
            if (!m_field.Exists(t)) continue;
            for (uint32_t s = 0; s < 3; ++s)
                if (Side mate; !FindMate({t, s}, &mate)) m_border.push_back({t, s});
        }
    }

    // The side that the neighbour has in common with this one; false on the border. Sides 0 lie
    // along x, sides 1 along y, sides 2 on the diagonal: each meets the side of its own number.
    bool FindMate(const Side& side, Side* mate) const {
        HeightTriangle t = side.triangle;
        uint32_t& moved = side.s == 0 ? t.row : t.column;
        if (side.s < 2) {
            bool forward = (side.s == 0) == t.upper;
            size_t last = (side.s == 0 ? m_field.NumRows() : m_field.NumColumns()) - 2;
            if (forward ? moved == last : moved == 0) return false;
            moved += forward ? 1 : uint32_t(-1);
        }
        t.upper = !t.upper;
        *mate = {t, side.s};
        return m_field.Exists(t);
    }

    Side NextBorderSide(Side side, const Sample& vertex) const {
        side = OtherSide(side, vertex);
        for (Side mate; FindMate(side, &mate);) side = OtherSide(mate, vertex);
        return side;
    }
    // The other side at `vertex` of the triangle that holds `side`.
    static Side OtherSide(const Side& side, const Sample& vertex) {
        bool starts = CornerOf(side.triangle, side.s) == vertex;
        return {side.triangle, (side.s + (starts ? 2 : 1)) % 3};
    }

    size_t IndexOf(const Side& side) const {
        return size_t(std::lower_bound(m_border.begin(), m_border.end(), side) - m_border.begin());
    }

    const HeightField& m_field;
    std::vector<Side> m_border;  // in the order of faces
};

}  // namespace

PolyShape HeightField::Outline() const { return OutlineWalk(*this).Outline(); }
