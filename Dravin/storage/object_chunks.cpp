#include "Dravin/storage/object_chunks.h"

void AppendChunk(std::string& bytes, uint16_t id, std::string_view payload) {
    uint64_t length = payload.size();
    bytes.append(reinterpret_cast<const char*>(&id), sizeof id);
    bytes.append(reinterpret_cast<const char*>(&length), sizeof length);
    bytes.append(payload);
}

bool TChunkWalk::Next() {
    if (m_malformed || m_bytes.empty()) return false;
    uint64_t length = 0;
    m_malformed = m_bytes.size() < kObjectChunkHeader;
    if (m_malformed) return false;
    std::memcpy(&m_id, m_bytes.data(), sizeof m_id);
    std::memcpy(&length, m_bytes.data() + sizeof m_id, sizeof length);
    m_malformed = length > m_bytes.size() - kObjectChunkHeader;
    if (m_malformed) return false;
    m_payload = m_bytes.substr(kObjectChunkHeader, size_t(length));
    m_bytes.remove_prefix(kObjectChunkHeader + size_t(length));
    return true;
}
