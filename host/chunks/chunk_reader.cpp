#include "host/chunks/chunk_reader.h"

#include <algorithm>
#include <cassert>

#include <fmt/format.h>

#include "host/base/utf8.h"

namespace {

template <class T>
T Get(const char* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

}  // namespace

bool ChunkReader::OpenFile(const std::string& path, const ChunkFileKind& kind) {
    m_error.clear();
    m_file.emplace();
    return m_file->Open(path, &m_error) && Start(m_file->Bytes(), path, kind);
}

bool ChunkReader::OpenBytes(std::string_view bytes, const std::string& name,
                            const ChunkFileKind& kind) {
    m_file.reset();
    return Start(bytes, name, kind);
}

bool ChunkReader::Start(std::string_view bytes, const std::string& name,
                        const ChunkFileKind& kind) {
    m_error.clear();
    m_name = name;
    m_bytes = bytes;
    m_at = m_depth = 0;
    m_open[0] = {.start = kFileHeaderBytes, .end = bytes.size()};
    return ReadFileHeader(kind);
}

bool ChunkReader::ReadFileHeader(const ChunkFileKind& kind) {
    const char* header = m_bytes.data();
    // What a file is says its start; whether it is whole, the size after it.
    size_t known = std::min(m_bytes.size(), kChunkSignature.size());
    if (known == 0 || kChunkSignature.substr(0, known) != m_bytes.substr(0, known) ||
        (m_bytes.size() >= 12 && Get<uint32_t>(header + 8) != kind.id)) {
        m_error = fmt::format("{}: is not a {}", m_name, kind.name);
    } else if (m_bytes.size() < kFileHeaderBytes) {
        m_error = fmt::format("{}: the file is cut: {} bytes are too few for its header", m_name,
                              m_bytes.size());
    } else if (m_fileVersion = Get<uint32_t>(header + 12); m_fileVersion > kind.version) {
        m_error = fmt::format(
            "{}: a newer program wrote this {}: version {}, where this program reads up to {}; "
            "open it with a newer program",
            m_name, kind.name, m_fileVersion, kind.version);
    } else if (uint64_t size = Get<uint64_t>(header + 16); size != m_bytes.size()) {
        m_error = fmt::format("{}: the file is {}: it has {} bytes where {} were written", m_name,
                              size > m_bytes.size() ? "cut" : "damaged", m_bytes.size(), size);
    }
    m_at = kFileHeaderBytes;
    return !HasFailed();
}

bool ChunkReader::ReadChunkHeader(Chunk* chunk) {
    uint64_t left = m_open[m_depth].end - m_at;
    if (left < kChunkHeaderBytes) {
        Fail(fmt::format("{} bytes are left, too few for a chunk", left));
        return false;
    }
    left -= kChunkHeaderBytes;
    const char* header = m_bytes.data() + m_at;
    chunk->id = Get<uint32_t>(header);
    chunk->version = Get<uint16_t>(header + 4);
    uint16_t form = Get<uint16_t>(header + 6);
    uint64_t length = Get<uint64_t>(header + 8);
    if (form > 1)
        Fail(fmt::format("chunk {:#x} is of the unknown form {}", chunk->id, form));
    else if (length > left)
        Fail(fmt::format("chunk {:#x} claims {} bytes where {} are left", chunk->id, length, left));
    chunk->holdsChunks = form == 1;
    chunk->start = m_at + kChunkHeaderBytes;
    chunk->end = chunk->start + length;
    return !HasFailed();
}

bool ChunkReader::OpenChunk() {
    Chunk& parent = m_open[m_depth];
    if (HasFailed() || m_at == parent.end) return false;
    if (!parent.holdsChunks) {
        Fail("values stand where chunks are expected");
        return false;
    }
    if (m_depth == kMaxChunkDepth) {
        Fail(fmt::format("more than {} chunks stand inside each other", kMaxChunkDepth));
        return false;
    }
    Chunk chunk;
    if (!ReadChunkHeader(&chunk)) return false;
    if (chunk.id != parent.lastId) parent.numOfLast = 0;
    parent.lastId = chunk.id;
    chunk.index = parent.numOfLast++;
    m_at = chunk.start;
    m_open[++m_depth] = chunk;
    return true;
}

void ChunkReader::CloseChunk() {
    assert(m_depth > 0);
    CloseDownTo(m_depth - 1);
}

// After a failure nothing moves, and no chunk is entered any more.
void ChunkReader::CloseDownTo(size_t depth) {
    if (HasFailed()) return;
    assert(depth < m_depth);
    m_at = m_open[depth + 1].end;
    m_depth = depth;
}

void ChunkReader::FailToTake(uint64_t count) {
    if (HasFailed()) return;
    if (m_open[m_depth].holdsChunks)
        Fail("chunks stand where values are expected");
    else
        Fail(fmt::format("{} bytes are wanted where {} are left", count, Remaining()));
}

template <>
bool ChunkReader::Read<bool>() {
    uint8_t value = Read<uint8_t>();
    if (value <= 1) return value == 1;
    --m_at;
    Fail(fmt::format("{} stands for neither true nor false", value));
    return false;
}

// The number of elements that follow, all of which are there.
uint64_t ChunkReader::ReadCount(uint64_t elementBytes) {
    uint64_t count = Read<uint64_t>();
    if (count <= Remaining() / elementBytes) return count;
    Fail(fmt::format("{} elements of {} bytes are claimed where {} bytes are left", count,
                     elementBytes, Remaining()));
    return 0;
}

std::string ChunkReader::ReadText() {
    uint64_t count = ReadCount(1);
    const char* bytes = count > 0 ? Take(count) : nullptr;
    if (!bytes) return {};
    std::string text(bytes, size_t(count));
    if (IsUtf8(text)) return text;
    m_at -= count;
    Fail("the text is not UTF-8");
    return {};
}

void ChunkReader::ReadBytes(void* out, uint64_t count) {
    const char* bytes = Take(count);
    if (bytes)
        std::memcpy(out, bytes, size_t(count));
    else
        std::memset(out, 0, size_t(count));
}

uint64_t ChunkReader::ReadBytesUpTo(void* out, uint64_t count) {
    count = std::min(count, Remaining());
    if (count > 0) ReadBytes(out, count);
    return HasFailed() ? 0 : count;
}

KeptChunk ChunkReader::KeepChunk() {
    assert(m_depth > 0);
    if (HasFailed()) return {};
    const Chunk& chunk = m_open[m_depth];
    m_at = chunk.end;
    return {chunk.id, chunk.version, chunk.holdsChunks,
            std::string(m_bytes.substr(size_t(chunk.start), size_t(ChunkLength())))};
}

void ChunkReader::Fail(const std::string& reason) {
    if (!HasFailed()) m_error = fmt::format("{}: {}", Place(), reason);
}

bool ChunkReader::Finish() {
    if (m_file && m_file->WasCut())
        m_error = fmt::format("{}: the file became shorter while it was read", m_name);
    return !HasFailed();
}

std::string ChunkReader::Place() const {
    std::string path;
    for (size_t i = 1; i <= m_depth; ++i) {
        const Chunk& chunk = m_open[i];
        if (i > 1) path += '/';
        path += chunk.name ? chunk.name : fmt::format("{:#x}", chunk.id);
        if (chunk.index > 0) path += fmt::format("[{}]", chunk.index);
    }
    return fmt::format("{}: {}{}at byte {}", m_name, path, path.empty() ? "" : " ", m_at);
}
