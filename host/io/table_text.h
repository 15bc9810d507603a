// Rows of a table as text: what JSON and CSV have in common.
//
// A cell's text is its numbers with fixed pieces of text between them: `,"position":[`, `,`, `,`,
// `]` in JSON and a comma before each in CSV. Some hundred rows at a time, each column is written
// as a whole, one number after the other, and then rows are put together from the texts of their
// cells: what a column holds is decided once a block, not for every cell.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "host/io/table_source.h"
#include "host/io/text_buffer.h"

// A text that is copied often: short ones in one step.
class TextPiece {
public:
    // Characters that must be free where it is put, beyond its own.
    static constexpr size_t kSlack = 32;

    explicit TextPiece(std::string text = {}) : m_text(std::move(text)), m_size(m_text.size()) {
        m_text.resize(m_size + kSlack);
    }
    size_t Size() const { return m_size; }
    char* Put(char* out) const {
        std::memcpy(out, m_text.data(), kSlack);
        if (m_size > kSlack) std::memcpy(out + kSlack, m_text.data() + kSlack, m_size - kSlack);
        return out + m_size;
    }

private:
    std::string m_text;
    size_t m_size;
};

// How the cells of a column are written.
struct ColumnStyle {
    TableColumn::Kind kind;
    std::vector<TextPiece> before;  // of each number of a cell, or of its text
    TextPiece after;
};

enum class TextFormat { kJson, kCsv };

// Memory that is used from block to block.
struct RowScratch {
    struct Column {
        TableCells cells;
        TextBuffer text;
        std::vector<size_t> ends;  // of each row's cell in `text`
    };
    std::vector<Column> columns;
};

class RowFormatter {
public:
    RowFormatter(TextFormat format, const std::vector<TableColumn>& columns);

    // Appends all rows of a block: `start` before each, its cells, and the end of a row. Thread
    // safe.
    void Format(const ITableSource& rows, const TextPiece& start, RowScratch& scratch,
                TextBuffer& out) const;

    // The line of names above CSV rows.
    static std::string CsvNames(const std::vector<TableColumn>& columns);

private:
    void FormatColumn(const ColumnStyle& style, size_t count, RowScratch::Column& column) const;

    TextFormat m_format;
    std::vector<ColumnStyle> m_styles;
    TextPiece m_end;
    size_t m_rowsAtOnce;
};

// A CSV field, in quotes where it needs them (RFC 4180).
void AppendCsvText(std::string& text, std::string_view field);
