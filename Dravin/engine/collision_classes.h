// Which of many spheres stay, taken largest first, when no two that stay may overlap.
//
// Spheres lie in memory by class of radii (factor 2), by cell of their class's grid, row by row,
// and within a cell largest first. Classes are decided one after the other, the largest first:
// spheres that overlap one of a larger class go; what remains is decided cell by cell. The next
// sphere of a cell can be decided as soon as it overlaps one that stayed, or all cells near it have
// no better one left: until then the cell of the better one has its turn. The best sphere
// of all can always be decided, so nothing waits for ever, and the outcome is that of taking all
// spheres in order, whatever the order of cells: neighbours in the plane are neighbours in memory,
// and bands of cells can be decided by threads of their own. What waits for another band is decided
// once all are through. (Blelloch, Fineman and Shun 2012 show that such chains are short for
// random orders; for any other the work is linear all the same.)
//
// Memory: 24 bytes a sphere, 4 bytes a cell, and 16 bytes more for the cells of the class that is
// being decided; there is about one cell a sphere at most, and one for three where they lie evenly.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Dravin/engine/collision_cells.h"
#include "Dravin/engine/collisions.h"
#include "host/base/huge_buffer.h"

class TCollisionClasses {
public:
    // Spheres with a number that is not finite are left out. The outcome is the same for any
    // number of threads.
    TCollisionClasses(std::span<const TCollisionSphere> spheres, int threads);

    // Clears the flags of those that stay; one flag a sphere of the constructor.
    void ClearKept(std::span<uint8_t> flags) const;

private:
    static constexpr size_t kNumClasses = 24;  // radii below 2^-23 of the largest share the last

    struct Sphere {
        Point3 center;
        float radius;
        uint32_t seed, index;

        bool Overlaps(const Sphere& b) const {
            return TCollisionSphere{center, radius, seed}.Overlaps(b.center, b.radius);
        }
        // Equal radii and seeds: in the order in which they came.
        bool GoesBefore(const Sphere& b) const {
            if (radius != b.radius) return radius > b.radius;
            return seed != b.seed ? seed < b.seed : index < b.index;
        }
    };
    // Spheres of a cell: those that stayed, a gap, those to be decided, another gap.
    struct Cell {
        uint32_t first, kept, next, end;
    };
    struct Class {
        TCollisionCells cells;
        size_t firstSlot = 0;       // of m_first
        std::span<uint32_t> first;  // sphere of each cell, and their end; once decided, of the kept

        // False where even two of the largest radii have a reach whose square vanishes.
        bool CanOverlap() const;
    };
    class Decider;

    size_t ClassOf(float radius) const;
    size_t SlotOf(const Point3& center, float radius) const;
    void MakeClasses(std::span<const TCollisionSphere> spheres);
    void LaySpheres(std::span<const TCollisionSphere> spheres);
    std::vector<uint32_t> LayParts(std::span<const TCollisionSphere> spheres, int shift);
    void SortPart(std::span<Sphere> part, size_t firstSlot, std::span<uint32_t> first) const;
    void Decide(Class& own);
    Cell DropOverlapped(const Class& own, size_t cell);
    bool OverlapsLarger(const Sphere& sphere) const;
    void DecideRest(const Class& own, std::span<Cell> cells);
    void CloseGaps(Class& own, std::span<const Cell> cells);

    int m_threads;
    int m_topExponent = 0;  // of the largest radius
    HugeBuffer m_memory;
    std::span<Sphere> m_spheres;  // in it
    std::vector<uint32_t>
        m_first;  // sphere of each slot: the cells of a class, and one more for each
    std::array<Class, kNumClasses> m_classes;
    std::vector<const Class*> m_decided;  // those that can still overlap others
};
