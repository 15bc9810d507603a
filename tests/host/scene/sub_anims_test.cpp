// Who hears that other things of a target can be animated than before.
#include <gtest/gtest.h>

#include "host/geom/primitives.h"
#include "host/params/controller.h"
#include "host/scene/derived_object.h"
#include "host/scene/host_context.h"
#include "host/scene/physical_material.h"
#include "host/scene/point_cache.h"
#include "host/scene/scene.h"
#include "host/scene/shadow_map.h"
#include "host/scene/texmaps.h"
#include "tests/host/scene/test_block.h"

namespace {

class SubAnims : public testing::Test {
protected:
    SubAnims() { session.SetCurrentScene(&scene); }

    static int NumStructureMessages(const Listener& listener) {
        int n = 0;
        for (const RefChange& change : listener.changes)
            n += change.message == RefMessage::kSubAnimStructureChanged;
        return n;
    }
    // How often a change, then its undo, then its redo tell of it.
    std::vector<int> Told(const std::shared_ptr<ReferenceTarget>& target,
                          const std::function<void()>& change) {
        Listener listener(target);
        std::vector<int> told;
        auto note = [&] { told.push_back(NumStructureMessages(listener)), listener.changes = {}; };
        size_t steps = scene.undo.NumUndoSteps();
        scene.undo.Begin();
        change();
        scene.undo.Accept("Change");
        note();
        if (scene.undo.NumUndoSteps() == steps) return told;
        scene.undo.Undo();
        note();
        scene.undo.Redo();
        note();
        return told;
    }

    const std::vector<int> kEachOnce{1, 1, 1}, kNever{0, 0, 0}, kNoChange{0};
    HostContext session;
    Scene scene;
};

KeyTrack<float> TwoKeys() { return {{{0, 1.0f}, {100, 2.0f}}}; }

}  // namespace

TEST_F(SubAnims, AControllerThatComesOrGoesIsTold) {
    INode* node = scene.AddNode("a", nullptr);
    auto shared = node->shared_from_this();
    auto place = std::make_shared<TransformController>();
    EXPECT_EQ(Told(shared, [&] { node->SetTMController(place); }), kEachOnce);
    EXPECT_EQ(node->SubAnim(0), place.get());
    // Its values are its own.
    EXPECT_EQ(Told(shared, [&] { place->position = {1, 2, 3}; }), kNever);
    EXPECT_EQ(Told(shared, [&] { node->SetLocalTM(Matrix3::Translation({1, 0, 0})); }), kEachOnce);
    EXPECT_EQ(node->SubAnim(0), nullptr);
    EXPECT_EQ(Told(shared, [&] { node->SetLocalTM(Matrix3::Translation({2, 0, 0})); }), kNever);
    EXPECT_EQ(Told(shared, [&] { node->SetObjectRef(std::make_shared<DummyObject>()); }),
              kEachOnce);
    EXPECT_EQ(Told(shared, [&] { node->SetMtl(std::make_shared<StandardMtl>()); }), kEachOnce);
    EXPECT_EQ(Told(shared, [&] { node->SetName("b"); }), kNever);
}

TEST_F(SubAnims, KeysThatComeOrGoAreTold) {
    auto camera = std::make_shared<CameraObject>();
    EXPECT_EQ(Told(camera, [&] { camera->fovDegrees.SetTrack(TwoKeys()); }), kEachOnce);
    EXPECT_EQ(Told(camera, [&] { camera->fovDegrees.SetTrack({{{0, 3.0f}}}); }), kNever);
    EXPECT_EQ(Told(camera, [&] { camera->fovDegrees = 30; }), kEachOnce);
    EXPECT_EQ(Told(camera, [&] { camera->fovDegrees = 31; }), kNever);
    auto place = std::make_shared<TransformController>();
    EXPECT_EQ(Told(place, [&] { place->scale.SetTrack({{{5, Point3{1, 1, 1}}}}); }), kEachOnce);
}

TEST_F(SubAnims, MapsModifiersAndSubMaterialsAreTold) {
    auto mtl = std::make_shared<PhysicalMtl>();
    auto map = std::make_shared<NoiseTex>();
    EXPECT_EQ(Told(mtl, [&] { mtl->diffuseMap = map; }), kEachOnce);
    EXPECT_EQ(Told(mtl, [&] { mtl->emissionMap = map; }), kEachOnce);
    EXPECT_EQ(Told(mtl, [&] { mtl->emissionMap = map; }), kNoChange);
    auto multi = std::make_shared<MultiMtl>();
    EXPECT_EQ(Told(multi, [&] { multi->SetNumSubMtls(3); }), kEachOnce);
    EXPECT_EQ(Told(multi, [&] { multi->SetSubMtl(2, mtl); }), kEachOnce);
    auto derived = std::make_shared<DerivedObject>();
    EXPECT_EQ(Told(derived, [&] { derived->SetBase(std::make_shared<DummyObject>()); }), kEachOnce);
    EXPECT_EQ(
        Told(derived, [&] { derived->InsertModifier(0, std::make_shared<PointCacheModifier>()); }),
        kEachOnce);
    auto light = std::make_shared<LightObject>();
    EXPECT_EQ(Told(light, [&] { light->shadowType = std::make_shared<ShadowMapType>(); }),
              kEachOnce);
    // Nodes are referred to, and none of a light's own.
    INode* tree = scene.AddNode("tree", nullptr);
    auto shared = std::static_pointer_cast<INode>(tree->shared_from_this());
    EXPECT_EQ(Told(light, [&] { light->SetShadowNodes({shared}); }), kNever);
    EXPECT_EQ(Told(light, [&] { light->target = shared; }), kNever);
}

TEST_F(SubAnims, ParametersTellWhichOfThemHaveKeys) {
    using namespace testBlock;
    auto block = IParamBlock2::Create(TestDesc());
    ASSERT_EQ(block->NumSubs(), 3);
    EXPECT_EQ(block->SubAnimName(0), "size");
    EXPECT_EQ(block->SubAnimName(2), "tint");
    EXPECT_EQ(block->SubAnimName(3), "");
    EXPECT_EQ(block->SubAnimName(-1), "");
    Listener listener(block);
    block->SetKeys(kSize, {{0, 1.0f}, {100, 2.0f}});
    ASSERT_EQ(listener.changes.size(), 2u);
    EXPECT_EQ(listener.changes[0].message, RefMessage::kChange);
    EXPECT_EQ(listener.changes[1].message, RefMessage::kSubAnimStructureChanged);
    EXPECT_EQ(listener.changes[1].paramId, kSize);
    EXPECT_EQ(listener.changes[1].tabIndex, 0);
    // Keys that move, values, and lists of what cannot be animated.
    EXPECT_EQ(Told(block, [&] { block->SetValue(kSize, 0, 5.0f); }), kNever);
    EXPECT_EQ(Told(block, [&] { block->SetValue(kCount, 0, 7); }), kNever);
    EXPECT_EQ(Told(block, [&] { block->Append(kWeights, 3.0f); }), kNever);
    EXPECT_EQ(Told(block, [&] { block->SetKeys(kSize, {}); }), kEachOnce);
    // Nobody hears of blocks that are silent.
    NotifySuspender quiet(*block);
    EXPECT_EQ(Told(block, [&] { block->SetKeys(kSize, {{0, 1.0f}}); }), kNever);
}

TEST_F(SubAnims, ListsOfAnimatableParametersTellTheirLength) {
    static const ParamBlockDesc2 desc{
        0, "b", "B", 0, true, {ParamDef(1, "heights", ParamType::kFloat).List().Animatable()}};
    auto block = IParamBlock2::Create(desc);
    EXPECT_EQ(block->NumSubs(), 0);
    EXPECT_EQ(Told(block, [&] { block->SetCount(1, 2); }), kEachOnce);
    EXPECT_EQ(block->NumSubs(), 2);
    EXPECT_EQ(Told(block, [&] { block->SetKeys(1, {{0, 1.0f}}, 1); }), kEachOnce);
    // A row that goes takes its keys along.
    EXPECT_EQ(Told(block, [&] { block->Delete(1, 1); }), kEachOnce);
    EXPECT_EQ(Told(block, [&] { block->ResetAll(); }), kEachOnce);
    EXPECT_EQ(Told(block, [&] { block->ResetAll(); }), kNoChange);
}

// Derived objects keep what they made; whoever hears must find what holds now.
TEST_F(SubAnims, WhoHearsFindsTheNewResult) {
    class Looks : public ReferenceMaker {
    public:
        explicit Looks(std::shared_ptr<DerivedObject> object) { slot = std::move(object); }
        RefResult NotifyRefChanged(const RefChange&, ReferenceTarget*) override {
            seen.push_back(slot->Evaluated(0, nullptr)->IsGeomObject());
            return RefResult::kSucceed;
        }
        Reference<DerivedObject> slot{this};
        std::vector<bool> seen;
    };
    auto derived = std::make_shared<DerivedObject>();
    derived->SetBase(std::make_shared<DummyObject>());
    Looks looks(derived);
    EXPECT_FALSE(derived->Evaluated(0, nullptr)->IsGeomObject());
    derived->SetBase(std::make_shared<TriObject>());
    EXPECT_EQ(looks.seen, (std::vector<bool>{true, true}));
}

// --- other units

TEST_F(SubAnims, OtherUnitsMakeResultsStale) {
    auto object = std::make_shared<ShapeObject>();
    INode* node = scene.AddNode("a", object);
    Listener listener(node->shared_from_this());
    auto numStale = [&] {
        int n = 0;
        for (const RefChange& change : listener.changes)
            n += change.message == RefMessage::kEverythingStale;
        listener.changes.clear();
        return n;
    };
    scene.undo.Begin();
    scene.unitScale = 0.01;
    scene.undo.Accept("Units");
    EXPECT_EQ(numStale(), 1);
    scene.unitScale = 0.01;
    scene.render.Edit([](SceneRenderSettings& r) { r.width = 7; });
    scene.timeRange = TimeRange{1, 2};
    EXPECT_EQ(numStale(), 0);
    EXPECT_TRUE(scene.undo.Undo());
    EXPECT_EQ(scene.unitScale, 1.0);
    EXPECT_EQ(numStale(), 1);
    scene.ticksPerFrame = 200;
    EXPECT_EQ(numStale(), 1);
}

// A group's head is told of its members; parameters are told of before the object that has them.
TEST_F(SubAnims, StaleResultsAreToldThroughGroupsAndDerivedObjects) {
    INode* head = scene.AddNode("head", std::make_shared<GroupObject>());
    auto derived = std::make_shared<DerivedObject>();
    auto light = std::make_shared<LightObject>();
    derived->SetBase(light);
    INode* member = scene.AddNode("member", derived, head);
    ASSERT_TRUE(member->IsGroupMember());
    Listener ofHead(head->shared_from_this()), ofBase(light);
    scene.ticksPerFrame = 200;
    EXPECT_EQ(ofBase.changes.size(), 1u);
    bool heard = false;
    for (const RefChange& change : ofHead.changes)
        heard |= change.message == RefMessage::kEverythingStale;
    EXPECT_TRUE(heard);
}
