// A list of references of one maker, which may be null: entries that come, go and change tell the
// maker's dependents and can be undone.
//
// The slots of entries that go are kept by the record of the change, empty, and come back as they
// were: older records name them. One thread.
#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "host/params/restore.h"

template <class T>
class ReferenceList {
public:
    using Targets = std::vector<std::shared_ptr<T>>;

    // The owner outlives it: declare lists as members of the owner.
    explicit ReferenceList(ReferenceMaker* owner) : m_owner(owner) {}

    int Count() const { return int(m_slots.size()); }
    // Null for an empty entry, and outside.
    T* Get(int i) const { return Has(i) ? m_slots[size_t(i)]->Get() : nullptr; }
    std::shared_ptr<T> Share(int i) const { return Has(i) ? m_slots[size_t(i)]->Share() : nullptr; }

    // i: of an entry that is there; for Insert at most Count().
    void Set(int i, std::shared_ptr<T> target) { SetAndRecord(*m_slots[size_t(i)], target); }
    void Insert(int i, std::shared_ptr<T> target) {
        Replace(size_t(i), 0, NewEntries({std::move(target)}));
    }
    void Append(std::shared_ptr<T> target) { Insert(Count(), std::move(target)); }
    void Remove(int i) { Replace(size_t(i), 1, {}); }
    // New entries are empty and stand at the end, from where entries that are too many go.
    void SetCount(int count) {
        size_t kept = size_t(std::min(count, Count()));
        if (count == Count()) return;
        Replace(kept, m_slots.size() - kept, NewEntries(Targets(size_t(count) - kept)));
    }
    void Assign(Targets targets) { Replace(0, m_slots.size(), NewEntries(std::move(targets))); }

    // Plainly, told to nobody: for copies and for who reads whole scenes.
    void MakeSlots(int count) {
        m_slots.resize(size_t(count));
        for (auto& slot : m_slots)
            if (!slot) slot = std::make_unique<Reference<T>>(m_owner);
    }
    // Nothing outside.
    void Put(int i, std::shared_ptr<T> target) {
        if (Has(i)) *m_slots[size_t(i)] = std::move(target);
    }

private:
    // An entry that stands in no list: the slot is empty, and would hold the target.
    struct Entry {
        std::unique_ptr<Reference<T>> slot;
        std::shared_ptr<T> target;
    };

    bool Has(int i) const { return i >= 0 && i < Count(); }

    std::vector<Entry> NewEntries(Targets targets) {
        std::vector<Entry> entries;
        for (std::shared_ptr<T>& target : targets)
            entries.push_back({std::make_unique<Reference<T>>(m_owner), std::move(target)});
        return entries;
    }

    // Puts entries in the place of `count` others, which it returns.
    std::vector<Entry> Exchange(size_t at, size_t count, std::vector<Entry> entries) {
        SubsWatch subs(*m_owner);
        auto first = m_slots.begin() + ptrdiff_t(at), last = first + ptrdiff_t(count);
        std::vector<Entry> out;
        for (auto slot = first; slot != last; ++slot) {
            out.push_back({nullptr, (*slot)->Share()});
            **slot = nullptr;
            out.back().slot = std::move(*slot);
        }
        auto place = m_slots.erase(first, last);
        for (Entry& entry : entries) {
            *entry.slot = std::move(entry.target);
            place = m_slots.insert(place, std::move(entry.slot)) + 1;
        }
        m_owner->ValueChanged();
        subs.Tell();
        return out;
    }

    void Replace(size_t at, size_t count, std::vector<Entry> entries) {
        size_t bytes = (count + entries.size()) * (sizeof(Entry) + sizeof(Reference<T>));
        auto others = std::make_shared<std::vector<Entry>>();
        RecordExchange(
            *m_owner,
            [this, at, numIn = entries.size(), others]() mutable {
                size_t numOut = others->size();
                *others = Exchange(at, numIn, std::move(*others));
                numIn = numOut;
            },
            bytes);
        *others = Exchange(at, count, std::move(entries));
    }

    ReferenceMaker* m_owner;
    std::vector<std::unique_ptr<Reference<T>>> m_slots;
};
