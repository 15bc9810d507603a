// Tables as their writers see them: columns of a kind and a shape, and rows that are read in
// blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct TableColumn {
    enum Kind { kInt32, kUInt32, kFloat, kBool, kText };

    std::string name;
    Kind kind = kFloat;
    std::vector<int> shape;  // of one cell: {} a scalar, {3} a vector, {4, 3} a matrix; text has {}

    // Numbers in a cell.
    size_t NumComponents() const {
        size_t n = 1;
        for (int d : shape) n *= size_t(d);
        return n;
    }
    bool operator==(const TableColumn&) const = default;
};

// The cells of some rows of one column: the list of its kind holds rows x components values, the
// others are empty.
struct TableCells {
    std::vector<int32_t> ints;
    std::vector<uint32_t> uints;
    std::vector<float> floats;
    std::vector<uint8_t> bools;
    std::vector<std::string> texts;
};

// Rows of a table, all of them or a block.
class ITableSource {
public:
    virtual ~ITableSource() = default;

    virtual const std::vector<TableColumn>& Columns() const = 0;
    virtual size_t NumRows() const = 0;
    // Writes rows first .. first + count - 1 of a column into its list, which has the right size.
    // Called from several threads at once.
    virtual void Read(size_t column, size_t first, size_t count, TableCells& cells) const = 0;
};

// Reads rows of a column into `cells`, whose lists it sizes and whose memory it uses again.
void ReadCells(const ITableSource& source, size_t column, size_t first, size_t count,
               TableCells& cells);
