// One array of an NPZ archive: its header, and texts as the fixed-width Unicode of NumPy.
#pragma once

#include <string>
#include <string_view>

#include "host/io/table_source.h"

// Header of an array of `rows` cells of this column in NumPy's format 1.0, a multiple of 64 bytes.
// width: characters of each text.
std::string ArrayHeader(const TableColumn& column, uint64_t rows, uint64_t width);
// Bytes of a cell in the array.
uint64_t ArrayCellBytes(const TableColumn& column, uint64_t width);

// Characters of a text in UTF-8; those of broken sequences are U+FFFD, one a byte.
size_t NumCharacters(std::string_view text);
// Appends a text as 32-bit characters, filled up with zeros to `width` of them.
void AppendFixedWidth(std::string& out, std::string_view text, uint64_t width);
