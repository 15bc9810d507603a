#include "Dravin/panels/class_rollouts.h"

#include <gmock/gmock.h>

#include <map>

#include "Dravin/commands/all_commands.h"
#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/shadow/xshadow.h"

using testing::ElementsAre;

namespace {

const TClassPanel& PanelOf(ClassId id) {
    const TClassPanel* panel = FindClassPanel(id);
    EXPECT_TRUE(panel);
    return *panel;
}

}  // namespace

TEST(ClassRollouts, EveryParameterWithAControlStandsOnce) {
    for (const TClassPanel& panel : ClassPanels()) {
        std::map<ParamID, int> placed;
        for (const TClassRollout& rollout : panel.rollouts)
            for (const TClassGroup& group : rollout.groups)
                for (ParamID id : group.params) ++placed[id];
        for (const ParamDef& def : panel.block->params)
            EXPECT_EQ(placed[def.id], def.control == ControlKind::kNone ? 0 : 1) << def.name;
    }
    EXPECT_EQ(FindClassPanel({1, 2}), nullptr);
}

TEST(ClassRollouts, ButtonsIssueCommandsThatExistOrDoNothing) {
    TCommandTable table = MakeCommandTable();
    std::vector<std::string> idle;
    for (const TClassPanel& panel : ClassPanels())
        for (const TClassRollout& rollout : panel.rollouts)
            for (const TClassGroup& group : rollout.groups)
                for (const TPanelButton& button : group.buttons)
                    if (button.command.empty())
                        idle.push_back(button.label);
                    else
                        EXPECT_TRUE(table.Find(button.command)) << button.command;
    EXPECT_THAT(idle, ElementsAre("Pick Sample", "Update"));
}

TEST(ClassRollouts, TheShadowTypesControlsCarryTheirTexts) {
    const TClassPanel& panel = PanelOf(XShadow::kClass.id);
    ASSERT_EQ(panel.rollouts.size(), 1u);
    EXPECT_EQ(panel.rollouts[0].title, "Parameters");
    using namespace xshadowParams;
    auto caption = [&](ParamID id) { return CaptionOf(*panel.block->Find(id)); };
    EXPECT_THAT(panel.block->Find(kTypemap)->entries,
                ElementsAre("Opaque", "From opacity material", "Custom"));
    EXPECT_EQ(caption(kDisablecache), "Disable texture cache");
    EXPECT_EQ(caption(kSelfshadow), "Prevent Self-Shadow");
    EXPECT_EQ(caption(kBias), "Bias");
    EXPECT_EQ(caption(kSize), "Map Size");
    EXPECT_EQ(caption(kSample), "Sample Range");
    EXPECT_EQ(caption(kAbsolute), "Absolute Map Bias");
    EXPECT_EQ(panel.rollouts[0].groups.back().texts[0].text, "XShadow");
}

TEST(ClassRollouts, TheLeafModifierCountsNothingAndExtracts) {
    const TClassPanel& panel = PanelOf(DLeaf::kClass.id);
    EXPECT_EQ(panel.of.name, std::string("Dravin Leaf"));
    ASSERT_EQ(panel.rollouts.size(), 2u);
    EXPECT_EQ(panel.rollouts[0].groups[0].texts[0].text, "Dravin Pack");
    EXPECT_EQ(panel.rollouts[1].title, "Parameters");
    const TClassGroup& sample = panel.rollouts[1].groups.back();
    EXPECT_EQ(sample.title, "Sample");
    EXPECT_EQ(sample.texts[0].text, "Total leaves");
    EXPECT_EQ(sample.texts[0].value, "0");
    EXPECT_EQ(sample.buttons[2].label, "Extract");
    EXPECT_EQ(sample.buttons[2].command, "leaf.extract");
    EXPECT_EQ(CaptionOf(*panel.block->Find(leafParams::kMatid)), "Mat ID");
    EXPECT_THAT(panel.block->Find(leafParams::kDisplay)->entries,
                ElementsAre("Viewport", "Render", "Manual"));
}
