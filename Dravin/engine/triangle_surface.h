// The triangles of a mesh under a cell grid, for fast vertical hits.
//
// Keeps the mesh it was made from alive and is immutable after construction. Faces with indices out
// of range, vertices that are not finite or no extent in the xy plane are left out.
//
// Cells: a uniform grid with about two faces a cell (one cell per two faces), each cell listing the
// faces whose xy box overlaps it. Beside each entry stands the face's box within the cell, in steps
// of 1/128 of its sides: where many places are asked together, two entries are held against a
// place in one subtraction, and few faces are left whose record is read.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "Dravin/engine/surface_hit.h"
#include "host/base/huge_buffer.h"
#include "host/geom/mesh.h"

// A face's box within a cell, or a place as a box around it: from its lower sides to its upper
// ones, which are counted downward, so that a box holds a place where no byte of it is larger.
struct TCellBox {
    uint8_t minX, restX, minY, restY;
};

class TTriangleSurface {
public:
    // threads: used for the construction only; the array does not depend on it.
    explicit TTriangleSurface(std::shared_ptr<const Mesh> mesh, int threads = 1);

    // Topmost face over or under (x, y). False when none is there.
    bool CellHit(float x, float y, TSurfHit* hit) const;

    // The same for many places at once; where no face is, the hit's face is -1.
    void TopHits(std::span<const Point2> places, std::span<TSurfHit> hits) const;

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
    friend class TPlaceBatch;
    static constexpr uint32_t kStepsInCell = 128, kBoxesAtOnce = 8;
    // Calls visit(face, z) for the faces of the point's cell that hold it.
    template <class Visit>
    void ForEachFaceAt(float x, float y, const Visit& visit) const;
    TSurfHit MakeHit(float x, float y, uint32_t face, float z) const {
        return MakeFaceHit(m_records[face], x, y, face, z);
    }
    // The cell over (x, y); none outside the grid.
    std::optional<size_t> CellOf(float x, float y) const;
    bool MakeRecord(size_t face, TFaceRecord* record) const;
    void MakeRecords(int threads);
    void MakeGrid(int threads);
    // Steps of 1/128 of a cell from the grid's border on; they never fall where x or y grows.
    size_t StepX(float x) const;
    size_t StepY(float y) const;
    size_t Column(float x) const { return StepX(x) / kStepsInCell; }
    size_t Row(float y) const { return StepY(y) / kStepsInCell; }
    TCellBox BoxInCell(const TFaceRecord& record, size_t column, size_t row) const;
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
    HugeBuffer m_boxMemory;
    std::span<TCellBox> m_cellBoxes;  // of m_cellFaces, and as many more as are compared at once
    Box2 m_bounds;
    Box3 m_box;
    size_t m_nx = 0, m_ny = 0;
    float m_cellsPerX = 0, m_cellsPerY = 0;
};

inline size_t TTriangleSurface::StepX(float x) const {
    float column = (x - m_bounds.min.x) * m_cellsPerX;
    return std::min(m_nx * kStepsInCell - 1, size_t(std::max(column, 0.0f) * kStepsInCell));
}

inline size_t TTriangleSurface::StepY(float y) const {
    float row = (y - m_bounds.min.y) * m_cellsPerY;
    return std::min(m_ny * kStepsInCell - 1, size_t(std::max(row, 0.0f) * kStepsInCell));
}

inline std::optional<size_t> TTriangleSurface::CellOf(float x, float y) const {
    bool inBounds =
        x >= m_bounds.min.x && x <= m_bounds.max.x && y >= m_bounds.min.y && y <= m_bounds.max.y;
    return inBounds ? std::optional(Row(y) * m_nx + Column(x)) : std::nullopt;
}

template <class Visit>
void TTriangleSurface::ForEachFaceAt(float x, float y, const Visit& visit) const {
    std::optional<size_t> cell = CellOf(x, y);
    if (!cell) return;
    for (uint32_t i = m_cellStart[*cell]; i < m_cellStart[*cell + 1]; ++i) {
        const TFaceRecord& r = m_records[m_cellFaces[i]];
        if (r.Covers(x, y)) visit(m_cellFaces[i], r.HeightAt(x, y));
    }
}
