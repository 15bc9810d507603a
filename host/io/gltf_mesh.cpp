#include "host/io/gltf_mesh.h"

#include <algorithm>
#include <bit>
#include <unordered_map>

#include "host/geom/mesh_tools.h"
#include "host/math/display_color.h"

namespace {

constexpr int kMaxSets = 8;

// Which attribute values meet in a corner; equal corners share a vertex.
struct Corner {
    uint32_t position = 0, color = 0;
    Point3 normal;
    std::array<uint32_t, kMaxSets> uv{};

    friend bool operator==(const Corner&, const Corner&) = default;
};

struct CornerHash {
    size_t operator()(const Corner& c) const {
        uint64_t h = c.position;
        auto mix = [&](uint32_t value) { h = (h ^ value) * 0x9E3779B97F4A7C15u, h ^= h >> 29; };
        for (int k = 0; k < 3; ++k) mix(std::bit_cast<uint32_t>(c.normal[k] + 0.0f));
        for (uint32_t t : c.uv) mix(t);
        mix(c.color);
        return size_t(h);
    }
};

// Texture coordinate sets that a mesh has without a gap from channel 1 on.
int NumSets(const Mesh& mesh) {
    int n = 0;
    while (n < kMaxSets && mesh.Map(n + 1)) ++n;
    return n;
}

int SetsAskedFor(const StandardMtl* material) {
    int n = 0;
    if (!material) return n;
    for (int i = 0; i < material->NumRefs(); ++i)
        if (auto map = std::dynamic_pointer_cast<Texmap>(material->GetReference(i)))
            n = std::max(n, std::clamp(map->channel.Get(), 1, kMaxSets));
    return n;
}

class PrimitiveBuilder {
public:
    PrimitiveBuilder(const Mesh& mesh, const std::vector<Point3>& normals,
                     const StandardMtl* material)
        : m_mesh(mesh), m_normals(normals) {
        m_primitive.material = material;
        if (material && material->vertexColors) m_colors = mesh.Map(0);
        m_primitive.uvs.resize(size_t(std::max(NumSets(mesh), SetsAskedFor(material))));
    }
    void AddFace(size_t f) {
        for (size_t k = 0; k < 3; ++k) m_primitive.indices.push_back(Vertex(f, k));
    }
    GltfPrimitive Take() { return std::move(m_primitive); }

private:
    uint32_t Vertex(size_t f, size_t k) {
        Corner corner;
        corner.position = m_mesh.faces[f].v[k];
        corner.normal = m_normals[3 * f + k];
        if (m_colors) corner.color = m_colors->faces[f][k];
        for (size_t set = 0; set < m_primitive.uvs.size(); ++set)
            if (const MapChannel* map = m_mesh.Map(int(set) + 1)) corner.uv[set] = map->faces[f][k];
        auto [entry, isNew] =
            m_vertices.try_emplace(corner, uint32_t(m_primitive.positions.size()));
        if (isNew) Append(corner);
        return entry->second;
    }
    void Append(const Corner& corner) {
        m_primitive.positions.push_back(m_mesh.verts[corner.position]);
        m_primitive.normals.push_back(corner.normal);
        if (m_colors) {
            Point3 c = m_colors->verts[corner.color];
            for (int k = 0; k < 3; ++k)
                c[k] = std::isfinite(c[k]) ? DisplayToLinear(std::clamp(c[k], 0.0f, 1.0f)) : 0;
            m_primitive.colors.push_back(c);
        }
        for (size_t set = 0; set < m_primitive.uvs.size(); ++set) {
            const MapChannel* map = m_mesh.Map(int(set) + 1);
            Point3 t = map ? map->verts[corner.uv[set]] : Point3{};
            if (!IsFinite(t)) t = {};
            m_primitive.uvs[set].push_back({t.x, 1 - t.y});
        }
    }

    const Mesh& m_mesh;
    const std::vector<Point3>& m_normals;
    const MapChannel* m_colors = nullptr;  // where the material shows them
    GltfPrimitive m_primitive;
    std::unordered_map<Corner, uint32_t, CornerHash> m_vertices;
};

bool IsDrawable(const Mesh& mesh, const Face& face) {
    const Triple& v = face.v;
    return !(face.flags & Face::kHidden) && v[0] != v[1] && v[1] != v[2] && v[2] != v[0] &&
           IsFinite(mesh.verts[v[0]]) && IsFinite(mesh.verts[v[1]]) && IsFinite(mesh.verts[v[2]]);
}

}  // namespace

std::vector<GltfPrimitive> MakeGltfPrimitives(const Mesh& mesh, const Mtl* material) {
    std::vector<Point3> normals = VertexNormals(mesh);
    std::vector<PrimitiveBuilder> builders;
    std::unordered_map<const StandardMtl*, size_t> byMaterial;
    for (size_t f = 0; f < mesh.NumFaces(); ++f) {
        if (!IsDrawable(mesh, mesh.faces[f])) continue;
        const StandardMtl* shown = StandardMtlOfFace(material, mesh.faces[f].matID);
        auto [entry, isNew] = byMaterial.try_emplace(shown, builders.size());
        if (isNew) builders.emplace_back(mesh, normals, shown);
        builders[entry->second].AddFace(f);
    }
    std::vector<GltfPrimitive> primitives;
    for (PrimitiveBuilder& builder : builders) primitives.push_back(builder.Take());
    return primitives;
}
