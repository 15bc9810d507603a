#include "apps/dravin/commands.h"
#include "host/io/import_report.h"

ExitCode RunInspect(const std::string& file, bool json) {
    if (file.ends_with(".so")) return RunInspectPlugin(file, json);
    ImportedModel model;
    ImportError error;
    ImportOptions options;
    options.roots = {"."};  // where the user is, as a scene's folder would be
    if (!ImportModel(file, options, &model, &error)) {
        PrintError(error.text);
        return ExitCode(int(error.kind));
    }
    for (const std::string& warning : model.warnings) PrintWarning(warning);
    PrintResult(json ? ImportReportJson(file, model) : ImportReportText(file, model));
    return kExitDone;
}
