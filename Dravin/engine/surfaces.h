// Surfaces under items: what is hit there, and what the rules say of it.
#pragma once

#include <optional>

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_status.h"

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
// Whether the rule's range is wide enough for curves over it, and where a measure stands on them,
// 0..1.
bool HasRange(const TRangeRule& rule);
float PlaceInRange(const TRangeRule& rule, float measure);
// Whether the rule's density falloff drops a measure; r is the item's draw.
bool FadesOut(const TRangeRule& rule, float measure, float r);
// Factor that the rule's scale curve puts on an item.
float RuleScale(const TRangeRule& rule, float measure);
// Angle between a normal and the vertical, radians.
float SlopeOf(const Point3& normal);
