#include "apps/dravin/item_table.h"

namespace {

TableColumn ColumnOf(const ItemField& field) {
    TableColumn column;
    column.name = field.name;
    switch (field.kind) {
        case ItemFieldKind::kInt:
            column.kind = TableColumn::kInt32;
            break;
        case ItemFieldKind::kUInt:
            column.kind = TableColumn::kUInt32;
            break;
        case ItemFieldKind::kFloat:
            column.kind = TableColumn::kFloat;
            break;
        case ItemFieldKind::kText:
            column.kind = TableColumn::kText;
            break;
    }
    if (field.rows > 1) column.shape.push_back(field.rows);
    if (field.components > 1 || field.rows > 1) column.shape.push_back(field.components);
    return column;
}

}  // namespace

ItemTableColumns::ItemTableColumns(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        fields.push_back(FindItemField(name));
        columns.push_back(ColumnOf(*fields.back()));
    }
}

// Counting builds the list's index, before several threads read it.
ItemTable::ItemTable(const TDravinItemList& items, const ItemTableColumns& columns)
    : m_items(items), m_columns(columns), m_numRows(items.Count()) {}

// Straight from the records that hold the field.
void ItemTable::ReadRecords(const ItemField& field, size_t first, size_t count,
                            TableCells& cells) const {
    size_t n = size_t(field.NumValues());
    bool isUnsigned = field.kind == ItemFieldKind::kUInt;
    for (size_t done = 0; done < count;) {
        size_t together = 0;
        TItemColumns items = m_items.ColumnsAt(first + done, &together);
        together = std::min(together, count - done);
        auto* record = static_cast<const std::byte*>(field.record(items));
        size_t stride = record ? field.stride : 0;
        if (!record) record = static_cast<const std::byte*>(field.unstored);
        for (size_t k = done; k < done + together; ++k, record += stride) {
            if (field.readFloats)
                field.readFloats(record, &cells.floats[k * n]);
            else
                field.readInts(record, isUnsigned ? reinterpret_cast<int32_t*>(&cells.uints[k * n])
                                                  : &cells.ints[k * n]);
        }
        done += together;
    }
}

void ItemTable::Read(size_t column, size_t first, size_t count, TableCells& cells) const {
    const ItemField& field = *m_columns.fields[column];
    if (field.IsIn(m_items)) return ReadRecords(field, first, count, cells);
    size_t n = size_t(field.NumValues());
    TDravinItem item;
    for (size_t k = 0; k < count; ++k) {
        if (field.stored) {
            item.elementMask.Clear();
            m_items.ReadStored(first + k, &item);
        } else {
            item = m_items.Item(first + k);
        }
        if (field.getFloats)
            field.getFloats(item, &cells.floats[k * n]);
        else if (field.getText)
            cells.texts[k] = field.getText(item);
        else if (field.kind == ItemFieldKind::kUInt)
            field.getInts(item, reinterpret_cast<int32_t*>(&cells.uints[k * n]));
        else
            field.getInts(item, &cells.ints[k * n]);
    }
}
