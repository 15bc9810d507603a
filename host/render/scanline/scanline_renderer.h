// Scanline renderer: depth-buffered triangles with materials, shadow maps and the sky.
//
// Fast pictures for previews and thumbnails, and depth maps. It shows what the ray tracer shows,
// in the same light and tone, without what needs rays: light bounces nowhere, mirrors show the sky
// only, and shadows come out of maps. Lights beside the sun shine. The picture is drawn in tiles;
// each tile is drawn by one thread from the pieces of the scene that touch it, in their order, so
// that every number of threads gives the same bits. `samples` of the settings become a grid in each
// pixel, the least square number that is not below; faces are shaded once a pixel that they touch.
#pragma once

#include <chrono>
#include <vector>

#include "host/render/render_outcome.h"
#include "host/render/scanline/scan_scene.h"

// Depths along the camera's axis, rows top down; infinite where nothing is.
struct DepthMap {
    int width = 0, height = 0;
    std::vector<float> depths;
};

class ScanlineRenderer {
public:
    // Reads the geometry; the scene outlives it.
    explicit ScanlineRenderer(const RenderScene& scene);

    // progress: as of the ray tracer.
    RenderOutcome Render(const RenderSettings& settings, const RenderProgress& progress = {}) const;
    // One sample in the middle of each pixel. width and height above 0.
    DepthMap Depth(int width, int height, int threads) const;

private:
    std::vector<Point3> VisiblePlaces(const RenderSettings& settings) const;

    const RenderScene& m_scene;
    std::chrono::steady_clock::time_point m_start;
    ScanScene m_geometry;
    double m_buildSeconds = 0;
};
