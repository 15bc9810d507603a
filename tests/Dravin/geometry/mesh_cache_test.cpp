#include "Dravin/geometry/mesh_cache.h"

#include <thread>

#include <gtest/gtest.h>

#include "host/geom/primitives.h"

namespace {

// A box that grows with time: exact for one second each.
class GrowingObject : public Object {
public:
    int numMeshes = 0;

    Interval ObjectValidity(TimeValue t) const override {
        TimeValue start = t / kTicksPerSecond * kTicksPerSecond;
        return {start, start + kTicksPerSecond - 1};
    }
    std::shared_ptr<const Mesh> GetRenderMesh(TimeValue t) override {
        ++numMeshes;
        return std::make_shared<const Mesh>(MakeBox(1, 1, 1 + float(t / kTicksPerSecond)));
    }
    bool IsGeomObject() const override { return true; }
};

struct MeshCache : testing::Test {
    std::shared_ptr<GrowingObject> object = std::make_shared<GrowingObject>();
    std::shared_ptr<INode> node = INode::Create("tree", object);
    TDravinMeshCache cache;

    const TDravinMeshSample* Get(TimeValue t = 0, int32_t pass = 0) {
        return cache.Get(node.get(), t, pass).get();
    }
};

}  // namespace

TEST_F(MeshCache, OneSampleAValidityInterval) {
    const TDravinMeshSample* first = Get(0);
    EXPECT_EQ(Get(4799), first);
    const TDravinMeshSample* second = Get(4800);
    EXPECT_NE(second, first);
    EXPECT_EQ(second->Size().size.z, 2);
    EXPECT_EQ(Get(100), first);
    EXPECT_EQ(object->numMeshes, 2);
    EXPECT_EQ(cache.NumSamples(), 2u);
}

TEST_F(MeshCache, NoNodeAndNoGeometryGiveEmptySamples) {
    EXPECT_EQ(cache.Get(nullptr, 0, 0), cache.Get(nullptr, 7, 0));
    EXPECT_FALSE(cache.Get(nullptr, 0, 0)->Size().valid);
    auto dummy = INode::Create("dummy", std::make_shared<DummyObject>());
    EXPECT_FALSE(cache.Get(dummy.get(), 0, 0)->Size().valid);
    auto bare = INode::Create("bare");
    EXPECT_EQ(cache.Get(bare.get(), 0, 0)->Size().size, (Point3{1, 1, 1}));
}

TEST_F(MeshCache, TranslationKeepsTheSamples) {
    auto first = cache.Get(node.get(), 0, 0);
    node->SetLocalTM(Matrix3::Translation({5, 6, 7}));
    EXPECT_EQ(Get(), first.get());
    node->SetName("oak");
    EXPECT_EQ(Get(), first.get());
    EXPECT_EQ(object->numMeshes, 1);
}

TEST_F(MeshCache, RotationScaleAndOffsetClearThem) {
    auto first = cache.Get(node.get(), 0, 0);
    node->SetLocalTM(Matrix3::RotationZ(0.5f));
    auto second = cache.Get(node.get(), 0, 0);
    EXPECT_NE(second, first);
    node->SetLocalTM(Matrix3::RotationZ(0.5f) * Matrix3::Scaling({2, 2, 2}));
    auto third = cache.Get(node.get(), 0, 0);
    EXPECT_NE(third, second);
    EXPECT_EQ(third->Size().size, (Point3{1, 1, 1}));  // the node's own scale does not count
    node->SetObjectOffset({{1, 0, 0}, {}, {3, 1, 1}});
    auto fourth = cache.Get(node.get(), 0, 0);
    EXPECT_EQ(fourth->Size().size, (Point3{3, 1, 1}));
    EXPECT_EQ(object->numMeshes, 4);
    EXPECT_EQ(cache.NumSamples(), 1u);
}

TEST_F(MeshCache, ChangedObjectClearsThem) {
    auto first = cache.Get(node.get(), 0, 0);
    object->NotifyDependents();
    EXPECT_NE(Get(), first.get());
    auto other = std::make_shared<TriObject>(std::make_shared<const Mesh>(MakePlane(2, 2)));
    node->SetObjectRef(other);
    EXPECT_EQ(Get()->Size().numFaces, 2);
}

TEST_F(MeshCache, GroupMembersAreTakenRelativeToTheHead) {
    auto head = INode::Create("head", std::make_shared<GroupObject>());
    node->SetLocalTM(Matrix3::Translation({5, 0, 0}) * Matrix3::Scaling({2, 2, 4}));
    auto loose = cache.Get(node.get(), 0, 0);
    EXPECT_EQ(loose->Size().size, (Point3{1, 1, 1}));
    head->AttachChild(node);
    auto member = cache.Get(node.get(), 0, 0);
    EXPECT_EQ(member->Size().size, (Point3{2, 2, 4}));
    EXPECT_EQ(member->Size().toReal.GetTrans(), (Point3{}));
}

TEST_F(MeshCache, FlushDropsWhatNobodyUsesOrHolds) {
    auto held = cache.Get(node.get(), 0, 1);
    Get(4800, 1);
    Get(9600, 1);
    EXPECT_EQ(cache.NumSamples(), 3u);
    Get(9600, 2);  // a new pass: all three were used in the last
    EXPECT_EQ(cache.NumSamples(), 3u);
    Get(9600, 3);  // in pass 2 only the last was; the first is held
    EXPECT_EQ(cache.NumSamples(), 2u);
    held.reset();
    cache.Flush(4);
    cache.Flush(5);
    EXPECT_EQ(cache.NumSamples(), 0u);
}

namespace {

// A plant of another maker, 2 units wide and 4 high, that gives three points, one too dark.
class Plant : public Object, public IPlantCloud {
public:
    mutable size_t wanted = 0;
    mutable TimeValue askedAt = -1;

    std::shared_ptr<const Mesh> GetRenderMesh(TimeValue) override {
        return std::make_shared<const Mesh>(MakeBox(2, 2, 4));
    }
    bool IsGeomObject() const override { return true; }
    std::vector<TPlantPoint> GetPoints(TimeValue t, size_t count) const override {
        wanted = count, askedAt = t;
        return {{{1, 0, 4}, 0.5f, 3}, {{-1, 1, 2}, 1.5f, 0}, {{0, 0, 0}, -1, 7}};
    }
    ClassInfo Class() const override { return {kPlantObjectId, SuperClass::kGeomObject, "Plant"}; }
};

// The same under another class.
class Weed : public Plant {
public:
    ClassInfo Class() const override { return {{1, 2}, SuperClass::kGeomObject, "Weed"}; }
};

}  // namespace

TEST_F(MeshCache, PlantsGiveCloudsOfTheirOwn) {
    auto plant = std::make_shared<Plant>();
    node = INode::Create("plant", plant);
    const TMeshCloud& cloud = Get(160)->Cloud();
    EXPECT_EQ(plant->wanted, 25000u);
    EXPECT_EQ(plant->askedAt, 160);
    ASSERT_EQ(cloud.points.size(), 3u);
    EXPECT_EQ(cloud.points[0].position, (Point3{0.5f, 0, 1}));
    EXPECT_EQ(cloud.points[0].shade, 0.5f);
    EXPECT_EQ(cloud.points[0].matID, 3);
    EXPECT_EQ(cloud.points[1].position, (Point3{-0.5f, 0.5f, 0.5f}));
    EXPECT_EQ(cloud.points[1].shade, 1.5f);
    EXPECT_EQ(cloud.points[2].shade, 0);
    // Their meshes' where nobody wants those, and of objects that are none.
    cache.UsePlantClouds(false);
    EXPECT_EQ(cache.NumSamples(), 0u);
    EXPECT_EQ(Get(160)->Cloud().points.size(), TMeshCloud::kNumPoints);
    cache.UsePlantClouds(true);
    node = INode::Create("weed", std::make_shared<Weed>());
    EXPECT_EQ(Get(160)->Cloud().points.size(), TMeshCloud::kNumPoints);
}

TEST_F(MeshCache, SuspendedCacheKeepsEverything) {
    Get(0, 1);
    cache.Suspend(true);
    for (int32_t pass = 2; pass < 6; ++pass) cache.Flush(pass);
    EXPECT_EQ(cache.NumSamples(), 1u);
    cache.Suspend(false);
    cache.Flush(6), cache.Flush(7);
    EXPECT_EQ(cache.NumSamples(), 0u);
}

TEST_F(MeshCache, DeletedNodesLeave) {
    Get();
    node->NotifyDeleted();
    EXPECT_EQ(cache.NumEntries(), 1u);
    cache.Flush(1);
    EXPECT_EQ(cache.NumEntries(), 0u);
    EXPECT_EQ(Get()->Size().numFaces, 12);  // asked for again, it gets a new entry
}

TEST_F(MeshCache, SampleOutlivesTheCache) {
    auto other = std::make_unique<TDravinMeshCache>();
    auto sample = other->Get(node.get(), 0, 0);
    other.reset();
    node->NotifyDeleted();
    EXPECT_EQ(sample->UnitMesh().NumFaces(), 12u);
}

TEST_F(MeshCache, ThreadsShareOneSample) {
    Get();  // the entry is made on the building thread
    object->NotifyDependents();
    std::vector<const TDravinMeshSample*> samples(8);
    {
        std::vector<std::jthread> threads;
        for (auto& sample : samples)
            threads.emplace_back([&] {
                sample = cache.Get(node.get(), 0, 0).get();
                sample->Cloud();
            });
    }
    for (const TDravinMeshSample* sample : samples) EXPECT_EQ(sample, samples[0]);
    EXPECT_EQ(object->numMeshes, 2);
}
