#include "host/io/mesh_soup.h"

#include <algorithm>
#include <span>
#include <unordered_map>

#include <fmt/format.h>

namespace {

// Copies the used ones of a pool of points, numbering them anew for each object. Which object a
// number belongs to is remembered beside it, so that nothing is cleared between objects.
class Renumbering {
public:
    explicit Renumbering(const std::vector<Point3>& pool)
        : m_pool(pool), m_index(pool.size()), m_owner(pool.size(), kNoIndex) {}

    uint32_t Use(uint32_t i, uint32_t object, std::vector<Point3>& points) {
        if (m_owner[i] != object) {
            m_owner[i] = object;
            m_index[i] = uint32_t(points.size());
            points.push_back(m_pool[i]);
        }
        return m_index[i];
    }
    const std::vector<Point3>& Pool() const { return m_pool; }

private:
    const std::vector<Point3>& m_pool;
    std::vector<uint32_t> m_index, m_owner;
};

bool HasAny(const Triple& t) { return t[0] != kNoIndex || t[1] != kNoIndex || t[2] != kNoIndex; }

class Splitter {
public:
    explicit Splitter(const MeshSoup& soup)
        : m_soup(soup), m_positions(soup.positions), m_uvws(soup.uvws), m_normals(soup.normals) {}

    Mesh Build(uint32_t object, std::span<const uint32_t> faces, std::vector<uint32_t>& materials) {
        Mesh mesh;
        mesh.faces.reserve(faces.size());
        for (uint32_t f : faces) AddFace(mesh, object, m_soup.faces[f], materials);
        auto hasAny = [&](auto member) {
            return std::any_of(faces.begin(), faces.end(),
                               [&](uint32_t f) { return HasAny(m_soup.faces[f].*member); });
        };
        if (hasAny(&SoupFace::t)) AddUvws(mesh, object, faces);
        if (hasAny(&SoupFace::n)) AddNormals(mesh, object, faces);
        if (!m_soup.colors.empty()) AddColors(mesh, faces);
        return mesh;
    }

private:
    void AddFace(Mesh& mesh, uint32_t object, const SoupFace& source,
                 std::vector<uint32_t>& materials) {
        Face face{{}, source.smGroup, 0, source.flags};
        for (size_t k = 0; k < 3; ++k) face.v[k] = m_positions.Use(source.v[k], object, mesh.verts);
        face.matID = uint16_t(MaterialID(source.material, materials));
        mesh.faces.push_back(face);
    }
    uint32_t MaterialID(uint32_t material, std::vector<uint32_t>& materials) {
        if (materials.empty()) m_ids.clear();
        if (materials.empty() || m_lastMaterial != material) {
            m_lastMaterial = material;
            auto [entry, isNew] = m_ids.try_emplace(material, uint32_t(materials.size()));
            if (isNew) materials.push_back(material);
            m_lastID = entry->second;
        }
        return m_lastID;
    }
    void AddUvws(Mesh& mesh, uint32_t object, std::span<const uint32_t> faces) {
        MapChannel& map = mesh.MakeMap(1);
        uint32_t missing = kNoIndex;
        for (uint32_t f : faces) {
            Triple& t = map.faces.emplace_back();
            for (size_t k = 0; k < 3; ++k) {
                uint32_t i = m_soup.faces[f].t[k];
                if (i == kNoIndex && missing == kNoIndex) {
                    missing = uint32_t(map.verts.size());
                    map.verts.push_back({});
                }
                t[k] = i == kNoIndex ? missing : m_uvws.Use(i, object, map.verts);
            }
        }
    }
    void AddNormals(Mesh& mesh, uint32_t object, std::span<const uint32_t> faces) {
        MapChannel& normals = mesh.normals;
        for (size_t f = 0; f < faces.size(); ++f) {
            Triple& t = normals.faces.emplace_back();
            for (size_t k = 0; k < 3; ++k) {
                uint32_t i = m_soup.faces[faces[f]].n[k];
                if (i == kNoIndex) {
                    t[k] = uint32_t(normals.verts.size());
                    normals.verts.push_back(Normalize(mesh.FaceNormalUnscaled(f)));
                } else {
                    t[k] = m_normals.Use(i, object, normals.verts);
                }
            }
        }
    }
    // Colours belong to positions: vertex and colour numbers agree.
    void AddColors(Mesh& mesh, std::span<const uint32_t> faces) {
        MapChannel& colors = mesh.MakeMap(0);
        colors.verts.resize(mesh.verts.size());
        for (size_t f = 0; f < faces.size(); ++f) {
            const Triple& v = mesh.faces[f].v;
            for (size_t k = 0; k < 3; ++k)
                colors.verts[v[k]] = m_soup.colors[m_soup.faces[faces[f]].v[k]];
            colors.faces.push_back(v);
        }
    }

    const MeshSoup& m_soup;
    Renumbering m_positions, m_uvws, m_normals;
    std::unordered_map<uint32_t, uint32_t> m_ids;  // material -> face id within the object
    uint32_t m_lastMaterial = kNoIndex, m_lastID = 0;
};

}  // namespace

std::string TooManyImportedFaces() {
    return fmt::format("more than {} faces, which no option raises; split the model",
                       kMaxImportedFaces);
}

std::vector<Mesh> MeshSoup::Split(size_t numObjects,
                                  std::vector<std::vector<uint32_t>>* materials) const {
    std::vector<uint32_t> first(numObjects + 1), order(faces.size());
    for (const SoupFace& face : faces) ++first[face.object + 1];
    for (size_t o = 0; o < numObjects; ++o) first[o + 1] += first[o];
    std::vector<uint32_t> fill(first.begin(), first.end() - 1);
    for (uint32_t f = 0; f < faces.size(); ++f) order[fill[faces[f].object]++] = f;

    Splitter splitter(*this);
    std::vector<Mesh> meshes;
    materials->assign(numObjects, {});
    for (uint32_t o = 0; o < numObjects; ++o) {
        std::span<const uint32_t> own(order.data() + first[o], first[o + 1] - first[o]);
        meshes.push_back(splitter.Build(o, own, (*materials)[o]));
    }
    return meshes;
}
