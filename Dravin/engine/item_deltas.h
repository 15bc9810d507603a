// Changes of single generated items, kept by id: moves, turns, scales, deletions, other geometry.
//
// Rules make an item first. Another row of the geometry list takes the place of the one that the
// rules chose for it, before they size it and judge it; the other changes are made when all rules
// and programs have seen the item, and before overlaps are looked for. Whatever happens elsewhere,
// the item keeps its changes as long as it exists (item_id.h). Hand-edited items have none.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "Dravin/engine/item_id.h"
#include "Dravin/engine/item_lanes.h"

struct TBuildInput;
struct TCellRules;
struct TCells;

struct TItemDelta {
    TItemId id;
    bool deleted = false;
    Point3 move;            // added to its place, object space
    Point3 rotateDegrees;   // about the object's X, then Y, then Z axis, in its place
    Point3 scale{1, 1, 1};  // times its width, depth and height
    int32_t geometry = -1;  // row of the geometry list, modulo its length; -1: that of the rules

    friend bool operator==(const TItemDelta&, const TItemDelta&) = default;
};

// The deltas of a build, found by id in constant time. Threads may share it.
class TItemDeltaTable {
public:
    // Of several deltas of one id the first counts.
    explicit TItemDeltaTable(std::vector<TItemDelta> deltas);

    std::span<const TItemDelta> Deltas() const { return m_deltas; }
    // Null for an item without any.
    const TItemDelta* Find(const TItemId& id) const;
    size_t NumberOf(const TItemDelta& delta) const { return size_t(&delta - m_deltas.data()); }

private:
    std::vector<TItemDelta> m_deltas;
    std::vector<uint32_t> m_slots;  // one more than a number; 0: free
    uint64_t m_mask;
};

// Of an item that a cell makes. element: among those of the row that the rules chose, 0 for levels
// of detail.
TItemId IdOfCell(const TBuildInput& input, const TCellRules& rules, const TCells& cells,
                 size_t cell, uint32_t seed, int element);
// Of a finished item, which the list has read with its cell.
TItemId IdOfItem(const TBuildInput& input, const TDravinItem& item);

// Changes the finished lanes that have deltas (TItemLanes::delta), and counts them; deleted ones
// are dropped, by no rule.
void ApplyDeltas(const TBuildInput& input, TItemLanes& lanes, TDeltaCounts& counts);
