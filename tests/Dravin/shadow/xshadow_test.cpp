// The shadow type over real builds: boxes of 2 x 1 x 3 that quads stand for, lit from the side.
#include "Dravin/shadow/xshadow.h"

#include <gmock/gmock.h>

#include <cmath>

#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/build/mesh_source.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/materials/wrapper_material.h"
#include "Dravin/shadow/face_blanking.h"
#include "Dravin/shadow/opacity_tables.h"
#include "Dravin/shadow/xshadow_generator.h"
#include "host/params/clone_map.h"
#include "host/render/scanline/shadow_scene.h"
#include "tests/Dravin/build/scatter_fixture.h"
#include "tests/host/io/scene_testing.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// Display grey of 0.5 and more up to a border of u, less beyond.
class LeftPart : public Texmap {
public:
    float border = 0.5f;
    AColor EvalColor(const TexPoint& p) const override {
        return p.uvw.x < border ? AColor{1, 1, 1, 1} : AColor{0, 0, 0, 1};
    }
};

class XShadowTest : public ScatterFixture {
protected:
    std::shared_ptr<XShadow> type = std::make_shared<XShadow>();
    std::unique_ptr<XShadowGen> generator;
    std::unique_ptr<IInstanceSource> source;
    std::unique_ptr<ScanScene> geometry;
    std::vector<std::string> problems;
    std::vector<float> progress;
    RenderScene render;
    uint64_t memory = 1 << 30, memoryLater = 1 << 30;
    size_t stopAfter = SIZE_MAX;
    int numAsked = 0;
    std::shared_ptr<LightObject> lamp;  // null: of no scene

    void SetUp() override {
        ScatterFixture::SetUp();
        Set(kDispParams, dispParams::kRendermode, 1);
        Set(kShadowParams, shadowParams::kCustshadow, true);
        Set(kEditionParams, editionParams::kMode, 1);
        Place({{2, 0, 0}});
        SetParam(xshadowParams::kTypemap, int(kImageOpaque));
        SetParam(xshadowParams::kSize, 16);
        SetParam(xshadowParams::kSample, 0.0f);
        SetParam(xshadowParams::kBias, 0.0f);
    }
    template <class T>
    void SetParam(ParamID id, const T& value) {
        type->Block().SetValue(id, 0, value);
    }
    void Place(const std::vector<Point3>& places) {
        std::vector<TStoredItem> items;
        for (const Point3& p : places) {
            TStoredItem item;
            item.storedPosition = p;
            item.seed = uint32_t(items.size() + 1);
            items.push_back(item);
        }
        object->SetStoredItems(items);
    }
    void Build() {
        TBuildFlags flags = Render();
        flags.noCameraLimit = true;
        ASSERT_EQ(Run(flags).Status(), TBuildStatus::kSuccess);
        source = std::make_unique<TDravinMeshSource>(*object, object->Build());
        render.sources = {source.get()};
        geometry = std::make_unique<ScanScene>(render);
    }
    // A light in the south at y = -20: the map's columns run along x, its rows down z, a unit is a
    // pixel, and (0, y, 0) lies at column 8, row 8, depth 20 + y.
    int Update(LightKind kind = LightKind::kDirectional) {
        if (!geometry) Build();
        ScanShadowScene shadows(
            *geometry, 2, [this] { return numAsked++ ? memoryLater : memory; },
            [this](float share) { return progress.push_back(share), progress.size() < stopAfter; });
        Matrix3 light{{{1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {0, -20, 0}}};
        auto made = type->CreateShadowGenerator(lamp.get(), {kind}, 0);
        generator.reset(static_cast<XShadowGen*>(made.release()));
        float param = kind == LightKind::kDirectional ? 8 : 1.5f;
        int result = generator->Update({0, &shadows, light, 1, param, 0});
        problems = shadows.Problems();
        return result;
    }
    // "column,row" of all pixels that see something, row by row.
    std::vector<std::string> Seen() {
        std::vector<std::string> seen;
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 16; ++x)
                if (generator->Buffer()[y * 16 + x] < INFINITY)
                    seen.push_back(std::to_string(x) + "," + std::to_string(y));
        return seen;
    }
    float DepthAt(int x, int y) { return generator->Buffer()[y * 16 + x]; }
    // What the first face of item i gets at a pixel of the map.
    float Lit(size_t item, float x, float y, float z) {
        size_t face = 0;
        const std::vector<int32_t>& owners = object->Build().ObjectMesh().FaceOwners();
        while (owners[face] != int32_t(item)) ++face;
        HitPlace place = geometry->PlaceOf(0, uint32_t(face), 0.2f, 0.2f);
        HitContext context(place, place.Material(), 0, RayKind::kCamera);
        return generator->Sample(context, x, y, z, 0, 0);
    }
    void ShowMaterial(std::shared_ptr<Mtl> mtl) { box->SetMtl(std::move(mtl)); }
    static std::shared_ptr<StandardMtl> WithOpacity(std::shared_ptr<Texmap> map) {
        auto mtl = std::make_shared<StandardMtl>();
        mtl->opacityMap = std::move(map);
        return mtl;
    }
};

}  // namespace

// The item stands at x = 2, 2 wide and 3 high: half width 1, columns 2 + 8 - 1 to 2 + 8 + 1; rows
// 16 - 3 - 8 to 16 - 0 - 8.
TEST_F(XShadowTest, OpaqueDrawsTheVerticalQuadOnlyWhateverElseIsOn) {
    Set(kShadowParams, shadowParams::kVshadow, true);
    Set(kShadowParams, shadowParams::kHshadow, true);
    ASSERT_EQ(Update(), 1);
    EXPECT_THAT(Seen(), ElementsAre("9,5", "10,5", "11,5", "9,6", "10,6", "11,6", "9,7", "10,7",
                                    "11,7", "9,8", "10,8", "11,8"));
    EXPECT_EQ(DepthAt(10, 6), 20);
    EXPECT_EQ(generator->OwnerAt(10, 6), 0x00010001u);
    EXPECT_EQ(generator->OwnerAt(8, 6), 0u);
    Set(kShadowParams, shadowParams::kVshadow, false);
    geometry.reset();
    Update();
    EXPECT_THAT(Seen(), IsEmpty());
}

TEST_F(XShadowTest, AnObjectThatCastsNoShadowsHasNoQuads) {
    Set(kShadowParams, shadowParams::kVshadow, true);
    ASSERT_EQ(Update(), 1);
    EXPECT_FALSE(Seen().empty());
    node->castsShadows = false;
    ASSERT_EQ(Update(), 1);
    EXPECT_THAT(Seen(), IsEmpty());
}

TEST_F(XShadowTest, TheLightSaysWhoCastsItsShadows) {
    lamp = std::make_shared<LightObject>();
    lamp->SetShadowNodes({std::static_pointer_cast<INode>(node->shared_from_this())});
    ASSERT_EQ(Update(), 1);
    EXPECT_THAT(Seen(), IsEmpty());
    lamp->includesShadowNodes = true;
    ASSERT_EQ(Update(), 1);
    EXPECT_EQ(Seen().size(), 12u);
    lamp->SetShadowNodes({});
    ASSERT_EQ(Update(), 1);
    EXPECT_THAT(Seen(), IsEmpty());
}

// u = 2/3, 1/3, 0 from left to right: the last two of the three columns.
TEST_F(XShadowTest, AMirroredItemSeesItsMapReversed) {
    SetParam(xshadowParams::kTypemap, int(kImageFromMaterial));
    ShowMaterial(WithOpacity(std::make_shared<LeftPart>()));
    Set(kTransformParams, transformParams::kMirror, true);
    // About every second seed mirrors.
    TStoredItem item;
    item.storedPosition = {2, 0, 0};
    do {
        ASSERT_LT(++item.seed, 50u);
        object->SetStoredItems({item});
        geometry.reset();
        Update();
    } while (!object->Build().Items().Item(0).mirrored);
    EXPECT_THAT(Seen(),
                ElementsAre("10,5", "11,5", "10,6", "11,6", "10,7", "11,7", "10,8", "11,8"));
}

TEST_F(XShadowTest, ItemsThatKeepTheirFacesCastTheirOwnShadows) {
    Set(kShadowParams, shadowParams::kCustshadow, false);
    Update();
    // The box's front at y = -1/2 covers x in [1, 3] and z in [0, 3].
    EXPECT_THAT(Seen(), ElementsAre("9,5", "10,5", "9,6", "10,6", "9,7", "10,7"));
    EXPECT_EQ(DepthAt(10, 6), 19.5f);
    EXPECT_EQ(generator->OwnerAt(10, 6), 0u);
}

// Templates are billboards by themselves.
TEST_F(XShadowTest, TemplatesAreReplacedWithoutBeingAskedFor) {
    Set(kShadowParams, shadowParams::kCustshadow, false);
    auto board = AddMesh("_dravin_template_board", MakeBox(2, 1, 3, 1));
    DravinGlobals().templates.List().at(0)->SetReference(0, board);
    IParamBlock2& rows = object->Block(kGeomParams);
    rows.SetValue(geomParams::kGeomlist, 0, int(kGeomTemplate), 0);
    rows.SetValue(geomParams::kTempidlist, 0, 0, 0);
    Set(kShadowParams, shadowParams::kVshadow, true);
    Build();
    ASSERT_GT(object->Build().ObjectMesh().GetMesh().NumFaces(), 0u);
    {
        TFaceBlanking blanking(*object, object->Build().ObjectMesh().ChangeableMesh(), 0);
        EXPECT_THAT(blanking.Items(), ElementsAre(true));
        for (const Face& face : object->Build().ObjectMesh().GetMesh().faces)
            EXPECT_EQ(face.v, Triple{});
    }
    Update();
    EXPECT_EQ(generator->OwnerAt(10, 6), 0x00010001u);
    EXPECT_EQ(DepthAt(10, 6), 20);  // the quad's, not the box's front
}

TEST_F(XShadowTest, FromTheMaterialNeedsAMap) {
    SetParam(xshadowParams::kTypemap, int(kImageFromMaterial));
    Update();
    EXPECT_THAT(Seen(), IsEmpty());
    ShowMaterial(WithOpacity(nullptr));
    geometry.reset();
    Update();
    EXPECT_THAT(Seen(), IsEmpty());
    // u = 0, 1/3, 2/3: two of the three columns.
    ShowMaterial(WithOpacity(std::make_shared<LeftPart>()));
    geometry.reset();
    Update();
    EXPECT_THAT(Seen(), ElementsAre("9,5", "10,5", "9,6", "10,6", "9,7", "10,7", "9,8", "10,8"));
}

TEST_F(XShadowTest, TheHorizontalQuadLiesAroundTheFootWhereItHasAMap) {
    auto wrapper = std::make_shared<DMat>();
    wrapper->Block().SetValue(wrapperParams::kHshadowmap, 0,
                              std::static_pointer_cast<ReferenceTarget>(White()));
    ShowMaterial(wrapper);
    SetParam(xshadowParams::kTypemap, int(kImageFromMaterial));
    SetParam(xshadowParams::kSize, 16);
    Set(kShadowParams, shadowParams::kHsoffset, 100);  // at the item's height, 3
    Set(kShadowParams, shadowParams::kHsscale, 200);   // half side 2
    Update();
    // Columns 10 - 2 to 10 + 2, the one row at height 3; the near end 2 before, the far end 2
    // behind.
    EXPECT_THAT(Seen(), ElementsAre("8,5", "9,5", "10,5", "11,5", "12,5"));
    // d = (0, -1, 0): the top of the map's quad is P - 2d, at y = 2.
    EXPECT_EQ(DepthAt(10, 5), 22);
}

TEST_F(XShadowTest, ACustomMapServesBothQuads) {
    SetParam(xshadowParams::kTypemap, int(kImageCustom));
    Update();
    EXPECT_THAT(Seen(), IsEmpty());
    auto map = std::make_shared<LeftPart>();
    map->border = 0.1f;
    SetParam(xshadowParams::kMap, std::static_pointer_cast<ReferenceTarget>(map));
    EXPECT_EQ(type->GetReference(1), map);
    Set(kShadowParams, shadowParams::kHshadow, false);
    Update();
    EXPECT_THAT(Seen(), ElementsAre("9,5", "9,6", "9,7", "9,8"));
}

TEST_F(XShadowTest, MaterialChainsAreWalkedToTheirEnd) {
    auto opacity = std::make_shared<LeftPart>(), upright = std::make_shared<LeftPart>();
    auto standard = WithOpacity(opacity);
    auto wrapper = std::make_shared<DMat>();
    auto multi = std::make_shared<MultiMtl>();
    multi->Append(wrapper);
    multi->Append(WithOpacity(upright));
    EXPECT_EQ(FindOpacityMaps(multi.get(), 0).vertical, nullptr);
    auto set = [&](ParamID id, std::shared_ptr<ReferenceTarget> target) {
        wrapper->Block().SetValue(id, 0, std::move(target));
    };
    set(wrapperParams::kMaterial1, standard);
    EXPECT_EQ(FindOpacityMaps(multi.get(), 0).vertical, opacity.get());
    EXPECT_EQ(FindOpacityMaps(multi.get(), 0).horizontal, nullptr);
    set(wrapperParams::kVshadowmap, upright);
    set(wrapperParams::kHshadowmap, opacity);
    EXPECT_EQ(FindOpacityMaps(multi.get(), 0).vertical, upright.get());
    EXPECT_EQ(FindOpacityMaps(multi.get(), 0).horizontal, opacity.get());
    EXPECT_EQ(FindOpacityMaps(nullptr, 0).vertical, nullptr);
    MultiMtl empty;
    EXPECT_EQ(FindOpacityMaps(&empty, 0).vertical, nullptr);
}

TEST_F(XShadowTest, AnItemNeverShadowsItself) {
    Place({{2, 0, 0}, {2, 5, 0}});
    Update();
    // Both stand in the same columns: the first one, nearer to the light, owns the pixels.
    EXPECT_EQ(generator->OwnerAt(10, 6), 0x00010001u);
    EXPECT_EQ(Lit(0, 10.5f, 6.5f, 99), 1);
    EXPECT_EQ(Lit(1, 10.5f, 6.5f, 99), 0);
    EXPECT_EQ(Lit(1, 5.5f, 6.5f, 99), 1);
    SetParam(xshadowParams::kSelfshadow, false);
    Update();
    EXPECT_EQ(generator->OwnerAt(10, 6), 0u);
    EXPECT_EQ(Lit(0, 10.5f, 6.5f, 99), 0);
}

TEST_F(XShadowTest, FewItemsReportNoProgressAndManyCanBeStopped) {
    std::vector<Point3> places;
    for (int i = 0; i < 19; ++i) places.push_back({-7.0f, float(i), 0});
    Place(places);
    Update();
    EXPECT_THAT(progress, IsEmpty());
    // 40 items: a report after every second one.
    for (int i = 19; i < 40; ++i) places.push_back({4, float(i), 0});
    Place(places);
    geometry.reset();
    Update();
    EXPECT_EQ(progress.size(), 20u);
    EXPECT_NEAR(progress[0], 1 / 40.f, 1e-6f);
    // Stopped at the third report: six items at x = -7 stand, none at x = 4.
    progress.clear();
    stopAfter = 3;
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(progress.size(), 3u);
    EXPECT_EQ(DepthAt(1, 6), 20);
    EXPECT_EQ(DepthAt(12, 6), INFINITY);
}

TEST_F(XShadowTest, TheMeshIsWholeAgainAfterwards) {
    Build();
    std::vector<Face> before = object->Build().ObjectMesh().GetMesh().faces;
    {
        TFaceBlanking blanking(*object, object->Build().ObjectMesh().ChangeableMesh(), 0);
        EXPECT_THAT(blanking.Items(), ElementsAre(true));
        for (const Face& face : object->Build().ObjectMesh().GetMesh().faces)
            EXPECT_EQ(face, (Face{{}, 0, 0, 0}));
    }
    EXPECT_EQ(object->Build().ObjectMesh().GetMesh().faces, before);
    Update();
    EXPECT_EQ(object->Build().ObjectMesh().GetMesh().faces, before);
}

// A box of twelve faces and its two planes: the quads stand for all of it.
TEST_F(XShadowTest, ShadowPlanesGoWithTheFacesOfTheirItem) {
    INode* sun = scene.AddNode("sun", std::make_shared<LightObject>());
    sun->SetLocalTM(Matrix3::RotationX(1));
    Set(kShadowParams, shadowParams::kLight, Target(sun->shared_from_this()));
    for (ParamID on :
         {shadowParams::kUsefakeshadows, shadowParams::kVshadow, shadowParams::kHshadow})
        Set(kShadowParams, on, true);
    Build();
    Mesh& mesh = object->Build().ObjectMesh().ChangeableMesh();
    ASSERT_EQ(mesh.NumFaces(), 12u + 4u);
    TFaceBlanking blanking(*object, mesh, 0);
    for (const Face& face : mesh.faces) EXPECT_EQ(face.v, Triple{});
}

TEST_F(XShadowTest, NoMemoryForTheOwnerBufferIsTold) {
    auto user = std::make_unique<ScriptedUserInterface>();
    ScriptedUserInterface& told = *user;
    host.SetUserInterface(std::move(user));
    memoryLater = 16 * 16 * 4 - 1;
    EXPECT_EQ(Update(), 0);
    ASSERT_EQ(told.messages.size(), 1u);
    EXPECT_EQ(told.messages[0].text, "No available memory for buffer, XShadow aborted");
    EXPECT_EQ(told.messages[0].caption, "XShadow Error");
    EXPECT_NE(generator->Buffer(), nullptr);
    EXPECT_THAT(Seen(), IsEmpty());  // the wrapped map stands, without quads
    numAsked = 0;
    SetParam(xshadowParams::kSelfshadow, false);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(told.messages.size(), 1u);
}

TEST_F(XShadowTest, WithoutAMapNothingIsDrawn) {
    SetParam(xshadowParams::kSize, 0);
    EXPECT_EQ(Update(), 1);
    EXPECT_EQ(generator->Buffer(), nullptr);
    EXPECT_THAT(problems, ElementsAre(HasSubstr("the size of its shadow map is 0")));
    SetParam(xshadowParams::kSize, 999999);
    EXPECT_EQ(Update(), 1);
    EXPECT_THAT(problems, ElementsAre(HasSubstr("999999 x 999999 pixels")));
    EXPECT_EQ(Lit(0, 3, 3, 99), 1);
}

TEST_F(XShadowTest, OtherLightsGetThePlainMap) {
    Update(LightKind::kSpot);
    EXPECT_GT(Seen().size(), 0u);
    EXPECT_LT(DepthAt(8, 7), 20.5f);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(generator->OwnerAt(i % 16, i / 16), 0u);
}

// The wrapped map answers everything but Sample.
TEST_F(XShadowTest, OtherQuestionsGoToTheWrappedMap) {
    Set(kShadowParams, shadowParams::kVshadow, true);
    Update();
    // Depth 20 stands at (10, 6), nothing at (3, 6).
    EXPECT_EQ(generator->QuickSample(10, 6, 25), 0);
    EXPECT_EQ(generator->QuickSample(10, 6, 15), 1);
    EXPECT_EQ(generator->QuickSample(3, 6, 25), 1);
    EXPECT_EQ(generator->FiltSample(10.5f, 6.5f, 25, 1), 0);
    EXPECT_EQ(generator->FiltSample(3.5f, 6.5f, 25, 1), 1);
    EXPECT_EQ(generator->LineSample({3.2f, 6.5f, 25}, {4.2f, 6.5f, 25}), 1);
    EXPECT_EQ(generator->LineSample({10.2f, 6.5f, 25}, {10.8f, 6.5f, 25}), 0);
    EXPECT_EQ(generator->UpdateViewDepParams(Matrix3::Translation({1, 2, 3})), 1);
    HitPlace place = geometry->PlaceOf(0, 0, 0.2f, 0.2f);
    HitContext context(place, place.Material(), 0, RayKind::kCamera);
    Color color{0.5f, 0.5f, 0.5f};
    EXPECT_EQ(generator->Sample(context, {0, 0, 1}, &color), 1);
    EXPECT_EQ(generator->Size(), 16);
    generator->FreeBuffer();
    EXPECT_EQ(generator->Buffer(), nullptr);
}

namespace {

// A map whose parameters have keys.
class KeyedMap : public LeftPart {
public:
    std::shared_ptr<IParamBlock2> block = IParamBlock2::Create(XShadowBlock());
    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int) const override { return block; }
};

ParamElement TwoKeys() {
    ParamElement element{ParamValue(1.0f), {}};
    element.track.SetKey(0, ParamValue(1.0f));
    element.track.SetKey(4800, ParamValue(9.0f));
    return element;
}

}  // namespace

TEST_F(XShadowTest, HoldsAsLongAsItsParametersAndThoseOfItsMap) {
    Update();
    EXPECT_EQ(generator->Validity(), Interval::Forever());
    auto outer = std::make_shared<KeyedMap>();
    SetParam(xshadowParams::kMap, std::static_pointer_cast<ReferenceTarget>(outer));
    Update();
    EXPECT_EQ(generator->Validity(), Interval::Forever());
    outer->block->SetElements(xshadowParams::kBias, {TwoKeys()});
    Update();
    EXPECT_EQ(generator->Validity(), Interval::Instant(0));
    SetParam(xshadowParams::kMap, std::shared_ptr<ReferenceTarget>());
    Update();
    EXPECT_EQ(generator->Validity(), Interval::Forever());
    type->Block().SetElements(xshadowParams::kSample, {TwoKeys()});
    Update();
    EXPECT_EQ(generator->Validity(), Interval::Instant(0));
}

TEST_F(XShadowTest, HasItsTableAndItsClass) {
    struct Row {
        ParamID id;
        const char* name;
        ParamType type;
    };
    const Row rows[] = {{0, "typemap", ParamType::kInt},       {1, "map", ParamType::kTexmap},
                        {2, "disablecache", ParamType::kBool}, {8, "selfshadow", ParamType::kBool},
                        {3, "bias", ParamType::kFloat},        {4, "size", ParamType::kInt},
                        {5, "sample", ParamType::kFloat},      {6, "absolute", ParamType::kBool},
                        {7, "old_disablexc", ParamType::kBool}};
    XShadow fresh;
    const std::vector<ParamDef>& params = fresh.Block().GetDesc().params;
    ASSERT_EQ(params.size(), std::size(rows));
    for (size_t i = 0; i < params.size(); ++i) {
        EXPECT_EQ(params[i].id, rows[i].id);
        EXPECT_EQ(params[i].name, rows[i].name);
        EXPECT_EQ(params[i].type, rows[i].type);
    }
    EXPECT_EQ(fresh.Block().GetInt(0), 1);
    EXPECT_EQ(fresh.MapSize(0), 512);
    EXPECT_EQ(fresh.Block().GetFloat(5), 4);
    RegisterDravinClasses(host.classes);
    auto made = host.classes.Create({0x687e3302, 0x3a8f70c8});
    EXPECT_TRUE(std::dynamic_pointer_cast<XShadow>(made));
    EXPECT_EQ(uint32_t(made->Class().super), 0x10D0u);
}

TEST_F(XShadowTest, CopiesHaveABlockOfTheirOwnAndShareTheMap) {
    auto map = std::make_shared<LeftPart>();
    SetParam(xshadowParams::kMap, std::static_pointer_cast<ReferenceTarget>(map));
    CloneMap copies;
    auto copy = std::dynamic_pointer_cast<XShadow>(type->Clone(copies));
    copies.Finish();
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->MapSize(0), 16);
    EXPECT_EQ(copy->CustomMap(), map.get());
    copy->Block().SetValue(xshadowParams::kSize, 0, 99);
    EXPECT_EQ(type->MapSize(0), 16);
}

TEST_F(XShadowTest, LightsNameItInSceneDescriptions) {
    RegisterDravinClasses(host.classes);
    auto read = ParseScene(R"({"dravin_scene": 1,
      "texmaps": {"mask": {"type": "checker"}},
      "nodes": [{"name": "sun", "type": "light",
                 "shadow": {"type": "XShadow", "size": 64, "typemap": 2, "map": "mask"}}]})");
    ASSERT_TRUE(read.scene) << read.error;
    auto* light = static_cast<LightObject*>(read.scene->FindNode("sun")->GetObjectRef());
    auto* shadow = dynamic_cast<XShadow*>(light->shadowType.Get());
    ASSERT_TRUE(shadow);
    EXPECT_EQ(shadow->MapSize(0), 64);
    EXPECT_EQ(shadow->CustomMap(), read.scene->Texmaps().at("mask").get());
    std::string text = WriteSceneDescription(*read.scene, ".", HostFormats());
    EXPECT_THAT(text, HasSubstr(R"("map": "mask")"));
    EXPECT_THAT(text, HasSubstr(R"("type": "XShadow")"));
}
