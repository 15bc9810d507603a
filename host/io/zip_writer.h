// ZIP archives of stored (uncompressed) entries, written in one pass.
//
// An entry's size is known before it is written; its check sum is put into its header afterwards.
// Sizes and offsets from `limit` on use the 64-bit extensions (APPNOTE 6.3, section 4.5.3).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/atomic_file.h"

class SpoolFile;

// CRC-32 of some bytes, and of two texts together: that of the first, that of the second and the
// second's length.
uint32_t CheckSum(std::string_view bytes);
uint32_t JoinCheckSums(uint32_t first, uint32_t second, uint64_t secondBytes);

class ZipWriter {
public:
    // limit: smaller than the format's own only to test the 64-bit form with small files.
    explicit ZipWriter(AtomicFile& out, uint64_t limit = 0xFFFFFFFF) : m_out(out), m_limit(limit) {}

    // Starts an entry of exactly `size` bytes; name in UTF-8.
    void Begin(const std::string& name, uint64_t size);
    void Write(std::string_view bytes);
    // The same where the bytes' check sum is known.
    void Write(std::string_view bytes, uint32_t checkSum);
    // All bytes that wait in a file, which is empty afterwards.
    void Take(SpoolFile& bytes, uint32_t checkSum);
    void End();

    // Writes the directory. The caller commits the file.
    void Finish();

private:
    struct Entry {
        std::string name;
        uint64_t size = 0, offset = 0, written = 0;
        uint32_t crc = 0;
    };
    void Count(uint64_t bytes, uint32_t checkSum);
    bool IsLarge(uint64_t value) const { return value >= m_limit; }

    AtomicFile& m_out;
    uint64_t m_limit;
    std::vector<Entry> m_entries;
};
