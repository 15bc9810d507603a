#include "host/render/picture_tracer.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/base/thread_pool.h"
#include "host/render/render_outcome.h"

namespace {

constexpr int kTile = 16;  // pixels along a side

float Tent(float u) { return u < 0.5f ? std::sqrt(2 * u) - 1 : 1 - std::sqrt(2 * (1 - u)); }

}  // namespace

PictureTracer::PictureTracer(const RenderScene& scene, int maxBounces)
    : m_geometry(scene),
      m_sky(scene.sky, scene.sun),
      m_tracer(m_geometry, m_sky, scene, maxBounces) {}

void PictureTracer::Begin(const RenderCamera& camera, const RenderSettings& settings) {
    m_settings = settings;
    m_origin = camera.transform.GetTrans();
    for (int i = 0; i < 3; ++i) m_axis[i] = Normalize(camera.transform.GetRow(i));
    m_isParallel = camera.parallelWidth > 0;
    m_halfWidth = m_isParallel ? camera.parallelWidth / 2
                               : std::tan(camera.fovDegrees * std::numbers::pi_v<float> / 360);
    float pixel = 2 * m_halfWidth / float(settings.width);
    m_spread = m_isParallel ? 0 : pixel;
    m_width = m_isParallel ? pixel : 0;
    m_numSamples = 0;
    m_sum.assign(size_t(settings.width) * size_t(settings.height), Color{});
}

bool PictureTracer::AddSamples(int count, const std::function<bool()>& isStale) {
    int across = (m_settings.width + kTile - 1) / kTile;
    int down = (m_settings.height + kTile - 1) / kTile;
    int first = m_numSamples, last = first + count;
    std::atomic<bool> isGivenUp{false};
    ParallelFor(size_t(across) * size_t(down), m_settings.threads, [&](size_t tile) {
        if (isGivenUp.load(std::memory_order_relaxed)) return;
        if (isStale && isStale()) {
            isGivenUp = true;
            return;
        }
        int x0 = int(tile % size_t(across)) * kTile;
        int y0 = int(tile / size_t(across)) * kTile;
        for (int y = y0; y < std::min(y0 + kTile, m_settings.height); ++y)
            for (int x = x0; x < std::min(x0 + kTile, m_settings.width); ++x)
                AddPixel(x, y, first, last);
    });
    if (isGivenUp) return false;
    m_numSamples = last;
    return true;
}

Picture PictureTracer::Develop() const {
    Picture picture{m_settings.width, m_settings.height, m_sum, PictureExposure(m_sky, m_settings)};
    for (Color& c : picture.pixels) c = c * (1 / float(m_numSamples));
    return picture;
}

TraceRay PictureTracer::Ray(int x, int y, Point2 sample) const {
    // A tent filter two pixels wide, by choosing where in the pixel the ray goes.
    float px = float(x) + 0.5f + Tent(sample.x), py = float(y) + 0.5f + Tent(sample.y);
    float sx = (2 * px / float(m_settings.width) - 1) * m_halfWidth;
    float sy = (1 - 2 * py / float(m_settings.height)) * m_halfWidth * float(m_settings.height) /
               float(m_settings.width);
    TraceRay ray;
    ray.origin = m_origin;
    if (m_isParallel) {
        ray.origin = m_origin + m_axis[0] * sx + m_axis[1] * sy;
        ray.direction = m_axis[2] * -1.0f;
        ray.width = m_width;
    } else {
        ray.direction = Normalize(m_axis[0] * sx + m_axis[1] * sy - m_axis[2]);
    }
    ray.spread = m_spread;
    return ray;
}

void PictureTracer::AddPixel(int x, int y, int first, int last) {
    Color& sum = m_sum[size_t(y) * size_t(m_settings.width) + size_t(x)];
    for (int i = first; i < last; ++i) {
        SampleSequence sequence{uint32_t(x), uint32_t(y), uint32_t(i)};
        TraceRay ray = Ray(x, y, sequence.Next2D());
        sum = sum + m_tracer.Radiance(ray, sequence);
    }
}
