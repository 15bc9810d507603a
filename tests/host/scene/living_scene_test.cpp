// Random edits of nodes and of all that the host's classes hold below them.
#include "host/geom/primitives.h"
#include "host/scene/derived_object.h"
#include "host/scene/physical_material.h"
#include "host/scene/point_cache.h"
#include "host/scene/shadow_map.h"
#include "host/scene/texmaps.h"
#include "tests/host/scene/edit_sequences.h"

namespace {

std::string TextOfTarget(const ReferenceTarget* target);

std::string TextOf(const Color& c) { return fmt::format("{},{},{}", c.r, c.g, c.b); }

std::string TextOfParams(const IParamBlock2& block) {
    std::string text;
    for (const ParamDef& def : block.GetDesc().params)
        for (int i = 0; i < block.Count(def.id); ++i)
            text += fmt::format("{}#{} ", block.GetKeys(def.id, i).size(),
                                def.type == ParamType::kFloat ? block.GetFloat(def.id, 7, i)
                                                              : float(block.GetInt(def.id, 7, i)));
    return text;
}

std::string TextOfLight(const LightObject& light) {
    std::string text = fmt::format("{} {} {} {} ", int(light.kind.Get()), light.intensity.At(25),
                                   TextOf(light.color.At(25)), light.includesShadowNodes.Get());
    for (int i = 0; i < light.NumShadowNodes(); ++i) text += TextOf(light.GetShadowNode(i));
    auto* map = dynamic_cast<const ShadowMapType*>(light.shadowType.Get());
    return text + (map ? TextOfParams(map->Block()) : "");
}

std::string TextOfDerived(const DerivedObject& object) {
    std::string text;
    for (int i = 0; i < object.NumModifiers(); ++i) {
        auto& cache = dynamic_cast<const PointCacheModifier&>(*object.GetModifier(i));
        text += fmt::format("{} {} {} ", TextOf(&cache), cache.enabled.Get(), cache.speed.Get());
    }
    return text + TextOfTarget(object.Base());
}

std::string TextOfObject(const Object* object) {
    if (auto* camera = dynamic_cast<const CameraObject*>(object))
        return fmt::format(" {} {}", camera->fovDegrees.At(25), TextOf(camera->target.Get()));
    if (auto* light = dynamic_cast<const LightObject*>(object))
        return TextOfLight(*light) + TextOf(light->target.Get());
    if (auto* derived = dynamic_cast<const DerivedObject*>(object)) return TextOfDerived(*derived);
    if (auto* mesh = dynamic_cast<const TriObject*>(object))
        return fmt::format(" {} {} {}", mesh->GetMesh()->faces.size(), mesh->HasFile(),
                           TextOf(mesh->fileMaterial.Get()));
    return {};
}

std::string TextOfTarget(const ReferenceTarget* target) {
    std::string text = TextOf(target);
    if (auto* object = dynamic_cast<const Object*>(target)) return text + TextOfObject(object);
    if (auto* map = dynamic_cast<const NoiseTex*>(target))
        return text + fmt::format(" {} {} {}", map->levels.Get(), map->RotationDegrees(),
                                  TextOf(map->color1.Get()));
    if (auto* mtl = dynamic_cast<const Mtl*>(target)) {
        if (auto* standard = dynamic_cast<const StandardMtl*>(target))
            text += fmt::format(" {}", standard->opacity.Get());
        if (mtl->NumSubMtls() > 0 || dynamic_cast<const PhysicalMtl*>(target))
            for (int i = 0; i < mtl->NumRefs(); ++i) text += TextOf(mtl->GetReference(i).get());
    }
    return text;
}

std::string TextOfNode(const INode& node) {
    std::string text = fmt::format("{} {} {} {} {} {} {} {} {}", node.GetHandle(), node.GetName(),
                                   TextOf(node.GetParentNode()), TextOfTarget(node.GetObjectRef()),
                                   TextOf(node.GetMtl()), TextOf(node.GetTMController()),
                                   node.GetLayer(), node.HiddenFlag(3), node.id.Get());
    text += TextOf(node.GetNodeTM(40)) + TextOf(node.GetObjectTM(90)) +
            fmt::format(" {}", node.IsSelected());
    for (const auto& [key, value] : node.UserProperties()) text += key + "=" + value + ",";
    return text;
}

class Author : public EditAuthor {
public:
    using EditAuthor::EditAuthor;

    std::string State() const override {
        std::string text;
        for (const INode* node : m_scene.Nodes()) text += TextOfNode(*node) + "\n";
        VisitNodes(m_scene.GetRootNode(), [&](INode* node) { text += node->GetName() + ">"; });
        for (const auto& [name, mtl] : m_scene.Materials()) text += name + TextOfTarget(mtl.get());
        for (const auto& [name, map] : m_scene.Texmaps()) text += name + TextOfTarget(map.get());
        for (const auto& [name, layer] : m_scene.Layers())
            if (layer->hidden || layer->boxes || layer->frozen || !layer->renderable)
                text +=
                    fmt::format("{} {} {} {} {}\n", name, layer->hidden.Get(), layer->boxes.Get(),
                                layer->frozen.Get(), layer->renderable.Get());
        return text + fmt::format("{} {} {}", m_scene.render->width, m_scene.unitScale.Get(),
                                  m_scene.ticksPerFrame.Get());
    }

    void Edit() override {
        INode* node = AnyNode();
        if (!node) return AddNode(nullptr);
        switch (Roll(5)) {
            case 0:
                return EditPlaces(*node);
            case 1:
                return EditNode(*node);
            case 2:
                return EditScene(*node);
            case 3:
                return EditObject(node->GetObjectRef());
            default:
                return EditShading(*node);
        }
    }

private:
    // --- nodes

    void EditPlaces(INode& node) {
        switch (Roll(6)) {
            case 0:
                return node.SetLocalTM(Matrix3::Translation({float(Roll(9)), float(Roll(9)), 0}));
            case 1:
                return Animate(node);
            case 2:
                return node.SetNodeTM(Roll(100), Matrix3::Translation({float(Roll(9)), 0, 0}));
            case 3:
                AnyNode()->AttachChild(Share(node), Roll(2));
                return;
            case 4:
                return node.SetTMController(nullptr);
            default:
                return node.SetObjectOffset({{float(Roll(3)), 0, 0}, {}, {1, 1, 1}});
        }
    }

    void EditNode(INode& node) {
        switch (Roll(7)) {
            case 0:
                return node.SetName(Named("n", 4));
            case 1:
                return node.SetHidden(Roll(2));
            case 2:
                return node.SetLayer(Named("layer", 3));
            case 3:
                return node.SetUserProperty(Named("k", 2), std::to_string(Roll(3)));
            case 4:
                return node.RemoveUserProperty("k0");
            case 5:
                return node.SetObjectRef(NewObject());
            default:
                node.id = Roll(3);
        }
    }

    void Animate(INode& node) {
        auto place = std::make_shared<TransformController>();
        place->position.SetTrack({{{0, Point3{}}, {100, Point3{float(Roll(9)), 0, 0}}}});
        node.SetTMController(place);
    }

    void EditScene(INode& node) {
        switch (Roll(9)) {
            case 0:
            case 1:
            case 2:
                return AddNode(&node);
            case 3:
                return m_scene.DeleteNode(node);
            case 4:
                return m_scene.Select(std::vector<INode*>{&node, AnyNode()});
            case 5:
                return EditLayer(m_scene.MakeLayer(Named("layer", 3)));
            case 6:
                m_scene.CloneNodes(std::vector<INode*>{&node});
                return;
            case 7:
                m_scene.unitScale = 1.0 / (1 + Roll(3));
                m_scene.ticksPerFrame = 160 + Roll(2);
                return;
            default:
                return m_scene.render.Edit([&](SceneRenderSettings& r) { r.width = Roll(9); });
        }
    }

    void EditLayer(Layer& layer) {
        layer.hidden = Roll(2);
        layer.boxes = Roll(2);
        layer.frozen = Roll(2);
        layer.renderable = Roll(2);
    }

    void AddNode(INode* parent) {
        m_scene.AddNode(Named("n", 4), NewObject(), parent && Roll(2) ? parent : nullptr);
    }

    // --- objects

    std::shared_ptr<Object> NewObject() {
        switch (Roll(4)) {
            case 0: {
                auto camera = std::make_shared<CameraObject>();
                if (INode* target = AnyNode(); target && Roll(2)) camera->target = Share(*target);
                return camera;
            }
            case 1:
                return std::make_shared<LightObject>();
            case 2: {
                auto derived = std::make_shared<DerivedObject>();
                derived->SetBase(std::make_shared<TriObject>());
                return derived;
            }
            default:
                return std::make_shared<TriObject>();
        }
    }

    void EditObject(Object* object) {
        if (auto* camera = dynamic_cast<CameraObject*>(object)) EditCamera(*camera);
        if (auto* light = dynamic_cast<LightObject*>(object)) EditLight(*light);
        if (auto* derived = dynamic_cast<DerivedObject*>(object)) EditModifiers(*derived);
        if (auto* mesh = dynamic_cast<TriObject*>(object)) EditMesh(*mesh);
    }

    void EditCamera(CameraObject& camera) {
        if (Roll(2))
            camera.fovDegrees.SetTrack({{{0, 30.0f}, {50, 30.0f + float(Roll(9))}}});
        else
            camera.target = Roll(3) ? Share(*AnyNode()) : nullptr;
    }

    void EditLight(LightObject& light) {
        switch (Roll(7)) {
            case 0:
                light.kind = LightKind(Roll(3));
                return;
            case 1:
                light.color = {float(Roll(3)), 0, 1};
                return;
            case 2:
                return light.intensity.SetTrack({{{0, 1.0f}, {50, float(Roll(4))}}});
            case 3:
                light.target = Roll(3) ? Share(*AnyNode()) : nullptr;
                return;
            case 4: {
                std::vector<std::shared_ptr<INode>> nodes;
                for (int n = Roll(3); n > 0; --n) nodes.push_back(Share(*AnyNode()));
                return light.SetShadowNodes(std::move(nodes));
            }
            case 5:
                light.shadowType = Roll(3) ? NewDefaultShadowMapType() : nullptr;
                return;
            default:
                return EditShadow(dynamic_cast<ShadowMapType*>(light.shadowType.Get()));
        }
    }

    void EditShadow(ShadowMapType* map) {
        if (!map) return;
        if (Roll(2))
            map->Block().SetValue(ShadowMapType::kSize, 0, 100 * Roll(4));
        else
            map->Block().SetKeys(ShadowMapType::kBias, {{0, 1.0f}, {10, float(Roll(4))}});
        if (Roll(4) == 0) map->Block().ResetAll();
    }

    void EditModifiers(DerivedObject& object) {
        int count = object.NumModifiers();
        switch (count == 0 ? 0 : Roll(4)) {
            case 0:
                return object.InsertModifier(Roll(count + 1),
                                             std::make_shared<PointCacheModifier>());
            case 1:
                return object.RemoveModifier(Roll(count));
            case 2:
                return object.SetBase(std::make_shared<TriObject>());
            default: {
                auto& cache = dynamic_cast<PointCacheModifier&>(*object.GetModifier(Roll(count)));
                cache.enabled = Roll(2);
                cache.speed = float(1 + Roll(3));
            }
        }
    }

    void EditMesh(TriObject& mesh) {
        switch (Roll(3)) {
            case 0:
                return mesh.SetMesh(std::make_shared<Mesh>(MakePlane(1, 1, 1 + Roll(3))));
            case 1:
                mesh.origin = NewOrigin();
                return;
            default:
                mesh.fileMaterial = Roll(2) ? std::make_shared<StandardMtl>() : nullptr;
        }
    }

    MeshOrigin NewOrigin() {
        FileOrigin origin;
        origin.file = Named("f", 2);
        return Roll(3) ? MeshOrigin{origin} : MeshOrigin{};
    }

    // --- materials and maps

    std::shared_ptr<Mtl> NewMtl() {
        switch (Roll(3)) {
            case 0:
                return std::make_shared<MultiMtl>();
            case 1:
                return std::make_shared<PhysicalMtl>();
            default:
                return nullptr;
        }
    }

    std::shared_ptr<Texmap> AnyMap() {
        const auto& maps = m_scene.Texmaps();
        if (maps.empty() || Roll(3) == 0) return nullptr;
        return std::next(maps.begin(), Roll(int(maps.size())))->second;
    }

    void EditShading(INode& node) {
        int what = Roll(4);
        if (what == 0) return m_scene.SetMaterial(Named("m", 2), NewMtl());
        if (what == 1)
            return m_scene.SetTexmap(Named("t", 2),
                                     Roll(3) ? std::make_shared<NoiseTex>() : nullptr);
        for (const auto& [name, mtl] : m_scene.Materials()) {
            node.SetMtl(Roll(2) ? mtl : nullptr);
            if (auto* physical = dynamic_cast<PhysicalMtl*>(mtl.get())) EditPhysical(*physical);
            if (auto* multi = dynamic_cast<MultiMtl*>(mtl.get())) EditMulti(*multi);
        }
        if (auto map = std::dynamic_pointer_cast<NoiseTex>(AnyMap())) {
            map->levels = 1 + Roll(5);
            map->SetRotation(float(Roll(3)));
            map->color1 = {float(Roll(2)), 0, 0};
        }
    }

    void EditPhysical(PhysicalMtl& mtl) {
        mtl.opacity = float(Roll(5)) / 4;
        RefProperty<Texmap>* const slots[] = {&mtl.diffuseMap, &mtl.opacityMap,
                                              &mtl.metallicRoughnessMap, &mtl.normalMap,
                                              &mtl.emissionMap};
        *slots[Roll(5)] = AnyMap();
    }

    void EditMulti(MultiMtl& multi) {
        int count = multi.NumSubMtls();
        switch (Roll(3)) {
            case 0:
                return multi.SetNumSubMtls(Roll(4));
            case 1:
                return multi.Append(std::make_shared<StandardMtl>());
            default:
                if (count > 0)
                    multi.SetSubMtl(Roll(count),
                                    Roll(2) ? std::make_shared<StandardMtl>() : nullptr);
        }
    }
};

void CheckSequence(uint32_t seed, int* numSteps, int* numChanges) {
    HostContext session;
    Scene scene;
    session.SetCurrentScene(&scene);
    Author author(scene, seed);
    CheckEditSequence(author, scene.undo, seed);
    *numSteps += author.numSteps;
    *numChanges += author.numChanges;
}

}  // namespace

TEST(LivingScene, RandomEditsAreUndoneAndRedoneExactly) {
    int numSteps = 0, numChanges = 0;
    for (uint32_t seed = 0; seed < 10000 && !HasFatalFailure(); ++seed)
        CheckSequence(seed, &numSteps, &numChanges);
    EXPECT_GT(numSteps, 10000 * 8);
    EXPECT_GT(numChanges, numSteps / 10 * 9);
}
