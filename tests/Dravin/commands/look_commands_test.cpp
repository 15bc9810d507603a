// Materials, maps and modifiers by command.
#include <gmock/gmock.h>

#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/commands/all_commands.h"
#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/materials/scene_looks.h"
#include "host/scene/class_values.h"
#include "host/scene/derived_object.h"
#include "host/scene/host_context.h"
#include "host/scene/physical_material.h"
#include "host/scene/scene.h"
#include "host/scene/shadow_map.h"
#include "host/scene/texmaps.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

struct LookCommands : testing::Test {
    HostContext host;
    Scene scene;
    const TCommandTable table = MakeCommandTable();
    INode* stone = nullptr;

    LookCommands() {
        RegisterDravinClasses(host.classes);
        host.SetCurrentScene(&scene);
        stone = scene.AddNode("stone", std::make_shared<TriObject>());
        scene.AddNode("leaf", std::make_shared<ShapeObject>());
        scene.AddNode("sun", std::make_shared<LightObject>());
        scene.undo.Clear();
    }
    ~LookCommands() override { host.SetCurrentScene(nullptr); }

    TCommandResult Run(const std::string& name, const TArguments& arguments = {},
                       const std::string& node = {}) {
        return table.Run(name, scene, node, arguments);
    }
    std::string Text(const TCommandResult& result) {
        auto* text = std::get_if<std::string>(&result.value.value);
        return result && text ? *text : "error: " + result.error;
    }
    std::vector<std::string> Names(const char* command) {
        std::vector<std::string> names;
        TCommandResult result = Run(command);
        for (const ParamInput& name : std::get<ParamInput::Array>(result.value.value))
            names.push_back(std::get<std::string>(name.value));
        return names;
    }
    StandardMtl& Material(const std::string& name) {
        return dynamic_cast<StandardMtl&>(*scene.Materials().at(name));
    }
    Object* Shown(const char* node) { return scene.FindNode(node)->GetObjectRef(); }
};

}  // namespace

TEST_F(LookCommands, AMaterialIsMadeSetAssignedAndTakenBack) {
    EXPECT_EQ(Text(Run("material.new", {{"name", "bark"}})), "bark");
    EXPECT_EQ(Text(Run("material.new", {{"name", "bark"}, {"class", "physical"}})), "bark 2");
    EXPECT_TRUE(Run("material.set", {{"material", "bark"}, {"name", "opacity"}, {"value", 0.25}}));
    EXPECT_EQ(Material("bark").opacity, 0.25f);
    TCommandResult clamped =
        Run("material.set", {{"material", "bark"}, {"name", "opacity"}, {"value", 7}});
    EXPECT_EQ(Material("bark").opacity, 1.0f);
    EXPECT_EQ(clamped.warnings.size(), 1u);
    ParamInput nodes{ParamInput::Array{ParamInput("stone")}};
    EXPECT_TRUE(Run("material.assign", {{"material", "bark"}, {"nodes", nodes}}));
    EXPECT_EQ(stone->GetMtl(), &Material("bark"));
    EXPECT_TRUE(Run("material.select", {{"material", "bark"}}));
    EXPECT_THAT(scene.Selection(), ElementsAre(stone));
    EXPECT_TRUE(Run("material.assign"));  // none, from what is selected
    EXPECT_EQ(stone->GetMtl(), nullptr);
    while (scene.undo.NumUndoSteps() > 0) ASSERT_TRUE(scene.undo.Undo());
    EXPECT_TRUE(scene.Materials().empty());
}

TEST_F(LookCommands, ErrorsNameWhatIsThere) {
    Run("material.new", {{"name", "bark"}});
    EXPECT_THAT(Run("material.delete", {{"material", "barc"}}).error, HasSubstr("\"bark\""));
    EXPECT_THAT(Run("material.new", {{"class", "standart"}}).error, HasSubstr("\"standard\""));
    EXPECT_THAT(Run("map.new", {{"class", "standard"}}).error, HasSubstr("checker"));
    EXPECT_THAT(Run("material.set", {{"material", "bark"}, {"name", "opacty"}, {"value", 1}}).error,
                HasSubstr("did you mean \"opacity\""));
    EXPECT_THAT(Run("material.rename", {{"material", "bark"}, {"name", ""}}).error,
                HasSubstr("not empty"));
    Run("material.new", {{"name", "moss"}});
    EXPECT_THAT(Run("material.rename", {{"material", "moss"}, {"name", "bark"}}).error,
                HasSubstr("another one is named \"bark\""));
    EXPECT_THAT(Run("material.assign", {{"material", "moss"}}).error, HasSubstr("no node"));
    EXPECT_THAT(Run("map.load", {{"file", "/no/such.png"}}).error, HasSubstr("such.png"));
    EXPECT_TRUE(scene.Texmaps().empty());
    EXPECT_EQ(scene.undo.NumUndoSteps(), 2u);
}

TEST_F(LookCommands, WhatAMaterialShowsGoesWithItAndComesBack) {
    Run("material.new", {{"name", "bark"}});
    Run("map.new", {{"class", "noise"}, {"name", "grain"}});
    Run("material.set", {{"material", "bark"}, {"name", "diffuse_map"}, {"value", "grain"}});
    Run("material.assign",
        {{"material", "bark"}, {"nodes", ParamInput(ParamInput::Array{ParamInput("stone")})}});
    EXPECT_TRUE(Run("map.delete", {{"map", "grain"}}));
    EXPECT_FALSE(Material("bark").diffuseMap);
    EXPECT_TRUE(Run("material.delete", {{"material", "bark"}}));
    EXPECT_EQ(stone->GetMtl(), nullptr);
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(stone->GetMtl(), &Material("bark"));
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(Material("bark").diffuseMap.Get(), scene.Texmaps().at("grain").get());
}

TEST_F(LookCommands, MapsBelowMaterialsAndMaterialsOfModelsHavePaths) {
    auto model = std::make_shared<StandardMtl>();
    model->name = "from file";
    model->diffuseMap = std::make_shared<CheckerTex>();
    stone->SetMtl(model);
    auto multi = std::make_shared<MultiMtl>();
    multi->Append(std::make_shared<StandardMtl>());
    scene.SetMaterial("multi", multi);
    EXPECT_THAT(Names("material.list"), ElementsAre("multi", "multi/materials.0", "from file"));
    EXPECT_THAT(Names("map.list"), ElementsAre("from file/diffuse_map"));
    EXPECT_TRUE(
        Run("map.set", {{"map", "from file/diffuse_map"}, {"name", "tiling_u"}, {"value", 4}}));
    EXPECT_EQ(model->diffuseMap->tiling->x, 4);
    EXPECT_TRUE(Run("material.rename", {{"material", "from file"}, {"name", "stony"}}));
    EXPECT_EQ(scene.Materials().at("stony"), model);
}

TEST_F(LookCommands, OnlyWhatNoNodeShowsIsUnused) {
    Run("material.new", {{"name", "bark"}});
    Run("material.new", {{"name", "moss"}});
    Run("map.new", {{"class", "noise"}, {"name", "grain"}});
    Run("material.set", {{"material", "moss"}, {"name", "diffuse_map"}, {"value", "grain"}});
    stone->SetMtl(scene.Materials().at("moss"));
    EXPECT_TRUE(Run("material.delete_unused"));
    EXPECT_TRUE(Run("map.delete_unused"));
    EXPECT_THAT(Names("material.list"), ElementsAre("moss"));
    EXPECT_THAT(Names("map.list"), ElementsAre("grain"));
}

TEST_F(LookCommands, ACopyIsAnotherMaterialWithTheSameMaps) {
    Run("material.new", {{"name", "bark"}});
    Material("bark").opacity = 0.5f;
    Material("bark").diffuseMap = std::make_shared<CheckerTex>();
    EXPECT_EQ(Text(Run("material.duplicate", {{"material", "bark"}})), "bark 2");
    EXPECT_EQ(Material("bark 2").opacity, 0.5f);
    EXPECT_EQ(Material("bark 2").diffuseMap.Get(), Material("bark").diffuseMap.Get());
    Material("bark 2").opacity = 0.75f;
    EXPECT_EQ(Material("bark").opacity, 0.5f);
}

TEST_F(LookCommands, EntriesOfAMultiMaterialComeAndGo) {
    Run("material.new", {{"name", "plain"}});
    Run("material.new", {{"name", "many"}, {"class", "multi"}});
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(Run("material.add_sub", {{"material", "many"}}));
    EXPECT_TRUE(Run("material.set",
                    {{"material", "many"}, {"name", "materials"}, {"row", 2}, {"value", "plain"}}));
    EXPECT_TRUE(Run("material.delete_sub", {{"material", "many"}, {"row", 0}}));
    auto& many = dynamic_cast<MultiMtl&>(*scene.Materials().at("many"));
    EXPECT_EQ(many.NumSubMtls(), 2);
    EXPECT_EQ(many.GetSubMtl(1), &Material("plain"));
    EXPECT_FALSE(Run("material.delete_sub", {{"material", "many"}, {"row", 2}}));
    EXPECT_FALSE(Run("material.add_sub", {{"material", "plain"}}));
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(many.NumSubMtls(), 3);
    EXPECT_EQ(many.GetSubMtl(2), &Material("plain"));
}

TEST_F(LookCommands, ModifiersComeGoAndChangePlaces) {
    EXPECT_THAT(Run("modifier.add", {{"class", "DravinLeaf"}}, "stone").error,
                HasSubstr("nothing that Dravin Leaf could change"));
    EXPECT_THAT(Run("modifier.add", {{"class", "leaf"}}, "leaf").error, HasSubstr("DravinLeaf"));
    EXPECT_TRUE(Run("modifier.add", {{"class", "DravinLeaf"}}, "leaf"));
    EXPECT_TRUE(Run("modifier.add", {{"class", "DravinLeaf"}}, "leaf"));
    auto* stack = dynamic_cast<DerivedObject*>(Shown("leaf"));
    ASSERT_TRUE(stack);
    Modifier* lower = stack->GetModifier(0);
    EXPECT_TRUE(Run("modifier.down", {{"row", 0}}, "leaf"));
    EXPECT_EQ(stack->GetModifier(1), lower);
    EXPECT_TRUE(Run("modifier.down", {{"row", 1}}, "leaf"));  // the last one stays
    EXPECT_TRUE(Run("node.set", {{"name", "angle"}, {"value", 12}}, "leaf"));
    EXPECT_EQ(dynamic_cast<DLeaf*>(lower)->Block().GetFloat(leafParams::kAngle), 12.0f);
    EXPECT_TRUE(Run("modifier.delete", {{"row", 0}}, "leaf"));
    EXPECT_TRUE(Run("modifier.delete", {{"row", 0}}, "leaf"));
    EXPECT_TRUE(dynamic_cast<ShapeObject*>(Shown("leaf")));
    EXPECT_FALSE(Run("modifier.delete", {{"row", 0}}, "leaf"));
    while (scene.undo.NumUndoSteps() > 0) ASSERT_TRUE(scene.undo.Undo());
    EXPECT_TRUE(dynamic_cast<ShapeObject*>(Shown("leaf")));
}

TEST_F(LookCommands, PartsOfANodeAreSetByName) {
    EXPECT_TRUE(Run("node.set", {{"name", "intensity"}, {"value", 3}}, "sun"));
    auto* light = dynamic_cast<LightObject*>(Shown("sun"));
    EXPECT_EQ(light->intensity.At(0), 3.0f);
    EXPECT_TRUE(Run("light.shadow_type", {{"class", "shadow_map"}}, "sun"));
    EXPECT_TRUE(Run("node.set", {{"name", "size"}, {"value", 256}, {"of", "Shadow Map"}}, "sun"));
    EXPECT_EQ(dynamic_cast<ShadowMapType*>(light->shadowType.Get())->MapSize(0), 256);
    EXPECT_THAT(Run("node.set", {{"name", "size"}, {"value", 1}, {"of", "Lamp"}}, "sun").error,
                HasSubstr("Shadow Map"));
    EXPECT_TRUE(Run("node.reset", {{"name", "intensity"}}, "sun"));
    EXPECT_EQ(light->intensity.At(0), 1.0f);
    EXPECT_TRUE(Run("light.shadow_type", {}, "sun"));
    EXPECT_FALSE(light->shadowType);
    EXPECT_FALSE(Run("light.shadow_type", {}, "stone"));
    EXPECT_THAT(Run("node.set", {{"name", "faces"}, {"value", 3}}, "stone").error,
                HasSubstr("read-only"));
}

TEST_F(LookCommands, LevelsStepUpAndDown) {
    EXPECT_TRUE(Run("lod.create"));
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(Run("lod.new", {}, "LOD"));
    EXPECT_TRUE(Run("node.set", {{"name", "namelist"}, {"row", 2}, {"value", "far"}}, "LOD"));
    TCommandResult moved = Run("lod.up", {{"row", 2}}, "LOD");
    EXPECT_EQ(std::get<int64_t>(moved.value.value), 1);
    std::optional<NamedValue> names = FindValue(*Shown("LOD"), "namelist");
    EXPECT_EQ(std::get<std::string>(names->table.Get(names->def->id, 0, 1)), "far");
    EXPECT_EQ(std::get<int64_t>(Run("lod.up", {{"row", 0}}, "LOD").value.value), 0);
    EXPECT_FALSE(Run("lod.down", {{"row", 3}}, "LOD"));
}

TEST_F(LookCommands, ThePrintChangesWithWhateverIsBelow) {
    Run("material.new", {{"name", "bark"}});
    std::shared_ptr<Mtl> bark = scene.Materials().at("bark");
    uint64_t before = LookPrint(*bark, 0);
    EXPECT_EQ(LookPrint(*bark, 0), before);
    auto map = std::make_shared<CheckerTex>();
    Material("bark").diffuseMap = map;
    uint64_t mapped = LookPrint(*bark, 0);
    EXPECT_NE(mapped, before);
    map->color1 = Color{1, 0, 0};
    EXPECT_NE(LookPrint(*bark, 0), mapped);
}
