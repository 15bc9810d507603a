#include "host/geom/mesh_adjacency.h"

#include <algorithm>

namespace {

constexpr uint32_t kNone = ~uint32_t{0};

// One side of a face, filed under the lower of its two vertices.
struct Side {
    uint32_t other;  // the higher vertex
    uint32_t id;     // 3 * face + side
};

// Sides sorted by lower vertex, then higher vertex, then id. first: one bucket start a vertex.
std::vector<Side> SortedSides(const Mesh& mesh, std::vector<uint32_t>& first) {
    first.assign(mesh.verts.size() + 1, 0);
    auto forEachSide = [&](auto&& use) {
        for (size_t f = 0; f < mesh.faces.size(); ++f)
            for (size_t s = 0; s < 3; ++s) {
                uint32_t a = mesh.faces[f].v[s], b = mesh.faces[f].v[(s + 1) % 3];
                use(std::min(a, b), std::max(a, b), uint32_t(3 * f + s));
            }
    };
    forEachSide([&](uint32_t low, uint32_t, uint32_t) { ++first[low + 1]; });
    for (size_t v = 0; v < mesh.verts.size(); ++v) first[v + 1] += first[v];

    std::vector<Side> sides(3 * mesh.faces.size());
    std::vector<uint32_t> fill(first.begin(), first.end() - 1);
    forEachSide([&](uint32_t low, uint32_t high, uint32_t id) { sides[fill[low]++] = {high, id}; });
    for (size_t v = 0; v < mesh.verts.size(); ++v)
        std::sort(sides.begin() + first[v], sides.begin() + first[v + 1],
                  [](const Side& a, const Side& b) {
                      return a.other != b.other ? a.other < b.other : a.id < b.id;
                  });
    return sides;
}

bool HasRepeatedVertex(const Triple& v) { return v[0] == v[1] || v[1] == v[2] || v[2] == v[0]; }

// The walk along the border. A side is 3 * face + side; its mate is the side that it is glued to.
class BorderWalk {
public:
    explicit BorderWalk(const Mesh& mesh) : m_mesh(mesh) {
        MeshAdjacency adjacency(mesh);
        m_mate.assign(3 * mesh.faces.size(), kNone);
        for (size_t e = 0; e < adjacency.NumEdges(); ++e) {
            uint32_t waiting = kNone;
            for (uint32_t side : adjacency.SidesOfEdge(e)) {
                if (HasRepeatedVertex(mesh.faces[side / 3].v)) continue;
                if (waiting == kNone) {
                    waiting = side;
                } else {
                    m_mate[waiting] = side, m_mate[side] = waiting;
                    waiting = kNone;
                }
            }
        }
    }

    std::vector<std::vector<uint32_t>> Loops() const {
        std::vector<std::vector<uint32_t>> loops;
        std::vector<bool> done(m_mate.size());
        for (uint32_t start = 0; start < m_mate.size(); ++start) {
            if (m_mate[start] != kNone || done[start]) continue;
            if (HasRepeatedVertex(m_mesh.faces[start / 3].v)) continue;
            std::vector<uint32_t>& loop = loops.emplace_back();
            uint32_t side = start, vertex = First(start);
            do {
                done[side] = true;
                loop.push_back(vertex);
                vertex = First(side) == vertex ? Second(side) : First(side);
                side = NextBorderSide(side, vertex);
            } while (side != start);
        }
        return loops;
    }

private:
    uint32_t First(uint32_t side) const { return m_mesh.faces[side / 3].v[side % 3]; }
    uint32_t Second(uint32_t side) const { return m_mesh.faces[side / 3].v[(side % 3 + 1) % 3]; }

    // The other side at `vertex` of the face that holds `side`.
    uint32_t OtherSide(uint32_t side, uint32_t vertex) const {
        uint32_t face = side / 3, s = side % 3;
        return 3 * face + (First(side) == vertex ? (s + 2) % 3 : (s + 1) % 3);
    }
    // Turns about the vertex, from face to face across mated sides, to the next border side.
    // The turn pairs up the border sides at a vertex, so it ends and a loop comes back to its
    // start.
    uint32_t NextBorderSide(uint32_t side, uint32_t vertex) const {
        side = OtherSide(side, vertex);
        while (m_mate[side] != kNone) side = OtherSide(m_mate[side], vertex);
        return side;
    }

    const Mesh& m_mesh;
    std::vector<uint32_t> m_mate;
};

}  // namespace

MeshAdjacency::MeshAdjacency(const Mesh& mesh) {
    std::vector<uint32_t> first;
    std::vector<Side> sides = SortedSides(mesh, first);
    m_faceEdges.resize(mesh.faces.size());
    m_sides.reserve(sides.size());
    for (uint32_t v = 0; v < mesh.verts.size(); ++v)
        for (uint32_t i = first[v]; i < first[v + 1]; ++i) {
            if (i == first[v] || sides[i].other != sides[i - 1].other) {
                m_firstSide.push_back(i);
                m_edges.push_back({v, sides[i].other});
            }
            m_faceEdges[sides[i].id / 3][sides[i].id % 3] = uint32_t(m_edges.size() - 1);
            m_sides.push_back(sides[i].id);
        }
    m_firstSide.push_back(uint32_t(m_sides.size()));
}

std::vector<std::vector<uint32_t>> BorderLoops(const Mesh& mesh) {
    return BorderWalk(mesh).Loops();
}

PolyShape BorderOutline(const Mesh& mesh) {
    PolyShape shape;
    for (const std::vector<uint32_t>& loop : BorderLoops(mesh)) {
        if (loop.size() < 3) continue;
        PolyLine& line = shape.lines.emplace_back();
        line.closed = true;
        for (uint32_t v : loop) line.points.push_back(mesh.verts[v]);
    }
    return shape;
}
