#include "Dravin/engine/collisions.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <memory>
#include <numeric>

#include "host/base/huge_buffer.h"

namespace {

constexpr int kMaxClasses = 24;  // radii below 2^-23 of the largest share the last one
constexpr double kMostCellsASide = 1e9;
constexpr double kSlack = 1 + 1e-5;    // covers the rounding of the single-precision test
constexpr double kSpheresPerCell = 3;  // before any is taken out
constexpr uint32_t kNone = UINT32_MAX;
constexpr size_t kAhead = 12;  // spheres for which memory is fetched before their turn

bool IsUsable(const TCollisionSphere& s) { return IsFinite(s.center) && std::isfinite(s.radius); }

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
        if (IsUsable(spheres[i])) ranked.push_back({RankOf(spheres[i]), uint32_t(i)});
    SortByRank(ranked);
    std::vector<uint32_t> order(ranked.size());
    for (size_t i = 0; i < ranked.size(); ++i) order[i] = ranked[i].index;
    return order;
}

// The plane of the grids: the two axes along which the spheres are spread most, so that those on a
// wall do not share the few cells below it.
struct GridPlane {
    int u = 0, v = 1;
    Box2 box;

    explicit GridPlane(const Box3& around) {
        Point3 width = around.Width();
        int flattest = 2;
        for (int axis = 0; axis < 2; ++axis)
            if (width[axis] < width[flattest]) flattest = axis;
        if (flattest < 2) u = flattest == 0 ? 1 : 0, v = 2;
        box += Of(around.min);
        box += Of(around.max);
    }
    Point2 Of(const Point3& p) const { return {p[u], p[v]}; }
};

// Spheres of one class that stayed, by the cell of their centre.
class ClassGrid {
public:
    ClassGrid(const GridPlane& plane, float largestRadius, size_t count)
        : m_plane(plane), m_radius(largestRadius) {
        const Box2& box = plane.box;
        double width = double(box.max.x) - box.min.x, height = double(box.max.y) - box.min.y;
        // As wide as the largest sphere, or so much wider that a cell holds a few spheres: then the
        // buckets are few and near each other.
        double room = double(std::max<size_t>(count, 1)) / kSpheresPerCell;
        double diameter = 2.0 * double(largestRadius);
        m_cell = std::clamp(std::sqrt(width * height / room), diameter, 8 * diameter);
        m_cell = std::max(m_cell, std::max(width, height) / kMostCellsASide);
        if (!(m_cell > 0)) m_cell = 1;
        m_columns = int64_t(width / m_cell) + 1;
        m_rows = int64_t(height / m_cell) + 1;
        m_cellsPerUnit = 1 / m_cell;
        size_t buckets = std::bit_ceil(count / 2 + 16);
        m_dense = double(m_columns) * double(m_rows) <= double(buckets);
        if (m_dense) buckets = size_t(m_columns) * size_t(m_rows);
        if (count == 0) return;
        m_memory = HugeBuffer(buckets * sizeof(Bucket));
        m_buckets = {reinterpret_cast<Bucket*>(m_memory.Data()), buckets};
        std::uninitialized_fill(m_buckets.begin(), m_buckets.end(), Bucket{});
    }

    bool IsEmpty() const { return m_empty; }

    void Insert(const TCollisionSphere& sphere) {
        Bucket& head = m_buckets[BucketOfPoint(m_plane.Of(sphere.center))];
        m_empty = false;
        if (head.count == kInBucket) {
            // What the bucket holds moves behind it.
            m_overflow.push_back(head);
            head.count = 0;
            head.next = uint32_t(m_overflow.size() - 1);
        }
        head.center[head.count] = sphere.center;
        head.radius[head.count++] = sphere.radius;
    }

    // Whether a sphere that stayed overlaps this one.
    bool Overlaps(const TCollisionSphere& sphere) const {
        auto [c0, c1, r0, r1] = CellsNear(sphere);
        for (int64_t r = r0; r <= r1; ++r)
            for (int64_t c = c0; c <= c1; ++c) {
                const Bucket* bucket = &m_buckets[BucketOf(c, r)];
                while (true) {
                    for (uint32_t k = 0; k < bucket->count; ++k)
                        if (sphere.Overlaps(bucket->center[k], bucket->radius[k])) return true;
                    if (bucket->next == kNone) break;
                    bucket = &m_overflow[bucket->next];
                }
            }
        return false;
    }

    // Fetches what Overlaps will read first.
    void Fetch(const TCollisionSphere& sphere) const {
        auto [c0, c1, r0, r1] = CellsNear(sphere);
        for (int64_t r = r0; r <= r1; ++r)
            for (int64_t c = c0; c <= c1; ++c) __builtin_prefetch(&m_buckets[BucketOf(c, r)]);
    }

private:
    static constexpr uint32_t kInBucket = 3;

    // Spheres of a cell, in one line of the cache; more of them stand in the overflow.
    struct alignas(64) Bucket {
        std::array<Point3, kInBucket> center;
        std::array<float, kInBucket> radius;
        uint32_t count = 0, next = kNone;
    };
    struct Cells {
        int64_t c0, c1, r0, r1;
    };

    // Cells that can hold a sphere near enough to touch this one; other spheres of their buckets
    // are asked, too.
    Cells CellsNear(const TCollisionSphere& s) const {
        double reach = (double(s.radius) + double(m_radius)) * kSlack;
        Point2 p = m_plane.Of(s.center);
        return {Column(p.x - reach), Column(p.x + reach), Row(p.y - reach), Row(p.y + reach)};
    }
    int64_t Column(double x) const { return Cell(x - m_plane.box.min.x, m_columns); }
    int64_t Row(double y) const { return Cell(y - m_plane.box.min.y, m_rows); }
    int64_t Cell(double offset, int64_t count) const {
        return int64_t(std::clamp(offset * m_cellsPerUnit, 0.0, double(count - 1)));
    }
    size_t BucketOfPoint(Point2 p) const { return BucketOf(Column(p.x), Row(p.y)); }
    size_t BucketOf(int64_t column, int64_t row) const {
        if (m_dense) return size_t(row * m_columns + column);
        uint64_t mixed =
            (uint64_t(row) * 0x9E3779B97F4A7C15u) ^ (uint64_t(column) * 0xC2B2AE3D27D4EB4Fu);
        return size_t((mixed ^ (mixed >> 29)) * 0xBF58476D1CE4E5B9u >> 32) & (m_buckets.size() - 1);
    }

    GridPlane m_plane;
    float m_radius;
    double m_cell = 1, m_cellsPerUnit = 1;
    int64_t m_columns = 1, m_rows = 1;
    bool m_dense = true, m_empty = true;
    HugeBuffer m_memory;
    std::span<Bucket> m_buckets;  // in that memory
    std::vector<Bucket> m_overflow;
};

int ClassOf(float radius, float largest) {
    if (!(radius > 0)) return kMaxClasses - 1;
    return std::clamp(int(std::floor(std::log2(largest / radius))), 0, kMaxClasses - 1);
}

// The grids of all classes. Spheres come largest first, so that their classes only rise.
class ClassGrids {
public:
    ClassGrids(std::span<const TCollisionSphere> spheres, std::span<const uint32_t> order)
        : m_largest(spheres[order[0]].radius) {
        Box3 box;
        // The first radius of a class is its largest, whatever rounding the logarithm had.
        std::array<float, kMaxClasses> radii{};
        std::array<size_t, kMaxClasses> counts{};
        for (uint32_t i : order) {
            box += spheres[i].center;
            auto own = size_t(ClassOf(spheres[i].radius, m_largest));
            if (counts[own]++ == 0) radii[own] = spheres[i].radius;
        }
        for (size_t k = 0; k < kMaxClasses; ++k)
            m_grids.emplace_back(GridPlane(box), radii[k], counts[k]);
    }

    bool Overlaps(const TCollisionSphere& sphere) const {
        return std::any_of(m_grids.begin(), m_grids.end(), [&](const ClassGrid& grid) {
            return !grid.IsEmpty() && grid.Overlaps(sphere);
        });
    }
    void Fetch(const TCollisionSphere& sphere) const {
        for (const ClassGrid& grid : m_grids)
            if (!grid.IsEmpty()) grid.Fetch(sphere);
    }
    void Insert(const TCollisionSphere& sphere) {
        m_grids[size_t(ClassOf(sphere.radius, m_largest))].Insert(sphere);
    }

private:
    float m_largest;
    std::vector<ClassGrid> m_grids;
};

}  // namespace

std::vector<uint8_t> FindCollisions(std::span<const TCollisionSphere> spheres) {
    std::vector<uint8_t> discarded(spheres.size(), 0);
    std::vector<uint32_t> order = LargestFirst(spheres);
    if (order.size() < 2 || !(spheres[order[0]].radius > 0)) return discarded;

    ClassGrids grids(spheres, order);
    for (size_t k = 0; k < order.size(); ++k) {
        if (k + 2 * kAhead < order.size()) __builtin_prefetch(&spheres[order[k + 2 * kAhead]]);
        if (k + kAhead < order.size()) grids.Fetch(spheres[order[k + kAhead]]);
        const TCollisionSphere& sphere = spheres[order[k]];
        if (grids.Overlaps(sphere))
            discarded[order[k]] = 1;
        else
            grids.Insert(sphere);
    }
    return discarded;
}

std::vector<TCollisionItem> CollisionItems(const TDravinItemList& items,
                                           const TCameraState& camera) {
    std::vector<TCollisionItem> result(items.Count());
    for (size_t first = 0, together = 0; first < result.size(); first += together) {
        TItemColumns records = items.RecordsFrom(first, &together);
        for (size_t i = 0; i < together; ++i) {
            const ItemPlace& place = records.place[i];
            TCollisionItem& item = result[first + i];
            item.sphere = {place.position, records.extents[i].collisionRadius, place.seed};
            item.sphere.center.z += records.extents[i].collisionHeight;
            item.isFirstRow = place.specimenIndex == 0;
            item.isOutOfView = camera.limitActive && !camera.view.Contains(place.position);
        }
    }
    return result;
}

TCollisionOutcome ResolveCollisions(std::span<const TCollisionItem> items, Box3 bounds) {
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

    std::vector<uint8_t> discarded = FindCollisions(spheres);
    outcome.removed = int32_t(std::count(discarded.begin(), discarded.end(), 1));
    std::vector<uint32_t> others;
    for (size_t i = 0; i < items.size(); ++i)
        if (!discarded[i] && !items[i].isOutOfView)
            (items[i].isFirstRow ? outcome.order : others).push_back(uint32_t(i));
    outcome.order.insert(outcome.order.end(), others.begin(), others.end());
    return outcome;
}

int32_t RemoveCollisions(TDravinItemList& items, const Box3& bounds, const TCameraState& camera) {
    TCollisionOutcome outcome = ResolveCollisions(CollisionItems(items, camera), bounds);
    bool same = outcome.order.size() == items.Count() &&
                std::is_sorted(outcome.order.begin(), outcome.order.end());
    if (!same) items.Reorder(outcome.order);
    return outcome.removed;
}
