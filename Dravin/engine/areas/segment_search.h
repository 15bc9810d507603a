// The inner loops of TSegmentTree, in vector lanes.
//
// Nodes hold the boxes of eight children, leaves eight segments. Every lane does the arithmetic of
// TFlatSegment::NearestTo without contraction, so the widest instruction set gives the same bits as
// the narrowest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "host/math/point.h"

inline constexpr size_t kSegmentLanes = 8;

struct alignas(32) TSegmentNode {
    // Children that do not exist have the lowest box side above the highest, infinitely far apart.
    float minX[kSegmentLanes], minY[kSegmentLanes], maxX[kSegmentLanes], maxY[kSegmentLanes];
    int32_t child[kSegmentLanes];  // a node, or ~leaf
};

// Lanes beyond the last segment repeat it.
struct alignas(32) TSegmentLeaf {
    float ax[kSegmentLanes], ay[kSegmentLanes], bx[kSegmentLanes], by[kSegmentLanes];
    float dx[kSegmentLanes], dy[kSegmentLanes];  // b - a; 0 where the length is
    float lengthSquared[kSegmentLanes];          // 1 where the length is 0
    int32_t segment[kSegmentLanes];
};

struct TSegmentBranches {
    const TSegmentNode* nodes;
    const TSegmentLeaf* leaves;
    int32_t root;
};

struct TNearestSegment {
    float distanceSquared = std::numeric_limits<float>::max();
    int32_t segment = std::numeric_limits<int32_t>::max();
};

// The nearest segment of the whole tree; among equals the first.
TNearestSegment SearchBranches(const TSegmentBranches& tree, Point2 p);
// The nearest segment of some leaves.
TNearestSegment SearchLeaves(const TSegmentBranches& tree, std::span<const uint32_t> leaves,
                             Point2 p);
// Writes the leaves whose boxes are within `distance` of p; returns how many there are, which may
// be more than there is room for: those are not written.
size_t CollectLeaves(const TSegmentBranches& tree, Point2 p, float distance,
                     std::span<uint32_t> leaves);
