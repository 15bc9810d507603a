// Blocks of rows whose memory goes from one to the next. Thread safe.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

template <class Rows>
class RowPool {
public:
    std::unique_ptr<Rows> Take() {
        std::lock_guard lock(m_mutex);
        if (m_free.empty()) return std::make_unique<Rows>();
        std::unique_ptr<Rows> rows = std::move(m_free.back());
        m_free.pop_back();
        return rows;
    }
    void GiveBack(std::unique_ptr<Rows> rows) {
        std::lock_guard lock(m_mutex);
        m_free.push_back(std::move(rows));
    }

private:
    std::mutex m_mutex;
    std::vector<std::unique_ptr<Rows>> m_free;
};
