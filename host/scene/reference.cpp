#include "host/scene/reference.h"

#include <algorithm>
#include <utility>

// A slot knows its place in the target's list, so that letting go costs the same however many
// dependents there are.
void ReferenceBase::Assign(std::shared_ptr<ReferenceTarget> target) {
    if (m_target) {
        std::vector<ReferenceBase*>& slots = m_target->m_dependents;
        slots[m_place] = slots.back();
        slots[m_place]->m_place = m_place;
        slots.pop_back();
        ++m_target->m_numChanges;
    }
    std::shared_ptr<ReferenceTarget> old = std::exchange(m_target, std::move(target));
    if (m_target) {
        m_place = m_target->m_dependents.size();
        m_target->m_dependents.push_back(this);
        ++m_target->m_numChanges;
    }
}

// Handlers may drop slots, so the slots are collected first, and looked up again before use once
// the list has changed.
template <class Handle>
void ReferenceTarget::ForEachSlot(const Handle& handle) {
    std::vector<ReferenceBase*> slots = m_dependents;
    size_t unchanged = m_numChanges;
    for (ReferenceBase* slot : slots) {
        bool holds =
            m_numChanges == unchanged ||
            std::find(m_dependents.begin(), m_dependents.end(), slot) != m_dependents.end();
        if (holds) handle(slot);
    }
}

void ReferenceTarget::NotifyDependents(const RefChange& change) {
    if (m_sending) return;
    m_sending = true;
    ForEachSlot([&](ReferenceBase* slot) {
        ReferenceMaker* maker = slot->m_maker;
        if (maker->NotifyRefChanged(change, this) == RefResult::kStop) return;
        if (auto* target = dynamic_cast<ReferenceTarget*>(maker)) target->NotifyDependents(change);
    });
    m_sending = false;
}

void ReferenceTarget::NotifyDeleted() {
    auto keepAlive = weak_from_this().lock();
    // As many rounds as there were slots: a maker that takes hold anew keeps its slot.
    for (size_t n = m_dependents.size(); n > 0 && !m_dependents.empty(); --n) {
        ReferenceBase* slot = m_dependents.back();
        ReferenceMaker* maker = slot->m_maker;
        maker->SlotLosesTarget(*slot);
        slot->Assign(nullptr);
        maker->NotifyRefChanged({RefMessage::kTargetDeleted}, this);
    }
}

std::vector<ReferenceMaker*> ReferenceTarget::Dependents() const {
    std::vector<ReferenceMaker*> makers;
    for (const ReferenceBase* slot : m_dependents) makers.push_back(slot->m_maker);
    return makers;
}
