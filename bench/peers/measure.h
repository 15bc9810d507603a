// What the peers share: a clock, and the form in which they tell a figure.
#pragma once

#include <chrono>
#include <cstdio>

// Seconds of one call, after one that is not counted.
template <class Work>
double SecondsOf(Work&& work) {
    work();
    auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A line for the script `run`: what was measured, the version of the peer, millions a second.
inline void Tell(const char* what, const char* version, double count, double seconds) {
    std::printf("%s\t%s\t%g\n", what, version, count / seconds / 1e6);
}
