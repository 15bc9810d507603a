#include "Dravin/panels/rollouts.h"

#include <gtest/gtest.h>
#include <map>

#include "Dravin/commands/all_commands.h"

namespace {

std::map<TParamKey, int> Placed() {
    std::map<TParamKey, int> count;
    for (const TRollout& rollout : DravinRollouts())
        for (const TPanelGroup& group : rollout.groups)
            for (TParamKey key : group.params) ++count[key];
    return count;
}

std::vector<TPanelButton> AllButtons() {
    std::vector<TPanelButton> buttons;
    for (const TRollout& rollout : DravinRollouts())
        for (const TPanelGroup& group : rollout.groups) {
            buttons.insert(buttons.end(), group.buttons.begin(), group.buttons.end());
            if (group.list)
                buttons.insert(buttons.end(), group.list->buttons.begin(),
                               group.list->buttons.end());
        }
    return buttons;
}

}  // namespace

TEST(Rollouts, ThirteenInTheirOrder) {
    const char* titles[] = {"General",      "Geometry",  "Areas",   "Distribution", "Surfaces",
                            "Items Editor", "Camera",    "Shadows", "Transform",    "Material",
                            "Effects",      "Animation", "Display"};
    ASSERT_EQ(DravinRollouts().size(), std::size(titles));
    for (size_t i = 0; i < std::size(titles); ++i) {
        EXPECT_EQ(DravinRollouts()[i].title, titles[i]);
        EXPECT_EQ(DravinRollouts()[i].startsOpen, std::string(titles[i]) == "Geometry");
    }
}

TEST(Rollouts, EveryParameterWithAControlStandsOnceInItsOwnRollout) {
    std::map<TParamKey, int> placed = Placed();
    for (const ParamBlockDesc2& block : DravinBlocks())
        for (const ParamDef& def : block.params) {
            if (def.control == ControlKind::kNone) continue;
            EXPECT_EQ(placed[TParamKey(DravinBlockId(block.id), def.id)], 1) << def.name;
        }
    for (const auto& [key, count] : placed) EXPECT_EQ(count, 1) << key.Def().name;
    for (const TRollout& rollout : DravinRollouts())
        for (const TPanelGroup& group : rollout.groups)
            for (TParamKey key : group.params)
                EXPECT_EQ(key.table, rollout.table) << key.Def().name;
}

TEST(Rollouts, ButtonsIssueCommandsThatExist) {
    TCommandTable table = MakeCommandTable();
    std::vector<TPanelButton> buttons = AllButtons();
    EXPECT_GT(buttons.size(), 20u);
    for (const TPanelButton& button : buttons) {
        // A button may bring arguments along: "curve.edit curve=spdenscurve".
        size_t blank = button.command.find(' ');
        std::string given = blank == std::string::npos ? "" : button.command.substr(blank);
        const TCommand* command = table.Find(button.command.substr(0, blank));
        ASSERT_TRUE(command) << button.command;
        int wanted = 0;
        bool takesRow = button.rowArgument.empty();
        for (const TArgumentInfo& info : command->arguments) {
            takesRow |= info.name == button.rowArgument;
            bool isGiven = given.find(" " + info.name + "=") != std::string::npos;
            wanted += info.name != button.rowArgument && !isGiven;
        }
        EXPECT_TRUE(takesRow) << button.command;
        // Three dots promise a form, and nothing else opens one.
        bool opensForm = wanted > 0 && button.asks;
        EXPECT_EQ(button.label.ends_with("..."), opensForm) << button.command;
    }
}

TEST(Rollouts, ColumnsAreListsOfTheirBlock) {
    for (const TRollout& rollout : DravinRollouts())
        for (const TPanelGroup& group : rollout.groups)
            for (const TListColumn& column :
                 group.list ? group.list->columns : std::vector<TListColumn>()) {
                EXPECT_TRUE(column.key.Def().list) << column.title;
                EXPECT_EQ(column.key.table, rollout.table) << column.title;
            }
}

TEST(Rollouts, HelpComesFromTheSchema) {
    EXPECT_EQ(HelpOf(TParamKey(distParams::kThreshold).Def()),
              "Threshold\nThreshold level in the distribution map.\nRange: 0 to 100\n"
              "Default: 50\nIn scripts: threshold");
    std::string mode = HelpOf(TParamKey(dispParams::kVmesh).Def());
    EXPECT_NE(mode.find("Default: Adaptative"), std::string::npos) << mode;
    EXPECT_EQ(CaptionOf(TParamKey(genParams::kAutothreads).Def()), "Auto");
    EXPECT_EQ(CaptionOf(TParamKey(genParams::kSeed).Def()), "Seed");
}
