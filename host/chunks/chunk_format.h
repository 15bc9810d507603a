// Chunked storage: what files of saved objects are made of.
//
// A file is a header and chunks; a chunk holds either values or further chunks. Whoever writes a
// chunk gives it a number of its own choosing, which means something to the reader of the chunk
// around it only, and the version of what is inside.
//
//     file    signature 8, kind u32, version u32, bytes of the whole file u64, chunks
//     chunk   id u32, version u16, form u16 (0: values, 1: chunks), length u64, that many bytes
//     value   u8 ... u64, i8 ... i64, f32, f64 as in memory; bool one byte, 0 or 1
//     text    number of bytes u64, UTF-8 without a terminator
//     array   number of elements u64, the elements without gaps
//
// All numbers are little-endian, nothing is aligned. The lengths and the size in the header say of
// a file that it is whole. There are no check sums: they would have to be taken before lengths are
// known, cost more time than the writing, and what they find, bytes that a disk gave back wrongly,
// the disk's own sums find first; damage of any kind is an error or a wrong value, never a crash.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

static_assert(std::endian::native == std::endian::little,
              "values are written as they lie in memory");

// The last byte but one counts changes of the layout above. The others tell at once a file that
// went through a transfer of text: a byte beyond 127, line ends of both kinds, an end of text.
inline constexpr std::string_view kChunkSignature{
    "\x89"
    "CF\r\n\x1A\x01\n",
    8};
inline constexpr size_t kFileHeaderBytes = 24;
inline constexpr size_t kChunkHeaderBytes = 16;
// The most chunks that may stand inside each other.
inline constexpr size_t kMaxChunkDepth = 64;

// What a program keeps in a file of chunks.
struct ChunkFileKind {
    uint32_t id;
    const char* name;  // for messages, "scene file"
    uint32_t version;  // written; the newest that is read
};

// A chunk that its reader does not know, for the next writer: comes back byte for byte.
struct KeptChunk {
    uint32_t id = 0;
    uint16_t version = 0;
    bool holdsChunks = false;
    std::string payload;

    friend bool operator==(const KeptChunk&, const KeptChunk&) = default;
};

template <class T>
concept ChunkNumber = std::is_arithmetic_v<T> && sizeof(T) <= 8;

// A number, or a struct of numbers without gaps between them: its bytes are written as they are.
template <class T>
concept ChunkElement =
    std::is_trivially_copyable_v<T> && !std::is_pointer_v<T> && !std::is_same_v<T, bool>;
