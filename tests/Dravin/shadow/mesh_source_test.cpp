// Renderers take items as instances or as one object mesh, and show the same.
#include "Dravin/build/mesh_source.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <set>

#include "Dravin/dravin_globals.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/materials/tint_map.h"
#include "Dravin/materials/wrapper_material.h"
#include "Dravin/render/host_render.h"
#include "host/geom/mesh_tools.h"
#include "host/render/ray_tracer.h"
#include "host/render/scanline/scanline_renderer.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

class MeshSource : public ScatterFixture {
protected:
    std::unique_ptr<THostRender> render;

    void SetUp() override {
        ScatterFixture::SetUp();
        Set(kTransformParams, transformParams::kApplyrotation, true);
        Set(kTransformParams, transformParams::kApplyscale, true);
        Set(kTransformParams, transformParams::kMirror, 1);
        Set(kMatParams, matParams::kTintmin, 20);
        Set(kMatParams, matParams::kTintmax, 90);
        Set(kMatParams, matParams::kTintcolor1, Color{1, 0, 0});
        Set(kMatParams, matParams::kTintcolor2, Color{0, 0, 1});
        box->SetObjectRef(
            std::make_shared<TriObject>(std::make_shared<Mesh>(MakeBox(0.5f, 0.8f, 1.5f, 1))));
        ball->SetMtl(Plain({0.9f, 0.4f, 0.1f}));
        AddRow(ball);
    }
    static std::shared_ptr<StandardMtl> Plain(Color color) {
        auto mtl = std::make_shared<StandardMtl>();
        mtl->diffuse = color;
        return mtl;
    }
    std::unique_ptr<IInstanceSource> Source(bool asMesh) {
        Set(kDispParams, dispParams::kRendermode, int(asMesh));
        EXPECT_EQ(object->Build().RendersMesh(0), asMesh);
        return std::move(TakeSources().front());
    }
    // As the host's renderers take them.
    std::vector<std::unique_ptr<IInstanceSource>> TakeSources() {
        render.reset();
        render = std::make_unique<THostRender>(object);
        EXPECT_EQ(render->Begin(0), TBuildStatus::kSuccess);
        return render->TakeSources();
    }
    RenderScene SceneOf(const IInstanceSource& source) {
        RenderScene scene;
        scene.camera.transform = Matrix3::Translation({0, 0, 30});
        scene.camera.fovDegrees = 38;
        scene.sun.direction = {1, 0.5f, 1.2f};
        scene.sources = {&source};
        return scene;
    }
    Picture Draw(const IInstanceSource& source, bool isScanline) {
        RenderScene scene = SceneOf(source);
        RenderSettings settings{96, 96, 4, 2, 2, 0};
        RenderOutcome outcome =
            isScanline ? ScanlineRenderer(scene).Render(settings) : RenderPicture(scene, settings);
        EXPECT_EQ(outcome.status, RenderStatus::kDone);
        return std::move(outcome.picture);
    }
    // Both paths' pictures, by both renderers: how far they differ, against how bright they are.
    void ExpectSamePictures() {
        for (bool isScanline : {false, true}) {
            Picture instances = Draw(*Source(false), isScanline);
            Picture mesh = Draw(*Source(true), isScanline);
            double difference = 0, sum = 0;
            for (size_t i = 0; i < mesh.pixels.size(); ++i) {
                Color a = instances.pixels[i], b = mesh.pixels[i];
                difference += std::fabs(a.r - b.r) + std::fabs(a.g - b.g) + std::fabs(a.b - b.b);
                sum += a.r + a.g + a.b;
            }
            EXPECT_GT(sum, 0);
            EXPECT_LT(difference, 0.01 * sum) << isScanline;
        }
    }
    std::shared_ptr<INode> ball;
    MeshSource()
        : ball(INode::Create(
              "ball", std::make_shared<TriObject>(std::make_shared<Mesh>(MakeSphere(0.6f, 12))))) {
        scene.AddNode(ball);
    }
};

}  // namespace

TEST_F(MeshSource, BothPathsShowThePlainMaterialsOfTheRowsInTheItemsTints) { ExpectSamePictures(); }

TEST_F(MeshSource, BothPathsShowTintMapsByItem) {
    auto map = std::make_shared<DColor>();
    for (int i = 0; i < 3; ++i) {
        map->Block().SetValue(tintMapParams::kMaponlist, 0, true, i);
        Color color;
        (&color.r)[i] = 1;
        map->Block().SetValue(tintMapParams::kColorlist, 0, color, i);
    }
    auto mtl = Plain({1, 1, 1});
    mtl->diffuseMap = map;
    box->SetMtl(mtl);
    ExpectSamePictures();
}

TEST_F(MeshSource, BothPathsShowWrapperMaterials) {
    auto wrapper = std::make_shared<DMat>();
    wrapper->Block().SetValue(wrapperParams::kMaterial1, 0,
                              std::static_pointer_cast<ReferenceTarget>(Plain({0.2f, 0.8f, 0.3f})));
    box->SetMtl(wrapper);
    ExpectSamePictures();
}

TEST_F(MeshSource, BothPathsShowTexturesByTheirMapping) {
    auto map = std::make_shared<CheckerTex>();
    map->tiling = {3, 2};
    auto mtl = Plain({1, 1, 1});
    mtl->diffuseMap = map;
    box->SetMtl(mtl);
    ball->SetMtl(mtl);
    ExpectSamePictures();
}

TEST_F(MeshSource, BothPathsShowTheLevelsOfItems) {
    auto lod = TDLod::Create();
    lod->NewLevel(), lod->NewLevel();
    auto flat = AddMesh("flat", MakeBox(1.5f, 1.5f, 0.2f, 1));
    flat->SetMtl(Plain({0.1f, 0.1f, 0.9f}));
    std::shared_ptr<INode> levels[] = {box, flat};
    for (int i = 0; i < 2; ++i) {
        lod->Block().SetValue(lodParams::kCobjlist, 0, Target(levels[i]), i);
        lod->Block().SetValue(lodParams::kDistlist, 0, i == 0 ? 0.0f : 50.0f, i);
    }
    lod->Block().SetValue(lodParams::kDistance, 0, 12.0f);
    auto tree = INode::Create("levels", lod);
    scene.AddNode(tree);
    object->Block(kGeomParams).SetValue(geomParams::kCobjlist, 0, Target(tree), 0);
    auto eye = scene.AddNode("eye", std::make_shared<CameraObject>());
    Set(kCamParams, camParams::kCamera, Target(eye->shared_from_this()));
    Set(kCamParams, camParams::kCamlod, true);
    ExpectSamePictures();
    std::set<int> shown;
    for (size_t i = 0; i < object->Build().Items().Count(); ++i)
        if (TDravinItem item = object->Build().Items().Item(i); item.specimenIndex == 0)
            shown.insert(item.elementIndex);
    EXPECT_EQ(shown, (std::set<int>{0, 1}));
}

// Parts of items that stand beyond the ground's border are not shown.
TEST_F(MeshSource, BothPathsLeaveHiddenPartsOut) {
    Mesh pair = TransformedMesh(MakeBox(0.5f, 0.5f, 1, 1), Matrix3::Translation({-1.5f, 0, 0}));
    AppendMesh(pair,
               TransformedMesh(MakeBox(0.5f, 0.5f, 1, 1), Matrix3::Translation({1.5f, 0, 0})));
    box->SetObjectRef(std::make_shared<TriObject>(std::make_shared<Mesh>(pair)));
    box->SetMtl(Plain({0.9f, 0.9f, 0.2f}));
    constexpr int kSurfaceArea = 3;
    AddArea(*object, kSurfaceArea, nullptr, false);
    object->Block(kAreaParams).Append(areaParams::kArboundchecklist);
    object->Block(kAreaParams).SetValue(areaParams::kArboundchecklist, 0, 2, 0);
    ExpectSamePictures();
    int numPartial = 0;
    for (size_t i = 0; i < object->Build().Items().Count(); ++i)
        numPartial += object->Build().Items().Item(i).partial;
    EXPECT_GT(numPartial, 0);
}

TEST_F(MeshSource, OwnersOfFacesNameTheItems) {
    auto source = Source(true);
    auto* items = static_cast<const IShadedItems*>(source->GetInterface(IShadedItems::kInterface));
    ASSERT_TRUE(items);
    EXPECT_EQ(source->NumInstances(), 1u);
    const TObjectMesh& mesh = object->Build().ObjectMesh();
    for (size_t f = 0; f < mesh.GetMesh().NumFaces(); f += 17) {
        auto owner = uint32_t(mesh.FaceOwners()[f]);
        EXPECT_EQ(items->ItemIndexOf(0, uint32_t(f)), owner);
        EXPECT_EQ(items->ItemOf(0, uint32_t(f)).random3,
                  object->Build().Items().Item(owner).random3);
    }
    EXPECT_EQ(source->ChangeableMesh(), &mesh.GetMesh());
    EXPECT_EQ(Source(false)->ChangeableMesh(), nullptr);
}

TEST_F(MeshSource, ProxyShapesAreAMeshToo) {
    Set(kDispParams, dispParams::kRmesh, 1);
    EXPECT_TRUE(object->Build().RendersMesh(0));
    auto sources = TakeSources();
    ASSERT_EQ(sources.size(), 1u);
    ASSERT_TRUE(sources[0]->ChangeableMesh());
    EXPECT_GT(sources[0]->ChangeableMesh()->NumFaces(), 0u);
}

TEST_F(MeshSource, WrapperMaterialsShowShadowPlanesToLightOnly) {
    auto light = std::make_shared<LightObject>();
    INode* sun = scene.AddNode("sun", light);
    sun->SetLocalTM(Matrix3::RotationX(1));
    Set(kShadowParams, shadowParams::kLight, Target(sun->shared_from_this()));
    Set(kShadowParams, shadowParams::kCustshadow, true);
    auto wrapper = std::make_shared<DMat>();
    auto grey = std::make_shared<ColorTex>();
    grey->color = Color{0.2f, 0.4f, 0.9f};  // mean 0.5
    wrapper->Block().SetValue(wrapperParams::kVshadowmap, 0,
                              std::static_pointer_cast<ReferenceTarget>(grey));
    box->SetMtl(wrapper);
    ball->SetMtl(wrapper);
    auto source = Source(true);
    const TObjectMesh& mesh = object->Build().ObjectMesh();
    RenderMaterials materials;
    RenderMesh shown(*source, 0, materials);
    auto* items = static_cast<const IShadedItems*>(source->GetInterface(IShadedItems::kInterface));
    PackedInstance instance{};
    size_t counts[3] = {};
    for (uint32_t f = 0; f < shown.NumFaces(); ++f) {
        HitPlace place{&shown, nullptr, f, 0.3f, 0.3f, &instance, source.get()};
        auto opacity = [&](RayKind kind) {
            return HitContext(place, place.Material(), 0, kind).Opacity();
        };
        auto plane = items->PlaneOf(0, shown.SourceFace(f));
        ++counts[size_t(plane)];
        float toLight[3] = {1, 0.5f, 0};  // own, vertical, horizontal without a map
        EXPECT_NEAR(opacity(RayKind::kShadow), toLight[size_t(plane)], 1e-5f);
        EXPECT_EQ(opacity(RayKind::kCamera), plane == IShadedItems::Plane::kNone ? 1 : 0);
    }
    size_t numItems = size_t(mesh.Statistics().meshedItems);
    EXPECT_GT(counts[0], 0u);
    EXPECT_EQ(counts[1], 2 * numItems);
    EXPECT_EQ(counts[2], 2 * numItems);
    // Without fake shadows they are ordinary faces, where there are any.
    Set(kShadowParams, shadowParams::kUsefakeshadows, false);
    EXPECT_EQ(
        TDravinMeshSource(*object, object->Build()).PlaneOf(0, uint32_t(shown.NumFaces() - 1)),
        IShadedItems::Plane::kNone);
}

// White maps are full shadow, black ones none; without fake shadows planes are ordinary faces.
TEST_F(MeshSource, ShadowPlanesAreAsDarkAsTheirMapsAreBright) {
    auto light = std::make_shared<LightObject>();
    INode* sun = scene.AddNode("sun", light);
    sun->SetLocalTM(Matrix3::RotationX(1));
    Set(kShadowParams, shadowParams::kLight, Target(sun->shared_from_this()));
    Set(kShadowParams, shadowParams::kCustshadow, true);
    auto wrapper = std::make_shared<DMat>();
    auto vertical = std::make_shared<ColorTex>(), horizontal = std::make_shared<ColorTex>();
    auto set = [&](ParamID id, std::shared_ptr<Texmap> map) {
        wrapper->Block().SetValue(id, 0, std::static_pointer_cast<ReferenceTarget>(map));
    };
    set(wrapperParams::kVshadowmap, vertical);
    set(wrapperParams::kHshadowmap, horizontal);
    wrapper->Block().SetValue(wrapperParams::kMaterial1, 0,
                              std::static_pointer_cast<ReferenceTarget>(Plain({0.2f, 0.8f, 0.3f})));
    box->SetMtl(wrapper);
    ball->SetMtl(wrapper);
    vertical->color = Color{1, 1, 1};
    horizontal->color = Color{0, 0, 0};
    auto source = Source(true);
    // What all faces of a kind show to a ray, as the renderer sees them now.
    auto opacities = [&](RayKind kind) {
        RenderMaterials materials;
        RenderMesh shown(*source, 0, materials);
        TDravinMeshSource now(*object, object->Build());
        PackedInstance instance{};
        std::array<std::set<float>, 3> seen;
        for (uint32_t f = 0; f < shown.NumFaces(); ++f) {
            HitPlace place{&shown, nullptr, f, 0.3f, 0.3f, &instance, &now};
            auto plane =
                size_t(static_cast<TDravinMeshSource&>(*source).PlaneOf(0, shown.SourceFace(f)));
            seen[plane].insert(HitContext(place, place.Material(), 0, kind).Opacity());
        }
        return seen;
    };
    using Seen = std::array<std::set<float>, 3>;  // own, vertical, horizontal
    EXPECT_EQ(opacities(RayKind::kShadow), (Seen{{{1}, {1}, {0}}}));
    EXPECT_EQ(opacities(RayKind::kCamera), (Seen{{{1}, {0}, {0}}}));
    vertical->color = Color{0, 0, 0};
    horizontal->color = Color{0.3f, 0.6f, 0.9f};  // mean 0.6
    Seen shaded = opacities(RayKind::kShadow);
    EXPECT_EQ(shaded[1], std::set<float>{0});
    ASSERT_EQ(shaded[2].size(), 1u);
    EXPECT_NEAR(*shaded[2].begin(), 0.6f, 1e-6f);
    Set(kShadowParams, shadowParams::kUsefakeshadows, false);
    EXPECT_EQ(opacities(RayKind::kShadow), (Seen{{{1}, {1}, {1}}}));
    EXPECT_EQ(opacities(RayKind::kCamera), (Seen{{{1}, {1}, {1}}}));
}

// Billboards with shadow planes stand in the mesh, custom objects are instances beside it.
TEST_F(MeshSource, ShadowPlanesPutTemplatesIntoTheMesh) {
    auto board = AddMesh("_dravin_template_board", MakePlane(1, 1, 1));
    TSpecGeomList& templates = DravinGlobals().templates.List();
    ASSERT_FALSE(templates.empty());
    templates[0]->SetReference(0, board);
    IParamBlock2& rows = object->Block(kGeomParams);
    rows.SetValue(geomParams::kGeomlist, 0, int(kGeomTemplate), 0);
    rows.SetValue(geomParams::kTempidlist, 0, 0, 0);
    auto light = scene.AddNode("sun", std::make_shared<LightObject>());
    light->SetLocalTM(Matrix3::RotationX(1));
    Set(kShadowParams, shadowParams::kLight, Target(light->shared_from_this()));
    Set(kShadowParams, shadowParams::kVshadow, true);
    Set(kShadowParams, shadowParams::kHshadow, false);
    Set(kDispParams, dispParams::kRendermode, 0);
    Set(kShadowParams, shadowParams::kUsefakeshadows, false);
    auto sources = TakeSources();
    ASSERT_EQ(sources.size(), 1u);
    EXPECT_EQ(sources[0]->ChangeableMesh(), nullptr);  // templates and nodes, as instances
    Set(kShadowParams, shadowParams::kUsefakeshadows, true);
    sources = TakeSources();
    ASSERT_EQ(sources.size(), 2u);
    EXPECT_TRUE(sources[0]->ChangeableMesh());
    size_t byRow[2] = {};
    for (size_t i = 0; i < object->Build().Items().Count(); ++i) {
        TDravinItem item = object->Build().Items().Item(i);
        ++byRow[item.specimenIndex];
        EXPECT_EQ(item.verticalShadow, item.specimenIndex == 0) << i;
    }
    ASSERT_GT(byRow[0], 0u);
    ASSERT_GT(byRow[1], 0u);
    EXPECT_EQ(sources[0]->PrototypeMesh(0)->NumFaces(), byRow[0] * (2 + 2));
    EXPECT_EQ(sources[1]->NumInstances(), byRow[1]);
    EXPECT_EQ(sources[1]->NumPrototypes(), 1u);
}
