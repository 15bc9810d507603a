// Tables as NPZ: a column's bytes and check sums are made block by block, and wait in a file of
// their own until all rows are there.
#include <atomic>
#include <cstring>

#include "host/base/atomic_file.h"
#include "host/base/spool_file.h"
#include "host/io/npz_array.h"
#include "host/io/row_pool.h"
#include "host/io/table_block.h"
#include "host/io/table_stream.h"
#include "host/io/zip_writer.h"

namespace {

constexpr size_t kRowsInBlock = 1 << 16;

template <class T>
std::string_view BytesOf(const std::vector<T>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

// A column of a block.
struct ArrayPart {
    TableCells cells;
    std::string texts;       // each its length, in 4 bytes, and its UTF-8
    size_t longestText = 0;  // in characters
    std::string_view bytes;  // of the cells, or of the texts
    uint32_t checkSum = 0;   // of numbers

    void Read(const ITableSource& rows, size_t column) {
        ReadCells(rows, column, 0, rows.NumRows(), cells);
        switch (rows.Columns()[column].kind) {
            case TableColumn::kInt32:
                return Take(BytesOf(cells.ints));
            case TableColumn::kUInt32:
                return Take(BytesOf(cells.uints));
            case TableColumn::kFloat:
                return Take(BytesOf(cells.floats));
            case TableColumn::kBool:
                return Take(BytesOf(cells.bools));
            case TableColumn::kText:
                return TakeTexts();
        }
    }

private:
    void Take(std::string_view cellBytes) {
        bytes = cellBytes;
        checkSum = CheckSum(bytes);
    }
    void TakeTexts() {
        texts.clear();
        longestText = 0;
        for (const std::string& text : cells.texts) {
            auto size = uint32_t(text.size());
            texts.append(reinterpret_cast<const char*>(&size), sizeof size);
            texts += text;
            longestText = std::max(longestText, NumCharacters(text));
        }
        bytes = texts;
    }
};

struct ArrayRows : FormattedRows {
    size_t count = 0;
    std::vector<ArrayPart> columns;
};

// Cuts a stream of texts, each behind its length, into the texts.
class TextCutter {
public:
    template <class Use>
    void Add(std::string_view bytes, const Use& use) {
        m_bytes.append(bytes);
        size_t place = 0;
        for (uint32_t size = 0; place + sizeof size <= m_bytes.size();) {
            std::memcpy(&size, m_bytes.data() + place, sizeof size);
            if (m_bytes.size() - place - sizeof size < size) break;
            use(std::string_view(m_bytes).substr(place + sizeof size, size));
            place += sizeof size + size;
        }
        m_bytes.erase(0, place);
    }

private:
    std::string m_bytes;
};

class NpzStream : public INpzStream {
public:
    NpzStream(const std::string& path, std::vector<TableColumn> columns, bool severalTables,
              const NpzExtras& extras)
        : m_path(path),
          m_columns(std::move(columns)),
          m_arrays(m_columns.size()),
          m_isPrefixed(severalTables),
          m_extras(extras) {}

    bool Open(std::string* error) { return m_out.Open(m_path, error); }

    void BeginTable(const std::string& name) override {
        m_table = name;
        DropRows();
    }

    std::unique_ptr<FormattedRows> Format(const ITableSource& rows) override {
        std::unique_ptr<ArrayRows> result = m_pool.Take();
        result->count = rows.NumRows();
        result->columns.resize(rows.Columns().size());
        for (size_t c = 0; c < result->columns.size(); ++c) result->columns[c].Read(rows, c);
        return result;
    }

    void Append(std::unique_ptr<FormattedRows> rows) override {
        std::unique_ptr<ArrayRows> block(static_cast<ArrayRows*>(rows.release()));
        m_numArrays = std::max(m_numArrays, block->columns.size());
        for (size_t c = 0; c < block->columns.size(); ++c) {
            const ArrayPart& part = block->columns[c];
            WaitingArray& array = m_arrays[c];
            if (!array.bytes.IsOpen()) array.bytes.Open(m_path);
            array.bytes.Write(part.bytes);
            array.checkSum = JoinCheckSums(array.checkSum, part.checkSum, part.bytes.size());
            array.longestText = std::max(array.longestText, part.longestText);
            if (array.bytes.Error() != 0) m_hasFailed = true;
        }
        m_numRows += block->count;
        m_pool.GiveBack(std::move(block));
    }

    void DropRows() override {
        m_numRows = 0;
        m_numArrays = std::min(m_columns.size(), m_extras.firstExtraColumn);
        for (WaitingArray& array : m_arrays) {
            if (array.bytes.IsOpen()) array.bytes.Clear();
            array.checkSum = 0, array.longestText = 1;  // NumPy has no strings of width 0
        }
    }

    void EndTable(const TableFrame&) override {
        for (size_t c = 0; c < m_numArrays && !m_out.HasFailed(); ++c) {
            WaitingArray& array = m_arrays[c];
            BeginArray(c, m_numRows, array.longestText);
            if (m_columns[c].kind == TableColumn::kText)
                WriteTexts(array);
            else if (array.bytes.IsOpen())
                m_zip.Take(array.bytes, array.checkSum);
            m_zip.End();
        }
        m_hasFailed = m_out.HasFailed();
    }

    void EndTable(const TableFrame&, const ITableSource& rows, int threads) override {
        for (size_t c = 0; c < rows.Columns().size() && !m_out.HasFailed(); ++c) {
            bool isText = m_columns[c].kind == TableColumn::kText;
            uint64_t width = isText ? LongestText(rows, c, threads) : 0;
            BeginArray(c, rows.NumRows(), width);
            WriteColumn(rows, c, width, threads);
            m_zip.End();
        }
        m_hasFailed = m_out.HasFailed();
    }

    void AddEntry(const std::string& name, std::string_view bytes) override {
        m_zip.Begin(name, bytes.size());
        m_zip.Write(bytes);
        m_zip.End();
    }

    bool HasFailed() const override { return m_hasFailed; }
    bool Commit(std::string* error) override {
        m_zip.Finish();
        return m_out.Commit(error);
    }

private:
    struct WaitingArray {
        SpoolFile bytes;
        uint32_t checkSum = 0;
        size_t longestText = 1;
    };

    void BeginArray(size_t c, uint64_t rows, uint64_t width) {
        std::string prefix = m_isPrefixed ? m_table + "/" : "";
        if (c >= m_extras.firstExtraColumn) prefix = m_extras.extraPrefix + m_table + "/";
        std::string header = ArrayHeader(m_columns[c], rows, width);
        m_zip.Begin(prefix + m_columns[c].name + ".npy",
                    header.size() + rows * ArrayCellBytes(m_columns[c], width));
        m_zip.Write(header);
    }

    void WriteTexts(WaitingArray& array) {
        TextCutter cutter;
        std::string wide;
        array.bytes.Drain([&](std::string_view bytes) {
            wide.clear();
            cutter.Add(bytes, [&](std::string_view text) {
                AppendFixedWidth(wide, text, array.longestText);
            });
            m_zip.Write(wide);
        });
        if (array.bytes.Error() != 0) m_out.Fail(array.bytes.Error());
    }

    // Straight into the file: all threads read, one at a time writes.
    void WriteColumn(const ITableSource& rows, size_t c, uint64_t width, int threads) {
        ForEachBlock(
            rows, kRowsInBlock, threads,
            [&](const ITableSource& block) {
                auto part = m_parts.Take();
                part->Read(block, c);
                if (width > 0) Widen(*part, width);
                return part;
            },
            [&](std::unique_ptr<ArrayPart>& part) {
                m_zip.Write(part->bytes, part->checkSum);
                m_parts.GiveBack(std::move(part));
            });
    }
    static void Widen(ArrayPart& part, uint64_t width) {
        part.texts.clear();
        for (const std::string& text : part.cells.texts) AppendFixedWidth(part.texts, text, width);
        part.bytes = part.texts;
        part.checkSum = CheckSum(part.bytes);
    }
    uint64_t LongestText(const ITableSource& rows, size_t c, int threads) {
        size_t longest = 1;
        ForEachBlock(
            rows, kRowsInBlock, threads,
            [&](const ITableSource& block) {
                ArrayPart part;
                part.Read(block, c);
                return part.longestText;
            },
            [&](size_t length) { longest = std::max(longest, length); });
        return longest;
    }

    std::string m_path, m_table;
    std::vector<TableColumn> m_columns;
    std::vector<WaitingArray> m_arrays;
    bool m_isPrefixed;
    NpzExtras m_extras;
    uint64_t m_numRows = 0;
    size_t m_numArrays = 0;  // of the table: without the extra ones until a block brings them
    AtomicFile m_out;
    ZipWriter m_zip{m_out};
    std::atomic<bool> m_hasFailed{false};
    RowPool<ArrayRows> m_pool;
    RowPool<ArrayPart> m_parts;
};

}  // namespace

std::unique_ptr<INpzStream> OpenNpzStream(const std::string& path, std::vector<TableColumn> columns,
                                          bool severalTables, const NpzExtras& extras,
                                          std::string* error) {
    auto stream = std::make_unique<NpzStream>(path, std::move(columns), severalTables, extras);
    if (!stream->Open(error)) return nullptr;
    return stream;
}
