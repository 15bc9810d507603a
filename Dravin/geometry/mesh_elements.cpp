#include "Dravin/geometry/mesh_elements.h"

#include "common/nurandom/nurandom.h"
#include "host/geom/mesh_adjacency.h"

namespace {

constexpr uint32_t kUnassigned = ~uint32_t{0};
constexpr uint32_t kSeedFactor = 123456;

// Breadth-first flood from `start`; `queue` is scratch space.
void Flood(const Mesh& mesh, const MeshAdjacency& adjacency, uint32_t start, uint32_t element,
           std::vector<uint32_t>& elementOfFace, std::vector<uint32_t>& queue) {
    queue.assign(1, start);
    elementOfFace[start] = element;
    for (size_t next = 0; next < queue.size(); ++next) {
        uint32_t face = queue[next];
        for (int side = 0; side < 3; ++side)
            for (uint32_t other : adjacency.SidesOfEdge(adjacency.EdgeOfFace(face, side))) {
                uint32_t neighbour = other / 3;
                if (elementOfFace[neighbour] != kUnassigned) continue;
                if (mesh.faces[neighbour].matID != mesh.faces[face].matID) continue;
                elementOfFace[neighbour] = element;
                queue.push_back(neighbour);
            }
    }
}

// Sums run in double precision, so that a centroid of a million faces keeps its digits.
Point3 Centroid(const Mesh& mesh, const std::vector<uint32_t>& faces) {
    double sum[3] = {};
    for (uint32_t f : faces)
        for (uint32_t v : mesh.faces[f].v)
            for (int k = 0; k < 3; ++k) sum[k] += double(mesh.verts[v][k]);
    double n = 3.0 * double(faces.size());
    return {float(sum[0] / n), float(sum[1] / n), float(sum[2] / n)};
}

}  // namespace

TDravinMeshElements AnalyseElements(const Mesh& mesh) {
    MeshAdjacency adjacency(mesh);
    TNuRandom generator(uint32_t(mesh.NumFaces()) * kSeedFactor);
    TDravinMeshElements result;
    result.elementOfFace.assign(mesh.NumFaces(), kUnassigned);
    std::vector<uint32_t> faces;
    for (uint32_t f = 0; f < mesh.NumFaces(); ++f) {
        if (result.elementOfFace[f] != kUnassigned) continue;
        Flood(mesh, adjacency, f, uint32_t(result.elements.size()), result.elementOfFace, faces);
        TDravinMeshElement& element = result.elements.emplace_back();
        element.centroid = Centroid(mesh, faces);
        element.random1 = generator.Random();
        element.random2 = generator.Random();
    }
    return result;
}
