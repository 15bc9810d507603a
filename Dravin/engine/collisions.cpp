#include "Dravin/engine/collisions.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numeric>

#include "Dravin/engine/collision_classes.h"

namespace {

struct RankedSphere {
    uint64_t rank;  // the smaller goes first
    uint32_t index;
};

// Larger radii first, of equal ones smaller seeds. The bits of a number order as it does once
// those of negative ones are turned round; -0 counts as 0.
uint64_t RankOf(const TCollisionSphere& s) {
    uint32_t bits = std::bit_cast<uint32_t>(s.radius + 0.0f);
    uint32_t rising = bits >> 31 ? ~bits : bits | 0x80000000u;
    return uint64_t(~rising) << 32 | s.seed;
}

// Sorts by rank, keeping the order of equals: counting sorts by eleven bits at a time, from the
// lowest up (Knuth, volume 3, section 5.2.5). Digits that all share are skipped.
void SortByRank(std::vector<RankedSphere>& spheres) {
    constexpr int kDigitBits = 11, kDigits = 6;
    constexpr size_t kValues = size_t{1} << kDigitBits;
    auto digit = [](uint64_t rank, int d) { return (rank >> (d * kDigitBits)) & (kValues - 1); };
    std::vector<std::array<uint32_t, kValues>> counts(kDigits);
    for (const RankedSphere& s : spheres)
        for (int d = 0; d < kDigits; ++d) ++counts[size_t(d)][digit(s.rank, d)];
    std::vector<RankedSphere> sorted(spheres.size());
    for (int d = 0; d < kDigits; ++d) {
        std::array<uint32_t, kValues>& place = counts[size_t(d)];
        if (spheres.empty() || place[digit(spheres[0].rank, d)] == spheres.size()) continue;
        std::exclusive_scan(place.begin(), place.end(), place.begin(), 0u);
        for (const RankedSphere& s : spheres) sorted[place[digit(s.rank, d)]++] = s;
        spheres.swap(sorted);
    }
}

// Order in which spheres are taken.
std::vector<uint32_t> LargestFirst(std::span<const TCollisionSphere> spheres) {
    std::vector<RankedSphere> ranked;
    ranked.reserve(spheres.size());
    for (size_t i = 0; i < spheres.size(); ++i)
        if (spheres[i].IsUsable()) ranked.push_back({RankOf(spheres[i]), uint32_t(i)});
    SortByRank(ranked);
    std::vector<uint32_t> order(ranked.size());
    for (size_t i = 0; i < ranked.size(); ++i) order[i] = ranked[i].index;
    return order;
}

}  // namespace

std::vector<uint8_t> FindCollisions(std::span<const TCollisionSphere> spheres, int threads) {
    std::vector<uint8_t> discarded(spheres.size(), 0);
    size_t usable = 0;
    float largest = 0;
    for (size_t i = 0; i < spheres.size(); ++i) {
        if (!spheres[i].IsUsable()) continue;
        ++usable;
        discarded[i] = 1;
        largest = std::max(largest, spheres[i].radius);
    }
    if (usable < 2 || !(largest > 0)) return std::vector<uint8_t>(spheres.size(), 0);
    TCollisionClasses(spheres, threads).ClearKept(discarded);
    return discarded;
}

std::vector<TCollisionItem> CollisionItems(const TDravinItemList& items,
                                           const TCameraState& camera) {
    std::vector<TCollisionItem> result(items.Count());
    for (size_t first = 0, together = 0; first < result.size(); first += together) {
        TItemColumns columns = items.ColumnsAt(first, &together);
        for (size_t i = 0; i < together; ++i) {
            const Point3& position = columns.position[i];
            const ItemExtents& extents = columns.extents[i];
            TCollisionItem& item = result[first + i];
            item.sphere = {position, extents.collisionRadius, columns.seed[i]};
            item.sphere.center.z += extents.collisionHeight;
            item.isFirstRow = columns.specimenIndex[i] == 0;
            item.isOutOfView = camera.limitActive && !camera.view.Contains(position);
        }
    }
    return result;
}

TCollisionOutcome ResolveCollisions(std::span<const TCollisionItem> items, Box3 bounds,
                                    int threads) {
    TCollisionOutcome outcome;
    std::vector<TCollisionSphere> spheres(items.size());
    bool around = bounds.IsEmpty();
    float largest = 0;
    for (size_t i = 0; i < items.size(); ++i) {
        spheres[i] = items[i].sphere;
        largest = std::max(largest, spheres[i].radius);
        if (around) bounds += spheres[i].center;
    }
    bool flat = bounds.min.x == bounds.max.x || bounds.min.y == bounds.max.y;
    if (items.size() < 2 || flat || !(largest > 0)) {
        // The order in which items would have been tested is all that happens to them.
        if (items.size() > 1) outcome.order = LargestFirst(spheres);
        if (outcome.order.size() == items.size()) return outcome;
        outcome.order.resize(items.size());
        std::iota(outcome.order.begin(), outcome.order.end(), 0u);
        return outcome;
    }

    std::vector<uint8_t> discarded = FindCollisions(spheres, threads);
    outcome.removed = int32_t(std::count(discarded.begin(), discarded.end(), 1));
    std::vector<uint32_t> others;
    for (size_t i = 0; i < items.size(); ++i)
        if (!discarded[i] && !items[i].isOutOfView)
            (items[i].isFirstRow ? outcome.order : others).push_back(uint32_t(i));
    outcome.order.insert(outcome.order.end(), others.begin(), others.end());
    return outcome;
}

int32_t RemoveCollisions(TDravinItemList& items, const Box3& bounds, const TCameraState& camera,
                         int threads) {
    TCollisionOutcome outcome = ResolveCollisions(CollisionItems(items, camera), bounds, threads);
    bool same = outcome.order.size() == items.Count() &&
                std::is_sorted(outcome.order.begin(), outcome.order.end());
    if (!same) items.Reorder(outcome.order);
    return outcome.removed;
}
