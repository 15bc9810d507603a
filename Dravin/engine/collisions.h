// Takes items out until none overlap.
//
// Every item is a sphere of its collision radius around its position, lifted by its collision
// height. Items are taken largest first, of equals the smaller seed first, and one stays when it
// overlaps none that stayed before it. Spheres that only touch do not overlap.
//
// Each class of radii (factor 2) has a uniform grid of its own over the plane of the two largest
// extents, cells at least as wide as its largest sphere: an item looks into three by three cells at
// most of every class not below its own, so that few large items do not make the cells of many
// small ones coarse. A cell keeps its first spheres in one line of the cache, which is fetched some
// items ahead; buckets are shared by hashing where the grid would have more cells than items.
// Sorting by digits and everything else take linear time, and about 70 bytes an item.
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

    bool Overlaps(const Point3& otherCenter, float otherRadius) const {
        Point3 d = center - otherCenter;
        float reach = radius + otherRadius;
        return d.x * d.x + d.y * d.y + d.z * d.z < reach * reach;
    }
    bool Overlaps(const TCollisionSphere& b) const { return Overlaps(b.center, b.radius); }
};

// One flag a sphere: 1 for those that have to go. A sphere with a number that is not finite stays.
std::vector<uint8_t> FindCollisions(std::span<const TCollisionSphere> spheres);

// Takes overlapping items out of the list, then those outside the view of a camera that limits.
// Items of the geometry list's first row stand before all others afterwards, both in their old
// order. Returns how many overlapped. When `bounds` of the distribution has no extent in x or y, or
// all radii are 0, nothing is removed, 0 returned, and the items stand largest first, of equals the
// smaller seed first.
int32_t RemoveCollisions(TDravinItemList& items, const Box3& bounds, const TCameraState& camera);
