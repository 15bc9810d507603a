// How much memory the machine has to give.
#pragma once

#include <cstdint>

// Bytes that can be taken now without swapping, caches that would make room included; an estimate.
// The largest number where the system does not tell.
uint64_t FreeMemory();
// Bytes that the machine has at all, swap included; the largest number likewise.
uint64_t TotalMemory();
