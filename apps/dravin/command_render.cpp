#include <fmt/format.h>

#include "apps/dravin/commands.h"
#include "apps/dravin/outputs.h"
#include "apps/dravin/render_setup.h"
#include "apps/dravin/viewport_render.h"
#include "host/render/picture.h"
#include "host/scene/host_context.h"

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

// "out.png" of frame 7: "out.0007.png".
std::string FrameName(const std::string& output, int frame) {
    size_t dot = output.rfind('.');
    return fmt::format("{}.{:04}{}", output.substr(0, dot), frame, output.substr(dot));
}

ExitCode CheckNoInput(const Session& session, const RenderOptions& options) {
    if (options.output.empty()) return kExitDone;
    return CheckNotInputs({{options.output}}, session.Inputs());
}

// The scene must be open, and the camera checked.
ExitCode RenderPictureOf(Session& session, const RenderOptions& options, RenderOutcome* outcome) {
    if (ExitCode code = CheckNoInput(session, options); code != kExitDone) return code;
    if (IsViewportPicture(session, options)) return RenderViewport(session, options, outcome);
    TellUnusedOptions(options);
    ChooseRenderer(session, options);
    NoticePair rendering(HostNotify::kPreRender, HostNotify::kPostRender);
    RenderSetup setup;
    if (ExitCode code = SetUpRender(session, options, &setup); code != kExitDone) return code;
    // Building opens further files: images, templates.
    if (ExitCode code = CheckNoInput(session, options); code != kExitDone) return code;
    if (ExitCode code = RenderWithProgress(setup, outcome); code != kExitDone) return code;
    return options.output.empty() ? kExitDone : WriteRendered(setup, *outcome, options.output);
}

// One picture a frame. Scatter objects are built again only when something that they show has
// changed; a frame that fails ends the sequence, those before it stay.
ExitCode RenderFrames(Session& session, const RenderOptions& options) {
    auto [first, last] = *options.frames;
    int64_t ticks = session.GetScene().ticksPerFrame;
    if (int64_t(last) * ticks > kTimePosInfinity) {
        PrintError(fmt::format("--frames: frame {} lies beyond the last time, {} ticks", last,
                               kTimePosInfinity));
        return kExitLimit;
    }
    for (int frame = first; frame <= last; ++frame) {
        RenderOptions one = options;
        one.time = int(frame * ticks);
        one.output = FrameName(options.output, frame);
        session.GetScene().SetTime(*one.time);
        RenderOutcome outcome;
        if (ExitCode code = RenderPictureOf(session, one, &outcome); code != kExitDone) return code;
    }
    return kExitDone;
}

}  // namespace

ExitCode RunRender(const RenderOptions& options) {
    if (ExitCode code = CheckOutput(options.output); code != kExitDone) return code;
    Session session;
    if (ExitCode code = session.Open(options.scene); code != kExitDone) return code;
    if (!CheckCamera(session.GetScene(), options.camera)) return kExitUsage;
    if (options.frames) return RenderFrames(session, options);
    RenderOutcome outcome;
    return RenderPictureOf(session, options, &outcome);
}

ExitCode RenderOpenScene(Session& session, const RenderOptions& options, RenderOutcome* outcome) {
    if (!options.output.empty())
        if (ExitCode code = CheckOutput(options.output); code != kExitDone) return code;
    if (!CheckCamera(session.GetScene(), options.camera)) return kExitUsage;
    return RenderPictureOf(session, options, outcome);
}
