#include "Dravin/commands/item_restore.h"

#include <algorithm>

#include "Dravin/dravin.h"
#include "host/params/restore.h"

namespace {

void Toggle(const TItemNumbers& items, std::vector<TStoredItem>& list) {
    for (uint32_t i : items) list[i].selected = !list[i].selected;
}

// Removes the items at these places.
std::vector<TStoredItem> TakeOut(const TItemNumbers& places, std::vector<TStoredItem>& list) {
    std::vector<TStoredItem> taken;
    taken.reserve(places.size());
    if (places.empty()) return taken;
    size_t next = 0, end = places[0];
    for (size_t i = places[0]; i < list.size(); ++i) {
        if (next < places.size() && places[next] == i) {
            taken.push_back(list[i]);
            ++next;
        } else {
            list[end++] = list[i];
        }
    }
    list.resize(end);
    return taken;
}

// The way back: afterwards the items stand at these places.
void PutIn(const TItemNumbers& places, const std::vector<TStoredItem>& items,
           std::vector<TStoredItem>& list) {
    size_t from = list.size();
    list.resize(list.size() + items.size());
    for (size_t to = list.size(), left = items.size(); left > 0;) {
        --to;
        if (places[left - 1] == to)
            list[to] = items[--left];
        else
            list[to] = list[--from];
    }
}

template <class T>
size_t Bytes(const std::vector<T>& list) {
    return list.capacity() * sizeof(T);
}

// A record that the open hold keeps; null where nothing is recorded. Any but a shared one ends the
// sharing: its numbers are those of another list.
ItemRestore* PutRecord(TDravin& object) {
    object.heldItems = nullptr;
    if (!IsRecording() || !object.KeepForUndo()) return nullptr;
    auto record = std::make_unique<ItemRestore>(object);
    ItemRestore* put = record.get();
    CurrentHold()->Put(std::move(record));
    return put;
}

// Adds what the record does not hold yet of these items, as they are.
void Keep(const std::vector<TStoredItem>& list, const TItemNumbers& items, ItemRestore& record) {
    TItemNumbers fresh;
    std::set_difference(items.begin(), items.end(), record.changed.begin(), record.changed.end(),
                        std::back_inserter(fresh));
    if (fresh.empty()) return;
    TItemNumbers all;
    std::vector<TStoredItem> values;
    all.reserve(record.changed.size() + fresh.size());
    values.reserve(record.changed.size() + fresh.size());
    size_t old = 0;
    auto takeOld = [&] {
        all.push_back(record.changed[old]);
        values.push_back(record.values[old++]);
    };
    for (uint32_t i : fresh) {
        while (old < record.changed.size() && record.changed[old] < i) takeOld();
        all.push_back(i);
        values.push_back(list[i]);
    }
    while (old < record.changed.size()) takeOld();
    record.changed = std::move(all);
    record.values = std::move(values);
}

}  // namespace

ItemRestore::ItemRestore(TDravin& object) : m_object(object), m_keep(object.KeepForUndo()) {}

ItemRestore::~ItemRestore() { EndHold(); }

void ItemRestore::EndHold() {
    if (m_object.heldItems == this) m_object.heldItems = nullptr;
}

size_t ItemRestore::Size() const {
    return sizeof(*this) + Bytes(toggled) + Bytes(changed) + Bytes(values) + Bytes(removedFrom) +
           Bytes(removed) + Bytes(added);
}

void ItemRestore::Exchange(std::vector<TStoredItem>& items) {
    for (size_t i = 0; i < changed.size(); ++i) std::swap(items[changed[i]], values[i]);
    Toggle(toggled, items);
}

void ItemRestore::Restore(bool) {
    std::vector<TStoredItem>& items = m_object.ChangeableItems();
    PutIn(removedFrom, removed, items);
    removed = {};
    added.assign(items.end() - long(numAdded), items.end());
    items.resize(items.size() - numAdded);
    Exchange(items);
    m_object.TellItemsChanged();
}

void ItemRestore::Redo() {
    std::vector<TStoredItem>& items = m_object.ChangeableItems();
    Exchange(items);
    items.insert(items.end(), added.begin(), added.end());
    added = {};
    removed = TakeOut(removedFrom, items);
    m_object.TellItemsChanged();
}

void ToggleItems(TDravin& object, TItemNumbers items) {
    Toggle(items, object.ChangeableItems());
    if (!items.empty())
        if (ItemRestore* record = PutRecord(object)) record->toggled = std::move(items);
    object.TellItemsChanged();
}

void ChangeItems(TDravin& object, const TItemNumbers& items,
                 const std::function<void(TStoredItem&)>& change, TItemRecord kind) {
    std::vector<TStoredItem>& list = object.ChangeableItems();
    if (!items.empty()) {
        bool shared = kind == TItemRecord::kOncePerHold;
        auto* record = shared ? static_cast<ItemRestore*>(object.heldItems) : nullptr;
        if (!record || !IsRecording()) record = PutRecord(object);
        if (record) Keep(list, items, *record);
        if (shared) object.heldItems = record;
    }
    for (uint32_t i : items) change(list[i]);
    object.TellItemsChanged();
}

void AddItems(TDravin& object, std::vector<TStoredItem> items, TItemNumbers toggled) {
    std::vector<TStoredItem>& list = object.ChangeableItems();
    Toggle(toggled, list);
    list.insert(list.end(), items.begin(), items.end());
    if (!items.empty() || !toggled.empty())
        if (ItemRestore* record = PutRecord(object)) {
            record->toggled = std::move(toggled);
            record->numAdded = items.size();
        }
    object.TellItemsChanged();
}

std::vector<TStoredItem> RemoveItems(TDravin& object, TItemNumbers items) {
    std::vector<TStoredItem> taken = TakeOut(items, object.ChangeableItems());
    if (!items.empty())
        if (ItemRestore* record = PutRecord(object)) {
            record->removedFrom = std::move(items);
            record->removed = taken;
        }
    object.TellItemsChanged();
    return taken;
}
