// What the engine asks of effect programs: change one item, or a batch of them, while they are
// born.
//
// The engine knows no language. A build input may point to IEffectPrograms; every task of the
// distribution takes a runner of its own from it, so runners need no locks. An item comes to the
// programs finished (placed, scaled, turned, tinted); what they write stands in the item and in
// its TEffectOutcome when they are done.
#pragma once

#include <memory>
#include <span>

#include "Dravin/engine/item.h"
#include "Dravin/engine/transforms.h"

struct TBuildInput;
class TGeometryChoice;

// What the programs of an item changed beyond the fields that they wrote.
struct TEffectOutcome {
    TItemOverrides overrides;       // accumulated over all programs of the item
    bool geometryWritten = false;   // `specimen` is the row that they want
    bool placementWritten = false;  // random ranges or the surface direction
    int32_t specimen = 0;
    bool scaleWritten = false;     // sizes follow from the item's new scale
    bool rotationWritten = false;  // the frame follows from the item's new angles
};

// One item on its way through the programs.
struct TEffectItem {
    TDravinItem* item = nullptr;
    const TSpecimen* specimen = nullptr;
    TSpecimenSize size;   // of the specimen, before the item's scale
    TNuRandom random{0};  // behind the item's own draws
    TEffectOutcome outcome;
};

class IEffectRunner {
public:
    virtual ~IEffectRunner() = default;
    // Runs all programs on every item, in the order of the effects list. Items that a program hides
    // have their `discarded` set.
    virtual void Run(std::span<TEffectItem> items) = 0;
};

// The compiled programs of a build; const and shared by its threads.
class IEffectPrograms {
public:
    virtual ~IEffectPrograms() = default;
    virtual std::unique_ptr<IEffectRunner> MakeRunner(const TBuildInput& input,
                                                      const TGeometryChoice& geometry) const = 0;
    // Whether a program may ask for another geometry or placement: such items are built again at
    // once, so they come one by one.
    virtual bool MayReplace() const = 0;
    // Whether a program draws random numbers of the item.
    virtual bool UsesRandom() const = 0;
};
