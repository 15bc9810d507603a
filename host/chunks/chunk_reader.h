// Reads files of chunks (chunk_format.h), from the disk or from memory.
//
//     reader.ForEachChunk([&](uint32_t id) {
//         if (id == kName) name = reader.ReadText();
//         if (id == kHeights) reader.ReadArray(&heights);
//     });
//     if (!reader.Finish()) Tell(reader.Error());
//
// Whatever a chunk holds beyond what is read of it is skipped, and so are chunks that nobody reads.
// Every length is checked against the bytes that are there before anything is allocated. After the
// first failure the reader gives zeros, empty texts and no more chunks, so that it is enough to ask
// once, at the end. Errors name the file and the place:
// "garden.scene: nodes/node[3]/object at byte 1234: 8 bytes are wanted where 2 are left". One
// thread at a time.
#pragma once

#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/file_input.h"
#include "host/chunks/chunk_format.h"

class ChunkReader {
public:
    // Starts a file of this kind, of its version or an older one. False with a reason in Error().
    bool OpenFile(const std::string& path, const ChunkFileKind& kind);
    // Starts bytes that the caller keeps; `name` stands for the file's name in errors.
    bool OpenBytes(std::string_view bytes, const std::string& name, const ChunkFileKind& kind);
    uint32_t FileVersion() const { return m_fileVersion; }

    // Reads each chunk inside the one that is open, or at first of the file: read(id) stands at its
    // start and may leave it anywhere.
    template <class Read>
    void ForEachChunk(const Read& read) {
        size_t depth = m_depth;
        while (OpenChunk()) {
            read(ChunkId());
            CloseDownTo(depth);
        }
    }
    // The same by hand: enters the next chunk, false when there is no other one; leaves it.
    bool OpenChunk();
    void CloseChunk();

    // Of the chunk that is open.
    uint32_t ChunkId() const { return m_open[m_depth].id; }
    uint16_t ChunkVersion() const { return m_open[m_depth].version; }
    uint64_t ChunkLength() const { return m_open[m_depth].end - m_open[m_depth].start; }
    // Of the whole file.
    uint64_t FileSize() const { return m_bytes.size(); }
    bool HoldsChunks() const { return m_open[m_depth].holdsChunks; }
    // Bytes that have not been read; 0 after a failure.
    uint64_t Remaining() const { return m_error.empty() ? m_open[m_depth].end - m_at : 0; }
    // What errors call it, in place of its number in hexadecimal digits; must outlive the reader.
    void NameChunk(const char* name) { m_open[m_depth].name = name; }

    template <ChunkNumber T>
    T Read() {
        T value{};
        if (const char* bytes = Take(sizeof value)) std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    std::string ReadText();
    // Makes it as long as the array is; empty after a failure.
    template <ChunkElement T>
    void ReadArray(std::vector<T>* elements) {
        uint64_t count = ReadCount(sizeof(T));
        elements->resize(size_t(count));
        if (count > 0) ReadBytes(elements->data(), count * sizeof(T));
    }
    // Bytes without their number: all of them, or zeros and a failure.
    void ReadBytes(void* out, uint64_t count);
    // The same where they lie; they stay there as long as what is read does.
    std::string_view ReadView(uint64_t count) {
        const char* bytes = Take(count);
        return bytes ? std::string_view(bytes, size_t(count)) : std::string_view();
    }
    // As many as are left, at most `count`: what an older or shorter record has. Returns how many.
    uint64_t ReadBytesUpTo(void* out, uint64_t count);
    // The whole chunk, whatever has been read of it.
    KeptChunk KeepChunk();

    // What was read makes no sense, or is not allowed. The first reason stays.
    void Fail(const std::string& reason);
    bool HasFailed() const { return !m_error.empty(); }
    // Ends the reading. False with a reason in Error() when anything failed, or when the file was
    // cut by others meanwhile, so that nothing of what was read is to be believed.
    bool Finish();
    const std::string& Error() const { return m_error; }
    // Where the reader stands, for warnings: file, chunks and byte.
    std::string Place() const;

private:
    struct Chunk {
        uint64_t start = 0, end = 0;  // of what it holds
        uint32_t id = 0;
        uint16_t version = 0;
        bool holdsChunks = true;
        const char* name = nullptr;
        uint64_t index = 0;  // among neighbours of the same id
        // The chunk inside that was entered last, to count its neighbours.
        uint32_t lastId = 0;
        uint64_t numOfLast = 0;
    };

    bool Start(std::string_view bytes, const std::string& name, const ChunkFileKind& kind);
    bool ReadFileHeader(const ChunkFileKind& kind);
    bool ReadChunkHeader(Chunk* chunk);
    void CloseDownTo(size_t depth);
    uint64_t ReadCount(uint64_t elementBytes);
    void FailToTake(uint64_t count);
    // The next bytes of the chunk; null after a failure.
    const char* Take(uint64_t count) {
        const Chunk& chunk = m_open[m_depth];
        if (HasFailed() || chunk.holdsChunks || count > chunk.end - m_at) {
            FailToTake(count);
            return nullptr;
        }
        m_at += count;
        return m_bytes.data() + m_at - count;
    }

    std::optional<MappedFile> m_file;
    std::string m_name;
    std::string m_error = "nothing is open to be read";
    std::string_view m_bytes;
    uint64_t m_at = 0;
    uint32_t m_fileVersion = 0;
    std::array<Chunk, kMaxChunkDepth + 1> m_open;  // the first one stands for the file
    size_t m_depth = 0;
};

template <>
bool ChunkReader::Read<bool>();
