#include <fmt/format.h>

#include "apps/dravin/commands.h"
#include "apps/dravin/render_setup.h"
#include "host/render/ray_tracer.h"

ExitCode RunRender(const RenderOptions& options) {
    Session session;
    if (ExitCode code = session.Open(options.scene); code != kExitDone) return code;
    TimeValue time = options.time.value_or(session.GetScene().GetTime());
    auto setup = SetUpRender(session, options.camera, time, options.threads);
    if (!setup) return kExitFailed;
    setup->settings.width = options.width.value_or(setup->settings.width);
    setup->settings.height = options.height.value_or(setup->settings.height);
    setup->settings.samples = options.samples.value_or(setup->settings.samples);

    RenderOutcome outcome;
    {
        ProgressBar bar("rendering");
        outcome = RenderPicture(setup->scene, setup->settings, [&](float fraction) {
            bar.Update(fraction);
            return true;
        });
    }
    if (outcome.status != RenderStatus::kDone) {
        PrintError(outcome.error);
        return kExitFailed;
    }
    if (std::string error = WritePicture(options.output, outcome.picture); !error.empty()) {
        PrintError(error);
        return kExitNoOutput;
    }
    const RenderStatistics& s = outcome.statistics;
    PrintNote(fmt::format("{}: {} x {}, {} samples, {} instances, {:.1f} s", options.output,
                          setup->settings.width, setup->settings.height, setup->settings.samples,
                          s.numInstances, s.buildSeconds + s.traceSeconds));
    return kExitDone;
}
