// A range of the rows of a table as a table of its own.
#pragma once

#include <algorithm>

#include "host/base/in_order.h"
#include "host/io/table_source.h"

class TableBlock : public ITableSource {
public:
    TableBlock(const ITableSource& rows, size_t first, size_t count)
        : m_rows(rows), m_first(first), m_count(count) {}

    const std::vector<TableColumn>& Columns() const override { return m_rows.Columns(); }
    size_t NumRows() const override { return m_count; }
    void Read(size_t column, size_t first, size_t count, TableCells& cells) const override {
        m_rows.Read(column, m_first + first, count, cells);
    }

private:
    const ITableSource& m_rows;
    size_t m_first, m_count;
};

// Deals the blocks of a table out to threads: make(block) returns what use(result) takes, one block
// at a time, in order.
template <class Make, class Use>
void ForEachBlock(const ITableSource& rows, size_t rowsInBlock, int threads, const Make& make,
                  const Use& use) {
    size_t numBlocks = (rows.NumRows() + rowsInBlock - 1) / rowsInBlock;
    ParallelInOrder(numBlocks, threads, [&](size_t i) -> std::function<void()> {
        size_t first = i * rowsInBlock, count = std::min(rowsInBlock, rows.NumRows() - first);
        auto result = std::make_shared<decltype(make(rows))>(make(TableBlock(rows, first, count)));
        return [&use, result] { use(*result); };
    });
}
