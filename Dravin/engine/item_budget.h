// How many items a distribution may still make, shared by its tasks.
//
// Tasks tell what they have made a piece at a time, so that all of them stop soon after the sum
// has passed a limit, whoever made the items. Whether it passes does not depend on the number of
// tasks: a distribution is complete or refused. Thread safe.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item_list.h"

class TItemBudget {
public:
    // items: what was made before counts too. limited: by the number of items of a render.
    TItemBudget(const TBuildInput& input, const TDravinItemList& items, bool limited)
        : m_mostItems(limited && input.render ? input.renderLimit : INT64_MAX),
          m_mostOfMemory(input.Streams() ? INT64_MAX : MostItemsOf(input.memoryLimit, items)),
          m_made(int64_t(items.Count())),
          m_progress(input.progress) {}

    void Add(int64_t count) { m_made.fetch_add(count, std::memory_order_relaxed); }

    // The number of items that a render may have; INT64_MAX: any.
    int64_t MostItems() const { return m_mostItems; }
    int64_t Made() const { return m_made.load(std::memory_order_relaxed); }
    TBuildStatus Result() const {
        if (m_progress && m_progress->IsCancelled()) return TBuildStatus::kCancelled;
        return Made() <= std::min(m_mostItems, m_mostOfMemory) ? TBuildStatus::kSuccess
                                                               : TBuildStatus::kTooManyItems;
    }
    // Whether it is memory that was spent, not the number of items. The lower limit counts, however
    // far beyond it the tasks came.
    bool IsOutOfMemory() const {
        return Result() == TBuildStatus::kTooManyItems && m_mostOfMemory < m_mostItems;
    }

private:
    static int64_t MostItemsOf(uint64_t bytes, const TDravinItemList& items) {
        return int64_t(std::min<uint64_t>(bytes / items.BytesPerItem(), INT64_MAX));
    }

    const int64_t m_mostItems, m_mostOfMemory;
    std::atomic<int64_t> m_made;
    const TBuildProgress* m_progress;  // which may cancel
};

// One task's way to the budget.
class TItemShare {
public:
    explicit TItemShare(TItemBudget& budget) : m_budget(budget) {}

    // produced: by this task, since it began. Whether it may go on.
    bool Tell(size_t produced) {
        if (produced != m_told) m_budget.Add(int64_t(produced - m_told));
        m_told = produced;
        return m_budget.Result() == TBuildStatus::kSuccess;
    }

private:
    TItemBudget& m_budget;
    size_t m_told = 0;
};
