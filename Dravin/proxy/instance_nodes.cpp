#include "Dravin/proxy/instance_nodes.h"

#include "Dravin/dravin.h"
#include "host/scene/scene.h"

std::vector<INode*> InstanceNodesOf(const TDravin& object, const Scene& scene) {
    std::vector<INode*> nodes;
    auto list = std::dynamic_pointer_cast<TInstanceNodes>(object.GetReference(kSlotInternal));
    if (!list) return nodes;
    for (NodeHandle handle : list->handles.Get())
        if (INode* node = scene.FindHandle(handle)) nodes.push_back(node);
    return nodes;
}

void SetInstanceNodes(TDravin& object, const std::vector<INode*>& nodes) {
    auto list = std::dynamic_pointer_cast<TInstanceNodes>(object.GetReference(kSlotInternal));
    if (!list) {
        if (nodes.empty()) return;
        list = std::make_shared<TInstanceNodes>();
        object.SetReference(kSlotInternal, list);
    }
    std::vector<NodeHandle> handles;
    for (const INode* node : nodes) handles.push_back(node->GetHandle());
    list->handles = handles;
}
