// How a build ended: status numbers, their panel texts, and the statistics panel.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/math/point.h"

// Fixed for good: scene files, scripts and pipelines hold these numbers.
enum class [[nodiscard]] TBuildStatus : int32_t{
    kSuccess = 0,        kNoIncludeAreas = 1,    kNoDistributionMap = 2, kNoItems = 3,
    kDensityTooHigh = 4, kTemplateNotLoaded = 5, kEmptyGeometryList = 6, kTooManyItems = 7,
    kTooManyFaces = 8,   kNoVisibleItems = 10,   kDisabled = 11,         kNoReferenceObject = 12,
};

// What a distribution answers to its driver.
enum class [[nodiscard]] TBuildResult : int32_t{
    kOk = 0, kDensityTooHigh = 1, kTooManyItems = 2, kNoAreas = 3, kNoReference = 4,
};
TBuildStatus StatusOfResult(TBuildResult result);

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
    std::vector<Point3> gizmoPoints;  // corners of the map's tiles, which viewports draw
    // Candidates that chose each cluster of the geometry list, largest cluster first.
    std::vector<int32_t> clusterCounts;

    void AddClusterCounts(std::span<const int32_t> counts);
};

// What the panel looks at besides the numbers.
struct TPanelState {
    TBuildStatus status = TBuildStatus::kSuccess;
    TBuildStatus lastRenderStatus = TBuildStatus::kSuccess;
    bool distributing = true;  // not in custom edit mode
    bool collisions = false;
    int threads = 1;
};

// The two message lines, empty where there is nothing to say.
using TPanelMessage = std::array<std::string, 2>;
TPanelMessage PanelMessage(const TPanelState& state, const TBuildStatistics& statistics);

// One line of the statistics panel: label and value; the value is empty where the panel is blank.
struct TPanelLine {
    std::string label, value;
};
std::vector<TPanelLine> StatisticsPanel(const TPanelState& state,
                                        const TBuildStatistics& statistics);
