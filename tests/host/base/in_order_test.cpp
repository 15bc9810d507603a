#include "host/base/in_order.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

TEST(InOrder, ResultsAreUsedInOrderOneAtATime) {
    for (int threads : {1, 2, 8}) {
        std::vector<size_t> used;
        std::atomic<int> inUse{0}, made{0};
        ParallelInOrder(1000, threads, [&](size_t i) -> std::function<void()> {
            ++made;
            if (i % 7 == 0) std::this_thread::yield();
            return [&, i] {
                EXPECT_EQ(++inUse, 1);
                used.push_back(i);
                --inUse;
            };
        });
        EXPECT_EQ(made, 1000);
        ASSERT_EQ(used.size(), 1000u);
        for (size_t i = 0; i < used.size(); ++i) EXPECT_EQ(used[i], i);
    }
}

TEST(InOrder, FewResultsWait) {
    // The first task ends last: the others may be no further ahead than the window.
    constexpr int kThreads = 4;
    std::atomic<size_t> furthest{0};
    std::atomic<bool> isFirstDone{false};
    ParallelInOrder(200, kThreads, [&](size_t i) -> std::function<void()> {
        if (i == 0) {
            for (int k = 0; k < 20000; ++k) std::this_thread::yield();
            isFirstDone = true;
        } else if (!isFirstDone) {
            for (size_t seen = furthest; seen < i && !furthest.compare_exchange_weak(seen, i);) {
            }
        }
        return [] {};
    });
    EXPECT_LT(furthest, size_t(3 * kThreads));
}

TEST(InOrder, AnExceptionEndsTheWork) {
    for (bool inUse : {false, true}) {
        auto work = [&](size_t i) -> std::function<void()> {
            if (!inUse && i == 20) throw std::runtime_error("made");
            return [inUse, i] {
                if (inUse && i == 20) throw std::runtime_error("used");
            };
        };
        EXPECT_THROW(ParallelInOrder(1000, 4, work), std::runtime_error);
    }
}
