#include "host/render/ray_tracer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>

#include "host/base/thread_pool.h"
#include "host/render/path.h"
#include "host/render/sampler.h"
#include "host/render/sky.h"
#include "host/render/trace_scene.h"

namespace {

constexpr int kTile = 16;  // pixels along a side
constexpr int kSamplesPerPass = 4;

// Rays through the picture's plane.
class Lens {
public:
    Lens(const RenderCamera& camera, const RenderSettings& s)
        : m_settings(s), m_origin(camera.transform.GetTrans()) {
        for (int i = 0; i < 3; ++i) m_axis[i] = Normalize(camera.transform.GetRow(i));
        m_halfWidth = std::tan(camera.fovDegrees * std::numbers::pi_v<float> / 360);
        m_spread = 2 * m_halfWidth / float(s.width);
    }
    TraceRay Ray(int x, int y, Point2 sample) const {
        // A tent filter two pixels wide, by choosing where in the pixel the ray goes.
        float px = float(x) + 0.5f + Tent(sample.x), py = float(y) + 0.5f + Tent(sample.y);
        float sx = (2 * px / float(m_settings.width) - 1) * m_halfWidth;
        float sy = (1 - 2 * py / float(m_settings.height)) * m_halfWidth *
                   float(m_settings.height) / float(m_settings.width);
        TraceRay ray;
        ray.origin = m_origin;
        ray.direction = Normalize(m_axis[0] * sx + m_axis[1] * sy - m_axis[2]);
        ray.spread = m_spread;
        return ray;
    }

private:
    static float Tent(float u) {
        return u < 0.5f ? std::sqrt(2 * u) - 1 : 1 - std::sqrt(2 * (1 - u));
    }
    RenderSettings m_settings;
    Point3 m_origin, m_axis[3];
    float m_halfWidth, m_spread;
};

class Film {
public:
    Film(const RenderSettings& s) : m_settings(s), m_sum(size_t(s.width) * size_t(s.height)) {}

    // Adds samples [first, last) of all pixels, tile by tile.
    void AddPass(const PathTracer& tracer, const Lens& lens, int first, int last) {
        int across = (m_settings.width + kTile - 1) / kTile;
        int down = (m_settings.height + kTile - 1) / kTile;
        ParallelFor(size_t(across) * size_t(down), m_settings.threads, [&](size_t tile) {
            int x0 = int(tile % size_t(across)) * kTile;
            int y0 = int(tile / size_t(across)) * kTile;
            for (int y = y0; y < std::min(y0 + kTile, m_settings.height); ++y)
                for (int x = x0; x < std::min(x0 + kTile, m_settings.width); ++x)
                    AddPixel(tracer, lens, x, y, first, last);
        });
    }
    Picture Develop(float exposure) const {
        Picture picture{m_settings.width, m_settings.height, m_sum, exposure};
        for (Color& c : picture.pixels) c = c * (1 / float(m_settings.samples));
        return picture;
    }

private:
    void AddPixel(const PathTracer& tracer, const Lens& lens, int x, int y, int first, int last) {
        Color& sum = m_sum[size_t(y) * size_t(m_settings.width) + size_t(x)];
        for (int i = first; i < last; ++i) {
            SampleSequence sequence{uint32_t(x), uint32_t(y), uint32_t(i)};
            TraceRay ray = lens.Ray(x, y, sequence.Next2D());
            sum = sum + tracer.Radiance(ray, sequence);
        }
    }
    RenderSettings m_settings;
    std::vector<Color> m_sum;
};

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

RenderOutcome RenderPicture(const RenderScene& scene, const RenderSettings& settings,
                            const RenderProgress& progress) {
    RenderOutcome outcome = CheckRender(scene, settings);
    if (outcome.status != RenderStatus::kDone) return outcome;
    auto start = std::chrono::steady_clock::now();
    TraceScene geometry(scene);
    outcome.problems = geometry.Problems();
    SkyModel sky(scene.sky, scene.sun);
    const TraceStatistics& counts = geometry.Statistics();
    outcome.statistics = {counts.numInstances, counts.numPrototypeFaces + counts.numNodeFaces,
                          counts.instanceBytes, SecondsSince(start), 0};

    start = std::chrono::steady_clock::now();
    PathTracer tracer(geometry, sky, scene, settings.maxBounces);
    Lens lens(scene.camera, settings);
    Film film(settings);
    for (int first = 0; first < settings.samples; first += kSamplesPerPass) {
        if (progress && !progress(float(first) / float(settings.samples))) {
            outcome.status = RenderStatus::kCancelled;
            return outcome;
        }
        film.AddPass(tracer, lens, first, std::min(first + kSamplesPerPass, settings.samples));
    }
    if (progress) progress(1);
    outcome.picture = film.Develop(PictureExposure(sky, settings));
    outcome.statistics.traceSeconds = SecondsSince(start);
    return outcome;
}
