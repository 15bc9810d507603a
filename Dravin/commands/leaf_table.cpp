// Commands on the leaf outline modifier.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/materials/leaf_modifier.h"
#include "host/scene/scene.h"

namespace {

TCommandResult Extract(TCommandCall& call) {
    if (const DLeaf* leaf = DLeaf::Of(*call.node, call.scene.GetTime()))
        return TCommandResult::Value(ParamInput(leaf->Extract(call.scene)->GetName()));
    return TCommandResult::Error(
        fmt::format("\"{}\" has no modifier of the type \"DravinLeaf\"", call.node->GetName()));
}

}  // namespace

void AddLeafCommands(TCommandTable& table) {
    table.Add({"leaf.extract",
               "",
               "Makes a shape of a spline's outline, as its outline modifier has it now, and gives "
               "the new node's name.",
               TCommandTarget::kNode,
               {},
               Extract});
}
