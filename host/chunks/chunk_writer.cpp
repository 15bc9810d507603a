#include "host/chunks/chunk_writer.h"

#include <cassert>
#include <cstring>
#include <utility>

#include <fmt/format.h>

#include "host/base/utf8.h"

namespace {

enum Form : uint16_t { kValues, kChunks };

template <class T>
char* Put(char* out, T value) {
    std::memcpy(out, &value, sizeof value);
    return out + sizeof value;
}

using ChunkHeader = std::array<char, kChunkHeaderBytes>;

ChunkHeader MakeHeader(uint32_t id, uint16_t version, bool holdsChunks, uint64_t length) {
    ChunkHeader header;
    char* out = Put(header.data(), id);
    out = Put(out, version);
    out = Put(out, uint16_t(holdsChunks ? kChunks : kValues));
    Put(out, length);
    return header;
}

std::string_view Bytes(const ChunkHeader& header) { return {header.data(), header.size()}; }

}  // namespace

bool ChunkWriter::OpenFile(const std::string& path, const ChunkFileKind& kind, std::string* error) {
    m_file.emplace();
    if (!m_file->Open(path, error)) {
        m_error = *error;
        return false;
    }
    Start(path, kind);
    m_isFlushed = m_file->CanOverwrite();
    return true;
}

void ChunkWriter::OpenMemory(const ChunkFileKind& kind) {
    m_file.reset();
    Start("chunks in memory", kind);
    m_isFlushed = false;
}

void ChunkWriter::Start(const std::string& name, const ChunkFileKind& kind) {
    m_name = name;
    m_error.clear();
    m_buffer.assign(kChunkSignature);
    m_flushed = m_depth = m_numMendedTexts = 0;
    std::array<char, kFileHeaderBytes - kChunkSignature.size()> rest;
    char* out = Put(rest.data(), kind.id);
    out = Put(out, kind.version);
    Put(out, uint64_t{0});
    m_buffer.append(rest.data(), rest.size());
}

void ChunkWriter::Fail(const std::string& reason) {
    if (!m_error.empty()) return;
    std::string place;
    for (size_t i = 0; i < m_depth; ++i)
        place += fmt::format("{}{:#x}", i ? "/" : "", m_open[i].id);
    m_error =
        fmt::format("{}: {}{}cannot write: {}", m_name, place, place.empty() ? "" : ": ", reason);
}

// The chunk that is open takes values or a chunk. False when it does not.
bool ChunkWriter::EnterParent(bool withChunk) {
    if (HasFailed()) return false;
    if (withChunk && m_depth == kMaxChunkDepth)
        Fail(fmt::format("more than {} chunks stand inside each other", kMaxChunkDepth));
    if (m_depth == 0) {
        if (!withChunk) Fail("values stand outside all chunks");
        return withChunk;
    }
    OpenChunk& parent = m_open[m_depth - 1];
    (withChunk ? parent.hasChunks : parent.hasValues) = true;
    if (parent.hasChunks && parent.hasValues) Fail("one chunk holds both values and chunks");
    return m_error.empty();
}

void ChunkWriter::BeginChunk(uint32_t id, uint16_t version) {
    if (!EnterParent(true)) return;
    m_open[m_depth++] = {Size(), id, version};
    Append(Bytes(MakeHeader(id, version, false, 0)));
}

void ChunkWriter::EndChunk() {
    if (HasFailed()) return;
    if (m_depth == 0) return Fail("a chunk ends that has not begun");
    const OpenChunk& chunk = m_open[--m_depth];
    uint64_t length = Size() - chunk.start - kChunkHeaderBytes;
    Patch(chunk.start, Bytes(MakeHeader(chunk.id, chunk.version, chunk.hasChunks, length)));
}

void ChunkWriter::WriteText(std::string_view text) {
    std::string mended;
    if (!IsUtf8(text)) {
        mended = MendUtf8(text);
        text = mended;
        ++m_numMendedTexts;
    }
    Write(uint64_t(text.size()));
    WriteBytes(text);
}

void ChunkWriter::WriteBytes(std::string_view bytes) {
    if (EnterParent(false)) Append(bytes);
}

void ChunkWriter::WriteKept(const KeptChunk& chunk) {
    if (!EnterParent(true)) return;
    Append(Bytes(MakeHeader(chunk.id, chunk.version, chunk.holdsChunks, chunk.payload.size())));
    Append(chunk.payload);
}

void ChunkWriter::Append(std::string_view bytes) {
    if (m_isFlushed && bytes.size() >= kFileBufferBytes) {
        Flush();
        m_file->Write(bytes);
        m_flushed += bytes.size();
        return;
    }
    m_buffer.append(bytes);
    if (m_isFlushed && m_buffer.size() >= kFileBufferBytes) Flush();
}

void ChunkWriter::Flush() {
    m_file->Write(m_buffer);
    m_flushed += m_buffer.size();
    m_buffer.clear();
}

// Writes over bytes that were appended in one call, so that all or none of them are in the buffer.
void ChunkWriter::Patch(uint64_t offset, std::string_view bytes) {
    if (offset >= m_flushed)
        std::memcpy(m_buffer.data() + (offset - m_flushed), bytes.data(), bytes.size());
    else
        m_file->Overwrite(offset, bytes);
}

bool ChunkWriter::Finish(std::string* error) {
    if (m_depth > 0 && !HasFailed()) Fail("the chunk has not ended");
    uint64_t size = Size();
    if (m_error.empty())
        Patch(kFileHeaderBytes - sizeof size, {reinterpret_cast<const char*>(&size), sizeof size});
    bool good = m_error.empty();
    if (!good) *error = m_error;
    m_error = "nothing is open to be written";
    return good;
}

bool ChunkWriter::Commit(std::string* error) {
    assert(m_file || m_error.size() > 0);
    bool good = Finish(error);
    if (good) {
        Flush();
        good = m_file->Commit(error);
    }
    m_file.reset();
    return good;
}

std::optional<std::string> ChunkWriter::TakeBytes(std::string* error) {
    assert(!m_file);
    if (!Finish(error)) return {};
    return std::exchange(m_buffer, {});
}
