#include "host/io/table_source.h"

void ReadCells(const ITableSource& source, size_t column, size_t first, size_t count,
               TableCells& cells) {
    const TableColumn& description = source.Columns()[column];
    size_t n = count * description.NumComponents();
    auto kept = [&](TableColumn::Kind kind) { return description.kind == kind ? n : 0; };
    cells.ints.resize(kept(TableColumn::kInt32));
    cells.uints.resize(kept(TableColumn::kUInt32));
    cells.floats.resize(kept(TableColumn::kFloat));
    cells.bools.resize(kept(TableColumn::kBool));
    cells.texts.resize(kept(TableColumn::kText));
    source.Read(column, first, count, cells);
}
