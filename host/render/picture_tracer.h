// A picture that grows sample by sample: what the ray tracer's pictures and viewports are made of.
//
// Geometry is taken in once; pictures from any camera follow, one at a time. Sample i of a pixel is
// the same whenever it is added, so that the same scene gives the same bits on any number of
// threads, in passes of any size.
#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include "host/render/path.h"
#include "host/render/picture.h"

class PictureTracer {
public:
    // Borrows what the scene does.
    PictureTracer(const RenderScene& scene, int maxBounces);

    const TraceScene& Geometry() const { return m_geometry; }
    // A picture without samples: size, threads and exposure of the settings count.
    void Begin(const RenderCamera& camera, const RenderSettings& settings);
    // Adds samples to every pixel, tile by tile. isStale: asked before each tile, on any thread;
    // true gives the picture up, and false is returned: Begin must follow.
    bool AddSamples(int count, const std::function<bool()>& isStale = {});
    // Of each pixel.
    int NumSamples() const { return m_numSamples; }
    // The mean of all samples; there must be one.
    Picture Develop() const;

private:
    TraceRay Ray(int x, int y, Point2 sample) const;
    void AddPixel(int x, int y, int first, int last);

    TraceScene m_geometry;
    SkyModel m_sky;
    PathTracer m_tracer;
    RenderSettings m_settings;
    Point3 m_origin, m_axis[3];
    float m_halfWidth = 1, m_spread = 0, m_width = 0;
    bool m_isParallel = false;
    int m_numSamples = 0;
    std::vector<Color> m_sum;
};
