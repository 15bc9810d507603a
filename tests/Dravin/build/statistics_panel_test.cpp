#include "Dravin/build/statistics_panel.h"

#include <gtest/gtest.h>

namespace {

using enum TBuildStatus;

TPanelMessage Message(TBuildStatus status, TBuildStatus lastRender = kSuccess,
                      const TBuildStatistics& statistics = {}) {
    TPanelState state;
    state.status = status;
    state.lastRenderStatus = lastRender;
    return PanelMessage(state, statistics);
}

TEST(PanelMessage, HasTheTextOfEachStatus) {
    struct Row {
        TBuildStatus status;
        const char *line1, *line2;
    };
    const Row rows[] = {
        {kSuccess, "", ""},
        {kNoIncludeAreas, "There are not Include Areas", ""},
        {kNoDistributionMap, "Distribution map not defined", ""},
        {kNoItems, "No items", ""},
        {kDensityTooHigh, "Items density is too high. Increase the",
         "X/Y Size in Distribution Map parameters"},
        {kTemplateNotLoaded, "Geometry template cannot be loaded",
         "Reset 3D Studio and reload scene"},
        {kEmptyGeometryList, "No items in the Geometry List", ""},
        {kTooManyItems, "Maximum number of items exceeded", "Fix: adjust 'Display' parameters"},
        {kTooManyFaces, "Maximum number of faces exceeded", "Fix: adjust 'Display' parameters"},
        {kNoVisibleItems, "No items", ""},
        {kDisabled, "Object is disabled in Display settings", ""},
        {kNoReferenceObject, "Reference object is not defined", ""},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Message(row.status), (TPanelMessage{row.line1, row.line2})) << int(row.status);
}

TEST(PanelMessage, AFailedLastRenderSpeaksUpWhenTheViewportIsFine) {
    EXPECT_EQ(Message(kSuccess, kTooManyItems),
              (TPanelMessage{"Maximum number of items exceeded",
                             "in last render. Adjust 'Display' parameters"}));
    TBuildStatistics statistics;
    statistics.facesInLastRender = 12345;
    EXPECT_EQ(Message(kSuccess, kTooManyFaces, statistics)[1],
              "in last render (12345 ). Adjust 'Display' params.)");
    EXPECT_EQ(Message(kDisabled, kTooManyItems)[0], "Object is disabled in Display settings");
    EXPECT_EQ(Message(kSuccess, kDisabled)[0], "");
}

TEST(PanelMessage, ManyCollisionsAndEffectErrorsAreTold) {
    TPanelState state;
    state.collisions = true;
    TBuildStatistics s;
    s.createdCount = 1000;
    s.discardedCount = 499;
    EXPECT_EQ(PanelMessage(state, s)[0], "");
    s.discardedCount = 500;
    EXPECT_EQ(PanelMessage(state, s),
              (TPanelMessage{"Most of items are discarded by collisions",
                             "Lower density increasing X/Y Size in Dist.Map"}));
    s.effectsCompileError = true;
    EXPECT_EQ(PanelMessage(state, s)[0], "Error compiling Effects. See editor for details");
    state.status = kNoItems;
    EXPECT_EQ(PanelMessage(state, s)[0], "No items");
}

std::string Value(const std::vector<TPanelLine>& lines, const std::string& label) {
    for (const TPanelLine& line : lines)
        if (line.label == label) return line.value;
    return "?";
}

TEST(StatisticsPanel, FormatsCountsAndBlanksThemWithoutItems) {
    TPanelState state;
    TBuildStatistics s;
    EXPECT_EQ(Value(StatisticsPanel(state, s), "Items"), "");
    EXPECT_EQ(Value(StatisticsPanel(state, s), "Area"), "0 items in area");
    s.itemCount = 1234567;
    s.discardedItems = 7;
    s.buildMs = 250;
    s.itemsPerSecond = 4938268;
    s.memoryMb = 3.14159f;
    s.includeGroups = 2, s.excludeAreas = 1;
    auto lines = StatisticsPanel(state, s);
    EXPECT_EQ(Value(lines, "Items"), "1,234,560");
    EXPECT_EQ(Value(lines, "Time"), "250 ms");
    EXPECT_EQ(Value(lines, "Rate"), "4.9M trees/sec");
    EXPECT_EQ(Value(lines, "Mesh"), "  3.1 Mb,  0.0 mS, (I:2/E:1)");
    EXPECT_EQ(Value(lines, "Collisions"), "");
    state.collisions = true;
    s.createdCount = 1000, s.discardedCount = 333;
    EXPECT_EQ(Value(StatisticsPanel(state, s), "Collisions"), "333 discarded (33%)");
    EXPECT_EQ(Value(StatisticsPanel(state, s), "Created"), "1,000 items created");
    state.status = kEmptyGeometryList;
    EXPECT_EQ(Value(StatisticsPanel(state, s), "Area"), "");
}

TEST(MostRejectedText, NamesTheRuleAndItsShare) {
    TBuildStatistics s;
    EXPECT_EQ(MostRejectedText(s), "");
    s.rejected.altitude = 1234;
    s.rejected.map = 66;
    EXPECT_EQ(MostRejectedText(s),
              "most candidates were dropped by the altitude limits (1234 of 1300)");
    s.itemCount = 5000;
    EXPECT_EQ(MostRejectedText(s),
              "many candidates were dropped by the altitude limits (1234 of 6300)");
    s = {};
    s.rejected.surface = 7;
    EXPECT_EQ(MostRejectedText(s),
              "all candidates were dropped for want of a surface at their place (7 of 7)");
}

TEST(NoCellsText, SaysWhatHelps) {
    TBuildStatistics s;
    EXPECT_EQ(NoCellsText(s), "");
    s.cellsTooFar = true;
    EXPECT_NE(NoCellsText(s).find("cannot be numbered"), std::string::npos);
    s.cellsTooSmall = true;
    EXPECT_NE(NoCellsText(s).find("smaller than 0.0001"), std::string::npos);
}

}  // namespace
