// Copies past the caches, for bulk data that nobody reads before all of it is written.
//
// A plain store fetches its line of memory before it changes it; these stores write whole lines
// without that, which saves a third of the traffic, and leave in the caches what is there.
#pragma once

#include <cstddef>

// As memcpy. What was written is visible to other threads as after a plain one. Pieces of some
// kilobytes and more are worth it; where either address is not a multiple of 16 it is a plain copy.
void StreamCopy(void* to, const void* from, size_t bytes);
