#include "Dravin/engine/surface_array.h"

#include "host/geom/mesh_adjacency.h"

Box3 TSurfXYArray::BoundsMoved(const Matrix3& m) const {
    if (m_heights) return m_heights->Field().BoundsMoved(m);
    Box3 box;
    for (const Point3& p : m_triangles->GetMesh().verts)
        if (IsFinite(p)) box += p * m;
    return box;
}

PolyShape TSurfXYArray::Outline() const {
    return m_heights ? m_heights->Field().Outline() : BorderOutline(m_triangles->GetMesh());
}
