#include <fmt/format.h>

#include "apps/dravin/build_outputs.h"
#include "apps/dravin/build_report.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/outputs.h"
#include "apps/dravin/session.h"

namespace {

// A viewport's build shows a part of the items; whoever reads numbers must know.
void TellOfThinning(const SceneDravin& dravin) {
    int step = dravin.object->Build().Statistics().decimation;
    if (step > 1)
        PrintNote(fmt::format(
            "{}: thinned in steps of {} to stay near \"{}\"; --no-limit builds all items",
            dravin.node->GetName(), step,
            dravin.object->Build().IsRender() ? "rmaxitems" : "vmaxitems"));
}

ExitCode CheckEndings(const BuildOptions& options) {
    for (const std::string& path : options.outputs)
        if (!IsBuildOutput(path)) {
            PrintError(fmt::format("-o {}: unknown kind of output, expected an ending of {}", path,
                                   kBuildOutputs));
            return kExitUsage;
        }
    return CheckOutputs(options.outputs);
}

// Builds the objects one after the other; the worst of their exit codes.
ExitCode BuildAll(std::span<const SceneDravin> objects, TimeValue time,
                  const BuildOptions& options) {
    TBuildFlags flags;
    flags.noMesh = true;
    flags.render = !options.viewport;
    flags.noLimit = flags.unprotected = options.noLimit;
    flags.forceThreads = options.threads;
    ExitCode code = kExitDone;
    for (const SceneDravin& dravin : objects) {
        BuildWithProgress(dravin, time, flags);
        TellOfThinning(dravin);
        if (ExitCode outcome = ReportBuild(dravin, options.keepGoing); outcome != kExitDone)
            code = outcome;
    }
    return code;
}

// A failed build is told in results, which hold its status; other files stay as they were.
ExitCode WriteOutputs(std::span<const SceneDravin> objects, Scene& scene,
                      const std::vector<std::string>& fields, const BuildOptions& options,
                      bool failed) {
    for (const std::string& path : options.outputs) {
        if (failed && !HoldsStatus(path)) {
            PrintNote(fmt::format("{}: not written, as the build failed", path));
            continue;
        }
        ExitCode code = WriteBuildOutput(path, objects, scene, fields, options);
        if (code != kExitDone) return code;
    }
    return kExitDone;
}

}  // namespace

ExitCode RunBuild(const BuildOptions& options) {
    if (ExitCode code = CheckEndings(options); code != kExitDone) return code;
    std::vector<std::string> fields = ResolveFields(options.fields);
    if (fields.empty()) return kExitUsage;

    Session session;
    if (ExitCode code = session.Open(options.scene); code != kExitDone) return code;
    auto objects = session.FindObjects(options.object);
    if (!objects) return options.object.empty() ? kExitMalformed : kExitUsage;
    if (ExitCode code = CheckNotInputs(options.outputs, session.Inputs()); code != kExitDone)
        return code;

    TimeValue time = options.time.value_or(session.GetScene().GetTime());
    ExitCode code = BuildAll(*objects, time, options);
    // Builds read files too: maps of the library.
    if (ExitCode input = CheckNotInputs(options.outputs, session.Inputs()); input != kExitDone)
        return input;
    if (options.explain)
        for (const SceneDravin& dravin : *objects) PrintRejections(dravin);
    if (options.outputs.empty() && !options.explain)
        for (const SceneDravin& dravin : *objects) PrintPanel(dravin);
    ExitCode written =
        WriteOutputs(*objects, session.GetScene(), fields, options, code != kExitDone);
    return written != kExitDone ? written : code;
}
