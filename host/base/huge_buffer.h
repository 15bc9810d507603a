// A large block of memory that asks the kernel for huge pages.
//
// First touch of small pages costs several times the arithmetic of a build, so the engine's bulk
// data lives in blocks of this kind and keeps them from build to build. The block is aligned to 64
// bytes at least and not initialised. Move-only.
#pragma once

#include <cstddef>
#include <utility>

class HugeBuffer {
public:
    HugeBuffer() = default;
    // Throws std::bad_alloc when the memory is not there.
    explicit HugeBuffer(size_t bytes);
    ~HugeBuffer();
    HugeBuffer(HugeBuffer&& other) noexcept { *this = std::move(other); }
    HugeBuffer& operator=(HugeBuffer&& other) noexcept {
        std::swap(m_data, other.m_data);
        std::swap(m_bytes, other.m_bytes);
        return *this;
    }

    std::byte* Data() const { return m_data; }
    size_t Bytes() const { return m_bytes; }

private:
    std::byte* m_data = nullptr;
    size_t m_bytes = 0;
};
