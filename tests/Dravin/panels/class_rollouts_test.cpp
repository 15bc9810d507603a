#include "Dravin/panels/class_rollouts.h"

#include <gmock/gmock.h>

#include <map>

#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/commands/all_commands.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/materials/tint_map.h"
#include "Dravin/shadow/xshadow.h"
#include "host/scene/host_context.h"
#include "host/scene/node.h"
#include "host/scene/physical_material.h"

using testing::ElementsAre;

namespace {

struct ClassRollouts : testing::Test {
    HostContext host;

    ClassRollouts() { RegisterDravinClasses(host.classes); }
    // An object of every class that users may make.
    std::vector<std::shared_ptr<ReferenceTarget>> OneOfEach() {
        std::vector<std::shared_ptr<ReferenceTarget>> all;
        for (SuperClass super :
             {SuperClass::kNode, SuperClass::kGeomObject, SuperClass::kShape, SuperClass::kCamera,
              SuperClass::kLight, SuperClass::kHelper, SuperClass::kParticles,
              SuperClass::kModifier, SuperClass::kMaterial, SuperClass::kTexmap,
              SuperClass::kShadowType})
            for (const ClassDesc* desc : host.classes.OfSuperClass(super))
                if (desc->isPublic) all.push_back(desc->create());
        return all;
    }
};

template <class Use>
void EachGroup(const std::vector<TRollout>& rollouts, const Use& use) {
    for (const TRollout& rollout : rollouts)
        for (const TPanelGroup& group : rollout.groups) use(group);
}

std::vector<std::string> Titles(const std::vector<TRollout>& rollouts) {
    std::vector<std::string> titles;
    for (const TRollout& rollout : rollouts) titles.push_back(rollout.title);
    return titles;
}

}  // namespace

TEST_F(ClassRollouts, EveryParameterWithAControlStandsOnceWhateverTheClass) {
    auto all = OneOfEach();
    EXPECT_GT(all.size(), 25u);
    for (const auto& thing : all) {
        std::map<TParamKey, int> placed;
        EachGroup(RolloutsOf(*thing), [&](const TPanelGroup& group) {
            for (TParamKey key : group.params) ++placed[key];
        });
        for (const ValueTable& table : ValueTablesOf(*thing))
            for (const ParamDef& def : table.Desc().params) {
                if (def.control == ControlKind::kNone) continue;
                EXPECT_EQ(placed[TParamKey(table.Desc(), def.id)], 1)
                    << thing->ClassName() << " " << def.name;
            }
        for (const auto& [key, count] : placed)
            EXPECT_TRUE(ValueTableOf(*thing, *key.table)) << thing->ClassName();
    }
}

TEST_F(ClassRollouts, ButtonsIssueCommandsThatExistOrDoNothing) {
    TCommandTable table = MakeCommandTable();
    std::vector<std::string> idle;
    auto check = [&](const TPanelButton& button) {
        if (button.command.empty()) return idle.push_back(button.label);
        std::string name = button.command.substr(0, button.command.find(' '));
        EXPECT_TRUE(table.Find(name)) << button.command;
    };
    for (const auto& thing : OneOfEach())
        EachGroup(RolloutsOf(*thing), [&](const TPanelGroup& group) {
            for (const TPanelButton& button : group.buttons) check(button);
            for (size_t i = 0; group.list && i < group.list->buttons.size(); ++i)
                check(group.list->buttons[i]);
        });
    EXPECT_THAT(idle, ElementsAre("Pick Sample", "Update"));
}

TEST_F(ClassRollouts, TheShadowTypesControlsCarryTheirTexts) {
    std::vector<TRollout> rollouts = RolloutsOf(*std::make_shared<XShadow>());
    EXPECT_THAT(Titles(rollouts), ElementsAre("Parameters"));
    using namespace xshadowParams;
    auto caption = [&](ParamID id) { return CaptionOf(*XShadowBlock().Find(id)); };
    EXPECT_THAT(XShadowBlock().Find(kTypemap)->entries,
                ElementsAre("Opaque", "From opacity material", "Custom"));
    EXPECT_EQ(caption(kDisablecache), "Disable texture cache");
    EXPECT_EQ(caption(kSelfshadow), "Prevent Self-Shadow");
    EXPECT_EQ(caption(kBias), "Bias");
    EXPECT_EQ(caption(kSize), "Map Size");
    EXPECT_EQ(caption(kSample), "Sample Range");
    EXPECT_EQ(caption(kAbsolute), "Absolute Map Bias");
    EXPECT_EQ(rollouts[0].groups.back().texts[0].text, "XShadow");
}

TEST_F(ClassRollouts, TheLeafModifierCountsNothingAndExtracts) {
    std::vector<TRollout> rollouts = RolloutsOf(*std::make_shared<DLeaf>());
    EXPECT_THAT(Titles(rollouts), ElementsAre("Credits", "Parameters", "Modifier"));
    EXPECT_EQ(rollouts[0].groups[0].texts[0].text, "Dravin Pack");
    const TPanelGroup& sample = rollouts[1].groups.back();
    EXPECT_EQ(sample.title, "Sample");
    EXPECT_EQ(sample.texts[0].text, "Total leaves");
    EXPECT_EQ(sample.texts[0].value, "0");
    EXPECT_EQ(sample.buttons[2].label, "Extract");
    EXPECT_EQ(sample.buttons[2].command, "leaf.extract");
    EXPECT_EQ(CaptionOf(*LeafBlock().Find(leafParams::kMatid)), "Mat ID");
    EXPECT_THAT(LeafBlock().Find(leafParams::kDisplay)->entries,
                ElementsAre("Viewport", "Render", "Manual"));
}

TEST_F(ClassRollouts, MapsAndMaterialsAreTwoRolloutsOrMore) {
    EXPECT_THAT(Titles(RolloutsOf(*std::make_shared<DColor>())),
                ElementsAre("Colors", "Tint", "Coordinates"));
    EXPECT_THAT(Titles(RolloutsOf(*std::make_shared<PhysicalMtl>())),
                ElementsAre("Surface", "Light"));
    EXPECT_THAT(Titles(RolloutsOf(*std::make_shared<MultiMtl>())), ElementsAre("Materials"));
    EXPECT_THAT(Titles(RolloutsOf(*INode::Create("n"))), ElementsAre("Node", "Modifiers"));
}

TEST_F(ClassRollouts, LevelsHaveTheKindsOfTheirLabels) {
    std::vector<TRollout> rollouts = RolloutsOf(*TDLod::Create());
    EXPECT_THAT(Titles(rollouts), ElementsAre("LOD"));
    const TPanelList* list = rollouts[0].groups[0].list;
    ASSERT_TRUE(list);
    EXPECT_THAT(list->columns[1].entries, ElementsAre("Disabled", "Template", "Custom Object"));
}
