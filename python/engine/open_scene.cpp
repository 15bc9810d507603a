#include "python/engine/open_scene.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/text.h"
#include "host/geom/mesh_tools.h"
#include "host/io/bitmap.h"
#include "host/scene/object.h"
#include "python/engine/built_items.h"

namespace {

using FloatArray = py::array_t<float, py::array::c_style | py::array::forcecast>;
using FaceArray = py::array_t<int64_t, py::array::c_style | py::array::forcecast>;

std::vector<Point3> Points(const FloatArray& array, const char* what) {
    if (array.ndim() != 2 || array.shape(1) < 2 || array.shape(1) > 3)
        throw py::value_error(fmt::format("{}: expected an array of n x 3 numbers", what));
    std::vector<Point3> points(size_t(array.shape(0)));
    auto values = array.unchecked<2>();
    for (size_t i = 0; i < points.size(); ++i)
        for (int k = 0; k < int(array.shape(1)); ++k) points[i][k] = values(py::ssize_t(i), k);
    return points;
}

std::vector<Triple> Triangles(const FaceArray& array, size_t numVertices, const char* what) {
    if (array.ndim() != 2 || array.shape(1) != 3)
        throw py::value_error(fmt::format("{}: expected an array of n x 3 indices", what));
    std::vector<Triple> faces(size_t(array.shape(0)));
    auto values = array.unchecked<2>();
    for (size_t i = 0; i < faces.size(); ++i)
        for (int k = 0; k < 3; ++k) {
            int64_t v = values(py::ssize_t(i), k);
            if (v < 0 || size_t(v) >= numVertices)
                throw py::value_error(fmt::format("{}: row {}: there is no vertex {} (of {})", what,
                                                  i, v, numVertices));
            faces[i][size_t(k)] = uint32_t(v);
        }
    return faces;
}

std::shared_ptr<const Mesh> MeshOf(const FloatArray& vertices, const FaceArray& faces,
                                   const std::optional<FloatArray>& uvs, int smoothing) {
    auto mesh = std::make_shared<Mesh>();
    mesh->verts = Points(vertices, "vertices");
    if (std::optional<size_t> bad = FirstNonFiniteVertex(*mesh))
        throw py::value_error(fmt::format("vertices: row {} is not finite", *bad));
    for (const Triple& v : Triangles(faces, mesh->verts.size(), "faces")) {
        Face& face = mesh->faces.emplace_back();
        face.v = v;
        face.smGroup = uint32_t(smoothing);
    }
    if (uvs) {
        MapChannel& channel = mesh->MakeMap(1);
        channel.verts = Points(*uvs, "uvs");
        channel.faces = Triangles(faces, channel.verts.size(), "uvs");
    }
    return mesh;
}

template <class T>
std::vector<T> Pixels(const py::array& array) {
    auto values = py::array_t<T, py::array::c_style | py::array::forcecast>(array);
    return {values.data(), values.data() + values.size()};
}

// Rows top down, a number a pixel or one to four.
std::shared_ptr<const Bitmap> BitmapOf(const py::array& array) {
    auto channels = array.ndim() == 3 ? array.shape(2) : 1;
    bool fits = (array.ndim() == 2 || array.ndim() == 3) && channels >= 1 && channels <= 4 &&
                array.shape(0) > 0 && array.shape(1) > 0 && array.shape(0) <= kMaxImageSide &&
                array.shape(1) <= kMaxImageSide;
    if (!fits)
        throw py::value_error(
            fmt::format("expected an image: rows x columns, or rows x columns x 1 to 4, with at "
                        "most {} on a side",
                        kMaxImageSide));
    Bitmap::Data data;
    if (py::isinstance<py::array_t<uint8_t>>(array) || py::isinstance<py::array_t<bool>>(array)) {
        std::vector<uint8_t> bytes = Pixels<uint8_t>(array);
        if (py::isinstance<py::array_t<bool>>(array))
            for (uint8_t& byte : bytes) byte = byte ? 255 : 0;
        data = std::move(bytes);
    } else if (py::isinstance<py::array_t<uint16_t>>(array)) {
        data = Pixels<uint16_t>(array);
    } else if (array.dtype().kind() == 'f') {
        data = Pixels<float>(array);
    } else {
        throw py::type_error(
            "expected an image of bool, uint8 or uint16 (the whole range is 0 to 1), or of floats");
    }
    return std::make_shared<Bitmap>(int(array.shape(1)), int(array.shape(0)), int(channels),
                                    std::move(data));
}

BitmapTex& ArrayMap(OpenScene& scene, const std::string& name) {
    auto it = scene.GetScene().Texmaps().find(name);
    auto* bitmap = it == scene.GetScene().Texmaps().end()
                       ? nullptr
                       : dynamic_cast<BitmapTex*>(it->second.get());
    if (!bitmap) throw py::key_error(fmt::format("no bitmap is named \"{}\"", name));
    return *bitmap;
}

std::vector<std::string> NodeNames(const Scene& scene) {
    std::vector<std::string> names;
    for (const INode* node : scene.Nodes()) names.push_back(node->GetName());
    return names;
}

SceneNode FindNode(const std::shared_ptr<OpenScene>& self, const std::string& name) {
    INode* node = self->GetScene().FindNode(name);
    if (!node)
        throw py::key_error(fmt::format("no node is named \"{}\"{}", name,
                                        DidYouMean(name, NodeNames(self->GetScene()))));
    return HandleOf(self, *node);
}

void CheckNewName(Scene& scene, const std::string& name) {
    if (name.empty()) throw py::value_error("a node needs a name");
    if (scene.FindNode(name))
        throw py::value_error(fmt::format("the name \"{}\" stands twice", name));
}

template <class Entities>
std::vector<std::string> KeysOf(const Entities& entities) {
    std::vector<std::string> names;
    for (const auto& [name, entity] : entities) names.push_back(name);
    return names;
}

void Save(const std::shared_ptr<OpenScene>& self, const std::string& path) {
    Call call(&self->GetSession());
    ExitCode code = kExitDone;
    call.Run(py::none(), [&] {
        code = self->GetSession().Save(path);
        if (code == kExitDone) self->GetScene().path = path;
    });
    call.Finish(code);
}

}  // namespace

std::shared_ptr<OpenScene> OpenScene::Make(const std::function<ExitCode(Session&)>& open,
                                           const py::object& progress) {
    Call call;
    std::shared_ptr<OpenScene> scene(new OpenScene);
    ExitCode code = kExitDone;
    // In a thread that ends with this: afterwards the session is current in none but where a call
    // says so, whatever the order in which sessions go.
    call.Run(progress, [&] {
        scene->m_session = std::make_unique<Session>();
        code = open(*scene->m_session);
    });
    call.Finish(code);
    return scene;
}

OpenScene::~OpenScene() {
    if (!m_session) return;
    ContextScope scope(m_session->Host());
    m_session.reset();
}

void OpenScene::Detach(const TDravin& object) {
    auto it = m_built.find(&object);
    if (it == m_built.end()) return;
    if (std::shared_ptr<BuiltItems> items = it->second.lock()) items->Detach();
    m_built.erase(it);
}

void OpenScene::DetachAll() {
    for (auto& [object, built] : m_built)
        if (std::shared_ptr<BuiltItems> items = built.lock()) items->Detach();
    m_built.clear();
}

std::shared_ptr<BuiltItems> OpenScene::ItemsOf(const std::shared_ptr<OpenScene>& self,
                                               const std::shared_ptr<TDravin>& object) {
    auto items = std::make_shared<BuiltItems>(self, object);
    m_built[object.get()] = items;
    return items;
}

INode& NodeOf(const SceneNode& handle) {
    if (handle.node->GetScene() != &handle.scene->GetScene())
        RaiseError(kExitUsage, fmt::format("the node \"{}\" has been deleted from its scene",
                                           handle.node->GetName()));
    return *handle.node;
}

SceneNode HandleOf(const std::shared_ptr<OpenScene>& scene, INode& node) {
    return {scene, std::static_pointer_cast<INode>(node.shared_from_this())};
}

std::shared_ptr<TDravin> ScatterOf(const SceneNode& handle) {
    INode& node = NodeOf(handle);
    auto object = std::dynamic_pointer_cast<TDravin>(node.ShareObjectRef());
    if (!object)
        throw py::type_error(
            fmt::format("\"{}\" is no scatter object (a node of type \"dravin\")", node.GetName()));
    return object;
}

py::array_t<float> ToArray(const Matrix3& m) {
    py::array_t<float> rows(std::vector<py::ssize_t>{4, 3});
    auto values = rows.mutable_unchecked<2>();
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 3; ++k) values(i, k) = m.row[i][k];
    return rows;
}

Matrix3 ToMatrix(const py::object& rows) {
    auto array = FloatArray::ensure(rows);
    if (!array || array.ndim() != 2 || array.shape(0) != 4 || array.shape(1) != 3) {
        PyErr_Clear();
        throw py::value_error("expected a matrix of four rows of three numbers");
    }
    Matrix3 m;
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 3; ++k) {
            m.row[i][k] = array.at(i, k);
            if (!std::isfinite(m.row[i][k]))
                throw py::value_error("expected a matrix of finite numbers");
        }
    return m;
}

void BindScene(py::module_& m) {
    using Self = std::shared_ptr<OpenScene>;
    py::class_<OpenScene, Self>(m, "Scene")
        .def_static("open",
                    [](const std::string& path, const py::object& progress) {
                        return OpenScene::Make([&](Session& s) { return s.Open(path); }, progress);
                    })
        .def_static("parse",
                    [](const std::string& text, const std::string& name, const std::string& folder,
                       const py::object& progress) {
                        return OpenScene::Make(
                            [&](Session& s) { return s.Parse(text, name, folder); }, progress);
                    })
        .def("add",
             [](const Self& self, const std::string& text, const std::string& name) {
                 Call call(&self->GetSession());
                 ExitCode code = kExitDone;
                 call.Run(py::none(), [&] { code = self->GetSession().Add(text, name); });
                 call.Finish(code);
             })
        .def("save", &Save)
        .def("describe",
             [](const Self& self) {
                 SceneCall call(*self);
                 std::string folder =
                     std::filesystem::path(self->GetScene().path).parent_path().string();
                 return py::bytes(
                     WriteSceneDescription(self->GetScene(), folder, self->GetSession().Formats()));
             })
        .def("nodes",
             [](const Self& self) {
                 SceneCall call(*self);
                 std::vector<SceneNode> nodes;
                 for (INode* node : self->GetScene().Nodes())
                     nodes.push_back(HandleOf(self, *node));
                 return nodes;
             })
        .def("find",
             [](const Self& self, const std::string& name) {
                 SceneCall call(*self);
                 return FindNode(self, name);
             })
        .def("delete",
             [](const Self& self, const SceneNode& node) {
                 SceneCall call(*self);
                 if (node.scene != self) throw py::value_error("the node is one of another scene");
                 self->GetScene().DeleteNode(NodeOf(node));
             })
        .def("add_mesh",
             [](const Self& self, const std::string& name, const FloatArray& vertices,
                const FaceArray& faces, const std::optional<FloatArray>& uvs, int smoothing) {
                 SceneCall call(*self);
                 CheckNewName(self->GetScene(), name);
                 auto mesh = MeshOf(vertices, faces, uvs, smoothing);
                 return HandleOf(
                     self, *self->GetScene().AddNode(name, std::make_shared<TriObject>(mesh)));
             })
        .def("set_bitmap",
             [](const Self& self, const std::string& name, const py::array& image) {
                 SceneCall call(*self);
                 auto bitmap = MakeBitmapTex("");
                 bitmap->SetImage(BitmapOf(image));
                 self->GetScene().SetTexmap(name, bitmap);
             })
        .def("write_bitmap",
             [](const Self& self, const std::string& name, const std::string& path) {
                 SceneCall call(*self);
                 BitmapTex& map = ArrayMap(*self, name);
                 std::string error;
                 if (!WriteBitmap(path, *map.Image(), &error, true))
                     RaiseError(kExitNoOutput, error);
                 auto image = map.Image();
                 map.SetFile(path);
                 map.SetImage(image);
             })
        .def("bitmap_without_file",
             [](const Self& self, const std::string& name) {
                 SceneCall call(*self);
                 auto it = self->GetScene().Texmaps().find(name);
                 auto* bitmap = it == self->GetScene().Texmaps().end()
                                    ? nullptr
                                    : dynamic_cast<BitmapTex*>(it->second.get());
                 return bitmap && bitmap->Image() && bitmap->File().empty();
             })
        .def("texmaps",
             [](const Self& self) {
                 SceneCall call(*self);
                 return KeysOf(self->GetScene().Texmaps());
             })
        .def("materials",
             [](const Self& self) {
                 SceneCall call(*self);
                 return KeysOf(self->GetScene().Materials());
             })
        .def_property(
            "time",
            [](const Self& self) {
                SceneCall call(*self);
                return self->GetScene().GetTime();
            },
            [](const Self& self, int time) {
                SceneCall call(*self);
                self->GetScene().SetTime(time);
            })
        .def_property_readonly("path", [](const Self& self) { return self->GetScene().path; });
}
