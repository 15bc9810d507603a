#include "tests/host/storage/class_walk.h"

#include "host/geom/primitives.h"
#include "host/params/controller.h"
#include "host/scene/external_object.h"
#include "host/scene/height_field_object.h"
#include "host/scene/physical_material.h"

namespace {

template <class T>
KeyTrack<T> Keys(const T& first, const T& last) {
    return {{{0, first}, {100, last}}, KeyInterpolation::kBezier};
}

class HostClasses : public ClassWalk {
protected:
    HostClasses() {
        FillObjects();
        FillShading();
        FillWith<INode>([](INode& node, int w) {
            node.SetName(std::string(size_t(w), 'n'));
            node.SetLayer(w == 1 ? "a" : "b");
            node.hidden.SetTrack({{{0, false}, {w, true}}, KeyInterpolation::kStep});
            node.castsShadows = w == 1;
            node.id = w;
            node.SetObjectOffset({{float(w), 0, 0}, {}, {1, 1, 1}});
            node.SetUserProperty("k", std::to_string(w));
        });
        FillWith<Layer>([](Layer& layer, int w) {
            layer.name = std::string(size_t(w), 'l');
            layer.hidden = layer.boxes = w == 1;
        });
        FillWith<TransformController>([](TransformController& place, int w) {
            place.position.SetTrack(Keys(Point3{float(w), 0, 0}, Point3{}));
            place.rotationForm = w == 1 ? RotationForm::kQuaternion : RotationForm::kEuler;
            place.quaternion.SetTrack({{{0, Quat{}}, {w, Quat{1, 0, 0, 0}}}});
            place.eulerDegrees = {0, float(w), 0};
            place.scale = {1, 1, float(w)};
        });
        FillWith<KeyController>([](KeyController& keys, int w) {
            ParamElement content{float(w), {}};
            content.track.keys = {{0, float(w)}, {100, 3.0f}};
            keys.SetContent(content);
        });
        FillWith<PointCacheModifier>([](PointCacheModifier& cache, int w) {
            cache.enabled = w == 1;
            cache.cache = PointCache{{std::string(size_t(w), 'f'), UpAxis::kZ, w == 1}, nullptr};
            cache.start = w;
            cache.speed = float(w);
            cache.after = w == 1 ? KeysBeyond::kCycle : KeysBeyond::kHold;
        });
        IsPlain<DummyObject>();
        IsPlain<GroupObject>();
        IsPlain<IParamBlock2>();  // without a description
    }

    void FillObjects() {
        FillWith<TriObject>([](TriObject& object, int w) {
            if (object.GetMesh()->faces.size() != size_t(2 * w * w))
                object.SetMesh(std::make_shared<Mesh>(MakePlane(1, 1, w)));
            PrimitiveOrigin plane;
            plane.kind = "plane", plane.segments = w;
            object.origin = MeshOrigin{plane};
        });
        FillWith<HeightFieldObject>([](HeightFieldObject& terrain, int w) {
            HeightfieldOrigin origin;
            origin.file = std::string(size_t(w), 'h');
            origin.crop = {0, 0, w, w};
            terrain.origin = origin;
        });
        FillWith<ShapeObject>([](ShapeObject& shape, int w) {
            shape.shape = BezierShape{{{{{{0, 0, 0}, {}, {1, 0, 0}}, {{5, 0, 0}}}, true}}, w};
        });
        FillWith<CameraObject>([](CameraObject& camera, int w) {
            camera.fovDegrees.SetTrack(Keys(float(w), 60.f));
            camera.envNear = float(w);
            camera.envFar = float(w) + 9;
        });
        FillWith<LightObject>([](LightObject& light, int w) {
            light.kind = w == 1 ? LightKind::kSpot : LightKind::kPoint;
            light.color.SetTrack(Keys(Color{0, 0, float(w)}, Color{}));
            light.intensity = float(w) + 1;
            light.shadows = light.includesShadowNodes = w == 1;
        });
        FillWith<ParticleObject>([](ParticleObject& sparks, int w) {
            Particle particle;
            particle.hasPosition = true, particle.age = w, particle.event = w;
            sparks.particles = std::vector<Particle>(size_t(w), particle);
        });
        FillWith<ExternalObject>([this](ExternalObject& object, int w) {
            object.Show({std::string(size_t(w), 'e'), "tree"}, m_other, *m_tree);
        });
    }

    void FillShading() {
        auto standard = [](StandardMtl& mtl, int w) {
            mtl.name = std::string(size_t(w), 'm');
            mtl.diffuse = {float(w) / 4, 0, 0};
            mtl.opacity = float(w) / 8;
            mtl.opacityCutoff = float(w) / 9;
            mtl.mapFactor = {1, float(w) / 2, 1};
            mtl.vertexColors = mtl.twoSided = mtl.wireframe = w == 1;
            mtl.translucency = float(w) / 5;
            mtl.reflectivity = float(w) / 6;
            mtl.ripple = float(w) / 7;
            mtl.viewportMaps = ViewportMaps(w);
        };
        FillWith<StandardMtl>(standard);
        FillWith<PhysicalMtl>([standard](PhysicalMtl& mtl, int w) {
            standard(mtl, w);
            mtl.metallic = float(w) / 4;
            mtl.roughness = float(w) / 5;
            mtl.normalScale = float(w) + 2;
            mtl.emission = {0, 0, float(w)};
            mtl.emissionStrength = float(w) + 3;
        });
        FillWith<MultiMtl>([](MultiMtl& mtl, int w) { mtl.name = std::string(size_t(w), 'm'); });
        auto placing = [](Texmap& map, int w) {
            map.name = std::string(size_t(w), 't');
            map.channel = w + 1;
            map.tiling = {float(w), 3};
            map.offset = {0, float(w)};
            map.SetRotation(float(w) * 10);
        };
        FillWith<UvwTex>(placing);
        FillWith<ColorTex>([placing](ColorTex& map, int w) {
            placing(map, w), map.color = {float(w), 0, 0};
        });
        FillWith<GradientTex>([placing](GradientTex& map, int w) {
            placing(map, w), map.color1 = map.color2 = {float(w), 0, 0};
            map.axis = w == 1 ? GradientTex::kU : GradientTex::kV;
        });
        FillWith<CheckerTex>([placing](CheckerTex& map, int w) {
            placing(map, w), map.color1 = map.color2 = {float(w), 0, 0};
        });
        FillWith<BitmapTex>([placing](BitmapTex& map, int w) {
            placing(map, w), map.filter = BitmapTex::Filter(w - 1);
            map.wrap = BitmapTex::Wrap(w), map.alphaOnly = w == 1;
            if (map.File().size() != size_t(w)) map.SetFile(std::string(size_t(w), 'b'));
        });
        FillWith<NoiseTex>([placing](NoiseTex& map, int w) {
            placing(map, w), map.color1 = map.color2 = {float(w), 0, 0};
            map.size = float(w), map.levels = w, map.seed = w;
        });
    }

    std::shared_ptr<Scene> m_other = std::make_shared<Scene>();
    INode* m_tree = m_other->AddNode("tree", std::make_shared<TriObject>());
};

}  // namespace

TEST_F(HostClasses, TellWhatTheyHoldAndWhatCanBeAnimated) {
    ForEachClass([this](const ClassDesc& desc, const auto& made) {
        CheckLists(desc, *made);
        Fill(*made, 1);
        CheckLists(desc, *made);
    });
}

TEST_F(HostClasses, MakeEqualCopiesOfTheirOwn) {
    ForEachClass([this](const ClassDesc& desc, const auto& made) { CheckCopy(desc, *made); });
}

TEST_F(HostClasses, CopiesReferToCopies) {
    ForEachClass([this](const ClassDesc&, const auto& made) { CheckRemap(*made); });
}

TEST_F(HostClasses, AllThatStandInASceneAreRegistered) {
    for (ClassId id :
         {HeightFieldObject::kClass.id, KeyController::kClass.id, IParamBlock2::kClass.id,
          TransformController::kClass.id, ShadowMapType::kClass.id}) {
        const ClassDesc* desc = host.classes.Find(id);
        ASSERT_TRUE(desc);
        EXPECT_STRNE(SuperClassName(desc->info.super), "");
        EXPECT_FALSE(desc->category.empty());
        EXPECT_EQ(host.classes.Create(id)->Class().id, id);
    }
    EXPECT_FALSE(host.classes.Find(IParamBlock2::kClass.id)->isPublic);
}
