#include "Dravin/engine/areas/segment_search.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Dravin/engine/areas/segment_search.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::CappedTag<float, kSegmentLanes>;
using Ints = hn::RebindToSigned<Floats>;
using FloatLanes = hn::Vec<Floats>;
using IntLanes = hn::Vec<Ints>;

// The distances of a far point are off by a share of themselves.
constexpr float kFarFactor = 0.9999f;

// The best of each lane.
struct LaneBests {
    FloatLanes distanceSquared;
    IntLanes segment;

    explicit LaneBests(const TNearestSegment& best)
        : distanceSquared(hn::Set(Floats(), best.distanceSquared)),
          segment(hn::Set(Ints(), best.segment)) {}

    void Take(const TSegmentLeaf& leaf, Point2 p) {
        const Floats f;
        const FloatLanes px = hn::Set(f, p.x), py = hn::Set(f, p.y), zero = hn::Zero(f),
                         one = hn::Set(f, 1);
        for (size_t i = 0; i < kSegmentLanes; i += hn::Lanes(f)) {
            FloatLanes ax = hn::Load(f, leaf.ax + i), ay = hn::Load(f, leaf.ay + i);
            FloatLanes dx = hn::Load(f, leaf.dx + i), dy = hn::Load(f, leaf.dy + i);
            FloatLanes along = hn::Add(hn::Mul(hn::Sub(px, ax), dx), hn::Mul(hn::Sub(py, ay), dy));
            FloatLanes t = hn::Div(along, hn::Load(f, leaf.lengthSquared + i));
            auto before = hn::Lt(t, zero), behind = hn::Gt(t, one);
            FloatLanes x = hn::Add(ax, hn::Mul(dx, t)), y = hn::Add(ay, hn::Mul(dy, t));
            x = hn::IfThenElse(behind, hn::Load(f, leaf.bx + i), x);
            y = hn::IfThenElse(behind, hn::Load(f, leaf.by + i), y);
            x = hn::Sub(hn::IfThenElse(before, ax, x), px);
            y = hn::Sub(hn::IfThenElse(before, ay, y), py);
            Compare(hn::Add(hn::Mul(x, x), hn::Mul(y, y)), hn::Load(Ints(), leaf.segment + i));
        }
    }

    TNearestSegment Least() const {
        float distances[kSegmentLanes];
        int32_t segments[kSegmentLanes];
        FloatLanes least = hn::MinOfLanes(Floats(), distanceSquared);
        // Of the lanes that are as near, the first segment.
        IntLanes none = hn::Set(Ints(), std::numeric_limits<int32_t>::max());
        auto isLeast = hn::RebindMask(Ints(), hn::Eq(distanceSquared, least));
        hn::StoreU(least, Floats(), distances);
        hn::StoreU(hn::MinOfLanes(Ints(), hn::IfThenElse(isLeast, segment, none)), Ints(),
                   segments);
        return {distances[0], segments[0]};
    }

private:
    void Compare(FloatLanes d, IntLanes candidate) {
        auto equal = hn::RebindMask(Ints(), hn::Eq(d, distanceSquared));
        auto nearer = hn::RebindMask(Ints(), hn::Lt(d, distanceSquared));
        auto first = hn::And(equal, hn::Lt(candidate, segment));
        auto better = hn::Or(nearer, first);
        segment = hn::IfThenElse(better, candidate, segment);
        distanceSquared = hn::IfThenElse(hn::RebindMask(Floats(), better), d, distanceSquared);
    }
};

// Children that wait for their turn, the next one last.
struct WaitingChildren {
    // Subtrees have equal sizes, so they are at most eleven deep, and seven siblings wait on each
    // level; a whole vector may be written behind the last.
    float distanceSquared[11 * kSegmentLanes + kSegmentLanes];
    int32_t child[11 * kSegmentLanes + kSegmentLanes];
    size_t count = 0;

    // Adds the children whose squared distance, taken a little short, is within the limit; the
    // nearest of them comes last.
    void Push(const TSegmentNode& node, Point2 p, float limit) {
        const Floats f;
        const FloatLanes px = hn::Set(f, p.x), py = hn::Set(f, p.y), zero = hn::Zero(f);
        size_t first = count;
        for (size_t i = 0; i < kSegmentLanes; i += hn::Lanes(f)) {
            FloatLanes left = hn::Sub(hn::Load(f, node.minX + i), px);
            FloatLanes right = hn::Sub(px, hn::Load(f, node.maxX + i));
            FloatLanes below = hn::Sub(hn::Load(f, node.minY + i), py);
            FloatLanes above = hn::Sub(py, hn::Load(f, node.maxY + i));
            FloatLanes dx = hn::Max(hn::Max(left, right), zero);
            FloatLanes dy = hn::Max(hn::Max(below, above), zero);
            FloatLanes d = hn::Add(hn::Mul(dx, dx), hn::Mul(dy, dy));
            d = hn::Mul(d, hn::Set(f, kFarFactor));
            auto within = hn::Le(d, hn::Set(f, limit));
            hn::CompressStore(hn::Load(Ints(), node.child + i), hn::RebindMask(Ints(), within),
                              Ints(), child + count);
            count += hn::CompressStore(d, within, f, distanceSquared + count);
        }
        if (count < first + 2) return;
        size_t nearest = first;
        for (size_t i = first + 1; i < count; ++i)
            nearest = distanceSquared[i] < distanceSquared[nearest] ? i : nearest;
        std::swap(distanceSquared[nearest], distanceSquared[count - 1]);
        std::swap(child[nearest], child[count - 1]);
    }
};

// Visits the leaves that may hold something within the square root of limit(), the nearest child of
// a node first.
template <class Limit, class Visit>
HWY_INLINE void Walk(const TSegmentBranches& tree, Point2 p, const Limit& limit,
                     const Visit& visit) {
    WaitingChildren waiting;
    int32_t child = tree.root;
    while (true) {
        if (child < 0)
            visit(uint32_t(~child));
        else
            waiting.Push(tree.nodes[child], p, limit());
        do {
            if (waiting.count == 0) return;
            --waiting.count;
        } while (waiting.distanceSquared[waiting.count] > limit());
        child = waiting.child[waiting.count];
    }
}

TNearestSegment SearchBranchesLanes(const TSegmentBranches& tree, Point2 p) {
    TNearestSegment best;
    Walk(
        tree, p, [&] { return best.distanceSquared; },
        [&](uint32_t leaf) {
            LaneBests bests(best);
            bests.Take(tree.leaves[leaf], p);
            best = bests.Least();
        });
    return best;
}

TNearestSegment SearchLeavesLanes(const TSegmentBranches& tree, std::span<const uint32_t> leaves,
                                  Point2 p) {
    LaneBests bests{TNearestSegment{}};
    for (uint32_t leaf : leaves) bests.Take(tree.leaves[leaf], p);
    return bests.Least();
}

size_t CollectLeavesLanes(const TSegmentBranches& tree, Point2 p, float distance,
                          std::span<uint32_t> leaves) {
    // Children that do not exist are infinitely far, and so beyond every limit.
    float limit = std::min(distance * distance, std::numeric_limits<float>::max());
    size_t count = 0;
    Walk(
        tree, p, [&] { return limit; },
        [&](uint32_t leaf) {
            if (count < leaves.size()) leaves[count] = leaf;
            ++count;
        });
    return count;
}

}  // namespace HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

HWY_EXPORT(SearchBranchesLanes);
HWY_EXPORT(SearchLeavesLanes);
HWY_EXPORT(CollectLeavesLanes);

TNearestSegment SearchBranches(const TSegmentBranches& tree, Point2 p) {
    return HWY_DYNAMIC_DISPATCH(SearchBranchesLanes)(tree, p);
}

TNearestSegment SearchLeaves(const TSegmentBranches& tree, std::span<const uint32_t> leaves,
                             Point2 p) {
    return HWY_DYNAMIC_DISPATCH(SearchLeavesLanes)(tree, leaves, p);
}

size_t CollectLeaves(const TSegmentBranches& tree, Point2 p, float distance,
                     std::span<uint32_t> leaves) {
    return HWY_DYNAMIC_DISPATCH(CollectLeavesLanes)(tree, p, distance, leaves);
}

#endif
