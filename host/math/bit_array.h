// A set of bits of fixed size with the host SDK's operation names.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

class BitArray {
public:
    explicit BitArray(size_t size = 0) { SetSize(size); }

    size_t GetSize() const { return m_size; }
    // All bits are clear afterwards.
    void SetSize(size_t size) {
        m_size = size;
        m_words.assign((size + 63) / 64, 0);
    }
    void Set(size_t i, bool value = true) {
        assert(i < m_size);
        uint64_t bit = uint64_t{1} << (i & 63);
        m_words[i >> 6] = value ? m_words[i >> 6] | bit : m_words[i >> 6] & ~bit;
    }
    bool operator[](size_t i) const {
        assert(i < m_size);
        return m_words[i >> 6] >> (i & 63) & 1;
    }
    friend bool operator==(const BitArray&, const BitArray&) = default;

private:
    size_t m_size = 0;
    std::vector<uint64_t> m_words;
};
