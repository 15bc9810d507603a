// Panels over things that are no scatter objects: every control of every class is changed and
// taken back.
#include <gmock/gmock.h>

#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/panels/class_rollouts.h"
#include "Dravin/panels/look_choices.h"
#include "Dravin/panels/node_picks.h"
#include "Dravin/panels/panel_list.h"
#include "Dravin/panels/panel_stack.h"
#include "Dravin/panels/param_gesture.h"
#include "host/scene/derived_object.h"
#include "host/scene/physical_material.h"
#include "host/scene/texmaps.h"
#include "tests/Dravin/panels/panel_scene.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

struct PanelThings : PanelScene {
    PanelThings() {
        RegisterDravinClasses(host.classes);
        scene.SetTexmap("checks", std::make_shared<CheckerTex>());
        scene.SetMaterial("grey", std::make_shared<StandardMtl>());
        scene.AddNode("eye", std::make_shared<CameraObject>());
        scene.undo.Clear();
    }
    TPanel Of(const std::shared_ptr<ReferenceTarget>& thing) { return {scene, {thing.get()}}; }
    static TParamKey Key(ReferenceTarget& thing, const char* name) {
        std::optional<NamedValue> value = FindValue(thing, name);
        return {value->table.Desc(), value->def->id};
    }
    std::vector<ParamElement> Content(ReferenceTarget& thing, TParamKey key) {
        return TPanel::TableOf(thing, key).GetElements(key.id);
    }
    // Another value than the present one, as the control gives it.
    TPanelResult Change(TPanel& panel, TParamKey key) {
        const ParamDef& def = key.Def();
        TControlValue now = panel.Read(key);
        if (def.type == ParamType::kTexmap) return panel.SetReference(key, "checks");
        if (def.type == ParamType::kMaterial) return panel.SetReference(key, "grey");
        if (def.list) return PickNode(panel, key, *scene.FindNode("eye"));
        if (def.type == ParamType::kNode) return panel.SetReference(key, "eye");
        if (def.type == ParamType::kColor) return panel.SetColor(key, {0.1f, 0.2f, 0.3f});
        if (def.type == ParamType::kString || def.type == ParamType::kFilename)
            return panel.SetText(key, "other.png");
        if (def.type == ParamType::kBool) return panel.SetBool(key, now.number == 0);
        if (!def.entries.empty()) return panel.SetEntry(key, now.number == 0 ? 1 : 0);
        bool isShare = def.hasRange && def.max <= 1;
        if (isShare) return panel.Enter(key, now.number == 0.5 ? "0.75" : "0.5");
        return panel.Enter(key, now.number == 3 ? "2" : "3");
    }
};

}  // namespace

TEST_F(PanelThings, EveryControlOfEveryClassIsOneStepAndTakenBackExactly) {
    int numControls = 0;
    for (SuperClass super : {SuperClass::kNode, SuperClass::kCamera, SuperClass::kLight,
                             SuperClass::kGeomObject, SuperClass::kModifier, SuperClass::kMaterial,
                             SuperClass::kTexmap, SuperClass::kShadowType})
        for (const ClassDesc* desc : host.classes.OfSuperClass(super)) {
            if (!desc->isPublic || desc->info.id == TDravin::kClass.id) continue;
            std::shared_ptr<ReferenceTarget> thing = desc->create();
            TPanel panel = Of(thing);
            for (const TRollout& rollout : RolloutsOf(*thing))
                for (const TPanelGroup& group : rollout.groups)
                    for (TParamKey key : group.params) {
                        SCOPED_TRACE(desc->internalName + " " + key.Def().name);
                        std::vector<ParamElement> before = Content(*thing, key);
                        scene.undo.Clear();
                        TPanelResult result = Change(panel, key);
                        if (key.Def().readOnly) {
                            EXPECT_THAT(result.error, HasSubstr("read-only"));
                            EXPECT_FALSE(panel.Read(key).isEnabled);
                            continue;
                        }
                        ++numControls;
                        EXPECT_EQ(result.error, "");
                        EXPECT_NE(Content(*thing, key), before);
                        ASSERT_EQ(scene.undo.NumUndoSteps(), 1u);
                        ASSERT_TRUE(scene.undo.Undo());
                        EXPECT_EQ(Content(*thing, key), before);
                    }
        }
    EXPECT_GT(numControls, 100);
}

TEST_F(PanelThings, NonsenseInFieldsChangesNothingAndSaysWhy) {
    auto material = std::make_shared<StandardMtl>();
    TPanel panel = Of(material);
    TParamKey opacity = Key(*material, "opacity");
    for (const char* text : {"", "x", "1/0", "2**3", "1e99", "nan", "--", "\xff"}) {
        EXPECT_FALSE(panel.Enter(opacity, text)) << text;
        EXPECT_EQ(material->opacity, 1.0f);
    }
    EXPECT_TRUE(panel.Enter(opacity, "-5"));  // into the range
    EXPECT_EQ(material->opacity, 0.0f);
    TParamKey map = Key(*material, "diffuse_map");
    EXPECT_THAT(panel.SetReference(map, "no such map").error, HasSubstr("no such map"));
    EXPECT_THAT(panel.SetReference(map, "grey").error, HasSubstr("grey"));  // a material
    EXPECT_FALSE(material->diffuseMap);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
}

TEST_F(PanelThings, ADragOfAPropertyIsOneStepAndEscapeRestores) {
    auto light = std::make_shared<LightObject>();
    light->intensity.SetTrack({{{0, 1.0f}, {800, 3.0f}}});
    TParamKey key = Key(*light, "intensity");
    Animated<float> before = light->intensity.Content();
    TParamGesture drag(Of(light), key);
    drag.PreviewOffset(4);
    EXPECT_NE(light->intensity.Content(), before);
    drag.Cancel();
    EXPECT_EQ(light->intensity.Content(), before);
    TParamGesture again(Of(light), key);
    again.Preview(7);
    again.Commit();
    EXPECT_EQ(light->intensity.At(0), 7.0f);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    ASSERT_TRUE(scene.undo.Undo());
    EXPECT_EQ(light->intensity.Content(), before);
}

TEST_F(PanelThings, KeysOfPropertiesAreShownAndSet) {
    auto camera = std::make_shared<CameraObject>();
    TPanel panel = Of(camera);
    TParamKey fov = Key(*camera, "fov");
    EXPECT_FALSE(panel.Read(fov).isKeyed);
    EXPECT_TRUE(panel.SetKey(fov));
    EXPECT_TRUE(panel.Read(fov).isKeyed);
    EXPECT_EQ(camera->fovDegrees.At(0), 45.0f);
    EXPECT_TRUE(panel.Reset(fov));
    EXPECT_FALSE(camera->fovDegrees.IsAnimated());
    EXPECT_FALSE(panel.SetKey(Key(*camera, "env_near")));
}

TEST_F(PanelThings, AStackIsOfNodesThatAreMadeUpAlike) {
    INode* one = scene.AddNode("one", std::make_shared<LightObject>());
    INode* two = scene.AddNode("two", std::make_shared<LightObject>());
    INode* eye = scene.FindNode("eye");
    TPanelStack lights = StackOf({one, eye, two});
    EXPECT_THAT(lights.nodes, ElementsAre(one, two));
    EXPECT_THAT(lights.classes, ElementsAre(LightObject::kClass.id, INode::kClass.id));
    EXPECT_EQ(lights.things[0].size(), 2u);
    // A scatter object goes before whatever else is selected.
    EXPECT_EQ(StackOf({one, scene.FindNode("first")}).nodes[0]->GetName(), "first");
    // Nodes that share an object show it once.
    two->SetObjectRef(one->ShareObjectRef());
    EXPECT_EQ(StackOf({one, two}).things[0].size(), 1u);
    EXPECT_TRUE(StackOf({}).nodes.empty());
}

TEST_F(PanelThings, SlotsTakeNewLooksImagesAndCopiesInOneStepEach) {
    auto material = std::make_shared<StandardMtl>();
    TPanel panel = Of(material);
    TParamKey map = Key(*material, "diffuse_map");
    EXPECT_EQ(LookAt(panel, map), nullptr);
    EXPECT_FALSE(PutCopy(panel, map));
    EXPECT_TRUE(PutNewLook(panel, map, NoiseTex::kClass.id));
    EXPECT_EQ(panel.Read(map).text, "noise");
    EXPECT_TRUE(scene.Texmaps().contains("noise"));
    EXPECT_TRUE(PutCopy(panel, map));
    EXPECT_EQ(panel.Read(map).text, "noise 2");
    EXPECT_TRUE(PutImage(panel, map, "some/where/bark.png"));
    EXPECT_EQ(panel.Read(map).text, "bark.png");
    EXPECT_FALSE(PutNewLook(panel, map, StandardMtl::kClass.id));  // no map
    EXPECT_EQ(scene.undo.NumUndoSteps(), 3u);
    while (scene.undo.NumUndoSteps() > 0) ASSERT_TRUE(scene.undo.Undo());
    EXPECT_FALSE(material->diffuseMap);
    EXPECT_EQ(scene.Texmaps().size(), 1u);
}

TEST_F(PanelThings, EntriesOfTheTintMapAreCells) {
    std::shared_ptr<ReferenceTarget> map =
        host.classes.Find(SuperClass::kTexmap, "DravinColor")->create();
    TPanel panel = Of(map);
    const TPanelList& list = *RolloutsOf(*map)[0].groups[1].list;
    TPanelRows rows(panel, list);
    EXPECT_EQ(rows.Count(), 10);
    EXPECT_EQ(rows.Cell(0, 0), "off");
    EXPECT_TRUE(rows.SetCell(0, 0, "on"));
    EXPECT_TRUE(rows.SetCell(3, 1, "0.25 0.5 1"));
    EXPECT_EQ(rows.Cell(3, 1), "0.25 0.5 1");
    EXPECT_FALSE(rows.SetCell(3, 1, "red"));
    EXPECT_FALSE(rows.SetCell(3, 1, "1 2"));
    EXPECT_TRUE(rows.SetCell(9, 2, "checks"));
    EXPECT_EQ(rows.Cell(9, 2), "checks");
    EXPECT_TRUE(rows.SetCell(9, 3, "50%"));
    EXPECT_EQ(rows.Cell(9, 3), "50");
    EXPECT_FALSE(rows.SetCell(10, 3, "1"));
    EXPECT_EQ(scene.undo.NumUndoSteps(), 4u);
}
