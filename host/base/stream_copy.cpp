#include "host/base/stream_copy.h"

#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>

void StreamCopy(void* to, const void* from, size_t bytes) {
    auto isAligned = [](const void* at) { return reinterpret_cast<uintptr_t>(at) % 16 == 0; };
    size_t words = isAligned(to) && isAligned(from) ? bytes / 16 : 0;
    auto* target = static_cast<__m128i*>(to);
    auto* source = static_cast<const __m128i*>(from);
    for (size_t i = 0; i < words; ++i) _mm_stream_si128(target + i, _mm_load_si128(source + i));
    if (words > 0) _mm_sfence();  // such stores know no other order
    size_t done = words * 16;
    if (done < bytes)
        std::memcpy(static_cast<char*>(to) + done, static_cast<const char*>(from) + done,
                    bytes - done);
}
#else
void StreamCopy(void* to, const void* from, size_t bytes) {
    if (bytes > 0) std::memcpy(to, from, bytes);
}
#endif
