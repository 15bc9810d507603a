// A text that grows at its end, written through plain pointers.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

class TextBuffer {
public:
    // The end of the text, behind which `n` characters are free to be written.
    char* Room(size_t n) {
        if (m_capacity - m_size < n) Grow(n);
        return m_data.get() + m_size;
    }
    // The text goes up to here, within the room that was asked for.
    void EndAt(const char* end) { m_size = size_t(end - m_data.get()); }

    std::string_view Text() const { return {m_data.get(), m_size}; }
    size_t Size() const { return m_size; }
    // Keeps the memory.
    void Clear() { m_size = 0; }

private:
    void Grow(size_t n) {
        size_t capacity = std::max(m_size + n, m_capacity * 2);
        std::unique_ptr<char[]> data(new char[capacity]);
        if (m_size > 0) std::memcpy(data.get(), m_data.get(), m_size);
        m_data = std::move(data), m_capacity = capacity;
    }

    std::unique_ptr<char[]> m_data;
    size_t m_size = 0, m_capacity = 0;
};
