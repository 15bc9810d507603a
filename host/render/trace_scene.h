// The geometry of a render behind ray queries, on Embree 3.
//
// Two levels: every prototype mesh is an Embree scene of its own; all instances of a source
// together are one user geometry of the top scene, whose callbacks move the ray into the
// prototype's space. Embree 3 has no arrays of instances, and a geometry for every item costs five
// times the memory. An instance takes 64 bytes here plus its share of the hierarchy. Meshes of
// nodes stand in the top scene as plain triangles; a height field is a user geometry of one piece.
//
// Masks are tested inside the traversal: a hit on a face of opacity a counts with probability a,
// decided by a hash of the ray's seed and the face, so that averages over samples are exact at any
// distance. The hierarchies are built by one thread: Embree's parallel builder may order faces
// differently from run to run, and equal distances would then be decided differently.
// Queries are const and may run on any number of threads.
#pragma once

#include <memory>
#include <vector>

#include "host/render/hit_context.h"
#include "host/render/render_scene.h"

struct TraceRay {
    Point3 origin, direction;  // direction of unit length
    float near = 0, far = 1e30f;
    float width = 0, spread = 0;  // the ray is width + spread * distance wide
    uint32_t seed = 0;            // of the mask decisions
};

struct TraceHit : HitPlace {
    float distance = 0;
    Point3 faceNormal;  // of the plane of the face, in world space, unit length
};

struct TraceStatistics {
    size_t numInstances = 0, numPrototypeFaces = 0, numNodeFaces = 0;
    size_t instanceBytes = 0;
};

class TraceScene {
public:
    // Reads the whole scene, whose meshes, materials and maps are asked again at hits. Instances
    // with matrices that are singular or not finite are left out.
    explicit TraceScene(const RenderScene& scene);
    ~TraceScene();

    // The nearest hit within [near, far].
    bool Intersect(const TraceRay& ray, TraceHit* hit) const;
    // Whether anything lies within [near, far].
    bool IsOccluded(const TraceRay& ray) const;

    const TraceStatistics& Statistics() const;
    // Maps that could not be prepared, and what was left out.
    const std::vector<std::string>& Problems() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
