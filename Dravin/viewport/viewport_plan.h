// What of a scene is drawn, cut into pieces for threads: culled to the view, thinned to a budget.
#pragma once

#include <vector>

#include "Dravin/viewport/splat_buffer.h"
#include "Dravin/viewport/viewport_drawing.h"

// How the items of a cell are thinned.
struct TViewThinning {
    float dots = 1;   // share of the dots of an item beyond its first
    float items = 1;  // share of the items of a cell
};

struct TViewPiece {
    enum Kind { kDots, kBoxes, kItems, kFaces, kEdges, kTerrain, kMarks };
    const TViewNode* node = nullptr;
    Kind kind = kMarks;
    // Items, faces or rows of a terrain; nothing for the others.
    size_t first = 0, last = 0;
};

struct TViewPlan {
    std::vector<TViewPiece> pieces;
    TViewThinning thinning;
    float quality = 1;       // of instances (view_instances.h)
    TViewportCounts counts;  // of items; elements: none yet
};

// window: only what may lie in these pixels.
TViewPlan PlanViewport(const TViewportScene& scene, const TViewportCamera& camera,
                       const TViewportSettings& settings, const TPixelRect& window);

// Cells between the samples of a terrain that are drawn as one.
size_t TerrainStep(const HeightField& heights);
