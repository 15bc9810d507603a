// A look at one item on its way through the effects of a build.
#pragma once

#include <mutex>
#include <optional>
#include <vector>

#include "Dravin/effects/effect_programs.h"
#include "Dravin/engine/item_id.h"

// An item as it comes to a program.
struct TProbedItem {
    std::vector<tavuvm_expr::value> attributes;  // in the order of ItemAttributes
    TNuRandom random{1};                         // its generator, behind its own draws
};

// Stands in a build for its programs, which run as ever, and waits for an item. Of items that share
// an id one counts, and of one that is built again its second try.
class TItemProbe : public IEffectPrograms {
public:
    // programs: of the build; null: none run. before: the program that the item is looked at
    // before; behind the last one: after all. progress: cancelled as soon as the item was seen.
    TItemProbe(const TEffectPrograms* programs, size_t before, const TItemId& id,
               TBuildProgress& progress);

    // None: there was no such item, or a rule dropped it.
    const std::optional<TProbedItem>& Found() const { return m_found; }

    std::unique_ptr<IEffectRunner> MakeRunner(const TBuildInput& input,
                                              const TGeometryChoice& geometry) const override;
    bool MayReplace() const override { return m_programs->MayReplace(); }
    bool UsesRandom() const override { return true; }
    uint32_t GroupsWritten() const override { return m_programs->GroupsWritten(); }

private:
    class Runner;
    bool IsMeant(const TBuildInput& input, const TEffectLanes& items, size_t k) const;
    void Take(const TBuildInput& input, const TEffectLanes& items, size_t k) const;

    TEffectPrograms m_none;
    const TEffectPrograms* m_programs;
    size_t m_before;
    TItemId m_id;
    TBuildProgress& m_progress;
    mutable std::mutex m_mutex;  // runners of all threads report here
    mutable std::optional<TProbedItem> m_found;
};
