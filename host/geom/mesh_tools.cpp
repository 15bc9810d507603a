#include "host/geom/mesh_tools.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <span>

#include <fmt/format.h>

namespace {

std::string CheckChannel(const MapChannel& channel, size_t numFaces, const char* what) {
    if (channel.IsEmpty()) return {};
    if (channel.faces.size() != numFaces)
        return fmt::format("{}: {} faces, the mesh has {}", what, channel.faces.size(), numFaces);
    for (size_t f = 0; f < numFaces; ++f)
        for (uint32_t i : channel.faces[f])
            if (i >= channel.verts.size())
                return fmt::format("{}: face {}: vertex index {} of {}", what, f, i,
                                   channel.verts.size());
    return {};
}

// Keeps the faces whose index `keep` accepts, in the mesh and in all its channels.
template <class Predicate>
void FilterFaces(Mesh& mesh, Predicate keep) {
    size_t kept = 0;
    for (size_t f = 0; f < mesh.faces.size(); ++f) {
        if (!keep(f)) continue;
        mesh.faces[kept] = mesh.faces[f];
        for (MapChannel& map : mesh.maps)
            if (!map.IsEmpty()) map.faces[kept] = map.faces[f];
        if (!mesh.normals.IsEmpty()) mesh.normals.faces[kept] = mesh.normals.faces[f];
        ++kept;
    }
    mesh.faces.resize(kept);
    for (MapChannel& map : mesh.maps)
        if (!map.IsEmpty()) map.faces.resize(kept);
    if (!mesh.normals.IsEmpty()) mesh.normals.faces.resize(kept);
}

Triple& CornersOf(Face& face) { return face.v; }
Triple& CornersOf(Triple& corners) { return corners; }

// Drops vertices that no face uses.
template <class AnyFace>
void DropUnusedVertices(std::vector<Point3>& verts, std::vector<AnyFace>& faces) {
    std::vector<uint32_t> newIndex(verts.size(), 0);
    for (AnyFace& face : faces)
        for (uint32_t v : CornersOf(face)) newIndex[v] = 1;
    uint32_t kept = 0;
    for (size_t v = 0; v < verts.size(); ++v) {
        if (!newIndex[v]) continue;
        newIndex[v] = kept;
        verts[kept++] = verts[v];
    }
    verts.resize(kept);
    for (AnyFace& face : faces)
        for (uint32_t& v : CornersOf(face)) v = newIndex[v];
}

// Open-addressing table of vertex indices, keyed by the bits of their coordinates.
class VertexTable {
public:
    explicit VertexTable(size_t numVerts)
        : m_mask(std::bit_ceil(numVerts * 2 + 1) - 1), m_slots(m_mask + 1, kFree) {}

    // The index filed for this place, which is `index` itself when the place is new.
    uint32_t FindOrAdd(const std::vector<Point3>& verts, const Point3& p, uint32_t index) {
        for (size_t slot = Hash(p) & m_mask;; slot = (slot + 1) & m_mask) {
            if (m_slots[slot] == kFree) return m_slots[slot] = index;
            if (SameBits(verts[m_slots[slot]], p)) return m_slots[slot];
        }
    }

private:
    static constexpr uint32_t kFree = ~uint32_t{0};

    static uint32_t Bits(float f) { return std::bit_cast<uint32_t>(f); }
    static bool SameBits(const Point3& a, const Point3& b) {
        return Bits(a.x) == Bits(b.x) && Bits(a.y) == Bits(b.y) && Bits(a.z) == Bits(b.z);
    }
    static size_t Hash(const Point3& p) {
        uint64_t h = (uint64_t{Bits(p.x)} << 32 | Bits(p.y)) * 0x9E3779B97F4A7C15u;
        h = (h ^ (h >> 29) ^ Bits(p.z)) * 0xBF58476D1CE4E5B9u;
        return size_t(h ^ (h >> 32));
    }

    size_t m_mask;
    std::vector<uint32_t> m_slots;
};

// Corners by vertex: corner ids 3 * face + corner, those of vertex v from first[v] on.
struct CornersOfVertex {
    std::vector<uint32_t> first, corners;

    explicit CornersOfVertex(const Mesh& mesh) : first(mesh.verts.size() + 1) {
        corners.resize(3 * mesh.faces.size());
        for (const Face& face : mesh.faces)
            for (uint32_t v : face.v) ++first[v + 1];
        for (size_t v = 0; v < mesh.verts.size(); ++v) first[v + 1] += first[v];
        std::vector<uint32_t> fill(first.begin(), first.end() - 1);
        for (uint32_t c = 0; c < corners.size(); ++c)
            corners[fill[mesh.faces[c / 3].v[c % 3]]++] = c;
    }
};

Point3 UnitOrUp(const Point3& n) {
    Point3 unit = Normalize(n);
    return unit == Point3{} || !IsFinite(unit) ? Point3{0, 0, 1} : unit;
}

// Unit normal of the corner's face times the face's angle at the corner.
Point3 WeightedNormal(const Mesh& mesh, const std::vector<Point3>& faceNormals, uint32_t corner) {
    const Triple& v = mesh.faces[corner / 3].v;
    const Point3& p = mesh.verts[v[corner % 3]];
    Point3 a = mesh.verts[v[(corner % 3 + 1) % 3]] - p;
    Point3 b = mesh.verts[v[(corner % 3 + 2) % 3]] - p;
    return faceNormals[corner / 3] * std::atan2(Length(CrossProd(a, b)), DotProd(a, b));
}

struct GroupSum {
    uint32_t smGroup;
    Point3 sum;
};

// Sums of the weighted normals at one vertex, one for each distinct set of smoothing bits.
void SumByGroup(const Mesh& mesh, const std::vector<Point3>& faceNormals,
                std::span<const uint32_t> corners, std::vector<GroupSum>& sums) {
    sums.clear();
    for (uint32_t c : corners) {
        uint32_t group = mesh.faces[c / 3].smGroup;
        auto sum = std::find_if(sums.begin(), sums.end(),
                                [&](const GroupSum& s) { return s.smGroup == group; });
        if (sum == sums.end()) sum = sums.insert(sum, {group, {}});
        sum->sum += WeightedNormal(mesh, faceNormals, c);
    }
}

std::vector<Point3> ExplicitNormals(const Mesh& mesh) {
    std::vector<Point3> normals(3 * mesh.faces.size());
    for (size_t c = 0; c < normals.size(); ++c)
        normals[c] = UnitOrUp(mesh.normals.verts[mesh.normals.faces[c / 3][c % 3]]);
    return normals;
}

// Adds `source` to `target`, which belong to meshes of sourceFaces and targetFaces faces.
void AppendChannel(MapChannel& target, size_t targetFaces, const MapChannel* source,
                   size_t sourceFaces) {
    bool hasSource = source && !source->IsEmpty();
    if (target.IsEmpty() && !hasSource) return;
    if (target.IsEmpty() && targetFaces > 0) {
        target.verts.assign(1, {});
        target.faces.assign(targetFaces, {0, 0, 0});
    }
    auto first = uint32_t(target.verts.size());
    if (hasSource) {
        target.verts.insert(target.verts.end(), source->verts.begin(), source->verts.end());
        for (const Triple& t : source->faces)
            target.faces.push_back({t[0] + first, t[1] + first, t[2] + first});
    } else {
        target.verts.push_back({});
        target.faces.insert(target.faces.end(), sourceFaces, {first, first, first});
    }
}

}  // namespace

std::string Validate(const Mesh& mesh) {
    for (size_t f = 0; f < mesh.faces.size(); ++f)
        for (uint32_t i : mesh.faces[f].v)
            if (i >= mesh.verts.size())
                return fmt::format("face {}: vertex index {} of {}", f, i, mesh.verts.size());
    for (size_t c = 0; c < mesh.maps.size(); ++c) {
        std::string channel = fmt::format("channel {}", c);
        if (std::string error = CheckChannel(mesh.maps[c], mesh.NumFaces(), channel.c_str());
            !error.empty())
            return error;
    }
    return CheckChannel(mesh.normals, mesh.NumFaces(), "normals");
}

std::optional<size_t> FirstNonFiniteVertex(const Mesh& mesh) {
    for (size_t v = 0; v < mesh.verts.size(); ++v)
        if (!IsFinite(mesh.verts[v])) return v;
    return std::nullopt;
}

size_t DropNonFiniteVertices(Mesh& mesh) {
    constexpr uint32_t kDropped = ~uint32_t{0};
    std::vector<uint32_t> newIndex(mesh.verts.size(), kDropped);
    size_t kept = 0;
    for (size_t v = 0; v < mesh.verts.size(); ++v) {
        if (!IsFinite(mesh.verts[v])) continue;
        newIndex[v] = uint32_t(kept);
        mesh.verts[kept++] = mesh.verts[v];
    }
    size_t dropped = mesh.verts.size() - kept;
    if (dropped == 0) return 0;
    mesh.verts.resize(kept);
    FilterFaces(mesh, [&](size_t f) {
        const Triple& corners = mesh.faces[f].v;
        return std::none_of(corners.begin(), corners.end(),
                            [&](uint32_t v) { return newIndex[v] == kDropped; });
    });
    for (Face& face : mesh.faces)
        for (uint32_t& v : face.v) v = newIndex[v];
    return dropped;
}

std::vector<Point3> VertexNormals(const Mesh& mesh) {
    if (!mesh.normals.IsEmpty()) return ExplicitNormals(mesh);
    std::vector<Point3> faceNormals(mesh.faces.size());
    for (size_t f = 0; f < mesh.faces.size(); ++f)
        faceNormals[f] = Normalize(mesh.FaceNormalUnscaled(f));

    CornersOfVertex around(mesh);
    std::vector<Point3> normals(3 * mesh.faces.size());
    std::vector<GroupSum> sums;
    for (size_t v = 0; v < mesh.verts.size(); ++v) {
        std::span<const uint32_t> corners(around.corners.data() + around.first[v],
                                          around.first[v + 1] - around.first[v]);
        SumByGroup(mesh, faceNormals, corners, sums);
        for (uint32_t c : corners) {
            uint32_t group = mesh.faces[c / 3].smGroup;
            Point3 normal;
            for (const GroupSum& s : sums)
                if (s.smGroup & group) normal += s.sum;
            normals[c] = UnitOrUp(group ? normal : faceNormals[c / 3]);
        }
    }
    return normals;
}

size_t WeldVertices(Mesh& mesh) {
    VertexTable table(mesh.verts.size());
    std::vector<uint32_t> newIndex(mesh.verts.size());
    size_t kept = 0;
    for (size_t v = 0; v < mesh.verts.size(); ++v) {
        Point3 p = mesh.verts[v];
        newIndex[v] = table.FindOrAdd(mesh.verts, p, uint32_t(kept));
        if (newIndex[v] == kept) mesh.verts[kept++] = p;
    }
    size_t merged = mesh.verts.size() - kept;
    mesh.verts.resize(kept);
    for (Face& face : mesh.faces)
        for (uint32_t& v : face.v) v = newIndex[v];
    return merged;
}

void TurnFaces(Mesh& mesh) {
    for (Face& face : mesh.faces) {
        std::swap(face.v[0], face.v[1]);
        // The first side joins the same corners as before; the other two have changed places.
        bool second = face.flags & Face::kEdge1, third = face.flags & Face::kEdge2;
        face.flags &= uint8_t(~(Face::kEdge1 | Face::kEdge2));
        face.flags |= uint8_t((third ? Face::kEdge1 : 0) | (second ? Face::kEdge2 : 0));
    }
    for (MapChannel& map : mesh.maps)
        for (Triple& t : map.faces) std::swap(t[0], t[1]);
    for (Triple& t : mesh.normals.faces) std::swap(t[0], t[1]);
}

void TransformMesh(Mesh& mesh, const Matrix3& m) {
    for (Point3& p : mesh.verts) p = p * m;
    Matrix3 forNormals = NormalTransform(m);
    for (Point3& n : mesh.normals.verts) n = Normalize(forNormals.VectorTransform(n));
    if (m.Determinant() < 0) TurnFaces(mesh);
}

Mesh TransformedMesh(const Mesh& mesh, const Matrix3& m) {
    Mesh copy = mesh;
    TransformMesh(copy, m);
    return copy;
}

Mesh MeshOfFaces(const Mesh& mesh, std::span<const uint8_t> keep) {
    Mesh part = mesh;
    FilterFaces(part, [&](size_t f) { return keep[f] != 0; });
    DropUnusedVertices(part.verts, part.faces);
    for (MapChannel& map : part.maps) DropUnusedVertices(map.verts, map.faces);
    DropUnusedVertices(part.normals.verts, part.normals.faces);
    return part;
}

void AppendMesh(Mesh& target, const Mesh& source) {
    size_t targetFaces = target.NumFaces(), sourceFaces = source.NumFaces();
    auto first = uint32_t(target.verts.size());
    target.maps.resize(std::max(target.maps.size(), source.maps.size()));
    for (size_t c = 0; c < target.maps.size(); ++c)
        AppendChannel(target.maps[c], targetFaces, source.Map(int(c)), sourceFaces);
    bool keepsNormals = (targetFaces == 0 || !target.normals.IsEmpty()) &&
                        (sourceFaces == 0 || !source.normals.IsEmpty());
    if (keepsNormals)
        AppendChannel(target.normals, targetFaces, &source.normals, sourceFaces);
    else
        target.normals = {};

    target.verts.insert(target.verts.end(), source.verts.begin(), source.verts.end());
    for (Face face : source.faces) {
        for (uint32_t& v : face.v) v += first;
        target.faces.push_back(face);
    }
}

void FillMissingColors(Mesh& a, Mesh& b) {
    if (!a.Map(0) == !b.Map(0)) return;
    Mesh& plain = a.Map(0) ? b : a;
    if (plain.faces.empty()) return;
    plain.MakeMap(0) = {{{1, 1, 1}}, std::vector<Triple>(plain.NumFaces(), {0, 0, 0})};
}
