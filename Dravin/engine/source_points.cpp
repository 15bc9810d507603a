#include "Dravin/engine/source_points.h"

#include <algorithm>

#include "Dravin/engine/item_steps.h"

namespace {

constexpr size_t kPointsInPiece = 1 << 13;

class TPointReader : public ICellReader {
public:
    TPointReader(const TBuildInput& input, const IPointList& points, size_t first, size_t end)
        : m_input(input), m_points(points), m_next(first), m_end(end) {}

    bool Next(TCells& cells, TRejections&) override {
        size_t before = m_next;
        for (cells.count = 0; m_next < m_end && cells.count < kCellsInBatch; ++m_next)
            if (Read(m_next, cells, cells.count)) ++cells.count;
        if (m_input.progress) m_input.progress->Add(int64_t(m_next - before));
        return cells.count > 0;
    }

    void Place(const TCells& cells, std::span<const TLaneOrigin>, TItemLanes& lanes) override {
        for (size_t k = 0; k < lanes.count; ++k) {
            size_t cell = lanes.cell[k];
            const Matrix3& frame = cells.from[cell].sourceTransform;
            Point3 place = cells.point[cell] + lanes.source[k]->offset;
            lanes.position.Set(k, place);
            lanes.storedPosition.Set(k, place);
            lanes.normal.Set(k, frame.row[2]);
            lanes.reference.Set(k, frame.row[0]);
            lanes.externalScale.Set(k, cells.scale[cell]);
            ClearSurface(lanes, k);
            lanes.faceNormal.Set(k, frame.row[2]);
        }
        ThinByCamera(m_input, lanes);
    }

    // Linked items move to the surface below them and obey its rules; the others only take its
    // coordinates.
    void Land(const TCells& cells, TItemLanes& lanes) override {
        if (m_input.surfaces.empty() || m_input.surfaceMode != kSurfaceXY) return;
        ForEachAlive(lanes, [&](size_t k) {
            std::optional<TItemHit> hit = SurfaceHit(m_input, lanes.position[k]);
            if (hit) TakeHit(m_input, *hit, lanes, k);
            if (!m_input.linkToSurface)
                return lanes.faceNormal.Set(k, cells.from[lanes.cell[k]].sourceTransform.row[2]);
            if (!hit) return lanes.Drop(k, TLaneFate::kSurface);
            lanes.position.Set(k, hit->point);
        });
        if (m_input.linkToSurface) SetNormals(m_input, lanes);
    }

private:
    // A point that is no place makes nothing.
    bool Read(size_t i, TCells& cells, size_t c) const {
        cells.row[c] = -1;
        cells.ordinal[c] = 0;
        cells.sourceIndex[c] = 0;
        cells.from[c] = {};
        cells.scale[c] = {1, 1, 1};
        cells.mapColor[c] = {0, 0, 0, 0};
        if (!m_points.Get(i, cells, c) || !IsFinite(cells.point[c])) return false;
        cells.levelPlace[c] = cells.point[c];
        return true;
    }

    const TBuildInput& m_input;
    const IPointList& m_points;
    size_t m_next, m_end;
};

}  // namespace

TPointSource::TPointSource(const TBuildInput& input, std::unique_ptr<IPointList> points)
    : m_input(input), m_points(std::move(points)) {
    m_rules.hasSources = true;
    m_rules.obeysSurfaces =
        !input.surfaces.empty() && input.surfaceMode == kSurfaceXY && input.linkToSurface;
}

size_t TPointSource::NumPieces() const {
    return (m_points->Count() + kPointsInPiece - 1) / kPointsInPiece;
}

std::unique_ptr<ICellReader> TPointSource::Read(size_t piece) const {
    size_t first = piece * kPointsInPiece;
    return std::make_unique<TPointReader>(m_input, *m_points, first,
                                          std::min(first + kPointsInPiece, m_points->Count()));
}
