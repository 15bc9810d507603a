#include "host/io/table_text.h"

#include <cmath>
#include <span>

#include <fmt/format.h>

#include "host/base/number_text.h"
#include "host/io/json_text.h"

namespace {

// Numbers that are in work at once: their texts stay in the cache.
constexpr size_t kNumbersAtOnce = 8192;

struct NextNumber {
    template <class T>
    char* operator()(char* out, T value) const {
        return WriteNumber(out, value);
    }
};

struct JsonFloat {
    char* operator()(char* out, float value) const {
        if (std::isfinite(value)) return WriteNumber(out, value);
        std::memcpy(out, "null", 4);
        return out + 4;
    }
};

struct JsonBool {
    char* operator()(char* out, uint8_t value) const {
        std::memcpy(out, value ? "true\0" : "false", 5);
        return out + (value ? 4 : 5);
    }
};

struct CsvBool {
    char* operator()(char* out, uint8_t value) const {
        *out = value ? '1' : '0';
        return out + 1;
    }
};

size_t RoomOfCell(const ColumnStyle& style) {
    size_t room = style.after.Size() + TextPiece::kSlack;
    for (const TextPiece& piece : style.before)
        room += piece.Size() + TextPiece::kSlack + size_t(kNumberRoom);
    return room;
}

// The cells of a column of numbers, one after the other.
template <class T, class Write>
void FormatNumbers(const ColumnStyle& style, const std::vector<T>& values, size_t count,
                   const Write& write, RowScratch::Column& column) {
    char* start = column.text.Room(count * RoomOfCell(style));
    char* p = start;
    const T* value = values.data();
    for (size_t row = 0; row < count; ++row) {
        for (const TextPiece& before : style.before) p = write(before.Put(p), *value++);
        p = style.after.Put(p);
        column.ends[row] = size_t(p - start);
    }
    column.text.EndAt(p);
}

void FormatTexts(TextFormat format, const ColumnStyle& style, size_t count,
                 RowScratch::Column& column) {
    std::string cell;
    for (size_t row = 0; row < count; ++row) {
        const std::string& text = column.cells.texts[row];
        cell.clear();
        format == TextFormat::kJson ? AppendJsonString(cell, text) : AppendCsvText(cell, text);
        char* p = column.text.Room(RoomOfCell(style) + cell.size());
        p = style.before[0].Put(p);
        std::memcpy(p, cell.data(), cell.size());
        column.text.EndAt(style.after.Put(p + cell.size()));
        column.ends[row] = column.text.Size();
    }
}

// Nested brackets of a cell by its shape: what stands before each number, and after the last.
void AddJsonPieces(std::span<const int> shape, std::string& pending,
                   std::vector<std::string>& before) {
    if (shape.empty()) {
        before.push_back(std::move(pending));
        pending.clear();
        return;
    }
    pending += '[';
    for (int i = 0; i < shape[0]; ++i) {
        if (i > 0) pending += ',';
        AddJsonPieces(shape.subspan(1), pending, before);
    }
    pending += ']';
}

ColumnStyle JsonStyle(const TableColumn& column, bool isFirst) {
    std::string pending = isFirst ? "" : ",";
    AppendJsonString(pending, column.name);
    pending += ':';
    std::vector<std::string> before;
    AddJsonPieces(column.shape, pending, before);
    ColumnStyle style{column.kind, {}, TextPiece(pending)};
    for (std::string& text : before) style.before.emplace_back(std::move(text));
    return style;
}

ColumnStyle CsvStyle(const TableColumn& column) {
    return {column.kind, std::vector<TextPiece>(column.NumComponents(), TextPiece(",")),
            TextPiece()};
}

// Copies a text of any length in steps of the slack, which must be free behind it and readable
// behind its source.
char* PutText(char* out, const char* text, size_t size) {
    for (size_t done = 0; done < size; done += TextPiece::kSlack)
        std::memcpy(out + done, text + done, TextPiece::kSlack);
    return out + size;
}

// Rows from the texts of their cells.
void JoinCells(const std::vector<RowScratch::Column>& columns, size_t count, const TextPiece& start,
               const TextPiece& end, TextBuffer& out) {
    size_t room = count * (start.Size() + end.Size()) + 4 * TextPiece::kSlack;
    for (const RowScratch::Column& column : columns) room += column.text.Size();
    char* p = out.Room(room);
    for (size_t row = 0; row < count; ++row) {
        p = start.Put(p);
        for (const RowScratch::Column& column : columns) {
            size_t first = row > 0 ? column.ends[row - 1] : 0;
            p = PutText(p, column.text.Text().data() + first, column.ends[row] - first);
        }
        p = end.Put(p);
    }
    out.EndAt(p);
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

}  // namespace

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

RowFormatter::RowFormatter(TextFormat format, const std::vector<TableColumn>& columns)
    : m_format(format), m_end(format == TextFormat::kJson ? "}" : "\n") {
    size_t numbers = 1;
    for (const TableColumn& column : columns) {
        m_styles.push_back(format == TextFormat::kJson ? JsonStyle(column, m_styles.empty())
                                                       : CsvStyle(column));
        numbers += column.NumComponents();
    }
    m_rowsAtOnce = std::max<size_t>(kNumbersAtOnce / numbers, 16);
}

void RowFormatter::FormatColumn(const ColumnStyle& style, size_t count,
                                RowScratch::Column& column) const {
    const TableCells& cells = column.cells;
    bool isJson = m_format == TextFormat::kJson;
    column.text.Clear();
    column.ends.resize(count);
    switch (style.kind) {
        case TableColumn::kInt32:
            return FormatNumbers(style, cells.ints, count, NextNumber(), column);
        case TableColumn::kUInt32:
            return FormatNumbers(style, cells.uints, count, NextNumber(), column);
        case TableColumn::kFloat:
            return isJson ? FormatNumbers(style, cells.floats, count, JsonFloat(), column)
                          : FormatNumbers(style, cells.floats, count, NextNumber(), column);
        case TableColumn::kBool:
            return isJson ? FormatNumbers(style, cells.bools, count, JsonBool(), column)
                          : FormatNumbers(style, cells.bools, count, CsvBool(), column);
        case TableColumn::kText:
            return FormatTexts(m_format, style, count, column);
    }
}

void RowFormatter::Format(const ITableSource& rows, const TextPiece& start, RowScratch& scratch,
                          TextBuffer& out) const {
    scratch.columns.resize(m_styles.size());
    for (size_t first = 0; first < rows.NumRows(); first += m_rowsAtOnce) {
        size_t count = std::min(m_rowsAtOnce, rows.NumRows() - first);
        for (size_t i = 0; i < m_styles.size(); ++i) {
            ReadCells(rows, i, first, count, scratch.columns[i].cells);
            FormatColumn(m_styles[i], count, scratch.columns[i]);
        }
        JoinCells(scratch.columns, count, start, m_end, out);
    }
}

std::string RowFormatter::CsvNames(const std::vector<TableColumn>& columns) {
    std::string names = "object";
    for (const TableColumn& column : columns) AppendCsvNames(names, column.name, column.shape);
    return names + "\n";
}
