// Everything a build reads, as plain numbers and arrays: no scene behind it.
//
// Made once on the building thread (parameters as numbers, surfaces as triangle arrays, maps behind
// one sampler interface), then read by all workers as const. What it points to it owns, but for
// hand-edited items and an earlier list, which outlive it. Lengths and places are in the space of
// the scatter object.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Dravin/engine/areas/areas.h"
#include "Dravin/engine/build_progress.h"
#include "Dravin/engine/camera.h"
#include "Dravin/engine/density_map.h"
#include "Dravin/engine/falloff_curve.h"
#include "Dravin/engine/geometry_choice.h"
#include "Dravin/engine/grid.h"
#include "Dravin/engine/item_list.h"
#include "Dravin/engine/item_stream.h"
#include "Dravin/engine/point_input.h"
#include "Dravin/engine/stored_items.h"
#include "Dravin/engine/surface_array.h"
#include "Dravin/engine/surface_uv.h"
#include "Dravin/engine/transforms.h"
#include "host/math/interval.h"

enum DistributionMode { kDistImage = 0, kDistPath = 1, kDistReference = 2, kDistParticles = 3 };
enum SurfaceMode { kSurfaceXY = 0, kSurfaceUV = 1 };

// A surface that items stand on.
struct TSurfaceInput {
    std::shared_ptr<const TSurfXYArray> array;
    Matrix3 toObject;  // from the surface's space
    Matrix3 fromObject;
    Matrix3 normalToObject;                  // what carries normals
    std::shared_ptr<const TSurfUVArray> uv;  // in UV mode; null without that mapping
    bool isMoved = false;                    // the matrices differ from the identity
    int listIndex = 0;                       // in the object's list, where others may show nothing

    TSurfaceInput(std::shared_ptr<const TSurfXYArray> a, const Matrix3& m)
        : array(std::move(a)),
          toObject(m),
          fromObject(Inverse(m)),
          normalToObject(NormalTransform(m)),
          isMoved(m != Matrix3{}) {}

    // Unit normal in object space of a unit normal of the surface's own space.
    Point3 NormalInObject(const Point3& normal) const {
        return isMoved ? Normalize(normalToObject.VectorTransform(normal)) : normal;
    }
};

// A rule over a measure (altitude or slope): hard limits, or falloff curves over the range.
struct TRangeRule {
    bool limited = false;
    float min = 0, max = 0;                      // sorted; slopes in radians
    const FalloffCurve* densityCurve = nullptr;  // null: off
    const FalloffCurve* scaleCurve = nullptr;    // null: off
};

// Which mapping channel each map takes from the surface under an item; -1: it takes none.
struct TMapChannels {
    int channel[kNumItemMaps];
    // Maps that the build itself reads there; the coordinates of the others are worked out when
    // somebody asks for them.
    bool isRead[kNumItemMaps]{};

    TMapChannels() { std::fill(std::begin(channel), std::end(channel), -1); }
    void Read(ItemMap map, int c) { channel[map] = c, isRead[map] = true; }
    bool AnyRead() const {
        return std::any_of(std::begin(isRead), std::end(isRead), [](bool read) { return read; });
    }
};

// How items follow the mapping of their surface in UV mode.
struct TUvSettings {
    bool align = true;  // x axes along the u direction
    bool scaleU = false, scaleV = false;
    float multiplierU = 1, multiplierV = 1;
};

// Which of several equal parts of its work a build does.
struct TBuildPart {
    int number = 1, of = 1;  // 1 ≤ number ≤ of

    bool IsWhole() const { return of == 1; }
};

class IEffectPrograms;
class TItemDeltaTable;

// What the pointers of an input lead to.
struct TInputParts {
    std::vector<std::unique_ptr<const IMapSampler>> maps;
    std::deque<FalloffCurve> curves;
    std::deque<TCurveSampler> samplers;
    std::shared_ptr<const IEffectPrograms> programs;
    std::shared_ptr<const TItemDeltaTable> deltas;
};

struct TBuildInput {
    TBuildInput() = default;
    TBuildInput(TBuildInput&&) = default;
    TBuildInput& operator=(TBuildInput&&) = default;

    TInputParts parts;

    TimeValue time = 0;
    bool render = false;
    bool customEdit = false;    // the stored items are the result; nothing is distributed
    bool editingItems = false;  // by hand, one by one, at this moment
    std::span<const TStoredItem> storedItems;
    // What an earlier build made of the same stored items. Those that are not selected are taken
    // from there as they are; null: all are made anew.
    const TDravinItemList* unselected = nullptr;
    int threads = 1;                    // at least 1
    int64_t displayLimit = 50000;       // items to keep a display below
    int64_t renderLimit = 1000000;      // items at which a render build gives up
    uint64_t memoryLimit = UINT64_MAX;  // bytes that the items may take
    int renderSkip = 0;                 // a render uses every 2^n-th cell

    int distributionMode = kDistImage;
    int surfaceMode = kSurfaceXY;
    TGridSettings grid;
    TDensityMap density;                   // the image; empty with a texture
    const IMapSampler* distMap = nullptr;  // the texture
    int distMapChannel = 1;
    bool drawGizmo = false;
    bool randomizeStacked = false;

    TTransformSettings transforms;
    TGeometrySettings geometry;
    const IMapSampler* diversityMap = nullptr;
    std::vector<TSpecimen> specimens;  // the rows of the geometry list

    std::vector<TSurfaceInput> surfaces;
    Box3 surfaceBounds;  // union of the surfaces' boxes
    float directionPercent = 100;
    TRangeRule altitude, slope;
    TMapChannels channels;
    bool linkToSurface = true;

    std::vector<TAreaRow> areas;  // active rows of the area list
    TAreaFalloffs areaFalloffs;
    // A row stands for the surfaces, active or not; without one they are the ground by themselves
    // wherever no row includes anything.
    bool areaRowForSurfaces = false;
    TLodView lodView;  // of the level choice by size on screen
    TPointInput points;
    TUvSettings uv;

    const IEffectPrograms* effects = nullptr;  // null: none are active
    // Changes of single items; null: none. Hand-edited items have none.
    const TItemDeltaTable* deltas = nullptr;

    TCameraState camera;
    bool collisions = false;  // no two items may overlap

    // A part leaves overlaps to who joins the parts.
    TBuildPart part;
    // Takes the items as they are made, where Streams(); null: the list holds them all.
    const TItemConsumer* consumer = nullptr;
    TBuildProgress* progress = nullptr;  // null: nobody waits

    // Log lines of level 2.
    std::function<void(const std::string&)> debugLog;

    bool IsCancelled() const { return progress && progress->IsCancelled(); }
    // The parts of the build, for its progress: items are made, then overlaps removed.
    void StartProgress() const {
        if (progress) progress->Start(1 + RemovesOverlaps());
    }
    void NextStage(int64_t units) const {
        if (progress) progress->NextStage(units);
    }
    // Items that only take the coordinates of a surface stand on no slope.
    bool KnowsSlopes() const {
        return customEdit || distributionMode == kDistImage || linkToSurface;
    }
    bool RemovesOverlaps() const { return collisions && !customEdit && part.IsWhole(); }
    // Whether items leave as they are made: nothing looks at them all together afterwards.
    bool Streams() const { return consumer && !customEdit && !(collisions && part.IsWhole()); }

    // Groups of the item record that this build fills.
    uint32_t ItemGroupsNeeded() const;
    // Whether anything asks how far an item is from the borders of its areas.
    bool NeedsAreaDistances() const;
};
