// What each change of parameters and of the scene does to the result that a view shows.
#include "Dravin/build/invalidation.h"

#include "Dravin/dravin_globals.h"
#include "Dravin/geometry/lod_object.h"
#include "tests/Dravin/build/evaluation_fixture.h"

namespace {

using TargetPtr = std::shared_ptr<ReferenceTarget>;

class Invalidation : public EvaluationFixture {
protected:
    // Another value for a parameter of each type.
    ParamValue OtherValue(const ParamDef& def, const ParamValue& now) const {
        switch (def.type) {
            case ParamType::kFloat:
            case ParamType::kWorld:
                return std::get<float>(now) + 1;
            case ParamType::kInt:
            case ParamType::kTime:
                return std::get<int32_t>(now) + 1;
            case ParamType::kBool:
                return int32_t(!std::get<int32_t>(now));
            case ParamType::kString:
            case ParamType::kFilename:
                return std::get<std::string>(now) + "x";
            case ParamType::kPoint3:
                return Point3{1, 2, 3};
            case ParamType::kColor:
                return Color{0.1f, 0.2f, 0.3f};
            case ParamType::kTexmap:
                return TargetPtr(White());
            case ParamType::kMaterial:
                return TargetPtr(std::make_shared<StandardMtl>());
            case ParamType::kNode:
                return TargetPtr(plane);
            case ParamType::kReference:
                return TargetPtr(std::make_shared<TCurveSet>());
        }
        return {};
    }
    static void Change(IParamBlock2& block, const ParamDef& def, const ParamValue& value) {
        if (def.list && block.Count(def.id) == 0)
            block.Append(def.id, value);
        else
            block.SetValue(def.id, 0, value);
    }
    // What the table says of parameters, written anew: those that leave the view as it is.
    static bool LeavesTheView(const ParamBlockDesc2& block, const ParamDef& def) {
        if (block.name == "editionParams") return def.name != "mode";  // which has items of its own
        if (block.name == "effectParams") return def.type == ParamType::kString;
        // No feature reads the camera; what is frozen stays.
        return def.name == "light" || def.name == "geomtex" || def.name == "camera" ||
               def.name == "manualupdate";
    }
    static void SwitchCameraOff(TDravin& of) {
        using namespace camParams;
        for (ParamID id : {kUselookat, kCamlimit, kCamlod, kCamdensact, kCamscaact})
            of.Block(kCamParams).SetValue(id, 0, false);
    }
    std::shared_ptr<INode> AddCamera(const std::string& name) {
        auto camera = INode::Create(name, std::make_shared<CameraObject>());
        camera->SetLocalTM(Matrix3::Translation({0, 0, 50}));
        scene.AddNode(camera);
        return camera;
    }
    static void Move(INode& moved) { moved.SetLocalTM(Matrix3::Translation({0.5f, 0, 0})); }
};

TEST_F(Invalidation, EveryParameterBuildsOnceOrNotAtAllAsTheTableSays) {
    int walked = 0, silent = 0;
    for (const ParamBlockDesc2& desc : DravinBlocks())
        for (const ParamDef& def : desc.params) {
            auto [other, otherNode] = AddScatter("walked");
            SwitchCameraOff(*other);
            otherNode->EvalWorldState(0);
            ASSERT_EQ(other->Build().BuildCounter(), 1) << def.name;
            IParamBlock2& block = other->Block(DravinBlockId(desc.id));
            ParamValue now =
                def.list && block.Count(def.id) == 0 ? def.defaultValue : block.GetValue(def.id);
            Change(block, def, OtherValue(def, now));
            // Going to custom edit mode builds the items that it freezes.
            int before = other->Build().BuildCounter();
            EXPECT_EQ(before, def.name == "mode" ? 2 : 1) << def.name;
            otherNode->EvalWorldState(0);
            int expected = LeavesTheView(desc, def) ? 0 : 1;
            EXPECT_EQ(other->Build().BuildCounter() - before, expected) << def.name;
            otherNode->EvalWorldState(0);
            EXPECT_EQ(other->Build().BuildCounter() - before, expected) << def.name;
            scene.DeleteNode(*otherNode);
            ++walked, silent += expected == 0;
        }
    EXPECT_GT(walked, 300);
    EXPECT_GT(silent, 20);
}

// Parameters of which only meshes and materials are made anew give what a whole build gives.
TEST_F(Invalidation, WhatKeepsTheItemsShowsWhatAWholeBuildShows) {
    int kept = 0;
    for (const ParamBlockDesc2& desc : DravinBlocks())
        for (const ParamDef& def : desc.params) {
            auto [other, otherNode] = AddScatter("kept");
            other->Block(kMatParams).SetValue(matParams::kTintmax, 0, 60);
            IParamBlock2& block = other->Block(DravinBlockId(desc.id));
            otherNode->EvalWorldState(0);
            ParamValue now =
                def.list && block.Count(def.id) == 0 ? def.defaultValue : block.GetValue(def.id);
            Change(block, def, OtherValue(def, now));
            log.clear();
            otherNode->EvalWorldState(0);
            bool distributed = Logged("BuildItemArray");
            const TDravinBuild& build = other->Build();
            bool isKept = !distributed && Logged("BuildMesh keeps the items");
            if (isKept) {
                ++kept;
                std::vector<TDravinItem> items;
                for (size_t i = 0; i < build.Items().Count(); ++i)
                    items.push_back(build.Items().Item(i));
                std::shared_ptr<const Mesh> mesh = build.ObjectMesh().IsBuilt()
                                                       ? other->Build().ObjectMesh().ShareMesh()
                                                       : nullptr;
                Mesh shown = mesh ? *mesh : Mesh{};
                other->Build().BuildMesh(0, {});
                ASSERT_EQ(build.Items().Count(), items.size()) << def.name;
                for (size_t i = 0; i < items.size(); ++i) {
                    TDravinItem whole = build.Items().Item(i);
                    ASSERT_EQ(whole.position, items[i].position) << def.name;
                    ASSERT_EQ(whole.tintBlend, items[i].tintBlend) << def.name;
                    ASSERT_EQ(whole.tintColor, items[i].tintColor) << def.name;
                    ASSERT_EQ(whole.width, items[i].width) << def.name;
                    ASSERT_EQ(whole.specimenIndex, items[i].specimenIndex) << def.name;
                }
                Mesh again = mesh ? *other->Build().ObjectMesh().ShareMesh() : Mesh{};
                EXPECT_EQ(again.verts, shown.verts) << def.name;
            }
            scene.DeleteNode(*otherNode);
        }
    EXPECT_GT(kept, 25);
}

TEST_F(Invalidation, TintsDisplayAndMaterialsRunNoDistribution) {
    Color before = object->Build().Items().Item(0).tintColor;
    Set(kMatParams, matParams::kTintcolor1, Color{0.2f, 0.1f, 0});
    Set(kMatParams, matParams::kTintcolor2, Color{0.2f, 0.1f, 0});
    Set(kMatParams, matParams::kTintmin, 50);
    Set(kMatParams, matParams::kTintmax, 50);
    EXPECT_FALSE(Distributes());
    TDravinItem item = object->Build().Items().Item(0);
    EXPECT_NE(item.tintColor, before);
    EXPECT_EQ(item.tintColor, (Color{0.2f, 0.1f, 0}));
    EXPECT_EQ(item.tintBlend, 0.5f);

    Set(kDispParams, dispParams::kAdaptfaces, 1);
    EXPECT_FALSE(Distributes());
    object->Block(kGeomParams).SetValue(geomParams::kMatlist, 0, std::make_shared<StandardMtl>());
    EXPECT_FALSE(Distributes());
    EXPECT_NE(object->Build().Specimens().Row(0).nodes[0].Material(), nullptr);
    Set(kGenParams, genParams::kSeed, 3);
    EXPECT_TRUE(Distributes());
}

TEST_F(Invalidation, AChangeThatTheViewIgnoresIsSeenByTheNextBuild) {
    auto sun = INode::Create("sun", std::make_shared<LightObject>());
    scene.AddNode(sun);
    Set(kShadowParams, shadowParams::kLight, sun);
    EXPECT_EQ(BuildsOfEvaluation(), 0);
    Set(kDispParams, dispParams::kAdaptfaces, 1);
    EXPECT_TRUE(Distributes());
}

TEST_F(Invalidation, ItemsAreMadeAnewForProxyShapesAndDisplayLimits) {
    Set(kDispParams, dispParams::kVmesh, 1);
    EXPECT_TRUE(Distributes());
    Set(kDispParams, dispParams::kVmaxitems, 50);
    EXPECT_TRUE(Distributes());
}

// --- changes of the scene

TEST_F(Invalidation, NodesThatMove) {
    auto sun = INode::Create("sun", std::make_shared<LightObject>());
    scene.AddNode(sun);
    Set(kShadowParams, shadowParams::kLight, sun);
    Evaluate();
    Move(*sun);
    EXPECT_EQ(BuildsOfEvaluation(), 0) << "a light";
    Move(*box);
    EXPECT_EQ(BuildsOfEvaluation(), 0) << "a source";
    Move(*plane);
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "a surface";
    Move(*node);
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "the object's own node";
    std::shared_ptr<INode> area = AddMesh("area", MakeBox(2, 2, 2, 1));
    AddArea(*object, 1, area, true);
    Evaluate();
    Move(*area);
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "an area";
}

TEST_F(Invalidation, AMovingSourceCountsWhereItsPlaceDoes) {
    ObjectOffset offset;
    offset.scale = {2, 2, 2};
    box->SetObjectOffset(offset);
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "the offset of a source";
    Set(kAnimParams, animParams::kAnimation, 1);
    Evaluate();
    Move(*box);
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "animated sources";
}

TEST_F(Invalidation, MembersOfAGroup) {
    auto head = INode::Create("group", std::make_shared<GroupObject>());
    scene.AddNode(head);
    std::shared_ptr<INode> member = AddMesh("member", MakeBox(1, 1, 1, 1));
    head->AttachChild(member);
    object->Block(kGeomParams).SetValue(geomParams::kCobjlist, 0, head);
    Evaluate();
    head->SetLocalTM(Matrix3::Translation({3, 0, 0}));
    EXPECT_EQ(BuildsOfEvaluation(), 0) << "the whole group moves";
    Move(*member);
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "a member moves";
    static_cast<TriObject*>(member->GetObjectRef())
        ->SetMesh(std::make_shared<Mesh>(MakeBox(2, 2, 2, 1)));
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "a member's mesh";
}

// A source whose place has keys does not make the result a matter of moments.
TEST_F(Invalidation, ASourceThatMovesByKeysIsBuiltOnceWithoutAnimation) {
    auto keys = std::make_shared<TransformController>();
    keys->position.SetTrack({{{0, Point3{}}, {200, Point3{9, 0, 0}}}});
    box->SetTMController(keys);
    Evaluate();
    EXPECT_EQ(object->Build().Validity(), Interval::Forever());
    int before = object->Build().BuildCounter();
    Evaluate(100);
    EXPECT_EQ(object->Build().BuildCounter(), before);
}

TEST_F(Invalidation, AMemberThatMovesByKeysIsBuiltAtEveryTime) {
    auto head = INode::Create("group", std::make_shared<GroupObject>());
    scene.AddNode(head);
    std::shared_ptr<INode> member = AddMesh("member", MakeBox(1, 1, 1, 1));
    head->AttachChild(member);
    object->Block(kGeomParams).SetValue(geomParams::kCobjlist, 0, head);
    auto keys = std::make_shared<TransformController>();
    keys->position.SetTrack({{{0, Point3{}}, {200, Point3{9, 0, 0}}}});
    member->SetTMController(keys);
    Evaluate();
    EXPECT_EQ(object->ObjectValidity(50), Interval::Instant(50));
}

TEST_F(Invalidation, ObjectsThatChange) {
    auto taller = std::make_shared<Mesh>(MakeBox(2, 1, 9, 1));
    static_cast<TriObject*>(box->GetObjectRef())->SetMesh(taller);
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "a source's mesh";
    EXPECT_EQ(object->Build().Items().Item(0).height, 9);
    static_cast<TriObject*>(plane->GetObjectRef())
        ->SetMesh(std::make_shared<Mesh>(MakePlane(10, 10, 1)));
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "a surface's mesh";
    EXPECT_LT(object->Build().Items().Count(), 400u);
    box->SetObjectRef(std::make_shared<TriObject>(taller));
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "another object for a source";
}

TEST_F(Invalidation, NodesThatGo) {
    auto sun = INode::Create("sun", std::make_shared<LightObject>());
    scene.AddNode(sun);
    Set(kShadowParams, shadowParams::kLight, sun);
    Evaluate();
    scene.DeleteNode(*sun);
    EXPECT_EQ(BuildsOfEvaluation(), 0) << "the light";
    scene.DeleteNode(*box);
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "a source";
    scene.DeleteNode(*plane);
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "the surface";
    EXPECT_EQ(object->Build().Status(), TBuildStatus::kNoIncludeAreas);
}

TEST_F(Invalidation, CamerasCountWhereSomeFeatureReadsThem) {
    std::shared_ptr<INode> camera = AddCamera("camera");
    SwitchCameraOff(*object);
    Evaluate();
    Set(kCamParams, camParams::kCamera, camera);
    Move(*camera);
    EXPECT_EQ(BuildsOfEvaluation(), 0);
    Set(kCamParams, camParams::kCamlimit, true);
    EXPECT_EQ(BuildsOfEvaluation(), 1);
    camera->SetLocalTM(Matrix3::Translation({1, 0, 40}));
    EXPECT_EQ(BuildsOfEvaluation(), 1);
    scene.DeleteNode(*camera);
    EXPECT_EQ(BuildsOfEvaluation(), 1);
}

TEST_F(Invalidation, NamesCountForEventsAlone) {
    box->SetName("crate");
    plane->SetName("earth");
    EXPECT_EQ(BuildsOfEvaluation(), 0);
    auto event = INode::Create("event", std::make_shared<DummyObject>());
    scene.AddNode(event);
    object->Block(kDistParams).Append(distParams::kDistpfloweventslist, TargetPtr(event));
    Evaluate();
    event->SetName("Event 2");
    EXPECT_EQ(BuildsOfEvaluation(), 1);
}

TEST_F(Invalidation, ANewNameOfAnAreasNodeRefreshesTheListOfAreas) {
    std::shared_ptr<INode> area = AddMesh("area", MakeBox(2, 2, 2, 1));
    AddArea(*object, 1, area, true);
    Evaluate();
    int refreshed = 0;
    Connection panel = object->panelUpdate.Connect(
        [&](PanelUpdate what) { refreshed += what == PanelUpdate::kAreaList; });
    area->SetName("pond");
    EXPECT_EQ(refreshed, 1);
    EXPECT_EQ(BuildsOfEvaluation(), 0);
}

TEST_F(Invalidation, MapsAndMaterialsThatChange) {
    auto map = std::make_shared<ColorTex>();
    Set(kDistParams, distParams::kDistmap, std::shared_ptr<Texmap>(map));
    Evaluate();
    host.TakeRedraw();
    map->NotifyDependents();
    EXPECT_TRUE(host.TakeRedraw());
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "the distribution map";
    auto material = std::make_shared<StandardMtl>();
    object->Block(kGeomParams).SetValue(geomParams::kMatlist, 0, material);
    Evaluate();
    material->NotifyDependents();
    EXPECT_EQ(BuildsOfEvaluation(), 1) << "a row's material";
    auto texture = std::make_shared<ColorTex>();
    Set(kGenParams, genParams::kGeomtex, std::shared_ptr<Texmap>(texture));
    texture->NotifyDependents();
    EXPECT_EQ(BuildsOfEvaluation(), 0) << "the texture of displays";
}

TEST_F(Invalidation, CurvesBuildAtOnceWhereThereAreViews) {
    TCurveSet& curve = *object->CurveSet(kSlotSurfaceCurves);
    std::vector<CurvePoint> points = curve.Points(0);
    points[0].py = 50;
    int before = object->Build().BuildCounter();
    curve.SetPoints(0, points);
    EXPECT_EQ(object->Build().BuildCounter(), before);
    EXPECT_EQ(BuildsOfEvaluation(), 1);

    Connection view = host.redrawRequested.Connect([] {});
    before = object->Build().BuildCounter();
    points[0].py = 25;
    curve.SetPoints(0, points);
    EXPECT_EQ(object->Build().BuildCounter(), before + 1);
    EXPECT_EQ(BuildsOfEvaluation(), 0);
    auto taller = std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(2, 1, 9, 1)));
    before = object->Build().BuildCounter();
    box->SetObjectRef(taller);
    EXPECT_EQ(object->Build().BuildCounter(), before + 1) << "another object for a source";
    EXPECT_EQ(BuildsOfEvaluation(), 0);
}

TEST_F(Invalidation, UndoBuildsWhenTheViewAsks) {
    Connection view = host.redrawRequested.Connect([] {});
    TCurveSet& curve = *object->CurveSet(kSlotSurfaceCurves);
    host.Undo().Begin();
    std::vector<CurvePoint> points = curve.Points(0);
    points[0].py = 50;
    curve.SetPoints(0, points);
    host.Undo().Accept("Edit curve");
    int before = object->Build().BuildCounter();
    host.Undo().Undo();
    EXPECT_EQ(object->Build().BuildCounter(), before);
    EXPECT_EQ(BuildsOfEvaluation(), 1);
}

TEST_F(Invalidation, FrozenObjectsAreNotBuiltByMessages) {
    Connection view = host.redrawRequested.Connect([] {});
    FreezeAllObjects(true);
    TCurveSet& curve = *object->CurveSet(kSlotSurfaceCurves);
    std::vector<CurvePoint> points = curve.Points(0);
    points[0].py = 50;
    int before = object->Build().BuildCounter();
    curve.SetPoints(0, points);
    EXPECT_EQ(object->Build().BuildCounter(), before);
    EXPECT_EQ(BuildsOfEvaluation(), 0);
}

TEST_F(Invalidation, TheInternalReferenceIsOfNoAccountAndGoesWithAReplacedObject) {
    auto internal = std::make_shared<TCurveSet>();
    object->SetReference(kSlotInternal, internal);
    Evaluate();
    internal->NotifyDependents();
    EXPECT_EQ(BuildsOfEvaluation(), 0);
    box->SetObjectRef(box->ShareObjectRef());
    EXPECT_EQ(object->GetReference(kSlotInternal), internal);
    plane->SetObjectRef(std::make_shared<TriObject>(std::make_shared<Mesh>(MakePlane(9, 9, 1))));
    EXPECT_EQ(object->GetReference(kSlotInternal), nullptr);
}

TEST_F(Invalidation, OtherMessages) {
    struct Listener : ReferenceMaker {
        Reference<ReferenceTarget> slot{this};
        int heard = 0;
        RefResult NotifyRefChanged(const RefChange&, ReferenceTarget*) override {
            return ++heard, RefResult::kSucceed;
        }
    } listener;
    listener.slot = object;
    object->Block(kGenParams).NotifyDependents({RefMessage::kSubAnimStructureChanged});
    EXPECT_EQ(listener.heard, 0) << "stopped";
    EXPECT_EQ(BuildsOfEvaluation(), 0);
    object->Block(kGenParams).NotifyDependents({RefMessage::kEverythingStale});
    EXPECT_EQ(listener.heard, 1);
    EXPECT_EQ(BuildsOfEvaluation(), 1);
}

// A parameter that gets keys is another sub-anim; that it changed is what builds.
TEST_F(Invalidation, KeysOfAParameterBuildOnceAndTheirComingIsHeardByNobodyElse) {
    struct Listener : ReferenceMaker {
        Reference<ReferenceTarget> slot{this};
        std::vector<RefMessage> heard;
        RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget*) override {
            return heard.push_back(change.message), RefResult::kSucceed;
        }
    } ofNode, ofBlock;
    ofNode.slot = node->shared_from_this();
    IParamBlock2& block = object->Block(kDistParams);
    ofBlock.slot = block.shared_from_this();
    block.SetKeys(distParams::kOffsetX, {{0, 1.0f}, {100, 2.0f}});
    EXPECT_EQ(ofBlock.heard,
              (std::vector<RefMessage>{RefMessage::kChange, RefMessage::kSubAnimStructureChanged}));
    EXPECT_EQ(ofNode.heard, std::vector<RefMessage>{RefMessage::kChange});
    EXPECT_EQ(BuildsOfEvaluation(), 1);
}

TEST_F(Invalidation, OtherUnitsBuildAnew) {
    scene.ticksPerFrame = scene.ticksPerFrame + 40;
    EXPECT_EQ(BuildsOfEvaluation(), 1);
    scene.unitScale = 0.5;
    EXPECT_TRUE(object->NeedsBuild(0));
    EXPECT_EQ(BuildsOfEvaluation(), 1);
    scene.timeRange = TimeRange{0, 5};
    EXPECT_EQ(BuildsOfEvaluation(), 0);
}

TEST_F(Invalidation, ADeletedReferenceLeavesItsSlot) {
    std::shared_ptr<ReferenceTarget> curve = object->GetReference(kSlotAreaScaleCurve);
    curve->NotifyDeleted();
    EXPECT_EQ(object->GetReference(kSlotAreaScaleCurve), nullptr);
    EXPECT_EQ(BuildsOfEvaluation(), 1);
}

}  // namespace
