#include <fmt/format.h>

#include "apps/dravin/commands.h"
#include "apps/dravin/outputs.h"
#include "apps/dravin/render_setup.h"
#include "host/render/picture.h"

namespace {

ExitCode CheckOutput(const std::string& path) {
    std::string error;
    if (!IsPictureFormat(path, &error)) {
        if (!error.empty()) {
            PrintError(fmt::format("-o {}: cannot write the picture: {}", path, error));
            return kExitNoOutput;
        }
        PrintError(fmt::format(
            "-o {}: the ending names no image format, expected .png, .jpg or .exr", path));
        return kExitUsage;
    }
    return CheckOutputs({{path}});
}

}  // namespace

ExitCode RunRender(const RenderOptions& options) {
    if (ExitCode code = CheckOutput(options.output); code != kExitDone) return code;
    Session session;
    if (ExitCode code = session.Open(options.scene); code != kExitDone) return code;
    if (ExitCode code = CheckNotInputs({{options.output}}, session.Inputs()); code != kExitDone)
        return code;
    if (!CheckCamera(session.GetScene(), options.camera)) return kExitUsage;
    RenderSetup setup;
    if (ExitCode code = SetUpRender(session, options, &setup); code != kExitDone) return code;
    if (ExitCode code = CheckNotInputs({{options.output}}, session.Inputs()); code != kExitDone)
        return code;
    return RenderToFile(setup, options.output);
}
