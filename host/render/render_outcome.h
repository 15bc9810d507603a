// What a render ends with, and what all renderers check before they begin.
#pragma once

#include <string>
#include <vector>

#include "host/render/picture.h"
#include "host/render/render_scene.h"
#include "host/render/sky.h"

enum class RenderStatus { kDone, kCancelled, kFailed, kRefused };

struct RenderStatistics {
    size_t numInstances = 0;
    size_t numFaces = 0;  // held in memory: prototypes once, and nodes
    size_t instanceBytes = 0;
    double buildSeconds = 0, traceSeconds = 0;  // before and during the drawing
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

// kDone with nothing drawn yet, or why the picture cannot be: kFailed for settings out of range,
// kRefused by PictureRefusal.
RenderOutcome CheckRender(const RenderScene& scene, const RenderSettings& settings);

// The factor that brings a white card in the light of sun and sky to about 1, and the settings'
// stops on top.
float PictureExposure(const SkyModel& sky, const RenderSettings& settings);
