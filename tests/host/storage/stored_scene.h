// What the tests of scene files share: a scene of every class of the host, and ways to and fro.
#pragma once

#include "host/io/scene_loaders.h"
#include "host/scene/host_context.h"
#include "host/scene/physical_material.h"
#include "host/scene/point_cache.h"
#include "host/scene/scene.h"
#include "host/scene/shadow_map.h"
#include "host/scene/texmaps.h"
#include "host/storage/scene_storage.h"
#include "tests/temp_folder.h"

class StoredScene {
public:
    StoredScene() { host.SetCurrentScene(&scene); }
    ~StoredScene() { host.SetCurrentScene(nullptr); }

    // The bytes of the file that a scene makes.
    std::string Save(Scene& what) {
        std::vector<std::string> warnings;
        std::string error;
        auto bytes = SaveSceneBytes(what, folder.File("."), storage, &warnings, &error);
        EXPECT_TRUE(bytes) << error;
        EXPECT_TRUE(warnings.empty()) << warnings[0];
        return bytes.value_or("");
    }
    SceneReadResult Load(const std::string& bytes) {
        return LoadSceneBytes(bytes, "s.dscene", folder.File("."), storage, *loaders);
    }
    std::unique_ptr<Scene> Again(Scene& what) {
        SceneReadResult result = Load(Save(what));
        EXPECT_TRUE(result) << result.error;
        EXPECT_TRUE(result.warnings.empty()) << result.warnings[0];
        return std::move(result.scene);
    }

    // One of everything.
    void Fill() {
        auto mesh = std::make_shared<Mesh>();
        mesh->verts = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
        mesh->faces = {{{0, 1, 2}, 5, 3, Face::kEdge1}, {{0, 2, 3}, 1, 0, Face::kAllEdges}};
        mesh->MakeMap(1) = {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {2, 1, 0}}};
        mesh->normals = {{{0, 0, 1}}, {{0, 0, 0}, {0, 0, 0}}};
        auto object = std::make_shared<TriObject>(mesh);
        INode* tree = scene.AddNode("tree", object);
        INode* twin = scene.AddNode("twin", object, tree);
        tree->SetLocalTM(Matrix3::Translation({1, 2, 3}));
        tree->SetObjectOffset({{1, 0, 0}, {0, 45, 0}, {2, 2, 2}});
        tree->SetLayer("trees");
        tree->SetUserProperty("kind", "Fichte ä");
        tree->wireColor = Color{1, 0.5f, 0};
        tree->id = 7;
        twin->selectable = false;
        scene.MakeLayer("trees").frozen = true;

        auto walk = std::make_shared<TransformController>();
        KeyTrack<Point3> places;
        places.keys = {{0, {0, 0, 0}}, {160, {1, 0, 0}}};
        places.after = KeysBeyond::kCycle;
        walk->position.SetTrack(places);
        twin->SetTMController(walk);

        auto shape = std::make_shared<ShapeObject>();
        shape->shape = BezierShape{{{{{{0, 0, 0}, {}, {1, 0, 0}}, {{5, 0, 0}}}, true}}, 9};
        scene.AddNode("path", shape);
        auto camera = std::make_shared<CameraObject>();
        camera->fovDegrees = 33;
        camera->target = std::static_pointer_cast<INode>(tree->shared_from_this());
        INode* eye = scene.AddNode("eye", camera);
        scene.SetRenderCamera(std::static_pointer_cast<INode>(eye->shared_from_this()));
        auto light = std::make_shared<LightObject>();
        light->kind = LightKind::kSpot;
        light->shadowType = std::make_shared<ShadowMapType>();
        scene.AddNode("lamp", light);
        auto sparks = std::make_shared<ParticleObject>();
        int event = sparks->AddEvent(std::static_pointer_cast<INode>(tree->shared_from_this()));
        Particle particle;
        particle.hasPosition = true, particle.age = 5, particle.event = event;
        sparks->particles = std::vector<Particle>{particle, {}};
        scene.AddNode("sparks", sparks);
        scene.AddNode("group", std::make_shared<GroupObject>());
        scene.AddNode("dummy", std::make_shared<DummyObject>());
        FillMaterials(*tree);
        INode* const chosen[] = {twin};
        scene.Select(chosen);
        scene.unitScale = 0.01;
        scene.timeRange = TimeRange{160, 3200};
        scene.SetTime(320);
        scene.SetView(ViewState{Matrix3::Translation({0, 0, 50}), 60});
    }

    void FillMaterials(INode& node) {
        auto noise = std::make_shared<NoiseTex>();
        noise->levels = 5;
        noise->tiling = Point2{2, 3};
        noise->SetRotation(30);
        scene.SetTexmap("noise", noise);
        auto picture = std::make_shared<BitmapTex>(nullptr);
        picture->SetImage(
            std::make_shared<Bitmap>(2, 1, 3, std::vector<uint8_t>{1, 2, 3, 4, 5, 6}));
        scene.SetTexmap("picture", picture);
        auto bark = std::make_shared<StandardMtl>();
        bark->diffuseMap = noise;
        bark->diffuse = Color{0.25f, 0.5f, 0.75f};
        auto metal = std::make_shared<PhysicalMtl>();
        metal->metallic = 0.5f;
        metal->normalMap = picture;
        auto both = std::make_shared<MultiMtl>();
        both->Append(bark), both->Append(nullptr), both->Append(metal);
        scene.SetMaterial("both", both);
        scene.SetMaterial("bark", bark);
        node.SetMtl(both);
    }

    HostContext host;
    Scene scene;
    SceneStorage storage;
    std::shared_ptr<ISceneLoaders> loaders = MakeSceneLoaders();
    TempFolder folder;
};
