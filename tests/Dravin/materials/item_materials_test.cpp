// The tint map and the wrapper material on hits of real scatter objects, and on other surfaces.
#include <gmock/gmock.h>

#include <set>

#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/materials/edge_map.h"
#include "Dravin/materials/tint_map.h"
#include "Dravin/materials/wrapper_material.h"
#include "host/math/display_color.h"
#include "host/params/clone_map.h"
#include "host/render/trace_scene.h"
#include "tests/Dravin/build/scatter_fixture.h"
#include "tests/host/io/scene_testing.h"

using testing::HasSubstr;

namespace {

class ItemMaterials : public ScatterFixture {
protected:
    // What a place of instance i shows: straight down onto its middle.
    SurfaceLook LookAt(const IInstanceSource& source, size_t i) {
        if (!m_trace) {
            m_scene.sources = {&source};
            m_trace = std::make_unique<TraceScene>(m_scene);
        }
        InstanceRecord record;
        source.GetInstances(i, {&record, 1});
        TraceRay ray;
        ray.origin = record.transform.GetTrans() + Point3{0.11f, 0.07f, 60};
        ray.direction = {0, 0, -1};
        TraceHit hit;
        EXPECT_TRUE(m_trace->Intersect(ray, &hit));
        EXPECT_EQ(hit.instance->number, i);
        SurfaceLook look;
        HitContext(hit, hit.Material(), 0, RayKind::kCamera).Shade(&look);
        return look;
    }
    std::unique_ptr<IInstanceSource> Build(std::shared_ptr<Mtl> mtl) {
        m_trace.reset();
        // Items that stand apart.
        box->SetObjectRef(
            std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(0.6f, 0.5f, 3, 1))));
        box->SetMtl(std::move(mtl));
        TBuildFlags flags;
        flags.render = true;
        object->Build().BuildMesh(0, flags);
        EXPECT_EQ(object->Build().Status(), TBuildStatus::kSuccess);
        return object->Build().MakeInstanceSource();
    }
    static std::shared_ptr<StandardMtl> Showing(std::shared_ptr<Texmap> map) {
        auto mtl = std::make_shared<StandardMtl>();
        mtl->diffuseMap = std::move(map);
        return mtl;
    }
    void TintObject() {
        Set(kMatParams, matParams::kTintmin, 60);
        Set(kMatParams, matParams::kTintmax, 20);
        Set(kMatParams, matParams::kTintcolor1, Color{1, 0, 0});
        Set(kMatParams, matParams::kTintcolor2, Color{0, 0, 1});
    }

    RenderScene m_scene;
    std::unique_ptr<TraceScene> m_trace;
};

void ExpectDisplay(const Color& linear, const Color& expected) {
    Color seen = LinearToDisplay(linear);
    EXPECT_NEAR(seen.r, expected.r, 2e-4f);
    EXPECT_NEAR(seen.g, expected.g, 2e-4f);
    EXPECT_NEAR(seen.b, expected.b, 2e-4f);
}

// What a plane of no scatter object shows under a material.
SurfaceLook LookAtForeign(Mtl& mtl) {
    Mesh ground = MakePlane(4, 4);
    RenderScene scene;
    scene.nodes = {{&ground, &mtl, {}}};
    TraceScene trace(scene);
    TraceRay ray;
    ray.origin = {0.1f, 0.2f, 5};
    ray.direction = {0, 0, -1};
    TraceHit hit;
    EXPECT_TRUE(trace.Intersect(ray, &hit));
    SurfaceLook look;
    HitContext(hit, hit.Material(), 0, RayKind::kCamera).Shade(&look);
    return look;
}

Color Blend(const Color& c, const Color& t, float a) { return c * (1 - a) + t * a; }

}  // namespace

TEST_F(ItemMaterials, WithoutEntriesItemsShowTheBaseColourTintedByTheirOwnTint) {
    TintObject();
    auto map = std::make_shared<DColor>();
    map->Block().SetValue(tintMapParams::kColorbase, 0, Color{0.2f, 0.4f, 0.6f});
    map->Block().SetValue(tintMapParams::kTintmixmode, 0, 0);
    auto source = Build(Showing(map));
    std::set<float> reds;
    for (size_t i = 0; i < 40; ++i) {
        TDravinItem item = object->Build().Items().Item(i);
        float amount = 0.2f + 0.4f * item.random1;
        Color tint{1 - item.random2, 0, item.random2};
        Color seen = LookAt(*source, i).diffuse;
        ExpectDisplay(seen, Blend({0.2f, 0.4f, 0.6f}, tint, amount));
        reds.insert(seen.r);
    }
    EXPECT_GT(reds.size(), 35u);
}

TEST_F(ItemMaterials, EntriesAreChosenByItem) {
    auto map = std::make_shared<DColor>();
    const Color kColors[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const float kWeights[] = {50, 0, 50};
    for (int i = 0; i < 3; ++i) {
        map->Block().SetValue(tintMapParams::kMaponlist, 0, true, i);
        map->Block().SetValue(tintMapParams::kColorlist, 0, kColors[i], i);
        map->Block().SetValue(tintMapParams::kProblist, 0, kWeights[i], i);
    }
    auto image = std::make_shared<CheckerTex>();
    image->color1 = image->color2 = Color{0, 1, 1};
    map->Block().SetValue(tintMapParams::kMaplist, 0, std::shared_ptr<Texmap>(image), 2);
    auto source = Build(Showing(map));
    for (size_t i = 0; i < 60; ++i) {
        TDravinItem item = object->Build().Items().Item(i);
        if (std::abs(item.random3 - 0.5f) < 0.2f) continue;  // the table's steps
        ExpectDisplay(LookAt(*source, i).diffuse,
                      item.random3 < 0.5f ? Color{1, 0, 0} : Color{0, 1, 1});
    }
}

TEST_F(ItemMaterials, EntriesWithoutAnyWeightAreChosenAlike) {
    auto map = std::make_shared<DColor>();
    auto image = std::make_shared<ColorTex>();
    image->color = Color{0, 1, 1};
    for (int i = 0; i < 2; ++i) {
        map->Block().SetValue(tintMapParams::kMaponlist, 0, true, i);
        map->Block().SetValue(tintMapParams::kColorlist, 0, Color{1, 0, 0}, i);
        map->Block().SetValue(tintMapParams::kProblist, 0, 0.0f, i);
    }
    map->Block().SetValue(tintMapParams::kMaplist, 0, std::shared_ptr<Texmap>(image), 1);
    auto source = Build(Showing(map));
    for (size_t i = 0; i < 60; ++i) {
        float r = object->Build().Items().Item(i).random3;
        if (std::abs(r - 0.5f) < 0.26f) continue;  // the table's steps
        ExpectDisplay(LookAt(*source, i).diffuse, r < 0.5f ? Color{1, 0, 0} : Color{0, 1, 1});
    }
}

TEST_F(ItemMaterials, ElementsChooseEntriesWhileTheTintStaysTheItems) {
    TintObject();
    auto map = std::make_shared<DColor>();
    map->Block().SetValue(tintMapParams::kMapidmode, 0, 1);
    map->Block().SetValue(tintMapParams::kTintmixmode, 0, 0);
    const Color kColors[] = {{1, 1, 0}, {0, 1, 0}};
    for (int i = 0; i < 2; ++i) {
        map->Block().SetValue(tintMapParams::kMaponlist, 0, true, i);
        map->Block().SetValue(tintMapParams::kColorlist, 0, kColors[i], i);
    }
    auto source = Build(Showing(map));
    auto* items = static_cast<const IShadedItems*>(source->GetInterface(IShadedItems::kInterface));
    const float kHalves[] = {1, 1};
    TNuRandomTable table(kHalves);
    int others = 0;
    for (size_t i = 0; i < 60; ++i) {
        TDravinItem item = object->Build().Items().Item(i);
        size_t entry = table.Sample(MixHash(item.random3, items->ElementOf(uint32_t(i), 0).first));
        others += entry != table.Sample(item.random3);
        Color tint{1 - item.random2, 0, item.random2};
        ExpectDisplay(LookAt(*source, i).diffuse,
                      Blend(kColors[entry], tint, 0.2f + 0.4f * item.random1));
    }
    EXPECT_GT(others, 10);  // chosen by the element, not by the item alone
}

TEST_F(ItemMaterials, ElementsChooseAndVaryByThemselves) {
    TintObject();
    auto map = std::make_shared<DColor>();
    map->Block().SetValue(tintMapParams::kTintmixmode, 0, 0);
    map->Block().SetValue(tintMapParams::kTintvariation, 0, 1.0f);
    auto source = Build(Showing(map));
    InstanceRecord record;
    source->GetInstances(0, {&record, 1});
    auto* items = static_cast<const IShadedItems*>(source->GetInterface(IShadedItems::kInterface));
    ASSERT_TRUE(items);
    TElementRandoms element = items->ElementOf(0, 0);
    EXPECT_GT(element.first, 0);
    TDravinItem item = object->Build().Items().Item(0);
    float amount = 0.2f + 0.4f * MixHash(item.random1, element.first);
    float m = MixHash(item.random2, element.second);
    ExpectDisplay(LookAt(*source, 0).diffuse, Blend({1, 1, 1}, {1 - m, 0, m}, amount));
    EXPECT_EQ(source->GetInterface(1), nullptr);
}

TEST_F(ItemMaterials, OtherSurfacesShowTheBaseWithoutTint) {
    auto map = std::make_shared<DColor>();
    map->Block().SetValue(tintMapParams::kColorbase, 0, Color{0.5f, 0.25f, 0});
    map->Block().SetValue(tintMapParams::kOverride, 0, true);
    map->Block().SetValue(tintMapParams::kMaponlist, 0, true, 0);
    auto wrapper = std::make_shared<DMat>();
    wrapper->Block().SetValue(wrapperParams::kMaterial1, 0, std::shared_ptr<Mtl>(Showing(map)));
    wrapper->Block().SetValue(wrapperParams::kOverride, 0, true);
    wrapper->Block().SetValue(wrapperParams::kTintmax, 0, 100);
    ExpectDisplay(LookAtForeign(*wrapper).diffuse, {0.5f, 0.25f, 0});
}

TEST_F(ItemMaterials, OtherSurfacesShowTheBaseMapWhereThereIsOne) {
    auto map = std::make_shared<DColor>();
    auto base = std::make_shared<ColorTex>();
    base->color = Color{0.25f, 0.5f, 0.75f};
    map->Block().SetValue(tintMapParams::kColorbase, 0, Color{1, 0, 0});
    map->Block().SetValue(tintMapParams::kMapbase, 0, std::shared_ptr<Texmap>(base));
    map->Block().SetValue(tintMapParams::kOverride, 0, true);
    ExpectDisplay(LookAtForeign(*Showing(map)).diffuse, {0.25f, 0.5f, 0.75f});
}

// The map's own settings in place of the object's: amounts between 20 and 80 percent, whichever of
// the two is called the least.
TEST_F(ItemMaterials, TheMapsOwnTintRangeCountsInEitherOrder) {
    TintObject();
    for (auto [least, most] : {std::pair{20, 80}, {80, 20}}) {
        auto map = std::make_shared<DColor>();
        map->Block().SetValue(tintMapParams::kColorbase, 0, Color{1, 1, 1});
        map->Block().SetValue(tintMapParams::kOverride, 0, true);
        map->Block().SetValue(tintMapParams::kTintmixmode, 0, int(kTintNormal));
        map->Block().SetValue(tintMapParams::kTintmin, 0, least);
        map->Block().SetValue(tintMapParams::kTintmax, 0, most);
        map->Block().SetValue(tintMapParams::kTintcolor1, 0, Color{0, 1, 0});
        map->Block().SetValue(tintMapParams::kTintcolor2, 0, Color{0, 0, 1});
        auto source = Build(Showing(map));
        for (size_t i = 0; i < 20; ++i) {
            TDravinItem item = object->Build().Items().Item(i);
            Color tint{0, 1 - item.random2, item.random2};
            ExpectDisplay(LookAt(*source, i).diffuse,
                          Blend({1, 1, 1}, tint, 0.2f + 0.6f * item.random1));
        }
    }
}

TEST_F(ItemMaterials, OnOtherSurfacesTheWrapperIsItsBase) {
    auto base = std::make_shared<StandardMtl>();
    base->diffuse = {0.2f, 0.4f, 0.6f};
    auto wrapper = std::make_shared<DMat>();
    wrapper->Block().SetValue(wrapperParams::kMaterial1, 0, std::shared_ptr<Mtl>(base));
    wrapper->Block().SetValue(wrapperParams::kOverride, 0, true);
    wrapper->Block().SetValue(wrapperParams::kTintmin, 0, 100);
    wrapper->Block().SetValue(wrapperParams::kTintmax, 0, 100);
    wrapper->Block().SetValue(wrapperParams::kTintcolor1, 0, Color{1, 0, 0});
    wrapper->Block().SetValue(wrapperParams::kTintcolor2, 0, Color{1, 0, 0});
    EXPECT_EQ(LookAtForeign(*wrapper).diffuse, LookAtForeign(*base).diffuse);
}

TEST_F(ItemMaterials, TheWrapperTintsWhatItsBaseShows) {
    auto base = std::make_shared<StandardMtl>();
    base->diffuse = {0.2f, 0.4f, 0.6f};
    auto wrapper = std::make_shared<DMat>();
    wrapper->Block().SetValue(wrapperParams::kMaterial1, 0, std::shared_ptr<Mtl>(base));
    wrapper->Block().SetValue(wrapperParams::kOverride, 0, true);
    wrapper->Block().SetValue(wrapperParams::kTintmin, 0, 60);
    wrapper->Block().SetValue(wrapperParams::kTintmax, 0, 20);
    wrapper->Block().SetValue(wrapperParams::kTintcolor1, 0, Color{1, 0, 0});
    wrapper->Block().SetValue(wrapperParams::kTintcolor2, 0, Color{0, 0, 1});
    Set(kMatParams, matParams::kTintmixmode, 0);
    auto source = Build(wrapper);
    for (size_t i = 0; i < 20; ++i) {
        TDravinItem item = object->Build().Items().Item(i);
        // For random values 0.25 and 0.75: amount 0.3, tint (0.25, 0, 0.75), shown
        // (0.215, 0.28, 0.645).
        float amount = 0.2f + 0.4f * item.random1;
        Color tint{1 - item.random2, 0, item.random2};
        ExpectDisplay(LookAt(*source, i).diffuse, Blend({0.2f, 0.4f, 0.6f}, tint, amount));
    }
    EXPECT_EQ(wrapper->AsStandard(0), base.get());
    wrapper->Block().SetValue(wrapperParams::kMaterial1, 0, nullptr);
    EXPECT_EQ(wrapper->AsStandard(0), nullptr);
    wrapper->Block().SetValue(wrapperParams::kTintmax, 0, 0);
    wrapper->Block().SetValue(wrapperParams::kTintmin, 0, 0);
    ExpectDisplay(LookAt(*Build(wrapper), 0).diffuse, {0.5f, 0.5f, 0.5f});
}

TEST(EdgeMap, IsWhiteOrItsMap) {
    auto map = std::make_shared<DEdge>();
    std::string error;
    ASSERT_TRUE(map->Update(0, &error));
    EXPECT_EQ(map->EvalColor({}), (AColor{1, 1, 1, 1}));
    auto grey = std::make_shared<ColorTex>();
    grey->color = {0.3f, 0.3f, 0.3f};
    map->Block().SetValue(DEdge::kMapbase, 0, std::shared_ptr<Texmap>(grey));
    ASSERT_TRUE(map->Update(0, &error));
    EXPECT_EQ(map->EvalColor({}), (AColor{0.3f, 0.3f, 0.3f, 1}));
    EXPECT_EQ(DGeomtex().EvalColor({}), (AColor{0, 0, 0, 0}));
}

TEST(TintMap, NamesItsSubMapsAndCopiesItself) {
    auto map = std::make_shared<DColor>();
    EXPECT_EQ(map->SubTexmapName(2), "Map 1");
    EXPECT_EQ(map->SubTexmapName(11), "Map 10");
    map->Block().SetValue(tintMapParams::kTintvariation, 0, 0.5f);
    map->channel = 3;
    CloneMap copies;
    auto copy = copies.CopyPart(map);
    copies.Finish();
    EXPECT_EQ(copy->Block().GetFloat(tintMapParams::kTintvariation), 0.5f);
    EXPECT_EQ(copy->channel, 3);
    EXPECT_EQ(copy->Block().Count(tintMapParams::kColorlist), DColor::kNumEntries);
}

TEST(ItemMaterialsInScenes, ComeByTheNameOfTheirClass) {
    HostContext session;
    RegisterDravinClasses(session.classes);
    SceneReadResult read = ParseScene(R"({"dravin_scene": 1,
        "texmaps": {"leaves": {"type": "DravinColor", "channel": 2, "maponlist": [true, false],
                               "colorlist": [[1, 0, 0], [0, 1, 0]], "maplist": [null, "grey"],
                               "tintvariation": 0.25, "mapbase": "grey"},
                    "grey": {"type": "color", "color": [0.5, 0.5, 0.5]},
                    "edge": {"type": "DravinEdge", "mapbase": "grey"}},
        "materials": {"tree": {"type": "DravinMat", "material1": "bark", "override": true,
                               "tintmax": {"keys": [[0, 10], [160, 20]]}},
                      "bark": {"type": "standard", "diffuse_map": "leaves"}}})");
    EXPECT_FALSE(read);  // what is not animatable takes no keys
    EXPECT_THAT(read.error, HasSubstr("/materials/tree/tintmax"));
    read = ParseScene(R"({"dravin_scene": 1,
        "texmaps": {"leaves": {"type": "DravinColor", "channel": 2, "maponlist": [true, false],
                               "colorlist": [[1, 0, 0], [0, 1, 0]], "maplist": [null, "grey"],
                               "tintvariation": 0.25, "mapbase": "grey"},
                    "grey": {"type": "color", "color": [0.5, 0.5, 0.5]},
                    "edge": {"type": "DravinEdge", "mapbase": "grey"}},
        "materials": {"tree": {"type": "DravinMat", "material1": "bark", "override": true,
                               "tintmax": 20},
                      "bark": {"type": "standard", "diffuse_map": "leaves"}}})");
    ASSERT_TRUE(read) << read.error;
    SceneReadResult again = ParseScene(WriteSceneDescription(*read.scene, ".", HostFormats()));
    ASSERT_TRUE(again) << again.error;
    auto& map = dynamic_cast<DColor&>(*again.scene->Texmaps().at("leaves"));
    using namespace tintMapParams;
    EXPECT_EQ(map.channel, 2);
    EXPECT_TRUE(map.Block().GetBool(kMaponlist, 0, 0));
    EXPECT_EQ(map.Block().GetColor(kColorlist, 0, 1), (Color{0, 1, 0}));
    Texmap* grey = again.scene->Texmaps().at("grey").get();
    EXPECT_EQ(map.Block().GetTexmap(kMaplist, 0, 1), grey);
    EXPECT_EQ(map.Block().GetTexmap(kMapbase), grey);
    EXPECT_EQ(map.Block().GetFloat(kTintvariation), 0.25f);
    auto& mtl = dynamic_cast<DMat&>(*again.scene->Materials().at("tree"));
    EXPECT_EQ(mtl.GetSubMtl(0), again.scene->Materials().at("bark").get());
    EXPECT_EQ(mtl.Block().GetInt(wrapperParams::kTintmax), 20);
}

TEST(ItemMaterialsInScenes, UnknownNamesAndRingsAreRefused) {
    HostContext session;
    RegisterDravinClasses(session.classes);
    SceneReadResult read =
        ParseScene(R"({"dravin_scene": 1, "texmaps": {"a": {"type": "DravinColour"}}})");
    EXPECT_THAT(read.error, HasSubstr("did you mean \"DravinColor\"?"));
    read = ParseScene(R"({"dravin_scene": 1, "materials": {
        "a": {"type": "DravinMat", "material1": "b"}, "b": {"type": "DravinMat", "material1": "a"}}})");
    EXPECT_FALSE(read);
    EXPECT_THAT(read.error, HasSubstr("holds itself"));
}
