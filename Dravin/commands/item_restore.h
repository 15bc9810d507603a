// Changes of some of an object's many hand-edited items, each with a record that undoes it.
//
// A record holds what changed: numbers of items whose selection flips, the items that got other
// values, those that were removed or added. Undo and redo exchange these with the list. Who is
// recording nothing gets the change alone. After each change the object tells its dependents.
// Several changes of one hold may share a record: the first keeps the values, as long as no other
// kind of change comes between. One thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "Dravin/engine/stored_items.h"
#include "host/params/hold.h"

class TDravin;

// Numbers of items, rising, none twice.
using TItemNumbers = std::vector<uint32_t>;

class ItemRestore : public RestoreObj {
public:
    explicit ItemRestore(TDravin& object);
    ~ItemRestore() override;

    void Restore(bool isUndo) override;
    void Redo() override;
    void EndHold() override;
    size_t Size() const override;

    // What differs before and after. Removed items stand at their numbers before, added ones at the
    // end.
    TItemNumbers toggled;
    TItemNumbers changed;
    std::vector<TStoredItem> values;  // of the changed ones, as they are not now
    TItemNumbers removedFrom;
    std::vector<TStoredItem> removed;  // while they are not in the list
    size_t numAdded = 0;
    std::vector<TStoredItem> added;  // while they are not in the list

private:
    void Exchange(std::vector<TStoredItem>& items);

    TDravin& m_object;
    std::shared_ptr<void> m_keep;
};

enum class TItemRecord { kOwn, kOncePerHold };

// Flips the selection of these items.
void ToggleItems(TDravin& object, TItemNumbers items);
// change(item) for these items.
void ChangeItems(TDravin& object, const TItemNumbers& items,
                 const std::function<void(TStoredItem&)>& change,
                 TItemRecord record = TItemRecord::kOwn);
// Puts items behind the others, and flips the selection of some of those.
void AddItems(TDravin& object, std::vector<TStoredItem> items, TItemNumbers toggled = {});
// Takes items out; gives them back in their order.
std::vector<TStoredItem> RemoveItems(TDravin& object, TItemNumbers items);
