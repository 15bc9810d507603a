// What renderers get of an object between the beginning and the end of a render.
#include <gmock/gmock.h>

#include <bit>
#include <cstring>

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/stored_items.h"
#include "Dravin/materials/shaded_items.h"
#include "host/geom/mesh_tools.h"
#include "host/script/script_system.h"
#include "tests/Dravin/render/render_fixture.h"

namespace {

using V1 = TDravinInstanceV1;
using V512 = TDravinInstanceV512;

class RenderNodes : public RenderFixture {
protected:
    // By way of the item's matrix and the source's own measures: 2 x 1 x 3.
    Matrix3 ExpectedTransform(const TDravinItem& item) {
        return Matrix3::Scaling({1 / 2.f, 1, 1 / 3.f}) * item.fullTransform;
    }
    static bool IsZero(const void* bytes, size_t n) {
        auto* b = static_cast<const uint8_t*>(bytes);
        return std::all_of(b, b + n, [](uint8_t value) { return value == 0; });
    }
};

TEST_F(RenderNodes, RecordsFollowTheVersionThatWasAskedFor) {
    for (uint32_t version : {0u, 511u, 512u, 600u}) {
        if (version) AskFor(version);
        Trees().IDravinRenderBegin(0);
        auto records = Nodes<V512>();
        ASSERT_FALSE(records.empty());
        // The second record tells how large they are.
        const auto* bytes = reinterpret_cast<const char*>(records.data());
        auto nodeAt = [&](size_t offset) {
            INode* named;
            std::memcpy(&named, bytes + offset, sizeof named);
            return named;
        };
        EXPECT_EQ(nodeAt(56), box.get()) << version;
        EXPECT_EQ(nodeAt(144 + 56) == box.get(), version >= 512) << version;
        EXPECT_EQ(nodeAt(96 + 56) == box.get(), version < 512) << version;
        Trees().IDravinRenderEnd(0);
    }
}

TEST_F(RenderNodes, ARecordSaysWhatItsItemIs) {
    AskFor(512);
    Trees().IDravinRenderBegin(0);
    std::vector<TDravinItem> items = Items();
    auto records = Nodes<V512>();
    ASSERT_EQ(records.size(), items.size());
    for (size_t i = 0; i < items.size(); ++i) {
        const V512& r = records[i];
        const TDravinItem& item = items[i];
        Matrix3 expected = ExpectedTransform(item);
        for (int row = 0; row < 4; ++row)
            EXPECT_LT(Length(r.transform.row[row] - expected.row[row]), 1e-5f) << i;
        EXPECT_EQ(r.node, box.get());
        EXPECT_EQ(r.material, nullptr);
        EXPECT_EQ(r.seed, item.seed);
        EXPECT_EQ(r.tint, item.tintColor);
        EXPECT_EQ(r.tintBlend, item.tintBlend);
        EXPECT_EQ(r.animationTime, 0);
        EXPECT_EQ(std::vector<float>(r.randoms, r.randoms + 3),
                  (std::vector{item.random1, item.random2, item.random3}));
        EXPECT_EQ(r.elementMask, nullptr);
    }
}

TEST_F(RenderNodes, PaddingIsZero) {
    AskFor(512);
    Trees().IDravinRenderBegin(0);
    for (const V512& r : Nodes<V512>()) {
        EXPECT_EQ(r.matrixFlags | r.padding1 | r.padding2, 0u);
        EXPECT_TRUE(IsZero(r.reserved, sizeof r.reserved));
    }
    Trees().IDravinRenderEnd(0);
    AskFor(1);
    Trees().IDravinRenderBegin(0);
    for (const V1& r : Nodes<V1>()) EXPECT_EQ(r.matrixFlags | r.padding1 | r.padding2, 0u);
}

// So many that they go past the caches, and in turn with a node and without.
TEST_F(RenderNodes, ManyRecordsAreTheProductsOfTheirItemsBitForBit) {
    constexpr size_t kMany = 70'001;
    AddTemplateRow();
    Set(kEditionParams, editionParams::kMode, 1);
    std::vector<TStoredItem> stored(kMany);
    for (size_t i = 0; i < kMany; ++i) {
        stored[i].storedPosition = {float(i % 300) * 0.37f, float(i / 300) * 0.41f, 0};
        stored[i].seed = uint32_t(i * 7919 + 1);
        stored[i].specimenIndex = i % 3 == 1;
    }
    object->SetStoredItems(std::move(stored));
    AskFor(512);
    Trees().IDravinRenderBegin(0);
    const TDravinBuild& build = object->Build();
    ASSERT_EQ(build.Items().Count(), kMany);
    const Matrix3& toUnit = build.Specimens().Row(0).nodes.at(0).sample->Size().normalize;
    auto records = Nodes<V512>();
    ASSERT_EQ(records.size(), kMany);
    size_t wrong = 0, withNode = 0;
    for (size_t i = 0; i < kMany; ++i) {
        TDravinItem item = build.Items().Item(i);
        V512 expected;
        std::memset(static_cast<void*>(&expected), 0, sizeof expected);
        if (item.specimenIndex == 0) {
            ++withNode;
            expected.transform = toUnit * item.fullTransform;
            expected.node = box.get();
            expected.seed = item.seed;
            expected.tint = item.tintColor;
            expected.tintBlend = item.tintBlend;
            const float randoms[] = {item.random1, item.random2, item.random3};
            std::memcpy(expected.randoms, randoms, sizeof randoms);
        }
        wrong += std::memcmp(&expected, &records[i], sizeof expected) != 0;
    }
    EXPECT_EQ(wrong, 0u);
    EXPECT_GT(withNode, kMany / 2);
    EXPECT_LT(withNode, kMany);
}

TEST_F(RenderNodes, TheEntrysMaterialComesFirst) {
    auto own = std::make_shared<StandardMtl>(), row = std::make_shared<StandardMtl>();
    box->SetMtl(own);
    Trees().IDravinRenderBegin(0);
    EXPECT_EQ(Nodes<V1>()[0].material, own.get());
    object->Block(kGeomParams).SetValue(geomParams::kMatlist, 0, Target(row), 0);
    Trees().IDravinRenderBegin(0);
    EXPECT_EQ(Nodes<V1>()[0].material, row.get());
}

TEST_F(RenderNodes, TemplatesKeepTheirRecordsWithoutNodes) {
    object->Block(kGeomParams).Delete(geomParams::kCobjlist, 0);
    IParamBlock2& rows = object->Block(kGeomParams);
    rows.SetValue(geomParams::kGeomlist, 0, int(kGeomTemplate), 0);
    AskFor(512);
    Trees().IDravinRenderBegin(0);
    auto records = Nodes<V512>();
    EXPECT_EQ(records.size(), Items().size());
    EXPECT_GT(records.size(), 0u);
    for (const V512& r : records) EXPECT_TRUE(IsZero(&r, sizeof r));
}

TEST_F(RenderNodes, MixedRowsNameNodesWhereThereAreSome) {
    AddTemplateRow();
    Trees().IDravinRenderBegin(0);
    std::vector<TDravinItem> items = Items();
    auto records = Nodes<V1>();
    ASSERT_EQ(records.size(), items.size());
    size_t byRow[2] = {};
    for (size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(records[i].node, items[i].specimenIndex == 0 ? box.get() : nullptr);
        ++byRow[items[i].specimenIndex];
    }
    EXPECT_GT(byRow[0], 0u);
    EXPECT_GT(byRow[1], 0u);
    // Templates stand in the object's mesh.
    EXPECT_EQ(object->Build().ObjectMesh().GetMesh().NumFaces(), 2 * byRow[1]);
}

TEST_F(RenderNodes, DiscardedItemsHaveNoRecord) {
    Set(kDistParams, distParams::kCollision, true);
    Trees().IDravinRenderBegin(0);
    size_t kept = 0;
    for (const TDravinItem& item : Items()) kept += !item.discarded;
    EXPECT_EQ(Nodes<V1>().size(), kept);
    EXPECT_GT(kept, 0u);
}

TEST_F(RenderNodes, MeshesHaveNoNodes) {
    Set(kDispParams, dispParams::kRendermode, 1);
    AskFor(512);
    Trees().IDravinRenderBegin(0);
    EXPECT_EQ(Nodes<V512>().data(), nullptr);
    EXPECT_EQ(Nodes<V512>().size(), 0u);
    EXPECT_GT(object->Build().ObjectMesh().GetMesh().NumFaces(), 0u);
}

TEST_F(RenderNodes, NodesOfItemsByNumber) {
    auto count = [&] { return int32_t(object->Build().Items().Count()); };
    EXPECT_EQ(count(), 0);
    EXPECT_EQ(Trees().getRenderNode(0), box.get());  // builds
    ASSERT_GT(count(), 0);
    EXPECT_EQ(Trees().getRenderNode(-1), nullptr);
    EXPECT_EQ(Trees().getRenderNode(count()), nullptr);
    EXPECT_EQ(Trees().getRenderNode(count() - 1), box.get());
}

TEST_F(RenderNodes, WithoutBeginThereAreNone) {
    Run(Render());
    TDravinRenderData data;
    EXPECT_EQ(Nodes<V1>().data(), nullptr);
    EXPECT_FALSE(Trees().getRenderData(&data, 0, 0));
    Trees().clearRenderNodes();  // nothing
    Trees().IDravinRenderEnd(0);
    EXPECT_FALSE(object->Render().IsRendering());
    EXPECT_FALSE(Logged("IDravinClearRenderNodes"));
    EXPECT_EQ(Trees().getRenderNodes(nullptr), nullptr);
}

TEST_F(RenderNodes, BeginAndEndAreTold) {
    Trees().IDravinRenderBegin(0);
    EXPECT_TRUE(object->Render().IsRendering());
    Nodes<V1>();
    size_t n = object->Build().Items().Count();
    Trees().clearRenderNodes();
    Trees().IDravinRenderEnd(0);
    EXPECT_FALSE(object->Render().IsRendering());
    EXPECT_TRUE(Logged("IDravinRenderBegin"));
    std::string number = std::to_string(n);
    EXPECT_TRUE(Logged("IDravinGetRenderNodes: " + number + " instances of " + number + " items"));
    EXPECT_TRUE(Logged("IDravinClearRenderNodes"));
    EXPECT_TRUE(Logged("IDravinRenderEnd"));
}

TEST_F(RenderNodes, BeginningTwiceStartsAnew) {
    AskFor(512);
    Trees().IDravinRenderBegin(0);
    size_t count = Nodes<V512>().size();
    AskFor(1);
    Trees().IDravinRenderBegin(0);
    TDravinRenderData data;
    EXPECT_FALSE(Trees().getRenderData(&data, 0, 0));  // no records of this render yet
    EXPECT_EQ(Nodes<V1>().size(), count);
    Trees().IDravinRenderEnd(0);
    Trees().IDravinRenderEnd(0);
    EXPECT_FALSE(object->Render().IsRendering());
}

TEST_F(RenderNodes, AnEndedRenderIsNothingForViews) {
    Trees().IDravinRenderBegin(0);
    EXPECT_EQ(object->ObjectValidity(0), object->Build().Validity());
    host.TakeRedraw();
    Trees().IDravinRenderEnd(0);
    EXPECT_EQ(object->ObjectValidity(0), Interval::Instant(0));
    EXPECT_TRUE(host.TakeRedraw());
    Run();
    EXPECT_EQ(object->ObjectValidity(0), object->Build().Validity());
}

TEST_F(RenderNodes, RenderDataNeedsItsBuild) {
    Trees().IDravinRenderBegin(0);
    auto count = int32_t(Nodes<V1>().size());
    TDravinRenderData data;
    EXPECT_TRUE(Trees().getRenderData(&data, 0, 0));
    EXPECT_FALSE(Trees().getRenderData(nullptr, 0, 0));
    EXPECT_FALSE(Trees().getRenderData(&data, -1, 0));
    EXPECT_FALSE(Trees().getRenderData(&data, count, 0));
    EXPECT_TRUE(Trees().getRenderData(&data, count - 1, 0));
    object->Build().BuildMesh(0, Render());
    EXPECT_FALSE(Trees().getRenderData(&data, 0, 0));
}

TEST_F(RenderNodes, RenderDataTellsTheElementOfAFace) {
    // Two boxes in one mesh: two elements of twelve faces.
    Mesh two = MakeBox(1, 1, 1);
    AppendMesh(two, TransformedMesh(MakeBox(1, 1, 1), Matrix3::Translation({5, 0, 0})));
    static_cast<TriObject*>(box->GetObjectRef())->SetMesh(std::make_shared<Mesh>(two));
    Trees().IDravinRenderBegin(0);
    Nodes<V1>();
    uint32_t random = std::bit_cast<uint32_t>(object->Build().Items().Item(3).random3);
    TDravinRenderData first, other, none;
    ASSERT_TRUE(Trees().getRenderData(&first, 3, 11));
    ASSERT_TRUE(Trees().getRenderData(&other, 3, 12));
    ASSERT_TRUE(Trees().getRenderData(&none, 3, 24));
    EXPECT_EQ(first.element, 0u);
    EXPECT_EQ(other.element, 1u);
    EXPECT_EQ(first.random, random);
    EXPECT_NE(first.combined, other.combined);
    EXPECT_EQ(other.visible, 1u);
    // There is no such face.
    EXPECT_EQ(none.element, 0u);
    EXPECT_EQ(none.combined, 0u);
    EXPECT_EQ(none.random, random);
    EXPECT_EQ(none.visible, 1u);
}

TEST_F(RenderNodes, FacesOfTheMeshFindTheirItems) {
    struct Hit : IDravinHit {
        int32_t face;
        explicit Hit(int32_t face) : face(face) {}
        ClassId ContextClass() const override { return {1, 1}; }
        int32_t FaceNumber() const override { return face; }
    };
    Set(kDispParams, dispParams::kRendermode, 1);
    Trees().IDravinRenderBegin(0);
    int32_t item = 0, element = 0;
    Hit second(12);  // boxes have twelve faces
    ASSERT_TRUE(Trees().getRenderID(&second, &item, &element));
    EXPECT_EQ(item, std::bit_cast<int32_t>(object->Build().Items().Item(1).random3));
    EXPECT_EQ(element, item);  // of its only element
    int32_t faces = int32_t(object->Build().ObjectMesh().GetMesh().NumFaces());
    for (int32_t face : {-1, faces}) {
        Hit outside(face);
        EXPECT_FALSE(Trees().getRenderID(&outside, &item, &element)) << face;
    }
    EXPECT_FALSE(Trees().getRenderID(nullptr, &item, &element));
    EXPECT_FALSE(Trees().getRenderID(&second, nullptr, &element));
}

TEST_F(RenderNodes, SelectedItemsInCustomEditModeOnly) {
    Run();
    EXPECT_TRUE(Trees().getSelected().empty());
    Set(kEditionParams, editionParams::kMode, 1);
    std::vector<TStoredItem> items = object->StoredItems();
    ASSERT_GT(items.size(), 3u);
    items[1].selected = items[3].selected = true;
    object->SetStoredItems(items);
    EXPECT_EQ(Trees().getSelected(), (std::vector<int32_t>{1, 3}));
}

TEST_F(RenderNodes, InteractiveRendersStay) {
    UseRenderer(kCoronaId, "Corona");
    auto& scripts = host.State<ScriptSystem>();
    int64_t type = 2;
    scripts.Register("CoronaRenderer.CoronaFp.getRenderType()", [&](const ScriptArguments&) {
        return ScriptResult{type, {}};
    });
    Trees().IDravinRenderBegin(0);
    EXPECT_TRUE(object->Render().IsInteractive());
    Nodes<V1>();
    Trees().IDravinRenderEnd(0);
    EXPECT_TRUE(object->Render().IsRendering());
    TDravinRenderData data;
    EXPECT_TRUE(Trees().getRenderData(&data, 0, 0));
    type = 1;
    Trees().IDravinRenderBegin(0);
    EXPECT_FALSE(object->Render().IsInteractive());
    UseRenderer({1, 2}, "Other");
    Trees().IDravinRenderEnd(0);
    EXPECT_FALSE(object->Render().IsRendering());
}

TEST_F(RenderNodes, ObjectsEnterAndLeaveTheRegistry) {
    std::shared_ptr<TObjectRegistry> registry = TObjectRegistry::Current();
    EXPECT_EQ(registry->Count(), 1u);
    {
        auto loose = TDravin::Create();
        EXPECT_EQ(registry->Count(), 2u);
        EXPECT_EQ(registry->ShownObjects().size(), 1u);
    }
    EXPECT_EQ(registry->Count(), 1u);
    std::shared_ptr<TDravin> kept;
    {
        HostContext other;
        kept = TDravin::Create();
        EXPECT_EQ(TObjectRegistry::Current()->Count(), 1u);
    }
    kept.reset();  // its session is gone
}

// The numbers that lanes draw are those that items have, rejected draws included.
TEST_F(RenderNodes, RandomsAreTheItemsOwn) {
    AskFor(512);
    Set(kDistParams, distParams::kPixelsX, 300);
    Set(kDistParams, distParams::kPixelsY, 300);
    Trees().IDravinRenderBegin(0);
    std::vector<TDravinItem> items = Items();
    auto records = Nodes<V512>();
    ASSERT_EQ(records.size(), items.size());
    ASSERT_GT(records.size(), 10'000u);
    for (size_t i = 0; i < items.size(); ++i) {
        ASSERT_EQ(records[i].randoms[0], items[i].random1) << i;
        ASSERT_EQ(records[i].randoms[2], items[i].random3) << i;
        ASSERT_EQ(records[i].seed, items[i].seed) << i;
    }
}

}  // namespace
