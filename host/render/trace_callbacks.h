// How Embree asks for instances, masks and height fields on a ray's way; for the tracer's own
// sources.
#pragma once

#include <embree3/rtcore.h>

#include <vector>

#include "host/render/placed_source.h"

// What the callbacks know about the ray on its way.
struct TraceContext : RTCIntersectContext {
    float width, spread;
    uint32_t seed;
    RayKind kind;                   // of the question: what is seen, or what is in the way
    uint32_t instance;              // place of the one whose prototype the ray is in
    const PackedInstance* current;  // that instance; null outside
    const IInstanceSource* source;  // of it
};

// A source with a scene of each prototype.
struct SourceGeometry : PlacedSource {
    std::vector<RTCScene> scenes;
};

// The ray is in no prototype.
void LeavePrototype(TraceContext* context);

// Of the user geometry of a source, whose user data is its SourceGeometry.
void InstanceBounds(const RTCBoundsFunctionArguments* args);
void IntersectInstance(const RTCIntersectFunctionNArguments* args);
void OccludeInstance(const RTCOccludedFunctionNArguments* args);
// Of faces under a mask, whose user data is their RenderMesh: lets a ray through where it says so.
void MaskFilter(const RTCFilterFunctionNArguments* args);
// Of a height field, whose user data is its RenderHeights.
void HeightBounds(const RTCBoundsFunctionArguments* args);
void IntersectHeights(const RTCIntersectFunctionNArguments* args);
void OccludeHeights(const RTCOccludedFunctionNArguments* args);
