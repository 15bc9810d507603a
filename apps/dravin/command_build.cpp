#include <fmt/format.h>

#include "apps/dravin/build_outputs.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/session.h"
#include "host/base/atomic_file.h"

namespace {

// Statuses that count as a correct build.
bool IsGood(TBuildStatus status) {
    return status == TBuildStatus::kSuccess || status == TBuildStatus::kDisabled;
}

std::string StatusText(const SceneDravin& dravin) {
    TPanelMessage message = dravin.object->Build().Message();
    std::string text = message[0];
    if (!message[1].empty()) text += " " + message[1];
    return fmt::format("{}: status {}: {}", dravin.node->GetName(),
                       int(dravin.object->Build().Status()), text);
}

// A viewport's build shows a part of the items; whoever reads numbers must know.
void TellOfThinning(const SceneDravin& dravin) {
    int step = dravin.object->Build().Statistics().decimation;
    if (step > 1)
        PrintNote(
            fmt::format("{}: thinned in steps of {} to stay near \"vmaxitems\", as in a "
                        "viewport; --render or --no-limit builds all items",
                        dravin.node->GetName(), step));
}

// Before the work, so that nobody waits for a build that leads nowhere.
ExitCode CheckOutputs(const BuildOptions& options) {
    for (const std::string& path : options.outputs)
        if (!IsBuildOutput(path)) {
            PrintError(fmt::format("-o {}: unknown kind of output, expected an ending of {}", path,
                                   kBuildOutputs));
            return kExitUsage;
        }
    std::string error;
    for (const std::string& path : options.outputs)
        if (!AtomicFile::CanWrite(path, &error)) {
            PrintError(error);
            return kExitNoOutput;
        }
    return kExitDone;
}

}  // namespace

ExitCode RunBuild(const BuildOptions& options) {
    if (ExitCode code = CheckOutputs(options); code != kExitDone) return code;
    std::vector<std::string> fields = ResolveFields(options.fields);
    if (fields.empty()) return kExitUsage;

    Session session;
    if (ExitCode code = session.Open(options.scene); code != kExitDone) return code;
    auto objects = session.FindObjects(options.object);
    if (!objects) return options.object.empty() ? kExitMalformed : kExitUsage;

    TBuildFlags flags;
    flags.noMesh = true;
    flags.render = options.render;
    flags.noLimit = options.noLimit;
    flags.forceThreads = options.threads;
    TimeValue time = options.time.value_or(session.GetScene().GetTime());
    ExitCode code = kExitDone;
    for (const SceneDravin& dravin : *objects) {
        dravin.object->Build().BuildMesh(time, flags);
        TBuildStatus status = dravin.object->Build().Status();
        TellOfThinning(dravin);
        if (status == TBuildStatus::kSuccess) continue;
        if (IsGood(status)) {
            PrintNote(StatusText(dravin));
            continue;
        }
        PrintError(StatusText(dravin));
        code = dravin.object->Build().RanOutOfMemory() ? kExitLimit : kExitFailed;
    }

    for (const std::string& path : options.outputs)
        if (!WriteBuildOutput(path, *objects, session.GetScene(), fields, options))
            return kExitNoOutput;
    if (options.outputs.empty())
        for (const SceneDravin& dravin : *objects) PrintPanel(dravin);
    return code;
}
