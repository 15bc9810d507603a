#include "Dravin/viewport/viewport_drawing.h"

#include <cmath>

#include "Dravin/viewport/splat_buffer.h"
#include "Dravin/viewport/viewport_drawer.h"
#include "host/base/thread_pool.h"

namespace {

struct ColorSink {
    TSplatBuffer& buffer;
    TPixelRect Rect() const { return buffer.Rect(); }
    void Put(int x, int y, float nearness, const TViewLook& look) {
        buffer.Put(x, y, nearness, look.color);
    }
};

struct IdSink {
    TSplatBuffer& buffer;
    TPixelRect Rect() const { return buffer.Rect(); }
    void Put(int x, int y, float nearness, const TViewLook& look) {
        buffer.Put(x, y, nearness, look.id);
    }
};

struct LineSink {
    std::vector<TViewLine>& lines;
    TPixelRect Rect() const { return {}; }
};

// Keeps the lines, and nothing else.
template <class Sink>
struct LineCollector {
    LineCollector(const TViewportCamera&, Sink& sink) : sink(sink) {}
    bool Dot(const Point3&, int, const TViewLook&) { return false; }
    void Line(const Point3& a, const Point3& b, const TViewLook& look) {
        sink.lines.push_back({a, b, look.color});
    }
    void Triangle(const Point3&, const Point3&, const Point3&, const TViewLook&) {}
    Sink& sink;
};

template <class Sink>
TViewportCounts DrawPieces(const TViewPlan& plan, const TViewJob& job, TSplatBuffer& buffer) {
    std::atomic<uint64_t> elements{0};
    ParallelFor(plan.pieces.size(), job.settings.threads, [&](size_t i) {
        Sink sink{buffer};
        TViewDrawer<Sink> drawer(job, sink);
        drawer.Draw(plan.pieces[i]);
        elements.fetch_add(drawer.Elements(), std::memory_order_relaxed);
    });
    TViewportCounts counts = plan.counts;
    counts.elements = elements;
    return counts;
}

// --- the ground grid

// Squares of a power of ten, about a hundred over the scene.
float GridSpacing(const Box3& bounds) {
    Point3 width = bounds.Width();
    float size = std::max({width.x, width.y, 1e-3f});
    return std::pow(10.f, std::ceil(std::log10(size / 40)));
}

template <class Raster>
void DrawGrid(const TViewportScene& scene, const TViewportCamera& camera, Raster& raster) {
    constexpr int kLines = 40, kStrong = 10;
    constexpr Color kThin{0.27f, 0.28f, 0.29f}, kThick{0.34f, 0.35f, 0.36f};
    float spacing = GridSpacing(scene.Bounds()), reach = spacing * kLines;
    Point3 center = scene.Bounds().IsEmpty() ? Point3{} : scene.Bounds().Center();
    center = {std::round(center.x / (spacing * kStrong)) * spacing * kStrong,
              std::round(center.y / (spacing * kStrong)) * spacing * kStrong, 0};
    auto line = [&](Point3 a, Point3 b, Color color) {
        raster.Line(camera.ToView(a), camera.ToView(b), {PackColor(color)});
    };
    for (int i = -kLines; i <= kLines; ++i) {
        float at = float(i) * spacing;
        Color color = i % kStrong == 0 ? kThick : kThin;
        bool isX = std::abs(center.y + at) < spacing / 2,
             isY = std::abs(center.x + at) < spacing / 2;
        line(center + Point3{-reach, at, 0}, center + Point3{reach, at, 0},
             isX ? Color{0.55f, 0.2f, 0.2f} : color);
        line(center + Point3{at, -reach, 0}, center + Point3{at, reach, 0},
             isY ? Color{0.2f, 0.5f, 0.22f} : color);
    }
}

// --- into bytes

// The mean of a pixel's samples.
void Resolve(const TSplatBuffer& buffer, int factor, int y, TViewportPicture& picture) {
    uint32_t behind = PackColor(ViewBackground(y, picture.height));
    auto samples = uint32_t(factor * factor);
    for (int x = 0; x < picture.width; ++x) {
        uint32_t sum[3]{};
        for (int s = 0; s < factor * factor; ++s) {
            size_t at = size_t(y * factor + s / factor) * size_t(buffer.Width()) +
                        size_t(x * factor + s % factor);
            uint32_t color = buffer.IsEmpty(at) ? behind : buffer.Value(at);
            for (int c = 0; c < 3; ++c) sum[c] += color >> 8 * c & 255;
        }
        uint8_t* out = &picture.rgb[(size_t(y) * size_t(picture.width) + size_t(x)) * 3];
        for (int c = 0; c < 3; ++c) out[c] = uint8_t((sum[c] + samples / 2) / samples);
    }
}

}  // namespace

TViewportPicture DrawViewport(const TViewportScene& scene, const TViewportCamera& camera,
                              const TViewportSettings& settings) {
    int factor = std::max(settings.oversampling, 1);
    TViewportCamera enlarged = camera.Enlarged(factor);
    TSplatBuffer buffer(enlarged.Width(), enlarged.Height());
    TViewPlan plan = PlanViewport(scene, camera, settings, {0, 0, camera.Width(), camera.Height()});
    TViewJob job{camera, enlarged, settings, plan.thinning};
    job.quality = plan.quality;
    TViewportPicture picture{camera.Width(), camera.Height(), {}, {}};
    picture.counts = DrawPieces<ColorSink>(plan, job, buffer);
    ColorSink sink{buffer};
    TViewRaster<ColorSink> raster(enlarged, sink);
    if (settings.showsGrid) DrawGrid(scene, enlarged, raster);
    picture.rgb.resize(size_t(picture.width) * size_t(picture.height) * 3);
    ParallelFor(size_t(picture.height), settings.threads,
                [&](size_t y) { Resolve(buffer, factor, int(y), picture); });
    return picture;
}

std::vector<TViewLine> ViewLines(const TViewportScene& scene, const TViewportCamera& camera,
                                 const TViewportSettings& settings) {
    std::vector<TViewLine> lines;
    LineSink sink{lines};
    LineCollector<LineSink> collector(camera, sink);
    if (settings.showsGrid) DrawGrid(scene, camera, collector);
    TViewJob job{camera, camera, settings, {}};
    TViewDrawer<LineSink, LineCollector> drawer(job, sink);
    for (const TViewNode& node : scene.Nodes()) drawer.Draw({&node, TViewPiece::kMarks});
    return lines;
}

// Lighter at the top.
Color ViewBackground(int y, int height) {
    float t = float(y) / float(std::max(height - 1, 1));
    return Color{0.235f, 0.25f, 0.27f} * (1 - t) + Color{0.135f, 0.14f, 0.15f} * t;
}

uint64_t DrawDots(const TViewPlan& plan, const TViewportCamera& camera,
                  const TViewportSettings& settings, TSplatBuffer& buffer) {
    TViewPlan dots = plan;
    std::erase_if(dots.pieces, [](const TViewPiece& piece) {
        return piece.kind != TViewPiece::kDots && piece.kind != TViewPiece::kBoxes &&
               piece.kind != TViewPiece::kItems;
    });
    TViewJob job{camera, camera, settings, plan.thinning};
    job.quality = plan.quality, job.leavesFaces = true;
    return DrawPieces<ColorSink>(dots, job, buffer).elements;
}

std::vector<uint32_t> DrawViewportIds(const TViewportScene& scene, const TViewportCamera& camera,
                                      const TViewportSettings& settings,
                                      std::vector<float>* nearness) {
    TSplatBuffer buffer(camera.Width(), camera.Height());
    TViewPlan plan = PlanViewport(scene, camera, settings, buffer.Rect());
    TViewJob job{camera, camera, settings, plan.thinning};
    job.quality = plan.quality;
    DrawPieces<IdSink>(plan, job, buffer);
    std::vector<uint32_t> ids(size_t(camera.Width()) * size_t(camera.Height()));
    for (size_t i = 0; i < ids.size(); ++i)
        ids[i] = buffer.IsEmpty(i) ? TViewportScene::kNoId : buffer.Value(i);
    if (nearness) {
        nearness->resize(ids.size());
        for (size_t i = 0; i < ids.size(); ++i) (*nearness)[i] = buffer.Nearness(i);
    }
    return ids;
}
