#include "host/base/huge_buffer.h"

#include <cstdlib>
#include <new>

#include "host/base/huge_pages.h"

namespace {

constexpr size_t kHugePage = size_t{2} << 20;
constexpr size_t kCacheLine = 64;

}  // namespace

HugeBuffer::HugeBuffer(size_t bytes) {
    size_t alignment = bytes >= kHugePage ? kHugePage : kCacheLine;
    size_t rounded = (bytes + alignment - 1) / alignment * alignment;
    if (rounded == 0) return;
    m_data = static_cast<std::byte*>(std::aligned_alloc(alignment, rounded));
    if (!m_data) throw std::bad_alloc();
    m_bytes = rounded;
    WantHugePages(m_data, rounded);
}

HugeBuffer::~HugeBuffer() { std::free(m_data); }
