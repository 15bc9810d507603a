#include "Dravin/engine/source_grid.h"

#include <algorithm>
#include <cmath>

#include "Dravin/engine/item_steps.h"

namespace {

// Enough to be worth a task, few enough to share out evenly; and not too many pieces of a huge
// grid.
constexpr int64_t kCellsInPiece = 1 << 13;
constexpr int64_t kMostPieces = 1 << 14;

class TGridReader : public ICellReader {
public:
    TGridReader(const TBuildInput& input, const TGridGroup& group, const TGrid& grid,
                int32_t decimation, const TGridPieces::Piece& piece)
        : m_input(input),
          m_areas(group.areas),
          m_settings(group.areas.Settings()),
          m_grid(grid),
          m_decimation(decimation),
          m_piece(piece),
          m_nextRow(piece.firstRow),
          m_column(piece.endColumn),
          m_walker(group.areas),
          m_walks(!group.areas.IsOpen() && !HasOffsets(input)),
          m_inside((group.areas.IsOpen() || m_walks) && !group.areas.HasFootprints()),
          m_needsDistances(input.NeedsAreaDistances()),
          m_map(m_settings.map ? m_settings.map : input.distMap),
          m_mapOnSurface(m_map && input.distMapChannel != 0 && !input.surfaces.empty()),
          m_ownThreshold(std::abs(grid.areaThreshold - input.grid.thresholdPercent) > 0.0001f),
          m_ordinal(input.randomizeStacked ? uint32_t(group.index) : 0) {}

    bool Next(TCells& cells, TRejections& rejected) override {
        cells.count = 0;
        while (cells.count == 0) {
            while (cells.count < kCellsInBatch)
                if (m_column < m_piece.endColumn)
                    ReadRow(cells, rejected);
                else if (!StartRow(rejected))
                    break;
            bool isLast = cells.count < kCellsInBatch;
            if (m_map && cells.count > 0) TestTexture(cells, rejected);
            if (isLast) break;
        }
        Complete(cells);
        return cells.count > 0;
    }

    void Place(const TCells& cells, std::span<const TLaneOrigin>, TItemLanes& lanes) override {
        for (size_t k = 0; k < lanes.count; ++k) {
            Point3 point = cells.point[lanes.cell[k]] + lanes.source[k]->offset;
            lanes.storedPosition.Set(k, point);
            lanes.position.Set(k, ToObject(point));
            lanes.normal.Set(k, {0, 0, 1});
            lanes.reference.Set(k, {1, 0, 0});
        }
        ThinByCamera(m_input, lanes);
        bool tests = !m_inside || m_needsDistances || HasGroups(lanes);
        if (tests) ForEachAlive(lanes, [&](size_t k) { TestAreas(lanes, k); });
        for (size_t k = 0; k < lanes.count; ++k) {
            lanes.storedPosition.Set(k, lanes.position[k]);
            if (m_needsEarlyHit && cells.hasHit[lanes.cell[k]])
                TakeHit(m_input, cells.hit[lanes.cell[k]], lanes, k);
            else
                ClearSurface(lanes, k);
        }
    }

    void Land(const TCells& cells, TItemLanes& lanes) override {
        if (m_input.surfaces.empty()) return;
        ForEachAlive(lanes, [&](size_t k) {
            Point3 place = lanes.position[k];
            size_t cell = lanes.cell[k];
            bool stands = cells.hasHit[cell] && place == lanes.storedPosition[k] &&
                          lanes.source[k]->offset == Point3{};
            if (stands) return StandOn(cells.hit[cell], lanes, k);
            if (std::optional<TItemHit> hit = SurfaceHit(m_input, place, m_settings.surfaces))
                return StandOn(*hit, lanes, k);
            ClearSurface(lanes, k);
            lanes.Drop(k, TLaneFate::kSurface);
        });
        SetNormals(m_input, lanes);
    }

private:
    // Members of a group stand beside their cell, where its own test says nothing of them.
    static bool HasOffsets(const TBuildInput& input) {
        auto offset = [](const TSpecimenElement& e) { return e.offset != Point3{}; };
        return std::any_of(input.specimens.begin(), input.specimens.end(), [&](const TSpecimen& s) {
            return std::any_of(s.elements.begin(), s.elements.end(), offset);
        });
    }
    bool HasGroups(const TItemLanes& lanes) const {
        return m_inside && std::any_of(lanes.source.Data(), lanes.source.Data() + lanes.count,
                                       [](const auto* e) { return e->offset != Point3{}; });
    }

    Point3 ToObject(const Point3& p) const { return m_grid.ToObject(p); }

    // --- cells

    bool StartRow(TRejections& rejected) {
        while (m_nextRow < m_piece.endRow && m_nextRow % m_decimation != 0) SkipRow();
        if (m_nextRow >= m_piece.endRow) return false;
        m_row = m_nextRow;
        SkipRow();
        m_column = m_piece.firstColumn;
        if (!m_walks) return true;
        m_walker.Start(float(m_grid.Y(m_row)));
        // Cells that the row's test passes over at once are never looked at: all are taken for
        // outside, and those inside taken back.
        rejected.area +=
            NumUsed(m_piece.firstColumn, m_piece.endColumn - m_piece.firstColumn, m_decimation);
        return true;
    }
    void SkipRow() {
        ++m_nextRow;
        if (m_input.progress) m_input.progress->Add(m_piece.endColumn - m_piece.firstColumn);
    }

    void ReadRow(TCells& cells, TRejections& rejected) {
        for (; m_column < m_piece.endColumn && cells.count < kCellsInBatch; ++m_column) {
            if (m_column % m_decimation != 0) continue;
            if (m_walks && !m_walker.Passes(float(m_grid.X(m_column)))) {
                m_column = std::max(m_column, LastColumnBefore(m_walker.NextInside()));
                continue;
            }
            if (m_walks) --rejected.area;
            AddCell(cells, rejected);
        }
    }

    // A column that certainly lies left of x, near it.
    int64_t LastColumnBefore(float x) const {
        double column = std::floor((double(x) - m_grid.offsetX) / m_grid.dx) - 2;
        return int64_t(std::clamp(column, double(m_piece.firstColumn), double(m_piece.endColumn)));
    }

    // Image: the pixel decides at once. Texture: the cell waits for the batch's evaluation.
    void AddCell(TCells& cells, TRejections& rejected) {
        size_t i = cells.count;
        if (!m_map) {
            const TDensityMap::Pixel& pixel = m_input.density.At(TileOf(m_column, m_grid.px).pixel,
                                                                 TileOf(m_row, m_grid.py).pixel);
            bool passes = m_ownThreshold ? Luminance(pixel.color) > m_grid.areaThreshold * 0.01f
                                         : pixel.pass > 0.5f;
            if (!passes) {
                ++rejected.map;
                return;
            }
            cells.mapColor[i] = {pixel.color.r, pixel.color.g, pixel.color.b, 1};
        }
        m_columns[i] = m_column;
        m_rows[i] = m_row;
        cells.point[i] = m_grid.Place(m_column, m_row);
        cells.mapCoordinates[i] = m_grid.MapCoordinates(m_column, m_row);
        cells.hasHit[i] = 0;
        ++cells.count;
    }

    // Drops the cells whose texture colour is not above the threshold.
    void TestTexture(TCells& cells, TRejections& rejected) {
        if (m_mapOnSurface) KeepCellsOnSurfaces(cells, rejected);
        std::array<MapPoint, kCellsInBatch> points;
        for (size_t i = 0; i < cells.count; ++i) {
            const Point3& uvw = cells.mapCoordinates[i];
            points[i] = {uvw, {uvw.x * 200, uvw.y * 200, 0}};
            if (!m_mapOnSurface) continue;
            const TItemHit& hit = cells.hit[i];
            const TSurfXYArray& array = *m_input.surfaces[hit.surface].array;
            points[i] = {array.Uvw(m_input.distMapChannel, hit.local), cells.point[i]};
        }
        std::array<AColor, kCellsInBatch> colors;
        size_t asked = cells.count;
        m_map->Sample({points.data(), asked}, {colors.data(), asked});
        Keep(cells, [&](size_t i) {
            cells.mapColor[i] = colors[i];
            return Luminance(colors[i].Rgb()) > m_grid.areaThreshold * 0.01f;
        });
        rejected.map += int64_t(asked - cells.count);
    }

    void KeepCellsOnSurfaces(TCells& cells, TRejections& rejected) {
        size_t asked = cells.count;
        Keep(cells, [&](size_t i) {
            FindHit(cells, i);
            return cells.hasHit[i];
        });
        rejected.surface += int64_t(asked - cells.count);
    }

    void FindHit(TCells& cells, size_t i) const {
        std::optional<TItemHit> hit =
            SurfaceHit(m_input, ToObject(cells.point[i]), m_settings.surfaces);
        cells.hasHit[i] = hit.has_value();
        if (hit) cells.hit[i] = *hit;
    }

    // Compacts the batch to the cells for which test(i) holds; it may change cell i only.
    template <class Test>
    void Keep(TCells& cells, Test test) {
        size_t kept = 0;
        for (size_t i = 0; i < cells.count; ++i) {
            if (!test(i)) continue;
            if (kept != i) {
                m_columns[kept] = m_columns[i];
                m_rows[kept] = m_rows[i];
                cells.point[kept] = cells.point[i];
                cells.mapCoordinates[kept] = cells.mapCoordinates[i];
                cells.mapColor[kept] = cells.mapColor[i];
                cells.hasHit[kept] = cells.hasHit[i];
                cells.hit[kept] = cells.hit[i];
            }
            ++kept;
        }
        cells.count = kept;
    }

    // What all cells that passed the map are given.
    void Complete(TCells& cells) {
        for (size_t i = 0; i < cells.count; ++i) {
            TTileIndex c = TileOf(m_columns[i], m_grid.px), r = TileOf(m_rows[i], m_grid.py);
            cells.hash[0][i] = uint32_t(c.pixel);
            cells.hash[1][i] = uint32_t(c.tile);
            cells.hash[2][i] = uint32_t(r.pixel);
            cells.hash[3][i] = uint32_t(r.tile);
            cells.sourceIndex[i] = int32_t(m_grid.NumberOf(m_columns[i], m_rows[i]));
            cells.ordinal[i] = m_ordinal;
            cells.row[i] = -1;
            cells.levelPlace[i] = ToObject(cells.point[i]);
            cells.choice[i] = {{}, cells.levelPlace[i]};
            if (m_needsEarlyHit && !cells.hasHit[i]) FindHit(cells, i);
            int channel = m_input.channels.channel[kDivMap];
            if (m_needsEarlyHit && cells.hasHit[i] && m_input.channels.isRead[kDivMap]) {
                const TItemHit& hit = cells.hit[i];
                cells.choice[i].uvw = m_input.surfaces[hit.surface].array->Uvw(channel, hit.local);
            }
        }
    }

    // Some maps are read before the item is placed; they need the surface under the cell.
    static bool NeedsEarlyHit(const TBuildInput& input) {
        if (input.surfaces.empty()) return false;
        bool diversity = input.geometry.mode == kByColorMap && input.diversityMap;
        return diversity || input.transforms.transMap.map;
    }

    // --- lanes

    // Include parity, excludes and the falloff around excludes, where the item was born.
    void TestAreas(TItemLanes& lanes, size_t k) {
        Point3 point = lanes.storedPosition[k];  // distribution frame
        bool known = m_inside && lanes.source[k]->offset == Point3{};
        if (!known && !m_areas.Passes({point.x, point.y})) return lanes.Drop(k, TLaneFate::kArea);
        if (!m_needsDistances) return;
        TAreaDistances& d = lanes.distances[k];
        d = m_areas.Distances({point.x, point.y}, m_cursors);
        auto place = [&](Point2 p) { return ToObject({p.x, p.y, point.z}); };
        lanes.borders[k] = {d.include, d.exclude, place(d.includeNearest), place(d.excludeNearest)};
        if (ExcludeFalloffRejects(m_input.areaFalloffs, d, lanes.densityDraw[k]))
            lanes.Drop(k, TLaneFate::kFalloff);
    }

    void StandOn(const TItemHit& hit, TItemLanes& lanes, size_t k) const {
        TakeHit(m_input, hit, lanes, k);
        lanes.position.Set(k, hit.point);
    }

    const TBuildInput& m_input;
    const TAreaTest& m_areas;
    const TAreaSettings& m_settings;
    const TGrid& m_grid;
    int64_t m_decimation;
    TGridPieces::Piece m_piece;
    int64_t m_nextRow, m_row = 0, m_column;
    TAreaTest::Row m_walker;
    bool m_walks;   // areas are asked a row at a time, before anything else
    bool m_inside;  // a cell that becomes a lane is known to pass them all
    bool m_needsDistances;
    const IMapSampler* m_map;
    bool m_mapOnSurface, m_ownThreshold;
    uint32_t m_ordinal;
    bool m_needsEarlyHit = NeedsEarlyHit(m_input);
    std::vector<TSegmentCursor> m_cursors;
    std::array<int64_t, kCellsInBatch> m_columns, m_rows;  // of the cells in hand
};

}  // namespace

TGridSettings GroupGrid(const TBuildInput& input, const TAreaSettings& area) {
    TGridSettings settings = input.grid;
    if (!area.map) return settings;
    settings.hasTexture = true;
    settings.textureOnSurface = input.distMapChannel != 0 && !input.surfaces.empty();
    return settings;
}

TGridPieces::TGridPieces(const TGrid& grid, int32_t decimation)
    : m_firstRow(grid.firstRow),
      m_firstColumn(grid.firstColumn),
      m_rows(grid.rows),
      m_columns(grid.columns) {
    // Counted in used cells, so that thinned grids have fewer pieces. Only a row that is very long
    // is cut.
    double used = double(m_columns) * double(m_rows) / decimation / decimation;
    double wanted = std::max(double(kCellsInPiece), used / double(kMostPieces));
    double cellsOfRow = std::max(1.0, double(m_columns) / decimation);
    double rows = std::max(1.0, std::floor(wanted / cellsOfRow)) * decimation;
    m_rowsInPiece = int64_t(std::clamp(rows, 1.0, std::max(1.0, double(m_rows))));
    m_columnsInPiece = cellsOfRow > 16 * wanted ? int64_t(std::ceil(wanted)) * decimation
                                                : std::max<int64_t>(1, m_columns);
    auto pieces = [](int64_t n, int64_t each) { return size_t((n + each - 1) / each); };
    m_rowPieces = pieces(m_rows, m_rowsInPiece);
    m_columnPieces = pieces(m_columns, m_columnsInPiece);
}

TGridPieces::Piece TGridPieces::operator[](size_t i) const {
    int64_t row = m_firstRow + int64_t(i / m_columnPieces) * m_rowsInPiece;
    int64_t column = m_firstColumn + int64_t(i % m_columnPieces) * m_columnsInPiece;
    return {row, std::min(row + m_rowsInPiece, m_firstRow + m_rows), column,
            std::min(column + m_columnsInPiece, m_firstColumn + m_columns)};
}

TGridSource::TGridSource(const TBuildInput& input, const TGridGroup& group, const TGrid& grid,
                         int32_t decimation)
    : m_input(input),
      m_group(group),
      m_grid(grid),
      m_decimation(decimation),
      m_pieces(m_grid, decimation) {
    m_rules.rows = &group.rows;
    m_rules.areas = &group.areas;
    m_rules.grid = &m_grid;
    m_rules.area = group.areas.Settings().item;
    m_rules.laterOrdinal = input.randomizeStacked ? uint32_t(group.index) : 0;
    m_rules.hashed = true;
    m_rules.obeysSurfaces = !input.surfaces.empty();
}

std::unique_ptr<ICellReader> TGridSource::Read(size_t piece) const {
    return std::make_unique<TGridReader>(m_input, m_group, m_grid, m_decimation, m_pieces[piece]);
}

bool TGridSource::IsImage() const { return !m_input.distMap && !m_group.areas.Settings().map; }
