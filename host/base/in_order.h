// Tasks that run on several threads and end in any order, whose results are used in theirs.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>

// Results that wait for their turn. Whoever brings the result whose turn it is uses it, and those
// after it that wait already; the others go on with their tasks. Thread safe.
class InOrder {
public:
    // window: results that may wait; a task that is further ahead waits itself. Tasks are numbered
    // from 0 on and must be begun in that order.
    explicit InOrder(size_t window) : m_window(window) {}

    // Result i is there: `use` runs when those of all tasks before it have run.
    void Put(size_t i, std::function<void()> use);
    // Some task will bring none: nothing more runs, and nobody waits.
    void Stop();

private:
    void UseInTurn(std::unique_lock<std::mutex>& lock);

    const size_t m_window;
    std::mutex m_mutex;
    std::condition_variable m_advanced;
    std::map<size_t, std::function<void()>> m_waiting;
    size_t m_next = 0;
    bool m_isUsing = false, m_isStopped = false;
};

// Runs make(i) for i in [0, count) on up to `threads` threads; what it returns, a function, runs by
// one thread at a time in the order of i. An exception ends the work and is thrown here.
void ParallelInOrder(size_t count, int threads,
                     const std::function<std::function<void()>(size_t i)>& make);
