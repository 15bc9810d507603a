// Commands by name, as menus, scripts and the command line call them.
#include <gmock/gmock.h>

#include "Dravin/presets/dravin_presets.h"
#include "Dravin/proxy/instance_nodes.h"
#include "tests/Dravin/commands/command_fixture.h"
#include "tests/temp_folder.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class CommandTable : public CommandFixture {
protected:
    TempFolder folder;

    // Of commands that give whether they did something.
    bool Says(const std::string& name, const TArguments& arguments = {}) {
        TCommandResult result = Run(name, arguments);
        EXPECT_TRUE(bool(result)) << result.error;
        const bool* truth = std::get_if<bool>(&result.value.value);
        return truth && *truth;
    }
    static ParamInput Text(const std::string& text) { return ParamInput(text); }
    void AddEffects() {
        for (const char* name : {"sway", "lean", "fade"})
            ASSERT_TRUE(bool(Run("effect.add", {{"name", Text(name)}})));
        scene.undo.Clear();
    }
    std::vector<std::string> Effects() const {
        const IParamBlock2& block = object->Block(kEffectParams);
        std::vector<std::string> names;
        for (int i = 0; i < block.Count(effectParams::kEfnamelist); ++i)
            names.push_back(block.GetString(effectParams::kEfnamelist, 0, i));
        return names;
    }
    std::vector<std::string> Presets(const std::string& path) const {
        std::vector<std::string> names;
        EXPECT_TRUE(bool(DravinPresetFile(path).List(&names)));
        return names;
    }
};

TEST_F(CommandTable, EffectsAreRenamed) {
    AddEffects();
    ASSERT_TRUE(bool(Run("effect.rename", {{"effect", Text("lean")}, {"name", Text("tilt")}})));
    EXPECT_THAT(Effects(), ElementsAre("sway", "tilt", "fade"));
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    ASSERT_TRUE(bool(Run("scene.undo")));
    EXPECT_THAT(Effects(), ElementsAre("sway", "lean", "fade"));
    ASSERT_TRUE(bool(Run("scene.redo")));
    EXPECT_THAT(Effects(), ElementsAre("sway", "tilt", "fade"));
    EXPECT_THAT(Run("effect.rename", {{"effect", Text("tilt")}}).error, HasSubstr("name"));
    EXPECT_FALSE(bool(Run("effect.rename", {{"effect", Text("lean")}, {"name", Text("x")}})));
}

TEST_F(CommandTable, EffectsMoveDown) {
    AddEffects();
    ASSERT_TRUE(bool(Run("effect.down", {{"effect", Text("sway")}})));
    EXPECT_THAT(Effects(), ElementsAre("lean", "sway", "fade"));
    ASSERT_TRUE(bool(Run("scene.undo")));
    EXPECT_THAT(Effects(), ElementsAre("sway", "lean", "fade"));
    ASSERT_TRUE(bool(Run("scene.redo")));
    EXPECT_THAT(Effects(), ElementsAre("lean", "sway", "fade"));
    size_t steps = scene.undo.NumUndoSteps();
    EXPECT_THAT(Run("effect.down", {{"effect", Text("fade")}}).error, HasSubstr("cannot move"));
    EXPECT_THAT(Effects(), ElementsAre("lean", "sway", "fade"));
    EXPECT_EQ(scene.undo.NumUndoSteps(), steps);
}

TEST_F(CommandTable, PresetsAreDeletedAfterAQuestion) {
    std::string path = folder.File("presets.ini");
    ASSERT_TRUE(bool(SaveDravinPreset(*object, "dense", path)));
    ASSERT_TRUE(bool(SaveDravinPreset(*object, "sparse", path)));
    scene.undo.Clear();
    const TArguments arguments{{"name", Text("dense")}, {"file", Text(path)}};
    EXPECT_FALSE(Says("preset.delete", arguments));  // nobody says yes
    EXPECT_THAT(Presets(path), ElementsAre("dense", "sparse"));
    ui->answers = {Answer::kYes, Answer::kYes};
    EXPECT_TRUE(Says("preset.delete", arguments));
    EXPECT_THAT(Presets(path), ElementsAre("sparse"));
    EXPECT_FALSE(Says("preset.delete", arguments));  // it is gone
    EXPECT_THAT(ui->messages.back().text, HasSubstr("dense"));
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);  // the file is no part of the scene
}

TEST_F(CommandTable, InstancesAreDeletedAfterAQuestion) {
    ASSERT_TRUE(bool(Run("scene.select", {{"nodes", Text("scatter")}})));
    ui->answers = {Answer::kYes};  // old ones would go
    ASSERT_TRUE(Says("tools.instantiate"));
    size_t made = InstanceNodesOf(*object, scene).size(), nodes = scene.Nodes().size();
    ASSERT_GT(made, 0u);
    scene.undo.Clear();
    EXPECT_FALSE(Says("tools.delete_instances"));  // nobody says yes
    EXPECT_EQ(scene.Nodes().size(), nodes);
    ui->answers = {Answer::kYes};
    EXPECT_TRUE(Says("tools.delete_instances"));
    EXPECT_EQ(scene.Nodes().size(), nodes - made);
    EXPECT_THAT(InstanceNodesOf(*object, scene), IsEmpty());
    ASSERT_TRUE(bool(Run("scene.undo")));
    EXPECT_EQ(InstanceNodesOf(*object, scene).size(), made);
    EXPECT_EQ(scene.Nodes().size(), nodes);
    ASSERT_TRUE(bool(Run("scene.redo")));
    EXPECT_THAT(InstanceNodesOf(*object, scene), IsEmpty());
    ASSERT_TRUE(bool(Run("scene.select")));
    EXPECT_FALSE(Says("tools.delete_instances"));
    EXPECT_EQ(ui->messages.back().text, "There are not Dravin objets selected");
}

}  // namespace

TEST_F(CommandTable, AddedObjectsKeepTheMaterialThatTheyHave) {
    auto bark = std::make_shared<StandardMtl>();
    box->SetMtl(bark);
    IParamBlock2& rows = object->Block(kGeomParams);
    ASSERT_TRUE(Run("geometry.add", {{"node", "box"}}));
    EXPECT_EQ(rows.GetMtl(geomParams::kMatlist, 0, rows.Count(geomParams::kMatlist) - 1),
              bark.get());
    DravinGlobals().options.copyMaterialFromObjects = 0;
    ASSERT_TRUE(Run("geometry.add", {{"node", "box"}}));
    EXPECT_EQ(rows.GetMtl(geomParams::kMatlist, 0, rows.Count(geomParams::kMatlist) - 1), nullptr);
    DravinGlobals().options.copyMaterialFromObjects = 1;
}
