// Keys, animated places and properties, objects with modifiers: values at times, and how long they
// hold.
#include <gmock/gmock.h>

#include "host/geom/primitives.h"
#include "host/scene/derived_object.h"
#include "host/scene/scene.h"

namespace {

KeyTrack<float> Ramp() { return {{{100, 1.0f}, {200, 3.0f}, {300, 3.0f}}}; }

// The value and its validity at t.
struct Held {
    float value;
    Interval valid;
    friend bool operator==(const Held&, const Held&) = default;
};
Held At(const KeyTrack<float>& track, TimeValue t) {
    Held held{0, Interval::Forever()};
    held.value = track.Eval(t, &held.valid);
    return held;
}

}  // namespace

TEST(KeyTrack, RunsLinearlyAndHoldsOutside) {
    KeyTrack<float> track = Ramp();
    EXPECT_EQ(At(track, -5), (Held{1, {kTimeNegInfinity, 100}}));
    EXPECT_EQ(At(track, 150), (Held{2, {150, 150}}));
    EXPECT_EQ(At(track, 250), (Held{3, {200, 300}}));
    EXPECT_EQ(At(track, 999), (Held{3, {300, kTimePosInfinity}}));
}

TEST(KeyTrack, StepsHoldUntilTheNextKey) {
    KeyTrack<float> track = Ramp();
    track.interpolation = KeyInterpolation::kStep;
    EXPECT_EQ(At(track, 199), (Held{1, {100, 199}}));
    EXPECT_EQ(At(track, 200), (Held{3, {200, 299}}));
}

TEST(KeyTrack, CyclesRepeatTheRunWithoutItsEnd) {
    KeyTrack<float> track{{{0, 0.0f}, {100, 10.0f}}};
    track.after = track.before = KeysBeyond::kCycle;
    EXPECT_EQ(At(track, 130), (Held{3, {130, 130}}));
    EXPECT_EQ(At(track, 100), (Held{0, {100, 100}}));
    EXPECT_EQ(At(track, -10), (Held{9, {-10, -10}}));
    EXPECT_EQ(At(track, 1000000030).value, 3);
    track.keys[1].value = 0.0f;
    EXPECT_EQ(At(track, 50), (Held{0, {0, 99}}));
}

// A cubic with control values 0, 0 + 6, 2 - 1, 2: at u = 1/2 it is (0 + 3 * 6 + 3 * 1 + 2) / 8.
TEST(KeyTrack, BezierHandlesAreRelativeToTheirKeys) {
    KeyTrack<float> track{{{0, 0.0f, 0.0f, 6.0f}, {100, 2.0f, -1.0f, 0.0f}}};
    track.interpolation = KeyInterpolation::kBezier;
    EXPECT_FLOAT_EQ(track.Eval(50, nullptr), 23.0f / 8);
    EXPECT_EQ(track.Eval(0, nullptr), 0);
    EXPECT_EQ(track.Eval(100, nullptr), 2);
}

TEST(KeyTrack, KeysAreSetInOrderAndReplaced) {
    KeyTrack<float> track;
    for (TimeValue t : {50, 10, 90, 50}) track.SetKey(t, float(t + int(track.keys.size())));
    EXPECT_THAT(track.keys, testing::ElementsAre(TrackKey<float>(10, 11), TrackKey<float>(50, 53),
                                                 TrackKey<float>(90, 92)));
}

TEST(KeyTrack, RotationsTakeTheShorterArcAtEvenSpeed) {
    Quat none, quarter{0, 0, std::sqrt(0.5f), std::sqrt(0.5f)};
    Quat third = Slerp(none, quarter, 1.0f / 3);
    EXPECT_NEAR(2 * std::acos(third.w) * 180 / 3.14159265f, 30, 1e-3);
    Quat negative{0, 0, -quarter.z, -quarter.w};  // the same rotation
    Quat same = Slerp(none, negative, 1.0f / 3);
    EXPECT_NEAR(std::fabs(same.w), third.w, 1e-6);
    EXPECT_EQ(Slerp(quarter, quarter, 0.5f), quarter.Normalized());
}

TEST(AnimatedNode, StandsWhereItsKeysSay) {
    Scene scene;
    INode* parent = scene.AddNode("parent", nullptr);
    INode* child = scene.AddNode("child", std::make_shared<DummyObject>(), parent);
    auto place = std::make_shared<TransformController>();
    place->position.SetTrack({{{0, Point3{0, 0, 0}}, {100, Point3{10, 0, 0}}}});
    place->eulerDegrees.SetTrack({{{0, Point3{}}, {100, Point3{0, 0, 360}}}});
    parent->SetTMController(place);
    child->SetLocalTM(Matrix3::Translation({1, 0, 0}));
    // Half of a whole turn, as angles say it.
    Point3 half = child->GetNodeTM(50).GetTrans();
    EXPECT_NEAR(half.x, 4, 1e-5);
    EXPECT_NEAR(half.y, 0, 1e-5);
    EXPECT_EQ(child->EvalWorldState(50).valid, Interval::Instant(50));
    EXPECT_EQ(child->EvalWorldState(400).valid, (Interval{100, kTimePosInfinity}));
    EXPECT_EQ(scene.AddNode("still", std::make_shared<DummyObject>())->EvalWorldState(3).valid,
              Interval::Forever());
}

TEST(AnimatedNode, MovingItMovesItsKeysOrSetsOne) {
    auto node = INode::Create("node");
    auto place = std::make_shared<TransformController>();
    place->position.SetTrack({{{0, Point3{0, 0, 0}}, {100, Point3{10, 0, 0}}}});
    node->SetTMController(place);
    node->SetNodeTM(50, Matrix3::Translation({5, 2, 0}));
    EXPECT_EQ(node->GetNodeTM(0).GetTrans(), (Point3{0, 2, 0}));
    EXPECT_EQ(node->GetNodeTM(100).GetTrans(), (Point3{10, 2, 0}));
    CurrentEdits().animating = true;
    node->SetNodeTM(50, Matrix3::Translation({5, 9, 0}));
    CurrentEdits().animating = false;
    EXPECT_EQ(node->GetNodeTM(50).GetTrans(), (Point3{5, 9, 0}));
    EXPECT_EQ(node->GetNodeTM(0).GetTrans(), (Point3{0, 2, 0}));
}

TEST(AnimatedNode, HidesAndShowsByKeys) {
    auto node = INode::Create("node");
    node->hidden.SetTrack({{{0, false}, {100, true}}, KeyInterpolation::kStep});
    EXPECT_FALSE(node->IsHidden(99));
    EXPECT_TRUE(node->IsHidden(100));
}

TEST(AnimatedCamera, HoldsAsLongAsItsAngle) {
    CameraObject camera;
    EXPECT_EQ(camera.ObjectValidity(0), Interval::Forever());
    camera.fovDegrees.SetTrack({{{0, 40.0f}, {100, 60.0f}}});
    EXPECT_EQ(camera.fovDegrees.At(25), 45);
    EXPECT_EQ(camera.ObjectValidity(25), Interval::Instant(25));
    EXPECT_EQ(camera.ObjectValidity(-25), (Interval{kTimeNegInfinity, 0}));
}

// --- modifiers

namespace {

// Lifts all vertices by what its keys say.
class Lift : public Modifier {
public:
    AnimatedProperty<float> height{this, 0};
    mutable int calls = 0;

    bool Takes(const Object& input) const override { return input.IsGeomObject(); }
    std::shared_ptr<Object> Modify(const std::shared_ptr<Object>& input, TimeValue t,
                                   Interval* valid) const override {
        ++calls;
        auto mesh = std::make_shared<Mesh>(*input->GetRenderMesh(t));
        for (Point3& p : mesh->verts) p.z += height.At(t, valid);
        return std::make_shared<TriObject>(mesh);
    }
};

struct Lifted {
    std::shared_ptr<TriObject> box =
        std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(1, 1, 1, 1)));
    std::shared_ptr<DerivedObject> object = std::make_shared<DerivedObject>();
    std::shared_ptr<Lift> lift = std::make_shared<Lift>();
    std::shared_ptr<INode> node = INode::Create("node");

    Lifted() {
        object->SetBase(box);
        object->InsertModifier(0, lift);
        node->SetObjectRef(object);
    }
    float Bottom(TimeValue t) const {
        return node->EvalWorldState(t).object->GetRenderMesh(t)->BoundingBox().min.z;
    }
};

}  // namespace

TEST(DerivedObject, ShowsWhatItsModifiersMake) {
    Lifted lifted;
    float before = lifted.box->GetMesh()->BoundingBox().min.z;
    lifted.lift->height = 5;
    EXPECT_EQ(lifted.Bottom(0), before + 5);
    EXPECT_EQ(lifted.box->GetMesh()->BoundingBox().min.z, before);
    lifted.lift->enabled = false;
    EXPECT_EQ(lifted.Bottom(0), before);
    EXPECT_TRUE(lifted.object->IsGeomObject());
    EXPECT_FALSE(lifted.object->IsShape());
}

TEST(DerivedObject, IsMadeAnewOnlyWhenSomethingChanged) {
    Lifted lifted;
    for (TimeValue t : {0, 50, 100, 0}) lifted.Bottom(t);
    EXPECT_EQ(lifted.lift->calls, 1);
    lifted.lift->height.SetTrack({{{0, 0.0f}, {100, 1.0f}}});
    for (TimeValue t : {-5, -9, 50, 50, 100, 120}) lifted.Bottom(t);
    EXPECT_EQ(lifted.lift->calls, 4);
    lifted.box->SetMesh(std::make_shared<Mesh>(MakeBox(2, 2, 2, 1)));
    lifted.Bottom(120);
    EXPECT_EQ(lifted.lift->calls, 5);
    EXPECT_EQ(lifted.node->EvalWorldState(120).valid, (Interval{100, kTimePosInfinity}));
}

TEST(DerivedObject, ShowsItsNewBase) {
    Hold hold;
    CurrentEdits().hold = &hold;
    Lifted lifted;
    float bottom = lifted.Bottom(0);
    hold.Begin();
    auto mesh = std::make_shared<Mesh>(MakeBox(1, 1, 1, 1));
    for (Point3& p : mesh->verts) p.z += 100;
    lifted.object->SetBase(std::make_shared<TriObject>(mesh));
    hold.Accept("Base");
    EXPECT_EQ(lifted.Bottom(0), bottom + 100);
    ASSERT_TRUE(hold.Undo());
    EXPECT_EQ(lifted.Bottom(0), bottom);
    CurrentEdits().hold = nullptr;
}

TEST(DerivedObject, StacksAreUndone) {
    Hold hold;
    CurrentEdits().hold = &hold;
    Lifted lifted;
    lifted.lift->height = 5;
    float high = lifted.Bottom(0);
    hold.Begin();
    lifted.object->RemoveModifier(0);
    hold.Accept("Remove");
    EXPECT_EQ(lifted.Bottom(0), high - 5);
    ASSERT_TRUE(hold.Undo());
    EXPECT_EQ(lifted.Bottom(0), high);
    ASSERT_TRUE(hold.Redo());
    EXPECT_EQ(lifted.object->NumModifiers(), 0);
    CurrentEdits().hold = nullptr;
}
