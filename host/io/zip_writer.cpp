#include "host/io/zip_writer.h"

#include <cassert>

#include <zlib.h>

#include "host/base/spool_file.h"

namespace {

constexpr uint16_t kUtf8Names = 1 << 11;
constexpr uint16_t kVersion = 20, kVersion64 = 45;
constexpr uint16_t kDate = 1 << 5 | 1;  // 1 January 1980: the same bytes whenever a file is written
constexpr size_t kCrcOffset = 14;       // within a local header

// Little-endian numbers appended to a text.
struct Record {
    std::string bytes;

    template <class T>
    Record& Add(T value) {
        for (size_t i = 0; i < sizeof value; ++i) bytes += char(uint64_t(value) >> (8 * i) & 255);
        return *this;
    }
};

}  // namespace

uint32_t CheckSum(std::string_view bytes) {
    if (bytes.empty()) return 0;  // a null pointer asks zlib for something else
    return uint32_t(crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

uint32_t JoinCheckSums(uint32_t first, uint32_t second, uint64_t secondBytes) {
    return uint32_t(crc32_combine(first, second, z_off_t(secondBytes)));
}

void ZipWriter::Begin(const std::string& name, uint64_t size) {
    m_entries.push_back({name, size, m_out.Size(), 0, 0});
    bool large = IsLarge(size);
    uint32_t shown = large ? 0xFFFFFFFF : uint32_t(size);
    Record extra;
    if (large) extra.Add(uint16_t{1}).Add(uint16_t{16}).Add(size).Add(size);
    Record header;
    header.Add(uint32_t{0x04034B50}).Add(large ? kVersion64 : kVersion).Add(kUtf8Names);
    header.Add(uint16_t{0}).Add(uint16_t{0}).Add(kDate).Add(uint32_t{0}).Add(shown).Add(shown);
    header.Add(uint16_t(name.size())).Add(uint16_t(extra.bytes.size()));
    m_out.Write(header.bytes + name + extra.bytes);
}

void ZipWriter::Count(uint64_t bytes, uint32_t checkSum) {
    Entry& entry = m_entries.back();
    entry.crc = JoinCheckSums(entry.crc, checkSum, bytes);
    entry.written += bytes;
}

void ZipWriter::Write(std::string_view bytes) { Write(bytes, CheckSum(bytes)); }

void ZipWriter::Write(std::string_view bytes, uint32_t checkSum) {
    Count(bytes.size(), checkSum);
    m_out.Write(bytes);
}

void ZipWriter::Take(SpoolFile& bytes, uint32_t checkSum) {
    Count(bytes.Size(), checkSum);
    bytes.MoveTo(m_out);
}

void ZipWriter::End() {
    Entry& entry = m_entries.back();
    assert(entry.written == entry.size &&
           "host/io: an archive entry of another size than announced");
    m_out.Overwrite(entry.offset + kCrcOffset, Record().Add(entry.crc).bytes);
}

void ZipWriter::Finish() {
    uint64_t start = m_out.Size();
    for (const Entry& entry : m_entries) {
        Record extra;
        bool largeSize = IsLarge(entry.size), largeOffset = IsLarge(entry.offset);
        if (largeSize || largeOffset)
            extra.Add(uint16_t{1}).Add(uint16_t((largeSize ? 16 : 0) + (largeOffset ? 8 : 0)));
        if (largeSize) extra.Add(entry.size).Add(entry.size);
        if (largeOffset) extra.Add(entry.offset);
        uint16_t version = largeSize || largeOffset ? kVersion64 : kVersion;
        uint32_t size = largeSize ? 0xFFFFFFFF : uint32_t(entry.size);
        Record header;
        header.Add(uint32_t{0x02014B50}).Add(version).Add(version).Add(kUtf8Names);
        header.Add(uint16_t{0}).Add(uint16_t{0}).Add(kDate).Add(entry.crc).Add(size).Add(size);
        header.Add(uint16_t(entry.name.size())).Add(uint16_t(extra.bytes.size()));
        header.Add(uint16_t{0}).Add(uint16_t{0}).Add(uint16_t{0}).Add(uint32_t{0});
        header.Add(largeOffset ? 0xFFFFFFFF : uint32_t(entry.offset));
        m_out.Write(header.bytes + entry.name + extra.bytes);
    }
    uint64_t end = m_out.Size(), length = end - start, count = m_entries.size();
    bool large = IsLarge(start) || IsLarge(length) || count >= 0xFFFF;
    Record tail;
    if (large) {
        tail.Add(uint32_t{0x06064B50}).Add(uint64_t{44}).Add(kVersion64).Add(kVersion64);
        tail.Add(uint32_t{0}).Add(uint32_t{0}).Add(count).Add(count).Add(length).Add(start);
        tail.Add(uint32_t{0x07064B50}).Add(uint32_t{0}).Add(end).Add(uint32_t{1});
    }
    auto shownCount = uint16_t(large ? 0xFFFF : count);
    tail.Add(uint32_t{0x06054B50})
        .Add(uint16_t{0})
        .Add(uint16_t{0})
        .Add(shownCount)
        .Add(shownCount);
    tail.Add(large ? 0xFFFFFFFF : uint32_t(length)).Add(large ? 0xFFFFFFFF : uint32_t(start));
    tail.Add(uint16_t{0});
    m_out.Write(tail.bytes);
}
