// Which faces share which edges, and the loops of edges that bound a mesh.
//
// Edges join faces by vertex index, whatever the faces' winding; an edge may have any number of
// faces. Built in time linear in the faces (a bucket a vertex); read-only afterwards, so threads
// may share one. Indices of the mesh must be in range (Validate, mesh_tools.h).
#pragma once

#include <span>
#include <vector>

#include "host/geom/mesh.h"
#include "host/geom/poly_line.h"

class MeshAdjacency {
public:
    explicit MeshAdjacency(const Mesh& mesh);

    struct Edge {
        uint32_t v0, v1;  // v0 <= v1
    };

    size_t NumEdges() const { return m_edges.size(); }
    const Edge& GetEdge(size_t e) const { return m_edges[e]; }
    // Side s of face f (from corner s to the next one).
    uint32_t EdgeOfFace(size_t f, int s) const { return m_faceEdges[f][size_t(s)]; }
    // Sides on edge e, in face order, each as 3 * face + side.
    std::span<const uint32_t> SidesOfEdge(size_t e) const {
        return {m_sides.data() + m_firstSide[e], m_firstSide[e + 1] - m_firstSide[e]};
    }

private:
    std::vector<Edge> m_edges;
    std::vector<Triple> m_faceEdges;
    std::vector<uint32_t> m_firstSide;  // one more than edges
    std::vector<uint32_t> m_sides;
};

// Closed loops of the edges that bound the mesh, each as vertex indices. A loop runs in the
// direction of the face on its first side, and loops come in the order of that face. Sides of one
// edge are mated in pairs in face order, a side left over is on the border: thus every loop closes,
// even on meshes with inconsistent winding or edges of three faces. Faces with a repeated vertex
// are ignored.
std::vector<std::vector<uint32_t>> BorderLoops(const Mesh& mesh);

// The loops of at least three edges as closed lines, one point an edge at its first vertex.
PolyShape BorderOutline(const Mesh& mesh);
