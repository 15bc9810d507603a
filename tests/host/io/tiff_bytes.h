// TIFF files made byte by byte: one uncompressed strip of one channel, and any tags.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

class TiffBytes {
public:
    enum Format { kUnsigned = 1, kSigned = 2, kFloat = 3 };

    explicit TiffBytes(bool isBig = false, bool isLarge = false)
        : m_isBig(isBig), m_isLarge(isLarge) {}

    // pixels: top row first.
    template <class T>
    void SetPixels(int width, int height, Format format, const std::vector<T>& pixels) {
        Shorts(256, {uint16_t(width)});
        Shorts(257, {uint16_t(height)});
        Shorts(258, {uint16_t(8 * sizeof(T))});
        Shorts(259, {1});
        Shorts(262, {1});
        Shorts(277, {1});
        Shorts(278, {uint16_t(height)});
        Shorts(339, {uint16_t(format)});
        m_pixels.clear();
        for (T value : pixels) m_pixels += Number(BitsOf(value), sizeof(T));
    }
    void Shorts(uint16_t tag, const std::vector<uint16_t>& values) {
        m_entries[tag] = {3, values.size(), {}};
        for (uint16_t value : values) m_entries[tag].bytes += Number(value, 2);
    }
    void Doubles(uint16_t tag, const std::vector<double>& values) {
        m_entries[tag] = {12, values.size(), {}};
        for (double value : values)
            m_entries[tag].bytes += Number(std::bit_cast<uint64_t>(value), 8);
    }
    void Text(uint16_t tag, const std::string& text) {
        m_entries[tag] = {2, text.size() + 1, text + '\0'};
    }

    std::string Bytes() const {
        size_t word = m_isLarge ? 8 : 4, header = m_isLarge ? 16 : 8;
        auto entries = m_entries;
        entries[273] = {uint16_t(m_isLarge ? 16 : 4), 1, Number(header, word)};
        entries[279] = {uint16_t(m_isLarge ? 16 : 4), 1, Number(m_pixels.size(), word)};
        std::string head = m_isBig ? "MM" : "II";
        size_t directory = header + m_pixels.size() + m_pixels.size() % 2;
        head += Number(m_isLarge ? 43 : 42, 2);
        if (m_isLarge) head += Number(8, 2) + Number(0, 2);
        head += Number(directory, word);
        std::string body = m_pixels + std::string(m_pixels.size() % 2, '\0');
        std::string list = Number(entries.size(), m_isLarge ? 8 : 2), values;
        size_t place = directory + list.size() + entries.size() * (4 + 2 * word) + word;
        for (const auto& [tag, entry] : entries) {
            list += Number(tag, 2) + Number(entry.type, 2) + Number(entry.count, word);
            std::string bytes = entry.bytes;
            if (bytes.size() > word) {
                list += Number(place + values.size(), word);
                values += bytes + std::string(bytes.size() % 2, '\0');
            } else {
                list += bytes + std::string(word - bytes.size(), '\0');
            }
        }
        return head + body + list + Number(0, word) + values;
    }

private:
    struct Entry {
        uint16_t type;
        size_t count;
        std::string bytes;
    };

    template <class T>
    static uint64_t BitsOf(T value) {
        uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof value);  // of a little-endian machine
        return bits;
    }
    std::string Number(uint64_t value, size_t size) const {
        std::string bytes;
        for (size_t i = 0; i < size; ++i) bytes += char(value >> 8 * (m_isBig ? size - 1 - i : i));
        return bytes;
    }

    bool m_isBig, m_isLarge;
    std::map<uint16_t, Entry> m_entries;
    std::string m_pixels;
};
