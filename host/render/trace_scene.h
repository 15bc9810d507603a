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

#include "host/render/render_heights.h"
#include "host/render/render_mesh.h"
#include "host/render/render_scene.h"

struct TraceRay {
    Point3 origin, direction;  // direction of unit length
    float near = 0, far = 1e30f;
    float width = 0, spread = 0;  // the ray is width + spread * distance wide
    uint32_t seed = 0;            // of the mask decisions
};

// One placed prototype, in one cache line.
struct alignas(64) PackedInstance {
    float toPrototype[9];  // rows of the inverse 3x3 part
    Point3 position;
    uint32_t prototype;
    uint8_t tint[4];  // display colour and blend, 0..255
};

struct TraceHit {
    float distance = 0;
    const RenderMesh* mesh = nullptr;        // null on a height field
    const RenderHeights* heights = nullptr;  // null on a mesh
    uint32_t face = 0;                       // of a height field: a packed triangle
    float u = 0, v = 0;
    const PackedInstance* instance = nullptr;  // null on a node's mesh

    // In world space, unit length: of the plane of the face, and interpolated.
    Point3 faceNormal;
    Point3 Normal() const;
    const RenderMaterial& Material() const;
    Point2 Uv() const;
    // Of a node's mesh and a height field in the world, of an instance's in the prototype's space.
    Point3 Position() const;
    // Lengths of mapping space per length of that space.
    float UvDensity() const;
    // Factor from world lengths to lengths in that space.
    float MeshScale() const;
};

struct TraceStatistics {
    size_t numInstances = 0, numPrototypeFaces = 0, numNodeFaces = 0;
    size_t instanceBytes = 0;
};

class TraceScene {
public:
    // Reads the whole scene; only its materials' maps are needed later. Instances with matrices
    // that are singular or not finite are left out.
    explicit TraceScene(const RenderScene& scene);
    ~TraceScene();

    // The nearest hit within [near, far].
    bool Intersect(const TraceRay& ray, TraceHit* hit) const;
    // Whether anything lies within [near, far].
    bool IsOccluded(const TraceRay& ray) const;

    const TraceStatistics& Statistics() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
