// Path tracer for scattered scenes: sun, sky, cut-out foliage, haze.
//
// Every sample of a pixel follows one path: at each surface a ray towards a point of the sun's
// disc, then a bounce into the sky's light, with a limited number of bounces; light that passes
// through leaves (translucency) and mirrors (reflectivity) included. Samples are numbered, and
// their numbers decide everything random about them, so that the same scene gives the same bits on
// any number of threads. Two-level instancing keeps a million trees in the memory of one
// (trace_scene.h).
#pragma once

#include "host/render/render_outcome.h"

RenderOutcome RenderPicture(const RenderScene& scene, const RenderSettings& settings,
                            const RenderProgress& progress = {});
