// The item tables that one run writes: JSON, CSV and NPZ.
//
// They are open while the objects are built. Where a build hands its items out as it makes them,
// they go into the tables piece by piece, and no list of them is ever held; else they follow from
// the finished list. The bytes are the same.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Dravin/engine/item_stream.h"
#include "apps/dravin/build_part.h"
#include "apps/dravin/item_table.h"
#include "apps/dravin/session.h"
#include "host/io/table_stream.h"

class ItemOutputs {
public:
    // fields: names of item fields. numObjects: how many objects will follow.
    ItemOutputs(const BuildOptions& options, const std::vector<std::string>& fields,
                size_t numObjects);

    // Opens the tables among the outputs. False, with the error printed, when one cannot be.
    bool Open();
    bool IsEmpty() const { return m_tables.empty(); }

    // Before an object is built.
    void BeginObject(const SceneDravin& dravin);
    // Takes the items of its build as they are made.
    TItemConsumer Consumer();
    // After it was built. Of a build that failed no items are kept.
    void EndObject(const SceneDravin& dravin);

    // Puts the tables in their places and tells what was written; the error is printed. After a
    // failure only those that hold the status of the build.
    // inputs: all that was read, for the description of a part.
    ExitCode Commit(std::span<const SceneDravin> objects, const InputRecord& inputs,
                    bool hasFailed);

private:
    struct Table {
        std::string path;
        bool holdsStatus;
        std::unique_ptr<ITableStream> stream;
        INpzStream* archive;  // the same stream where it writes an archive; else null
    };
    using Blocks = std::vector<std::unique_ptr<FormattedRows>>;

    bool OpenTable(const std::string& path);
    std::shared_ptr<Blocks> Format(const TDravinItemList& items);
    TableFrame Frame(const SceneDravin& dravin) const;
    bool AddPartEntries(const InputRecord& inputs);

    const BuildOptions& m_options;
    ItemTableColumns m_columns;
    std::vector<TableColumn> m_partColumns;  // with those that decide about overlaps
    std::optional<PartDescription> m_part;
    size_t m_numObjects, m_numEnded = 0;
    int64_t m_numRows = 0;                  // of the object
    const TDravinBuild* m_build = nullptr;  // of the object
    int m_threads;
    std::vector<Table> m_tables;
};
