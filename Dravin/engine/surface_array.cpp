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

void TSurfXYArray::TopHits(std::span<const Point2> places, std::span<TSurfHit> hits) const {
    if (!m_heights) return m_triangles->TopHits(places, hits);
    for (size_t i = 0; i < places.size(); ++i)
        if (!m_heights->CellHit(places[i].x, places[i].y, &hits[i])) hits[i].face = -1;
}
