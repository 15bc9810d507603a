#include "apps/dravin/viewport_render.h"

#include <chrono>
#include <cmath>

#include <fmt/format.h>

#include "Dravin/viewport/viewport_drawing.h"
#include "Dravin/viewport/viewport_picking.h"
#include "apps/dravin/build_report.h"
#include "apps/dravin/render_setup.h"

namespace {

constexpr int kDefaultSamples = 4;

ExitCode BuildForViewport(const SceneDravin& dravin, TimeValue t, const RenderOptions& options) {
    TBuildFlags flags;
    flags.noLimit = flags.unprotected = options.noLimit;
    flags.forceThreads = options.threads;
    flags.keepItems = options.frames.has_value();
    BuildWithProgress(dravin, t, flags);
    TBuildStatus status = dravin.object->Build().Status();
    if (status != TBuildStatus::kNoItems && status != TBuildStatus::kNoVisibleItems)
        return ReportBuild(dravin, false);
    PrintNote(fmt::format("{}: no items, the icon is shown", dravin.node->GetName()));
    return kExitDone;
}

ExitCode BuildAll(Session& session, TimeValue t, const RenderOptions& options) {
    for (INode* node : session.GetScene().Nodes()) {
        auto* object = dynamic_cast<TDravin*>(node->GetObjectRef());
        if (!object || node->IsHidden(t)) continue;
        ExitCode code = BuildForViewport({node, object}, t, options);
        if (code != kExitDone) return code;
    }
    return kExitDone;
}

TViewDisplay DisplayOf(const std::string& name) {
    if (name == "points") return TViewDisplay::kPoints;
    if (name == "boxes") return TViewDisplay::kBoxes;
    return name == "wire" ? TViewDisplay::kWire : TViewDisplay::kAsSet;
}

// Samples become a grid in each pixel, as far as all of them together stay a reasonable number.
int OversamplingFor(const RenderSettings& size, std::optional<int> samples) {
    constexpr int kMost = 8;
    constexpr double kMostInAll = 1 << 28;
    double pixels = double(size.width) * double(size.height);
    int factor = int(std::ceil(std::sqrt(double(samples.value_or(kDefaultSamples)))));
    int possible = std::clamp(int(std::sqrt(kMostInAll / pixels)), 1, kMost);
    if (samples && factor > possible)
        PrintWarning(fmt::format("{} samples a pixel instead of {}: viewports draw no more",
                                 possible * possible, *samples));
    return std::min(factor, possible);
}

TViewportCamera MakeCamera(Session& session, const TViewportScene& scene, const std::string& name,
                           TimeValue t, const RenderSettings& size) {
    std::optional<RenderCamera> camera = NamedCamera(session.GetScene(), name, t);
    Box3 box = scene.Bounds();
    if (box.IsEmpty()) box = {{-1, -1, -1}, {1, 1, 1}};
    if (!camera) camera = CameraAround(box, double(size.width) / double(size.height));
    constexpr float kNearest = 1e-5f;
    return {camera->transform, camera->fovDegrees, size.width, size.height,
            std::max(Length(box.Width()) * kNearest, 1e-6f)};
}

void TellHits(const TViewportScene& scene, const TViewportCamera& camera,
              const TViewportSettings& settings, std::pair<int, int> pixel) {
    if (pixel.first >= camera.Width() || pixel.second >= camera.Height())
        PrintWarning(fmt::format("--pick: the picture has no pixel {},{}, it is {} x {}",
                                 pixel.first, pixel.second, camera.Width(), camera.Height()));
    for (const TViewHit& hit : HitTest(scene, camera, pixel.first, pixel.second, settings)) {
        TViewportScene::Found found = scene.Find(hit.id);
        std::string what = found.node->name;
        if (found.item != TViewportScene::kNoItem) what += fmt::format(" item {}", found.item);
        PrintResult(fmt::format("{} at {:.6g}", what, hit.depth));
    }
}

Picture AsPicture(const TViewportPicture& drawn) {
    Picture picture{drawn.width, drawn.height, {}, 1, true};
    picture.pixels.resize(drawn.rgb.size() / 3);
    for (size_t i = 0; i < picture.pixels.size(); ++i) {
        const uint8_t* rgb = &drawn.rgb[i * 3];
        constexpr float kByte = 1 / 255.f;
        picture.pixels[i] = Color{float(rgb[0]), float(rgb[1]), float(rgb[2])} * kByte;
    }
    return picture;
}

ExitCode WriteViewport(const TViewportCounts& counts, const RenderOptions& options,
                       const RenderOutcome& outcome) {
    if (options.output.empty()) return kExitDone;
    if (std::string error = WritePicture(options.output, outcome.picture); !error.empty()) {
        PrintError(error);
        return kExitNoOutput;
    }
    PrintNote(fmt::format("{}: {} x {}, {} of {} items in view, {} elements, {:.0f} ms",
                          options.output, outcome.picture.width, outcome.picture.height,
                          counts.itemsDrawn, counts.itemsInView, counts.elements,
                          outcome.statistics.traceSeconds * 1000));
    return kExitDone;
}

}  // namespace

bool IsViewportPicture(Session& session, const RenderOptions& options) {
    const std::string& wanted =
        options.renderer.empty() ? session.GetScene().render->renderer : options.renderer;
    return wanted == "viewport";
}

void TellUnusedOptions(const RenderOptions& options) {
    auto tell = [](bool isGiven, const char* name) {
        if (isGiven) PrintWarning(fmt::format("{} counts for --renderer viewport only", name));
    };
    tell(!options.display.empty(), "--display");
    tell(options.maxElements > 0, "--elements");
    tell(options.pick.has_value(), "--pick");
}

ExitCode RenderViewport(Session& session, const RenderOptions& options, RenderOutcome* outcome) {
    TimeValue t = options.time.value_or(session.GetScene().GetTime());
    RenderSettings size;
    if (!SetSize(session, options, &size)) return kExitLimit;
    if (ExitCode code = BuildAll(session, t, options); code != kExitDone) return code;
    auto start = std::chrono::steady_clock::now();
    auto scene = MakeViewportScene(session.GetScene(), t, size.threads);
    TViewportSettings settings;
    settings.display = DisplayOf(options.display);
    settings.maxElements = options.maxElements;
    settings.oversampling = OversamplingFor(size, options.samples);
    settings.threads = size.threads;
    TViewportCamera camera = MakeCamera(session, *scene, options.camera, t, size);
    TViewportPicture drawn = DrawViewport(*scene, camera, settings);
    std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    outcome->picture = AsPicture(drawn);
    outcome->statistics.numInstances = size_t(drawn.counts.itemsDrawn);
    outcome->statistics.traceSeconds = elapsed.count();
    if (options.pick) TellHits(*scene, camera, settings, *options.pick);
    return WriteViewport(drawn.counts, options, *outcome);
}
