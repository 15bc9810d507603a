// Writes files of chunks (chunk_format.h), onto the disk or into memory.
//
//     writer.BeginChunk(kName);
//     writer.WriteText(name);
//     writer.EndChunk();
//
// Lengths are filled in when a chunk ends. On the disk that takes a buffer of constant size,
// however long the chunks are; pipes and devices take no filling in, and get all bytes at Commit.
// The file appears whole at Commit or not at all. After a failure everything else does nothing. One
// thread at a time.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "host/base/atomic_file.h"
#include "host/chunks/chunk_format.h"

class ChunkWriter {
public:
    // Starts a file. False with a reason in `error` when it cannot be written.
    bool OpenFile(const std::string& path, const ChunkFileKind& kind, std::string* error);
    // Starts bytes in memory, for TakeBytes.
    void OpenMemory(const ChunkFileKind& kind);

    // Starts a chunk inside the one that is open, at most kMaxChunkDepth inside each other. A chunk
    // that holds values takes no chunks, and the other way round.
    void BeginChunk(uint32_t id, uint16_t version = 0);
    void EndChunk();

    template <ChunkNumber T>
    void Write(T value) {
        WriteBytes({reinterpret_cast<const char*>(&value), sizeof value});
    }
    // Bytes that are not UTF-8 are written as U+FFFD, and counted.
    void WriteText(std::string_view text);
    template <ChunkElement T>
    void WriteArray(std::span<const T> elements) {
        Write(uint64_t(elements.size()));
        WriteBytes({reinterpret_cast<const char*>(elements.data()), elements.size_bytes()});
    }
    // Bytes as they are, without their number.
    void WriteBytes(std::string_view bytes);
    // A whole chunk as it was read, in place of BeginChunk to EndChunk.
    void WriteKept(const KeptChunk& chunk);

    // Bytes written so far, the file's header included.
    uint64_t Size() const { return m_flushed + m_buffer.size(); }
    // Texts that were not UTF-8: what the caller warns of.
    uint64_t NumMendedTexts() const { return m_numMendedTexts; }
    // Something that the file needs has failed. The first reason stays.
    void Fail(const std::string& reason);
    // To end long work early; Commit and TakeBytes tell the reason.
    bool HasFailed() const { return !m_error.empty() || (m_file && m_file->HasFailed()); }

    // Puts the file in its place. False with a reason in `error`, the target unchanged.
    bool Commit(std::string* error);
    // The bytes of OpenMemory. None with a reason in `error`.
    std::optional<std::string> TakeBytes(std::string* error);

private:
    struct OpenChunk {
        uint64_t start;  // of its header
        uint32_t id;
        uint16_t version;
        bool hasValues = false, hasChunks = false;
    };

    void Start(const std::string& name, const ChunkFileKind& kind);
    bool Finish(std::string* error);
    void Append(std::string_view bytes);
    void Flush();
    void Patch(uint64_t offset, std::string_view bytes);
    bool EnterParent(bool withChunk);

    std::optional<AtomicFile> m_file;  // none in memory
    bool m_isFlushed = false;          // to m_file, whenever the buffer is full
    std::string m_name;
    std::string m_error = "nothing is open to be written";
    std::string m_buffer;
    uint64_t m_flushed = 0;  // bytes before those of the buffer
    std::array<OpenChunk, kMaxChunkDepth> m_open;
    size_t m_depth = 0;
    uint64_t m_numMendedTexts = 0;
};
