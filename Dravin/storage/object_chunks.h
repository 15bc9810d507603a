// The chunks that a scatter object writes itself: a 16-bit id, a 64-bit length and as many bytes,
// little-endian, one after the other; the bytes of a nested one are its parent's content.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

enum TObjectChunk : uint16_t {
    kGroupBoxChunk = 0x100,  // inside kRolloutsChunk: id and collapsed, int32 each
    kDisplayChunk = 0x110,   // of the process: density percent, bool in 4 bytes, shade
    kLogLevelChunk = 0x120,  // of the process
    kIdentifierChunk = 0x310,
    kCamDensityChunk = 0x400,
    kCamScaleChunk = 0x401,
    kDisplayStateChunk = 0x503,
    kSecondDisplayStateChunk = 0x504,
    kInstancesChunk = 0x620,  // handles of the nodes that the instancing tool made
    kVersionChunk = 0x700,
    kOriginVersionChunk = 0x710,
    kNumTemplatesChunk = 0x800,
    kTemplateChunk = 0x900,
    kNumItemsChunk = 0xa00,
    kItemsForm1Chunk = 0xa01,  // older forms of an item
    kItemsForm2Chunk = 0xa05,
    kItemsForm3Chunk = 0xa07,
    kItemChunk = 0xa09,
    kRolloutsChunk = 0xa099,
    kAreaDensityChunk = 0xb00,
    kAreaScaleChunk = 0xc00,
    kAltitudeDensityChunk = 0xd00,
    kSlopeDensityChunk = 0xd02,
    kAltitudeScaleChunk = 0xe00,
    kSlopeScaleChunk = 0xe02,
    kScaleProbabilityChunk = 0xf00,
    kRotationProbabilityChunk = 0xf10,
};

inline constexpr size_t kObjectChunkHeader = 10;

// Appends a chunk.
void AppendChunk(std::string& bytes, uint16_t id, std::string_view payload);
template <class T>
requires std::is_arithmetic_v<T>
void AppendChunk(std::string& bytes, uint16_t id, T value) {
    AppendChunk(bytes, id, std::string_view(reinterpret_cast<const char*>(&value), sizeof value));
}

// Walks through chunks. An unfinished header, or a length beyond the end, ends the walk and counts
// as malformed.
class TChunkWalk {
public:
    explicit TChunkWalk(std::string_view bytes) : m_bytes(bytes) {}

    bool Next();
    uint16_t Id() const { return m_id; }
    std::string_view Payload() const { return m_payload; }
    // The first value of the payload; malformed where it is shorter.
    template <class T>
    T Value() {
        T value{};
        if (m_payload.size() < sizeof value)
            m_malformed = true;
        else
            std::memcpy(&value, m_payload.data(), sizeof value);
        return value;
    }
    bool IsMalformed() const { return m_malformed; }

private:
    std::string_view m_bytes, m_payload;
    uint16_t m_id = 0;
    bool m_malformed = false;
};
