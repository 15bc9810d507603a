// Scatter objects in scene files.
#include "tests/Dravin/storage/object_file.h"

#include "Dravin/build/dravin_build.h"
#include "Dravin/geometry/area_texts.h"
#include "Dravin/proxy/instance_nodes.h"
#include "Dravin/storage/item_block.h"
#include "host/base/log.h"

namespace {

TStoredItem ItemAt(float x) {
    TStoredItem item;
    item.storedPosition = {x, 0, 0};
    return item;
}

std::string ItemChunk(uint16_t form, float x, size_t size) {
    std::string block(kItemBlockBytes, '\0'), chunk;
    WriteItemBlock(ItemAt(x), block.data());
    AppendChunk(chunk, form, std::string_view(block).substr(0, size));
    return chunk;
}

bool Contains(const std::string& bytes, uint16_t chunk) {
    std::string wanted;
    AppendChunk(wanted, chunk, std::string(kItemBlockBytes, '\0'));
    return bytes.find(wanted.substr(0, kObjectChunkHeader)) != std::string::npos;
}

}  // namespace

TEST_F(ObjectFile, ParametersCurvesAndTheirKeysComeBack) {
    object->Block(kGenParams).SetValue(genParams::kSeed, 0, 77);
    IParamBlock2& geometry = object->Block(kGeomParams);
    INode* tree = scene.AddNode("tree", std::make_shared<DummyObject>());
    geometry.Append(geomParams::kCobjlist,
                    std::shared_ptr<ReferenceTarget>(tree->shared_from_this()));
    geometry.Append(geomParams::kNamelist, std::string("Fichte"));
    object->CurveSet(kSlotSurfaceCurves)->SetPoints(2, {{0, 10}, {1, 20, 1, 2, 3, 4, 5}});
    auto paint = std::make_shared<TPaintShape>();
    paint->shape = PolyShape{{{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, true}}};
    object->Block(kAreaParams)
        .Append(areaParams::kArpaintlist, std::shared_ptr<ReferenceTarget>(paint));
    TDravin* again = Again();
    ASSERT_TRUE(again);
    EXPECT_EQ(again->Block(kGenParams).GetInt(genParams::kSeed), 77);
    EXPECT_EQ(again->Block(kGeomParams).GetNode(geomParams::kCobjlist), Loaded().FindNode("tree"));
    EXPECT_EQ(again->Block(kGeomParams).GetString(geomParams::kNamelist), "Fichte");
    EXPECT_EQ(again->CurveSet(kSlotSurfaceCurves)->Points(2),
              object->CurveSet(kSlotSurfaceCurves)->Points(2));
    auto* shape = dynamic_cast<TPaintShape*>(
        again->Block(kAreaParams).GetReference(areaParams::kArpaintlist, 0));
    ASSERT_TRUE(shape);
    EXPECT_EQ(shape->shape.Get(), paint->shape.Get());
}

TEST_F(ObjectFile, SavingWhatWasLoadedGivesTheSameBytes) {
    object->Block(kEditionParams).SetElements(editionParams::kMode, {{int32_t{1}, {}}});
    object->SetStoredItems({ItemAt(1), ItemAt(2)});
    TItemDelta delta;
    delta.id.cell = {1, 2, 3, 4};
    delta.move = {1, 2, 3};
    object->SetDeltas({delta});
    std::string bytes = Save(scene);
    ASSERT_TRUE(Load(bytes));
    EXPECT_EQ(Save(Loaded()), bytes);
    auto* again = dynamic_cast<TDravin*>(Loaded().FindNode("wood")->GetObjectRef());
    EXPECT_EQ(again->StoredItems(), object->StoredItems());
    EXPECT_EQ(again->Deltas(), object->Deltas());
}

TEST_F(ObjectFile, ANewObjectStillChoosesItsMapSize) {
    EXPECT_FALSE(Again()->chooseMapSize);
    object->chooseMapSize = true;
    EXPECT_TRUE(Again()->chooseMapSize);
}

TEST_F(ObjectFile, GeneratedItemsAreNotStored) {
    object->SetStoredItems({ItemAt(1)});
    std::string bytes = Save(scene);
    EXPECT_FALSE(Contains(bytes, kItemChunk));
    TDravin* again = Load(bytes);
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->StoredItems().empty());
}

TEST_F(ObjectFile, TheNewestFormOfItemsCountsWhereverItStands) {
    std::string newest = ItemChunk(kItemChunk, 9, 248), older = ItemChunk(kItemsForm2Chunk, 5, 236),
                oldest = ItemChunk(kItemsForm1Chunk, 1, 236);
    for (const std::string& chunks : {newest + older, older + newest, oldest + newest + older}) {
        TDravin* again = Load(SaveWith(chunks));
        ASSERT_TRUE(again);
        ASSERT_EQ(again->StoredItems().size(), 1u);
        EXPECT_EQ(again->StoredItems()[0].storedPosition.x, 9);
    }
    TDravin* again = Load(SaveWith(oldest + older + older));
    ASSERT_EQ(again->StoredItems().size(), 2u);
    EXPECT_EQ(again->StoredItems()[0].storedPosition.x, 5);
    // Older items had no depth of their own.
    EXPECT_EQ(again->StoredItems()[0].sizeFactor, (Point3{1, 1, 1}));
}

TEST_F(ObjectFile, OldestItemsOfUnknownSizeAreSkipped) {
    TDravin* again = Load(SaveWith(ItemChunk(kItemsForm1Chunk, 1, 200)));
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->StoredItems().empty());
    EXPECT_FALSE(Read(SaveWith(ItemChunk(kItemChunk, 1, 200))));
}

TEST_F(ObjectFile, ShortChunksAreClampedOrMalformed) {
    std::string identifier, display, version;
    AppendChunk(identifier, kIdentifierChunk, std::string(300, 'a'));
    AppendChunk(display, kDisplayChunk, int32_t{20});
    AppendChunk(version, kVersionChunk, "ab");
    TDravin* again = Load(SaveWith(identifier + display));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->fileState.identifier, std::string(100, 'a'));
    EXPECT_EQ(DravinGlobals().display.cloudDensityPercent, 20);
    EXPECT_EQ(DravinGlobals().display.shade, 0.5f);
    SceneReadResult result = Read(SaveWith(version));
    EXPECT_FALSE(result);
    EXPECT_EQ(result.errorClass, DescriptionErrorClass::kMalformed);
}

TEST_F(ObjectFile, UnknownChunksAreKept) {
    std::string later;
    AppendChunk(later, 0x7777, "later");
    ASSERT_TRUE(Load(SaveWith(later)));
    std::string bytes = Save(Loaded());
    EXPECT_NE(bytes.find(later), std::string::npos);
}

TEST_F(ObjectFile, ProcessWideSettingsComeWithTheObject) {
    int before = SetLogLevel(0);
    DravinGlobals().display.cloudDensityPercent = 30;
    SetLogLevel(1);
    std::string bytes = Save(scene);
    DravinGlobals().display = {};
    SetLogLevel(0);
    ASSERT_TRUE(Load(bytes));
    EXPECT_EQ(DravinGlobals().display.cloudDensityPercent, 30);
    EXPECT_EQ(GetLogLevel(), 1);
    SetLogLevel(2);
    ASSERT_TRUE(Load(bytes));
    EXPECT_EQ(GetLogLevel(), 2) << "files only raise it";
    SetLogLevel(before);
}

TEST_F(ObjectFile, ObjectsGetIdentifiers) {
    auto twin = TDravin::Create();
    scene.AddNode("twin", twin);
    Save(scene);
    const std::string& id = object->fileState.identifier;
    EXPECT_EQ(id.size(), 8u);
    EXPECT_EQ(id.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_NE(id[0], '0');
    EXPECT_NE(id, twin->fileState.identifier);
    EXPECT_EQ(object->Block(kGenParams).GetString(genParams::kRenderid), id);
    EXPECT_EQ(object->Block(kGenParams).GetString(genParams::kSavedversion), "6.3.1");
    TDravin* again = Again();
    ASSERT_TRUE(again);
    EXPECT_EQ(again->fileState.identifier, id);
}

TEST_F(ObjectFile, NodesOfTheInstancingToolAreRemembered) {
    INode* node = scene.AddNode("item", nullptr);
    SetInstanceNodes(*object, {node});
    TDravin* again = Again();
    ASSERT_TRUE(again);
    EXPECT_EQ(InstanceNodesOf(*again, Loaded()),
              std::vector<INode*>{Loaded().FindHandle(node->GetHandle())});
}

TEST_F(ObjectFile, TemplatesOfTheSceneServeWhereThereAreNone) {
    auto entry = std::make_shared<TSpecGeom>("Tänne", "tree", "Tree", "tree.png");
    TTemplates& templates = DravinGlobals().templates;
    templates = {};
    templates.restored = {entry};
    std::string bytes = Save(scene);
    templates = {};
    ASSERT_TRUE(Load(bytes));
    ASSERT_EQ(templates.restored.size(), 1u);
    EXPECT_EQ(templates.restored[0]->name, "Tänne");
    EXPECT_EQ(templates.restored[0]->image, "tree.png");
    EXPECT_EQ(templates.Names(), std::vector<std::string>{"Tänne"});
}

TEST_F(ObjectFile, SavedItemsHoldWhatTheLastBuildMade) {
    object->Block(kEditionParams).SetElements(editionParams::kMode, {{int32_t{1}, {}}});
    TStoredItem item = ItemAt(3);
    object->SetStoredItems({item});
    INode* box = scene.AddNode(
        "box", std::make_shared<TriObject>(loaders->MakePrimitive({"box", 1, 2, 3, 0, 0})));
    IParamBlock2& geometry = object->Block(kGeomParams);
    geometry.Append(geomParams::kNamelist, std::string("box"));
    geometry.Append(geomParams::kGeomlist, int32_t{2});
    geometry.Append(geomParams::kUsemeshdimlist, int32_t{1});
    geometry.Append(geomParams::kScalelist, 100.0f);
    geometry.Append(geomParams::kCobjlist,
                    std::shared_ptr<ReferenceTarget>(box->shared_from_this()));
    TBuildFlags flags;
    flags.noMesh = true;
    object->Build().BuildMesh(0, flags);
    if (object->Build().Items().Count() != 1) GTEST_FAIL() << "the build made no item";
    TDravinItem built;
    object->Build().Items().ReadStored(0, &built);
    TDravin* again = Again();
    ASSERT_TRUE(again);
    ASSERT_EQ(again->StoredItems().size(), 1u);
    EXPECT_EQ(again->StoredItems()[0].width, built.width);
    EXPECT_EQ(again->StoredItems()[0].position, built.position);
    EXPECT_EQ(built.height, 3);
}
