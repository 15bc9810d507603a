#include "Dravin/engine/collision_classes.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <numeric>
#include <utility>

#include "host/base/thread_pool.h"

namespace {

constexpr uint32_t kDecided = UINT32_MAX, kBlocked = UINT32_MAX - 1;
constexpr size_t kCellsPerPiece = 4096;
// Spheres are sorted into parts first, whose cells are sorted within the second-level cache.
constexpr size_t kSpheresPerPart = 1 << 14, kMostParts = 1 << 10;

// Of a radius above 0: its power of two.
int Exponent(float radius) { return int(std::bit_cast<uint32_t>(radius) >> 23); }

}  // namespace

// Decides the spheres of one class that overlap none of a larger one.
class TCollisionClasses::Decider {
public:
    // Of the cells [firstCell, lastCell), without touching others.
    Decider(const Class& own, std::span<Sphere> spheres, std::span<Cell> cells, size_t firstCell,
            size_t lastCell)
        : m_own(own),
          m_spheres(spheres),
          m_cells(cells),
          m_firstCell(firstCell),
          m_lastCell(lastCell),
          m_blocked(lastCell - firstCell) {}

    void Run() {
        for (size_t c = m_firstCell; c < m_lastCell; ++c)
            while (m_cells[c].next < m_cells[c].end && !m_blocked[c - m_firstCell])
                DecideNext(uint32_t(c));
    }

private:
    // Decides the next sphere of a cell, and before it those that it waits for.
    void DecideNext(uint32_t cell) {
        m_waiting.push_back(cell);
        while (!m_waiting.empty()) {
            uint32_t last = m_waiting.back(), answer = Ask(last);
            bool isCell = answer != kDecided && answer != kBlocked;
            if (isCell && !m_blocked[answer - m_firstCell]) {
                m_waiting.push_back(answer);
                continue;
            }
            if (answer != kDecided) m_blocked[last - m_firstCell] = 1;
            m_waiting.pop_back();
        }
    }

    // Decides the next sphere of a cell, if it can: otherwise the cell that has to be asked
    // before, or kBlocked when another band has to.
    uint32_t Ask(uint32_t cellIndex) {
        Cell& cell = m_cells[cellIndex];
        const Sphere& sphere = m_spheres[cell.next];
        uint32_t answer = kDecided;
        bool overlaps =
            m_own.cells.AnyNear(sphere.center, sphere.radius, [&](uint32_t first, uint32_t last) {
                for (uint32_t near = first; near <= last; ++near)
                    if (OverlapsKept(sphere, near, answer)) return true;
                return false;
            });
        if (!overlaps && answer != kDecided) return answer;
        if (!overlaps) m_spheres[cell.kept++] = sphere;
        ++cell.next;
        return kDecided;
    }

    // Whether a sphere overlaps one of the cell that stayed. A cell of another band, and one that
    // has a better sphere left, gives the answer.
    bool OverlapsKept(const Sphere& sphere, uint32_t cellIndex, uint32_t& answer) const {
        if (cellIndex < m_firstCell || cellIndex >= m_lastCell) {
            // What it holds may be changing.
            if (m_own.first[cellIndex] < m_own.first[cellIndex + 1]) answer = kBlocked;
            return false;
        }
        const Cell& cell = m_cells[cellIndex];
        for (uint32_t i = cell.first; i < cell.kept; ++i)
            if (sphere.Overlaps(m_spheres[i])) return true;
        bool waits = cell.next < cell.end && m_spheres[cell.next].GoesBefore(sphere);
        if (waits && answer != kBlocked) answer = cellIndex;
        return false;
    }

    const Class& m_own;
    std::span<Sphere> m_spheres;
    std::span<Cell> m_cells;
    size_t m_firstCell, m_lastCell;
    std::vector<uint8_t> m_blocked;   // cells whose next sphere waits for another band
    std::vector<uint32_t> m_waiting;  // cells, each for the one behind it
};

TCollisionClasses::TCollisionClasses(std::span<const TCollisionSphere> spheres, int threads)
    : m_threads(std::max(threads, 1)) {
    MakeClasses(spheres);
    LaySpheres(spheres);
    for (Class& own : m_classes)
        if (!own.first.empty()) Decide(own);
}

bool TCollisionClasses::Class::CanOverlap() const {
    float reach = 2 * cells.LargestRadius();
    return reach * reach > 0;
}

size_t TCollisionClasses::ClassOf(float radius) const {
    if (!(radius > 0)) return kNumClasses - 1;
    return std::min(size_t(m_topExponent - Exponent(radius)), kNumClasses - 1);
}

size_t TCollisionClasses::SlotOf(const Point3& center, float radius) const {
    const Class& own = m_classes[ClassOf(radius)];
    return own.firstSlot + own.cells.At(center);
}

// Lays the grids, and takes memory for the spheres.
void TCollisionClasses::MakeClasses(std::span<const TCollisionSphere> spheres) {
    Box3 box;
    float largest = 0;
    for (const TCollisionSphere& s : spheres) {
        if (!s.IsUsable()) continue;
        box += s.center;
        largest = std::max(largest, s.radius);
    }
    m_topExponent = Exponent(largest);
    std::array<size_t, kNumClasses> counts{};
    std::array<float, kNumClasses> radii{};
    for (const TCollisionSphere& s : spheres) {
        if (!s.IsUsable()) continue;
        size_t own = ClassOf(s.radius);
        ++counts[own];
        radii[own] = std::max(radii[own], s.radius);
    }
    size_t count = std::accumulate(counts.begin(), counts.end(), size_t{0}), slots = 0;
    m_memory = HugeBuffer(count * sizeof(Sphere));
    m_spheres = {reinterpret_cast<Sphere*>(m_memory.Data()), count};
    std::uninitialized_default_construct(m_spheres.begin(), m_spheres.end());
    TCollisionPlane plane(box);
    for (size_t k = 0; k < kNumClasses; ++k) {
        m_classes[k].firstSlot = slots;
        if (counts[k] == 0) continue;
        m_classes[k].cells = TCollisionCells(plane, radii[k], counts[k]);
        slots += m_classes[k].cells.Count() + 1;
    }
    m_first.resize(slots);
    for (size_t k = 0; k < kNumClasses; ++k)
        if (counts[k] > 0)
            m_classes[k].first =
                std::span(m_first).subspan(m_classes[k].firstSlot, m_classes[k].cells.Count() + 1);
}

// Sorts the spheres into slots by counting, in two steps: into parts of neighbouring slots, then
// part by part.
void TCollisionClasses::LaySpheres(std::span<const TCollisionSphere> spheres) {
    size_t most = std::clamp<size_t>(m_spheres.size() / kSpheresPerPart, 1, kMostParts);
    size_t slotsPerPart = std::bit_ceil((m_first.size() + most - 1) / most);
    int shift = std::countr_zero(slotsPerPart);
    std::vector<uint32_t> partFirst = LayParts(spheres, shift);
    ParallelFor(partFirst.size() - 1, m_threads, [&](size_t part) {
        size_t firstSlot = part << shift, begin = partFirst[part], end = partFirst[part + 1];
        size_t numSlots = std::min(slotsPerPart, m_first.size() - firstSlot);
        std::span<uint32_t> first = std::span(m_first).subspan(firstSlot, numSlots);
        SortPart(m_spheres.subspan(begin, end - begin), firstSlot, first);
        for (uint32_t& sphere : first) sphere += uint32_t(begin);
    });
}

// The first sphere of each part, and their end. Threads have ranges of the spheres; within a part
// those of one range stand before those of the next.
std::vector<uint32_t> TCollisionClasses::LayParts(std::span<const TCollisionSphere> spheres,
                                                  int shift) {
    size_t parts = ((m_first.size() - 1) >> shift) + 1, ranges = size_t(m_threads);
    std::vector<uint32_t> places(parts * ranges);  // counts, then the next place
    auto forEachOf = [&](size_t range, auto visit) {
        size_t last = spheres.size() * (range + 1) / ranges;
        for (size_t i = spheres.size() * range / ranges; i < last; ++i)
            if (const TCollisionSphere& s = spheres[i]; s.IsUsable())
                visit(i, places[range * parts + (SlotOf(s.center, s.radius) >> shift)]);
    };
    ParallelFor(ranges, m_threads,
                [&](size_t range) { forEachOf(range, [](size_t, uint32_t& count) { ++count; }); });
    std::vector<uint32_t> first;
    uint32_t sum = 0;
    for (size_t part = 0; part < parts; ++part) {
        first.push_back(sum);
        for (size_t range = 0; range < ranges; ++range)
            sum += std::exchange(places[range * parts + part], sum);
    }
    first.push_back(sum);
    ParallelFor(ranges, m_threads, [&](size_t range) {
        forEachOf(range, [&](size_t i, uint32_t& place) {
            const TCollisionSphere& s = spheres[i];
            m_spheres[place++] = {s.center, s.radius, s.seed, uint32_t(i)};
        });
    });
    return first;
}

// Sorts the spheres of a part. first: one a slot, becomes its first sphere, counted from the
// part's.
void TCollisionClasses::SortPart(std::span<Sphere> part, size_t firstSlot,
                                 std::span<uint32_t> first) const {
    std::vector<uint32_t> next(first.size() + 1), slots(part.size());
    for (size_t i = 0; i < part.size(); ++i) {
        slots[i] = uint32_t(SlotOf(part[i].center, part[i].radius) - firstSlot);
        ++next[slots[i] + 1];
    }
    std::inclusive_scan(next.begin(), next.end(), next.begin());
    std::copy_n(next.begin(), first.size(), first.begin());
    std::vector<Sphere> unsorted(part.begin(), part.end());
    for (size_t i = 0; i < unsorted.size(); ++i) part[next[slots[i]]++] = unsorted[i];
}

void TCollisionClasses::Decide(Class& own) {
    std::vector<Cell> cells(own.cells.Count());
    ParallelRanges(cells.size(), kCellsPerPiece, m_threads, [&](size_t first, size_t last) {
        for (size_t c = first; c < last; ++c) cells[c] = DropOverlapped(own, c);
    });
    if (own.CanOverlap()) {
        DecideRest(own, cells);
        m_decided.push_back(&own);
    } else {
        for (Cell& cell : cells) cell.kept = cell.end;
    }
    CloseGaps(own, cells);
}

// Takes the spheres of a cell out that overlap one of a larger class; the others wait for their
// decision, largest first.
TCollisionClasses::Cell TCollisionClasses::DropOverlapped(const Class& own, size_t cell) {
    uint32_t first = own.first[cell];
    auto begin = m_spheres.begin() + first, end = m_spheres.begin() + own.first[cell + 1];
    end = std::remove_if(begin, end, [&](const Sphere& s) { return OverlapsLarger(s); });
    std::sort(begin, end, [](const Sphere& a, const Sphere& b) { return a.GoesBefore(b); });
    return {first, first, first, first + uint32_t(end - begin)};
}

bool TCollisionClasses::OverlapsLarger(const Sphere& sphere) const {
    for (const Class* larger : m_decided) {
        bool overlaps = larger->cells.AnyNear(
            sphere.center, sphere.radius, [&](uint32_t firstCell, uint32_t lastCell) {
                uint32_t end = larger->first[lastCell + 1];
                for (uint32_t i = larger->first[firstCell]; i < end; ++i)
                    if (sphere.Overlaps(m_spheres[i])) return true;
                return false;
            });
        if (overlaps) return true;
    }
    return false;
}

void TCollisionClasses::DecideRest(const Class& own, std::span<Cell> cells) {
    size_t band = std::max(cells.size() / (4 * size_t(m_threads)), kCellsPerPiece);
    if (m_threads > 1 && cells.size() > band)
        ParallelRanges(cells.size(), band, m_threads, [&](size_t first, size_t last) {
            Decider(own, m_spheres, cells, first, last).Run();
        });
    Decider(own, m_spheres, cells, 0, cells.size()).Run();
}

void TCollisionClasses::CloseGaps(Class& own, std::span<const Cell> cells) {
    uint32_t count = own.first[0];
    for (size_t c = 0; c < cells.size(); ++c) {
        own.first[c] = count;
        for (uint32_t i = cells[c].first; i < cells[c].kept; ++i) m_spheres[count++] = m_spheres[i];
    }
    own.first[cells.size()] = count;
}

void TCollisionClasses::ClearKept(std::span<uint8_t> flags) const {
    for (const Class& own : m_classes) {
        if (own.first.empty()) continue;
        for (uint32_t i = own.first.front(); i < own.first.back(); ++i)
            flags[m_spheres[i].index] = 0;
    }
}
