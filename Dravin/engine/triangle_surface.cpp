#include "Dravin/engine/triangle_surface.h"

#include <algorithm>
#include <cmath>

#include "host/base/thread_pool.h"

namespace {

constexpr size_t kFacesPerPiece = 1 << 15;

template <class T>
std::span<T> Allocate(HugeBuffer& memory, size_t count) {
    memory = HugeBuffer(count * sizeof(T));
    return {reinterpret_cast<T*>(memory.Data()), count};
}

}  // namespace

TTriangleSurface::TTriangleSurface(std::shared_ptr<const Mesh> mesh, int threads)
    : m_mesh(std::move(mesh)) {
    MakeRecords(threads);
    MakeGrid(threads);
}

bool TTriangleSurface::MakeRecord(size_t face, TFaceRecord* record) const {
    const Triple& v = m_mesh->faces[face].v;
    size_t numVerts = m_mesh->verts.size();
    if (v[0] >= numVerts || v[1] >= numVerts || v[2] >= numVerts) return false;
    const std::vector<Point3>& verts = m_mesh->verts;
    return MakeFaceRecord(verts[v[0]], verts[v[1]], verts[v[2]], record);
}

void TTriangleSurface::MakeRecords(int threads) {
    size_t n = m_mesh->NumFaces();
    m_records = Allocate<TFaceRecord>(m_recordMemory, n);
    m_usable.assign(n, 0);
    size_t pieces = (n + kFacesPerPiece - 1) / kFacesPerPiece;
    std::vector<Box3> boxes(pieces);
    ParallelFor(pieces, threads, [&](size_t piece) {
        size_t last = std::min(n, (piece + 1) * kFacesPerPiece);
        for (size_t f = piece * kFacesPerPiece; f < last; ++f) {
            if (!MakeRecord(f, &m_records[f])) continue;
            m_usable[f] = 1;
            for (uint32_t v : m_mesh->faces[f].v) boxes[piece] += m_mesh->verts[v];
        }
    });
    for (const Box3& box : boxes) m_box += box;
    if (!m_box.IsEmpty()) m_bounds = {{m_box.min.x, m_box.min.y}, {m_box.max.x, m_box.max.y}};
}

void TTriangleSurface::MakeGrid(int threads) {
    if (m_bounds.IsEmpty()) return;
    size_t n = std::max<size_t>(1, m_mesh->NumFaces() / 2);
    double aspect = double(m_bounds.Width()) / double(m_bounds.Height());
    double k = std::min(double(n), std::floor(std::sqrt(double(n) / aspect) + 0.5 + 0.00001));
    if (aspect < 1) {
        m_ny = std::max<size_t>(1, size_t(k));
        m_nx = std::max<size_t>(1, n / m_ny);
    } else {
        m_nx = std::max<size_t>(1, size_t(k));
        m_ny = std::max<size_t>(1, n / m_nx);
    }
    m_cellsPerX = float(m_nx) / m_bounds.Width();
    m_cellsPerY = float(m_ny) / m_bounds.Height();

    // Counting sort of (cell, face) pairs: count, running sum, place. Rows of cells are dealt out
    // to the threads, so that each cell belongs to one of them and its faces stand in face order.
    m_cellStart = Allocate<uint32_t>(m_startMemory, m_nx * m_ny + 1);
    std::fill(m_cellStart.begin(), m_cellStart.end(), 0u);
    for (size_t f = 0; f < m_records.size(); ++f)
        if (m_usable[f]) ForEachCell(m_records[f], [&](size_t cell) { ++m_cellStart[cell + 1]; });
    for (size_t c = 0; c < m_nx * m_ny; ++c) m_cellStart[c + 1] += m_cellStart[c];
    m_cellFaces = Allocate<uint32_t>(m_faceMemory, m_cellStart.back());
    std::vector<uint32_t> next(m_cellStart.begin(), m_cellStart.end() - 1);
    for (size_t f = 0; f < m_records.size(); ++f)
        if (m_usable[f])
            ForEachCell(m_records[f],
                        [&](size_t cell) { m_cellFaces[next[cell]++] = uint32_t(f); });
}

template <class Visit>
void TTriangleSurface::ForEachCell(const TFaceRecord& r, Visit visit) const {
    size_t column0 = Column(std::min({r.ax, r.bx, r.cx})),
           column1 = Column(std::max({r.ax, r.bx, r.cx}));
    size_t row0 = Row(std::min({r.ay, r.by, r.cy})), row1 = Row(std::max({r.ay, r.by, r.cy}));
    for (size_t row = row0; row <= row1; ++row)
        for (size_t column = column0; column <= column1; ++column) visit(row * m_nx + column);
}

bool TTriangleSurface::CellHit(float x, float y, TSurfHit* hit) const {
    float bestZ = kLowestHit;
    int64_t bestFace = -1;
    ForEachFaceAt(x, y, [&](uint32_t face, float z) {
        if (z > bestZ) bestZ = z, bestFace = face;
    });
    if (bestFace < 0) return false;
    *hit = MakeHit(x, y, uint32_t(bestFace), bestZ);
    return true;
}

Point3 TTriangleSurface::Uvw(int channel, const TSurfHit& hit) const {
    const MapChannel* map = m_mesh->Map(channel);
    if (!map) return {};
    const Triple& t = map->faces[size_t(hit.face)];
    Point3 b = hit.Barycentric();
    return map->verts[t[0]] * b.x + map->verts[t[1]] * b.y + map->verts[t[2]] * b.z;
}

size_t TTriangleSurface::BytesHeld() const {
    return m_recordMemory.Bytes() + m_startMemory.Bytes() + m_faceMemory.Bytes() + m_usable.size();
}
