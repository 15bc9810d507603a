// How a build ended: its status, and what it counted.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

#include "Dravin/engine/item_id.h"
#include "host/math/box.h"

// Fixed for good: scene files, scripts and pipelines hold these numbers.
enum class [[nodiscard]] TBuildStatus : int32_t{
    kSuccess = 0,
    kNoIncludeAreas = 1,
    kNoDistributionMap = 2,
    kNoItems = 3,
    kDensityTooHigh = 4,
    kTemplateNotLoaded = 5,
    kEmptyGeometryList = 6,
    kTooManyItems = 7,
    kTooManyFaces = 8,
    kNoVisibleItems = 10,
    kDisabled = 11,
    kNoReferenceObject = 12,
    // Of this program alone: whoever waited for the build wants it no more.
    kCancelled = 100,
};

// Candidates of a distribution that each rule dropped. A candidate is a cell of the map or a source
// point, and one for each further member that its group has; the first rule that drops it counts.
// Cells that a display leaves out to stay below its limit are no candidates.
struct TRejections {
    int64_t map = 0;      // the distribution map, or its texture, is too dark there
    int64_t area = 0;     // outside the include areas, inside an exclude area, or across a border
    int64_t surface = 0;  // no surface is there
    int64_t altitude = 0, slope = 0;  // beyond the limits
    int64_t camera = 0;               // outside the view
    int64_t falloff = 0;              // a density falloff of areas, altitude, slope or camera
    int64_t effect = 0;
    int64_t collision = 0;

    int64_t Total() const;
    TRejections& operator+=(const TRejections& other);
    friend bool operator==(const TRejections&, const TRejections&) = default;
};

// A rule's name, and what it says behind "dropped".
struct TRejectionRule {
    const char* name;
    const char* words;
    int64_t TRejections::*count;
};
// All rules in the order in which they act.
std::span<const TRejectionRule> RejectionRules();

// What a build saw of the changes by hand (item_deltas.h).
struct TDeltaCounts {
    std::vector<uint32_t> found;  // while items are made: numbers of those met, once for every item
    // Afterwards: items, and ids of which there is none. These only of complete builds.
    bool isUsed = false, isComplete = false;
    int32_t changed = 0, deleted = 0;
    std::vector<TItemId> missing;

    TDeltaCounts& operator+=(const TDeltaCounts& other) {
        found.insert(found.end(), other.found.begin(), other.found.end());
        return *this;
    }
};

// The size on screen that a level of detail was chosen by: from the lower left to the upper right
// of what it measures, in widths of the view.
struct TLodSpan {
    Point2 from, to;
    friend bool operator==(const TLodSpan&, const TLodSpan&) = default;
};

// What one task of a distribution counts.
struct TTaskCounts {
    std::vector<int32_t> clusters;  // as in the statistics
    TRejections rejected;
    TDeltaCounts deltas;
    std::optional<TLodSpan> lodSpan;  // of the last level that it chose by that
};

// A number as statistics hold it: what is beyond their range is its end.
inline int32_t AsCount(int64_t number) {
    return int32_t(std::min<int64_t>(number, std::numeric_limits<int32_t>::max()));
}

// Numbers of the last build.
struct TBuildStatistics {
    int32_t cellsInArea = 0;
    int32_t itemCount = 0;
    int32_t createdCount = 0;    // before collisions
    int32_t discardedCount = 0;  // by collisions
    int32_t discardedItems = 0;  // discarded items left in the list
    int32_t decimation = 1;
    int32_t buildMs = 1;  // at least 1
    int32_t itemsPerSecond = 0;
    int32_t facesInLastRender = 0;
    int32_t includeGroups = 0, excludeAreas = 0;
    float memoryMb = 0, meshMs = 0;
    bool effectsCompileError = false;
    bool cellsTooSmall = false, cellsTooFar = false;  // of a ground that got no cells for it
    std::vector<Point3> gizmoPoints;  // corners of the map's tiles, which viewports draw
    // Candidates that chose each cluster of the geometry list, largest cluster first.
    std::vector<int32_t> clusterCounts;
    TRejections rejected;  // all zero when the distribution failed
    TDeltaCounts deltas;   // items that were changed by hand
    // Of the last level, in the order of the distribution, that was chosen by it.
    std::optional<TLodSpan> lodSpan;
    bool outOfMemory = false;       // the items would have taken more than the build may
    int64_t itemLimit = INT64_MAX;  // items beyond which the build would have been refused
    Box3 ground;                    // where overlaps are looked for; empty: where the items are

    void Add(const TTaskCounts& counts);
};
