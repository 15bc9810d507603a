#include "host/base/thread_pool.h"

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

TEST(ParallelFor, RunsEveryIndexOnce) {
    for (int threads : {1, 2, 3, 8, 16}) {
        std::vector<std::atomic<int>> seen(1000);
        ParallelFor(seen.size(), threads, [&](size_t i) { ++seen[i]; });
        for (const auto& count : seen) EXPECT_EQ(count, 1);
    }
}

TEST(ParallelFor, OneThreadIsTheCallerInOrder) {
    std::thread::id caller = std::this_thread::get_id();
    size_t next = 0;
    ParallelFor(50, 1, [&](size_t i) {
        EXPECT_EQ(i, next++);
        EXPECT_EQ(std::this_thread::get_id(), caller);
    });
    EXPECT_EQ(next, 50u);
    ParallelFor(0, 8, [](size_t) { FAIL(); });
}

TEST(ParallelFor, MayBeNested) {
    std::atomic<int> count = 0;
    ParallelFor(8, 4, [&](size_t) { ParallelFor(8, 4, [&](size_t) { ++count; }); });
    EXPECT_EQ(count, 64);
}

TEST(ParallelFor, TheFirstFailureReachesTheCaller) {
    EXPECT_THROW(ParallelFor(100, 4,
                             [](size_t i) {
                                 if (i == 7) throw std::runtime_error("7");
                             }),
                 std::runtime_error);
    std::atomic<int> after = 0;
    ParallelFor(10, 4, [&](size_t) { ++after; });
    EXPECT_EQ(after, 10);
}

TEST(ParallelRanges, CoverTheIndicesInPiecesOfTheGrain) {
    std::vector<std::atomic<int>> seen(1003);
    ParallelRanges(seen.size(), 100, 3, [&](size_t first, size_t last) {
        EXPECT_LE(last - first, 100u);
        for (size_t i = first; i < last; ++i) ++seen[i];
    });
    for (const auto& count : seen) EXPECT_EQ(count, 1);
}

// A limit on addresses leaves room for few stacks. In a process of its own, whose limit it is.
TEST(ParallelForDeathTest, WorksWithTheThreadsThatCanBeStarted) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr rlim_t kAddresses = RLIM_INFINITY;  // the sanitizers reserve terabytes
#else
    constexpr rlim_t kAddresses = rlim_t{64} << 20;
#endif
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    auto work = [] {
        rlimit limit{kAddresses, kAddresses};
        setrlimit(RLIMIT_AS, &limit);
        std::atomic<int> count = 0;
        ParallelFor(1000, 200, [&](size_t) { ++count; });
        _exit(count == 1000 ? 0 : 1);
    };
    EXPECT_EXIT(work(), testing::ExitedWithCode(0), "");
}

}  // namespace
