// Tables as JSON and as CSV: blocks of rows as text.
#include <atomic>

#include "host/base/atomic_file.h"
#include "host/base/spool_file.h"
#include "host/io/row_pool.h"
#include "host/io/table_block.h"
#include "host/io/table_stream.h"
#include "host/io/table_text.h"

namespace {

constexpr size_t kNumbersInBlock = 1 << 17;  // about 1.5 MB of text

struct TextRows : FormattedRows {
    TextBuffer text;
    RowScratch scratch;
};

class TextStream : public ITableStream {
public:
    TextStream(TextFormat format, std::vector<TableColumn> columns)
        : m_formatter(format, columns), m_columns(std::move(columns)) {
        for (const TableColumn& column : m_columns) m_numbersInRow += column.NumComponents();
    }

    std::unique_ptr<FormattedRows> Format(const ITableSource& rows) override {
        std::unique_ptr<TextRows> result = m_pool.Take();
        result->text.Clear();
        m_formatter.Format(rows, m_rowStart, result->scratch, result->text);
        return result;
    }

    bool HasFailed() const override { return m_hasFailed; }
    bool Commit(std::string* error) override { return m_out.Commit(error); }

    bool Open(const std::string& path, std::string* error) { return m_out.Open(path, error); }

protected:
    void AppendList(const ITableSource& rows, int threads) {
        size_t inBlock = std::max<size_t>(kNumbersInBlock / m_numbersInRow, 256);
        ForEachBlock(
            rows, inBlock, threads,
            [this](const ITableSource& block) { return m_hasFailed ? nullptr : Format(block); },
            [this](std::unique_ptr<FormattedRows>& block) {
                if (block) Append(std::move(block));
            });
    }
    // The text of a block, whose memory then goes back.
    template <class Use>
    void UseText(std::unique_ptr<FormattedRows> rows, const Use& use) {
        std::unique_ptr<TextRows> text(static_cast<TextRows*>(rows.release()));
        use(text->text.Text());
        m_pool.GiveBack(std::move(text));
    }

    RowFormatter m_formatter;
    std::vector<TableColumn> m_columns;
    TextPiece m_rowStart;
    AtomicFile m_out;
    std::atomic<bool> m_hasFailed{false};

private:
    size_t m_numbersInRow = 1;
    RowPool<TextRows> m_pool;
};

// The rows of a table whose frame is not yet known wait in a file.
class JsonStream : public TextStream {
public:
    JsonStream(std::vector<TableColumn> columns, const std::string& path)
        : TextStream(TextFormat::kJson, std::move(columns)), m_path(path) {
        m_rowStart = TextPiece(",\n{");
    }

    void BeginTable(const std::string&) override { m_hasRows = m_isFramed = false; }

    void Append(std::unique_ptr<FormattedRows> rows) override {
        UseText(std::move(rows), [this](std::string_view text) {
            if (text.empty()) return;
            if (!m_hasRows) text.remove_prefix(1);  // no comma before the first
            m_hasRows = true;
            m_isFramed ? m_out.Write(text) : Spool(text);
        });
        m_hasFailed = m_out.HasFailed() || m_waiting.Error() != 0;
    }

    void DropRows() override {
        m_waiting.Clear();
        m_hasRows = false;
    }

    void EndTable(const TableFrame& frame) override {
        m_out.Write(frame.before + "[");
        if (m_waiting.IsOpen()) m_waiting.MoveTo(m_out);
        Close(frame);
    }
    void EndTable(const TableFrame& frame, const ITableSource& rows, int threads) override {
        m_out.Write(frame.before + "[");
        m_isFramed = true;
        AppendList(rows, threads);
        Close(frame);
    }

private:
    void Spool(std::string_view text) {
        if (!m_waiting.IsOpen()) m_waiting.Open(m_path);
        m_waiting.Write(text);
    }
    void Close(const TableFrame& frame) {
        m_out.Write((m_hasRows ? "\n]" : "]") + frame.after);
        m_hasFailed = m_out.HasFailed();
    }

    std::string m_path;
    SpoolFile m_waiting;
    bool m_hasRows = false, m_isFramed = false;
};

class CsvStream : public TextStream {
public:
    explicit CsvStream(std::vector<TableColumn> columns)
        : TextStream(TextFormat::kCsv, std::move(columns)) {}

    void WriteNames() { m_out.Write(RowFormatter::CsvNames(m_columns)); }

    void BeginTable(const std::string& name) override {
        std::string object;
        AppendCsvText(object, name);
        m_rowStart = TextPiece(object);
    }
    void Append(std::unique_ptr<FormattedRows> rows) override {
        UseText(std::move(rows), [this](std::string_view text) { m_out.Write(text); });
        m_hasFailed = m_out.HasFailed();
    }
    // They are in the file already.
    void DropRows() override { m_out.Fail(ECANCELED); }

    void EndTable(const TableFrame&) override {}
    void EndTable(const TableFrame&, const ITableSource& rows, int threads) override {
        AppendList(rows, threads);
    }
};

}  // namespace

std::unique_ptr<ITableStream> OpenJsonStream(const std::string& path,
                                             std::vector<TableColumn> columns, std::string* error) {
    auto stream = std::make_unique<JsonStream>(std::move(columns), path);
    if (!stream->Open(path, error)) return nullptr;
    return stream;
}

std::unique_ptr<ITableStream> OpenCsvStream(const std::string& path,
                                            std::vector<TableColumn> columns, std::string* error) {
    auto stream = std::make_unique<CsvStream>(std::move(columns));
    if (!stream->Open(path, error)) return nullptr;
    stream->WriteNames();
    return stream;
}
