// Finished items on their way out of a build that keeps no list of them.
//
// A build hands the items of each piece to its consumer as soon as they are made, and uses their
// memory again. What the consumer makes of them (text, columns) is made on all threads at once and
// put in place in order.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>

#include "Dravin/engine/item_list.h"

// Makes of the items of one piece what has to be done with them, and returns what puts it in its
// place. The consumer itself is called by several threads at once and may read the items until it
// returns; what it returned is called once, by one thread at a time, in the order of the items.
using TItemConsumer = std::function<std::function<void()>(const TDravinItemList& items)>;

// Lets tasks that end in any order act in theirs. A task that is far ahead of the slowest waits for
// it, so that no more than a window of results waits. Thread safe.
class TInOrder {
public:
    // Tasks are numbered from 0 on, and begun in the order of their numbers.
    explicit TInOrder(size_t window) : m_window(window) {}

    // Task i has come to its end: `act` runs once all tasks before it have acted.
    void Put(size_t i, std::function<void()> act);
    // Some task will not come: no more acts run, and nobody waits.
    void Stop();

private:
    void ActInTurn(std::unique_lock<std::mutex>& lock);

    const size_t m_window;
    std::mutex m_mutex;
    std::condition_variable m_advanced;
    std::map<size_t, std::function<void()>> m_waiting;
    size_t m_next = 0;
    bool m_acting = false, m_stopped = false;
};
