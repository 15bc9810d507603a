// One light path, from the camera through the scene to sun and sky.
//
// Unidirectional path tracing with next-event estimation of the sun (Kajiya 1986; Veach 1997).
// Surfaces are matt, with a share of light that passes through (translucency), and may carry a
// mirror in the manner of water (Schlick 1994) or a glossy layer of microfacets (glossy.h). Bounced
// light is clamped well above white, which removes the rare sample that would stand out as a bright
// dot. Const and thread safe.
#pragma once

#include "host/render/render_scene.h"
#include "host/render/sampler.h"
#include "host/render/sky.h"
#include "host/render/trace_scene.h"

struct Surface;

class PathTracer {
public:
    PathTracer(const TraceScene& geometry, const SkyModel& sky, const RenderScene& scene,
               int maxBounces);

    // Light that reaches the ray's origin.
    Color Radiance(TraceRay ray, SampleSequence& sequence) const;

private:
    struct Bounce;
    struct Sunlight;

    Sunlight SunLight(const Surface& surface, float width, SampleSequence& sequence) const;
    // Whether the path goes on by the glossy layer or by the matt ground, and what is left of its
    // light before the layer's own share; then where to.
    bool ChooseGloss(const Surface& surface, SampleSequence& sequence, Color* throughput) const;
    Bounce ScatterGloss(const Surface& surface, SampleSequence& sequence, Color* throughput) const;
    Bounce ScatterMatt(const Surface& surface, SampleSequence& sequence) const;

    const TraceScene& m_geometry;
    const SkyModel& m_sky;
    Haze m_haze;
    int m_maxBounces;
    float m_clamp;
};
