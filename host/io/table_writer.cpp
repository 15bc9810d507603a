#include "host/io/table_writer.h"

#include <algorithm>
#include <cassert>
#include <functional>

#include <fmt/format.h>

#include "host/base/thread_pool.h"
#include "host/io/json_text.h"
#include "host/io/zip_writer.h"

namespace {

constexpr size_t kMostRows = 65536;
constexpr size_t kValuesInBlock = 1 << 20;  // wide tables have shorter blocks, about 12 MB of text

size_t RowsInBlock(const ITableSource& source) {
    size_t values = 1;
    for (const TableColumn& column : source.Columns()) values += column.NumComponents();
    return std::clamp<size_t>(kValuesInBlock / values, 256, kMostRows);
}

void ReadCells(const ITableSource& source, size_t column, size_t first, size_t count,
               TableCells& cells) {
    const TableColumn& description = source.Columns()[column];
    size_t n = count * description.NumComponents();
    cells = {};
    switch (description.kind) {
        case TableColumn::kInt32:
            cells.ints.resize(n);
            break;
        case TableColumn::kUInt32:
            cells.uints.resize(n);
            break;
        case TableColumn::kFloat:
            cells.floats.resize(n);
            break;
        case TableColumn::kBool:
            cells.bools.resize(n);
            break;
        case TableColumn::kText:
            cells.texts.resize(n);
            break;
    }
    source.Read(column, first, count, cells);
}

using FormatBlock = std::function<void(size_t first, size_t count, std::string& text)>;

// Formats blocks of rows in parallel, a few at a time, and writes them in order.
void WriteBlocks(const ITableSource& source, int threads, AtomicFile& out,
                 const FormatBlock& format) {
    size_t rows = source.NumRows(), block = RowsInBlock(source);
    size_t numBlocks = (rows + block - 1) / block;
    auto atOnce = size_t(std::clamp(threads, 1, 64));
    std::vector<std::string> texts(std::min(atOnce, numBlocks));
    for (size_t base = 0; base < numBlocks && !out.HasFailed(); base += atOnce) {
        size_t n = std::min(atOnce, numBlocks - base);
        ParallelFor(n, threads, [&](size_t i) {
            size_t first = (base + i) * block;
            texts[i].clear();
            format(first, std::min(block, rows - first), texts[i]);
        });
        for (size_t i = 0; i < n; ++i) out.Write(texts[i]);
    }
}

// Nested arrays of a cell: `next` appends its components one after the other.
template <class Next>
void AppendNested(std::string& text, std::span<const int> shape, Next& next) {
    if (shape.empty()) return next();
    text += '[';
    for (int i = 0; i < shape[0]; ++i) {
        if (i > 0) text += ',';
        AppendNested(text, shape.subspan(1), next);
    }
    text += ']';
}

void AppendJsonCell(std::string& text, const TableColumn& column, const TableCells& cells,
                    size_t row) {
    size_t i = row * column.NumComponents();
    auto append = [&](auto value) {
        auto next = [&] { value(i++); };
        AppendNested(text, column.shape, next);
    };
    switch (column.kind) {
        case TableColumn::kInt32:
            return append([&](size_t k) { AppendNumber(text, cells.ints[k]); });
        case TableColumn::kUInt32:
            return append([&](size_t k) { AppendNumber(text, cells.uints[k]); });
        case TableColumn::kFloat:
            return append([&](size_t k) { AppendJsonNumber(text, cells.floats[k]); });
        case TableColumn::kBool:
            return append([&](size_t k) { text += cells.bools[k] ? "true" : "false"; });
        case TableColumn::kText:
            return append([&](size_t k) { AppendJsonString(text, cells.texts[k]); });
    }
}

// A field in quotes where it needs them (RFC 4180).
void AppendCsvText(std::string& text, std::string_view field) {
    if (field.find_first_of(",\"\r\n") == field.npos) {
        text += field;
        return;
    }
    text += '"';
    for (char c : field) {
        if (c == '"') text += '"';
        text += c;
    }
    text += '"';
}

void AppendCsvCell(std::string& text, const TableColumn& column, const TableCells& cells,
                   size_t row) {
    size_t n = column.NumComponents();
    for (size_t i = row * n; i < (row + 1) * n; ++i) {
        text += ',';
        switch (column.kind) {
            case TableColumn::kInt32:
                AppendNumber(text, cells.ints[i]);
                break;
            case TableColumn::kUInt32:
                AppendNumber(text, cells.uints[i]);
                break;
            case TableColumn::kFloat:
                AppendNumber(text, cells.floats[i]);
                break;
            case TableColumn::kBool:
                text += cells.bools[i] ? '1' : '0';
                break;
            case TableColumn::kText:
                AppendCsvText(text, cells.texts[i]);
                break;
        }
    }
}

// Names of a column's components: the last index of up to three is a letter, all others numbers.
void AppendCsvNames(std::string& text, const std::string& prefix, std::span<const int> shape) {
    if (shape.empty()) {
        text += ',';
        return AppendCsvText(text, prefix);
    }
    for (int i = 0; i < shape[0]; ++i) {
        bool isLetter = shape.size() == 1 && shape[0] <= 3;
        std::string name =
            isLetter ? fmt::format("{}.{}", prefix, "xyz"[i]) : fmt::format("{}.{}", prefix, i);
        AppendCsvNames(text, name, shape.subspan(1));
    }
}

void WriteCsvRows(const NamedTable& table, int threads, AtomicFile& out) {
    const std::vector<TableColumn>& columns = table.source->Columns();
    std::string object;
    AppendCsvText(object, table.name);
    WriteBlocks(*table.source, threads, out, [&](size_t first, size_t count, std::string& text) {
        std::vector<TableCells> cells(columns.size());
        for (size_t c = 0; c < columns.size(); ++c)
            ReadCells(*table.source, c, first, count, cells[c]);
        for (size_t row = 0; row < count; ++row) {
            text += object;
            for (size_t c = 0; c < columns.size(); ++c)
                AppendCsvCell(text, columns[c], cells[c], row);
            text += '\n';
        }
    });
}

// UTF-8 as 32-bit characters; broken sequences become U+FFFD one byte at a time.
std::u32string Decode(const std::string& text) {
    std::u32string result;
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
        result += ok && c <= 0x10FFFF ? c : char32_t{0xFFFD};
        i += ok ? size_t(tails) + 1 : 1;
    }
    return result;
}

// Runs use(count, cells) over all rows of a column, block by block.
template <class Use>
void ForEachBlock(const ITableSource& source, size_t column, Use use) {
    TableCells cells;
    for (size_t first = 0; first < source.NumRows(); first += kMostRows) {
        size_t count = std::min(kMostRows, source.NumRows() - first);
        ReadCells(source, column, first, count, cells);
        use(count, cells);
    }
}

size_t LongestText(const ITableSource& source, size_t column) {
    size_t longest = 1;  // NumPy has no strings of width 0
    ForEachBlock(source, column, [&](size_t, const TableCells& cells) {
        for (const std::string& text : cells.texts)
            longest = std::max(longest, Decode(text).size());
    });
    return longest;
}

std::string ArrayHeader(const TableColumn& column, size_t rows, size_t width) {
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

template <class T>
std::string_view BytesOf(const std::vector<T>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

std::string FixedWidth(const std::vector<std::string>& texts, size_t width) {
    std::u32string padded;
    for (const std::string& text : texts) {
        std::u32string characters = Decode(text);
        characters.resize(width);
        padded += characters;
    }
    return {reinterpret_cast<const char*>(padded.data()), padded.size() * sizeof(char32_t)};
}

void WriteArray(const ITableSource& source, size_t index, const std::string& entry,
                ZipWriter& zip) {
    const TableColumn& column = source.Columns()[index];
    bool isText = column.kind == TableColumn::kText;
    size_t width = isText ? LongestText(source, index) : 0;
    size_t cellBytes = (isText ? 4 * width : column.kind == TableColumn::kBool ? 1 : 4);
    std::string header = ArrayHeader(column, source.NumRows(), width);
    zip.Begin(entry, header.size() + source.NumRows() * column.NumComponents() * cellBytes);
    zip.Write(header);
    ForEachBlock(source, index, [&](size_t, const TableCells& cells) {
        zip.Write(BytesOf(cells.ints));
        zip.Write(BytesOf(cells.uints));
        zip.Write(BytesOf(cells.floats));
        zip.Write(BytesOf(cells.bools));
        if (isText) zip.Write(FixedWidth(cells.texts, width));
    });
    zip.End();
}

}  // namespace

void WriteTableJson(const ITableSource& source, int threads, AtomicFile& out) {
    const std::vector<TableColumn>& columns = source.Columns();
    std::vector<std::string> keys;
    for (const TableColumn& column : columns) {
        std::string& key = keys.emplace_back(keys.empty() ? "{" : ",");
        AppendJsonString(key, column.name);
        key += ':';
    }
    out.Write("[");
    WriteBlocks(source, threads, out, [&](size_t first, size_t count, std::string& text) {
        std::vector<TableCells> cells(columns.size());
        for (size_t c = 0; c < columns.size(); ++c) ReadCells(source, c, first, count, cells[c]);
        for (size_t row = 0; row < count; ++row) {
            text += first + row > 0 ? ",\n" : "\n";
            if (columns.empty()) text += '{';
            for (size_t c = 0; c < columns.size(); ++c) {
                text += keys[c];
                AppendJsonCell(text, columns[c], cells[c], row);
            }
            text += '}';
        }
    });
    out.Write(source.NumRows() > 0 ? "\n]" : "]");
}

bool WriteTableCsv(const std::string& path, std::span<const NamedTable> tables, int threads,
                   std::string* error) {
    AtomicFile out;
    if (!out.Open(path, error)) return false;
    std::string names = "object";
    if (!tables.empty())
        for (const TableColumn& column : tables[0].source->Columns())
            AppendCsvNames(names, column.name, column.shape);
    out.Write(names + "\n");
    for (const NamedTable& table : tables) {
        assert(table.source->Columns().size() == tables[0].source->Columns().size());
        WriteCsvRows(table, threads, out);
    }
    return out.Commit(error);
}

bool WriteTableNpz(const std::string& path, std::span<const NamedTable> tables,
                   std::string* error) {
    AtomicFile out;
    if (!out.Open(path, error)) return false;
    ZipWriter zip(out);
    for (const NamedTable& table : tables) {
        std::string prefix = tables.size() > 1 ? table.name + "/" : "";
        const std::vector<TableColumn>& columns = table.source->Columns();
        for (size_t c = 0; c < columns.size() && !out.HasFailed(); ++c)
            WriteArray(*table.source, c, prefix + columns[c].name + ".npy", zip);
    }
    zip.Finish();
    return out.Commit(error);
}
