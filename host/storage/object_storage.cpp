// Nodes' objects, modifiers, layers and shadow types.
#include "host/geom/primitives.h"
#include "host/io/external_scenes.h"
#include "host/scene/external_object.h"
#include "host/scene/height_field_object.h"
#include "host/scene/layer.h"
#include "host/scene/point_cache.h"
#include "host/scene/scene.h"
#include "host/storage/base_fields.h"
#include "host/storage/class_storage.h"

constexpr int NumEnumerators(LightKind) { return 3; }
constexpr int NumEnumerators(UpAxis) { return 2; }
constexpr int NumEnumerators(HeightfieldOrigin::Heights) { return 4; }

namespace {

template <class Fields>
constexpr bool Reads(const Fields&) {
    return Fields::kReads;
}

// Meshes that came from a file come from it again, primitives are made again, all others lie in the
// scene file.

template <class Fields>
void VisitOrigin(Fields& fields, FileOrigin& origin) {
    fields.Path(10, origin.file);
    fields(11, origin.object);
    fields(12, origin.up);
    fields(13, origin.keepNumbers);
    fields(14, origin.animation);
}

template <class Fields>
void VisitOrigin(Fields& fields, PrimitiveOrigin& origin) {
    fields(20, origin.kind);
    fields(21, origin.width);
    fields(22, origin.length);
    fields(23, origin.height);
    fields(24, origin.radius);
    fields(25, origin.segments);
}

void LoadModel(StoredEntities& entities, TriObject& object, const FileOrigin& origin) {
    if (origin.file.empty()) return;  // told already
    LoadedModel model = entities.loaders.LoadMesh(origin, entities.scene.unitScale, entities.folder,
                                                  entities.watch);
    for (std::string& warning : model.warnings) entities.warnings.push_back(std::move(warning));
    if (!model.mesh) return entities.Fail(model.error, model.errorClass);
    object.SetMesh(model.mesh);
    object.origin = MeshOrigin{origin};
    object.fileMaterial = model.material;
    if (model.animation) object.SetAnimation(model.animation);
}

void MakePrimitive(StoredEntities& entities, TriObject& object, const PrimitiveOrigin& origin) {
    bool isGood = origin.segments >= 0 && origin.segments <= kMaxSegments;
    std::shared_ptr<const Mesh> mesh = isGood ? entities.loaders.MakePrimitive(origin) : nullptr;
    if (!mesh || mesh->faces.empty())
        return entities.Fail("the shape \"" + origin.kind + "\" cannot be made",
                             DescriptionErrorClass::kMalformed);
    object.SetMesh(std::move(mesh));
    object.origin = MeshOrigin{origin};
}

void ReadMeshObject(FieldReader& fields, TriObject& object) {
    auto file = std::make_shared<FileOrigin>();
    auto primitive = std::make_shared<PrimitiveOrigin>();
    VisitOrigin(fields, *file);
    VisitOrigin(fields, *primitive);
    auto kind = std::make_shared<uint8_t>(0);
    fields(1, *kind);
    fields.SharedMesh(2, object.GetMesh(),
                      [&object](auto mesh) { object.SetMesh(std::move(mesh)); });
    // Of files whose meshes had no slots.
    fields.Target(3, object.fileMaterial.Share(),
                  [&object](auto mtl) { object.fileMaterial = mtl; });
    fields.WhenLoaded([&entities = fields.Entities(), &object, file, primitive, kind] {
        if (*kind == 1) LoadModel(entities, object, *file);
        if (*kind == 2) MakePrimitive(entities, object, *primitive);
    });
}

void WriteMeshObject(FieldWriter& fields, TriObject& object) {
    MeshOrigin origin = object.origin;
    fields(1, uint8_t(origin.index()));
    if (auto* file = std::get_if<FileOrigin>(&origin)) return VisitOrigin(fields, *file);
    if (auto* shape = std::get_if<PrimitiveOrigin>(&origin)) return VisitOrigin(fields, *shape);
    fields.SharedMesh(2, object.GetMesh(), 0);
}

template <class Fields>
void VisitOrigin(Fields& fields, HeightfieldOrigin& origin) {
    fields.Path(1, origin.file);
    fields(2, origin.size);
    fields(3, origin.samplesX);
    fields(4, origin.samplesY);
    fields.Own(
        5,
        [&origin](FieldWriter& out) {
            out.Put(origin.crop.has_value());
            for (int side : origin.crop.value_or(std::array<int, 4>{})) out.Put(int32_t(side));
        },
        [&origin](FieldReader& in) {
            std::array<int, 4> crop;
            bool has = false;
            in.Get(has);
            for (int& side : crop) in.Get(side);
            if (has) origin.crop = crop;
        });
    fields(6, origin.heights);
    fields(7, origin.height);
    fields(8, origin.low);
    fields(9, origin.high);
}

void ReadTerrain(FieldReader& fields, HeightFieldObject& terrain) {
    auto origin = std::make_shared<HeightfieldOrigin>();
    VisitOrigin(fields, *origin);
    fields.WhenLoaded([&entities = fields.Entities(), &terrain, origin] {
        terrain.origin = *origin;
        if (origin->file.empty()) return;
        HeightfieldLoad load = entities.loaders.LoadHeightfield(*origin, entities.scene.unitScale);
        for (std::string& warning : load.warnings) entities.warnings.push_back(std::move(warning));
        if (!load.field) return entities.Fail(load.error, load.errorClass);
        terrain.SetField(std::move(load.field));
    });
}

void WriteTerrain(FieldWriter& fields, HeightFieldObject& terrain) {
    HeightfieldOrigin origin = terrain.origin;
    VisitOrigin(fields, origin);
}

// Its file is opened when all else of this one stands, units among it.
void ReadExternal(FieldReader& fields, ExternalObject& object) {
    auto origin = std::make_shared<ExternalOrigin>();
    fields.Path(1, origin->file);
    fields(2, origin->object);
    fields.WhenLoaded([&entities = fields.Entities(), &object, origin] {
        if (origin->file.empty()) return;  // told already
        auto shown = ShowExternal(
            *origin, entities.loaders, entities.scene, entities.watch, &entities.warnings,
            [&](const std::string& text, DescriptionErrorClass why) { entities.Fail(text, why); });
        if (shown) object.ShowSameAs(*shown);
    });
}

void WriteExternal(FieldWriter& fields, ExternalObject& object) {
    fields.Path(1, object.Origin().file);
    fields(2, object.Origin().object);
}

void PutParticle(FieldWriter& out, const Particle& p) {
    out.Put(p.hasPosition), out.Put(p.position), out.Put(int32_t(p.age));
    out.Put(p.rotationDegrees), out.Put(p.scale), out.Put(p.speed), out.Put(int32_t(p.event));
}

Particle GetParticle(FieldReader& in) {
    Particle p;
    in.Get(p.hasPosition), in.Get(p.position), in.Get(p.age);
    in.Get(p.rotationDegrees), in.Get(p.scale), in.Get(p.speed), in.Get(p.event);
    return p;
}

void ReadParticles(FieldReader& in, ParticleObject& object) {
    std::vector<Particle> particles;
    auto count = in.In().Read<uint64_t>();
    for (uint64_t i = 0; i < count && !in.In().HasFailed(); ++i) {
        particles.push_back(GetParticle(in));
        int event = particles.back().event;
        if (event < -1 || event >= int(in.NumSlots()))
            in.In().Fail("an event that there is none of");
    }
    object.particles = std::move(particles);
}

template <class Fields>
void VisitParticles(Fields& fields, ParticleObject& object) {
    fields.Own(
        1,
        [&object](FieldWriter& out) {
            out.Put(uint64_t(object.particles->size()));
            for (const Particle& p : object.particles.Get()) PutParticle(out, p);
        },
        [&object](FieldReader& in) { ReadParticles(in, object); });
}

// Modifiers of classes that are not there are left out in the end.
void LeaveOutEmptyModifiers(FieldReader& fields, DerivedObject& object) {
    fields.WhenLoaded([&object] {
        for (int i = object.NumModifiers(); i-- > 0;)
            if (!object.GetModifier(i)) object.RemoveModifier(i);
    });
}

template <class Fields>
void VisitPointCache(Fields& fields, PointCacheModifier& modifier) {
    VisitModifier(fields, modifier);
    auto cache = std::make_shared<PointCache>(modifier.cache.Get());
    fields.Path(2, cache->origin.file);
    fields(3, cache->origin.up);
    fields(4, cache->origin.inMetres);
    fields(5, modifier.start);
    fields(6, modifier.speed);
    fields(7, modifier.before);
    fields(8, modifier.after);
    if constexpr (Fields::kReads)
        fields.WhenLoaded([&entities = fields.Entities(), &modifier, cache] {
            if (!(modifier.speed > 0)) modifier.speed = 1;
            if (cache->origin.file.empty()) return;
            PointCacheLoad load = entities.loaders.LoadPointCache(
                cache->origin, entities.scene.unitScale, entities.scene.ticksPerFrame);
            if (!load.warning.empty()) entities.warnings.push_back(load.warning);
            if (!load.samples) return entities.Fail(load.error, load.errorClass);
            cache->samples = std::move(load.samples);
            modifier.cache = *cache;
        });
}

template <class Fields>
void VisitNode(Fields& fields, INode& node) {
    if constexpr (Fields::kReads) {
        fields.Own(1, 0, [&node](FieldReader& in) { node.SetName(in.In().ReadText()); });
        fields.Own(2, 0, [&node](FieldReader& in) {
            Matrix3 local;
            in.Get(local);
            node.SetLocalTM(local);
        });
        fields.Own(3, 0, [&node](FieldReader& in) {
            ObjectOffset offset;
            in.Get(offset.position), in.Get(offset.rotationDegrees), in.Get(offset.scale);
            node.SetObjectOffset(offset);
        });
        fields.Own(4, 0, [&node](FieldReader& in) { node.SetLayer(in.In().ReadText()); });
        fields.Own(5, 0, [&node](FieldReader& in) {
            while (in.In().Remaining() > 0) {
                std::string key = in.In().ReadText();
                node.SetUserProperty(key, in.In().ReadText());
            }
        });
    } else {
        fields(1, node.GetName());
        // A controller's part is its own.
        if (!node.GetTMController()) fields(2, node.GetLocalTM());
        const ObjectOffset& offset = node.GetObjectOffset();
        if (offset != ObjectOffset())
            fields.Own(
                3,
                [&offset](FieldWriter& out) {
                    out.Put(offset.position), out.Put(offset.rotationDegrees),
                        out.Put(offset.scale);
                },
                0);
        fields(4, node.GetLayer());
        if (!node.UserProperties().empty())
            fields.Own(
                5,
                [&node](FieldWriter& out) {
                    for (const auto& [key, text] : node.UserProperties())
                        out.Put(key), out.Put(text);
                },
                0);
    }
    fields(6, node.renderable);
    fields(11, node.castsShadows);
    fields(7, node.wireColor);
    fields(8, node.id);
    fields(9, node.selectable);
    fields(10, node.hidden);
}

}  // namespace

void RegisterObjectStorage(SceneStorage& storage) {
    storage.Register<INode>([](auto& fields, INode& node) { VisitNode(fields, node); });
    storage.Register<Layer>([](auto& fields, Layer& layer) {
        fields(1, layer.name);
        fields(2, layer.hidden);
        fields(3, layer.frozen);
        fields(4, layer.renderable);
        fields(5, layer.boxes);
    });
    storage.Register<TriObject>([](auto& fields, TriObject& object) {
        if constexpr (std::remove_reference_t<decltype(fields)>::kReads)
            ReadMeshObject(fields, object);
        else
            WriteMeshObject(fields, object);
    });
    storage.Register<HeightFieldObject>([](auto& fields, HeightFieldObject& terrain) {
        if constexpr (std::remove_reference_t<decltype(fields)>::kReads)
            ReadTerrain(fields, terrain);
        else
            WriteTerrain(fields, terrain);
    });
    storage.Register<ExternalObject>([](auto& fields, ExternalObject& object) {
        if constexpr (std::remove_reference_t<decltype(fields)>::kReads)
            ReadExternal(fields, object);
        else
            WriteExternal(fields, object);
    });
    storage.Register<ShapeObject>(
        [](auto& fields, ShapeObject& object) { fields(1, object.shape); });
    storage.Register<CameraObject>([](auto& fields, CameraObject& camera) {
        fields(1, camera.fovDegrees);
        fields(2, camera.envNear);
        fields(3, camera.envFar);
    });
    storage.Register<LightObject>([](auto& fields, LightObject& light) {
        fields(1, light.kind);
        fields(2, light.color);
        fields(3, light.intensity);
        fields(4, light.shadows);
        fields(5, light.includesShadowNodes);
    });
    storage.Register<ParticleObject>(
        [](auto& fields, ParticleObject& object) { VisitParticles(fields, object); });
    storage.Register<DerivedObject>([](auto& fields, DerivedObject& object) {
        if constexpr (std::remove_reference_t<decltype(fields)>::kReads)
            LeaveOutEmptyModifiers(fields, object);
    });
    storage.Register<PointCacheModifier>(
        [](auto& fields, PointCacheModifier& modifier) { VisitPointCache(fields, modifier); });
}
