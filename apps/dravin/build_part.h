// Parts of a build: what `dravin build --piece K/N` adds to its tables so that `dravin join` can
// tell which build they belong to, and remove the overlaps of all parts together.
//
// An archive of a part holds the entry kPartEntry, a description in JSON, and, for each object
// whose items may overlap those of other parts, arrays below kPartPrefix: what decides about an
// item. To other readers it is an archive of the part's items.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/collisions.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/item_table.h"
#include "apps/dravin/session.h"

inline constexpr const char* kPartEntry = "dravin_part.json";
inline constexpr const char* kPartPrefix = "dravin_part/";

struct PartObject {
    std::string name;
    bool isOff = false;       // it makes no items, and that is well
    int64_t rows = 0;         // of this part
    int64_t discarded = 0;    // of them
    int64_t limit = 0;        // items that all parts together may have, overlapping ones included
    bool mayOverlap = false;  // overlaps are left to the join
    Box3 ground;              // where they are looked for; empty: where the items are
};

// What parts of one build have in common, and what tells them apart.
struct PartDescription {
    TBuildPart part;
    std::string version, inputs, options;  // of the program, of all files that were read, as given
    std::vector<std::string> fields;
    std::vector<PartObject> objects;
};

// "K/N" with 1 <= K <= N; none for anything else.
std::optional<TBuildPart> ParsePart(const std::string& text);

// Description of a part that is about to be built.
PartDescription DescribePart(const BuildOptions& options, const std::vector<std::string>& fields);
// What a finished build adds to it.
PartObject DescribeObject(const SceneDravin& dravin, int64_t rows);
// A number for the contents of all files that were read. An error is one of reading them again.
std::optional<std::string> InputsSum(const InputRecord& inputs, std::string* error);

std::string ToJson(const PartDescription& part);
// None, with a reason in `error`, for anything that ToJson would not write.
std::optional<PartDescription> PartFromJson(std::string_view text, std::string* error);

// Columns of what decides about overlaps, behind those of the items.
std::vector<TableColumn> OverlapColumns();

// Items of a part as a table, with those columns.
class PartTable : public ITableSource {
public:
    // columns: the items' and the OverlapColumns. All must outlive the table, unchanged.
    PartTable(const ItemTable& items, std::vector<TCollisionItem> overlaps,
              const std::vector<TableColumn>& columns)
        : m_items(items), m_overlaps(std::move(overlaps)), m_columns(columns) {}

    const std::vector<TableColumn>& Columns() const override { return m_columns; }
    size_t NumRows() const override { return m_items.NumRows(); }
    void Read(size_t column, size_t first, size_t count, TableCells& cells) const override;

private:
    const ItemTable& m_items;
    std::vector<TCollisionItem> m_overlaps;
    const std::vector<TableColumn>& m_columns;
};

// Rows of the OverlapColumns as they were; the arrays have `rows` rows each.
std::vector<TCollisionItem> OverlapItems(std::string_view centers, std::string_view radii,
                                         std::string_view seeds, std::string_view flags,
                                         size_t rows);
