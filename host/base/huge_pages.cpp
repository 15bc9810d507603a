#include "host/base/huge_pages.h"

#include <cstdint>

#include <sys/mman.h>

void WantHugePages(void* memory, size_t bytes) {
    constexpr uintptr_t kPage = 4096, kHugePage = uintptr_t{2} << 20;
    // Whole pages inside; the kernel takes what there is of huge ones.
    auto first = (reinterpret_cast<uintptr_t>(memory) + kPage - 1) / kPage * kPage;
    auto last = (reinterpret_cast<uintptr_t>(memory) + bytes) / kPage * kPage;
    if (last < first + kHugePage) return;
    madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}
