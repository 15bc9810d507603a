#include "host/base/in_order.h"

#include <algorithm>

#include "host/base/thread_pool.h"

namespace {

constexpr size_t kWaitingForThread = 2;

}  // namespace

void InOrder::Put(size_t i, std::function<void()> use) {
    std::unique_lock lock(m_mutex);
    m_advanced.wait(lock, [&] { return m_isStopped || i < m_next + m_window; });
    if (m_isStopped) return;
    m_waiting.emplace(i, std::move(use));
    if (!m_isUsing) UseInTurn(lock);
}

void InOrder::Stop() {
    std::lock_guard lock(m_mutex);
    m_isStopped = true;
    m_advanced.notify_all();
}

void InOrder::UseInTurn(std::unique_lock<std::mutex>& lock) {
    m_isUsing = true;
    while (!m_isStopped && !m_waiting.empty() && m_waiting.begin()->first == m_next) {
        auto next = m_waiting.extract(m_waiting.begin());
        lock.unlock();
        next.mapped()();
        lock.lock();
        ++m_next;
        m_advanced.notify_all();
    }
    m_isUsing = false;
}

void ParallelInOrder(size_t count, int threads,
                     const std::function<std::function<void()>(size_t i)>& make) {
    InOrder order(kWaitingForThread * size_t(std::max(threads, 1)));
    ParallelFor(count, threads, [&](size_t i) {
        try {
            order.Put(i, make(i));
        } catch (...) {
            order.Stop();
            throw;
        }
    });
}
