// Takes items out until none overlap.
//
// Every item is a sphere of its collision radius around its position, lifted by its collision
// height. Items are taken largest first, of equals the smaller seed first, and one stays when it
// overlaps none that stayed before it. Spheres that only touch do not overlap.
//
// How it is done stands in collision_classes.h. It takes linear time, and about 50 bytes an item
// besides what is given.
#pragma once

#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "Dravin/engine/camera.h"
#include "Dravin/engine/item_list.h"

struct TCollisionSphere {
    Point3 center;
    float radius = 0;
    uint32_t seed = 0;

    // Whether all numbers are finite.
    bool IsUsable() const { return IsFinite(center) && std::isfinite(radius); }
    bool Overlaps(const Point3& otherCenter, float otherRadius) const {
        Point3 d = center - otherCenter;
        float reach = radius + otherRadius;
        return d.x * d.x + d.y * d.y + d.z * d.z < reach * reach;
    }
    bool Overlaps(const TCollisionSphere& b) const { return Overlaps(b.center, b.radius); }
};

// One flag a sphere: 1 for those that have to go. A sphere with a number that is not finite stays.
// The same for any number of threads.
std::vector<uint8_t> FindCollisions(std::span<const TCollisionSphere> spheres, int threads = 1);

// What decides about an item where items may not overlap.
struct TCollisionItem {
    TCollisionSphere sphere;
    bool isFirstRow = false;   // shows the geometry list's first row
    bool isOutOfView = false;  // of a camera that limits
};

// Items that stay, in the order in which they stand afterwards.
struct TCollisionOutcome {
    std::vector<uint32_t> order;
    int32_t removed = 0;  // because they overlapped
};

std::vector<TCollisionItem> CollisionItems(const TDravinItemList& items,
                                           const TCameraState& camera);

// Takes overlapping items out, then those out of view. Items of the first row stand before all
// others afterwards, both in their old order. When `bounds` of the distribution, or where those
// are empty the items', have no extent in x or y, or all radii are 0, nothing is removed, and the
// items stand largest first, of equals the smaller seed first (as they are where a number is not
// finite). Fewer than two items stay as they are.
TCollisionOutcome ResolveCollisions(std::span<const TCollisionItem> items, Box3 bounds,
                                    int threads = 1);

// The same for the items of a list. Returns how many overlapped.
int32_t RemoveCollisions(TDravinItemList& items, const Box3& bounds, const TCameraState& camera,
                         int threads = 1);
