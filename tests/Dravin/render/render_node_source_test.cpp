// The host's renderers as clients of the published interface.
#include "Dravin/render/render_node_source.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "Dravin/render/engine_registry.h"
#include "Dravin/render/host_render.h"
#include "host/geom/mesh_tools.h"
#include "tests/Dravin/build/growing_box.h"
#include "tests/Dravin/render/render_fixture.h"

namespace {

class RenderNodeSource : public RenderFixture {
protected:
    std::unique_ptr<THostRender> render;
    std::vector<std::unique_ptr<IInstanceSource>> sources;

    void SetUp() override {
        RenderFixture::SetUp();
        host.State<Renderers>().SetCurrent(kRayTracerId);
        node->SetLocalTM(Matrix3::RotationZ(0.5f) * Matrix3::Translation({3, 2, 1}));
        plane->SetLocalTM(node->GetLocalTM());
    }
    void TearDown() override {
        sources.clear();
        render.reset();
        RenderFixture::TearDown();
    }
    TBuildStatus Take(TimeValue t = 0) {
        sources.clear();
        render.reset();
        render = std::make_unique<THostRender>(object);
        TBuildStatus status = render->Begin(t);
        sources = render->TakeSources();
        return status;
    }
    static std::vector<InstanceRecord> Read(const IInstanceSource& source) {
        std::vector<InstanceRecord> records(source.NumInstances());
        source.GetInstances(0, records);
        return records;
    }
    // The same items as exporters get them, which read the build directly.
    std::vector<InstanceRecord> Direct(std::unique_ptr<IInstanceSource>& direct) {
        direct = object->Build().MakeInstanceSource();
        return Read(*direct);
    }
    static Point3 Corner(const IInstanceSource& source, const InstanceRecord& record) {
        return source.PrototypeMesh(record.prototype)->verts[0] * record.transform;
    }
};

TEST_F(RenderNodeSource, InstancesStandWhereTheItemsStand) {
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    ASSERT_EQ(sources.size(), 1u);
    std::unique_ptr<IInstanceSource> direct;
    std::vector<InstanceRecord> expected = Direct(direct), records = Read(*sources[0]);
    ASSERT_EQ(records.size(), expected.size());
    ASSERT_FALSE(records.empty());
    for (size_t i = 0; i < records.size(); ++i) {
        // Nothing moves the box before the item does: not a bit differs.
        EXPECT_EQ(records[i].transform, expected[i].transform) << i;
        EXPECT_EQ(records[i].id, expected[i].id);
        EXPECT_EQ(records[i].tint, expected[i].tint);
        EXPECT_EQ(records[i].tintBlend, expected[i].tintBlend);
    }
    EXPECT_EQ(sources[0]->NumPrototypes(), 1u);
    EXPECT_EQ(sources[0]->PrototypeMesh(0), direct->PrototypeMesh(0));
}

// However many items: one mesh a source, and it is the source's own.
TEST_F(RenderNodeSource, ItemsCopyNoMesh) {
    auto ball = AddMesh("ball", MakeSphere(1, 60));
    AddRow(ball);
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    ASSERT_EQ(sources.size(), 1u);
    ASSERT_GT(sources[0]->NumInstances(), 300u);
    std::set<const Mesh*> shown;
    for (size_t p = 0; p < sources[0]->NumPrototypes(); ++p)
        shown.insert(sources[0]->PrototypeMesh(p));
    auto meshOf = [](INode& source) { return source.GetObjectRef()->GetRenderMesh(0).get(); };
    EXPECT_EQ(shown, (std::set<const Mesh*>{meshOf(*box), meshOf(*ball)}));
    EXPECT_TRUE(object->Build().ObjectMesh().GetMesh().verts.empty());
}

TEST_F(RenderNodeSource, ItReads512AsAnyRendererMay) {
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    EXPECT_EQ(TEngineRegistry::Current().Find(kRayTracerId)->version, 512u);
    EXPECT_TRUE(object->Render().IsRendering());
    sources.clear();
    render.reset();
    EXPECT_FALSE(object->Render().IsRendering());
    host.State<Renderers>().SetCurrent(kScanlineRendererId);
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    EXPECT_EQ(TEngineRegistry::Current().Find(kScanlineRendererId)->version, 512u);
}

TEST_F(RenderNodeSource, ObjectOffsetsAndMirrorsAreKept) {
    box->SetObjectOffset({{1, 2, 3}, {20, 30, 40}, {-1, 2, 0.5f}});
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    std::unique_ptr<IInstanceSource> direct;
    std::vector<InstanceRecord> expected = Direct(direct), records = Read(*sources[0]);
    ASSERT_EQ(records.size(), expected.size());
    for (size_t i = 0; i < records.size(); ++i)
        EXPECT_LT(Length(Corner(*sources[0], records[i]) - Corner(*direct, expected[i])), 1e-4f);
}

TEST_F(RenderNodeSource, EachTimeHasItsPrototype) {
    auto growing = std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(2, 1, 3, 1)));
    growing->SetAnimation(std::make_shared<GrowingBox>());
    box->SetObjectRef(growing);
    Set(kAnimParams, animParams::kAnimation, int(kAnimRandom));
    Set(kAnimParams, animParams::kAnimsamples, 4);
    Set(kAnimParams, animParams::kAnimsoffset, 160);
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    std::unique_ptr<IInstanceSource> direct;
    std::vector<InstanceRecord> expected = Direct(direct), records = Read(*sources[0]);
    EXPECT_EQ(sources[0]->NumPrototypes(), 4u);
    ASSERT_EQ(records.size(), expected.size());
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_LT(Length(Corner(*sources[0], records[i]) - Corner(*direct, expected[i])), 1e-4f);
        EXPECT_EQ(sources[0]->GetDetails(i).frame, direct->GetDetails(i).frame);
    }
}

TEST_F(RenderNodeSource, ItemsBehindHitsAreTheInstances) {
    AddTemplateRow();
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    ASSERT_EQ(sources.size(), 1u);
    auto* items =
        static_cast<const IShadedItems*>(sources[0]->GetInterface(IShadedItems::kInterface));
    sources[0]->PrepareShading();
    std::vector<InstanceRecord> records = Read(*sources[0]);
    for (uint32_t i = 0; i < records.size(); ++i) {
        TDravinItem item = object->Build().Items().Item(size_t(records[i].id));
        EXPECT_EQ(items->ItemIndexOf(i, 0), uint32_t(records[i].id));
        EXPECT_EQ(items->ItemOf(i, 0).random3, item.random3);
        EXPECT_EQ(sources[0]->GetDetails(i).seed, item.seed);
    }
    EXPECT_EQ(records.size(), object->Build().Items().Count());
}

TEST_F(RenderNodeSource, TemplatesComeAsNodesLikeCustomObjects) {
    AddTemplateRow();
    INode* board = scene.FindNode("_dravin_template_board");
    board->SetLocalTM(Matrix3::Translation({0, 0, 7}));  // where a template lies counts nothing
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    EXPECT_FALSE(object->Build().ObjectMesh().IsBuilt());
    std::unique_ptr<IInstanceSource> direct;
    std::vector<InstanceRecord> expected = Direct(direct), records = Read(*sources[0]);
    ASSERT_EQ(records.size(), expected.size());
    size_t numBoards = 0;
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_LT(Length(Corner(*sources[0], records[i]) - Corner(*direct, expected[i])), 1e-4f);
        numBoards += sources[0]->PrototypeMesh(records[i].prototype)->NumFaces() == 2;
    }
    EXPECT_GT(numBoards, 0u);
    EXPECT_LT(numBoards, records.size());
    int32_t count = 0;
    auto* raw = static_cast<TDravinInstanceV512*>(Trees().getRenderNodes(&count));
    EXPECT_EQ(
        size_t(std::count_if(raw, raw + count, [&](const auto& r) { return r.node == board; })),
        numBoards);
}

TEST_F(RenderNodeSource, TemplatesStandInTheMeshWhereItHasShadowPlanes) {
    AddTemplateRow();
    auto light = std::make_shared<LightObject>();
    INode* sun = scene.AddNode("sun", light);
    Set(kShadowParams, shadowParams::kUsefakeshadows, true);
    Set(kShadowParams, shadowParams::kHshadow, true);
    Set(kShadowParams, shadowParams::kLight, Target(sun->shared_from_this()));
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    ASSERT_EQ(sources.size(), 2u);  // the mesh, nodes
    ASSERT_TRUE(sources[0]->ChangeableMesh());
    std::set<int> meshed(object->Build().ObjectMesh().FaceOwners().begin(),
                         object->Build().ObjectMesh().FaceOwners().end());
    for (int i : meshed) EXPECT_EQ(object->Build().Items().Item(size_t(i)).specimenIndex, 1);
    for (const InstanceRecord& r : Read(*sources[1])) EXPECT_FALSE(meshed.contains(r.id));
    EXPECT_EQ(meshed.size() + sources[1]->NumInstances(), object->Build().Items().Count());
}

// Whoever does not instance templates finds them in the object's mesh.
TEST_F(RenderNodeSource, OtherRenderersHaveTemplatesInTheMesh) {
    AddTemplateRow();
    UseRenderer(kRenderer, "Test");
    AskFor(512);
    Trees().IDravinRenderBegin(0);
    EXPECT_TRUE(object->Build().ObjectMesh().IsBuilt());
    std::span<TDravinInstanceV512> records = Nodes<TDravinInstanceV512>();
    ASSERT_EQ(records.size(), object->Build().Items().Count());
    for (size_t i = 0; i < records.size(); ++i)
        EXPECT_EQ(records[i].node == nullptr, object->Build().ObjectMesh().Ranges()[i].IsMeshed());
    Trees().IDravinRenderEnd(0);
}

TEST_F(RenderNodeSource, RecordsGoWhenInstancesAreRead) {
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    std::vector<InstanceRecord> before = Read(*sources[0]);
    TDravinBaseNodeGenerator& generator = *object->Render().Generator();
    EXPECT_GT(generator.BytesHeld(), before.size() * 144);
    sources[0]->InstancesRead();
    EXPECT_EQ(generator.BytesHeld(), 0u);
    std::vector<InstanceRecord> again = Read(*sources[0]);
    ASSERT_EQ(again.size(), before.size());
    for (size_t i = 0; i < again.size(); ++i) EXPECT_EQ(again[i].transform, before[i].transform);
}

TEST_F(RenderNodeSource, HiddenPartsAreNotDrawn) {
    node->SetLocalTM({});
    plane->SetLocalTM({});
    Mesh pair = TransformedMesh(MakeBox(1, 1, 1), Matrix3::Translation({-1.5f, 0, 0}));
    AppendMesh(pair, TransformedMesh(MakeBox(1, 1, 1), Matrix3::Translation({1.5f, 0, 0})));
    static_cast<TriObject*>(box->GetObjectRef())->SetMesh(std::make_shared<Mesh>(pair));
    constexpr int kSurfaceArea = 3, kHidesParts = 2;
    AddArea(*object, kSurfaceArea, nullptr, false);
    object->Block(kAreaParams).Append(areaParams::kArboundchecklist);
    object->Block(kAreaParams).SetValue(areaParams::kArboundchecklist, 0, kHidesParts, 0);
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    std::unique_ptr<IInstanceSource> direct;
    std::vector<InstanceRecord> expected = Direct(direct), records = Read(*sources[0]);
    ASSERT_EQ(records.size(), expected.size());
    size_t numCut = 0;
    auto* items =
        static_cast<const IShadedItems*>(sources[0]->GetInterface(IShadedItems::kInterface));
    for (uint32_t i = 0; i < records.size(); ++i) {
        const Mesh& shown = *sources[0]->PrototypeMesh(records[i].prototype);
        EXPECT_EQ(shown.NumFaces(), direct->PrototypeMesh(expected[i].prototype)->NumFaces());
        bool isCut = shown.NumFaces() == 12;
        numCut += isCut;
        EXPECT_EQ(sources[0]->GetDetails(i).hiddenElements.empty(),
                  !object->Build().Items().Item(size_t(records[i].id)).partial);
        // The face of the whole mesh lies in the element that is drawn.
        if (isCut) {
            bool firstHidden = sources[0]->GetDetails(i).hiddenElements[0];
            EXPECT_EQ(items->SampleFaceOf(i, 0), firstHidden ? 12u : 0u);
        }
    }
    EXPECT_GT(numCut, 0u);
}

TEST_F(RenderNodeSource, AStillObjectKeepsItsItemsFromPictureToPicture) {
    host.State<Renderers>().wish.keepsBuilds = true;
    ASSERT_EQ(Take(0), TBuildStatus::kSuccess);
    uint64_t build = object->Build().BuildNumber();
    ASSERT_EQ(Take(160), TBuildStatus::kSuccess);
    EXPECT_EQ(object->Build().BuildNumber(), build);
    Set(kGenParams, genParams::kSeed, 5);
    ASSERT_EQ(Take(320), TBuildStatus::kSuccess);
    EXPECT_GT(object->Build().BuildNumber(), build);
    build = object->Build().BuildNumber();
    host.State<Renderers>().wish.keepsBuilds = false;
    ASSERT_EQ(Take(320), TBuildStatus::kSuccess);
    EXPECT_GT(object->Build().BuildNumber(), build);
}

TEST_F(RenderNodeSource, NothingToShowGivesNoSources) {
    TakeRows(*object);
    EXPECT_NE(Take(), TBuildStatus::kSuccess);
    EXPECT_TRUE(sources.empty());
}

TEST_F(RenderNodeSource, MeshesComeAsOnePiece) {
    Set(kDispParams, dispParams::kRendermode, 1);
    ASSERT_EQ(Take(), TBuildStatus::kSuccess);
    ASSERT_EQ(sources.size(), 1u);
    EXPECT_TRUE(sources[0]->ChangeableMesh());
}

}  // namespace
