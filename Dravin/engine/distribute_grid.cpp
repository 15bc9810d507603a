#include "Dravin/engine/distribute_grid.h"

#include <algorithm>
#include <array>
#include <limits>

#include <fmt/format.h>

#include "Dravin/engine/build_items.h"
#include "Dravin/engine/gizmo_points.h"
#include "Dravin/engine/item_budget.h"
#include "Dravin/engine/item_pipeline.h"
#include "common/nurandom/nurandom_batch.h"
#include "host/base/thread_pool.h"

namespace {

// Cells that are tested, seeded and drawn together.
constexpr size_t kBatch = 256;

// Outputs of one lane of a batch, in the order in which an item draws them. A rejected output
// (about one in two million) would shift all later ones; such an item is drawn again alone.
struct LaneSource {
    const uint32_t* output;
    bool rejected = false;

    uint32_t Next() {
        uint32_t x = *output;
        output += kBatch;
        return x;
    }
    float Random() {
        float f = TNuRandom::ToUnit(Next());
        rejected |= !TNuRandom::IsOpenUnit(f);
        return f;
    }
    int32_t IRandom(int32_t min, int32_t max) { return TNuRandom::ScaleToRange(Next(), min, max); }
};

// The cells of a batch that pass the map.
struct CellBatch {
    size_t count = 0;
    std::array<int64_t, kBatch> column, row;
    std::array<Point3, kBatch> point, uvw;
    std::array<AColor, kBatch> color;
    std::array<std::optional<TItemHit>, kBatch> hit;
};

class GridTask {
public:
    GridTask(const TBuildInput& input, const TGeometryChoice& geometry, const TGridGroup& group,
             const TGrid& grid, int32_t decimation, TRowSlice slice, TDravinItemList& items,
             TItemBudget& budget)
        : m_input(input),
          m_group(group),
          m_grid(grid),
          m_decimation(decimation),
          m_slice(slice),
          m_cellsInRow(NumUsed(grid.firstColumn, grid.columns, decimation)),
          m_pipeline(input, geometry, items),
          m_share(budget),
          m_row(group.areas),
          m_rowTest(!group.areas.IsOpen() && !HasOffsets(input)),
          m_inside((group.areas.IsOpen() || m_rowTest) && !group.areas.HasFootprints()),
          m_map(group.areas.Settings().map ? group.areas.Settings().map : input.distMap),
          m_mapOnSurface(m_map && input.distMapChannel != 0 && !input.surfaces.empty()),
          m_ownThreshold(std::abs(grid.areaThreshold - input.grid.thresholdPercent) > 0.0001f),
          m_ordinal(input.randomizeStacked ? uint32_t(group.index) : 0),
          m_outputs(kStepsPerItem * kBatch),
          m_batch(std::make_unique<CellBatch>()) {}

    const TTaskCounts& Counts() { return m_pipeline.Counts(); }

    // Ends early where the budget is spent.
    void Run() {
        int64_t lastRow = m_grid.firstRow + m_slice.first + m_slice.count;
        for (int64_t row = m_grid.firstRow + m_slice.first; row < lastRow; ++row) {
            if (m_input.progress) m_input.progress->Add(1);
            if (row % m_decimation != 0) continue;
            // Other tasks may have made too many while this one makes none.
            if (!MayGoOn()) return;
            if (m_rowTest) m_row.Start(float(m_grid.Y(row)));
            int64_t endColumn = m_grid.firstColumn + m_grid.columns, inside = 0;
            for (int64_t column = m_grid.firstColumn; column < endColumn; ++column) {
                if (column % m_decimation != 0) continue;
                if (m_rowTest && !m_row.Passes(float(m_grid.X(column)))) {
                    column = std::max(column, LastColumnBefore(m_row.NextInside()));
                    continue;
                }
                ++inside;
                AddCell(column, row);
                if (m_batch->count < kBatch) continue;
                if (!Flush()) return;
            }
            // Cells that the row's test passed over at once were never looked at.
            if (m_rowTest) m_pipeline.Rejected().area += m_cellsInRow - inside;
        }
        if (!Flush()) return;
        m_pipeline.Effects().Flush();
        MayGoOn();
    }

private:
    // Members of a group stand beside their cell, where its own test says nothing of them.
    static bool HasOffsets(const TBuildInput& input) {
        auto offset = [](const TSpecimenElement& e) { return e.offset != Point3{}; };
        return std::any_of(input.specimens.begin(), input.specimens.end(), [&](const TSpecimen& s) {
            return std::any_of(s.elements.begin(), s.elements.end(), offset);
        });
    }

    // A column that certainly lies left of x, near it.
    int64_t LastColumnBefore(float x) const {
        double column = std::floor((double(x) - m_grid.offsetX) / m_grid.dx) - 2;
        double last = double(m_grid.firstColumn + m_grid.columns);
        return int64_t(std::clamp(column, double(m_grid.firstColumn), last));
    }

    // Image: the pixel decides at once. Texture: the cell waits for the batch's evaluation.
    void AddCell(int64_t column, int64_t row) {
        CellBatch& b = *m_batch;
        size_t i = b.count;
        if (!m_map) {
            const TDensityMap::Pixel& pixel =
                m_input.density.At(TileOf(column, m_grid.px).pixel, TileOf(row, m_grid.py).pixel);
            bool passes = m_ownThreshold ? Luminance(pixel.color) > m_grid.areaThreshold * 0.01f
                                         : pixel.pass > 0.5f;
            if (!passes) {
                ++m_pipeline.Rejected().map;
                return;
            }
            b.color[i] = {pixel.color.r, pixel.color.g, pixel.color.b, 1};
        }
        double x = m_grid.X(column), y = m_grid.Y(row);
        b.column[i] = column;
        b.row[i] = row;
        b.point[i] = {float(x), float(y), m_grid.z};
        b.uvw[i] = {float((x - m_grid.offsetX) / m_grid.dx / m_grid.px),
                    float((y - m_grid.offsetY) / m_grid.dy / m_grid.py), 0};
        b.hit[i].reset();
        ++b.count;
    }

    // Drops the cells whose texture colour is not above the threshold.
    void TestTexture() {
        CellBatch& b = *m_batch;
        if (m_mapOnSurface) KeepCellsOnSurfaces();
        std::array<MapPoint, kBatch> points;
        for (size_t i = 0; i < b.count; ++i) {
            if (m_mapOnSurface) {
                const TItemHit& hit = *b.hit[i];
                const TSurfXYArray& array = *m_input.surfaces[hit.surface].array;
                points[i] = {array.Uvw(m_input.distMapChannel, hit.local), b.point[i]};
            } else {
                points[i] = {b.uvw[i], {b.uvw[i].x * 200, b.uvw[i].y * 200, 0}};
            }
        }
        std::array<AColor, kBatch> colors;
        size_t asked = b.count;
        m_map->Sample({points.data(), b.count}, {colors.data(), b.count});
        Keep([&](size_t i) {
            b.color[i] = colors[i];
            return Luminance(colors[i].Rgb()) > m_grid.areaThreshold * 0.01f;
        });
        m_pipeline.Rejected().map += int64_t(asked - b.count);
    }

    void KeepCellsOnSurfaces() {
        CellBatch& b = *m_batch;
        size_t asked = b.count;
        Keep([&](size_t i) {
            Point3 point = m_grid.rotated ? b.point[i] * m_grid.frame : b.point[i];
            b.hit[i] = SurfaceHit(m_input, point, m_group.areas.Settings().surfaces);
            return b.hit[i].has_value();
        });
        m_pipeline.Rejected().surface += int64_t(asked - b.count);
    }

    // Compacts the batch to the cells for which test(i) holds; it may change cell i only.
    template <class Test>
    void Keep(Test test) {
        CellBatch& b = *m_batch;
        size_t kept = 0;
        for (size_t i = 0; i < b.count; ++i) {
            if (!test(i)) continue;
            if (kept != i) MoveCell(b, i, b, kept);
            ++kept;
        }
        b.count = kept;
    }

    static void MoveCell(CellBatch& from, size_t i, CellBatch& to, size_t k) {
        to.column[k] = from.column[i];
        to.row[k] = from.row[i];
        to.point[k] = from.point[i];
        to.uvw[k] = from.uvw[i];
        to.color[k] = from.color[i];
        to.hit[k] = from.hit[i];
    }

    // Some maps are read before the item is placed; they need the surface under the cell.
    bool NeedsEarlyHit() const {
        if (m_input.surfaces.empty()) return false;
        bool diversity = m_input.geometry.mode == kByColorMap && m_input.diversityMap;
        return diversity || m_input.transforms.transMap.map;
    }

    bool MayGoOn() { return m_share.Tell(m_pipeline.NumProduced()); }

    bool Flush() {
        CellBatch& b = *m_batch;
        if (m_map) TestTexture();
        if (b.count == 0) return MayGoOn();
        DrawBatch();
        for (size_t i = 0; i < b.count; ++i) ProcessCell(i);
        b.count = 0;
        return MayGoOn();
    }

    void HashCell(size_t i, uint32_t hash[4]) const {
        TTileIndex c = TileOf(m_batch->column[i], m_grid.px),
                   r = TileOf(m_batch->row[i], m_grid.py);
        hash[0] = uint32_t(c.pixel);
        hash[1] = uint32_t(c.tile);
        hash[2] = uint32_t(r.pixel);
        hash[3] = uint32_t(r.tile);
    }

    // Seeds and draws all items of the batch in vector lanes. Unused lanes draw too: a fixed stride
    // is simpler, and nearly all batches are full.
    void DrawBatch() {
        std::array<uint32_t, kBatch> seeds{};
        for (size_t i = 0; i < m_batch->count; ++i) {
            uint32_t hash[4];
            HashCell(i, hash);
            m_seeds[i] = CellSeed(hash) + m_ordinal;
            seeds[i] = m_input.transforms.seed + m_seeds[i];
        }
        DrawSteps(seeds, kStepsPerItem, m_outputs);
    }

    void ProcessCell(size_t i) {
        const CellBatch& b = *m_batch;
        TDravinItem& item = m_pipeline.WorkingItem();
        HashCell(i, item.hash);
        item.mapCoordinates = b.uvw[i];
        item.mapColor = b.color[i];
        item.sourceIndex = int32_t((b.row[i] - m_grid.firstRow) * m_grid.columns +
                                   (b.column[i] - m_grid.firstColumn));
        item.elementIndex = 0;
        item.stateFlags = 0;
        item.seed = m_seeds[i];
        LaneSource lane{&m_outputs[i]};
        FillRandoms(lane, m_input.transforms, m_pipeline.Ranges(), item);
        if (lane.rejected)
            RedrawItemRandoms(m_input.transforms, m_pipeline.Ranges(), m_pipeline.Generator(),
                              item);

        TItemPipeline::TCandidate candidate;
        candidate.point = b.point[i];
        candidate.grid = &m_grid;
        candidate.rows = &m_group.rows;
        candidate.areas = &m_group.areas;
        candidate.insideAreas = m_inside;
        candidate.area = m_group.areas.Settings().item;
        candidate.ordinal = m_ordinal;
        candidate.hit = b.hit[i];
        if (NeedsEarlyHit()) {
            if (!candidate.hit)
                candidate.hit =
                    SurfaceHit(m_input, m_grid.rotated ? b.point[i] * m_grid.frame : b.point[i],
                               m_group.areas.Settings().surfaces);
            if (candidate.hit)
                m_pipeline.TakeHit(*candidate.hit);
            else
                m_pipeline.ClearHit();
        }
        m_pipeline.ProcessCandidate(candidate);
    }

    const TBuildInput& m_input;
    const TGridGroup& m_group;
    const TGrid& m_grid;
    int32_t m_decimation;
    TRowSlice m_slice;
    int64_t m_cellsInRow;  // that are used
    TItemPipeline m_pipeline;
    TItemShare m_share;
    TAreaTest::Row m_row;
    bool m_rowTest;  // areas are asked a row at a time, before anything else
    bool m_inside;   // a cell that comes as far as an item is known to pass them all
    const IMapSampler* m_map;
    bool m_mapOnSurface;
    bool m_ownThreshold;
    uint32_t m_ordinal;
    std::array<uint32_t, kBatch> m_seeds{};
    std::vector<uint32_t> m_outputs;  // kStepsPerItem rows of kBatch lanes
    std::unique_ptr<CellBatch> m_batch;
};

// Cells that a camera's view cut off before anything looked at them. grid: what the view left; it
// has no cells where nothing is left.
int64_t CellsOutsideView(const TGridSettings& settings, const TGridGroup& group, const TGrid& grid,
                         int32_t decimation) {
    if (group.uncut.IsEmpty()) return 0;
    TGridSettings unlimited = settings;
    unlimited.maxCells = 0;
    TGrid whole;
    TGridResult laid = MakeGrid(unlimited, group.areas.Settings().grid, group.uncut, &whole);
    if (laid != TGridResult::kOk) return 0;
    return UsedCells(whole, decimation) - UsedCells(grid, decimation);
}

}  // namespace

TGridSettings GroupGrid(const TBuildInput& input, const TAreaSettings& area) {
    TGridSettings settings = input.grid;
    if (!area.map) return settings;
    settings.hasTexture = true;
    settings.textureOnSurface = input.distMapChannel != 0 && !input.surfaces.empty();
    return settings;
}

void NoteEmptyGrid(TGridResult laid, TBuildStatistics& statistics) {
    statistics.cellsTooSmall |= laid == TGridResult::kCellsTooSmall;
    statistics.cellsTooFar |= laid == TGridResult::kCellsTooFar;
}

TBuildResult DistributeGroup(const TBuildInput& input, const TGeometryChoice& geometry,
                             const TGridGroup& group, TDravinItemList& items,
                             TBuildStatistics& statistics) {
    TGrid grid;
    TGridSettings settings = GroupGrid(input, group.areas.Settings());
    TGridResult laid = MakeGrid(settings, group.areas.Settings().grid, group.bounds, &grid);
    if (laid == TGridResult::kTooDense) return TBuildResult::kDensityTooHigh;
    statistics.rejected.camera += CellsOutsideView(settings, group, grid, statistics.decimation);
    NoteEmptyGrid(laid, statistics);
    if (laid != TGridResult::kOk) return TBuildResult::kOk;
    statistics.cellsInArea =
        int32_t(std::min<int64_t>(grid.cells, std::numeric_limits<int32_t>::max()));
    if (input.drawGizmo && !input.render) {
        std::vector<Point3> corners = GizmoPoints(input, group, grid);
        statistics.gizmoPoints.insert(statistics.gizmoPoints.end(), corners.begin(), corners.end());
    }

    input.NextStage(grid.rows);
    std::vector<TRowSlice> slices = SplitRows(grid.rows, input.threads);
    if (input.debugLog)
        input.debugLog(fmt::format("BuildItemArray->DistributeArea({})->Starting {} threads",
                                   group.index, std::max(1, input.threads)));
    std::vector<TDravinItemList> parts;
    for (size_t i = 0; i < slices.size(); ++i) parts.emplace_back(items.Groups());
    items.ShareSpare(parts);
    std::vector<TTaskCounts> counts(slices.size());
    TItemBudget budget(input, items);
    ParallelFor(slices.size(), input.threads, [&](size_t i) {
        GridTask task(input, geometry, group, grid, statistics.decimation, slices[i], parts[i],
                      budget);
        task.Run();
        counts[i] = task.Counts();
    });
    for (const TTaskCounts& c : counts) statistics.Add(c);

    if (budget.Result() != TBuildResult::kOk) {
        items.Clear();
        return budget.Result();
    }
    for (TDravinItemList& part : parts) items.Splice(std::move(part));
    return TBuildResult::kOk;
}
