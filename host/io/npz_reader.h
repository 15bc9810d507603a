// Reads the NPZ archives that OpenNpzStream writes: stored entries, with the 64-bit form.
//
// Everything is checked before it is believed: lengths, offsets, headers, and on request the check
// sums. Archives of other programs (compressed, with comments, of other types) are refused with the
// place and what is wrong there.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/io/table_source.h"

struct NpzEntry {
    std::string name;
    std::string_view bytes;
    uint32_t checkSum = 0;
};

// An array of an archive: rows of a column.
struct NpzArray {
    TableColumn column;  // without a name
    uint64_t rows = 0;
    uint64_t width = 0;      // characters of each text; 0 for numbers
    std::string_view cells;  // rows x ArrayCellBytes
};

// The entries of an archive with these bytes, which they point into. None, with a reason in `error`
// ("byte 30: ..."), for anything else.
std::optional<std::vector<NpzEntry>> ReadNpzEntries(std::string_view bytes, std::string* error);

// Null when there is none of that name.
const NpzEntry* FindEntry(std::span<const NpzEntry> entries, std::string_view name);

// An entry as an array. None, with a reason in `error`, for anything that ArrayHeader
// (npz_array.h) would not write.
std::optional<NpzArray> ReadNpzArray(const NpzEntry& entry, std::string* error);
