// The process' one pool of worker threads, and parallel-for on top.
//
// Work is split by index into fixed pieces that are handed out in order; which thread runs a piece
// is left open, so a piece may depend on its index only. The calling thread takes part, hence a
// parallel-for inside a task cannot deadlock. Clean under ThreadSanitizer.
#pragma once

#include <cstddef>
#include <functional>

// Processors of this machine (at least 1).
int NumProcessors();

// Runs body(i) for i in [0, count) on up to `threads` threads (the caller included; 1 or less means
// the caller alone, in order). Returns when all have run. The first exception thrown by a body (by
// lowest index) is rethrown here; the others are dropped, and no further piece is started.
void ParallelFor(size_t count, int threads, const std::function<void(size_t)>& body);

// The same over ranges: body(first, last) for pieces of at most `grain` indices.
void ParallelRanges(size_t count, size_t grain, int threads,
                    const std::function<void(size_t, size_t)>& body);
