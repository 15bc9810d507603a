#include "host/render/render_outcome.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "host/base/memory_size.h"

namespace {

std::string CheckRange(const char* what, int value, int min, int max) {
    if (value >= min && value <= max) return {};
    return fmt::format("{} is {}, expected {} to {}", what, value, min, max);
}

std::string CheckAboveZero(const char* what, int value) {
    return value > 0 ? "" : fmt::format("{} is {}, expected a number above 0", what, value);
}

std::string CheckSettings(const RenderScene& scene, const RenderSettings& s) {
    for (const std::string& error :
         {CheckAboveZero("the width", s.width), CheckAboveZero("the height", s.height),
          CheckAboveZero("the number of samples", s.samples),
          CheckRange("the number of bounces", s.maxBounces, 0, 16)})
        if (!error.empty()) return error;
    if (!(scene.camera.fovDegrees > 0 && scene.camera.fovDegrees < 180))
        return fmt::format(
            "the camera's field of view is {}, expected more than 0 and less than 180",
            scene.camera.fovDegrees);
    for (const Point3& row : scene.camera.transform.row)
        if (!IsFinite(row)) return "the camera's transform holds a number that is not finite";
    return {};
}

// The sums, the picture made of them, and its colours on the way into a file.
constexpr double kBytesOfPixel = 3 * sizeof(Color);

}  // namespace

std::string PictureRefusal(const RenderSettings& s) {
    if (s.samples > kMaxSamples)
        return fmt::format("{} samples a pixel, at most {} are taken; no option raises this",
                           s.samples, kMaxSamples);
    if (std::max(s.width, s.height) > kMaxPictureSide && !s.noLimit)
        return fmt::format(
            "a picture of {} x {} pixels, at most {} a side are rendered; give a smaller --size, "
            "or "
            "--no-limit",
            s.width, s.height, kMaxPictureSide);
    double bytes = double(s.width) * double(s.height) * kBytesOfPixel;
    std::string what = fmt::format("a picture of {} x {} pixels takes {:.2f} GB of memory", s.width,
                                   s.height, bytes / 1e9);
    if (uint64_t total = TotalMemory(); bytes > double(total))
        return fmt::format(
            "{}, the machine has {:.2f}; give a smaller --size, no option raises this", what,
            double(total) / 1e9);
    if (uint64_t free = FreeMemory(); bytes > double(free) && !s.noLimit)
        return fmt::format("{}, {:.2f} GB are free; give a smaller --size, or --no-limit", what,
                           double(free) / 1e9);
    return {};
}

RenderOutcome CheckRender(const RenderScene& scene, const RenderSettings& settings) {
    RenderOutcome outcome;
    outcome.error = CheckSettings(scene, settings);
    if (!outcome.error.empty()) {
        outcome.status = RenderStatus::kFailed;
        return outcome;
    }
    outcome.error = PictureRefusal(settings);
    if (!outcome.error.empty()) outcome.status = RenderStatus::kRefused;
    return outcome;
}

float PictureExposure(const SkyModel& sky, const RenderSettings& settings) {
    float card = sky.CardLuminance();
    return (card > 0 ? 1 / card : 1) * std::exp2(settings.exposure);
}
