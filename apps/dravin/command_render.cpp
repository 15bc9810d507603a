#include "apps/dravin/commands.h"
#include "apps/dravin/render_setup.h"

ExitCode RunRender(const RenderOptions& options) {
    Session session;
    if (ExitCode code = session.Open(options.scene); code != kExitDone) return code;
    TimeValue time = options.time.value_or(session.GetScene().GetTime());
    auto setup = SetUpRender(session, options.camera, time, options.threads);
    if (!setup) return kExitFailed;
    setup->settings.width = options.width.value_or(setup->settings.width);
    setup->settings.height = options.height.value_or(setup->settings.height);
    setup->settings.samples = options.samples.value_or(setup->settings.samples);
    return RenderToFile(*setup, options.output);
}
