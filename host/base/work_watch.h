// A look at long work from outside: how far it is, and whether it is still wanted.
//
// The work tells its share as it goes and asks now and then whether to end; any thread may ask and
// cancel meanwhile. Work that is not watched gets a null pointer.
#pragma once

#include <atomic>

class WorkWatch {
public:
    // 0..1.
    void Tell(float share) { m_share.store(share, std::memory_order_relaxed); }
    float Share() const { return m_share.load(std::memory_order_relaxed); }
    void Cancel() { m_isCancelled = true; }
    bool IsCancelled() const { return m_isCancelled.load(std::memory_order_relaxed); }

private:
    std::atomic<float> m_share{0};
    std::atomic<bool> m_isCancelled{false};
};

inline bool IsCancelled(const WorkWatch* watch) { return watch && watch->IsCancelled(); }
