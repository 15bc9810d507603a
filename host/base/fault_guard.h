// Keeps a mapped file that others shorten from ending the program.
//
// The system raises SIGBUS when a page beyond the new end is touched. While a range is guarded,
// such a page becomes a page of zeros instead, and the range counts as cut; whoever reads it asks
// afterwards. Faults elsewhere go to the handler that stood before. Thread safe; at most 256 ranges
// at once.
#pragma once

#include <cstddef>

class FaultGuard {
public:
    FaultGuard() = default;
    ~FaultGuard() { Release(); }
    FaultGuard(const FaultGuard&) = delete;
    FaultGuard& operator=(const FaultGuard&) = delete;

    // Guards whole pages of a mapping from `data` on. False when there is no room for another
    // range.
    bool Watch(const void* data, size_t size);
    void Release();
    // Whether a page of the range was missing so far.
    bool WasCut() const;

private:
    int m_slot = -1;
};
