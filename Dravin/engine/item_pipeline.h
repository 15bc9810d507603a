// The road of one item from its place on the ground to the item list.
//
// One pipeline belongs to one task and thread: it owns a generator, a working item and the task's
// list, and reads the build input as const. The steps of an item stand in one function each, in the
// order in which they happen, shared by grid cells and source points.
#pragma once

#include <optional>

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_status.h"
#include "Dravin/engine/effect_stage.h"
#include "Dravin/engine/item_list.h"

// A hit on the surfaces, in object space.
struct TItemHit {
    TSurfHit local;      // in the surface's own space
    size_t surface = 0;  // index into the input's surfaces
    Point3 point;
    Point3 faceNormal;
};

// Topmost hit over the surfaces that the filter lets through. None where the point misses them all.
std::optional<TItemHit> SurfaceHit(const TBuildInput& input, const Point3& point,
                                   const TSurfaceFilter& filter = {});

// Working normal between the face normal (0 %) and straight up (100 %) or down (-100 %).
Point3 WorkingNormal(const Point3& faceNormal, float directionPercent);

// Whether a measure is beyond the rule's limits.
bool IsBeyond(const TRangeRule& rule, float measure);
// Whether the rule's density falloff drops a measure; r is the item's draw.
bool FadesOut(const TRangeRule& rule, float measure, float r);
// Factor that the rule's scale curve puts on an item.
float RuleScale(const TRangeRule& rule, float measure);

// Both rules of the surfaces at a hit. False: the item is dropped, which is counted; else `scale`
// gets the factor that they put on it.
bool ObeysSurfaceRules(const TBuildInput& input, float altitude, float slope, float r,
                       Point3* scale, TRejections& rejected);
// What the camera says of an item that is sized and placed but not lifted along its normal yet.
// False: it stands outside a view that limits, which is counted; else `scale` gets the factor of
// the scale falloff where it will stand.
bool ObeysCameraView(const TCameraState& camera, const TDravinItem& item, float* scale,
                     TRejections& rejected);
// Angle between a normal and the vertical, radians.
float SlopeOf(const Point3& normal);

// The elements that an item of a specimen makes, [first, end): all of them, or the one level that
// shows at `position`, chosen once before the item moves. widthFactor: of an item with a size of
// its own, which counts for sizes on screen.
struct TElementRange {
    int first, end;
};
TElementRange ElementsOf(const TBuildInput& input, const TSpecimen& specimen,
                         const Point3& position, float random, float widthFactor = 1);

// The connected parts of a partial item's mesh that stand outside its areas are not drawn.
void HideElementsOutside(const TBuildInput& input, const TAreaTest& areas, const TGrid* grid,
                         const TSpecimenElement& source, TDravinItem& item);

class TItemPipeline {
public:
    TItemPipeline(const TBuildInput& input, const TGeometryChoice& geometry,
                  TDravinItemList& items);

    // What a candidate starts from; the item's seed and random values are set before.
    struct TCandidate {
        Point3 point;                 // distribution frame
        const TGrid* grid = nullptr;  // null: points in object space
        const TAreaGeometry* rows = nullptr;
        const TAreaTest* areas = nullptr;  // null: no areas; only together with a grid
        bool insideAreas = false;          // the point itself is known to pass them
        TItemArea area;
        uint32_t ordinal = 0;  // of the task's group, for elements after the first
        // Hit of the point itself, when a map has asked for it already.
        std::optional<TItemHit> hit;
    };

    // Neither copied nor moved: the stage of effects holds on to the counts.
    TItemPipeline(const TItemPipeline&) = delete;
    TItemPipeline& operator=(const TItemPipeline&) = delete;

    // Chooses the geometry of the working item and makes one item for each element it has.
    void ProcessCandidate(const TCandidate& candidate);

    TDravinItem& WorkingItem() { return m_item; }
    TNuRandom& Generator() { return m_generator; }
    const TTransformRanges& Ranges() const { return m_effects.Ranges(); }
    size_t NumProduced() const { return m_effects.NumProduced(); }
    // The way of finished items through the programs into the list.
    TEffectStage& Effects() { return m_effects; }
    // Working normal over a face, leaning as the settings or a program say.
    Point3 NormalOver(const Point3& faceNormal) const {
        const TItemOverrides* o = m_effects.Overrides();
        return WorkingNormal(faceNormal,
                             o && o->hasDirection ? o->direction : m_input.directionPercent);
    }
    // What the task counts on its way.
    TTaskCounts& Counts() { return m_counts; }
    TRejections& Rejected() { return m_counts.rejected; }

    // Puts a hit's face, weights, normal and map coordinates into the working item.
    void TakeHit(const TItemHit& hit);
    void ClearHit();
    // The colour by which a map chooses the geometry; `at`: where the working item will stand
    // before it is moved, with the surface's coordinates.
    Color DiversityColor(const MapPoint& at) const;

private:
    void ChooseGeometry(const TCandidate& candidate);
    void ProcessElements(const TCandidate& candidate, bool drawAgain);
    bool ProcessElement(const TCandidate& candidate, const TSpecimen& specimen, int element);
    bool PassesAreas(const TCandidate& candidate, bool known);
    Point3 ToObject(const TCandidate& candidate, const Point3& point) const;
    bool ProjectOnSurfaces(const TCandidate& candidate, bool stands);
    void ApplyAreaScale(const TCandidate& candidate);

    const TBuildInput& m_input;
    const TGeometryChoice& m_geometry;
    TNuRandom m_generator{123456};
    TDravinItem m_item;
    TFinishFactors m_factors;
    bool m_needsDistances;
    TAreaDistances m_distances;  // of the working item
    std::vector<TSegmentCursor> m_cursors;
    TTaskCounts m_counts;
    TEffectStage m_effects;  // counts into m_counts
};
