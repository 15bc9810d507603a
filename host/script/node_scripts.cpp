#include "host/script/node_scripts.h"

#include <limits>

#include <fmt/format.h>

#include "host/scene/node.h"
#include "host/script/script_system.h"

namespace {

ScriptResult SetHidden(const NodeOfHandle& find, const ScriptArguments& arguments) {
    int64_t handle = arguments.Integer(0);
    bool isHandle = handle >= 0 && handle <= std::numeric_limits<unsigned>::max();
    INode* node = isHandle ? find(unsigned(handle)) : nullptr;
    if (!node) return ScriptError(fmt::format("no node has the handle {}", handle));
    node->SetHidden(arguments.Truth(1));
    return {arguments.Truth(1), {}};
}

}  // namespace

void RegisterNodeScripts(ScriptSystem& scripts, NodeOfHandle find) {
    scripts.Register("(maxOps.getnodebyhandle %d).isHidden = %b",
                     [find = std::move(find)](const ScriptArguments& arguments) {
                         return SetHidden(find, arguments);
                     });
}
