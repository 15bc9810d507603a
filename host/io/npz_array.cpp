#include "host/io/npz_array.h"

#include <fmt/format.h>

namespace {

// Hands the characters of a text in UTF-8 to use(); broken sequences become U+FFFD one byte at a
// time.
template <class Use>
void Decode(std::string_view text, const Use& use) {
    for (size_t i = 0; i < text.size();) {
        auto lead = uint8_t(text[i]);
        int tails = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : -1;
        bool ok = tails >= 0 && i + size_t(tails) < text.size();
        char32_t c = tails <= 0 ? lead : lead & (0x3F >> tails);
        for (int k = 1; ok && k <= tails; ++k) {
            auto tail = uint8_t(text[i + size_t(k)]);
            ok = (tail & 0xC0) == 0x80;
            c = c << 6 | (tail & 0x3F);
        }
        use(ok && c <= 0x10FFFF ? c : char32_t{0xFFFD});
        i += ok ? size_t(tails) + 1 : 1;
    }
}

}  // namespace

std::string ArrayHeader(const TableColumn& column, uint64_t rows, uint64_t width) {
    std::string type = column.kind == TableColumn::kInt32    ? "<i4"
                       : column.kind == TableColumn::kUInt32 ? "<u4"
                       : column.kind == TableColumn::kFloat  ? "<f4"
                       : column.kind == TableColumn::kBool   ? "|b1"
                                                             : fmt::format("<U{}", width);
    std::string shape = fmt::format("{},", rows);
    for (size_t i = 0; i < column.shape.size(); ++i)
        shape += fmt::format(" {}{}", column.shape[i], i + 1 < column.shape.size() ? "," : "");
    std::string text =
        fmt::format("{{'descr': '{}', 'fortran_order': False, 'shape': ({}), }}", type, shape);
    // Magic, version and length take ten bytes; the whole header is a multiple of 64.
    text.append(63 - (text.size() + 10) % 64, ' ');
    text += '\n';
    return std::string("\x93NUMPY\x01\x00", 8) + char(text.size() & 255) + char(text.size() >> 8) +
           text;
}

uint64_t ArrayCellBytes(const TableColumn& column, uint64_t width) {
    uint64_t bytes = column.kind == TableColumn::kBool ? 1 : 4;
    return bytes * (column.kind == TableColumn::kText ? width : column.NumComponents());
}

size_t NumCharacters(std::string_view text) {
    size_t count = 0;
    Decode(text, [&](char32_t) { ++count; });
    return count;
}

void AppendFixedWidth(std::string& out, std::string_view text, uint64_t width) {
    size_t end = out.size() + width * sizeof(char32_t);
    Decode(text, [&](char32_t c) { out.append(reinterpret_cast<const char*>(&c), sizeof c); });
    out.resize(end);
}
