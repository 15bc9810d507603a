#include "host/params/reference.h"

#include <algorithm>
#include <utility>

#include "host/base/log.h"
#include "host/params/edit_context.h"
#include "host/params/hold.h"

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

// The targets that a message came through, the last one first.
struct ReferencePath {
    const ReferenceTarget* target;
    const ReferencePath* before;

    static bool Holds(const ReferencePath* path, const ReferenceTarget* target) {
        for (; path; path = path->before)
            if (path->target == target) return true;
        return false;
    }
};

void ReferenceTarget::Send(const RefChange& change) {
    ReferencePath path{this, change.path};
    ForEachSlot([&](ReferenceBase* slot) {
        RefChange heard = change;
        heard.slot = slot;
        heard.path = &path;
        ReferenceMaker* maker = slot->m_maker;
        if (maker->NotifyRefChanged(heard, this) == RefResult::kStop) return;
        if (auto* target = dynamic_cast<ReferenceTarget*>(maker)) target->NotifyDependents(heard);
    });
}

void ReferenceTarget::NotifyDependents(const RefChange& change) {
    if (ReferencePath::Holds(change.path, this)) return;
    if (m_sending) {
        m_waiting.push_back(change);
        m_waiting.back().path = nullptr;  // it does not live as long
        return;
    }
    // Handlers that answer every change with another one would go on for ever.
    constexpr int kMaxRounds = 100;
    auto keepAlive = weak_from_this().lock();
    m_sending = true;
    Send(change);
    for (int round = 0; !m_waiting.empty(); ++round) {
        std::vector<RefChange> waiting = std::exchange(m_waiting, {});
        if (round == kMaxRounds) {
            LogWarning(ClassName() + ": its changes cause each other without end; told no further");
            break;
        }
        for (const RefChange& next : waiting) Send(next);
    }
    m_sending = false;
}

// Gives a slot its target back that left the scene.
class SlotRestore : public RestoreObj {
public:
    SlotRestore(ReferenceBase& slot, std::shared_ptr<void> keep)
        : m_slot(slot), m_keep(std::move(keep)), m_target(slot.m_target) {}

    void Restore(bool) override { Put(m_target); }
    void Redo() override { Put(nullptr); }

private:
    void Put(std::shared_ptr<ReferenceTarget> target) {
        m_slot.Assign(std::move(target));
        RefChange change;
        change.slot = &m_slot;
        m_slot.m_maker->NotifyRefChanged(change, m_target.get());
        if (auto* maker = dynamic_cast<ReferenceTarget*>(m_slot.m_maker)) maker->NotifyDependents();
    }

    ReferenceBase& m_slot;
    std::shared_ptr<void> m_keep;  // the slot's maker
    std::shared_ptr<ReferenceTarget> m_target;
};

void ReferenceTarget::NotifyDeleted() {
    auto keepAlive = weak_from_this().lock();
    // As many rounds as there were slots: a maker that takes hold anew keeps its slot.
    for (size_t n = m_dependents.size(); n > 0 && !m_dependents.empty(); --n) {
        ReferenceBase* slot = m_dependents.back();
        ReferenceMaker* maker = slot->m_maker;
        if (!maker->SlotLosesTarget(*slot))
            if (Hold* hold = CurrentHold(); hold && hold->Holding())
                if (std::shared_ptr<void> keep = maker->KeepForUndo())
                    hold->Put(std::make_unique<SlotRestore>(*slot, std::move(keep)));
        slot->Assign(nullptr);
        RefChange change{RefMessage::kTargetDeleted};
        change.slot = slot;
        maker->NotifyRefChanged(change, this);
    }
}

std::vector<ReferenceMaker*> ReferenceTarget::Dependents() const {
    std::vector<ReferenceMaker*> makers;
    for (const ReferenceBase* slot : m_dependents) makers.push_back(slot->m_maker);
    return makers;
}
