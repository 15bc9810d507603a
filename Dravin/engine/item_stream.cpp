#include "Dravin/engine/item_stream.h"

void TInOrder::Put(size_t i, std::function<void()> act) {
    std::unique_lock lock(m_mutex);
    m_advanced.wait(lock, [&] { return m_stopped || i < m_next + m_window; });
    if (m_stopped) return;
    m_waiting.emplace(i, std::move(act));
    if (!m_acting) ActInTurn(lock);
}

void TInOrder::Stop() {
    std::lock_guard lock(m_mutex);
    m_stopped = true;
    m_advanced.notify_all();
}

// One thread acts for all whose turn it is; the others go on with their tasks.
void TInOrder::ActInTurn(std::unique_lock<std::mutex>& lock) {
    m_acting = true;
    while (!m_stopped && !m_waiting.empty() && m_waiting.begin()->first == m_next) {
        auto next = m_waiting.extract(m_waiting.begin());
        lock.unlock();
        try {
            next.mapped()();
        } catch (...) {
            Stop();
            throw;
        }
        lock.lock();
        ++m_next;
        m_advanced.notify_all();
    }
    m_acting = false;
}
