// The items of a build as a table for the writers.
#pragma once

#include "Dravin/engine/item_fields.h"
#include "Dravin/engine/item_list.h"
#include "host/io/table_writer.h"

class ItemTable : public ITableSource {
public:
    // fields: names of item fields, all known. The list must outlive the table, unchanged.
    ItemTable(const TDravinItemList& items, const std::vector<std::string>& fields);

    const std::vector<TableColumn>& Columns() const override { return m_columns; }
    size_t NumRows() const override { return m_items.Count(); }
    void Read(size_t column, size_t first, size_t count, TableCells& cells) const override;

private:
    void ReadRecords(const ItemField& field, size_t first, size_t count, TableCells& cells) const;

    const TDravinItemList& m_items;
    std::vector<const ItemField*> m_fields;
    std::vector<TableColumn> m_columns;
};
