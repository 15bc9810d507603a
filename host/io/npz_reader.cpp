#include "host/io/npz_reader.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <set>

#include <fmt/format.h>

#include "host/io/npz_array.h"

namespace {

constexpr uint32_t kLocalMark = 0x04034B50, kCentralMark = 0x02014B50, kEndMark = 0x06054B50;
constexpr uint32_t kEnd64Mark = 0x06064B50, kLocator64Mark = 0x07064B50;
constexpr size_t kLocalBytes = 30, kCentralBytes = 46, kEndBytes = 22;
constexpr size_t kEnd64Bytes = 56, kLocator64Bytes = 20;
constexpr uint32_t kIn64Bits = 0xFFFFFFFF;  // the number stands in its 64-bit form

// Little-endian numbers one after the other. Beyond the end they are 0, and the reader is no longer
// good.
class Fields {
public:
    Fields(std::string_view bytes, uint64_t place) : m_bytes(bytes), m_place(place) {}

    uint64_t Next(size_t size) {
        if (m_place > m_bytes.size() || m_bytes.size() - m_place < size) return m_isGood = false;
        uint64_t value = 0;
        for (size_t i = 0; i < size; ++i)
            value |= uint64_t(uint8_t(m_bytes[size_t(m_place) + i])) << (8 * i);
        m_place += size;
        return value;
    }
    std::string_view Text(uint64_t size) {
        if (m_place > m_bytes.size() || m_bytes.size() - m_place < size) {
            m_isGood = false;
            return {};
        }
        std::string_view text = m_bytes.substr(size_t(m_place), size_t(size));
        m_place += size;
        return text;
    }
    void Skip(size_t size) { Text(size); }
    bool IsGood() const { return m_isGood; }
    uint64_t Place() const { return m_place; }

private:
    std::string_view m_bytes;
    uint64_t m_place;
    bool m_isGood = true;
};

// Where the list of entries stands.
struct Directory {
    uint64_t start = 0, length = 0, count = 0;
    uint64_t end = 0;  // of all that may belong to entries and their list
};

class ArchiveReader {
public:
    ArchiveReader(std::string_view bytes, std::string* error) : m_bytes(bytes), m_error(error) {}

    std::optional<std::vector<NpzEntry>> Read() {
        Directory directory;
        if (!ReadDirectory(&directory)) return std::nullopt;
        std::vector<NpzEntry> entries;
        std::set<std::string> names;
        uint64_t place = directory.start;
        for (uint64_t i = 0; i < directory.count; ++i) {
            NpzEntry entry;
            uint64_t start = place;
            if (!ReadEntry(directory, &place, &entry)) return std::nullopt;
            if (!names.insert(entry.name).second)
                return Fail(start, "a name that stands twice"), std::nullopt;
            entries.push_back(std::move(entry));
        }
        if (place != directory.start + directory.length)
            return Fail(place, "the list of entries has another length"), std::nullopt;
        return entries;
    }

private:
    void Fail(uint64_t place, const std::string& what) {
        *m_error = fmt::format("byte {}: {}", place, what);
    }
    bool Refuse(uint64_t place, const std::string& what) { return Fail(place, what), false; }

    bool ReadDirectory(Directory* directory) {
        if (m_bytes.size() < kEndBytes) return Refuse(0, "too short for an archive");
        uint64_t place = m_bytes.size() - kEndBytes;
        Fields end(m_bytes, place);
        if (end.Next(4) != kEndMark) return Refuse(place, "no end of an archive");
        bool isOne = end.Next(2) == 0 && end.Next(2) == 0;
        uint64_t here = end.Next(2);
        directory->count = end.Next(2);
        directory->length = end.Next(4), directory->start = end.Next(4);
        directory->end = place;
        if (!isOne || here != directory->count || end.Next(2) != 0)
            return Refuse(place, "an archive of several files, or with a comment");
        bool is64 = directory->count == 0xFFFF || directory->length == kIn64Bits ||
                    directory->start == kIn64Bits;
        if (is64 && !ReadDirectory64(place, directory)) return false;
        if (directory->start > directory->end ||
            directory->length != directory->end - directory->start)
            return Refuse(place, "a list of entries that lies elsewhere");
        return true;
    }
    bool ReadDirectory64(uint64_t place, Directory* directory) {
        if (place < kLocator64Bytes + kEnd64Bytes) return Refuse(place, "no 64-bit end");
        Fields locator(m_bytes, place - kLocator64Bytes);
        bool isLocator = locator.Next(4) == kLocator64Mark && locator.Next(4) == 0;
        uint64_t at = locator.Next(8);
        if (!isLocator || at != place - kLocator64Bytes - kEnd64Bytes)
            return Refuse(place - kLocator64Bytes, "no 64-bit end");
        Fields end(m_bytes, at);
        if (end.Next(4) != kEnd64Mark || end.Next(8) != kEnd64Bytes - 12)
            return Refuse(at, "no 64-bit end");
        end.Skip(12);
        uint64_t here = end.Next(8);
        directory->count = end.Next(8);
        directory->length = end.Next(8), directory->start = end.Next(8);
        directory->end = at;
        return here == directory->count || Refuse(at, "an archive of several files");
    }

    // The 64-bit forms that stand in the extra field for those numbers that need it, in order.
    bool ReadExtra(std::string_view extra, std::initializer_list<uint64_t*> numbers) {
        Fields fields(extra, 0);
        bool isPresent = !extra.empty();
        if (isPresent && (fields.Next(2) != 1 || fields.Next(2) != extra.size() - 4)) return false;
        for (uint64_t* number : numbers)
            if (*number == kIn64Bits) *number = fields.Next(8);
        return fields.IsGood() && fields.Place() == extra.size();
    }

    bool ReadEntry(const Directory& directory, uint64_t* place, NpzEntry* entry) {
        uint64_t start = *place;
        Fields fields(m_bytes.substr(0, size_t(directory.end)), start);
        if (fields.Next(4) != kCentralMark) return Refuse(start, "no entry of an archive");
        fields.Skip(6);
        if (fields.Next(2) != 0) return Refuse(start, "an entry that is compressed");
        fields.Skip(4);
        entry->checkSum = uint32_t(fields.Next(4));
        uint64_t packed = fields.Next(4), size = fields.Next(4);
        uint64_t nameBytes = fields.Next(2), extraBytes = fields.Next(2), comment = fields.Next(2);
        fields.Skip(8);
        uint64_t offset = fields.Next(4);
        std::string_view name = fields.Text(nameBytes), extra = fields.Text(extraBytes);
        bool isGood =
            fields.IsGood() && comment == 0 && ReadExtra(extra, {&size, &packed, &offset});
        if (!isGood || packed != size) return Refuse(start, "a damaged entry");
        entry->name = name;
        *place = fields.Place();
        return ReadLocal(offset, directory.start, size, entry);
    }
    bool ReadLocal(uint64_t offset, uint64_t end, uint64_t size, NpzEntry* entry) {
        Fields fields(m_bytes.substr(0, size_t(end)), offset);
        if (fields.Next(4) != kLocalMark) return Refuse(offset, "no head of an entry");
        fields.Skip(kLocalBytes - 4 - 4);
        uint64_t nameBytes = fields.Next(2), extraBytes = fields.Next(2);
        std::string_view name = fields.Text(nameBytes);
        fields.Text(extraBytes);
        entry->bytes = fields.Text(size);
        if (!fields.IsGood() || name != entry->name)
            return Refuse(offset, "a head that belongs to no entry, or bytes that are not there");
        return true;
    }

    std::string_view m_bytes;
    std::string* m_error;
};

// Takes `text` off the front of `rest`.
bool TakeText(std::string_view* rest, std::string_view text) {
    if (!rest->starts_with(text)) return false;
    rest->remove_prefix(text.size());
    return true;
}

template <class T>
bool TakeNumber(std::string_view* rest, T* number) {
    auto [end, problem] = std::from_chars(rest->data(), rest->data() + rest->size(), *number);
    if (problem != std::errc()) return false;
    rest->remove_prefix(size_t(end - rest->data()));
    return true;
}

bool TakeKind(std::string_view* rest, NpzArray* array) {
    struct {
        const char* text;
        TableColumn::Kind kind;
    } kKinds[] = {{"<i4", TableColumn::kInt32},
                  {"<u4", TableColumn::kUInt32},
                  {"<f4", TableColumn::kFloat},
                  {"|b1", TableColumn::kBool}};
    for (const auto& kind : kKinds)
        if (TakeText(rest, kind.text)) return array->column.kind = kind.kind, true;
    array->column.kind = TableColumn::kText;
    return TakeText(rest, "<U") && TakeNumber(rest, &array->width) && array->width >= 1;
}

bool TakeShape(std::string_view* rest, NpzArray* array) {
    if (!TakeNumber(rest, &array->rows) || !TakeText(rest, ",")) return false;
    constexpr size_t kMostDimensions = 4;
    while (TakeText(rest, " ")) {
        int size = 0;
        if (!TakeNumber(rest, &size) || size < 1 || size > 1 << 10) return false;
        array->column.shape.push_back(size);
        if (array->column.shape.size() > kMostDimensions) return false;
        TakeText(rest, ",");
    }
    return TakeText(rest, ")");
}

}  // namespace

std::optional<std::vector<NpzEntry>> ReadNpzEntries(std::string_view bytes, std::string* error) {
    return ArchiveReader(bytes, error).Read();
}

const NpzEntry* FindEntry(std::span<const NpzEntry> entries, std::string_view name) {
    auto found = std::find_if(entries.begin(), entries.end(),
                              [&](const NpzEntry& entry) { return entry.name == name; });
    return found == entries.end() ? nullptr : &*found;
}

std::optional<NpzArray> ReadNpzArray(const NpzEntry& entry, std::string* error) {
    constexpr size_t kBeforeText = 10;
    NpzArray array;
    std::string_view rest = entry.bytes.substr(std::min(kBeforeText, entry.bytes.size()));
    bool isRead = TakeText(&rest, "{'descr': '") && TakeKind(&rest, &array) &&
                  TakeText(&rest, "', 'fortran_order': False, 'shape': (") &&
                  TakeShape(&rest, &array);
    // What would be written for this array must be what was read.
    std::string header = isRead ? ArrayHeader(array.column, array.rows, array.width) : "";
    if (!isRead || !entry.bytes.starts_with(header)) {
        *error = fmt::format("{}: not an array as it is written here", entry.name);
        return std::nullopt;
    }
    array.cells = entry.bytes.substr(header.size());
    constexpr uint64_t kMostWidth = 1 << 24;
    uint64_t cellBytes = array.width > kMostWidth ? 0 : ArrayCellBytes(array.column, array.width);
    bool fits = cellBytes > 0 && array.cells.size() / cellBytes == array.rows &&
                array.cells.size() % cellBytes == 0;
    if (fits) return array;
    *error = fmt::format("{}: claims {} rows, but has {} bytes", entry.name, array.rows,
                         array.cells.size());
    return std::nullopt;
}
