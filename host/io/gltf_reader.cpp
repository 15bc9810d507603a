// glTF 2.0, text and binary, parsed by tinygltf.
//
// Each node with a mesh becomes an object under its world transform, each instance of
// EXT_mesh_gpu_instancing too; nodes that share a mesh share it here. Primitives become material
// ids. Morph targets are applied by their default weights, skins by where the file's nodes stand.
// Texture coordinates count v from the bottom. Every accessor is checked against its buffer before
// it is read.

#include <map>

#include <fmt/format.h>
#include <tiny_gltf.h>

#include "host/io/gltf_accessors.h"
#include "host/io/gltf_file.h"
#include "host/io/gltf_material_reader.h"
#include "host/io/gltf_mesh_reader.h"
#include "host/io/gltf_nodes.h"

namespace {

class GltfReader {
public:
    GltfReader(const tinygltf::Model& model, ModelFiles& files, ImportError* error)
        : m_model(model),
          m_files(files),
          m_error(error),
          m_meshReader(model, files),
          m_materials(model, files) {}

    bool Read() {
        std::vector<GltfPlacedNode> nodes;
        std::string reason;
        if (!m_meshReader.Weigh(m_error)) return false;
        if (!PlaceGltfNodes(m_model, &nodes, &reason)) return Fail(reason);
        for (const GltfPlacedNode& placed : nodes)
            if (m_model.nodes[size_t(placed.node)].mesh >= 0 && !AddNode(placed)) return false;
        CountLeftOut();
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
        std::vector<ImportedObject>& objects = m_files.Model().objects;
        if (objects.size() >= kMaxGltfObjects)
            return Fail(fmt::format("more than {} objects; no option raises this", kMaxGltfObjects),
                        ImportFailure::kLimit);
        objects.push_back(object);
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

    void CountLeftOut() {
        m_files.LeaveOut("animation", m_model.animations.size());
        m_files.LeaveOut("camera", m_model.cameras.size());
        m_files.LeaveOut("light", m_model.lights.size());
        if (m_model.scenes.size() > 1) m_files.LeaveOut("further scene", m_model.scenes.size() - 1);
    }

    const tinygltf::Model& m_model;
    ModelFiles& m_files;
    ImportError* m_error;
    GltfMeshReader m_meshReader;
    GltfMaterialReader m_materials;
    std::map<std::pair<int, std::vector<double>>, LoadedMesh> m_meshes;  // by mesh and weights
    std::vector<Matrix3> m_worlds;                                       // of nodes, for skins
    std::shared_ptr<Mtl> m_default;
};

}  // namespace

bool ReadGltf(std::string_view bytes, ModelFiles& files, ImportError* error) {
    tinygltf::Model model;
    return ParseGltf(bytes, files, &model, error) && UnpackGltf(files, &model, error) &&
           GltfReader(model, files, error).Read();
}
