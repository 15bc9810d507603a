// What scene objects and the items of other scatter objects cover, for areas made of them.
#pragma once

#include <optional>

#include "Dravin/engine/footprint_area.h"
#include "host/math/interval.h"
#include "host/math/matrix3.h"

class INode;
class TDravin;

struct TFootprintRequest {
    TimeValue time = 0;
    Matrix3 worldToObject;
    float scale = 1;           // of an object about its pivot, of item radii
    std::optional<float> top;  // only what lies at or below this height of the world counts
    bool itemMeshes = false;   // items by their meshes instead of discs of their radius
    bool render = false;
};

// The meshes of a node; of a group's head, those of all its members.
TFootprint ObjectFootprint(INode& node, const TFootprintRequest& request, Interval* valid);

// The items of a scatter object, which is built first unless it stands for that time already.
TFootprint ItemsFootprint(TDravin& other, INode& node, const TFootprintRequest& request,
                          Interval* valid);
