#include <filesystem>

#include <nlohmann/json.hpp>

#include "host/base/atomic_file.h"
#include "host/base/work_watch.h"
#include "host/io/json_places.h"
#include "host/io/scene_classes.h"
#include "host/io/scene_keys.h"
#include "host/io/scene_parts.h"
#include "host/scene/host_context.h"

using Json = nlohmann::ordered_json;

namespace {

using Writer = DescriptionWriter;

void WritePlace(const Matrix3& local, Json& keys) {
    if (local != Matrix3::Translation(local.GetTrans()))
        keys["transform"] = Writer::Matrix(local);
    else if (local != Matrix3())
        keys["position"] = Writer::Triple(local.GetTrans());
}

void WriteParts(const TransformController& parts, Json& keys) {
    keys["position"] = WriteAnimatedPoint(parts.position.Content());
    if (parts.rotationForm == RotationForm::kEuler) {
        keys["rotation"] = WriteAnimatedPoint(parts.eulerDegrees.Content());
    } else {
        // Four numbers stand only in keys.
        Animated<Quat> rotation = parts.quaternion.Content();
        if (rotation.track.IsEmpty()) rotation.track.SetKey(0, rotation.value);
        keys["rotation"] = WriteAnimatedQuat(rotation);
    }
    keys["scale"] = WriteAnimatedPoint(parts.scale.Content());
}

// A node's keys: first what names and places it, then those of its type.
Json WriteNode(const INode& node, const Writer& writer) {
    const INode plain;
    Json keys = {{"name", node.GetName()}, {"type", "dummy"}};
    if (const INode* parent = node.GetParentNode(); parent && !parent->IsRootNode())
        keys["parent"] = parent->GetName();
    if (const TransformController* parts = node.GetTMController())
        WriteParts(*parts, keys);
    else
        WritePlace(node.GetLocalTM(), keys);
    if (const ObjectOffset& offset = node.GetObjectOffset(); offset != ObjectOffset())
        keys["object_offset"] = {{"position", Writer::Triple(offset.position)},
                                 {"rotation", Writer::Triple(offset.rotationDegrees)},
                                 {"scale", Writer::Triple(offset.scale)}};
    // Materials that objects make for themselves have no name there; they make them again.
    if (Json name = writer.MtlName(node.GetMtl()); !name.is_null()) keys["material"] = name;
    if (node.GetLayer() != plain.GetLayer()) keys["layer"] = node.GetLayer();
    if (node.hidden.Content() != Animated<bool>())
        keys["hidden"] = WriteAnimatedBool(node.hidden.Content());
    if (!node.renderable) keys["renderable"] = false;
    if (!node.castsShadows) keys["casts_shadows"] = false;
    if (node.wireColor != plain.wireColor) keys["wire_color"] = Writer::Triple(node.wireColor);
    if (node.id != 0) keys["id"] = node.id.Get();
    if (!node.UserProperties().empty()) keys["user_properties"] = node.UserProperties();

    const Object* object = node.GetObjectRef();
    auto* derived = dynamic_cast<const DerivedObject*>(object);
    while (auto* below = dynamic_cast<const DerivedObject*>(object)) object = below->Base();
    for (const auto& [type, format] : writer.formats.Nodes()) {
        Json own = Json::object();
        if (!object || !format->Write(*object, own, writer)) continue;
        keys["type"] = type;
        keys.update(own);
        break;
    }
    if (derived)
        if (Json modifiers = WriteModifiers(*derived, writer); !modifiers.empty())
            keys["modifiers"] = std::move(modifiers);
    return keys;
}

template <class Formats, class Entity>
Json WriteEntity(const Formats& formats, const Entity& entity, const Writer& writer) {
    for (const auto& [type, format] : formats) {
        Json keys = {{"type", type}};
        if (format.write(entity, keys, writer)) return keys;
    }
    Json keys = Json::object();
    return WriteByClass(entity, keys, writer) ? keys : Json();
}

Json WriteTexmaps(const Writer& writer) {
    const Point2 one{1, 1}, zero{};
    Json all = Json::object();
    for (const auto& [name, texmap] : writer.scene.Texmaps()) {
        Json keys = WriteEntity(writer.formats.Texmaps(), *texmap, writer);
        if (keys.is_null()) continue;
        if (texmap->channel != 1) keys["channel"] = texmap->channel.Get();
        auto pair = [](Point2 p) -> Json { return {Writer::Number(p.x), Writer::Number(p.y)}; };
        if (texmap->tiling != one) keys["tiling"] = pair(texmap->tiling);
        if (texmap->offset != zero) keys["offset"] = pair(texmap->offset);
        if (texmap->RotationDegrees() != 0)
            keys["rotation"] = Writer::Number(texmap->RotationDegrees());
        all[name] = keys;
    }
    return all;
}

Json WriteRender(const Writer& writer) {
    const SceneRenderSettings& r = writer.scene.render;
    const SceneRenderSettings plain;
    Json keys = {{"width", r.width}, {"height", r.height}};
    if (writer.scene.RenderCamera()) keys["camera"] = writer.NodeName(writer.scene.RenderCamera());
    if (!r.renderer.empty()) keys["renderer"] = r.renderer;
    if (r.samples != plain.samples) keys["samples"] = r.samples;
    if (r.exposure != plain.exposure) keys["exposure"] = Writer::Number(r.exposure);
    bool plainSky = r.skyTurbidity == plain.skyTurbidity && r.skyStrength == plain.skyStrength &&
                    r.skyClouds == plain.skyClouds;
    if (!plainSky)
        keys["sky"] = {{"turbidity", Writer::Number(r.skyTurbidity)},
                       {"strength", Writer::Number(r.skyStrength)},
                       {"clouds", Writer::Number(r.skyClouds)}};
    if (r.hazeVisibility != 0)
        keys["haze"] = {{"visibility", Writer::Number(r.hazeVisibility)},
                        {"scale_height", Writer::Number(r.hazeScaleHeight)},
                        {"base_height", Writer::Number(r.hazeBaseHeight)}};
    return keys;
}

// Layers that differ from a fresh one; nodes make the others.
Json WriteLayers(const Scene& scene) {
    Json all = Json::object();
    for (const auto& [name, layer] : scene.Layers()) {
        Json keys = Json::object();
        if (layer->hidden) keys["hidden"] = true;
        if (layer->frozen) keys["frozen"] = true;
        if (!layer->renderable) keys["renderable"] = false;
        if (layer->boxes) keys["boxes"] = true;
        if (!keys.empty()) all[name] = keys;
    }
    return all;
}

Json WriteSettings(const Writer& writer) {
    const Scene& scene = writer.scene;
    Json keys = {{"dravin_scene", 1}};
    if (scene.unitScale != 1.0) keys["unit_scale"] = Writer::Number(scene.unitScale);
    if (scene.GetTime() != 0) keys["time"] = scene.GetTime();
    if (scene.ticksPerFrame != 160) keys["ticks_per_frame"] = scene.ticksPerFrame.Get();
    keys["render"] = WriteRender(writer);
    if (scene.View())
        keys["view"] = {{"transform", Writer::Matrix(scene.View()->transform)},
                        {"fov", Writer::Number(scene.View()->fovDegrees)}};
    if (scene.ViewCamera()) keys["view"]["camera"] = writer.NodeName(scene.ViewCamera());
    return keys;
}

}  // namespace

std::string WriteSceneDescription(const Scene& scene, const std::string& folder,
                                  const SceneFormats& formats, WorkWatch* watch) {
    Writer writer(scene, folder, formats);
    Json keys = WriteSettings(writer);
    if (Json layers = WriteLayers(scene); !layers.empty()) keys["layers"] = layers;
    if (Json texmaps = WriteTexmaps(writer); !texmaps.empty()) keys["texmaps"] = texmaps;
    for (const auto& [name, mtl] : scene.Materials())
        if (Json own = WriteEntity(formats.Materials(), *mtl, writer); !own.is_null())
            keys["materials"][name] = own;
    keys["nodes"] = Json::array();
    auto write = [&](INode* node) {
        if (node->isTransient || IsCancelled(watch)) return;
        if (watch) watch->Tell(float(keys["nodes"].size()) / float(scene.Nodes().size()));
        keys["nodes"].push_back(WriteNode(*node, writer));
    };
    // Depth first, so that parents stand before their children.
    for (int i = 0; i < scene.GetRootNode()->NumberOfChildren(); ++i)
        VisitNodes(scene.GetRootNode()->GetChildNode(i), write);
    return PrettyJson(keys);
}

bool SaveSceneDescription(const Scene& scene, const std::string& path, const SceneFormats& formats,
                          std::string* error, WorkWatch* watch) {
    NoticePair saving(HostNotify::kFilePreSave, HostNotify::kFilePostSave);
    AtomicFile file;
    if (!file.Open(path, error)) return false;
    std::string folder = std::filesystem::path(path).parent_path().string();
    file.Write(WriteSceneDescription(scene, folder, formats, watch));
    if (IsCancelled(watch)) return *error = path + ": cancelled", false;
    return file.Commit(error);
}
