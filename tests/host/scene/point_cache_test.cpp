#include "host/scene/point_cache.h"

#include <gtest/gtest.h>

#include "host/base/log.h"
#include "host/scene/host_classes.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

// Three points at x = 0, 10, 30 and 60 at the times 100, 200, 400 and 450.
class StepSamples : public IPointSamples {
public:
    mutable int reads = 0;
    bool isBroken = false;
    size_t numSamples = 4;

    size_t NumPoints() const override { return 3; }
    size_t NumSamples() const override { return numSamples; }
    double TimeOf(size_t sample) const override { return std::array{100, 200, 400, 450}[sample]; }
    bool Read(size_t sample, std::vector<Point3>* points, std::string* error) const override {
        ++reads;
        if (isBroken) return *error = "a.pc2: broken", false;
        float x = std::array{0.f, 10.f, 30.f, 60.f}[sample];
        *points = {{x, 0, 0}, {x + 1, 0, 0}, {x, 1, 0}};
        return true;
    }
};

struct Leaf {
    HostContext session;
    Scene scene;
    std::shared_ptr<StepSamples> samples = std::make_shared<StepSamples>();
    std::shared_ptr<PointCacheModifier> cache = std::make_shared<PointCacheModifier>();
    std::shared_ptr<DerivedObject> object = std::make_shared<DerivedObject>();
    INode* node = nullptr;

    Leaf() {
        session.SetCurrentScene(&scene);
        auto mesh = std::make_shared<Mesh>();
        mesh->verts = {{-7, 0, 0}, {1, 0, 0}, {0, 1, 0}};
        mesh->faces = {{{0, 1, 2}}};
        cache->cache = PointCache{{"a.pc2", {}, false}, samples};
        object->SetBase(std::make_shared<TriObject>(mesh));
        object->InsertModifier(0, cache);
        node = scene.AddNode("leaf", object);
    }
    float X(TimeValue t, const INode* of = nullptr) const {
        return (of ? of : node)->EvalWorldState(t).object->GetRenderMesh(t)->verts[0].x;
    }
    Interval Valid(TimeValue t) const { return node->EvalWorldState(t).valid; }
    template <class Edit>
    void Do(const Edit& edit) {
        scene.undo.Begin();
        edit();
        scene.undo.Accept("Edit");
    }
};

}  // namespace

TEST(PointCache, VerticesRunOnLinesBetweenSamples) {
    Leaf leaf;
    EXPECT_EQ(leaf.X(100), 0);
    EXPECT_EQ(leaf.X(150), 5);
    EXPECT_EQ(leaf.X(200), 10);
    EXPECT_EQ(leaf.X(250), 15);
    EXPECT_EQ(leaf.X(425), 45);
    EXPECT_EQ(leaf.X(-9), 0);
    EXPECT_EQ(leaf.X(999), 60);
    EXPECT_EQ(leaf.Valid(150), Interval::Instant(150));
    EXPECT_EQ(leaf.Valid(100), (Interval{kTimeNegInfinity, 100}));
    EXPECT_EQ(leaf.Valid(450), (Interval{450, kTimePosInfinity}));
}

TEST(PointCache, StartAndSpeedPlaceIt) {
    Leaf leaf;
    leaf.cache->start = 1000;
    leaf.cache->speed = 0.5f;  // 350 ticks take 700
    EXPECT_EQ(leaf.X(1100), 5);
    EXPECT_EQ(leaf.X(1200), 10);
    EXPECT_EQ(leaf.Valid(1700), (Interval{1700, kTimePosInfinity}));
    leaf.cache->speed = 3;  // they end between two ticks, at 1116.67
    EXPECT_EQ(leaf.Valid(2000), (Interval{1117, kTimePosInfinity}));
    EXPECT_EQ(leaf.Valid(1116), Interval::Instant(1116));
}

TEST(PointCache, CyclesBeginAgainAtTheirEnd) {
    Leaf leaf;
    leaf.cache->after = KeysBeyond::kCycle;
    EXPECT_EQ(leaf.X(450), 0);
    EXPECT_EQ(leaf.X(500), 5);
    EXPECT_EQ(leaf.X(450 + 350 * 7 + 50), 5);
    EXPECT_EQ(leaf.Valid(500), Interval::Instant(500));
    EXPECT_EQ(leaf.X(0), 0);
    leaf.cache->before = KeysBeyond::kCycle;
    EXPECT_EQ(leaf.X(75), 45);
}

TEST(PointCache, OneSampleStandsForEver) {
    Leaf leaf;
    leaf.samples->numSamples = 1;
    leaf.cache->before = leaf.cache->after = KeysBeyond::kCycle;
    EXPECT_EQ(leaf.X(12345), 0);
    EXPECT_EQ(leaf.Valid(12345), Interval::Forever());
}

TEST(PointCache, SamplesAreReadOnceWhileTheyServe) {
    Leaf leaf;
    for (TimeValue t : {110, 120, 130, 199}) leaf.X(t);
    EXPECT_EQ(leaf.samples->reads, 2);
    for (TimeValue t : {201, 300, 399}) leaf.X(t);
    EXPECT_EQ(leaf.samples->reads, 3);
}

TEST(PointCache, WhatDoesNotFitLeavesTheMeshAndWarnsOnce) {
    Leaf leaf;
    std::vector<std::string> warnings;
    LogSink before =
        SetLogSink([&](LogKind, const std::string& text) { warnings.push_back(text); });
    leaf.samples->isBroken = true;
    EXPECT_EQ(leaf.X(150), -7);
    EXPECT_EQ(leaf.X(160), -7);
    auto mesh = std::make_shared<Mesh>();
    mesh->verts = {{-3, 0, 0}};
    leaf.Do([&] { leaf.object->SetBase(std::make_shared<TriObject>(mesh)); });
    EXPECT_EQ(leaf.X(150), -3);
    EXPECT_EQ(leaf.X(151), -3);
    SetLogSink(before);
    EXPECT_EQ(warnings, (std::vector<std::string>{
                            "a.pc2: broken; the mesh stays as it is",
                            "a.pc2: 3 points, the mesh has 1 vertices; it stays as it is"}));
    leaf.scene.undo.Undo();
    leaf.samples->isBroken = false;
    leaf.cache->speed = 2;
    EXPECT_EQ(leaf.X(100 + 25), 5);
}

TEST(PointCache, ChangesAreHeardUndoneAndRedone) {
    Leaf leaf;
    EXPECT_EQ(leaf.X(300), 20);
    leaf.Do([&] { leaf.cache->start = 200; });
    EXPECT_EQ(leaf.X(300), 10);
    leaf.Do([&] { leaf.cache->cache = PointCache{}; });
    EXPECT_EQ(leaf.X(300), -7);
    leaf.Do([&] { leaf.object->RemoveModifier(0); });
    leaf.Do([&] { leaf.scene.DeleteNode(*leaf.node); });
    for (int i = 0; i < 4; ++i) ASSERT_TRUE(leaf.scene.undo.Undo());
    leaf.node = leaf.scene.FindNode("leaf");
    EXPECT_EQ(leaf.X(300), 20);
    ASSERT_TRUE(leaf.scene.undo.Redo());
    EXPECT_EQ(leaf.X(300), 10);
    ASSERT_TRUE(leaf.scene.undo.Redo());
    EXPECT_EQ(leaf.X(300), -7);
}

TEST(PointCache, CopiesMoveOnTheirOwn) {
    Leaf leaf;
    leaf.cache->speed = 2;
    leaf.cache->after = KeysBeyond::kCycle;
    leaf.cache->enabled = false;
    INode* copy = leaf.scene.CloneNodes(std::vector<INode*>{leaf.node}).at(0);
    auto* derived = dynamic_cast<DerivedObject*>(copy->GetObjectRef());
    ASSERT_NE(derived, nullptr);
    auto* cache = dynamic_cast<PointCacheModifier*>(derived->GetModifier(0));
    ASSERT_NE(cache, nullptr);
    ASSERT_NE(cache, leaf.cache.get());
    EXPECT_EQ(cache->after, KeysBeyond::kCycle);
    EXPECT_EQ(leaf.X(125, copy), -7);
    cache->enabled = true;
    EXPECT_EQ(leaf.X(125, copy), 5);
    EXPECT_EQ(leaf.X(125), -7);
}

TEST(PointCache, IsAClassOfTheSession) {
    HostContext session;
    const ClassDesc* desc = session.classes.Find(SuperClass::kModifier, "point_cache");
    ASSERT_NE(desc, nullptr);
    auto made = std::dynamic_pointer_cast<PointCacheModifier>(desc->create());
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->Takes(TriObject()));
    EXPECT_FALSE(made->Takes(CameraObject()));
}
