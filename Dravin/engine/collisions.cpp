#include "Dravin/engine/collisions.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

constexpr int kMaxClasses = 24;  // radii below 2^-23 of the largest share the last one
constexpr double kMostCellsASide = 1e9;
constexpr double kSlack = 1 + 1e-5;  // covers the rounding of the single-precision test
constexpr uint32_t kNone = UINT32_MAX;

bool IsUsable(const TCollisionSphere& s) { return IsFinite(s.center) && std::isfinite(s.radius); }

// Order in which spheres are taken.
std::vector<uint32_t> LargestFirst(std::span<const TCollisionSphere> spheres) {
    std::vector<uint32_t> order;
    for (size_t i = 0; i < spheres.size(); ++i)
        if (IsUsable(spheres[i])) order.push_back(uint32_t(i));
    std::sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
        if (spheres[a].radius != spheres[b].radius) return spheres[a].radius > spheres[b].radius;
        return spheres[a].seed != spheres[b].seed ? spheres[a].seed < spheres[b].seed : a < b;
    });
    return order;
}

// Spheres of one class that stayed, by the cell of their centre.
class ClassGrid {
public:
    ClassGrid(const Box2& box, float largestRadius, size_t count)
        : m_box(box), m_radius(largestRadius) {
        double width = double(box.max.x) - box.min.x, height = double(box.max.y) - box.min.y;
        m_cell = std::max(2.0 * double(largestRadius), std::max(width, height) / kMostCellsASide);
        if (!(m_cell > 0)) m_cell = 1;
        m_columns = int64_t(width / m_cell) + 1;
        m_rows = int64_t(height / m_cell) + 1;
        size_t buckets = std::bit_ceil(count * 2 + 16);
        m_dense = double(m_columns) * double(m_rows) <= double(buckets);
        if (m_dense) buckets = size_t(m_columns) * size_t(m_rows);
        m_heads.assign(buckets, kNone);
    }

    bool IsEmpty() const { return m_empty; }

    void Insert(uint32_t i, const Point3& center, std::vector<uint32_t>& next) {
        uint32_t& head = m_heads[Bucket(Column(center.x), Row(center.y))];
        next[i] = head;
        head = i;
        m_empty = false;
    }

    // Whether test(j) holds for a sphere j near enough to touch one of that centre and radius.
    // Other spheres of the same buckets are asked, too.
    template <class Test>
    bool Any(const Point3& center, float radius, const std::vector<uint32_t>& next,
             Test test) const {
        double reach = (double(radius) + double(m_radius)) * kSlack;
        int64_t c0 = Column(center.x - reach), c1 = Column(center.x + reach);
        int64_t r0 = Row(center.y - reach), r1 = Row(center.y + reach);
        for (int64_t r = r0; r <= r1; ++r)
            for (int64_t c = c0; c <= c1; ++c)
                for (uint32_t j = m_heads[Bucket(c, r)]; j != kNone; j = next[j])
                    if (test(j)) return true;
        return false;
    }

private:
    static int64_t Cell(double offset, double cell, int64_t count) {
        double place = std::clamp(offset / cell, 0.0, double(count - 1));
        return int64_t(place);
    }
    int64_t Column(double x) const { return Cell(x - m_box.min.x, m_cell, m_columns); }
    int64_t Row(double y) const { return Cell(y - m_box.min.y, m_cell, m_rows); }
    size_t Bucket(int64_t column, int64_t row) const {
        if (m_dense) return size_t(row * m_columns + column);
        uint64_t mixed =
            (uint64_t(row) * 0x9E3779B97F4A7C15u) ^ (uint64_t(column) * 0xC2B2AE3D27D4EB4Fu);
        return size_t((mixed ^ (mixed >> 29)) * 0xBF58476D1CE4E5B9u >> 32) & (m_heads.size() - 1);
    }

    Box2 m_box;
    float m_radius;
    double m_cell = 1;
    int64_t m_columns = 1, m_rows = 1;
    bool m_dense = true, m_empty = true;
    std::vector<uint32_t> m_heads;
};

int ClassOf(float radius, float largest) {
    if (!(radius > 0)) return kMaxClasses - 1;
    return std::clamp(int(std::floor(std::log2(largest / radius))), 0, kMaxClasses - 1);
}

std::vector<ClassGrid> MakeGrids(std::span<const TCollisionSphere> spheres,
                                 std::span<const uint32_t> order) {
    Box2 box;
    float largest = spheres[order[0]].radius;
    std::vector<size_t> counts(kMaxClasses, 0);
    for (uint32_t i : order) {
        box += Point2{spheres[i].center.x, spheres[i].center.y};
        ++counts[size_t(ClassOf(spheres[i].radius, largest))];
    }
    // The first radius of a class is its largest, whatever rounding the logarithm had.
    std::vector<float> radii(kMaxClasses, 0);
    for (uint32_t i : order) {
        float& radius = radii[size_t(ClassOf(spheres[i].radius, largest))];
        radius = std::max(radius, spheres[i].radius);
    }
    std::vector<ClassGrid> grids;
    for (size_t k = 0; k < kMaxClasses; ++k) grids.emplace_back(box, radii[k], counts[k]);
    return grids;
}

}  // namespace

std::vector<uint8_t> FindCollisions(std::span<const TCollisionSphere> spheres) {
    std::vector<uint8_t> discarded(spheres.size(), 0);
    std::vector<uint32_t> order = LargestFirst(spheres);
    if (order.size() < 2 || !(spheres[order[0]].radius > 0)) return discarded;

    std::vector<ClassGrid> grids = MakeGrids(spheres, order);
    std::vector<uint32_t> next(spheres.size(), kNone);
    float largest = spheres[order[0]].radius;
    for (uint32_t i : order) {
        const TCollisionSphere& sphere = spheres[i];
        bool overlaps = std::any_of(grids.begin(), grids.end(), [&](const ClassGrid& grid) {
            return !grid.IsEmpty() && grid.Any(sphere.center, sphere.radius, next, [&](uint32_t j) {
                return sphere.Overlaps(spheres[j]);
            });
        });
        discarded[i] = overlaps;
        if (!overlaps)
            grids[size_t(ClassOf(sphere.radius, largest))].Insert(i, sphere.center, next);
    }
    return discarded;
}

int32_t RemoveCollisions(TDravinItemList& items, const Box3& bounds, const TCameraState& camera) {
    size_t count = items.Count();
    std::vector<TCollisionSphere> spheres(count);
    float largest = 0;
    for (size_t i = 0; i < count; ++i) {
        const ItemPlace& place = items.Place(i);
        const ItemExtents& extents = items.Extents(i);
        Point3 center = place.position;
        center.z += extents.collisionHeight;
        spheres[i] = {center, extents.collisionRadius, place.seed};
        largest = std::max(largest, extents.collisionRadius);
    }
    bool flat = bounds.min.x == bounds.max.x || bounds.min.y == bounds.max.y;
    if (flat || !(largest > 0)) {
        // The order in which items would have been tested is all that happens to them.
        std::vector<uint32_t> order = LargestFirst(spheres);
        if (order.size() == count) items.Reorder(order);
        return 0;
    }

    std::vector<uint8_t> discarded = FindCollisions(spheres);
    auto removed = int32_t(std::count(discarded.begin(), discarded.end(), 1));
    std::vector<uint32_t> firstRow, others;
    for (size_t i = 0; i < count; ++i) {
        const ItemPlace& place = items.Place(i);
        if (discarded[i] || (camera.limitActive && !camera.view.Contains(place.position))) continue;
        (place.specimenIndex == 0 ? firstRow : others).push_back(uint32_t(i));
    }
    firstRow.insert(firstRow.end(), others.begin(), others.end());
    items.Reorder(firstRow);
    return removed;
}
