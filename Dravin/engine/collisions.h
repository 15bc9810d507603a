// Takes items out until none overlap.
//
// Every item is a sphere of its collision radius around its position, lifted by its collision
// height. Items are taken largest first, of equals the smaller seed first, and one stays when it
// overlaps none that stayed before it. Spheres that only touch do not overlap.
//
// Each class of radii (factor 2) has a uniform grid of its own, cells as wide as its largest
// sphere: an item looks into three by three cells of every class not below its own, so that few
// large items do not make the cells of many small ones coarse. Buckets are shared by hashing where
// the grid would have more cells than items. Time is about n log n for the sort and linear for the
// rest.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "Dravin/engine/camera.h"
#include "Dravin/engine/item_list.h"

struct TCollisionSphere {
    Point3 center;
    float radius = 0;
    uint32_t seed = 0;

    bool Overlaps(const TCollisionSphere& b) const {
        float dx = center.x - b.center.x, dy = center.y - b.center.y, dz = center.z - b.center.z;
        float reach = radius + b.radius;
        return dx * dx + dy * dy + dz * dz < reach * reach;
    }
};

// One flag a sphere: 1 for those that have to go. A sphere with a number that is not finite stays.
std::vector<uint8_t> FindCollisions(std::span<const TCollisionSphere> spheres);

// Takes overlapping items out of the list, then those outside the view of a camera that limits.
// Items of the geometry list's first row stand before all others afterwards, both in their old
// order. Returns how many overlapped. When `bounds` of the distribution has no extent in x or y, or
// all radii are 0, nothing is removed, 0 returned, and the items stand largest first, of equals the
// smaller seed first.
int32_t RemoveCollisions(TDravinItemList& items, const Box3& bounds, const TCameraState& camera);
