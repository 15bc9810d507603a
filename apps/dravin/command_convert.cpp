// `dravin convert`: between scene files and scene descriptions.
#include "Dravin/storage/description_losses.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/outputs.h"
#include "apps/dravin/session.h"

ExitCode RunConvert(const ConvertOptions& options) {
    std::span<const std::string> output(&options.output, 1);
    if (ExitCode code = CheckOutputs(output); code != kExitDone) return code;
    Session session;
    if (ExitCode code = session.Read(options.input); code != kExitDone) return code;
    if (ExitCode code = CheckNotInputs(output, session.Inputs()); code != kExitDone) return code;
    if (IsDescriptionName(options.output))
        for (const std::string& loss : DescriptionLosses(session.GetScene())) PrintWarning(loss);
    return session.Save(options.output);
}
