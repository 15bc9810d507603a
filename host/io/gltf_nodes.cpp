#include "host/io/gltf_nodes.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <tiny_gltf.h>

#include "host/io/gltf_accessors.h"
#include "host/io/gltf_value.h"

namespace {

constexpr const char* kInstancing = "EXT_mesh_gpu_instancing";

Matrix3 Compose(const Point3& translation, double x, double y, double z, double w,
                const Point3& scale) {
    Matrix3 m;
    double length = std::sqrt(x * x + y * y + z * z + w * w);
    if (length > 0)
        m = Quat{float(x / length), float(y / length), float(z / length), float(w / length)}
                .ToMatrix();
    m.PreScale(scale);
    m.SetTrans(translation);
    return m;
}

Matrix3 LocalMatrix(const tinygltf::Node& node) {
    if (node.matrix.size() == 16) {
        float columns[16];
        for (size_t i = 0; i < 16; ++i) columns[i] = float(node.matrix[i]);
        return GltfMatrix(columns);
    }
    auto point = [](const std::vector<double>& v, const Point3& missing) {
        return v.size() == 3 ? Point3{float(v[0]), float(v[1]), float(v[2])} : missing;
    };
    const std::vector<double> none{0, 0, 0, 1};
    const std::vector<double>& q = node.rotation.size() == 4 ? node.rotation : none;
    return Compose(point(node.translation, {}), q[0], q[1], q[2], q[3],
                   point(node.scale, {1, 1, 1}));
}

// Nodes that are nobody's child.
std::vector<int> Orphans(const tinygltf::Model& model) {
    std::vector<bool> isChild(model.nodes.size());
    for (const tinygltf::Node& node : model.nodes)
        for (int child : node.children)
            if (child >= 0 && size_t(child) < isChild.size()) isChild[size_t(child)] = true;
    std::vector<int> roots;
    for (size_t n = 0; n < isChild.size(); ++n)
        if (!isChild[n]) roots.push_back(int(n));
    return roots;
}

// Calls visit(node, world) for everything below the roots, each node once.
template <class Visit>
bool VisitTree(const tinygltf::Model& model, const std::vector<int>& roots, Visit visit,
               std::string* error) {
    struct Step {
        int node;
        Matrix3 parent;
    };
    std::vector<Step> stack;
    for (size_t r = roots.size(); r-- > 0;) stack.push_back({roots[r], {}});
    std::vector<bool> seen(model.nodes.size());
    while (!stack.empty()) {
        Step step = stack.back();
        stack.pop_back();
        if (step.node < 0 || size_t(step.node) >= model.nodes.size())
            return *error = fmt::format("node {} of {}", step.node, model.nodes.size()), false;
        if (seen[size_t(step.node)]) continue;
        seen[size_t(step.node)] = true;
        const tinygltf::Node& node = model.nodes[size_t(step.node)];
        Matrix3 world = LocalMatrix(node) * step.parent;
        visit(step.node, world);
        for (size_t k = node.children.size(); k-- > 0;) stack.push_back({node.children[k], world});
    }
    return true;
}

// One attribute of the instances, as rows of `components` floats.
class InstanceReader {
public:
    InstanceReader(const tinygltf::Model& model, const tinygltf::Value& attributes)
        : m_model(model), m_attributes(attributes) {}

    bool Read(const char* name, int components, std::vector<float>* values, std::string* error) {
        if (!m_attributes.Has(name)) return true;
        int accessor = GltfInt(m_attributes.Get(name));
        if (!GltfAccessors(m_model).ReadFloats(accessor, components, *values, error)) return false;
        size_t count = values->size() / size_t(components);
        if (m_hasAny && count != m_count)
            return *error = fmt::format("instances: {} values of {}, {} of others", count, name,
                                        m_count),
                   false;
        m_count = count;
        m_hasAny = true;
        return true;
    }
    size_t Count() const { return m_count; }

private:
    const tinygltf::Model& m_model;
    const tinygltf::Value& m_attributes;
    size_t m_count = 0;
    bool m_hasAny = false;
};

}  // namespace

bool PlaceGltfNodes(const tinygltf::Model& model, std::vector<GltfPlacedNode>* placed,
                    std::string* error) {
    int scene = model.defaultScene >= 0 ? model.defaultScene : 0;
    std::vector<int> roots =
        size_t(scene) < model.scenes.size() ? model.scenes[size_t(scene)].nodes : Orphans(model);
    return VisitTree(
        model, roots,
        [&](int node, const Matrix3& world) {
            placed->push_back({node, world});
        },
        error);
}

std::vector<Matrix3> GltfWorlds(const tinygltf::Model& model) {
    std::vector<Matrix3> worlds(model.nodes.size());
    std::string ignored;  // joints that are missed stay where they are
    VisitTree(
        model, Orphans(model),
        [&](int node, const Matrix3& world) { worlds[size_t(node)] = world; }, &ignored);
    return worlds;
}

Matrix3 GltfMatrix(const float* columns) {
    // Columns of the file are rows here.
    Matrix3 m;
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 3; ++k) m.row[i][k] = columns[4 * i + k];
    return m;
}

bool HasGltfInstances(const tinygltf::Node& node) {
    auto found = node.extensions.find(kInstancing);
    return found != node.extensions.end() && found->second.IsObject() &&
           found->second.Get("attributes").IsObject();
}

bool ReadGltfInstances(const tinygltf::Model& model, const tinygltf::Node& node,
                       std::vector<GltfInstance>* instances, std::string* error) {
    const tinygltf::Value& extension = node.extensions.find(kInstancing)->second;
    InstanceReader reader(model, extension.Get("attributes"));
    std::vector<float> translations, rotations, scales, colors;
    if (!reader.Read("TRANSLATION", 3, &translations, error) ||
        !reader.Read("ROTATION", 4, &rotations, error) ||
        !reader.Read("SCALE", 3, &scales, error) || !reader.Read("_COLOR_0", 3, &colors, error))
        return false;
    instances->resize(reader.Count());
    for (size_t i = 0; i < instances->size(); ++i) {
        auto triple = [i](const std::vector<float>& v, const Point3& missing) {
            return v.empty() ? missing : Point3{v[3 * i], v[3 * i + 1], v[3 * i + 2]};
        };
        const float identity[4] = {0, 0, 0, 1};
        const float* q = rotations.empty() ? identity : &rotations[4 * i];
        GltfInstance& instance = (*instances)[i];
        instance.transform =
            Compose(triple(translations, {}), q[0], q[1], q[2], q[3], triple(scales, {1, 1, 1}));
        Point3 c = triple(colors, {1, 1, 1});
        instance.color = {c.x, c.y, c.z};
    }
    return true;
}
