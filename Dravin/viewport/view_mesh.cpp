#include "Dravin/viewport/view_mesh.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <meshoptimizer.h>

#include "host/geom/mesh_tools.h"

namespace {

constexpr size_t kMaxLevels = 5, kLeastFaces = 24;
constexpr uint32_t kNone = 0xFFFFFFFFu;

uint32_t PackColor(const Point3& c) {
    auto byte = [](float v) { return uint32_t(std::clamp(v, 0.f, 1.f) * 255 + 0.5f); };
    return byte(c.x) | byte(c.y) << 8 | byte(c.z) << 16 | 0xFF000000u;
}

// Vertices by their contents: chains of those at one vertex of the mesh.
class Corners {
public:
    Corners(const Mesh& mesh, std::vector<TViewVertex>& out)
        : m_first(mesh.verts.size(), kNone), m_out(out) {}
    uint32_t Find(uint32_t v, const TViewVertex& wanted) {
        for (uint32_t i = m_first[v]; i != kNone; i = m_next[i])
            if (std::memcmp(&m_out[i], &wanted, sizeof wanted) == 0) return i;
        m_out.push_back(wanted);
        m_next.push_back(m_first[v]);
        return m_first[v] = uint32_t(m_out.size() - 1);
    }

private:
    std::vector<uint32_t> m_first, m_next;
    std::vector<TViewVertex>& m_out;
};

// Lists of index groups by paint become one list.
std::vector<TViewMeshPart> Join(const std::vector<std::vector<uint32_t>>& byPaint,
                                std::vector<uint32_t>& out) {
    std::vector<TViewMeshPart> parts;
    for (size_t p = 0; p < byPaint.size(); ++p) {
        if (byPaint[p].empty()) continue;
        parts.push_back({uint32_t(p), uint32_t(out.size()), uint32_t(byPaint[p].size())});
        out.insert(out.end(), byPaint[p].begin(), byPaint[p].end());
    }
    return parts;
}

using Lists = std::vector<std::vector<uint32_t>>;

void AddLevel(const Lists& faces, const Lists& edges, TViewMesh& out) {
    TViewMeshLevel level;
    level.parts = Join(faces, out.indices);
    level.edges = Join(edges, out.edges);
    for (const TViewMeshPart& part : level.parts) level.numFaces += part.count / 3;
    out.levels.push_back(std::move(level));
}

std::vector<uint32_t> EdgesOf(const std::vector<uint32_t>& indices) {
    std::vector<uint32_t> edges;
    for (size_t i = 0; i + 2 < indices.size(); i += 3)
        for (size_t e = 0; e < 3; ++e) {
            edges.push_back(indices[i + e]);
            edges.push_back(indices[i + (e + 1) % 3]);
        }
    return edges;
}

std::vector<uint32_t> Simplified(const std::vector<uint32_t>& indices, const TViewMesh& mesh) {
    std::vector<uint32_t> out(indices.size());
    size_t target = std::max<size_t>(indices.size() / 12 * 3, 3);
    out.resize(meshopt_simplifySloppy(out.data(), indices.data(), indices.size(),
                                      &mesh.vertices[0].position.x, mesh.vertices.size(),
                                      sizeof(TViewVertex), target, 1.0f, nullptr));
    return out;
}

void AddCoarserLevels(Lists faces, TViewMesh& out) {
    while (out.levels.size() < kMaxLevels && out.levels.back().numFaces >= kLeastFaces) {
        Lists edges(faces.size());
        size_t count = 0;
        for (size_t p = 0; p < faces.size(); ++p) {
            if (faces[p].size() >= kLeastFaces) faces[p] = Simplified(faces[p], out);
            count += faces[p].size() / 3;
            edges[p] = EdgesOf(faces[p]);
        }
        if (count == 0 || count * 4 > size_t(out.levels.back().numFaces) * 3) return;
        AddLevel(faces, edges, out);
    }
}

// --- of meshes

class MeshReader {
public:
    MeshReader(const Mesh& mesh, const TViewMeshWish& wish)
        : m_mesh(mesh), m_wish(wish), m_normals(VertexNormals(mesh)), m_colors(mesh.Map(0)) {}

    TViewMesh Read() {
        TViewMesh out;
        Corners corners(m_mesh, out.vertices);
        size_t numPaints = std::max<size_t>(m_wish.numPaints, 1);
        Lists faces(numPaints), edges(numPaints);
        for (size_t f = 0; f < m_mesh.faces.size(); ++f) {
            const Face& face = m_mesh.faces[f];
            if (face.flags & Face::kHidden) continue;
            if (!m_wish.hiddenFaces.empty() && m_wish.hiddenFaces[f]) continue;
            size_t paint = m_wish.facePaint.empty() ? face.matID : m_wish.facePaint[f];
            paint %= numPaints;
            uint32_t index[3];
            for (size_t c = 0; c < 3; ++c) {
                index[c] = corners.Find(face.v[c], VertexOf(f, c, paint));
                faces[paint].push_back(index[c]);
            }
            for (size_t e = 0; e < 3; ++e)
                if (face.flags & (1u << e)) {
                    edges[paint].push_back(index[e]);
                    edges[paint].push_back(index[(e + 1) % 3]);
                }
        }
        out.bounds = m_mesh.BoundingBox();
        AddLevel(faces, edges, out);
        if (m_wish.hasLevels) AddCoarserLevels(std::move(faces), out);
        return out;
    }

private:
    TViewVertex VertexOf(size_t f, size_t c, size_t paint) const {
        TViewVertex v;
        v.position = m_mesh.verts[m_mesh.faces[f].v[c]];
        v.normal = PackNormal(m_normals[3 * f + c]);
        if (const MapChannel* map =
                m_mesh.Map(m_wish.channels.empty() ? 1 : m_wish.channels[paint])) {
            const Point3& uvw = map->verts[map->faces[f][c]];
            v.uv = {uvw.x, uvw.y};
        }
        if (m_colors) v.color = PackColor(m_colors->verts[m_colors->faces[f][c]]);
        if (!m_wish.elementOfFace.empty()) v.element = m_wish.elementOfFace[f];
        return v;
    }

    const Mesh& m_mesh;
    const TViewMeshWish& m_wish;
    std::vector<Point3> m_normals;
    const MapChannel* m_colors;
};

// --- of terrains

// Every n-th of `count` places, and the last.
std::vector<size_t> Places(size_t count, size_t step) {
    std::vector<size_t> places;
    for (size_t i = 0; i + 1 < count; i += step) places.push_back(i);
    places.push_back(count - 1);
    return places;
}

Point3 TerrainNormal(const HeightField& h, size_t i, size_t j, size_t step) {
    size_t left = i >= step ? i - step : 0, right = std::min(i + step, h.NumColumns() - 1);
    size_t below = j >= step ? j - step : 0, above = std::min(j + step, h.NumRows() - 1);
    float dx = (h.Height(right, j) - h.Height(left, j)) / (h.X(right) - h.X(left));
    float dy = (h.Height(i, above) - h.Height(i, below)) / (h.Y(above) - h.Y(below));
    Point3 n{-dx, -dy, 1};
    return std::isfinite(dx + dy) ? Normalize(n) : Point3{0, 0, 1};
}

void AddTerrainLevel(const TViewMesh& mesh, size_t columns, size_t rows, size_t step, Lists& faces,
                     Lists& edges) {
    std::vector<size_t> xs = Places(columns, step), ys = Places(rows, step);
    auto isHole = [&](uint32_t v) { return std::isnan(mesh.vertices[v].position.z); };
    for (size_t j = 0; j + 1 < ys.size(); ++j)
        for (size_t i = 0; i + 1 < xs.size(); ++i) {
            auto at = [&](size_t x, size_t y) { return uint32_t(ys[y] * columns + xs[x]); };
            uint32_t a = at(i, j), b = at(i + 1, j), c = at(i + 1, j + 1), d = at(i, j + 1);
            auto add = [&](uint32_t p, uint32_t q, uint32_t r) {
                if (isHole(p) || isHole(q) || isHole(r)) return;
                faces[0].insert(faces[0].end(), {p, q, r});
                edges[0].insert(edges[0].end(), {p, q, q, r});
            };
            add(a, b, c), add(c, d, a);
        }
}

}  // namespace

uint32_t PackNormal(const Point3& n) {
    auto part = [](float v) {
        return uint32_t(int(std::lround(std::clamp(v, -1.f, 1.f) * 511))) & 0x3FFu;
    };
    return part(n.x) | part(n.y) << 10 | part(n.z) << 20;
}

TViewMesh MakeViewMesh(const Mesh& mesh, const TViewMeshWish& wish) {
    return MeshReader(mesh, wish).Read();
}

TViewMesh MakeTerrainMesh(const HeightField& heights, size_t step) {
    TViewMesh out;
    std::vector<size_t> xs = Places(heights.NumColumns(), step);
    std::vector<size_t> ys = Places(heights.NumRows(), step);
    for (size_t j : ys)
        for (size_t i : xs) {
            TViewVertex v;
            v.position = {heights.X(i), heights.Y(j), heights.Height(i, j)};
            v.normal = PackNormal(TerrainNormal(heights, i, j, step));
            v.uv = {heights.U(i), heights.V(j)};
            out.vertices.push_back(v);
        }
    out.bounds = heights.Bounds();
    for (size_t coarser = 1; out.levels.size() < kMaxLevels; coarser *= 2) {
        Lists faces(1), edges(1);
        AddTerrainLevel(out, xs.size(), ys.size(), coarser, faces, edges);
        AddLevel(faces, edges, out);
        if (coarser * 4 > std::min(xs.size(), ys.size())) break;
    }
    for (TViewVertex& v : out.vertices)  // no face shows them
        if (std::isnan(v.position.z)) v.position.z = 0;
    return out;
}

size_t LevelFor(const TViewMesh& mesh, float pixels) {
    float wanted = pixels * pixels * kFacesPerPixel;
    size_t level = 0;
    while (level + 1 < mesh.levels.size() && float(mesh.levels[level].numFaces) > wanted) ++level;
    return level;
}
