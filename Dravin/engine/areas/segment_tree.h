// A tree over segments in the plane, for "which one is nearest to this point".
//
// Every node has eight children of equal size, split at medians of the longer side, and every leaf
// eight segments. Boxes have room for rounding, so the answer is that of a loop over all segments:
// the least distance in single precision, among equals the first segment. Queries allocate nothing;
// threads may share a tree, each with a cursor of its own. A grid of cells remembers the leaves
// that matter to each, which saves most queries the way down the tree; where segments are too dense
// for it, a cursor does the same for points that are neighbours.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <vector>

#include "Dravin/engine/areas/flat_segment.h"
#include "Dravin/engine/areas/segment_cells.h"
#include "Dravin/engine/areas/segment_search.h"
#include "host/math/box.h"

// What is known from the last query of a tree: the leaves that can hold the nearest segment of any
// point in a disc. With distance d at its centre and radius r, no leaf farther than d + 2r from the
// centre can. It saves points that are neighbours the way down the tree and changes no answer.
struct TSegmentCursor {
    Point2 center;
    float radius = -1;
    uint32_t count = 0;  // 0: nothing is known
    std::array<uint32_t, 12> leaves;
    uint32_t served = 0;            // queries that this disc has answered
    uint32_t pause = 0, waits = 0;  // queries without a new disc, after discs that served nobody
};

class TSegmentTree {
public:
    static constexpr uint32_t kNone = std::numeric_limits<uint32_t>::max();

    TSegmentTree() = default;
    // segments: finite, fewer than 2^31, copied.
    explicit TSegmentTree(std::span<const TFlatSegment> segments);

    // The nearest segment; kNone when no distance can be computed. cursor: null, or one that only
    // this tree has used.
    uint32_t Nearest(Point2 p, TSegmentCursor* cursor = nullptr) const;

private:
    int32_t Build(std::span<const TFlatSegment> segments, std::span<uint32_t> order, Box2* box);
    int32_t AddLeaf(std::span<const TFlatSegment> segments, std::span<const uint32_t> order,
                    Box2* box);
    TSegmentBranches Branches() const { return {m_nodes.data(), m_leaves.data(), m_root}; }
    float Distance(Point2 p) const;
    size_t LeavesOfDisc(Point2 center, float radius, float distance,
                        std::span<uint32_t> leaves) const;
    void Move(TSegmentCursor& cursor, Point2 p, float distance) const;

    std::vector<TSegmentNode> m_nodes;
    std::vector<TSegmentLeaf> m_leaves;
    int32_t m_root = 0;
    float m_room = 0;                        // what rounding may add to a distance
    float m_leafSize = 0;                    // mean half-perimeter of the leaves' boxes
    std::shared_ptr<TSegmentCells> m_cells;  // or null; copies of a tree share it
};
