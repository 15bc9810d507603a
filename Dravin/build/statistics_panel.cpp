#include "Dravin/build/statistics_panel.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/build/delta_report.h"
#include "host/base/text.h"

namespace {

constexpr int kManyDiscardedPercent = 49;

bool HasCounts(const TPanelState& state) {
    switch (state.status) {
        case TBuildStatus::kNoIncludeAreas:
        case TBuildStatus::kNoDistributionMap:
        case TBuildStatus::kTemplateNotLoaded:
        case TBuildStatus::kEmptyGeometryList:
            return false;
        default:
            return state.distributing;
    }
}

bool HasCollisionCounts(const TPanelState& state, const TBuildStatistics& s) {
    return HasCounts(state) && state.collisions && s.createdCount > 0;
}

int DiscardedPercent(const TBuildStatistics& s) {
    return int(int64_t{100} * s.discardedCount / s.createdCount);
}

// The last render speaks up when the viewport itself is fine.
bool ShowsLastRender(const TPanelState& state) {
    return state.status == TBuildStatus::kSuccess &&
           (state.lastRenderStatus == TBuildStatus::kTooManyItems ||
            state.lastRenderStatus == TBuildStatus::kTooManyFaces);
}

}  // namespace

std::string MostRejectedText(const TBuildStatistics& s) {
    const TRejectionRule* most = nullptr;
    for (const TRejectionRule& rule : RejectionRules())
        if (s.rejected.*rule.count > (most ? s.rejected.*most->count : 0)) most = &rule;
    if (!most) return "";
    int64_t kept = std::max(0, s.itemCount - s.discardedItems);
    int64_t dropped = s.rejected.*most->count, candidates = s.rejected.Total() + kept;
    const char* quantity = dropped == candidates      ? "all"
                           : dropped * 2 > candidates ? "most"
                                                      : "many";
    return fmt::format("{} candidates were dropped {} ({} of {})", quantity, most->words, dropped,
                       candidates);
}

std::string NoCellsText(const TBuildStatistics& s) {
    if (s.cellsTooSmall)
        return "the map's cells are smaller than 0.0001 and make no items: enlarge \"units_x\" and "
               "\"units_y\", or lower \"pixels_x\" and \"pixels_y\"";
    if (s.cellsTooFar)
        return "the ground lies so far out that the map's cells there cannot be numbered: enlarge "
               "\"units_x\" and \"units_y\"";
    return "";
}

TPanelMessage PanelMessage(const TPanelState& state, const TBuildStatistics& s) {
    TPanelMessage lines;
    if (HasCollisionCounts(state, s) && DiscardedPercent(s) > kManyDiscardedPercent)
        lines = {"Most of items are discarded by collisions",
                 "Lower density increasing X/Y Size in Dist.Map"};
    if (s.effectsCompileError) lines[0] = "Error compiling Effects. See editor for details";

    bool last = ShowsLastRender(state);
    switch (last ? state.lastRenderStatus : state.status) {
        case TBuildStatus::kSuccess:
            return lines;
        case TBuildStatus::kNoIncludeAreas:
            return {"There are not Include Areas", ""};
        case TBuildStatus::kNoDistributionMap:
            return {"Distribution map not defined", ""};
        case TBuildStatus::kNoItems:
            return {"No items", ""};
        case TBuildStatus::kDensityTooHigh:
            return {"Items density is too high. Increase the",
                    "X/Y Size in Distribution Map parameters"};
        case TBuildStatus::kTemplateNotLoaded:
            return {"Geometry template cannot be loaded", "Reset 3D Studio and reload scene"};
        case TBuildStatus::kEmptyGeometryList:
            return {"No items in the Geometry List", ""};
        case TBuildStatus::kTooManyItems:
            return {"Maximum number of items exceeded",
                    last ? "in last render. Adjust 'Display' parameters"
                         : "Fix: adjust 'Display' parameters"};
        case TBuildStatus::kTooManyFaces:
            return {"Maximum number of faces exceeded",
                    last ? fmt::format("in last render ({} ). Adjust 'Display' params.)",
                                       s.facesInLastRender)
                         : "Fix: adjust 'Display' parameters"};
        // The panel's first text for this status, "No visible items", is overwritten at once.
        case TBuildStatus::kNoVisibleItems:
            return {"No items", ""};
        case TBuildStatus::kDisabled:
            return {"Object is disabled in Display settings", ""};
        case TBuildStatus::kNoReferenceObject:
            return {"Reference object is not defined", ""};
        case TBuildStatus::kCancelled:
            return {"Cancelled", ""};
    }
    return lines;
}

std::vector<TPanelLine> StatisticsPanel(const TPanelState& state, const TBuildStatistics& s) {
    bool any = s.itemCount != 0, counts = HasCounts(state), collided = HasCollisionCounts(state, s);
    auto when = [](bool shown, std::string text) {
        return shown ? std::move(text) : std::string();
    };
    std::string memory = fmt::format("{:5.1f} Mb,{:5.1f} mS, (I:{}/E:{})", double(s.memoryMb),
                                     double(s.meshMs), s.includeGroups, s.excludeAreas);
    return {
        {"Items", when(any, FormatGrouped(s.itemCount - s.discardedItems))},
        {"Discarded", when(any, FormatGrouped(s.discardedItems))},
        {"Distributed", when(any, FormatGrouped(s.itemCount - s.discardedItems))},
        {"Time", when(any, fmt::format("{} ms", s.buildMs))},
        {"Mesh", when(any, memory)},
        {"Rate", when(any, FormatCount(s.itemsPerSecond) + " trees/sec")},
        {"Area", when(counts, FormatGrouped(s.cellsInArea) + " items in area")},
        {"Created", when(collided, FormatGrouped(s.createdCount) + " items created")},
        {"Collisions", collided ? fmt::format("{} discarded ({}%)", FormatGrouped(s.discardedCount),
                                              DiscardedPercent(s))
                                : ""},
        {"By hand", DeltaText(s.deltas)},
        {"Threads", fmt::format("{}", std::max(state.threads, 1))},
    };
}
