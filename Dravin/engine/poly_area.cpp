#include "Dravin/engine/poly_area.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

// Where the edge crosses the row; meaningful only when it spans the row.
float CrossingOf(Point2 a, Point2 b, float y) {
    return a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y);
}

bool Spans(Point2 a, Point2 b, float y) { return (a.y <= y && y < b.y) || (b.y <= y && y < a.y); }

// Point of the segment nearest to p.
Point2 NearestOnSegment(Point2 a, Point2 b, Point2 p) {
    Point2 d = b - a, q = p - a;
    float lengthSquared = d.x * d.x + d.y * d.y;
    float t = lengthSquared > 0 ? (q.x * d.x + q.y * d.y) / lengthSquared : 0;
    if (t < 0) return a;
    if (t > 1) return b;
    return a + d * t;
}

float DistanceSquared(Point2 a, Point2 b) {
    Point2 d = a - b;
    return d.x * d.x + d.y * d.y;
}

Box2 BoxOf(std::span<const Point2> points) {
    Box2 box;
    for (Point2 p : points) box += p;
    return box;
}

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

auto OnRow(float y) {
    return [y](const Box2& box) { return box.min.y <= y && y <= box.max.y; };
}

}  // namespace

TPolyArea TPolyArea::Polygon(std::span<const Point2> corners) {
    TPolyArea area;
    std::vector<Box2> boxes;
    double twice = 0;
    for (size_t i = 0; i < corners.size() && corners.size() >= 2; ++i) {
        Point2 a = corners[i], b = corners[(i + 1) % corners.size()];
        area.m_edges.push_back({a, b});
        boxes.push_back(BoxOf(std::array{a, b}));
        twice += double(a.x) * b.y - double(b.x) * a.y;
    }
    area.m_tree = TBoxTree(boxes);
    area.m_bounds = area.m_tree.Bounds();
    area.m_measure = std::abs(twice) / 2;
    return area;
}

TPolyArea TPolyArea::Band(std::span<const Point2> points, bool closed, float halfWidth) {
    TPolyArea area;
    area.m_halfWidth = halfWidth;
    std::vector<Box2> boxes;
    size_t segments = points.size() < 2 ? 0 : points.size() - (closed ? 0 : 1);
    for (size_t i = 0; i < segments; ++i) {
        Point2 a = points[i], b = points[(i + 1) % points.size()], d = b - a;
        float length = std::sqrt(d.x * d.x + d.y * d.y);
        if (!(length > 0)) continue;
        Point2 along = d * (1 / length), side = Point2{-along.y, along.x} * halfWidth;
        std::array<Point2, 4> corners{a - side, b - side, b + side, a + side};
        for (size_t k = 0; k < 4; ++k) area.m_edges.push_back({corners[k], corners[(k + 1) % 4]});
        area.m_pieces.push_back({a, along, length, false, false});
        boxes.push_back(BoxOf(corners));
        area.m_measure += 2.0 * double(halfWidth) * double(length);
    }
    if (!closed && !area.m_pieces.empty())
        area.m_pieces.front().startsLine = area.m_pieces.back().endsLine = true;
    area.m_tree = TBoxTree(boxes);
    area.m_bounds = area.m_tree.Bounds();
    return area;
}

bool TPolyArea::InPiece(size_t piece, Point2 p) const {
    bool inside = false;
    for (size_t e = piece * 4; e < piece * 4 + 4; ++e) {
        const Edge& edge = m_edges[e];
        if (Spans(edge.a, edge.b, p.y) && CrossingOf(edge.a, edge.b, p.y) > p.x) inside = !inside;
    }
    return inside;
}

bool TPolyArea::Inside(Point2 p) const {
    bool inside = false;
    m_tree.ForEach(OnRow(p.y), [&](uint32_t i) {
        if (!m_pieces.empty()) {
            inside = inside || InPiece(i, p);
            return;
        }
        const Edge& edge = m_edges[i];
        if (Spans(edge.a, edge.b, p.y) && CrossingOf(edge.a, edge.b, p.y) > p.x) inside = !inside;
    });
    return inside;
}

// A convex piece meets a row in one interval at most.
bool TPolyArea::PieceRow(size_t piece, float y, float* enters, float* leaves) const {
    float low = std::numeric_limits<float>::max(), high = -low;
    for (size_t e = piece * 4; e < piece * 4 + 4; ++e) {
        if (!Spans(m_edges[e].a, m_edges[e].b, y)) continue;
        float x = CrossingOf(m_edges[e].a, m_edges[e].b, y);
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
        m_tree.ForEach(OnRow(y), [&](uint32_t i) {
            const Edge& edge = m_edges[i];
            if (Spans(edge.a, edge.b, y)) crossings.push_back(CrossingOf(edge.a, edge.b, y));
        });
        std::sort(crossings.begin() + std::ptrdiff_t(first), crossings.end());
        return;
    }
    std::vector<std::pair<float, float>> intervals;
    m_tree.ForEach(OnRow(y), [&](uint32_t i) {
        float enters, leaves;
        if (PieceRow(i, y, &enters, &leaves)) intervals.emplace_back(enters, leaves);
    });
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

TPolyArea::TBorder TPolyArea::NearestEdge(Point2 p) const {
    float best = std::numeric_limits<float>::max();
    size_t bestEdge = m_edges.size();
    Point2 nearest;
    size_t edgesPerBox = m_pieces.empty() ? 1 : 4;
    m_tree.Nearest(p, &best, [&](uint32_t i, float* limit) {
        for (size_t e = i * edgesPerBox; e < (i + 1) * edgesPerBox; ++e) {
            Point2 q = NearestOnSegment(m_edges[e].a, m_edges[e].b, p);
            float d = DistanceSquared(q, p);
            // Among equals the first edge wins, whatever the order of the tree.
            if (d > *limit || (d == *limit && e > bestEdge)) continue;
            *limit = d;
            bestEdge = e;
            nearest = q;
        }
    });
    return {std::sqrt(best), nearest};
}

TPolyArea::TBorder TPolyArea::NearestBorder(Point2 p) const {
    if (m_pieces.empty()) return NearestEdge(p);
    // Inside, the deepest of the pieces around p sees past the borders of the others.
    TBorder deepest{-1, {}};
    m_tree.ForEach(OnRow(p.y), [&](uint32_t i) {
        if (!InPiece(i, p)) return;
        TBorder border = BorderOfPiece(m_pieces[i], p);
        bool deeper = border.distance > deepest.distance;
        bool same = border.distance == deepest.distance;
        auto before = [](Point2 a, Point2 b) { return a.x != b.x ? a.x < b.x : a.y < b.y; };
        if (deeper || (same && before(border.nearest, deepest.nearest))) deepest = border;
    });
    return deepest.distance >= 0 ? deepest : NearestEdge(p);
}
