#include "Dravin/engine/distribute_uv.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "Dravin/engine/distribute_grid.h"
#include "Dravin/engine/source_uv.h"

namespace {

int32_t UvDecimation(const TBuildInput& input, const TGrid& grid) {
    if (input.render) return int32_t{1} << std::clamp(input.renderSkip, 0, 30);
    float coverage = input.distMap ? kTextureCoverage : input.density.Coverage();
    int64_t estimate = std::llround(double(coverage) * double(grid.cells));
    return CountDecimation(input.camera.limitActive ? estimate / 2 : estimate, input.displayLimit);
}

}  // namespace

TBuildStatus LaySurfaces(const TBuildInput& input, const TGeometryChoice& geometry,
                         TItemSources& sources, TBuildStatistics& statistics) {
    if (input.debugLog)
        input.debugLog(
            fmt::format("BuildItemArray->DistributeImageUV ({} areas)", input.surfaces.size()));
    for (size_t s = 0; s < input.surfaces.size(); ++s) {
        const TSurfaceInput& surface = input.surfaces[s];
        if (!surface.uv) continue;
        double perUnit = surface.uv->UnitsPerTextureUnit(surface.toObject);
        const Box2& b = surface.uv->TextureBounds();
        if (!(perUnit > 0) || b.IsEmpty()) continue;
        TUvSurface uv{surface, {}, float(perUnit), int(s)};
        TGridSettings settings = input.grid;
        settings.rotationRadians = 0;
        settings.textureOnSurface = false;
        TGridResult laid = MakeGrid(settings, {}, {{b.min.x, b.min.y, 0}, {b.max.x, b.max.y, 0}},
                                    &uv.grid, perUnit);
        if (laid == TGridResult::kTooDense) return TBuildStatus::kDensityTooHigh;
        NoteEmptyGrid(laid, statistics);
        if (laid != TGridResult::kOk) continue;
        statistics.cellsInArea =
            int32_t(std::min<int64_t>(uv.grid.cells, std::numeric_limits<int32_t>::max()));
        statistics.decimation = UvDecimation(input, uv.grid);
        if (input.debugLog)
            input.debugLog(fmt::format("BuildItemArray->DistributeArea({})->Starting {} threads",
                                       uv.index, std::max(1, input.threads)));
        sources.push_back(std::make_unique<TUvSource>(input, geometry, uv, statistics.decimation));
    }
    return TBuildStatus::kSuccess;
}
