// What the engine asks of effect programs: change a batch of items while they are born.
//
// The engine knows no language. A build input may point to IEffectPrograms; every task of the
// distribution takes a runner of its own from it, so runners need no locks. Items come to the
// programs finished (placed, scaled, turned, tinted), as lanes; what they write stands in the lanes
// and in the outcomes when they are done.
#pragma once

#include <memory>
#include <span>

#include "Dravin/engine/item_cells.h"

// What the programs of an item changed beyond the fields that they wrote.
struct TEffectOutcome {
    TItemOverrides overrides;       // accumulated over all programs of the item
    bool geometryWritten = false;   // `specimen` is the row that they want
    bool placementWritten = false;  // random ranges or the surface direction
    int32_t specimen = 0;

    // Forgets all; values that nothing says are there stay behind.
    void Clear() {
        overrides.Clear();
        geometryWritten = placementWritten = false;
    }
};

// Lanes on their way through the programs; those that are not alive are left alone.
struct TEffectLanes {
    TItemLanes& lanes;
    const TCells& cells;
    std::span<TEffectOutcome> outcomes;  // one a lane
    TNuRandomColumns randoms;  // one a lane, behind the item's own draws; empty: none draws
};

class IEffectRunner {
public:
    virtual ~IEffectRunner() = default;
    // Runs all programs on every item, in the order of the effects list. Items that a program hides
    // are dropped.
    virtual void Run(const TEffectLanes& items) = 0;
};

// The compiled programs of a build; const and shared by its threads.
class IEffectPrograms {
public:
    virtual ~IEffectPrograms() = default;
    virtual std::unique_ptr<IEffectRunner> MakeRunner(const TBuildInput& input,
                                                      const TGeometryChoice& geometry) const = 0;
    // Whether a program may ask for another geometry or placement: such items are built again.
    virtual bool MayReplace() const = 0;
    // Whether a program draws random numbers of the item.
    virtual bool UsesRandom() const = 0;
    // Groups of the item list (ItemGroups) that programs write into, whatever the settings fill.
    virtual uint32_t GroupsWritten() const = 0;
};
