#include <fmt/format.h>

#include "apps/dravin/build_outputs.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/join_parts.h"
#include "apps/dravin/outputs.h"
#include "host/base/file_input.h"
#include "host/base/input_record.h"

ExitCode RunJoin(const JoinOptions& options) {
    if (TableKindOf(options.output) != TableKind::kNpz) {
        PrintError(
            fmt::format("-o {}: pieces are joined into an archive: expected an ending of .npz",
                        options.output));
        return kExitUsage;
    }
    std::string outputs[] = {options.output};
    if (ExitCode code = CheckOutputs(outputs); code != kExitDone) return code;
    InputRecord inputs;
    for (const std::string& part : options.parts) {
        std::string error;
        if (!RegularFileSize(part, &error)) return PrintError(error), kExitMissingInput;
    }
    if (inputs.Holds(options.output)) {
        PrintError(fmt::format("-o {}: is one of the pieces; choose another name", options.output));
        return kExitUsage;
    }
    return JoinParts(options.parts, options.output);
}
