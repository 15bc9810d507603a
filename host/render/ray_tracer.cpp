#include "host/render/ray_tracer.h"

#include <algorithm>
#include <chrono>

#include "host/render/picture_tracer.h"

namespace {

constexpr int kSamplesPerPass = 4;

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

RenderOutcome RenderPicture(const RenderScene& scene, const RenderSettings& settings,
                            const RenderProgress& progress) {
    RenderOutcome outcome = CheckRender(scene, settings);
    if (outcome.status != RenderStatus::kDone) return outcome;
    auto start = std::chrono::steady_clock::now();
    PictureTracer tracer(scene, settings.maxBounces);
    outcome.problems = tracer.Geometry().Problems();
    const TraceStatistics& counts = tracer.Geometry().Statistics();
    outcome.statistics = {counts.numInstances, counts.numPrototypeFaces + counts.numNodeFaces,
                          counts.instanceBytes, SecondsSince(start), 0};

    start = std::chrono::steady_clock::now();
    tracer.Begin(scene.camera, settings);
    for (int first = 0; first < settings.samples; first += kSamplesPerPass) {
        if (progress && !progress(float(first) / float(settings.samples))) {
            outcome.status = RenderStatus::kCancelled;
            return outcome;
        }
        tracer.AddSamples(std::min(kSamplesPerPass, settings.samples - first));
    }
    if (progress) progress(1);
    outcome.picture = tracer.Develop();
    outcome.statistics.traceSeconds = SecondsSince(start);
    return outcome;
}
