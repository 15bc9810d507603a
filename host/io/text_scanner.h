// Reads words and numbers line by line from text in memory, without copying and independent of the
// locale. For the line-oriented model formats, whose files run to gigabytes.
#pragma once

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

class TextScanner {
public:
    explicit TextScanner(std::string_view text)
        : m_next(text.data()), m_end(text.data() + text.size()), m_pos(m_next), m_lineEnd(m_next) {}

    // Moves to the next line; false at the end. A backslash before the line's end joins it with the
    // one below.
    bool NextLine() {
        if (m_next >= m_end) return false;
        ++m_line;
        m_pos = m_next;
        while (true) {
            const char* limit = size_t(m_end - m_next) > kMaxLine ? m_next + kMaxLine : m_end;
            auto* newline =
                static_cast<const char*>(std::memchr(m_next, '\n', size_t(limit - m_next)));
            m_lineEnd = newline ? newline : limit;
            m_next = newline ? newline + 1 : limit;
            const char* last = m_lineEnd;
            if (last > m_pos && last[-1] == '\r') --last;
            if (last == m_pos || last[-1] != '\\' || m_next >= m_end) return true;
            ++m_line;
        }
    }

    // Number of the line in hand, from 1.
    uint32_t Line() const { return m_line; }
    std::string_view Rest() const { return {m_pos, size_t(m_lineEnd - m_pos)}; }

    bool AtLineEnd() {
        SkipBlanks();
        return m_pos == m_lineEnd;
    }
    // The next word of the line, empty at its end.
    std::string_view Word() {
        SkipBlanks();
        const char* start = m_pos;
        while (m_pos < m_lineEnd && !IsBlank(*m_pos)) ++m_pos;
        return {start, size_t(m_pos - start)};
    }
    // The next word of the whole text.
    std::string_view WordAnywhere() {
        while (AtLineEnd())
            if (!NextLine()) return {};
        return Word();
    }
    // Reads one number; false, staying in place, when the line goes on otherwise or is over.
    bool Number(float* value) {
        SkipBlanks();
        const char* start = m_pos < m_lineEnd && *m_pos == '+' ? m_pos + 1 : m_pos;
        auto [end, status] = std::from_chars(start, m_lineEnd, *value);
        if (status == std::errc::result_out_of_range)
            *value = OutOfRange(start, end);
        else if (status != std::errc{})
            return false;
        m_pos = end;
        return true;
    }
    bool Integer(int64_t* value) {
        SkipBlanks();
        const char* start = m_pos < m_lineEnd && *m_pos == '+' ? m_pos + 1 : m_pos;
        auto [end, status] = std::from_chars(start, m_lineEnd, *value);
        if (status != std::errc{}) return false;
        m_pos = end;
        return true;
    }
    // Takes the character when it comes next, without skipping blanks.
    bool Take(char c) {
        if (m_pos == m_lineEnd || *m_pos != c) return false;
        ++m_pos;
        return true;
    }
    // Whether a word has just ended here.
    bool AtBlank() const { return m_pos == m_lineEnd || IsBlank(*m_pos); }

private:
    static constexpr size_t kMaxLine = 1 << 24;  // a longer one is no text, and is cut there

    static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

    void SkipBlanks() {
        while (m_pos < m_lineEnd) {
            bool isContinuation =
                *m_pos == '\\' && m_pos + 1 < m_lineEnd && (m_pos[1] == '\n' || m_pos[1] == '\r');
            if (!IsBlank(*m_pos) && !isContinuation) return;
            ++m_pos;
        }
    }
    // A number beyond single precision: tiny ones are 0, large ones stay infinite.
    static float OutOfRange(const char* start, const char* end) {
        double value = 0;
        if (std::from_chars(start, end, value).ec == std::errc{}) return float(value);
        bool isTiny =
            std::string_view(start, size_t(end - start)).find("e-") != std::string::npos ||
            std::string_view(start, size_t(end - start)).find("E-") != std::string::npos;
        return isTiny ? 0.0f : INFINITY;
    }

    const char* m_next;  // start of the line after the one in hand
    const char* m_end;
    const char* m_pos;
    const char* m_lineEnd;
    uint32_t m_line = 0;
};
