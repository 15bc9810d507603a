// Path tracer for scattered scenes: sun, sky, cut-out foliage, haze.
//
// Every sample of a pixel follows one path: at each surface a ray towards a point of the sun's
// disc, then a bounce into the sky's light, with a limited number of bounces; light that passes
// through leaves (translucency) and mirrors (reflectivity) included. Samples are numbered, and
// their numbers decide everything random about them, so that the same scene gives the same bits on
// any number of threads. Two-level instancing keeps a million trees in the memory of one
// (trace_scene.h).
#pragma once

#include <string>
#include <vector>

#include "host/render/picture.h"
#include "host/render/render_scene.h"

enum class RenderStatus { kDone, kCancelled, kFailed, kRefused };

struct RenderStatistics {
    size_t numInstances = 0;
    size_t numFaces = 0;  // held in memory: prototypes once, and nodes
    size_t instanceBytes = 0;
    double buildSeconds = 0, traceSeconds = 0;
};

struct RenderOutcome {
    RenderStatus status = RenderStatus::kDone;
    std::string error;  // of kFailed ("the number of bounces is 20, expected 0 to 16"), kRefused
    Picture picture;    // of kDone
    RenderStatistics statistics;
    std::vector<std::string> problems;  // maps that could not be prepared: their images are missing
};

// Why a picture of this size or with so many samples is not rendered, with what helps; empty where
// it may be. RenderPicture asks itself; callers may, before they make a scene for it.
std::string PictureRefusal(const RenderSettings& settings);

RenderOutcome RenderPicture(const RenderScene& scene, const RenderSettings& settings,
                            const RenderProgress& progress = {});
