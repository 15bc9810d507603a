#include <algorithm>
#include <filesystem>
#include <set>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/base/file_input.h"
#include "host/base/input_limit.h"
#include "host/base/text.h"
#include "host/io/scene_description.h"
#include "host/io/scene_keys.h"
#include "host/io/scene_parts.h"
#include "host/scene/host_context.h"

// Reading goes in three rounds: texture maps and materials, nodes with their objects, and then all
// that refers to something by name. Only a scene without any error leaves this file.

namespace {

constexpr int kVersion = 1;
constexpr uint64_t kMaxFileSize = uint64_t{2} << 30;

// Rotation keys of three numbers are angles, of four a quaternion.
bool HasQuaternions(const DescriptionValue& rotation) {
    if (!IsAnimatedForm(rotation)) return false;
    std::vector<DescriptionValue> keys = DescriptionObject(rotation).Array("keys");
    if (keys.empty() || !keys[0].IsArray()) return false;
    std::vector<DescriptionValue> parts = keys[0].AsArray();
    return parts.size() >= 2 && parts[1].IsArray() && parts[1].AsArray().size() == 4;
}

// Local transform of a node, as a matrix or in parts, of which some may have keys.
void ReadTransform(DescriptionObject& keys, INode& node) {
    auto matrix = keys.Find("transform");
    auto position = keys.Find("position"), rotation = keys.Find("rotation"),
         scale = keys.Find("scale");
    if (matrix) {
        for (const char* part : {"position", "rotation", "scale"})
            if (keys.Find(part))
                keys.Fail(fmt::format("\"transform\" and \"{}\" exclude each other", part));
        return node.SetLocalTM(matrix->AsMatrix());
    }
    auto parts = std::make_shared<TransformController>();
    if (position) parts->position.SetContent(ReadAnimatedPoint(*position));
    if (scale) parts->scale.SetContent(ReadAnimatedPoint(*scale));
    if (rotation && HasQuaternions(*rotation)) {
        parts->rotationForm = RotationForm::kQuaternion;
        parts->quaternion.SetContent(ReadAnimatedQuat(*rotation));
    } else if (rotation) {
        parts->eulerDegrees.SetContent(ReadAnimatedPoint(*rotation));
    }
    if (parts->IsAnimated())
        node.SetTMController(std::move(parts));
    else
        node.SetLocalTM(parts->Eval(0));
}

ObjectOffset ReadObjectOffset(const DescriptionValue& value) {
    DescriptionObject keys(value);
    ObjectOffset offset{keys.Point("position", {}), keys.Point("rotation", {}),
                        keys.Point("scale", {1, 1, 1})};
    keys.Finish();
    return offset;
}

class SceneReader {
public:
    SceneReader(DescriptionDocument& document, Scene& scene, const std::string& folder,
                const SceneFormats& formats, WorkWatch* watch)
        : m_document(document), m_scene(scene), m_context(scene, folder, formats, watch) {}

    void Read() {
        DescriptionObject keys(DescriptionValue(m_document, m_document.Root()));
        ReadVersion(keys);
        ReadSettings(keys);
        auto texmaps = keys.Find("texmaps"), materials = keys.Find("materials");
        auto nodes = keys.Find("nodes"), layers = keys.Find("layers");
        auto render = keys.Find("render"), view = keys.Find("view");
        keys.Finish();
        if (layers) ReadLayers(*layers);
        if (texmaps) ReadTexmaps(*texmaps, m_context);
        if (materials) ReadMaterials(*materials, m_context);
        if (nodes) ReadNodes(*nodes);
        if (render) ReadRender(*render);
        if (view) ReadView(*view);
        m_context.RunLater();
        if (materials) CheckMaterialNesting(*materials, m_context);
    }

    // Into a scene that has nodes already.
    void ReadMore() {
        for (const INode* node : m_scene.Nodes()) m_names.insert(node->GetName());
        DescriptionObject keys(DescriptionValue(m_document, m_document.Root()));
        auto texmaps = keys.Find("texmaps"), materials = keys.Find("materials");
        auto nodes = keys.Find("nodes");
        keys.Finish();
        if (texmaps) ReadTexmaps(*texmaps, m_context);
        if (materials) ReadMaterials(*materials, m_context);
        if (nodes) ReadNodes(*nodes);
        m_context.RunLater();
        if (materials) CheckMaterialNesting(*materials, m_context);
    }

private:
    void ReadVersion(DescriptionObject& keys) {
        DescriptionValue version = keys.Require("dravin_scene");
        if (!m_document.Failed() && version.AsInt() != kVersion)
            version.Fail(fmt::format("format version {} is not known, expected {}", version.AsInt(),
                                     kVersion));
    }

    void ReadSettings(DescriptionObject& keys) {
        if (auto unit = keys.Find("unit_scale")) {
            m_scene.unitScale = unit->AsDouble();
            if (!(m_scene.unitScale > 0.0)) unit->Fail("expected a number above 0");
        }
        m_scene.SetTime(keys.Int("time", 0));
        if (auto ticks = keys.Find("ticks_per_frame")) {
            m_scene.ticksPerFrame = ticks->AsInt();
            if (m_scene.ticksPerFrame < 1) ticks->Fail("expected a whole number above 0");
        }
    }

    void ReadLayers(const DescriptionValue& value) {
        for (const auto& [name, member] : DescriptionObject(value).Members()) {
            DescriptionObject keys(member);
            Layer& layer = m_scene.MakeLayer(name);
            layer.hidden = keys.Bool("hidden", false);
            layer.frozen = keys.Bool("frozen", false);
            layer.renderable = keys.Bool("renderable", true);
            layer.boxes = keys.Bool("boxes", false);
            keys.Finish();
        }
    }

    int ReadSize(DescriptionObject& keys, const char* key, int missing) {
        auto value = keys.Find(key);
        if (!value) return missing;
        int size = value->AsInt();
        if (size < 1) value->Fail("expected a whole number above 0");
        return size;
    }

    void ReadRenderer(DescriptionObject& keys, SceneRenderSettings& render) {
        auto value = keys.Find("renderer");
        if (!value) return;
        const std::vector<std::string> known{"raytrace", "scanline", "viewport"};
        std::string name = value->AsText();
        if (!name.empty() && std::find(known.begin(), known.end(), name) == known.end())
            value->Fail(
                fmt::format("no renderer is named \"{}\"{}; expected \"raytrace\", "
                            "\"scanline\" or \"viewport\"",
                            name, DidYouMean(name, known)));
        render.renderer = name;
    }

    std::shared_ptr<INode> ReadCamera(const DescriptionValue& value) {
        auto node = m_context.NodeOf(value);
        if (node && !(node->GetObjectRef() && node->GetObjectRef()->IsCamera()))
            value.Fail(fmt::format("the node \"{}\" is no camera", node->GetName()));
        return node;
    }

    void ReadRender(const DescriptionValue& value) {
        DescriptionObject keys(value);
        SceneRenderSettings r;
        r.width = ReadSize(keys, "width", r.width);
        r.height = ReadSize(keys, "height", r.height);
        ReadRenderer(keys, r);
        if (auto camera = keys.Find("camera")) {
            m_scene.SetRenderCamera(ReadCamera(*camera));
        }
        r.samples = ReadSize(keys, "samples", r.samples);
        r.exposure = keys.Float("exposure", r.exposure);
        if (auto sky = keys.Find("sky")) {
            DescriptionObject parts(*sky);
            r.skyTurbidity = parts.Float("turbidity", r.skyTurbidity);
            r.skyStrength = parts.Float("strength", r.skyStrength);
            r.skyClouds = parts.Float("clouds", r.skyClouds);
            parts.Finish();
        }
        if (auto haze = keys.Find("haze")) {
            DescriptionObject parts(*haze);
            r.hazeVisibility = parts.Float("visibility", r.hazeVisibility);
            r.hazeScaleHeight = parts.Float("scale_height", r.hazeScaleHeight);
            r.hazeBaseHeight = parts.Float("base_height", r.hazeBaseHeight);
            parts.Finish();
        }
        keys.Finish();
        m_scene.render = r;
    }

    void ReadView(const DescriptionValue& value) {
        DescriptionObject keys(value);
        ViewState view;
        if (auto transform = keys.Find("transform")) view.transform = transform->AsMatrix();
        if (auto fov = keys.Find("fov")) view.fovDegrees = ReadFieldOfView(*fov);
        if (auto camera = keys.Find("camera")) m_scene.SetViewCamera(ReadCamera(*camera));
        keys.Finish();
        m_scene.SetView(view);
    }

    void ReadNodes(const DescriptionValue& value) {
        std::vector<DescriptionValue> nodes = value.AsArray();
        for (const DescriptionValue& node : nodes) CollectName(node);
        for (size_t i = 0; i < nodes.size(); ++i) {
            if (m_context.watch) m_context.watch->Tell(float(i) / float(nodes.size()));
            if (IsCancelled(m_context.watch))
                nodes[i].Fail("cancelled", DescriptionErrorClass::kCancelled);
            if (m_document.Failed()) return;
            ReadNode(nodes[i]);
        }
    }

    // All names first, so that a parent that stands too late is told from one that does not exist.
    void CollectName(const DescriptionValue& value) {
        DescriptionObject keys(value);
        DescriptionValue name = keys.Require("name");
        if (m_document.Failed()) return;
        std::string text = name.AsText();
        if (text.empty()) name.Fail("a node needs a name");
        if (!m_names.insert(text).second)
            name.Fail(fmt::format("the name \"{}\" stands twice", text));
    }

    INode* ReadParent(DescriptionObject& keys, const std::string& name) {
        auto value = keys.Find("parent");
        if (!value || value->IsNull()) return nullptr;
        std::string parent = value->AsText();
        INode* node = m_scene.FindNode(parent);
        if (node && node->Depth() + 1 >= kMaxNodeDepth)
            value->Fail(fmt::format("more than {} nodes stand above each other; no option raises "
                                    "this",
                                    kMaxNodeDepth),
                        DescriptionErrorClass::kLimit);
        if (node || m_document.Failed()) return node;
        if (parent == name)
            value->Fail("a node cannot be its own parent");
        else if (m_names.contains(parent))
            value->Fail(fmt::format("the parent \"{}\" stands after its child; parents come first",
                                    parent));
        else
            value->Fail(fmt::format("no node is named \"{}\"{}", parent,
                                    DidYouMean(parent, {m_names.begin(), m_names.end()})));
        return nullptr;
    }

    void ReadNode(const DescriptionValue& value) {
        DescriptionObject keys(value);
        std::string name = keys.Require("name").AsText();
        DescriptionValue type = keys.Require("type");
        if (m_document.Failed()) return;
        std::string typeName = type.AsText();
        const INodeDescription* format = m_context.formats.FindNode(typeName);
        if (!format)
            type.Fail(fmt::format("unknown type \"{}\"{}", CutText(typeName, 60),
                                  DidYouMean(typeName, m_context.formats.NodeTypes())));
        INode* parent = ReadParent(keys, name);
        if (m_document.Failed()) return;

        INode* node = m_scene.AddNode(name, nullptr, parent);
        ReadPlacement(*node, keys);
        ReadProperties(*node, keys);
        std::shared_ptr<Object> object = format->Read(keys, m_context);
        auto modifiers = keys.Find("modifiers");
        if (modifiers && object) object = ReadModifiers(*modifiers, std::move(object), m_context);
        node->SetObjectRef(std::move(object));
        keys.Finish();
    }

    void ReadPlacement(INode& node, DescriptionObject& keys) {
        ReadTransform(keys, node);
        if (auto offset = keys.Find("object_offset"))
            node.SetObjectOffset(ReadObjectOffset(*offset));
    }

    void ReadProperties(INode& node, DescriptionObject& keys) {
        if (auto material = keys.Find("material")) node.SetMtl(m_context.MtlOf(*material));
        if (auto layer = keys.Find("layer")) node.SetLayer(layer->AsText());
        if (auto hidden = keys.Find("hidden")) node.hidden.SetContent(ReadAnimatedBool(*hidden));
        node.renderable = keys.Bool("renderable", true);
        node.castsShadows = keys.Bool("casts_shadows", true);
        node.wireColor = keys.ColorOf("wire_color", node.wireColor);
        node.id = keys.Int("id", 0);
        if (auto properties = keys.Find("user_properties"))
            for (const auto& [key, text] : DescriptionObject(*properties).Members())
                node.SetUserProperty(key, text.AsText());
    }

    DescriptionDocument& m_document;
    Scene& m_scene;
    DescriptionContext m_context;
    std::set<std::string> m_names;
};

}  // namespace

SceneReadResult ParseSceneDescription(std::string_view text, const std::string& name,
                                      const std::string& folder, const SceneFormats& formats,
                                      WorkWatch* watch) {
    SceneReadResult result;
    DescriptionDocument document(name, text);
    HoldSuspender noUndo(CurrentHold());
    auto scene = std::make_unique<Scene>();
    if (document.Parse()) SceneReader(document, *scene, folder, formats, watch).Read();
    result.errorClass = document.ErrorClass();
    result.error = document.Error();
    result.warnings = document.Warnings();
    if (!document.Failed()) result.scene = std::move(scene);
    return result;
}

namespace {

// Takes out of the scene what it did not hold when this was made.
class SceneRollback {
public:
    explicit SceneRollback(Scene& scene)
        : m_scene(scene),
          m_numNodes(scene.Nodes().size()),
          m_texmaps(scene.Texmaps()),
          m_materials(scene.Materials()) {}

    void Run() {
        while (m_scene.Nodes().size() > m_numNodes) m_scene.DeleteNode(*m_scene.Nodes().back());
        for (const auto& [name, mtl] : std::map(m_scene.Materials()))
            m_scene.SetMaterial(name, Held(m_materials, name));
        for (const auto& [name, texmap] : std::map(m_scene.Texmaps()))
            m_scene.SetTexmap(name, Held(m_texmaps, name));
    }

private:
    // Null where there was none, which takes the new one out.
    template <class T>
    static std::shared_ptr<T> Held(const std::map<std::string, std::shared_ptr<T>>& all,
                                   const std::string& name) {
        auto it = all.find(name);
        return it == all.end() ? nullptr : it->second;
    }

    Scene& m_scene;
    size_t m_numNodes;
    std::map<std::string, std::shared_ptr<Texmap>> m_texmaps;
    std::map<std::string, std::shared_ptr<Mtl>> m_materials;
};

}  // namespace

SceneAddResult AddSceneDescription(std::string_view text, const std::string& name,
                                   const std::string& folder, const SceneFormats& formats,
                                   Scene& scene) {
    DescriptionDocument document(name, text);
    HoldSuspender noUndo(CurrentHold());
    SceneRollback rollback(scene);
    if (document.Parse()) SceneReader(document, scene, folder, formats, nullptr).ReadMore();
    if (document.Failed()) rollback.Run();
    return {document.ErrorClass(), document.Error(), document.Warnings()};
}

SceneReadResult ReadSceneDescription(const std::string& path, const SceneFormats& formats,
                                     WorkWatch* watch) {
    SceneReadResult result;
    MappedFile file;  // a file that is no description is refused without reading all of it
    if (!file.Open(path, &result.error)) {
        result.errorClass = DescriptionErrorClass::kMissingInput;
        return result;
    }
    uint64_t most = RaisedByInputLimit(kMaxFileSize);
    if (file.Bytes().size() > most) {
        result.errorClass = DescriptionErrorClass::kLimit;
        result.error =
            fmt::format("{}: {} bytes, at most {} are read; {}", path, file.Bytes().size(), most,
                        RaiseInputLimitTo(file.Bytes().size()));
        return result;
    }
    std::string folder = std::filesystem::path(path).parent_path().string();
    result = ParseSceneDescription(file.Bytes(), path, folder, formats, watch);
    if (file.WasCut()) {
        result = {};
        result.errorClass = DescriptionErrorClass::kMissingInput;
        result.error = fmt::format("{}: the file became shorter while it was read", path);
    }
    if (result.scene) result.scene->path = path;
    return result;
}
