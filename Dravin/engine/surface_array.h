// A surface as the engine sees it: vertical hits on a mesh or on a height field.
//
// Coordinates are those of the surface node's own space; hits drop along its z axis. The two kinds
// answer alike, to the bit: a height field is the mesh that it stands for. Immutable after
// construction; all objects and threads share it.
#pragma once

#include <memory>
#include <optional>

#include "Dravin/engine/height_surface.h"
#include "Dravin/engine/triangle_surface.h"
#include "host/geom/poly_line.h"

class TSurfXYArray {
public:
    // threads: used for the construction only; the array does not depend on it.
    explicit TSurfXYArray(std::shared_ptr<const Mesh> mesh, int threads = 1)
        : m_triangles(std::make_unique<TTriangleSurface>(std::move(mesh), threads)) {}
    explicit TSurfXYArray(std::shared_ptr<const HeightField> field) : m_heights(std::move(field)) {}

    // Topmost face over or under (x, y). False when none is there.
    bool CellHit(float x, float y, TSurfHit* hit) const {
        return m_heights ? m_heights->CellHit(x, y, hit) : m_triangles->CellHit(x, y, hit);
    }
    // Calls visit(hit) for every face over or under (x, y), in face order.
    template <class Visit>
    void ForEachHit(float x, float y, const Visit& visit) const {
        if (!m_heights) return m_triangles->ForEachHit(x, y, visit);
        if (TSurfHit hit; m_heights->CellHit(x, y, &hit)) visit(hit);
    }

    // Whether the face's normal points downward.
    bool IsReversed(int32_t face) const { return m_triangles && m_triangles->IsReversed(face); }
    int MaterialId(int32_t face) const { return m_triangles ? m_triangles->MaterialId(face) : 0; }
    // Coordinates of mapping channel `channel` at a hit; zero when the surface has none there.
    Point3 Uvw(int channel, const TSurfHit& hit) const {
        return m_heights ? m_heights->Uvw(channel, hit.face, hit.Barycentric())
                         : m_triangles->Uvw(channel, hit);
    }

    // The part of the plane in which faces are; empty when none can be hit.
    const Box2& GridBounds() const {
        return m_heights ? m_heights->GridBounds() : m_triangles->GridBounds();
    }
    // Box of all usable vertices, and of all vertices moved by m.
    const Box3& Bounds() const {
        return m_heights ? m_heights->Field().Bounds() : m_triangles->Bounds();
    }
    Box3 BoundsMoved(const Matrix3& m) const;
    // The borders of the surface (BorderOutline in mesh_adjacency.h); none on a closed one.
    PolyShape Outline() const;
    // What is held beside the mesh or the field.
    size_t BytesHeld() const { return m_heights ? 0 : m_triangles->BytesHeld(); }

private:
    // One of the two.
    std::optional<THeightSurface> m_heights;
    std::unique_ptr<const TTriangleSurface> m_triangles;
};
