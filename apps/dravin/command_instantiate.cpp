// `dravin instantiate`: items as objects of their own, in a new scene.
#include <fmt/format.h>

#include "Dravin/tools/instantiate.h"
#include "Dravin/tools/tools_utility.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/outputs.h"
#include "apps/dravin/session.h"
#include "host/base/text.h"

namespace {

ExitCode CodeOf(TInstantiateStatus status) {
    return status == TInstantiateStatus::kDone ? kExitDone : kExitFailed;
}

std::shared_ptr<TDtools> ToolsOf(const InstantiateOptions& options) {
    auto tools = std::make_shared<TDtools>();
    IParamBlock2& block = tools->Block();
    block.SetValue(toolsParams::kHierarchy, 0, options.hierarchy);
    if (!options.layer.empty()) block.SetValue(toolsParams::kLayername, 0, options.layer);
    block.SetValue(toolsParams::kLayerfreeze, 0, !options.noFreeze);
    block.SetValue(toolsParams::kDeleteold, 0, !options.keepOld);
    block.SetValue(toolsParams::kDisgeom, 0, !options.keepGeometry);
    block.SetValue(toolsParams::kEngeom, 0, !options.noEnable);
    return tools;
}

ExitCode Delete(const SceneDravin& dravin) {
    size_t count = DeleteInstances(*dravin.object, *dravin.node);
    int enabled = EnableGeometry(*dravin.object);
    PrintNote(fmt::format("{}: {} objects deleted, {} geometry rows enabled",
                          dravin.node->GetName(), FormatGrouped(int64_t(count)), enabled));
    return kExitDone;
}

ExitCode Make(const SceneDravin& dravin, const TDtools& tools) {
    // The answer is yes: the scene that was read stays as it is.
    TInstantiateResult result =
        Instantiate(*dravin.object, *dravin.node, tools, [] { return true; });
    if (result.status != TInstantiateStatus::kDone) {
        PrintError(fmt::format("{}: {}", dravin.node->GetName(), result.text));
        return CodeOf(result.status);
    }
    PrintNote(fmt::format("{}: {} objects made, {} of an earlier run deleted",
                          dravin.node->GetName(), FormatGrouped(int64_t(result.numCreated)),
                          FormatGrouped(int64_t(result.numDeleted))));
    return kExitDone;
}

}  // namespace

ExitCode RunInstantiate(const InstantiateOptions& options) {
    std::span<const std::string> output(&options.output, 1);
    if (ExitCode code = CheckOutputs(output); code != kExitDone) return code;
    Session session;
    if (ExitCode code = session.Open(options.scene); code != kExitDone) return code;
    auto objects = session.FindObjects(options.object);
    if (!objects) return options.object.empty() ? kExitMalformed : kExitUsage;
    std::shared_ptr<TDtools> tools = ToolsOf(options);
    for (const SceneDravin& dravin : *objects)
        if (ExitCode code = options.deleteOnly ? Delete(dravin) : Make(dravin, *tools);
            code != kExitDone)
            return code;
    if (ExitCode code = CheckNotInputs(output, session.Inputs()); code != kExitDone) return code;
    return session.Save(options.output);
}
