// glTF 2.0, text and binary, parsed by tinygltf.
//
// Each node with a mesh becomes an object under its world transform, each instance of
// EXT_mesh_gpu_instancing too; nodes that share a mesh share it here. Primitives become material
// ids. Morph targets are applied by their default weights, skins by where the file's nodes stand.
// Texture coordinates count v from the bottom. Every accessor is checked against its buffer before
// it is read.

#include <map>
#include <optional>

#include <fmt/format.h>
#include <tiny_gltf.h>

#include "host/io/gltf_accessors.h"
#include "host/io/gltf_animation.h"
#include "host/io/gltf_file.h"
#include "host/io/gltf_material_reader.h"
#include "host/io/gltf_mesh_reader.h"
#include "host/io/gltf_nodes.h"
#include "host/io/model_poses.h"

namespace {

class GltfReader {
public:
    GltfReader(const tinygltf::Model& model, ModelFiles& files)
        : m_model(model), m_files(files), m_meshReader(model, files), m_materials(model, files) {}

    // The model as its nodes stand now. Materials are made once.
    bool Read(std::vector<ImportedObject>* objects, ImportError* error) {
        m_error = error;
        m_objects = objects;
        m_meshes.clear();
        m_worlds.clear();
        std::vector<GltfPlacedNode> nodes;
        std::string reason;
        if (!m_meshReader.Weigh(m_error)) return false;
        if (!PlaceGltfNodes(m_model, &nodes, &reason)) return Fail(reason);
        for (const GltfPlacedNode& placed : nodes)
            if (m_model.nodes[size_t(placed.node)].mesh >= 0 && !AddNode(placed)) return false;
        return true;
    }

private:
    struct LoadedMesh {
        std::shared_ptr<Mesh> mesh;
        std::shared_ptr<Mtl> material;
    };

    bool Fail(const std::string& what, ImportFailure kind = ImportFailure::kMalformed) {
        return FailImport(m_error, fmt::format("{}: {}", m_files.Path(), what), kind);
    }

    bool AddNode(const GltfPlacedNode& placed) {
        const tinygltf::Node& node = m_model.nodes[size_t(placed.node)];
        if (size_t(node.mesh) >= m_model.meshes.size())
            return Fail(fmt::format("mesh {} of {}", node.mesh, m_model.meshes.size()));
        LoadedMesh skinned;
        LoadedMesh* loaded = node.skin >= 0 ? &skinned : &m_meshes[{node.mesh, node.weights}];
        if (m_files.IsCancelled()) return false;  // whoever asked says so
        if (!loaded->mesh && !LoadMesh(node, loaded)) return false;
        if (loaded->mesh->faces.empty()) return true;
        const std::string& meshName = m_model.meshes[size_t(node.mesh)].name;
        // A skin says where the vertices are in the world, wherever its node stands.
        ImportedObject object{node.name.empty() ? meshName : node.name,
                              loaded->mesh,
                              loaded->material,
                              node.skin >= 0 ? Matrix3{} : placed.world,
                              {1, 1, 1}};
        if (HasGltfInstances(node)) return AddInstances(node, object);
        return AddObject(object);
    }
    bool AddObject(const ImportedObject& object) {
        if (m_objects->size() >= kMaxGltfObjects)
            return Fail(fmt::format("more than {} objects; no option raises this", kMaxGltfObjects),
                        ImportFailure::kLimit);
        m_objects->push_back(object);
        return true;
    }
    bool AddInstances(const tinygltf::Node& node, ImportedObject object) {
        std::vector<GltfInstance> instances;
        std::string reason;
        if (!ReadGltfInstances(m_model, node, &instances, &reason)) return Fail(reason);
        Matrix3 world = object.transform;
        for (const GltfInstance& instance : instances) {
            object.transform = instance.transform * world;
            object.color = instance.color;
            bool isTinted = !(object.color == Color{1, 1, 1});
            if (isTinted && !object.material) object.material = DefaultMtl();
            if (!AddObject(object)) return false;
        }
        return true;
    }

    bool LoadMesh(const tinygltf::Node& node, LoadedMesh* loaded) {
        const tinygltf::Mesh& source = m_model.meshes[size_t(node.mesh)];
        std::vector<Matrix3> joints;
        if (node.skin >= 0 && !ReadSkin(node.skin, &joints)) return false;
        loaded->mesh = std::make_shared<Mesh>();
        std::vector<int> used;
        if (!m_meshReader.Read(source, node.weights.empty() ? source.weights : node.weights,
                               node.skin >= 0 ? &joints : nullptr, loaded->mesh.get(), &used,
                               m_error))
            return false;
        std::vector<std::shared_ptr<Mtl>> materials;
        bool hasColors = loaded->mesh->Map(0) != nullptr;
        for (int material : used) {
            materials.push_back(m_materials.Get(material));
            if (!materials.back() && hasColors) materials.back() = DefaultMtl();
        }
        loaded->material = materials.empty() ? nullptr : CombineMaterials(materials);
        return true;
    }
    // What primitives without a material show under colours.
    std::shared_ptr<Mtl> DefaultMtl() {
        if (!m_default) m_default = VertexColorMtl();
        return m_default;
    }

    bool ReadSkin(int index, std::vector<Matrix3>* joints) {
        if (size_t(index) >= m_model.skins.size())
            return Fail(fmt::format("skin {} of {}", index, m_model.skins.size()));
        const tinygltf::Skin& skin = m_model.skins[size_t(index)];
        if (m_worlds.empty()) m_worlds = GltfWorlds(m_model);
        std::vector<float> binds;
        std::string reason;
        if (skin.inverseBindMatrices >= 0 &&
            !GltfAccessors(m_model).ReadFloats(skin.inverseBindMatrices, 16, binds, &reason))
            return Fail(reason);
        for (size_t j = 0; j < skin.joints.size(); ++j) {
            int node = skin.joints[j];
            if (node < 0 || size_t(node) >= m_worlds.size())
                return Fail(
                    fmt::format("skin {}: joint {} of {} nodes", index, node, m_worlds.size()));
            Matrix3 bind = 16 * j + 16 <= binds.size() ? GltfMatrix(&binds[16 * j]) : Matrix3{};
            joints->push_back(bind * m_worlds[size_t(node)]);
        }
        return true;
    }

    const tinygltf::Model& m_model;
    ModelFiles& m_files;
    ImportError* m_error = nullptr;
    std::vector<ImportedObject>* m_objects = nullptr;
    GltfMeshReader m_meshReader;
    GltfMaterialReader m_materials;
    std::map<std::pair<int, std::vector<double>>, LoadedMesh> m_meshes;  // by mesh and weights
    std::vector<Matrix3> m_worlds;                                       // of nodes, for skins
    std::shared_ptr<Mtl> m_default;
};

// A parsed file: read as it stands, and, where it is animated, kept to be posed again and again.
class GltfModel : public IModelPoses {
public:
    // files: where the model lies, and the folders that it may draw files from.
    explicit GltfModel(const ModelFiles& files)
        : m_files(files.Path(), TextsOf(files.Roots()), &m_model) {
        m_files.SetAnimation(files.Animation());
    }

    bool Read(std::string_view bytes, ImportError* error) {
        if (!ParseGltf(bytes, m_files, &m_parsed, error) ||
            !UnpackGltf(m_files, &m_parsed, error) || !ReadAnimation(error))
            return false;
        m_reader.emplace(m_parsed, m_files);
        return m_reader->Read(&m_model.objects, error);
    }
    bool IsAnimated() const { return !m_animation.IsEmpty(); }
    // Everything that was read, and what was left out.
    ImportedModel& Model() { return m_model; }
    void TellLeftOut() {
        if (m_files.Animation() != kNoAnimation && m_parsed.animations.size() > 1)
            m_files.LeaveOut("further animation", m_parsed.animations.size() - 1);
        m_files.LeaveOut("camera", m_parsed.cameras.size());
        m_files.LeaveOut("light", m_parsed.lights.size());
        if (m_parsed.scenes.size() > 1)
            m_files.LeaveOut("further scene", m_parsed.scenes.size() - 1);
        m_files.Finish();
    }

    Interval Range() const override { return m_animation.Range(); }
    bool At(TimeValue t, std::vector<ImportedObject>* objects, ImportError* error) override {
        m_animation.Pose(t, &m_parsed);
        return m_reader->Read(objects, error);
    }

private:
    static std::vector<std::string> TextsOf(const std::vector<std::filesystem::path>& paths) {
        std::vector<std::string> texts;
        for (const std::filesystem::path& path : paths) texts.push_back(path.string());
        return texts;
    }
    bool ReadAnimation(ImportError* error) {
        std::vector<std::string> names;
        for (size_t i = 0; i < m_parsed.animations.size(); ++i) {
            names.push_back(AnimationName(m_parsed.animations[i].name, i));
            m_model.animations.push_back({names[i], GltfAnimationSeconds(m_parsed, i), false});
        }
        std::optional<size_t> chosen = FindAnimation(names, m_files.Animation());
        if (!chosen) return true;
        std::string reason;
        if (!m_animation.Read(m_parsed, *chosen, &reason))
            return FailImport(error, fmt::format("{}: {}", m_files.Path(), reason));
        if (m_animation.IsEmpty()) return true;
        m_model.animations[*chosen].isRead = true;
        m_model.animations[*chosen].seconds = double(m_animation.Range().end) / kTicksPerSecond;
        return true;
    }

    ImportedModel m_model;
    ModelFiles m_files;
    tinygltf::Model m_parsed;
    std::optional<GltfReader> m_reader;  // knows the parsed file from its start
    GltfAnimation m_animation;
};

}  // namespace

bool ReadGltf(std::string_view bytes, ModelFiles& files, ImportError* error) {
    auto model = std::make_shared<GltfModel>(files);
    if (!model->Read(bytes, error)) return false;
    model->TellLeftOut();
    ImportedModel& read = model->Model();
    ImportedModel& out = files.Model();
    out.objects = std::move(read.objects);
    out.materials = read.materials;
    out.extensions = read.extensions;
    out.animations = read.animations;
    out.warnings.insert(out.warnings.end(), read.warnings.begin(), read.warnings.end());
    if (model->IsAnimated()) out.poses = model;
    return true;
}
