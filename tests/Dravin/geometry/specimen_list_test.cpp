#include "Dravin/geometry/specimen_list.h"

#include <gtest/gtest.h>

#include "Dravin/engine/transforms.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/params/dravin_params.h"
#include "host/base/log.h"
#include "host/geom/primitives.h"
#include "host/scene/host_context.h"

namespace {

class Specimens : public testing::Test {
protected:
    HostContext host;
    Scene scene;
    std::shared_ptr<IParamBlock2> block =
        IParamBlock2::Create(DravinBlocks()[kGeomParams], nullptr);
    TTreeSpecList rows{block};
    TTemplates templates;
    TDravinMeshCache meshes;
    TNuRandom generator;
    TSpecListRequest request;
    TSpecBuildList list;
    int counter = 0;
    Interval valid = Interval::Forever();

    std::shared_ptr<INode> Box(const std::string& name, float w, float d, float h) {
        auto mesh = std::make_shared<Mesh>(MakeBox(w, d, h, 1));
        auto node = INode::Create(name, std::make_shared<TriObject>(std::move(mesh)));
        scene.AddNode(node);
        return node;
    }
    void AddRow(std::shared_ptr<INode> source, int kind = kGeomCustom) {
        TSpecEntry entry;
        entry.kind = kind;
        entry.customObject = std::move(source);
        rows.AppendRow(entry);
    }
    TBuildStatus Build() {
        return list.Build(rows, templates, meshes, generator, request, &counter, &valid);
    }
    const TDravinItem& Item(int row, int element = 0) {
        m_item.specimenIndex = row;
        m_item.elementIndex = int16_t(element);
        return m_item;
    }

private:
    TDravinItem m_item;
};

TEST_F(Specimens, AnEmptyListHasStatus6) { EXPECT_EQ(Build(), TBuildStatus::kEmptyGeometryList); }

TEST_F(Specimens, ItemsTakeTheirRowModuloTheRowsAndNeverTheFallback) {
    auto a = Box("a", 1, 1, 1), b = Box("b", 2, 2, 2);
    AddRow(a);
    AddRow(b);
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    ASSERT_EQ(list.NumRows(), 2u);
    EXPECT_EQ(list.NodeOf(Item(1))->source, b);
    EXPECT_EQ(list.NodeOf(Item(2))->source, a);
    EXPECT_EQ(list.NodeOf(Item(-1))->source, b);
    EXPECT_TRUE(list.Fallback().proxyShape);
}

TEST_F(Specimens, RowsWithoutAnIdTakeTheNextOnesAboveAll) {
    for (int i = 0; i < 3; ++i) AddRow(nullptr);
    rows.Set(TTreeSpecList::kSpecId, 1, 0, ParamValue(int32_t{41}));
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_EQ(block->GetInt(geomParams::kSpecidlist, 0, 0), 42);
    EXPECT_EQ(block->GetInt(geomParams::kSpecidlist, 0, 1), 41);
    EXPECT_EQ(block->GetInt(geomParams::kSpecidlist, 0, 2), 43);
    EXPECT_EQ(counter, 43);
}

TEST_F(Specimens, SourcesAreMeasuredWithTheirOffsetButNotTheirNode) {
    auto node = Box("box", 1, 2, 4);
    node->SetLocalTM(Matrix3::Scaling({7, 7, 7}));
    node->SetObjectOffset({{0, 0, 0}, {0, 0, 0}, {3, 1, 0.5f}});
    AddRow(node);
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    TSpecimenElement e = list.EngineSpecimens()[0].elements[0];
    EXPECT_EQ(e.meshSize, (Point3{3, 2, 2}));
    EXPECT_TRUE(e.isMesh);
    EXPECT_FLOAT_EQ(e.meshAspect, 2.0f / 3);
}

TEST_F(Specimens, GroupMembersKeepTheirTurnAgainstTheHeadAndTheirPlace) {
    auto head = INode::Create("head", std::make_shared<GroupObject>());
    scene.AddNode(head);
    head->SetLocalTM(Matrix3::Translation({10, 0, 0}));
    auto member = Box("member", 1, 2, 3), nested = Box("nested", 1, 1, 1);
    head->AttachChild(member);
    member->AttachChild(nested);
    member->SetLocalTM(Matrix3::RotationZ(1.5707964f) * Matrix3::Translation({0, 4, 0}));
    nested->SetHidden(true);
    AddRow(head);
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    const TSpecBuild& row = list.Row(0);
    ASSERT_EQ(row.nodes.size(), 2u);
    EXPECT_EQ(row.nodes[0].source, member);
    EXPECT_EQ(row.nodes[0].offset, (Point3{0, 4, 0}));
    EXPECT_NEAR(row.nodes[0].sample->Size().size.x, 2, 1e-5);
    EXPECT_EQ(row.nodes[1].source, nested);  // hidden children of members count
}

TEST_F(Specimens, DisabledRowsAndThoseWithoutAnObjectHaveOneSourcelessNode) {
    AddRow(nullptr);
    AddRow(Box("b", 1, 1, 1), kGeomDisabled);
    AddRow(nullptr, kGeomTemplate);
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    for (size_t i = 0; i < 3; ++i) {
        ASSERT_EQ(list.Row(i).nodes.size(), 1u);
        EXPECT_FALSE(list.Row(i).nodes[0].source);
    }
    EXPECT_EQ(list.EngineSpecimens()[1].elements[0].kind, SpecimenKind::kDisabled);
}

TEST_F(Specimens, AnEmptyMeshMeasuresOneByOneByOne) {
    auto node = INode::Create("empty", std::make_shared<TriObject>(std::make_shared<Mesh>()));
    scene.AddNode(node);
    AddRow(node);
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    TSpecimenElement e = list.EngineSpecimens()[0].elements[0];
    EXPECT_TRUE(e.isMesh);
    EXPECT_EQ(e.meshSize, (Point3{1, 1, 1}));
}

TEST_F(Specimens, ProxyModeMarksTheRowsButStillMeasuresThem) {
    AddRow(Box("b", 5, 1, 1));
    request.proxyMode = true;
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_TRUE(list.Row(0).proxyShape);
    EXPECT_EQ(list.Row(0).nodes[0].sample->Size().size.x, 5);
}

TEST_F(Specimens, FramesFollowTheAnimationSettings) {
    TAnimationSettings random{kAnimRandom, 3, 480, 0, 0, 160};
    EXPECT_EQ(random.Frames(100),
              (std::vector<std::pair<TimeValue, TimeValue>>{{100, 0}, {580, 480}, {1060, 960}}));
    TAnimationSettings map{kAnimFrameMap, 99, 7, 320, 640, 160};
    EXPECT_EQ(map.Frames(100),
              (std::vector<std::pair<TimeValue, TimeValue>>{{320, 220}, {480, 380}, {640, 540}}));
    TAnimationSettings off = NormaliseAnimation({kAnimOff, 4, 480, 0, 0, 160}, false, false);
    EXPECT_EQ(off.Frames(100), (std::vector<std::pair<TimeValue, TimeValue>>{{0, 0}}));
    EXPECT_EQ(NormaliseAnimation(random, true, false).NumSamples(), 1);
    EXPECT_EQ(NormaliseAnimation(random, true, true).NumSamples(), 3);
    TAnimationSettings backwards{kAnimFrameMap, 1, 0, 640, 0, 160};
    EXPECT_EQ(backwards.NumSamples(), 1);
}

TEST_F(Specimens, FrameLookupsAreClamped) {
    AddRow(Box("b", 1, 1, 1));
    request.animation = {kAnimRandom, 2, 160, 0, 0, 160};
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_EQ(list.Row(0).FrameFirst(-1), 0);
    EXPECT_EQ(list.Row(0).FrameFirst(9), 160);
    EXPECT_EQ(list.Row(0).Node(5), &list.Row(0).nodes[0]);
}

TEST_F(Specimens, BlackColorIdsAreReplacedByDrawnOnes) {
    AddRow(nullptr);
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    TNuRandom same;
    float r1 = same.Random(), r2 = same.Random(), r3 = same.Random();
    Color c = list.EngineSpecimens()[0].colorId;
    EXPECT_FLOAT_EQ(c.r, 0.8f * r3 + 0.2f);
    EXPECT_FLOAT_EQ(c.g, 0.8f * r2 + 0.2f);
    EXPECT_FLOAT_EQ(c.b, 0.8f * r1 + 0.2f);
    Color before = c;
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_EQ(list.EngineSpecimens()[0].colorId, before);
}

// A box whose object is good for some time only.
struct BriefObject : TriObject {
    Interval span;
    BriefObject(std::shared_ptr<const Mesh> mesh, Interval s)
        : TriObject(std::move(mesh)), span(s) {}
    Interval ObjectValidity(TimeValue) const override { return span; }
};

TEST_F(Specimens, SourcesOfGroupsAndLevelsNarrowTheValidityToo) {
    auto brief = [&](const char* name, Interval span) {
        auto node = INode::Create(
            name, std::make_shared<BriefObject>(std::make_shared<Mesh>(MakeBox(1, 1, 1)), span));
        scene.AddNode(node);
        return node;
    };
    auto head = INode::Create("head", std::make_shared<GroupObject>());
    scene.AddNode(head);
    head->AttachChild(brief("member", {-50, 500}), true);
    auto lod = TDLod::Create();
    auto lodNode = INode::Create("lod", lod);
    scene.AddNode(lodNode);
    lod->NewLevel();
    lod->Block().SetValue(lodParams::kCobjlist, 0, brief("level", {-500, 60}), 0);
    AddRow(head);
    AddRow(lodNode);
    request.animation.mode = kAnimFollow;
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_EQ(valid, (Interval{-50, 60}));
    // Without animation the sources are those of time 0 for good.
    valid = Interval::Forever();
    request.animation.mode = kAnimOff;
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_EQ(valid, Interval::Forever());
}

TEST_F(Specimens, LaterFramesNarrowTheValidityByTheirOwnTime) {
    auto node = INode::Create(
        "brief",
        std::make_shared<BriefObject>(std::make_shared<Mesh>(MakeBox(1, 1, 1)), Interval{0, 300}));
    scene.AddNode(node);
    AddRow(node);
    request.time = 20;
    request.animation.mode = kAnimRandom;
    request.animation.samples = 2;
    request.animation.offset = 100;
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    // The second frame shows what stands 100 later: it is good from -100 to 200.
    EXPECT_EQ(valid, (Interval{0, 200}));
}

// Grows with time: 1 unit at time 0, 2 at time 100.
struct GrowingObject : TriObject {
    std::shared_ptr<const Mesh> GetRenderMesh(TimeValue t) override {
        float size = 1 + float(t) / 100;
        return std::make_shared<Mesh>(MakeBox(size, size, size));
    }
    Interval ObjectValidity(TimeValue t) const override { return Interval::Instant(t); }
};

TEST_F(Specimens, WithoutAnimationSourcesAreThoseOfTimeZero) {
    auto node = INode::Create("growing", std::make_shared<GrowingObject>());
    scene.AddNode(node);
    AddRow(node);
    request.time = 100;
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_EQ(list.Row(0).nodes[0].sample->Size().size, (Point3{1, 1, 1}));
    request.animation.mode = kAnimFollow;
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_EQ(list.Row(0).nodes[0].sample->Size().size, (Point3{2, 2, 2}));
}

TEST_F(Specimens, BehindTheLargestIdTheSmallestFreeOnesFollow) {
    for (int id : {-1, 1, 2147483647, -1}) {
        AddRow(nullptr, kGeomDisabled);
        rows.Set(TTreeSpecList::kSpecId, rows.Count() - 1, 0, ParamValue(int32_t(id)));
    }
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_EQ(list.Row(0).nodes[0].entry.specId, 2);
    EXPECT_EQ(list.Row(2).nodes[0].entry.specId, 2147483647);
    EXPECT_EQ(list.Row(3).nodes[0].entry.specId, 3);
    EXPECT_EQ(counter, 2147483647);
}

TEST_F(Specimens, LodLevelsStandInTheOrderOfTheirThresholds) {
    auto lod = TDLod::Create();
    auto node = INode::Create("lod", lod);
    scene.AddNode(node);
    auto nearBox = Box("near", 1, 1, 1), farBox = Box("far", 2, 4, 6);
    for (int i = 0; i < 3; ++i) lod->NewLevel();
    IParamBlock2& levels = lod->Block();
    levels.SetValue(lodParams::kCobjlist, 0, farBox, 0);
    levels.SetValue(lodParams::kCobjlist, 0, nearBox, 1);
    levels.SetValue(lodParams::kGeomlist, 0, 0, 2);  // disabled
    levels.SetValue(lodParams::kDistlist, 0, 50.0f, 0);
    AddRow(node);
    rows.Set(TTreeSpecList::kRadius, 0, 0, ParamValue(int32_t{70}));
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    const TSpecBuild& row = list.Row(0);
    ASSERT_EQ(row.nodes.size(), 2u);
    EXPECT_EQ(row.nodes[0].source, nearBox);
    EXPECT_EQ(row.nodes[1].source, farBox);
    EXPECT_EQ(row.lod->thresholds, (std::vector<float>{0, 50}));
    TSpecimenElement e = list.EngineSpecimens()[0].elements[1];
    EXPECT_EQ(e.meshSize, (Point3{2, 4, 6}));
    EXPECT_EQ(e.radiusPercent, 70);  // of the geometry row
}

TEST_F(Specimens, TheFirstLevelWithASizeIsTheReferenceOnScreen) {
    auto lod = TDLod::Create();
    auto node = INode::Create("lod", lod);
    scene.AddNode(node);
    for (int i = 0; i < 3; ++i) lod->NewLevel();
    IParamBlock2& levels = lod->Block();
    levels.SetValue(lodParams::kMode, 0, int(kLodScreenSize));
    for (int i = 0; i < 3; ++i) levels.SetValue(lodParams::kScreensizelist, 0, float(10 * i), i);
    levels.SetValue(lodParams::kCobjlist, 0, Box("tree", 2, 4, 6), 1);
    levels.SetValue(lodParams::kScalelist, 0, 50.0f, 1);
    levels.SetValue(lodParams::kWidthlist, 0, 99.0f, 1);  // says nothing of a custom object
    AddRow(node);
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_EQ(list.Row(0).lod->referenceWidth, 2);  // the larger side, at half the size
    EXPECT_EQ(list.Row(0).lod->referenceHeight, 3);
    levels.SetValue(lodParams::kGeomlist, 0, int(kGeomTemplate), 0);
    levels.SetValue(lodParams::kWidthlist, 0, 7.0f, 0);
    levels.SetValue(lodParams::kHeightlist, 0, 8.0f, 0);
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_EQ(list.Row(0).lod->referenceWidth, 7);
    EXPECT_EQ(list.Row(0).lod->referenceHeight, 8);
}

TEST_F(Specimens, ALodObjectWithoutEnabledLevelsIsARowWithoutANode) {
    auto node = INode::Create("lod", TDLod::Create());
    scene.AddNode(node);
    AddRow(node);
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    ASSERT_EQ(list.Row(0).nodes.size(), 1u);
    EXPECT_FALSE(list.Row(0).nodes[0].source);
    EXPECT_FALSE(list.Row(0).lod);
}

TEST_F(Specimens, MoreThanThreeRowsCountAsCustom) {
    for (int i = 0; i < 3; ++i) AddRow(nullptr, kGeomTemplate);
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_FALSE(list.HasCustomObjects());
    AddRow(nullptr, kGeomTemplate);
    ASSERT_EQ(Build(), TBuildStatus::kSuccess);
    EXPECT_TRUE(list.HasCustomObjects());
}

}  // namespace
