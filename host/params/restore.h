// Undo records for plain values.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "host/params/edit_context.h"
#include "host/params/hold.h"
#include "host/params/reference.h"

// A record that exchanges a value with the one it keeps: going back and going forth are one.
template <class Exchange>
class ExchangeRestore : public RestoreObj {
public:
    ExchangeRestore(std::shared_ptr<void> keep, Exchange exchange, size_t bytes, const void* of)
        : m_keep(std::move(keep)), m_exchange(std::move(exchange)), m_bytes(bytes), m_of(of) {}

    void Restore(bool) override { m_exchange(); }
    void Redo() override { m_exchange(); }
    size_t Size() const override { return sizeof(*this) + m_bytes; }
    const void* Of() const override { return m_of; }

private:
    std::shared_ptr<void> m_keep;  // whose value it is
    Exchange m_exchange;
    size_t m_bytes;
    const void* m_of;
};

// Whether this thread's edits are being recorded now: who keeps a large value for it asks first.
inline bool IsRecording() {
    Hold* hold = CurrentHold();
    return hold && hold->Holding();
}

// Records a change of `owner`, if changes are being recorded and the owner is of a lasting kind.
// exchange(): puts the kept value in the place of the present one, keeps that, and tells whoever
// must know. bytes: what the kept value takes beyond its own size. of: what is exchanged, where its
// first change of a level is to be kept alone; null where each is.
template <class Exchange>
void RecordExchange(ReferenceMaker& owner, Exchange exchange, size_t bytes = 0,
                    const void* of = nullptr) {
    if (!IsRecording() || (of && CurrentHold()->HasRecordOf(of))) return;
    if (std::shared_ptr<void> keep = owner.KeepForUndo())
        CurrentHold()->Put(std::make_unique<ExchangeRestore<Exchange>>(
            std::move(keep), std::move(exchange), bytes, of));
}

// Sees whether a change of a maker's references makes other things of it animated.
class SubsWatch {
public:
    // Before the change.
    explicit SubsWatch(ReferenceMaker& maker) : m_maker(maker), m_subs(List()) {}
    // After it: the maker hears, where they are others.
    void Tell() const {
        if (List() != m_subs) m_maker.SubsChanged();
    }

private:
    std::vector<ReferenceTarget*> List() const {
        std::vector<ReferenceTarget*> subs;
        for (int i = 0; i < m_maker.NumSubs(); ++i) subs.push_back(m_maker.SubAnim(i));
        return subs;
    }

    ReferenceMaker& m_maker;
    std::vector<ReferenceTarget*> m_subs;
};

// Sets a slot and tells its maker's dependents.
template <class T>
void SetAndTell(Reference<T>& slot, std::shared_ptr<T> target) {
    ReferenceMaker* maker = slot.Maker();
    SubsWatch subs(*maker);
    slot.Put(std::move(target));
    maker->ValueChanged();
    subs.Tell();
}

// The same, and can be undone.
template <class T>
void SetAndRecord(Reference<T>& slot, std::shared_ptr<T> target) {
    if (slot.Share() == target) return;
    RecordExchange(*slot.Maker(), [&slot, other = slot.Share()]() mutable {
        std::shared_ptr<T> now = slot.Share();
        SetAndTell(slot, std::exchange(other, std::move(now)));
    });
    SetAndTell(slot, std::move(target));
}
