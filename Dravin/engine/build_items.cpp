#include "Dravin/engine/build_items.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "Dravin/engine/collisions.h"
#include "Dravin/engine/distribute_grid.h"
#include "Dravin/engine/distribute_points.h"
#include "Dravin/engine/distribute_uv.h"
#include "Dravin/engine/effect_runner.h"
#include "Dravin/engine/item_completer.h"
#include "Dravin/engine/produce_items.h"
#include "Dravin/engine/source_stored.h"

namespace {

void DebugLog(const TBuildInput& input, const std::string& text) {
    if (input.debugLog) input.debugLog(text);
}

// The ground that the grid runs over, group by group.
struct Ground {
    TAreas areas;
    TAreas unturned;  // in object space, for groups whose own map takes the surfaces' coordinates
    TAreaSettings open;  // of surfaces that no area narrows
    std::vector<TGridGroup> groups;
    double measure = 0;  // for the display's decimation
};

// No row includes anything and none speaks of the surfaces: they are the ground themselves, one
// group over their common bounds, which every exclude area cuts.
bool SurfacesAreGround(const TBuildInput& input) {
    bool included = std::any_of(input.areas.begin(), input.areas.end(),
                                [](const TAreaRow& row) { return !row.settings.exclude; });
    return !included && !input.areaRowForSurfaces && !input.surfaces.empty() &&
           !input.surfaceBounds.IsEmpty();
}

void AddOpenGround(const TBuildInput& input, const TGeometryChoice& geometry,
                   const Matrix3& toFrame, Ground& ground) {
    ground.open.order = -1;
    Box3 bounds = toFrame.BoxTransform(input.surfaceBounds);
    Point3 width = bounds.Width();
    ground.measure = double(width.x) * double(width.y);
    ground.groups.push_back(
        {bounds, {}, TAreaTest(ground.areas, nullptr, ground.open), geometry.Unrestricted(), 0});
}

// The areas in the frame of include group i.
const TAreas& AreasOfGroup(const TBuildInput& input, size_t i, Ground& ground) {
    TGridSettings settings = GroupGrid(input, ground.areas.include[i].settings);
    if (DistributionFrame(settings) == DistributionFrame(input.grid)) return ground.areas;
    if (ground.unturned.include.empty()) ground.unturned = BuildAreas(input.areas, {});
    return ground.unturned;
}

std::unique_ptr<Ground> CollectGround(const TBuildInput& input, const TGeometryChoice& geometry) {
    auto ground = std::make_unique<Ground>();
    Matrix3 toFrame = Inverse(DistributionFrame(input.grid));
    ground->areas = BuildAreas(input.areas, toFrame);
    if (SurfacesAreGround(input)) {
        AddOpenGround(input, geometry, toFrame, *ground);
        return ground;
    }
    for (size_t i = 0; i < ground->areas.include.size(); ++i) {
        const TAreas& areas = AreasOfGroup(input, i, *ground);
        const TAreaGroup& group = areas.include[i];
        ground->measure += group.Measure();
        std::optional<TAreaGeometry> rows = geometry.Unrestricted();
        if (group.settings.geometry) rows = geometry.Restrict(*group.settings.geometry);
        if (!rows) continue;
        ground->groups.push_back(
            {group.bounds, {}, TAreaTest(areas, &group, ground->open), std::move(*rows), int(i)});
    }
    return ground;
}

// Cuts the ground to what the camera sees, so that no cell outside is looked at.
void ClipToView(const TBuildInput& input, Ground& ground) {
    if (!input.camera.limitActive) return;
    for (TGridGroup& group : ground.groups) {
        Matrix3 frame = DistributionFrame(GroupGrid(input, group.areas.Settings()));
        Box3 view = Inverse(frame).BoxTransform(input.camera.view.Bounds());
        Box3& b = group.bounds;
        group.uncut = b;
        b.min = {std::max(b.min.x, view.min.x), std::max(b.min.y, view.min.y), b.min.z};
        b.max = {std::min(b.max.x, view.max.x), std::min(b.max.y, view.max.y), b.max.z};
    }
}

int32_t Decimation(const TBuildInput& input, double measure) {
    if (input.render) return int32_t{1} << std::clamp(input.renderSkip, 0, 30);
    float coverage = input.grid.hasTexture ? kTextureCoverage : input.density.Coverage();
    return GridDecimation(input.grid, measure, coverage, input.camera.limitActive,
                          input.displayLimit);
}

// What a build makes its items from. Sources look at the ground, which stays where it is.
struct Plan {
    std::unique_ptr<Ground> ground;
    Box3 bounds;  // of the ground, as far as the mode has one
    TItemSources sources;
};

TBuildStatus PlanImageXY(const TBuildInput& input, const TGeometryChoice& geometry,
                         TBuildStatistics& statistics, Plan& plan) {
    plan.ground = CollectGround(input, geometry);
    Ground& ground = *plan.ground;
    for (const TGridGroup& group : ground.groups) plan.bounds += group.bounds;
    ClipToView(input, ground);
    // A row for the surfaces that is off keeps them from being the ground.
    bool noGround = input.surfaceBounds.IsEmpty() || input.areaRowForSurfaces;
    if (ground.areas.include.empty() && noGround) return TBuildStatus::kNoIncludeAreas;
    statistics.includeGroups = int32_t(std::max(ground.groups.size(), ground.areas.include.size()));
    statistics.excludeAreas = int32_t(ground.areas.numExcludeAreas);
    statistics.decimation = Decimation(input, ground.measure);
    DebugLog(input,
             fmt::format("BuildItemArray->DistributeImageXY ({} areas)", ground.groups.size()));
    for (const TGridGroup& group : ground.groups) {
        TBuildStatus result = LayGroup(input, group, plan.sources, statistics);
        if (result != TBuildStatus::kSuccess) return result;
    }
    return TBuildStatus::kSuccess;
}

TBuildStatus MakePlan(const TBuildInput& input, const TGeometryChoice& geometry,
                      TBuildStatistics& statistics, Plan& plan) {
    if (input.specimens.empty()) return TBuildStatus::kSuccess;
    if (input.customEdit) {
        statistics.decimation = StoredDecimation(input);
        plan.sources.push_back(std::make_unique<TStoredSource>(input, statistics.decimation));
        return TBuildStatus::kSuccess;
    }
    if (input.distributionMode != kDistImage) return LayPoints(input, plan.sources, statistics);
    if (input.surfaceMode == kSurfaceUV)
        return LaySurfaces(input, geometry, plan.sources, statistics);
    return PlanImageXY(input, geometry, statistics, plan);
}

// Hand-edited items that are not selected are what an earlier build made of them.
void KeepUnselected(const TBuildInput& input, TDravinItemList& items,
                    TBuildStatistics& statistics) {
    for (size_t i = 0; input.unselected && i < items.Count(); ++i) {
        if (input.storedItems[i].selected) continue;
        TDravinItem kept;
        input.unselected->ReadStored(i, &kept, 0);
        items.Write(i, kept);
    }
    for (size_t i = 0; i < items.Count(); ++i)
        statistics.discardedItems += items.Marks(i).Is(ItemMarks::kDiscarded);
}

int32_t ComputeCollisions(const TBuildInput& input, const Box3& bounds, TDravinItemList& items) {
    DebugLog(input, fmt::format("BuildItemArray->ComputeCollisions {} ({} items)",
                                input.surfaceMode == kSurfaceXY ? "XY" : "UV", items.Count()));
    input.NextStage(1);
    return RemoveCollisions(items, bounds, input.camera, input.threads);
}

}  // namespace

uint32_t TBuildInput::ItemGroupsNeeded() const {
    uint32_t groups = kGroupBirth | kGroupNormal | kGroupMapColor | kGroupCenter;
    bool grid = distributionMode == kDistImage && !customEdit;
    // Effects leave vectors, animation samples, and angles and scales of their own. Hand-edited
    // items that a rule drops have none: they cannot be drawn again.
    if (effects) groups |= effects->GroupsWritten() | (customEdit ? uint32_t{kGroupKept} : 0u);
    if (grid) groups |= kGroupCell;
    bool mapped = surfaceMode == kSurfaceUV;
    if (!grid || mapped) groups |= kGroupSource;
    if (!surfaces.empty()) groups |= kGroupSurface;
    if (grid && NeedsAreaDistances()) groups |= kGroupBorders;
    bool scaled = transforms.globalSize || altitude.scaleCurve || slope.scaleCurve ||
                  areaFalloffs.scaleCurve || !grid || mapped;
    if (scaled) groups |= kGroupFactors;
    const TTransformSettings& t = transforms;
    if (t.animation >= kAnimRandom || t.useLookAt || t.horizontalShadow || t.verticalShadow)
        groups |= kGroupLooks;
    return groups;
}

bool TBuildInput::NeedsAreaDistances() const {
    if (areas.empty()) return false;
    if (areaFalloffs.Any() || areaFalloffs.effectsActive) return true;
    return std::any_of(areas.begin(), areas.end(), [](const TAreaRow& row) {
        return row.settings.item.boundaryCheck != kBorderIgnored;
    });
}

Box3 ScatterBounds(const TBuildInput& input) {
    TAreas areas = BuildAreas(input.areas, {});
    if (!areas.include.empty()) return areas.include.front().bounds;
    return SurfacesAreGround(input) ? input.surfaceBounds : Box3{};
}

float AutomaticMapSize(const Box3& bounds, double unitScale) {
    Point3 width = bounds.Width();
    double largest = std::max(double(width.x), double(width.y)) * unitScale;
    return float((largest >= 2 ? 100 : 25) / unitScale);
}

TBuildStatus BuildItemArray(const TBuildInput& input, TDravinItemList& items,
                            TBuildStatistics& statistics) {
    statistics.cellsInArea = statistics.itemCount = statistics.discardedItems = 0;
    statistics.decimation = 1;
    statistics.createdCount = 0;
    statistics.outOfMemory = false;
    statistics.ground = {};
    statistics.deltas = {};
    statistics.rejected = {};
    TGeometryChoice geometry(input.geometry, input.specimens);

    Plan plan;
    TBuildStatus result = MakePlan(input, geometry, statistics, plan);
    items.Prepare(input.ItemGroupsNeeded(), CompleterOf(input, plan.sources));
    input.StartProgress();
    if (result == TBuildStatus::kSuccess)
        result = ProduceItems(input, geometry, plan.sources, items, statistics);
    if (result != TBuildStatus::kSuccess) {
        items.Clear();
        statistics.rejected = {};  // of tasks that stopped somewhere
        return result;
    }
    if (input.customEdit) KeepUnselected(input, items, statistics);
    statistics.ground = plan.bounds;
    if (input.IsCancelled()) return TBuildStatus::kCancelled;
    if (input.RemovesOverlaps() && items.Count() > 1)
        statistics.rejected.collision = statistics.discardedCount =
            ComputeCollisions(input, plan.bounds, items);
    if (input.IsCancelled()) return TBuildStatus::kCancelled;
    statistics.itemCount =
        input.Streams() ? statistics.createdCount : AsCount(int64_t(items.Count()));
    items.TrimSpare();
    return TBuildStatus::kSuccess;
}
