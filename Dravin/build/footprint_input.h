// What scene objects and the items of other scatter objects cover, for areas made of them.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "Dravin/engine/areas/footprint_area.h"
#include "host/geom/mesh.h"
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

    friend bool operator==(const TFootprintRequest&, const TFootprintRequest&) = default;
};

// A mesh and its place in the world.
struct TPlacedMesh {
    std::shared_ptr<const Mesh> mesh;
    Matrix3 toWorld;
};
// The meshes of a node; of a group's head, those of all its members.
std::vector<TPlacedMesh> PlacedMeshes(INode& head, TimeValue time, Interval* valid);
// What they cover; corners that are not finite or not there leave their faces out.
TFootprint ObjectFootprint(std::span<const TPlacedMesh> meshes, const TFootprintRequest& request);

// Builds another scatter object unless its last build stands for that time already. Its items then
// are those of `other.Build()`.
void BringUpToDate(TDravin& other, const TFootprintRequest& request, Interval* valid);
// What the items of its last build cover; place: from the other object's space.
TFootprint ItemsFootprint(const TDravin& other, const Matrix3& place,
                          const TFootprintRequest& request);
