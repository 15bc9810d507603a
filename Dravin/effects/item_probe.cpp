#include "Dravin/effects/item_probe.h"

#include <algorithm>

#include "Dravin/effects/effect_machines.h"
#include "Dravin/effects/item_attributes.h"

class TItemProbe::Runner : public TDistributeEffectVMList {
public:
    Runner(const TItemProbe& probe, const TBuildInput& input, const TGeometryChoice& geometry)
        : TDistributeEffectVMList(*probe.m_programs, input, geometry),
          m_probe(probe),
          m_input(input) {}

private:
    void Reached(size_t program, const TEffectLanes& items) override {
        if (program != m_probe.m_before) return;
        for (size_t k = 0; k < items.lanes.count; ++k)
            if (items.lanes.seed[k] == m_probe.m_id.seed && items.lanes.IsAlive(k) &&
                m_probe.IsMeant(m_input, items, k))
                m_probe.Take(m_input, items, k);
    }

    const TItemProbe& m_probe;
    const TBuildInput& m_input;
};

TItemProbe::TItemProbe(const TEffectPrograms* programs, size_t before, const TItemId& id,
                       TBuildProgress& progress)
    : m_programs(programs ? programs : &m_none),
      m_before(std::min(before, m_programs->programs.size())),
      m_id(id),
      m_progress(progress) {}

std::unique_ptr<IEffectRunner> TItemProbe::MakeRunner(const TBuildInput& input,
                                                      const TGeometryChoice& geometry) const {
    return std::make_unique<Runner>(*this, input, geometry);
}

// The seed is. Seeds of items of different surfaces differ, so that these need not be compared.
bool TItemProbe::IsMeant(const TBuildInput& input, const TEffectLanes& items, size_t k) const {
    uint32_t cell = items.lanes.cell[k];
    if (m_id.origin == TItemId::kMap || m_id.origin == TItemId::kSurfaceMap) {
        for (size_t i = 0; i < m_id.cell.size(); ++i)
            if (items.cells.hash[i][cell] != m_id.cell[i]) return false;
        return true;
    }
    if (uint32_t(items.cells.sourceIndex[cell]) != m_id.cell[0]) return false;
    bool hasPart = m_id.origin == TItemId::kPoint && !items.lanes.specimen[k]->lod;
    return !hasPart || uint16_t(items.lanes.element[k]) == m_id.part;
}

void TItemProbe::Take(const TBuildInput& input, const TEffectLanes& items, size_t k) const {
    TProbedItem seen;
    for (const TItemAttribute& attribute : ItemAttributes())
        seen.attributes.push_back(
            attribute.read({items.lanes, items.cells, k, items.outcomes[k], input}));
    seen.random = items.randoms.Get(k);
    std::lock_guard lock(m_mutex);
    m_found = std::move(seen);
    m_progress.Cancel();
}
