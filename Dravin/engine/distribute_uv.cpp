#include "Dravin/engine/distribute_uv.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "Dravin/engine/build_items.h"
#include "Dravin/engine/distribute_grid.h"
#include "Dravin/engine/item_budget.h"
#include "Dravin/engine/item_pipeline.h"
#include "host/base/thread_pool.h"

namespace {

// Cells of a row after which a task tells how many items it has made.
constexpr int64_t kCellsOfPiece = 256;

// One surface of the distribution.
struct UvSurface {
    const TSurfaceInput& surface;
    TGrid grid;
    float perUnit = 1;  // object units in a texture unit
    int index = 0;      // in the input's surfaces
};

// Rows of one surface's grid.
class UvTask {
public:
    UvTask(const TBuildInput& input, const TGeometryChoice& geometry, const UvSurface& uv,
           int32_t decimation, TRowSlice slice, TDravinItemList& items, TItemBudget& budget)
        : m_input(input),
          m_geometry(geometry),
          m_uv(uv),
          m_decimation(decimation),
          m_slice(slice),
          m_pipeline(input, geometry, items),
          m_effects(m_pipeline.Effects()),
          m_share(budget),
          m_ordinal(input.randomizeStacked ? uint32_t(uv.surface.listIndex) : 0) {
        m_factors.hasSurfaces = true;
    }

    const TTaskCounts& Counts() { return m_pipeline.Counts(); }

    // Ends early where the budget is spent.
    void Run() {
        const TGrid& g = m_uv.grid;
        int64_t firstRow = g.firstRow + m_slice.first;
        for (int64_t row = firstRow; row < firstRow + m_slice.count; ++row) {
            if (m_input.progress) m_input.progress->Add(1);
            if (row % m_decimation != 0) continue;
            if (!MayGoOn()) return;
            for (int64_t column = g.firstColumn; column < g.firstColumn + g.columns; ++column) {
                if (column % m_decimation != 0) continue;
                if (column % kCellsOfPiece == 0 && !MayGoOn()) return;
                ProcessCell(column, row);
            }
        }
        m_effects.Flush();
        MayGoOn();
    }

private:
    bool MayGoOn() { return m_share.Tell(m_effects.NumProduced()); }
    TRejections& Rejected() { return m_pipeline.Rejected(); }

    void ProcessCell(int64_t column, int64_t row) {
        const TGrid& g = m_uv.grid;
        TTileIndex c = TileOf(column, g.px), r = TileOf(row, g.py);
        const TDensityMap::Pixel* pixel =
            m_input.distMap ? nullptr : &m_input.density.At(c.pixel, r.pixel);
        if (pixel && !(pixel->pass > 0.5f)) {
            ++Rejected().map;
            return;
        }

        TDravinItem& item = m_pipeline.WorkingItem();
        item.hash[0] = uint32_t(c.pixel), item.hash[1] = uint32_t(c.tile);
        item.hash[2] = uint32_t(r.pixel), item.hash[3] = uint32_t(r.tile);
        item.sourceIndex = int32_t((row - g.firstRow) * g.columns + (column - g.firstColumn));
        item.stateFlags = 0;
        item.elementIndex = 0;
        if (pixel) item.mapColor = {pixel->color.r, pixel->color.g, pixel->color.b, 1};
        Draw();
        Point3 cell{float(g.X(column)), float(g.Y(row)), 0};
        ChooseGeometry(cell);
        m_effects.StartCell();
        PlaceElements(cell, false);
        if (auto row = m_effects.AsksForGeometry()) {
            item.specimenIndex = *row;
            PlaceElements(cell, true);
        }
        m_effects.FinishCell();
    }

    // drawAgain: the random values in the item are not those of its first element.
    void PlaceElements(const Point3& cell, bool drawAgain) {
        TDravinItem& item = m_pipeline.WorkingItem();
        const TSpecimen& specimen = m_input.specimens[size_t(item.specimenIndex)];
        TElementRange elements = Elements(specimen, cell);
        for (int e = elements.first; e < elements.end && !m_effects.WantsGeometry(); ++e) {
            item.elementIndex = int16_t(e);
            if (e > elements.first || drawAgain) Draw();
            const TSpecimenElement& source = specimen.elements[size_t(e)];
            Place(cell + source.offset * (1 / m_uv.perUnit), specimen, source);
        }
    }

    // Where the cell itself lies on the surface: on the first of its faces there.
    std::optional<TUvHit> HitOfCell(const Point3& cell) const {
        std::optional<TUvHit> first;
        m_uv.surface.uv->ForEachHit(cell.x, cell.y, [&](const TUvHit& hit) {
            if (!first) first = hit;
        });
        return first;
    }

    // Where a diversity map is asked; a cell beside the surface, from which items may still move
    // onto it, has only its own coordinates.
    MapPoint DiversityPoint(const Point3& cell) const {
        if (!m_input.channels.isRead[kDivMap]) return {cell, cell};
        std::optional<TUvHit> hit = HitOfCell(cell);
        if (!hit) return {cell, cell};
        return {m_uv.surface.uv->Uvw(m_input.channels.channel[kDivMap], *hit),
                hit->point * m_uv.surface.toObject};
    }

    // Levels of detail are chosen where the cell itself lies on the surface.
    TElementRange Elements(const TSpecimen& specimen, const Point3& cell) {
        Point3 place = cell;
        if (specimen.lod)
            if (std::optional<TUvHit> hit = HitOfCell(cell))
                place = hit->point * m_uv.surface.toObject;
        return ElementsOf(m_input, specimen, place, m_pipeline.WorkingItem().random4);
    }

    void Draw() {
        DrawItemRandoms(m_input.transforms, m_pipeline.Ranges(), m_pipeline.Generator(),
                        m_pipeline.WorkingItem(), true, m_ordinal);
    }

    void ChooseGeometry(const Point3& cell) {
        TDravinItem& item = m_pipeline.WorkingItem();
        Color color = m_pipeline.DiversityColor(DiversityPoint(cell));
        item.specimenIndex = m_geometry.Assign(m_geometry.Unrestricted(), item.randomB, color, cell,
                                               m_pipeline.Counts().clusters);
    }

    // Moves a candidate in texture space, asks the texture there, and makes an item at every hit.
    void Place(Point3 uv, const TSpecimen& specimen, const TSpecimenElement& source) {
        TDravinItem& item = m_pipeline.WorkingItem();
        const TTransformSettings& t = m_input.transforms;
        if (t.applyTranslation) {
            auto shift = [&](int axis, double cell, float random) {
                float low = float(t.transMin[axis]) * float(cell) * 0.01f;
                float high = float(t.transMax[axis]) * float(cell) * 0.01f;
                return low + (high - low) * random;
            };
            uv.x += shift(0, m_uv.grid.dx, item.randomTranslation.x);
            uv.y += shift(1, m_uv.grid.dy, item.randomTranslation.y);
        }
        if (m_input.distMap) {
            item.mapColor = m_input.distMap->SampleOne({uv, uv * 200});
            if (!(Luminance(item.mapColor.Rgb()) > m_uv.grid.areaThreshold * 0.01f)) {
                ++Rejected().map;
                return;
            }
        }
        item.mapCoordinates = uv;
        bool any = false;
        m_uv.surface.uv->ForEachHit(uv.x, uv.y, [&](const TUvHit& hit) {
            any = true;
            if (m_effects.WantsGeometry() || Finish(hit, specimen, source)) return;
            if (!m_effects.AsksForPlacement()) return;
            Draw();
            Finish(hit, specimen, source);
        });
        Rejected().surface += !any;
    }

    bool Finish(const TUvHit& hit, const TSpecimen& specimen, const TSpecimenElement& source) {
        TDravinItem& item = m_pipeline.WorkingItem();
        const Matrix3& m = m_uv.surface.toObject;
        item.position = item.storedPosition = hit.point * m;
        item.partial = 0;
        Align(hit);

        if (CameraThinsOut(m_input.camera, item.position, item.randomA.y))
            return ++Rejected().falloff, false;
        TSpecimenSize size = ApplySpecimenAndTranslation(m_input.transforms, item, source, {},
                                                         m_effects.Overrides());
        if (item.discarded) return false;
        if (!ObeysRules()) return false;

        if (!ObeysCameraView(m_input.camera, item, &m_factors.cameraScale, Rejected()))
            return false;
        FinishItem(m_input.transforms, m_pipeline.Ranges(), item, specimen, size, {}, m_factors,
                   m_effects.Overrides());
        return !item.discarded && m_effects.Take(item, specimen, size, {});
    }

    // Normal, frame and scale from the surface and its mapping.
    void Align(const TUvHit& hit) {
        TDravinItem& item = m_pipeline.WorkingItem();
        const Matrix3& m = m_uv.surface.toObject;
        m_pipeline.ClearHit();
        item.surfaceFace = hit.face;
        item.barycentric = hit.barycentric;
        item.surfaceIndex = m_uv.index;
        item.surfaceNormal = m_uv.surface.NormalInObject(hit.normal);
        item.normal = m_pipeline.NormalOver(item.surfaceNormal);
        for (int map = 0; map < kNumItemMaps; ++map)
            if (m_input.channels.isRead[map])
                item.mapUvws[map] = m_uv.surface.uv->Uvw(m_input.channels.channel[map], hit);
        Point3 du = m.VectorTransform(hit.dPdu), dv = m.VectorTransform(hit.dPdv);
        const TUvSettings& settings = m_input.uv;
        item.sourceTransform = settings.align ? MakeFrame(du, item.normal) : Matrix3{};
        item.externalScale = {1, 1, 1};
        if (settings.scaleU)
            item.externalScale.x = Length(du) / m_uv.perUnit * settings.multiplierU;
        if (settings.scaleV)
            item.externalScale.y = Length(dv) / m_uv.perUnit * settings.multiplierV;
    }

    bool ObeysRules() {
        TDravinItem& item = m_pipeline.WorkingItem();
        item.surfaceSlope = SlopeOf(item.surfaceNormal);
        return ObeysSurfaceRules(m_input, item.position.z, item.surfaceSlope, item.randomA.y,
                                 &m_factors.falloffScale, Rejected());
    }

    const TBuildInput& m_input;
    const TGeometryChoice& m_geometry;
    const UvSurface& m_uv;
    int32_t m_decimation;
    TRowSlice m_slice;
    TItemPipeline m_pipeline;
    TFinishFactors m_factors;
    TEffectStage& m_effects;
    TItemShare m_share;
    uint32_t m_ordinal;
};

int32_t UvDecimation(const TBuildInput& input, const TGrid& grid) {
    if (input.render) return int32_t{1} << std::clamp(input.renderSkip, 0, 30);
    float coverage = input.distMap ? kTextureCoverage : input.density.Coverage();
    int64_t estimate = std::llround(double(coverage) * double(grid.cells));
    return CountDecimation(input.camera.limitActive ? estimate / 2 : estimate, input.displayLimit);
}

TBuildResult DistributeSurface(const TBuildInput& input, const TGeometryChoice& geometry,
                               const UvSurface& uv, TDravinItemList& items,
                               TBuildStatistics& statistics) {
    if (input.progress) input.progress->SetUnits(uv.grid.rows);
    statistics.decimation = UvDecimation(input, uv.grid);
    std::vector<TRowSlice> slices = SplitRows(uv.grid.rows, input.threads);
    if (input.debugLog)
        input.debugLog(fmt::format("BuildItemArray->DistributeArea({})->Starting {} threads",
                                   uv.index, std::max(1, input.threads)));
    std::vector<TDravinItemList> parts;
    for (size_t i = 0; i < slices.size(); ++i) parts.emplace_back(items.Groups());
    items.ShareSpare(parts);
    std::vector<TTaskCounts> counts(slices.size());
    TItemBudget budget(input, items);
    ParallelFor(slices.size(), input.threads, [&](size_t i) {
        UvTask task(input, geometry, uv, statistics.decimation, slices[i], parts[i], budget);
        task.Run();
        counts[i] = task.Counts();
    });
    for (const TTaskCounts& c : counts) statistics.Add(c);
    if (budget.Result() != TBuildResult::kOk) return budget.Result();
    for (TDravinItemList& part : parts) items.Splice(std::move(part));
    return TBuildResult::kOk;
}

}  // namespace

TBuildResult DistributeImageUV(const TBuildInput& input, const TGeometryChoice& geometry,
                               TDravinItemList& items, TBuildStatistics& statistics) {
    if (input.debugLog)
        input.debugLog(
            fmt::format("BuildItemArray->DistributeImageUV ({} areas)", input.surfaces.size()));
    input.StartProgress(input.surfaces.size());
    for (size_t s = 0; s < input.surfaces.size(); ++s) {
        const TSurfaceInput& surface = input.surfaces[s];
        input.NextStage(0);
        if (!surface.uv) continue;
        double perUnit = surface.uv->UnitsPerTextureUnit(surface.toObject);
        const Box2& b = surface.uv->TextureBounds();
        if (!(perUnit > 0) || b.IsEmpty()) continue;
        UvSurface uv{surface, {}, float(perUnit), int(s)};
        TGridSettings settings = input.grid;
        settings.rotationRadians = 0;
        settings.textureOnSurface = false;
        TGridResult laid = MakeGrid(settings, {}, {{b.min.x, b.min.y, 0}, {b.max.x, b.max.y, 0}},
                                    &uv.grid, perUnit);
        if (laid == TGridResult::kTooDense) return TBuildResult::kDensityTooHigh;
        NoteEmptyGrid(laid, statistics);
        if (laid != TGridResult::kOk) continue;
        statistics.cellsInArea =
            int32_t(std::min<int64_t>(uv.grid.cells, std::numeric_limits<int32_t>::max()));
        TBuildResult result = DistributeSurface(input, geometry, uv, items, statistics);
        if (result != TBuildResult::kOk) return result;
    }
    return TBuildResult::kOk;
}
