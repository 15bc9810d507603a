// Bytes of chunk files put together by hand, sharing nothing with the writer.
#pragma once

#include <cstdint>
#include <string>

#include "host/chunks/chunk_format.h"

inline constexpr ChunkFileKind kGardenFile{0x44524147, "garden file", 3};  // "GARD"

// `bytes` bytes of a number, the lowest first.
inline std::string Little(uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text += char(value >> (8 * i) & 255);
    return text;
}

inline std::string RawChunk(uint32_t id, int version, int form, const std::string& payload) {
    return Little(id, 4) + Little(uint64_t(version), 2) + Little(uint64_t(form), 2) +
           Little(payload.size(), 8) + payload;
}
inline std::string ValueChunk(uint32_t id, const std::string& payload) {
    return RawChunk(id, 0, 0, payload);
}
inline std::string GroupChunk(uint32_t id, const std::string& chunks) {
    return RawChunk(id, 0, 1, chunks);
}

inline std::string RawText(const std::string& text) { return Little(text.size(), 8) + text; }

inline std::string RawFile(const std::string& chunks, uint32_t version = 3) {
    return std::string(
               "\x89"
               "CF\r\n\x1A\x01\n"
               "GARD",
               12) +
           Little(version, 4) + Little(24 + chunks.size(), 8) + chunks;
}

// The text with `text` in place of `count` of its bytes.
inline std::string Replaced(const std::string& bytes, size_t at, size_t count,
                            const std::string& text) {
    return bytes.substr(0, at) + text + bytes.substr(at + count);
}
