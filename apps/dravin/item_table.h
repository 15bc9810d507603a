// The items of a build as a table for the writers.
#pragma once

#include "Dravin/engine/item_fields.h"
#include "Dravin/engine/item_list.h"
#include "host/io/table_source.h"

// Item fields as columns.
struct ItemTableColumns {
    std::vector<const ItemField*> fields;
    std::vector<TableColumn> columns;

    // names: of item fields, all known.
    explicit ItemTableColumns(const std::vector<std::string>& names);
};

class ItemTable : public ITableSource {
public:
    // Both must outlive the table, unchanged.
    ItemTable(const TDravinItemList& items, const ItemTableColumns& columns);

    const std::vector<TableColumn>& Columns() const override { return m_columns.columns; }
    size_t NumRows() const override { return m_numRows; }
    void Read(size_t column, size_t first, size_t count, TableCells& cells) const override;

private:
    void ReadRecords(const ItemField& field, size_t first, size_t count, TableCells& cells) const;

    const TDravinItemList& m_items;
    const ItemTableColumns& m_columns;
    size_t m_numRows;
};
