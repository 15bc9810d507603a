// Tables of any length as JSON, CSV or NPZ, whose rows come in blocks from outside.
//
// One stream writes one file: several tables of the same columns, one after the other. How many
// rows there will be need not be known beforehand, and memory stays at a few blocks. Format, which
// takes most of the time, may run on any number of threads; what it returns is appended in the
// order of the rows. The bytes of a file depend on the rows alone, never on the blocks in which
// they came or on the threads.
//
//     stream->BeginTable("oak");
//     auto rows = stream->Format(block);         // any thread, any order
//     stream->Append(*rows);                     // one thread at a time, in order
//     stream->EndTable({});
//     stream->Commit(&error);
//
// What can be written only when all rows are known (the columns of NPZ, the rows of JSON, before
// which the statistics of their build stand) waits in unlinked temporary files beside the target.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/io/table_source.h"

// A block of rows as the stream that formatted it will write it.
class FormattedRows {
public:
    virtual ~FormattedRows() = default;
};

// What stands around the rows of a table in JSON. The other formats have no place for it.
struct TableFrame {
    std::string before, after;
};

class ITableStream {
public:
    virtual ~ITableStream() = default;

    // Starts a table of this name.
    virtual void BeginTable(const std::string& name) = 0;
    // The rows of a block, ready to be appended to the table that has begun. Thread safe, and
    // beside Append; `rows` is not needed afterwards.
    virtual std::unique_ptr<FormattedRows> Format(const ITableSource& rows) = 0;
    // Appends a block, whose memory goes to later ones. By one thread at a time.
    virtual void Append(std::unique_ptr<FormattedRows> rows) = 0;
    // Takes all rows of the table back that has begun. JSON and NPZ only.
    virtual void DropRows() = 0;

    // Ends the table with the rows that were appended.
    virtual void EndTable(const TableFrame& frame) = 0;
    // Ends a table to which none were appended with all rows of a list: as Append, but straight
    // into their places.
    virtual void EndTable(const TableFrame& frame, const ITableSource& rows, int threads) = 0;

    // Whether writing has failed: further work is in vain. Commit tells the reason. Thread safe.
    virtual bool HasFailed() const = 0;
    // Puts the file in its place. False with a reason in `error`, the target unchanged; so does
    // a stream that is destroyed without Commit.
    virtual bool Commit(std::string* error) = 0;
};

// The streams by format; null with a reason in `error` when the target cannot be written. All
// tables have these columns.

// Of each table a compact array with one object a row between the texts of its frame,
// `[{"position":[1,2,3],"width":2}, …]`, one row a line. Cells are nested arrays by their shape;
// numbers that are not finite become null.
std::unique_ptr<ITableStream> OpenJsonStream(const std::string& path,
                                             std::vector<TableColumn> columns, std::string* error);

// One row a row, after a line of names: a first column `object` with the table's name, then
// `position.x`, `transform.0.x`, `hash.0` for the components of vectors, matrices and longer lists.
// Numbers have a decimal point, booleans are 0 and 1.
std::unique_ptr<ITableStream> OpenCsvStream(const std::string& path,
                                            std::vector<TableColumn> columns, std::string* error);

// Arrays of an archive that only some readers look for.
struct NpzExtras {
    // The columns from this one on are entries `PREFIXTABLE/name.npy`. All blocks and lists of a
    // table may leave them out; then it has none of them.
    size_t firstExtraColumn = SIZE_MAX;
    std::string extraPrefix;
};

// One array a column, of shape (rows, …), stored uncompressed: int32, uint32, float32, bool, and
// for texts fixed-width Unicode. Entries are `name.npy`, with `severalTables` `TABLE/name.npy`.
// Beyond 4 GiB the archive uses its 64-bit form.
class INpzStream : public ITableStream {
public:
    // Adds an entry of these bytes after the tables so far.
    virtual void AddEntry(const std::string& name, std::string_view bytes) = 0;
};
std::unique_ptr<INpzStream> OpenNpzStream(const std::string& path, std::vector<TableColumn> columns,
                                          bool severalTables, const NpzExtras& extras,
                                          std::string* error);
