// The XML data export: the items of scatter objects with a choice of their fields.
//
// The document holds an element `DravinObject` an object and in it an `Item` an item that is not
// discarded, with one attribute a field, named by its key. Reals have six significant digits and a
// decimal point whatever the locale, vectors are written [x,y,z], matrices as their four rows with
// blanks between. It is written while items are made, in pieces that any number of threads format:
// memory does not grow with their number. The file appears whole or not at all.
//
//     exporter.Open(path, &error);
//     exporter.BeginObject(object, node, time);
//     object.Build().BuildMesh(time, flags, &consumer);    // consumer calls exporter.Take
//     exporter.EndObject(threads);
//     exporter.Commit(&error);
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "Dravin/tools/export_fields.h"
#include "host/base/atomic_file.h"
#include "host/io/row_pool.h"
#include "host/io/text_buffer.h"
#include "host/math/interval.h"

class INode;
class TDravin;
class TDravinBuild;
class TDravinItemList;

class TDataExport {
public:
    explicit TDataExport(TExportFields fields) : m_fields(fields) {}

    // False with a reason in `error` when the file cannot be written.
    bool Open(const std::string& path, std::string* error);

    // Before an object is built at time t: reads its geometry list.
    void BeginObject(TDravin& object, const INode& node, TimeValue t);
    // Formats the items of a piece of the running build, on any thread; what it returns writes
    // them, in the order of the pieces.
    std::function<void()> Take(const TDravinItemList& items);
    // After the build. Items that no consumer took are written here.
    void EndObject(int threads);

    bool HasFailed() const { return m_hasFailed; }
    // Puts the file in its place. False with a reason in `error`, the file unchanged; so does an
    // export that is destroyed without Commit.
    bool Commit(std::string* error);

private:
    // Attributes behind the index, which is known only when the pieces before are written.
    struct Piece {
        struct Item {
            uint32_t index;  // in the piece
            size_t end;      // of its text
        };
        TextBuffer text;
        std::vector<Item> items;
    };
    std::function<void()> TakeRange(const TDravinItemList& items, size_t first, size_t last);
    void Format(const TDravinItemList& items, size_t first, size_t last, Piece& piece) const;
    void Write(const Piece& piece);

    TExportFields m_fields;
    AtomicFile m_out;
    std::atomic<bool> m_hasFailed{false};
    const TDravinBuild* m_build = nullptr;  // of the object whose turn it is
    std::vector<std::string> m_rows;        // attributes that follow from an item's row alone
    size_t m_numItems = 0;                  // of the object, discarded ones included
    RowPool<Piece> m_pieces;
    TextBuffer m_line;
};
