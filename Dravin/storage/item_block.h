// Items that were edited by hand, as blocks of bytes in files: the record's lasting fields at fixed
// places, little-endian; what no field stands in is 0.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "Dravin/engine/stored_items.h"

inline constexpr size_t kItemBlockBytes = 248;
using TItemBytes = std::array<char, kItemBlockBytes>;

void WriteItemBlock(const TStoredItem& item, char* block);
// The item of a block of this or an older form (object_chunks.h); none for a size that the form
// does not have. Bytes that an older form lacks are those of a fresh item.
std::optional<TStoredItem> ReadItemBlock(uint16_t chunk, std::string_view block);
// Which of the forms is the newer one: larger is newer, 0 is none.
int ItemBlockGeneration(uint16_t chunk);
