// Custom edit mode: items that were edited by hand stand in place of a distribution.
//
// A stored item keeps what edits change: its place, seed, geometry, size and frame. Everything else
// follows from the parameters again at every build, by the same steps as for a distributed item:
// random values from the seed, translation, surfaces, camera, scale, rotation, tint. No area and no
// density rule acts on it, and an item that a rule removes stays in the list, marked as discarded,
// so that item i of the list is always stored item i.
#pragma once

#include "Dravin/engine/item_cells.h"

// The input's stored items as a source. Lists of the build hold an item for each of them.
class TStoredSource : public IItemSource {
public:
    // decimation: every N-th item is shown, the others are discarded. The input has specimens and
    // outlives the source.
    TStoredSource(const TBuildInput& input, int32_t decimation);

    const TCellRules& Rules() const override { return m_rules; }
    int64_t NumUnits() const override { return int64_t(m_input.storedItems.size()); }
    size_t NumPieces() const override;
    std::unique_ptr<ICellReader> Read(size_t piece) const override;

private:
    const TBuildInput& m_input;
    int32_t m_decimation;
    TCellRules m_rules;
};

// Every N-th item is shown so that a display stays below its limit.
int32_t StoredDecimation(const TBuildInput& input);
