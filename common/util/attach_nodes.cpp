#include "common/util/attach_nodes.h"

#include <vector>

#include <fmt/format.h>

#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/script/scene_scripts.h"
#include "host/script/script_system.h"

namespace {

// Scripts name nodes: for as long as they run, each has a name of its own.
class OwnNames {
public:
    explicit OwnNames(std::span<INode* const> nodes) {
        for (INode* node : nodes) {
            Scene& scene = *node->GetScene();
            if (scene.FindNode(node->GetName()) != node)
                node->SetName(scene.UniqueNodeName(node->GetName()));
        }
    }
};

}  // namespace

INode* AttachNodesScript(std::span<INode* const> nodes, const std::string& newName,
                         std::string* error) {
    HostContext* session = HostContext::Current();
    std::vector<INode*> kept;
    for (INode* node : nodes) {
        std::shared_ptr<Object> object = node->EvalWorldState(node->GetScene()->GetTime()).object;
        if (object && object->IsGeomObject()) kept.push_back(node);
    }
    if (kept.empty() || !session) return *error = "none of the nodes shows a mesh", nullptr;
    OwnNames named(kept);
    session->State<SceneScripts>();
    auto run = [&](const std::string& text) {
        ScriptResult result = session->State<ScriptSystem>().Execute(text);
        *error = result.error;
        return !result.IsError();
    };
    std::string first = NodeForScript(kept[0]->GetName());
    if (!run(fmt::format("convertToMesh {}", first))) return nullptr;
    for (size_t i = 1; i < kept.size(); ++i)
        if (!run(fmt::format("meshop.attach {} {} attachMat:#IDToMat condenseMat:true "
                             "deleteSourceNode:true",
                             first, NodeForScript(kept[i]->GetName()))))
            return nullptr;
    if (!run(fmt::format("{0}.pivot = [{0}.center.x,{0}.center.y,{0}.min.z]", first)))
        return nullptr;
    kept[0]->SetName(newName);
    return kept[0];
}
