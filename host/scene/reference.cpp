#include "host/scene/reference.h"

#include <algorithm>

void ReferenceBase::Assign(std::shared_ptr<ReferenceTarget> target) {
    if (m_target) std::erase(m_target->m_dependents, this);
    m_target = std::move(target);
    if (m_target) m_target->m_dependents.push_back(this);
}

void ReferenceTarget::NotifyDependents(const RefChange& change) {
    if (m_sending) return;
    m_sending = true;
    // Handlers may drop slots, so the makers are collected first and each slot checked before use.
    std::vector<ReferenceBase*> slots = m_dependents;
    for (ReferenceBase* slot : slots) {
        if (std::find(m_dependents.begin(), m_dependents.end(), slot) == m_dependents.end())
            continue;
        ReferenceMaker* maker = slot->m_maker;
        if (maker->NotifyRefChanged(change, this) == RefResult::kStop) continue;
        if (auto* target = dynamic_cast<ReferenceTarget*>(maker)) target->NotifyDependents(change);
    }
    m_sending = false;
}

void ReferenceTarget::NotifyDeleted() {
    auto keepAlive = weak_from_this().lock();
    std::vector<ReferenceBase*> slots = m_dependents;
    for (ReferenceBase* slot : slots) {
        if (std::find(m_dependents.begin(), m_dependents.end(), slot) == m_dependents.end())
            continue;
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
