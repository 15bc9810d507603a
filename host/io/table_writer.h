// Tables of any length as JSON, CSV or NPZ, streamed in blocks of rows.
//
// The writers ask the source for a block of rows of one column at a time, format blocks in parallel
// and write them in order: memory stays at a few blocks, whatever the table's length, and the bytes
// do not depend on the number of threads.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/base/atomic_file.h"

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

class ITableSource {
public:
    virtual ~ITableSource() = default;

    virtual const std::vector<TableColumn>& Columns() const = 0;
    virtual size_t NumRows() const = 0;
    // Writes rows first .. first + count - 1 of a column into its list, which has the right size.
    // Called from several threads at once.
    virtual void Read(size_t column, size_t first, size_t count, TableCells& cells) const = 0;
};

struct NamedTable {
    std::string name;
    const ITableSource* source;
};

// Appends a compact array with one object a row, `[{"position":[1,2,3],"width":2}, …]`, one row a
// line. Cells are nested arrays by their shape; numbers that are not finite become null.
void WriteTableJson(const ITableSource& source, int threads, AtomicFile& out);

// One row a row, after a line of names: a first column `object` with the table's name, then
// `position.x`, `transform.0.x`, `hash.0` for the components of vectors, matrices and longer lists.
// Numbers have a decimal point, booleans are 0 and 1. All tables have the same columns. False with
// a reason in `error`.
bool WriteTableCsv(const std::string& path, std::span<const NamedTable> tables, int threads,
                   std::string* error);

// One array a column, of shape (rows, …), stored uncompressed: int32, uint32, float32, bool, and
// for texts fixed-width Unicode. Entries are `name.npy`, of several tables `TABLE/name.npy`. Beyond
// 4 GiB the archive uses its 64-bit form.
bool WriteTableNpz(const std::string& path, std::span<const NamedTable> tables, std::string* error);
