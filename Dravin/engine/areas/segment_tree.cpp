#include "Dravin/engine/areas/segment_tree.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

// A distance is a difference of coordinates, off by a few units in the last place of the largest
// one; that is the room around boxes. What a far point's own size adds, the search allows for.
constexpr float kRoom = 1e-6f;

constexpr uint32_t kLongestPause = 63;

uint32_t SegmentOf(const TNearestSegment& nearest) {
    bool any = nearest.distanceSquared < std::numeric_limits<float>::max();
    return any ? uint32_t(nearest.segment) : TSegmentTree::kNone;
}

// Splits at the median centre along the longer side of the box around the centres, so that
// `parts` groups of equal size arise.
void SplitAtMedians(std::span<const TFlatSegment> segments, std::span<uint32_t> order, size_t parts,
                    std::vector<std::span<uint32_t>>& groups) {
    if (parts == 1) return groups.push_back(order);
    auto centerOf = [&](uint32_t i) { return segments[i].a * 0.5f + segments[i].b * 0.5f; };
    Box2 box;
    for (uint32_t i : order) box += centerOf(i);
    bool wide = box.Width() >= box.Height();
    size_t lowParts = parts / 2, low = order.size() * lowParts / parts;
    std::nth_element(order.begin(), order.begin() + std::ptrdiff_t(low), order.end(),
                     [&](uint32_t a, uint32_t b) {
                         Point2 ca = centerOf(a), cb = centerOf(b);
                         float va = wide ? ca.x : ca.y, vb = wide ? cb.x : cb.y;
                         return va != vb ? va < vb : a < b;
                     });
    SplitAtMedians(segments, order.first(low), lowParts, groups);
    SplitAtMedians(segments, order.subspan(low), parts - lowParts, groups);
}

}  // namespace

TSegmentTree::TSegmentTree(std::span<const TFlatSegment> segments) {
    if (segments.empty()) return;
    float largest = 0;
    for (const TFlatSegment& s : segments)
        for (float c : {s.a.x, s.a.y, s.b.x, s.b.y}) largest = std::max(largest, std::abs(c));
    m_room = kRoom * largest;
    std::vector<uint32_t> order(segments.size());
    std::iota(order.begin(), order.end(), 0u);
    Box2 box;
    m_root = Build(segments, order, &box);
    m_leafSize /= float(m_leaves.size());
    m_cells = TSegmentCells::Make(box, m_leaves.size(), m_leafSize);
}

// Adds the subtree over some segments; returns it as a child and its box.
int32_t TSegmentTree::Build(std::span<const TFlatSegment> segments, std::span<uint32_t> order,
                            Box2* box) {
    if (order.size() <= kSegmentLanes) return AddLeaf(segments, order, box);
    size_t parts = std::min(kSegmentLanes, (order.size() + kSegmentLanes - 1) / kSegmentLanes);
    std::vector<std::span<uint32_t>> groups;
    SplitAtMedians(segments, order, parts, groups);

    auto index = m_nodes.size();
    m_nodes.emplace_back();
    for (size_t k = 0; k < kSegmentLanes; ++k) {
        Box2 part;  // empty
        int32_t child = k < parts ? Build(segments, groups[k], &part) : 0;
        TSegmentNode& node = m_nodes[index];
        node.child[k] = child;
        node.minX[k] = part.min.x - m_room, node.minY[k] = part.min.y - m_room;
        node.maxX[k] = part.max.x + m_room, node.maxY[k] = part.max.y + m_room;
        if (k >= parts) continue;
        *box += part.min;
        *box += part.max;
    }
    return int32_t(index);
}

int32_t TSegmentTree::AddLeaf(std::span<const TFlatSegment> segments,
                              std::span<const uint32_t> order, Box2* box) {
    TSegmentLeaf leaf;
    for (size_t k = 0; k < kSegmentLanes; ++k) {
        uint32_t i = order[std::min(k, order.size() - 1)];
        auto [a, b] = segments[i];
        *box += a;
        *box += b;
        Point2 d = b - a;
        float lengthSquared = d.x * d.x + d.y * d.y;
        bool hasLength = lengthSquared > 0;
        leaf.ax[k] = a.x, leaf.ay[k] = a.y, leaf.bx[k] = b.x, leaf.by[k] = b.y;
        leaf.dx[k] = hasLength ? d.x : 0, leaf.dy[k] = hasLength ? d.y : 0;
        leaf.lengthSquared[k] = hasLength ? lengthSquared : 1;
        leaf.segment[k] = int32_t(i);
    }
    m_leafSize += box->Width() + box->Height();
    m_leaves.push_back(leaf);
    return ~int32_t(m_leaves.size() - 1);
}

uint32_t TSegmentTree::Nearest(Point2 p, TSegmentCursor* cursor) const {
    if (m_leaves.empty() || !std::isfinite(p.x) || !std::isfinite(p.y)) return kNone;
    if (cursor && cursor->count > 0 &&
        DistanceSquared(p, cursor->center) <= cursor->radius * cursor->radius) {
        ++cursor->served;
        return SegmentOf(SearchLeaves(Branches(), {cursor->leaves.data(), cursor->count}, p));
    }
    if (m_cells) {
        std::span<const uint32_t> leaves =
            m_cells->Leaves(p, [&](Point2 center, float radius, std::span<uint32_t> found) {
                return LeavesOfDisc(center, radius, Distance(center), found);
            });
        if (!leaves.empty()) return SegmentOf(SearchLeaves(Branches(), leaves, p));
    }
    TNearestSegment best = SearchBranches(Branches(), p);
    if (cursor) Move(*cursor, p, std::sqrt(best.distanceSquared));
    return SegmentOf(best);
}

float TSegmentTree::Distance(Point2 p) const {
    return std::sqrt(SearchBranches(Branches(), p).distanceSquared);
}

// The leaves that can hold the nearest segment of a point of the disc, given the distance at its
// centre; how many there are, as CollectLeaves tells.
size_t TSegmentTree::LeavesOfDisc(Point2 center, float radius, float distance,
                                  std::span<uint32_t> leaves) const {
    float reach = distance + 2 * (radius + m_room);
    return CollectLeaves(Branches(), center, reach * 1.0001f, leaves);
}

// Lays a new disc around p. A larger one serves more points but needs more leaves. Where the last
// one served nobody, points lie too far apart for its effort, or segments too close together.
void TSegmentTree::Move(TSegmentCursor& cursor, Point2 p, float distance) const {
    if (cursor.waits > 0) {
        --cursor.waits;
        return;
    }
    cursor.pause = cursor.served == 0 ? std::min(2 * cursor.pause + 1, kLongestPause) : 0;
    cursor.waits = cursor.pause;
    cursor.served = cursor.count = 0;
    cursor.center = p;
    cursor.radius = 0.25f * (distance + m_leafSize);
    for (int attempt = 0; attempt < 2 && cursor.count == 0; ++attempt) {
        if (attempt > 0) cursor.radius /= 4;
        size_t found = LeavesOfDisc(p, cursor.radius, distance, cursor.leaves);
        if (found <= cursor.leaves.size()) cursor.count = uint32_t(found);
    }
}
