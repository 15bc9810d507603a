#include "Dravin/engine/areas/poly_area.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

// Room for the rounding of distances, of the largest coordinate.
constexpr float kRounding = 1e-6f;

// Ends of the union of intervals that are sorted by their beginnings.
void AppendUnion(std::span<const std::pair<float, float>> intervals, std::vector<float>& ends) {
    size_t first = ends.size();
    for (auto [enters, leaves] : intervals) {
        if (ends.size() > first && enters <= ends.back()) {
            ends.back() = std::max(ends.back(), leaves);
            continue;
        }
        ends.push_back(enters);
        ends.push_back(leaves);
    }
}

}  // namespace

TPolyArea TPolyArea::Polygon(std::span<const Point2> corners) {
    TPolyArea area;
    double twice = 0;
    for (size_t i = 0; i < corners.size() && corners.size() >= 2; ++i) {
        Point2 a = corners[i], b = corners[(i + 1) % corners.size()];
        area.m_edges.push_back({a, b});
        twice += double(a.x) * b.y - double(b.x) * a.y;
    }
    area.m_measure = std::abs(twice) / 2;
    area.Index();
    return area;
}

TPolyArea TPolyArea::Band(std::span<const Point2> points, bool closed, float halfWidth) {
    TPolyArea area;
    area.m_halfWidth = halfWidth;
    size_t segments = points.size() < 2 ? 0 : points.size() - (closed ? 0 : 1);
    for (size_t i = 0; i < segments; ++i) {
        Point2 a = points[i], b = points[(i + 1) % points.size()], d = b - a;
        float length = std::sqrt(d.x * d.x + d.y * d.y);
        if (!(length > 0)) continue;
        Point2 along = d * (1 / length), side = Point2{-along.y, along.x} * halfWidth;
        std::array<Point2, 4> corners{a - side, b - side, b + side, a + side};
        if (!std::all_of(corners.begin(), corners.end(), IsFlatPlace)) continue;
        for (size_t k = 0; k < 4; ++k) area.m_edges.push_back({corners[k], corners[(k + 1) % 4]});
        area.m_pieces.push_back({a, along, length, false, false});
        area.m_measure += 2.0 * double(halfWidth) * double(length);
    }
    if (!closed && !area.m_pieces.empty())
        area.m_pieces.front().startsLine = area.m_pieces.back().endsLine = true;
    area.Index();
    return area;
}

// Bounds and indices over the finished edges.
void TPolyArea::Index() {
    size_t edgesPerRange = m_pieces.empty() ? 1 : 4;
    std::vector<TRowBands::Range> ranges;
    for (size_t first = 0; first < m_edges.size(); first += edgesPerRange) {
        Box2 box;
        for (size_t e = first; e < first + edgesPerRange; ++e)
            box += m_edges[e].a, box += m_edges[e].b;
        ranges.push_back({box.min.y, box.max.y});
        m_bounds += box.min;
        m_bounds += box.max;
    }
    m_rows = TRowBands(ranges);
    m_tree = TSegmentTree(m_edges);
    m_cells = TRegionCells(m_edges, m_bounds, [this](float y, std::vector<float>& crossings) {
        AppendRowCrossings(y, crossings);
    });
}

bool TPolyArea::InPiece(size_t piece, Point2 p) const {
    bool inside = false;
    for (size_t e = piece * 4; e < piece * 4 + 4; ++e) {
        const TFlatSegment& edge = m_edges[e];
        if (edge.Spans(p.y) && edge.CrossingOf(p.y) > p.x) inside = !inside;
    }
    return inside;
}

bool TPolyArea::InsideByEdges(Point2 p) const {
    std::span<const uint32_t> near = m_rows.Near(p.y);
    if (!m_pieces.empty())
        return std::any_of(near.begin(), near.end(), [&](uint32_t i) { return InPiece(i, p); });
    bool inside = false;
    for (uint32_t i : near)
        if (m_edges[i].Spans(p.y) && m_edges[i].CrossingOf(p.y) > p.x) inside = !inside;
    return inside;
}

// A convex piece meets a row in one interval at most.
bool TPolyArea::PieceRow(size_t piece, float y, float* enters, float* leaves) const {
    float low = std::numeric_limits<float>::max(), high = -low;
    for (size_t e = piece * 4; e < piece * 4 + 4; ++e) {
        if (!m_edges[e].Spans(y)) continue;
        float x = m_edges[e].CrossingOf(y);
        low = std::min(low, x);
        high = std::max(high, x);
    }
    *enters = low;
    *leaves = high;
    return low < high;
}

void TPolyArea::AppendRowCrossings(float y, std::vector<float>& crossings) const {
    if (m_pieces.empty()) {
        size_t first = crossings.size();
        for (uint32_t i : m_rows.Near(y))
            if (m_edges[i].Spans(y)) crossings.push_back(m_edges[i].CrossingOf(y));
        std::sort(crossings.begin() + std::ptrdiff_t(first), crossings.end());
        return;
    }
    std::vector<std::pair<float, float>> intervals;
    for (uint32_t i : m_rows.Near(y)) {
        float enters, leaves;
        if (PieceRow(i, y, &enters, &leaves)) intervals.emplace_back(enters, leaves);
    }
    std::sort(intervals.begin(), intervals.end());
    AppendUnion(intervals, crossings);
}

// From inside a piece: its sides, and the ends of the line.
TPolyArea::TBorder TPolyArea::BorderOfPiece(const Piece& piece, Point2 p) const {
    Point2 q = p - piece.start;
    float u = q.x * piece.along.x + q.y * piece.along.y;
    float v = q.y * piece.along.x - q.x * piece.along.y;
    Point2 side{-piece.along.y, piece.along.x};
    auto at = [&](float along, float across) {
        return piece.start + piece.along * along + side * across;
    };
    TBorder border{m_halfWidth - std::abs(v), at(u, v < 0 ? -m_halfWidth : m_halfWidth)};
    if (piece.startsLine && u < border.distance) border = {u, at(0, v)};
    if (piece.endsLine && piece.length - u < border.distance)
        border = {piece.length - u, at(piece.length, v)};
    border.distance = std::max(border.distance, 0.0f);
    return border;
}

TPolyArea::TBorder TPolyArea::NearestEdge(Point2 p, TSegmentCursor* cursor) const {
    uint32_t edge = m_tree.Nearest(p, cursor);
    if (edge == TSegmentTree::kNone) return {std::sqrt(std::numeric_limits<float>::max()), {}};
    Point2 nearest = m_edges[edge].NearestTo(p);
    return {std::sqrt(DistanceSquared(nearest, p)), nearest};
}

TPolyArea::TBorder TPolyArea::NearestBorder(Point2 p, TSegmentCursor* cursor) const {
    if (m_pieces.empty() || m_cells.At(p) == TRegionCells::kOutside) return NearestEdge(p, cursor);
    // Inside, the deepest of the pieces around p sees past the borders of the others.
    TBorder deepest{-1, {}};
    for (uint32_t i : m_rows.Near(p.y)) {
        if (!InPiece(i, p)) continue;
        TBorder border = BorderOfPiece(m_pieces[i], p);
        bool deeper = border.distance > deepest.distance;
        bool same = border.distance == deepest.distance;
        auto before = [](Point2 a, Point2 b) { return a.x != b.x ? a.x < b.x : a.y < b.y; };
        if (deeper || (same && before(border.nearest, deepest.nearest))) deepest = border;
    }
    return deepest.distance >= 0 ? deepest : NearestEdge(p, cursor);
}

bool TPolyArea::BorderMayBeWithin(Point2 p, float distance) const {
    const Point2 &low = m_bounds.min, &high = m_bounds.max;
    float largest =
        std::max({std::abs(low.x), std::abs(low.y), std::abs(high.x), std::abs(high.y)});
    float room = kRounding * (largest + std::abs(p.x) + std::abs(p.y));
    float dx = std::max({low.x - p.x, p.x - high.x, 0.0f});
    float dy = std::max({low.y - p.y, p.y - high.y, 0.0f});
    return !(std::max(dx, dy) > distance + room);
}
