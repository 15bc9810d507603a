// How far a running build is, for whoever waits for it, and whether it is still wanted.
//
// A build is a row of stages (items are made, overlaps removed), each with units of work of its
// own: cells of a grid, points. Its tasks count units as they finish them, any thread may ask
// meanwhile. Counting costs an atomic addition, so units are not single items.
#pragma once

#include <atomic>
#include <cstdint>

class TBuildProgress {
public:
    // Forgets what was and expects this many stages.
    void Start(int64_t stages) {
        m_stages = stages;
        m_stage = -1;
        m_units = m_done = 0;
        m_cancelled = false;
    }
    // Ends the running build soon, with kCancelled and no items. Any thread.
    void Cancel() { m_cancelled = true; }
    bool IsCancelled() const { return m_cancelled.load(std::memory_order_relaxed); }
    // The next stage begins; all work of those before is done. units: 0 where they are not known.
    void NextStage(int64_t units) {
        m_units = 0;
        m_done = 0;
        ++m_stage;
        m_units = units;
    }
    void Add(int64_t units) { m_done.fetch_add(units, std::memory_order_relaxed); }

    // 0..1, as near as can be told while it changes.
    float Fraction() const {
        double stages = double(m_stages), units = double(m_units), stage = double(m_stage);
        if (stages < 1 || stage < 0) return 0;
        double within = units > 0 ? double(m_done) / units : 0;
        double fraction = (stage + (within < 1 ? within : 1)) / stages;
        return float(fraction < 1 ? fraction : 1);
    }

private:
    std::atomic<bool> m_cancelled{false};
    std::atomic<int64_t> m_stages{0}, m_stage{-1}, m_units{0}, m_done{0};
};
