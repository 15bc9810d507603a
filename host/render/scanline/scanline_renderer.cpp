#include "host/render/scanline/scanline_renderer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <numbers>

#include "host/base/memory_size.h"
#include "host/base/thread_pool.h"
#include "host/render/scanline/scan_scene_draw.h"
#include "host/render/scanline/scan_shading.h"
#include "host/render/scanline/shadow_scene.h"

namespace {

constexpr int kTileSamples = 128;      // along a side of a tile
constexpr int kMaxTile = 64;           // pixels along a side of a tile
constexpr int kTilesOfStep = 16;       // between two reports of progress
constexpr float kShadowShare = 0.25f;  // of all progress
constexpr float kInfinity = std::numeric_limits<float>::infinity();

using Clock = std::chrono::steady_clock;
double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// The camera's frame, and how wide the picture is at distance 1.
struct Lens {
    Matrix3 frame;
    float halfWidth;

    explicit Lens(const RenderCamera& camera) : frame(camera.transform) {
        for (int i = 0; i < 3; ++i) frame.row[i] = Normalize(frame.row[i]);
        halfWidth = std::tan(camera.fovDegrees * std::numbers::pi_v<float> / 360);
    }
    // grid: samples along a side of a pixel.
    ScanView View(int width, int height, int grid) const {
        ScanView view;
        view.worldToView = Inverse(frame);
        view.width = width * grid, view.height = height * grid;
        view.scale = view.width / (2 * double(halfWidth));
        view.centerX = view.width / 2.0, view.centerY = view.height / 2.0;
        return view;
    }
    // Towards a place of the picture, in pixels; its depth is 1.
    Point3 Sight(const ScanView& view, double x, double y) const {
        auto sx = float((x - view.centerX) / view.scale),
             sy = float((view.centerY - y) / view.scale);
        return frame.row[0] * sx + frame.row[1] * sy - frame.row[2];
    }
};

struct TileSample {
    float depth, u, v;
    uint32_t piece, face;

    bool IsOfSameFace(const TileSample& b) const { return piece == b.piece && face == b.face; }
};
constexpr uint32_t kSkyPiece = 0xFFFFFFFFu;

// What each sample of a window sees.
class TileBuffer {
public:
    void Draw(const ScanScene& scene, const ScanView& view, const TileBins& bins, size_t tile,
              float pixelWidth);
    const TileSample& At(int x, int y) const { return m_samples[size_t(y) * m_width + size_t(x)]; }

private:
    size_t m_width = 0;
    std::vector<TileSample> m_samples;
};

void TileBuffer::Draw(const ScanScene& scene, const ScanView& view, const TileBins& bins,
                      size_t tile, float pixelWidth) {
    RasterWindow window = bins.Tile(tile);
    m_width = size_t(window.x1 - window.x0);
    m_samples.assign(m_width * size_t(window.y1 - window.y0), {kInfinity, 0, 0, kSkyPiece, 0});
    for (uint32_t piece : bins.Pieces(tile)) {
        auto emit = [&](int x, int y, float depth, uint32_t face, float u, float v) {
            TileSample& sample = m_samples[size_t(y) * m_width + size_t(x)];
            if (depth < sample.depth) sample = {depth, u, v, piece, face};
        };
        auto emitMasked = [&](int x, int y, float depth, uint32_t face, float u, float v) {
            TileSample& sample = m_samples[size_t(y) * m_width + size_t(x)];
            if (!(depth < sample.depth)) return;
            HitPlace place = scene.PlaceOf(piece, face, u, v);
            HitContext context(place, place.Material(), pixelWidth * depth, RayKind::kCamera);
            auto number = uint32_t(y + window.y0) * uint32_t(view.width) + uint32_t(x + window.x0);
            if (StopsAtOpacity(context.Opacity(), piece, face, number))
                sample = {depth, u, v, piece, face};
        };
        scene.DrawPiece(piece, view, window, emit, emitMasked);
    }
}

class PictureDrawer {
public:
    PictureDrawer(const ScanScene& scene, const ScanShading& shading, const Lens& lens,
                  const RenderSettings& settings, int grid)
        : m_scene(scene),
          m_shading(shading),
          m_lens(lens),
          m_settings(settings),
          m_grid(grid),
          m_view(lens.View(settings.width, settings.height, grid)),
          m_bins(scene, m_view, std::clamp(kTileSamples / grid, 1, kMaxTile) * grid,
                 settings.threads),
          m_pixels(size_t(settings.width) * size_t(settings.height)) {}

    size_t NumTiles() const { return m_bins.NumTiles(); }
    void DrawTiles(size_t first, size_t last) {
        ParallelFor(last - first, m_settings.threads, [&](size_t i) { DrawTile(first + i); });
    }
    std::vector<Color> TakePixels() { return std::move(m_pixels); }

private:
    float PixelWidth() const { return 2 * m_lens.halfWidth / float(m_settings.width); }
    void DrawTile(size_t tile);
    Color PixelColor(int x, int y, std::vector<TileSample>& samples) const;

    const ScanScene& m_scene;
    const ScanShading& m_shading;
    const Lens& m_lens;
    const RenderSettings& m_settings;
    int m_grid;
    ScanView m_view;
    TileBins m_bins;
    std::vector<Color> m_pixels;
};

void PictureDrawer::DrawTile(size_t tile) {
    TileBuffer buffer;
    buffer.Draw(m_scene, m_view, m_bins, tile, PixelWidth());
    RasterWindow window = m_bins.Tile(tile);
    std::vector<TileSample> samples;
    for (int y = window.y0; y < window.y1; y += m_grid)
        for (int x = window.x0; x < window.x1; x += m_grid) {
            samples.clear();
            for (int j = 0; j < m_grid; ++j)
                for (int i = 0; i < m_grid; ++i)
                    samples.push_back(buffer.At(x - window.x0 + i, y - window.y0 + j));
            size_t pixel = size_t(y / m_grid) * size_t(m_settings.width) + size_t(x / m_grid);
            m_pixels[pixel] = PixelColor(x, y, samples);
        }
}

// Each face is shaded once, in the middle of its samples; x and y: of the first sample.
Color PictureDrawer::PixelColor(int x, int y, std::vector<TileSample>& samples) const {
    std::sort(samples.begin(), samples.end(), [](const TileSample& a, const TileSample& b) {
        return a.piece != b.piece ? a.piece < b.piece : a.face < b.face;
    });
    Color sum;
    for (size_t i = 0; i < samples.size();) {
        const TileSample& first = samples[i];
        float u = 0, v = 0, count = 0;
        for (; i < samples.size() && samples[i].IsOfSameFace(first); ++i)
            u += samples[i].u, v += samples[i].v, ++count;
        Color color;
        if (first.piece == kSkyPiece) {
            double middle = m_grid / 2.0;
            color = m_shading.Background(Normalize(m_lens.Sight(m_view, x + middle, y + middle)));
        } else {
            HitPlace place = m_scene.PlaceOf(first.piece, first.face, u / count, v / count);
            color = m_shading.At(place, PixelWidth());
        }
        sum = sum + color * count;
    }
    return sum * (1 / float(samples.size()));
}

int GridOf(int samples) {
    int grid = 1;
    while (grid * grid < samples) ++grid;
    return grid;
}

}  // namespace

ScanlineRenderer::ScanlineRenderer(const RenderScene& scene)
    : m_scene(scene), m_start(Clock::now()), m_geometry(scene) {
    m_buildSeconds = SecondsSince(m_start);
}

DepthMap ScanlineRenderer::Depth(int width, int height, int threads) const {
    Lens lens(m_scene.camera);
    ScanView view = lens.View(width, height, 1);
    TileBins bins(m_geometry, view, kMaxTile, threads);
    DepthMap map{width, height, std::vector<float>(size_t(width) * size_t(height), kInfinity)};
    float pixelWidth = 2 * lens.halfWidth / float(width);
    ParallelFor(bins.NumTiles(), threads, [&](size_t tile) {
        TileBuffer buffer;
        buffer.Draw(m_geometry, view, bins, tile, pixelWidth);
        RasterWindow window = bins.Tile(tile);
        for (int y = window.y0; y < window.y1; ++y)
            for (int x = window.x0; x < window.x1; ++x)
                map.depths[size_t(y) * size_t(width) + size_t(x)] =
                    buffer.At(x - window.x0, y - window.y0).depth;
    });
    return map;
}

// Shadow maps are fitted to what a small picture shows.
std::vector<Point3> ScanlineRenderer::VisiblePlaces(const RenderSettings& settings) const {
    constexpr int kSide = 256;
    int longest = std::max(settings.width, settings.height);
    auto reduced = [&](int side) {
        return longest <= kSide ? side : std::max(1, int(int64_t(side) * kSide / longest));
    };
    Lens lens(m_scene.camera);
    DepthMap map = Depth(reduced(settings.width), reduced(settings.height), settings.threads);
    ScanView view = lens.View(map.width, map.height, 1);
    std::vector<Point3> places;
    for (int y = 0; y < map.height; ++y)
        for (int x = 0; x < map.width; ++x)
            if (float depth = map.depths[size_t(y) * size_t(map.width) + size_t(x)];
                depth < kInfinity)
                places.push_back(lens.frame.GetTrans() +
                                 lens.Sight(view, x + 0.5, y + 0.5) * depth);
    return places;
}

RenderOutcome ScanlineRenderer::Render(const RenderSettings& settings,
                                       const RenderProgress& progress) const {
    RenderOutcome outcome = CheckRender(m_scene, settings);
    if (outcome.status != RenderStatus::kDone) return outcome;
    Clock::time_point start = Clock::now();
    auto cancelled = [&] { return outcome.status = RenderStatus::kCancelled, outcome; };
    if (progress && !progress(0)) return cancelled();
    SkyModel sky(m_scene.sky, m_scene.sun);
    ScanShadowScene shadows(
        m_geometry, settings.threads, settings.noLimit ? TotalMemory : FreeMemory,
        [&](float share) { return !progress || progress(share * kShadowShare); });
    ScanLights lights(m_scene, sky);
    lights.Update(shadows, VisiblePlaces(settings));
    if (shadows.IsStopped()) return cancelled();
    outcome.problems = m_geometry.Problems();
    outcome.problems.insert(outcome.problems.end(), shadows.Problems().begin(),
                            shadows.Problems().end());
    outcome.statistics = {m_geometry.NumInstances(), m_geometry.NumFaces(),
                          m_geometry.InstanceBytes(), m_buildSeconds + SecondsSince(start), 0};

    start = Clock::now();
    ScanShading shading(m_scene, sky, lights);
    Lens lens(m_scene.camera);
    PictureDrawer drawer(m_geometry, shading, lens, settings, GridOf(settings.samples));
    for (size_t first = 0; first < drawer.NumTiles(); first += kTilesOfStep) {
        float share = float(first) / float(drawer.NumTiles());
        if (progress && !progress(kShadowShare + (1 - kShadowShare) * share)) return cancelled();
        drawer.DrawTiles(first, std::min(first + kTilesOfStep, drawer.NumTiles()));
    }
    if (progress) progress(1);
    outcome.picture = {settings.width, settings.height, drawer.TakePixels(),
                       PictureExposure(sky, settings)};
    outcome.statistics.traceSeconds = SecondsSince(start);
    return outcome;
}
