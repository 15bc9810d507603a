// Which nodes a scatter object's items were turned into: a part of the object, so that a later run
// finds them again.
//
// Nodes are named by their handles: those that are deleted meanwhile are not missed.
#pragma once

#include <vector>

#include "host/params/property.h"
#include "host/scene/node.h"

class TDravin;

class TInstanceNodes : public ReferenceTarget {
public:
    Property<std::vector<NodeHandle>> handles{this};

    static constexpr ClassInfo kClass{
        {0x3d1c0121, 0x52a7}, SuperClass::kReferenceTarget, "InstanceNodes"};
    ClassInfo Class() const override { return kClass; }
    // Copies of an object have no instances.
    std::shared_ptr<ReferenceTarget> Clone(CloneMap&) const override {
        return std::make_shared<TInstanceNodes>();
    }
};

// Those that are still there.
std::vector<INode*> InstanceNodesOf(const TDravin& object, const Scene& scene);
// Replaces the list; can be undone.
void SetInstanceNodes(TDravin& object, const std::vector<INode*>& nodes);
