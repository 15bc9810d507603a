#include "Dravin/panels/panel_stack.h"

#include <algorithm>

#include "Dravin/dravin.h"
#include "host/scene/node.h"

namespace {

std::vector<ClassId> ClassesOf(const INode& node) {
    std::vector<ClassId> classes;
    for (const ReferenceTarget* thing : PartsOf(node)) classes.push_back(thing->Class().id);
    return classes;
}

bool ShowsScatter(const INode* node) {
    return dynamic_cast<const TDravin*>(node->GetObjectRef()) != nullptr;
}

}  // namespace

TPanelStack StackOf(const std::vector<INode*>& nodes) {
    TPanelStack stack;
    if (nodes.empty()) return stack;
    auto first = std::find_if(nodes.begin(), nodes.end(), ShowsScatter);
    stack.classes = ClassesOf(first == nodes.end() ? *nodes[0] : **first);
    stack.things.resize(stack.classes.size());
    for (INode* node : nodes) {
        if (ClassesOf(*node) != stack.classes) continue;
        stack.nodes.push_back(node);
        std::vector<ReferenceTarget*> things = PartsOf(*node);
        for (size_t place = 0; place < things.size(); ++place) {
            TPanel::Things& there = stack.things[place];
            bool isNew = std::find(there.begin(), there.end(), things[place]) == there.end();
            if (isNew) there.push_back(things[place]);
        }
    }
    return stack;
}
