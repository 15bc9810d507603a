// Nodes: what names, places and shows them.
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Dravin/materials/leaf_modifier.h"
#include "host/base/text.h"
#include "host/io/scene_keys.h"
#include "python/engine/open_scene.h"

namespace {

using Json = nlohmann::ordered_json;

template <class Get>
auto Reader(const Get& get) {
    return [get](const SceneNode& self) {
        SceneCall call(*self.scene);
        return get(NodeOf(self));
    };
}

std::string TypeOf(const SceneNode& self) {
    SceneCall call(*self.scene);
    Object* object = NodeOf(self).GetObjectRef();
    const SceneFormats& formats = self.scene->GetSession().Formats();
    DescriptionWriter writer(self.scene->GetScene(), "", formats);
    if (dynamic_cast<TDravin*>(object)) return "dravin";
    for (const auto& [type, format] : formats.Nodes()) {
        Json keys = Json::object();
        if (object && format->Write(*object, keys, writer)) return type;
    }
    return "dummy";
}

void SetName(const SceneNode& self, const std::string& name) {
    SceneCall call(*self.scene);
    INode& node = NodeOf(self);
    if (name.empty()) throw py::value_error("a node needs a name");
    INode* other = self.scene->GetScene().FindNode(name);
    if (other && other != &node)
        throw py::value_error(fmt::format("the name \"{}\" stands twice", name));
    node.SetName(name);
}

std::optional<SceneNode> ParentOf(const SceneNode& self) {
    SceneCall call(*self.scene);
    INode* parent = NodeOf(self).GetParentNode();
    if (!parent || parent->IsRootNode()) return std::nullopt;
    return HandleOf(self.scene, *parent);
}

// The outline that a spline's uppermost outline modifier has at the scene's time, as a new node.
SceneNode ExtractOutline(const SceneNode& self) {
    SceneCall call(*self.scene);
    Scene& scene = self.scene->GetScene();
    INode& node = NodeOf(self);
    if (DLeaf* leaf = DLeaf::Of(node, scene.GetTime()))
        return HandleOf(self.scene, *leaf->Extract(scene));
    throw py::value_error(
        fmt::format("\"{}\" has no modifier of the type \"DravinLeaf\"", node.GetName()));
}

// The node keeps its place in the world.
void SetParent(const SceneNode& self, const std::optional<SceneNode>& parent) {
    SceneCall call(*self.scene);
    INode& node = NodeOf(self);
    if (parent && parent->scene != self.scene)
        throw py::value_error("the parent is a node of another scene");
    INode& above = parent ? NodeOf(*parent) : *self.scene->GetScene().GetRootNode();
    if (above.Depth() + 1 >= kMaxNodeDepth)
        throw py::value_error(
            fmt::format("more than {} nodes stand above each other", kMaxNodeDepth));
    if (!above.AttachChild(self.node))
        throw py::value_error(
            fmt::format("\"{}\" stands below \"{}\" already", above.GetName(), node.GetName()));
}

std::optional<std::string> MaterialOf(const SceneNode& self) {
    SceneCall call(*self.scene);
    const Mtl* mtl = NodeOf(self).GetMtl();
    for (const auto& [name, held] : self.scene->GetScene().Materials())
        if (mtl && held.get() == mtl) return name;
    return std::nullopt;
}

void SetMaterial(const SceneNode& self, const std::optional<std::string>& name) {
    SceneCall call(*self.scene);
    INode& node = NodeOf(self);
    if (!name) return node.SetMtl(nullptr);
    const auto& materials = self.scene->GetScene().Materials();
    auto it = materials.find(*name);
    if (it != materials.end()) return node.SetMtl(it->second);
    std::vector<std::string> names;
    for (const auto& [known, mtl] : materials) names.push_back(known);
    throw py::key_error(
        fmt::format("no material is named \"{}\"{}", *name, DidYouMean(*name, names)));
}

// Reads one of the animated forms of a description, which stands in the text.
template <class Read>
void ReadForm(const std::string& text, const Read& read) {
    DescriptionDocument document("keys", text);
    if (document.Parse()) read(DescriptionValue(document, document.Root()));
    if (document.Failed()) RaiseError(int(document.ErrorClass()), document.Error());
}

// The controller of the node; one that holds its place as it is where there was none.
std::shared_ptr<TransformController> PartsOf(INode& node) {
    auto parts = std::make_shared<TransformController>();
    if (TransformController* held = node.GetTMController()) {
        parts->position.SetContent(held->position.Content());
        parts->rotationForm = held->rotationForm.Get();
        parts->eulerDegrees.SetContent(held->eulerDegrees.Content());
        parts->quaternion.SetContent(held->quaternion.Content());
        parts->scale.SetContent(held->scale.Content());
        return parts;
    }
    AffineParts place = Decompose(node.GetLocalTM());
    parts->position = place.translation;
    parts->rotationForm = RotationForm::kQuaternion;
    parts->quaternion = place.rotation;
    parts->scale = place.scale;
    return parts;
}

void SetKeys(const SceneNode& self, const std::string& part, const std::string& text) {
    SceneCall call(*self.scene);
    INode& node = NodeOf(self);
    if (part == "hidden") {
        ReadForm(text, [&](const DescriptionValue& value) {
            Animated<bool> content = ReadAnimatedBool(value);
            if (!value.Document().Failed()) node.hidden.SetContent(content);
        });
        return;
    }
    auto parts = PartsOf(node);
    ReadForm(text, [&](const DescriptionValue& value) {
        Animated<Point3> content = ReadAnimatedPoint(value);
        if (value.Document().Failed()) return;
        if (part == "position") parts->position.SetContent(content);
        if (part == "scale") parts->scale.SetContent(content);
        if (part == "rotation") {
            parts->rotationForm = RotationForm::kEuler;
            parts->eulerDegrees.SetContent(content);
        }
        node.SetTMController(parts);
    });
}

}  // namespace

void BindNode(py::module_& m, py::class_<SceneNode>& node) {
    node.def("__eq__",
             [](const SceneNode& a, const py::object& b) {
                 return py::isinstance<SceneNode>(b) && a.node == b.cast<SceneNode>().node;
             })
        .def("__hash__", [](const SceneNode& self) { return std::hash<INode*>()(self.node.get()); })
        .def_property_readonly(
            "alive",
            [](const SceneNode& self) { return self.node->GetScene() == &self.scene->GetScene(); })
        .def_property_readonly("scene", [](const SceneNode& self) { return self.scene; })
        .def_property(
            "name", [](const SceneNode& self) { return self.node->GetName(); }, &SetName)
        .def_property_readonly("type", &TypeOf)
        .def_property("parent", &ParentOf, &SetParent)
        .def_property("material", &MaterialOf, &SetMaterial)
        .def("transform",
             [](const SceneNode& self, int time) {
                 SceneCall call(*self.scene);
                 return ToArray(NodeOf(self).GetNodeTM(time));
             })
        .def("set_transform",
             [](const SceneNode& self, const py::object& rows) {
                 SceneCall call(*self.scene);
                 INode& own = NodeOf(self);
                 own.SetNodeTM(self.scene->GetScene().GetTime(), ToMatrix(rows));
             })
        .def_property("hidden",
                      Reader([](INode& n) { return n.HiddenFlag(n.GetScene()->GetTime()); }),
                      [](const SceneNode& self, bool hidden) {
                          SceneCall call(*self.scene);
                          NodeOf(self).SetHidden(hidden);
                      })
        .def_property("renderable", Reader([](INode& n) { return n.renderable.Get(); }),
                      [](const SceneNode& self, bool renderable) {
                          SceneCall call(*self.scene);
                          NodeOf(self).renderable = renderable;
                      })
        .def("set_keys", &SetKeys)
        .def("extract_outline", &ExtractOutline)
        .def("mesh", [](const SceneNode& self, int time) {
            SceneCall call(*self.scene);
            Object* object = NodeOf(self).GetObjectRef();
            std::shared_ptr<const Mesh> mesh;
            if (object && object->MeshRefusal().empty()) mesh = object->GetRenderMesh(time);
            py::array_t<float> vertices(
                {py::ssize_t(mesh ? mesh->verts.size() : 0), py::ssize_t(3)});
            py::array_t<uint32_t> faces(
                {py::ssize_t(mesh ? mesh->faces.size() : 0), py::ssize_t(3)});
            for (size_t i = 0; mesh && i < mesh->verts.size(); ++i)
                for (int k = 0; k < 3; ++k)
                    vertices.mutable_at(py::ssize_t(i), k) = mesh->verts[i][k];
            for (size_t i = 0; mesh && i < mesh->faces.size(); ++i)
                for (size_t k = 0; k < 3; ++k)
                    faces.mutable_at(py::ssize_t(i), py::ssize_t(k)) = mesh->faces[i].v[k];
            call.Finish();
            return py::make_tuple(vertices, faces);
        });
}
