// The triangles of a mesh under a cell grid, for fast vertical hits.
//
// Keeps the mesh it was made from alive and is immutable after construction. Faces with indices out
// of range, vertices that are not finite or no extent in the xy plane are left out.
//
// Cells: a uniform grid with about two faces a cell (one cell per two faces), each cell listing the
// faces whose xy box overlaps it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "Dravin/engine/surface_hit.h"
#include "host/base/huge_buffer.h"
#include "host/geom/mesh.h"

class TTriangleSurface {
public:
    // threads: used for the construction only; the array does not depend on it.
    explicit TTriangleSurface(std::shared_ptr<const Mesh> mesh, int threads = 1);

    // Topmost face over or under (x, y). False when none is there.
    bool CellHit(float x, float y, TSurfHit* hit) const;

    // Calls visit(hit) for every face over or under (x, y), in face order.
    template <class Visit>
    void ForEachHit(float x, float y, const Visit& visit) const {
        ForEachFaceAt(x, y, [&](uint32_t face, float z) { visit(MakeHit(x, y, face, z)); });
    }

    const Mesh& GetMesh() const { return *m_mesh; }
    // Whether the face's normal points downward.
    bool IsReversed(int32_t face) const { return m_mesh->FaceNormalUnscaled(size_t(face)).z < 0; }
    int MaterialId(int32_t face) const { return m_mesh->faces[size_t(face)].matID; }
    // Coordinates of mapping channel `channel` at a hit; zero when the mesh has none there.
    Point3 Uvw(int channel, const TSurfHit& hit) const;

    // Bounds of the cell grid (the faces' xy box); empty when no face can be hit.
    const Box2& GridBounds() const { return m_bounds; }
    // Box of all usable vertices.
    const Box3& Bounds() const { return m_box; }
    size_t NumCellsX() const { return m_nx; }
    size_t NumCellsY() const { return m_ny; }
    size_t BytesHeld() const;

private:
    // Calls visit(face, z) for the faces of the point's cell that hold it.
    template <class Visit>
    void ForEachFaceAt(float x, float y, const Visit& visit) const;
    TSurfHit MakeHit(float x, float y, uint32_t face, float z) const {
        return MakeFaceHit(m_records[face], x, y, face, z);
    }
    bool MakeRecord(size_t face, TFaceRecord* record) const;
    void MakeRecords(int threads);
    void MakeGrid(int threads);
    size_t Column(float x) const;
    size_t Row(float y) const;
    template <class Visit>
    void ForEachCell(const TFaceRecord& record, Visit visit) const;

    std::shared_ptr<const Mesh> m_mesh;
    HugeBuffer m_recordMemory;
    std::span<TFaceRecord>
        m_records;  // one a face; unusable ones have no extent and stand in no cell
    std::vector<uint8_t> m_usable;
    HugeBuffer m_startMemory, m_faceMemory;
    std::span<uint32_t> m_cellStart;  // nx * ny + 1
    std::span<uint32_t> m_cellFaces;
    Box2 m_bounds;
    Box3 m_box;
    size_t m_nx = 0, m_ny = 0;
    float m_cellsPerX = 0, m_cellsPerY = 0;
};

inline size_t TTriangleSurface::Column(float x) const {
    float column = (x - m_bounds.min.x) * m_cellsPerX;
    return std::min(m_nx - 1, size_t(std::max(column, 0.0f)));
}

inline size_t TTriangleSurface::Row(float y) const {
    float row = (y - m_bounds.min.y) * m_cellsPerY;
    return std::min(m_ny - 1, size_t(std::max(row, 0.0f)));
}

template <class Visit>
void TTriangleSurface::ForEachFaceAt(float x, float y, const Visit& visit) const {
    bool inBounds =
        x >= m_bounds.min.x && x <= m_bounds.max.x && y >= m_bounds.min.y && y <= m_bounds.max.y;
    if (!inBounds) return;
    size_t cell = Row(y) * m_nx + Column(x);
    for (uint32_t i = m_cellStart[cell]; i < m_cellStart[cell + 1]; ++i) {
        const TFaceRecord& r = m_records[m_cellFaces[i]];
        // Most faces of a cell are ruled out by their box, which costs less than their edges.
        bool near = (x >= std::min({r.ax, r.bx, r.cx})) & (x <= std::max({r.ax, r.bx, r.cx})) &
                    (y >= std::min({r.ay, r.by, r.cy})) & (y <= std::max({r.ay, r.by, r.cy}));
        if (!near) continue;
        bool inside = CrossesRay(x, y, r.ax, r.ay, r.bx, r.by) ^
                      CrossesRay(x, y, r.cx, r.cy, r.ax, r.ay) ^
                      CrossesRay(x, y, r.bx, r.by, r.cx, r.cy);
        if (inside) visit(m_cellFaces[i], r.HeightAt(x, y));
    }
}
