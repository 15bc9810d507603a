// What the parts of one picture share.
#pragma once

#include "apps/studio/viewport/gl_drawing.h"

struct GlDrawing::Job {
    const ViewRequest& request;
    const TViewportSettings& settings;
    const TViewPlan& plan;
    const IsStale& isStale;
    bool isWire = false, isTextured = false;
    float projection[16];
};

// Items that show the same level of the same source: a range of the stream of item numbers.
struct GlDrawing::Group {
    uint32_t prototype, level;
    size_t first, count;
};
