// What a person is shown of a finished build: the message lines and the statistics panel.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "Dravin/engine/build_status.h"

// The rule that dropped most: "most candidates were dropped by the altitude limits (1234 of 1300)";
// "all" where no other rule dropped one and no item is left, "many" up to a half. Empty when no
// candidate was dropped.
std::string MostRejectedText(const TBuildStatistics& statistics);

// Why the map has no cells on some ground; empty where it has.
std::string NoCellsText(const TBuildStatistics& statistics);

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
