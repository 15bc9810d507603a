#include <fmt/format.h>

#include "apps/dravin/commands.h"
#include "apps/dravin/render_setup.h"
#include "host/base/atomic_file.h"
#include "host/render/picture.h"

namespace {

// Before the work, so that nobody waits for a picture that leads nowhere.
ExitCode CheckOutput(const std::string& path) {
    std::string error;
    if (!IsPictureFormat(path)) {
        PrintError(fmt::format(
            "-o {}: the ending names no image format, expected .png, .jpg or .exr", path));
        return kExitUsage;
    }
    if (AtomicFile::CanWrite(path, &error)) return kExitDone;
    PrintError(error);
    return kExitNoOutput;
}

}  // namespace

ExitCode RunRender(const RenderOptions& options) {
    if (ExitCode code = CheckOutput(options.output); code != kExitDone) return code;
    Session session;
    if (ExitCode code = session.Open(options.scene); code != kExitDone) return code;
    TimeValue time = options.time.value_or(session.GetScene().GetTime());
    if (!CheckCamera(session.GetScene(), options.camera)) return kExitUsage;
    auto setup = SetUpRender(session, options.camera, time, options.threads);
    if (!setup) return kExitFailed;
    setup->settings.width = options.width.value_or(setup->settings.width);
    setup->settings.height = options.height.value_or(setup->settings.height);
    setup->settings.samples = options.samples.value_or(setup->settings.samples);
    return RenderToFile(*setup, options.output);
}
