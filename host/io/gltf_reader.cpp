// glTF 2.0, text and binary, parsed by tinygltf.
//
// Each node with a mesh becomes an object under its world transform; nodes that share a mesh share
// it here too. Primitives become material ids. The y axis is turned up: (x, y, z) becomes (x, -z,
// y), and transforms with it; texture coordinates count v from the bottom. Every accessor is
// checked against its buffer before it is read.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>

#include <fmt/format.h>
#include <tiny_gltf.h>

#include "host/base/file_input.h"
#include "host/geom/mesh_tools.h"
#include "host/io/bitmap.h"
#include "host/io/gltf_accessors.h"
#include "host/io/json_depth.h"
#include "host/io/mesh_soup.h"
#include "host/io/model_readers.h"

namespace {

constexpr uint64_t kMaxBufferBytes = uint64_t{4} << 30;

// Extensions without which a file cannot be shown, and that are understood here.
constexpr std::string_view kUnderstood[] = {"KHR_texture_transform", "KHR_mesh_quantization",
                                            "KHR_materials_unlit", "KHR_lights_punctual"};

Point3 TurnUp(const Point3& p) { return {p.x, -p.z, p.y}; }

// A matrix for points of the file (rows are images of the axes) as one for turned points.
Matrix3 TurnUp(const Matrix3& m) {
    // The turned y axis is the file's -z axis, the turned z axis its y axis.
    return {{TurnUp(m.row[0]), TurnUp(-m.row[2]), TurnUp(m.row[1]), TurnUp(m.row[3])}};
}

std::string DecodePercent(const std::string& text) {
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        auto digits = std::string_view(text).substr(std::min(i + 1, text.size()), 2);
        bool isCode =
            text[i] == '%' && digits.size() == 2 &&
            std::from_chars(digits.data(), digits.data() + 2, value, 16).ptr == digits.data() + 2;
        result += isCode ? char(value) : text[i];
        if (isCode) i += 2;
    }
    return result;
}

// The library asks for files through these.
bool FileExists(const std::string& path, void*) {
    std::string ignored;
    return RegularFileSize(path, &ignored).has_value();
}
std::string ExpandPath(const std::string& path, void*) { return path; }
bool ReadFile(std::vector<unsigned char>* out, std::string* error, const std::string& path, void*) {
    std::string reason;
    std::optional<std::string> bytes = ReadWholeFile(path, kMaxBufferBytes, &reason);
    if (bytes)
        out->assign(bytes->begin(), bytes->end());
    else if (error)
        *error += reason;
    return bytes.has_value();
}
bool WriteNothing(std::string*, const std::string&, const std::vector<unsigned char>&, void*) {
    return false;
}
// Packed images stay encoded until a material wants them; files are read by their own reader.
bool KeepEncoded(tinygltf::Image* image, const int, std::string*, std::string*, int, int,
                 const unsigned char* bytes, int size, void*) {
    if (image->uri.empty()) image->image.assign(bytes, bytes + size);
    return true;
}

class GltfReader {
public:
    GltfReader(const std::string& path, ImportedModel* result) : m_path(path), m_result(result) {}

    bool Read(std::string_view bytes, std::string* error) {
        if (Parse(bytes) && CheckExtensions()) {
            m_meshes.resize(m_model.meshes.size());
            m_materials.resize(m_model.materials.size());
            VisitScene();
        }
        if (!m_error.empty()) *error = m_error;
        return m_error.empty();
    }

private:
    bool Fail(const std::string& what) {
        if (m_error.empty()) m_error = fmt::format("{}: {}", m_path, what);
        return false;
    }
    void Warn(const std::string& what) {
        m_result->warnings.push_back(fmt::format("{}: {}", m_path, what));
    }

    bool Parse(std::string_view bytes) {
        bool isBinary = bytes.substr(0, 4) == "glTF";
        if (bytes.size() >= kMaxBufferBytes) return Fail("more than 4 GiB");
        std::string_view json = bytes;
        if (isBinary) {
            uint32_t length = 0;
            if (bytes.size() < 20) return Fail("the file ends within its header");
            std::memcpy(&length, bytes.data() + 12, 4);
            json = bytes.substr(20, length);
        } else if (bytes.find_first_not_of(" \t\r\n\xEF\xBB\xBF") == bytes.npos ||
                   bytes[bytes.find_first_not_of(" \t\r\n\xEF\xBB\xBF")] != '{') {
            return Fail("not a glTF file");
        }
        if (size_t depth = JsonDepth(json); depth > kMaxJsonDepth)
            return Fail(
                fmt::format("{} levels of nesting, at most {} are read", depth, kMaxJsonDepth));

        tinygltf::TinyGLTF parser;
        parser.SetImageLoader(KeepEncoded, nullptr);
        parser.SetFsCallbacks({FileExists, ExpandPath, ReadFile, WriteNothing, nullptr});
        std::string folder = std::filesystem::path(m_path).parent_path().string(), reason, warning;
        bool ok = isBinary ? parser.LoadBinaryFromMemory(
                                 &m_model, &reason, &warning,
                                 reinterpret_cast<const unsigned char*>(bytes.data()),
                                 unsigned(bytes.size()), folder)
                           : parser.LoadASCIIFromString(&m_model, &reason, &warning, bytes.data(),
                                                        unsigned(bytes.size()), folder);
        if (!ok) return Fail(reason.substr(0, reason.find('\n')));
        return true;
    }
    bool CheckExtensions() {
        for (const std::string& name : m_model.extensionsRequired)
            if (std::find(std::begin(kUnderstood), std::end(kUnderstood), name) ==
                std::end(kUnderstood))
                return Fail(fmt::format("requires the extension {}, which is not read", name));
        return true;
    }

    // All nodes of the default scene, each once, with their world transforms. A file without scenes
    // shows the nodes that are nobody's child.
    void VisitScene() {
        struct Visit {
            int node;
            Matrix3 parent;
        };
        std::vector<Visit> stack;
        for (int node : RootNodes()) stack.push_back({node, {}});
        std::reverse(stack.begin(), stack.end());
        std::vector<bool> seen(m_model.nodes.size());
        while (!stack.empty() && m_error.empty()) {
            Visit visit = stack.back();
            stack.pop_back();
            if (visit.node < 0 || size_t(visit.node) >= m_model.nodes.size()) {
                Fail(fmt::format("node {} of {}", visit.node, m_model.nodes.size()));
                return;
            }
            if (seen[size_t(visit.node)]) continue;
            seen[size_t(visit.node)] = true;
            const tinygltf::Node& node = m_model.nodes[size_t(visit.node)];
            Matrix3 world = LocalMatrix(node) * visit.parent;
            if (node.mesh >= 0) AddObject(node, world);
            for (size_t k = node.children.size(); k-- > 0;)
                stack.push_back({node.children[k], world});
        }
    }
    std::vector<int> RootNodes() const {
        int scene = m_model.defaultScene >= 0 ? m_model.defaultScene : 0;
        if (size_t(scene) < m_model.scenes.size()) return m_model.scenes[size_t(scene)].nodes;
        std::vector<bool> isChild(m_model.nodes.size());
        for (const tinygltf::Node& node : m_model.nodes)
            for (int child : node.children)
                if (child >= 0 && size_t(child) < isChild.size()) isChild[size_t(child)] = true;
        std::vector<int> roots;
        for (size_t n = 0; n < isChild.size(); ++n)
            if (!isChild[n]) roots.push_back(int(n));
        return roots;
    }
    static Matrix3 LocalMatrix(const tinygltf::Node& node) {
        Matrix3 m;
        if (node.matrix.size() == 16) {
            for (size_t i = 0; i < 4; ++i)
                for (size_t k = 0; k < 3; ++k) m.row[i][int(k)] = float(node.matrix[4 * i + k]);
            return m;
        }
        if (node.rotation.size() == 4) {
            const std::vector<double>& q = node.rotation;
            double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
            if (length > 0)
                m = Quat{float(q[0] / length), float(q[1] / length), float(q[2] / length),
                         float(q[3] / length)}
                        .ToMatrix();
        }
        if (node.scale.size() == 3)
            m.PreScale({float(node.scale[0]), float(node.scale[1]), float(node.scale[2])});
        if (node.translation.size() == 3)
            m.SetTrans({float(node.translation[0]), float(node.translation[1]),
                        float(node.translation[2])});
        return m;
    }

    struct LoadedMesh {
        std::shared_ptr<Mesh> mesh;
        std::shared_ptr<Mtl> material;
    };
    void AddObject(const tinygltf::Node& node, const Matrix3& world) {
        if (size_t(node.mesh) >= m_model.meshes.size()) {
            Fail(fmt::format("mesh {} of {}", node.mesh, m_model.meshes.size()));
            return;
        }
        LoadedMesh& loaded = m_meshes[size_t(node.mesh)];
        if (!loaded.mesh) LoadMesh(m_model.meshes[size_t(node.mesh)], &loaded);
        if (!m_error.empty() || loaded.mesh->faces.empty()) return;
        std::string name = node.name.empty() ? m_model.meshes[size_t(node.mesh)].name : node.name;
        m_result->objects.push_back({name, loaded.mesh, loaded.material, TurnUp(world)});
    }

    void LoadMesh(const tinygltf::Mesh& source, LoadedMesh* loaded) {
        loaded->mesh = std::make_shared<Mesh>();
        std::vector<int> used;  // material numbers, in order of first use
        std::vector<std::shared_ptr<Mtl>> materials;
        for (const tinygltf::Primitive& primitive : source.primitives) {
            size_t id =
                size_t(std::find(used.begin(), used.end(), primitive.material) - used.begin());
            Mesh part;
            if (!LoadPrimitive(primitive, &part)) return;
            if (part.faces.empty()) continue;
            if (id == used.size()) {
                used.push_back(primitive.material);
                materials.push_back(Material(primitive.material));
            }
            for (Face& face : part.faces) face.matID = uint16_t(id);
            if (loaded->mesh->faces.size() + part.faces.size() > kMaxImportedFaces) {
                Fail("too many faces");
                return;
            }
            AppendMesh(*loaded->mesh, part);
        }
        WeldVertices(*loaded->mesh);
        loaded->material = materials.empty() ? nullptr : CombineMaterials(materials);
    }

    bool LoadPrimitive(const tinygltf::Primitive& primitive, Mesh* mesh) {
        if (primitive.mode < TINYGLTF_MODE_TRIANGLES) {
            if (primitive.mode >= 0) Warn("points and lines are left out");
            if (primitive.mode >= 0) return true;
        }
        if (primitive.attributes.count("POSITION") == 0) return true;
        if (!ReadPoints(primitive, "POSITION", 3, &mesh->verts)) return false;
        for (size_t v = 0; v < mesh->verts.size(); ++v) {
            if (!IsFinite(mesh->verts[v]))
                return Fail(fmt::format("vertex {}: a coordinate is not a finite number", v));
            mesh->verts[v] = TurnUp(mesh->verts[v]);
        }
        std::vector<Triple> triangles;
        if (!ReadTriangles(primitive, mesh->verts.size(), &triangles)) return false;
        bool hasNormals = primitive.attributes.count("NORMAL") > 0;
        for (const Triple& t : triangles) mesh->faces.push_back({t, hasNormals ? 1u : 0u});
        return ReadChannels(primitive, triangles, mesh);
    }
    bool ReadPoints(const tinygltf::Primitive& primitive, const std::string& name, int components,
                    std::vector<Point3>* points) {
        std::vector<float> values;
        std::string reason;
        auto found = primitive.attributes.find(name);
        if (!GltfAccessors(m_model).ReadFloats(found->second, components, values, &reason))
            return Fail(reason);
        size_t n = values.size() / size_t(components);
        points->assign(n, {});
        for (size_t i = 0; i < n; ++i)
            for (int k = 0; k < components; ++k)
                (*points)[i][k] = values[i * size_t(components) + size_t(k)];
        return true;
    }
    bool ReadTriangles(const tinygltf::Primitive& primitive, size_t numVerts,
                       std::vector<Triple>* triangles) {
        std::vector<uint32_t> order;
        std::string reason;
        if (primitive.indices >= 0) {
            if (!GltfAccessors(m_model).ReadIndices(primitive.indices, order, &reason))
                return Fail(reason);
        } else {
            for (uint32_t v = 0; v < numVerts; ++v) order.push_back(v);
        }
        for (size_t i = 0; i < order.size(); ++i)
            if (order[i] >= numVerts)
                return Fail(fmt::format("accessor {}: index {}: vertex {} of {}", primitive.indices,
                                        i, order[i], numVerts));
        bool isStrip = primitive.mode == TINYGLTF_MODE_TRIANGLE_STRIP;
        bool isFan = primitive.mode == TINYGLTF_MODE_TRIANGLE_FAN;
        for (size_t i = 2; i < order.size(); i += isStrip || isFan ? 1 : 3) {
            uint32_t a = isFan ? order[0] : order[i - 2], b = order[i - 1], c = order[i];
            bool isTurned = isStrip && i % 2 == 1;
            triangles->push_back(isTurned ? Triple{b, a, c} : Triple{a, b, c});
        }
        return true;
    }
    bool ReadChannels(const tinygltf::Primitive& primitive, const std::vector<Triple>& triangles,
                      Mesh* mesh) {
        auto read = [&](const std::string& name, int components, MapChannel* channel) {
            if (!ReadPoints(primitive, name, components, &channel->verts)) return false;
            if (channel->verts.size() != mesh->verts.size())
                return Fail(fmt::format("{}: {} values for {} vertices", name,
                                        channel->verts.size(), mesh->verts.size()));
            channel->faces = triangles;
            return true;
        };
        auto has = [&](const std::string& name) { return primitive.attributes.count(name) > 0; };
        if (has("NORMAL")) {
            if (!read("NORMAL", 3, &mesh->normals)) return false;
            for (Point3& n : mesh->normals.verts) n = TurnUp(n);
        }
        if (has("COLOR_0") && !read("COLOR_0", 3, &mesh->MakeMap(0))) return false;
        for (int set = 0; set < 8 && has(fmt::format("TEXCOORD_{}", set)); ++set) {
            MapChannel& map = mesh->MakeMap(set + 1);
            if (!read(fmt::format("TEXCOORD_{}", set), 2, &map)) return false;
            for (Point3& t : map.verts) t.y = 1 - t.y;
        }
        return true;
    }

    std::shared_ptr<Mtl> Material(int index) {
        if (index < 0 || size_t(index) >= m_model.materials.size()) return nullptr;
        std::shared_ptr<StandardMtl>& material = m_materials[size_t(index)];
        if (material) return material;
        const tinygltf::Material& source = m_model.materials[size_t(index)];
        material = std::make_shared<StandardMtl>();
        material->name = source.name;
        material->twoSided = source.doubleSided;
        const std::vector<double>& factor = source.pbrMetallicRoughness.baseColorFactor;
        bool isOpaque = source.alphaMode == "OPAQUE";
        if (factor.size() == 4) {
            material->diffuse = {float(factor[0]), float(factor[1]), float(factor[2])};
            if (!isOpaque) material->opacity = float(factor[3]);
        }
        const tinygltf::TextureInfo& texture = source.pbrMetallicRoughness.baseColorTexture;
        if (texture.index < 0) return material;
        material->diffuseMap = Texture(texture);
        std::shared_ptr<BitmapTex> alpha = isOpaque ? nullptr : Texture(texture);
        if (alpha) alpha->alphaOnly = true;
        if (alpha) material->opacityMap = alpha;
        return material;
    }

    std::shared_ptr<BitmapTex> Texture(const tinygltf::TextureInfo& info) {
        if (size_t(info.index) >= m_model.textures.size()) return nullptr;
        const tinygltf::Texture& texture = m_model.textures[size_t(info.index)];
        if (texture.source < 0 || size_t(texture.source) >= m_model.images.size()) return nullptr;
        const tinygltf::Image& image = m_model.images[size_t(texture.source)];
        std::shared_ptr<BitmapTex> map;
        if (!image.uri.empty()) {
            map = std::static_pointer_cast<BitmapTex>(
                TextureBeside(m_path, DecodePercent(image.uri), &m_result->warnings));
        } else {
            map = PackedTexture(size_t(texture.source));
        }
        if (!map) return nullptr;
        if (!image.name.empty()) map->name = image.name;
        map->channel = info.texCoord + 1;
        Wrap(texture, map.get());
        Transform(info, map.get());
        return map;
    }
    std::shared_ptr<BitmapTex> PackedTexture(size_t source) {
        const std::vector<unsigned char>& bytes = m_model.images[source].image;
        std::string reason, name = fmt::format("{}: image {}", m_path, source);
        auto bitmap = ReadBitmapFromMemory(
            {reinterpret_cast<const char*>(bytes.data()), bytes.size()}, name, &reason);
        if (!bitmap) return m_result->warnings.push_back(reason), nullptr;
        auto map = std::make_shared<BitmapTex>(ReadBitmap);
        map->SetImage(bitmap);
        return map;
    }
    void Wrap(const tinygltf::Texture& texture, BitmapTex* map) {
        if (texture.sampler < 0 || size_t(texture.sampler) >= m_model.samplers.size()) return;
        const tinygltf::Sampler& sampler = m_model.samplers[size_t(texture.sampler)];
        if (sampler.wrapS == TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE)
            map->wrap = BitmapTex::Wrap::kClamp;
        if (sampler.wrapS == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT)
            map->wrap = BitmapTex::Wrap::kMirror;
        if (sampler.magFilter == TINYGLTF_TEXTURE_FILTER_NEAREST)
            map->filter = BitmapTex::Filter::kNearest;
    }
    // The file transforms coordinates with v from the top: v' = v * scale + offset there is
    // v' = v * scale + (1 - scale - offset) here.
    static void Transform(const tinygltf::TextureInfo& info, BitmapTex* map) {
        auto found = info.extensions.find("KHR_texture_transform");
        if (found == info.extensions.end() || !found->second.IsObject()) return;
        auto pair = [&](const char* key, Point2 fallback) {
            const tinygltf::Value& value = found->second.Get(key);
            if (!value.IsArray() || value.ArrayLen() != 2) return fallback;
            return Point2{float(value.Get(0).GetNumberAsDouble()),
                          float(value.Get(1).GetNumberAsDouble())};
        };
        Point2 scale = pair("scale", {1, 1}), offset = pair("offset", {0, 0});
        map->tiling = scale;
        map->offset = {offset.x, 1 - scale.y - offset.y};
    }

    const std::string& m_path;
    ImportedModel* m_result;
    tinygltf::Model m_model;
    std::vector<LoadedMesh> m_meshes;
    std::vector<std::shared_ptr<StandardMtl>> m_materials;
    std::string m_error;
};

}  // namespace

bool ReadGltf(const std::string& path, std::string_view bytes, ImportedModel* model,
              std::string* error) {
    return GltfReader(path, model).Read(bytes, error);
}
