#include "Dravin/engine/source_uv.h"

#include <algorithm>

#include "Dravin/engine/item_steps.h"

namespace {

class TUvReader : public ICellReader {
public:
    TUvReader(const TBuildInput& input, const TUvSurface& uv, int32_t decimation,
              const TGridPieces::Piece& piece)
        : m_input(input),
          m_uv(uv),
          m_decimation(decimation),
          m_piece(piece),
          m_row(piece.firstRow),
          m_column(piece.firstColumn),
          m_hasLevels(std::any_of(input.specimens.begin(), input.specimens.end(),
                                  [](const TSpecimen& s) { return s.lod.has_value(); })),
          m_ordinal(input.randomizeStacked ? uint32_t(uv.surface.listIndex) : 0) {}

    bool Next(TCells& cells, TRejections& rejected) override {
        cells.count = 0;
        m_hits.clear();
        for (; m_row < m_piece.endRow; ++m_row, m_column = m_piece.firstColumn) {
            if (m_row % m_decimation == 0) ReadRow(cells, rejected);
            if (cells.count == kCellsInBatch) return true;
            if (m_input.progress) m_input.progress->Add(m_piece.endColumn - m_piece.firstColumn);
        }
        return cells.count > 0;
    }

    // Moves the elements in texture space, asks the texture there, and finds all their places.
    void Spread(const TCells& cells, const TLaneDraws& draws,
                std::vector<TLaneOrigin>& origins) override {
        std::vector<TLaneOrigin> spread;
        for (size_t i = 0; i < origins.size(); ++i) {
            THit hit;
            hit.uv = Moved(cells, origins[i], draws, i);
            TLaneOrigin origin = origins[i];
            hit.color = cells.mapColor[origin.cell];
            if (m_input.distMap) {
                hit.color = m_input.distMap->SampleOne({hit.uv, hit.uv * 200});
                if (!(Luminance(hit.color.Rgb()) > m_uv.grid.areaThreshold * 0.01f))
                    origin.fate = TLaneFate::kMap;
            }
            size_t before = spread.size();
            if (origin.fate == TLaneFate::kAlive)
                m_uv.surface.uv->ForEachHit(hit.uv.x, hit.uv.y, [&](const TUvHit& found) {
                    hit.hit = found;
                    origin.hit = uint32_t(m_hits.size());
                    m_hits.push_back(hit);
                    spread.push_back(origin);
                });
            if (spread.size() > before) continue;
            if (origin.fate == TLaneFate::kAlive) origin.fate = TLaneFate::kSurface;
            spread.push_back(origin);
        }
        origins = std::move(spread);
    }

    void Place(const TCells&, std::span<const TLaneOrigin> origins, TItemLanes& lanes) override {
        ForEachAlive(lanes, [&](size_t k) {
            const THit& hit = m_hits[origins[k].hit];
            Point3 place = hit.hit.point * m_uv.surface.toObject;
            lanes.position.Set(k, place);
            lanes.storedPosition.Set(k, place);
            lanes.mapColor[k] = hit.color;
            lanes.mapCoordinates[k] = hit.uv;
            Align(hit.hit, lanes, k);
        });
        ThinByCamera(m_input, lanes);
    }

    void Land(const TCells&, TItemLanes&) override {}

private:
    struct THit {
        Point3 uv;
        AColor color;
        TUvHit hit;
    };

    void ReadRow(TCells& cells, TRejections& rejected) {
        for (; m_column < m_piece.endColumn && cells.count < kCellsInBatch; ++m_column)
            if (m_column % m_decimation == 0) AddCell(cells, rejected);
    }

    void AddCell(TCells& cells, TRejections& rejected) {
        const TGrid& g = m_uv.grid;
        TTileIndex c = TileOf(m_column, g.px), r = TileOf(m_row, g.py);
        size_t i = cells.count;
        cells.mapColor[i] = {0, 0, 0, 0};
        if (!m_input.distMap) {
            const TDensityMap::Pixel& pixel = m_input.density.At(c.pixel, r.pixel);
            if (!(pixel.pass > 0.5f)) {
                ++rejected.map;
                return;
            }
            cells.mapColor[i] = {pixel.color.r, pixel.color.g, pixel.color.b, 1};
        }
        cells.hash[0][i] = uint32_t(c.pixel), cells.hash[1][i] = uint32_t(c.tile);
        cells.hash[2][i] = uint32_t(r.pixel), cells.hash[3][i] = uint32_t(r.tile);
        cells.sourceIndex[i] =
            int32_t((m_row - g.firstRow) * g.columns + (m_column - g.firstColumn));
        cells.ordinal[i] = m_ordinal;
        cells.row[i] = -1;
        Point3 cell{float(g.X(m_column)), float(g.Y(m_row)), 0};
        cells.point[i] = cell;
        cells.choice[i] = ChoicePoint(cell);
        cells.levelPlace[i] = cell;
        if (m_hasLevels)
            if (std::optional<TUvHit> hit = HitOfCell(cell))
                cells.levelPlace[i] = hit->point * m_uv.surface.toObject;
        ++cells.count;
    }

    // Where the cell itself lies on the surface: on the first of its faces there.
    std::optional<TUvHit> HitOfCell(const Point3& cell) const {
        std::optional<TUvHit> first;
        m_uv.surface.uv->ForEachHit(cell.x, cell.y, [&](const TUvHit& hit) {
            if (!first) first = hit;
        });
        return first;
    }

    // Where maps that choose geometry are asked; a cell beside the surface, from which items may
    // still move onto it, has only its own coordinates. Clusters go by these in any case.
    MapPoint ChoicePoint(const Point3& cell) const {
        bool mapped = m_input.geometry.mode == kByColorMap && m_input.diversityMap;
        if (!mapped || !m_input.channels.isRead[kDivMap]) return {cell, cell};
        std::optional<TUvHit> hit = HitOfCell(cell);
        if (!hit) return {cell, cell};
        return {m_uv.surface.uv->Uvw(m_input.channels.channel[kDivMap], *hit),
                hit->point * m_uv.surface.toObject};
    }

    Point3 Moved(const TCells& cells, const TLaneOrigin& o, const TLaneDraws& draws,
                 size_t i) const {
        const TSpecimenElement& source =
            m_input.specimens[size_t(o.row)].elements[size_t(o.element)];
        Point3 uv = cells.point[o.cell] + source.offset * (1 / m_uv.perUnit);
        const TTransformSettings& t = m_input.transforms;
        if (!t.applyTranslation) return uv;
        Point3 random = draws.RandomTranslation(i);
        auto shift = [&](int axis, double cell) {
            float low = float(t.transMin[axis]) * float(cell) * 0.01f;
            float high = float(t.transMax[axis]) * float(cell) * 0.01f;
            return low + (high - low) * random[axis];
        };
        uv.x += shift(0, m_uv.grid.dx);
        uv.y += shift(1, m_uv.grid.dy);
        return uv;
    }

    // Normal, frame and scale from the surface and its mapping.
    void Align(const TUvHit& hit, TItemLanes& lanes, size_t k) const {
        const Matrix3& m = m_uv.surface.toObject;
        lanes.face[k] = hit.face;
        lanes.weight1[k] = hit.barycentric.y;
        lanes.weight2[k] = hit.barycentric.z;
        lanes.surface[k] = m_uv.index;
        lanes.faceNormal.Set(k, m_uv.surface.NormalInObject(hit.normal));
        lanes.normal.Set(k, NormalOver(m_input, lanes, k));
        for (size_t map = 0; map < lanes.uvws.size(); ++map)
            lanes.uvws[map][k] = m_input.channels.isRead[map]
                                     ? m_uv.surface.uv->Uvw(m_input.channels.channel[map], hit)
                                     : Point3{};
        Point3 du = m.VectorTransform(hit.dPdu), dv = m.VectorTransform(hit.dPdv);
        const TUvSettings& settings = m_input.uv;
        Matrix3 frame = settings.align ? MakeFrame(du, lanes.normal[k]) : Matrix3{};
        lanes.reference.Set(k, frame.row[0]);
        if (lanes.from.Size() > 0) lanes.from[k].sourceTransform = frame;
        if (settings.scaleU)
            lanes.externalScale.x[k] = Length(du) / m_uv.perUnit * settings.multiplierU;
        if (settings.scaleV)
            lanes.externalScale.y[k] = Length(dv) / m_uv.perUnit * settings.multiplierV;
    }

    const TBuildInput& m_input;
    const TUvSurface& m_uv;
    int64_t m_decimation;
    TGridPieces::Piece m_piece;
    int64_t m_row, m_column;
    bool m_hasLevels;
    uint32_t m_ordinal;
    std::vector<THit> m_hits;
};

}  // namespace

TUvSource::TUvSource(const TBuildInput& input, const TGeometryChoice& geometry,
                     const TUvSurface& uv, int32_t decimation)
    : m_input(input), m_uv(uv), m_decimation(decimation), m_pieces(uv.grid, decimation) {
    m_rules.rows = &geometry.Unrestricted();
    m_rules.laterOrdinal = input.randomizeStacked ? uint32_t(uv.surface.listIndex) : 0;
    m_rules.surfaceNumber = uv.surface.listIndex;
    m_rules.hashed = true;
    m_rules.obeysSurfaces = true;
    m_rules.spreads = true;
}

std::unique_ptr<ICellReader> TUvSource::Read(size_t piece) const {
    return std::make_unique<TUvReader>(m_input, m_uv, m_decimation, m_pieces[piece]);
}
