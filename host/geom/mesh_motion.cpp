#include "host/geom/mesh_motion.h"

#include <cassert>

namespace {

struct FaceFrame {
    Point3 edge1, edge2, areaNormal, unitNormal;

    FaceFrame(const std::vector<Point3>& verts, const Triple& t)
        : edge1(verts[t[1]] - verts[t[0]]), edge2(verts[t[2]] - verts[t[0]]) {
        areaNormal = CrossProd(edge1, edge2);
        unitNormal = Normalize(areaNormal);
    }
};

// A normal of the face at rest as one of the moved face, as long as that face is large.
Point3 Turned(const Point3& n, const FaceFrame& rest, const FaceFrame& moved) {
    float area = Length(rest.areaNormal), movedArea = Length(moved.areaNormal);
    if (!(area > 0) || !(movedArea > 0)) return {};
    float growth = std::sqrt(movedArea / area);
    return DotProd(n, rest.edge1) * CrossProd(moved.edge2, moved.unitNormal) +
           DotProd(n, rest.edge2) * CrossProd(moved.unitNormal, moved.edge1) +
           (DotProd(n, rest.unitNormal) / growth) * moved.areaNormal;
}

void TurnNormals(Mesh& mesh, const std::vector<Point3>& verts) {
    std::vector<Point3> sums(mesh.normals.verts.size());
    for (size_t f = 0; f < mesh.normals.faces.size(); ++f) {
        FaceFrame rest(mesh.verts, mesh.faces[f].v), moved(verts, mesh.faces[f].v);
        for (uint32_t n : mesh.normals.faces[f])
            sums[n] += Turned(mesh.normals.verts[n], rest, moved);
    }
    for (size_t n = 0; n < sums.size(); ++n)
        if (Point3 unit = Normalize(sums[n]); IsFinite(unit) && !(unit == Point3{}))
            mesh.normals.verts[n] = unit;
}

}  // namespace

void MoveVertices(Mesh& mesh, std::vector<Point3> verts) {
    assert(verts.size() == mesh.verts.size());
    TurnNormals(mesh, verts);
    mesh.verts = std::move(verts);
}
