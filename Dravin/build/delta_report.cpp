#include "Dravin/build/delta_report.h"

#include <algorithm>

#include <fmt/format.h>

namespace {

constexpr size_t kIdsNamed = 5;

bool SeesAllItems(const TBuildInput& input, const TBuildStatistics& s) {
    return input.part.IsWhole() && s.decimation == 1 && !input.camera.limitActive;
}

}  // namespace

void CountDeltas(const TBuildInput& input, TBuildStatistics& statistics) {
    if (!input.deltas) return;
    TDeltaCounts& counts = statistics.deltas;
    std::span<const TItemDelta> deltas = input.deltas->Deltas();
    std::vector<uint8_t> isFound(deltas.size());
    for (uint32_t number : counts.found) {
        isFound[number] = 1;
        ++(deltas[number].deleted ? counts.deleted : counts.changed);
    }
    counts.isUsed = true;
    counts.isComplete = SeesAllItems(input, statistics);
    for (size_t i = 0; counts.isComplete && i < deltas.size(); ++i)
        if (!isFound[i]) counts.missing.push_back(deltas[i].id);
    counts.found = {};
}

std::string DeltaText(const TDeltaCounts& counts) {
    if (!counts.isUsed) return "";
    std::string text = fmt::format("{} changed, {} deleted", counts.changed, counts.deleted);
    if (!counts.missing.empty()) text += fmt::format(", {} without item", counts.missing.size());
    return text;
}

std::string MissingItemsText(const TDeltaCounts& counts) {
    if (counts.missing.empty()) return "";
    std::string ids;
    for (size_t i = 0; i < std::min(counts.missing.size(), kIdsNamed); ++i)
        ids += (i > 0 ? ", " : "") + ItemIdText(counts.missing[i]);
    if (counts.missing.size() > kIdsNamed) ids += ", …";
    bool one = counts.missing.size() == 1;
    return fmt::format(
        "{} of single items {} without effect, as the items no longer exist ({}); take {} out of "
        "\"deltas\"",
        one ? "a change" : fmt::format("{} changes", counts.missing.size()), one ? "is" : "are",
        ids, one ? "it" : "them");
}
