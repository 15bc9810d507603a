#include "apps/dravin/item_outputs.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "apps/dravin/build_outputs.h"
#include "host/base/thread_pool.h"

namespace {

using Json = nlohmann::ordered_json;

// Candidates that each rule dropped, by the rule's name.
Json RejectedJson(const TRejections& rejected) {
    Json counts = Json::object();
    for (const TRejectionRule& rule : RejectionRules()) counts[rule.name] = rejected.*rule.count;
    return counts;
}

// What became of changes of single items. "missing" are those whose item was not made, where the
// build can tell.
Json DeltasJson(const TDeltaCounts& counts) {
    Json json{{"changed", counts.changed}, {"deleted", counts.deleted}};
    if (!counts.isComplete) return json;
    json["missing"] = Json::array();
    for (const TItemId& id : counts.missing) json["missing"].push_back(ItemIdText(id));
    return json;
}

// The keys before the items, without braces.
std::string ResultHead(const SceneDravin& dravin) {
    const TDravinBuild& build = dravin.object->Build();
    const TBuildStatistics& s = build.Statistics();
    TPanelMessage message = build.Message();
    Json head{{"object", dravin.node->GetName()},
              {"time", build.Time()},
              {"render", build.IsRender()},
              {"status", int(build.Status())},
              {"message", {message[0], message[1]}},
              {"statistics",
               {{"cells_in_area", s.cellsInArea},
                {"item_count", s.itemCount},
                {"created_count", s.createdCount},
                {"discarded_count", s.discardedCount},
                {"discarded_items", s.discardedItems},
                {"decimation", s.decimation},
                {"build_ms", s.buildMs},
                {"items_per_second", s.itemsPerSecond},
                {"rejected", RejectedJson(s.rejected)}}}};
    if (s.deltas.isUsed) head["statistics"]["deltas"] = DeltasJson(s.deltas);
    std::string text = head.dump();
    return text.substr(1, text.size() - 2);
}

}  // namespace

ItemOutputs::ItemOutputs(const BuildOptions& options, const std::vector<std::string>& fields,
                         size_t numObjects)
    : m_options(options),
      m_columns(fields),
      m_partColumns(m_columns.columns),
      m_numObjects(numObjects),
      m_threads(options.threads > 0 ? options.threads : NumProcessors()) {
    if (!options.piece) return;
    m_part = DescribePart(options, fields);
    for (TableColumn& column : OverlapColumns()) m_partColumns.push_back(std::move(column));
}

bool ItemOutputs::Open() {
    for (const std::string& path : m_options.outputs)
        if (TableKindOf(path) && !OpenTable(path)) return false;
    return true;
}

bool ItemOutputs::OpenTable(const std::string& path) {
    TableKind kind = *TableKindOf(path);
    std::string error;
    Table table{path, kind == TableKind::kJson, nullptr, nullptr};
    if (kind == TableKind::kJson) table.stream = OpenJsonStream(path, m_columns.columns, &error);
    if (kind == TableKind::kCsv) table.stream = OpenCsvStream(path, m_columns.columns, &error);
    if (kind == TableKind::kNpz) {
        NpzExtras extras{m_columns.columns.size(), kPartPrefix};
        auto archive = OpenNpzStream(path, m_partColumns, m_numObjects > 1, extras, &error);
        table.archive = archive.get();
        table.stream = std::move(archive);
    }
    if (!table.stream) return PrintError(error), false;
    m_tables.push_back(std::move(table));
    return true;
}

void ItemOutputs::BeginObject(const SceneDravin& dravin) {
    m_build = &dravin.object->Build();
    m_numRows = 0;
    for (Table& table : m_tables) table.stream->BeginTable(dravin.node->GetName());
}

std::shared_ptr<ItemOutputs::Blocks> ItemOutputs::Format(const TDravinItemList& items) {
    ItemTable rows(items, m_columns);
    std::optional<PartTable> partRows;
    if (m_part && m_build->LeavesOverlaps())
        partRows.emplace(rows, CollisionItems(items, m_build->Input()->camera), m_partColumns);
    auto blocks = std::make_shared<Blocks>(m_tables.size());
    for (size_t i = 0; i < m_tables.size(); ++i)
        if (ITableStream& stream = *m_tables[i].stream; !stream.HasFailed())
            (*blocks)[i] = partRows ? stream.Format(*partRows) : stream.Format(rows);
    return blocks;
}

TItemConsumer ItemOutputs::Consumer() {
    return [this](const TDravinItemList& items) -> std::function<void()> {
        return [this, blocks = Format(items), count = int64_t(items.Count())] {
            m_numRows += count;
            for (size_t i = 0; i < m_tables.size(); ++i)
                if ((*blocks)[i]) m_tables[i].stream->Append(std::move((*blocks)[i]));
        };
    };
}

// JSON around the items of the object whose turn it is: one object stands for itself, several in a
// list.
TableFrame ItemOutputs::Frame(const SceneDravin& dravin) const {
    bool isList = m_numObjects > 1, isFirst = m_numEnded == 0;
    bool isLast = m_numEnded + 1 == m_numObjects;
    TableFrame frame;
    if (isFirst) frame.before += "{\"dravin_items\":1,";
    if (isList) frame.before += isFirst ? "\"objects\":[{" : ",\n{";
    frame.before += ResultHead(dravin) + ",\n\"items\":";
    if (isList) frame.after += "}";
    if (isLast) frame.after += isList ? "]}\n" : "}\n";
    return frame;
}

void ItemOutputs::EndObject(const SceneDravin& dravin) {
    const TDravinBuild& build = dravin.object->Build();
    bool isVoid = build.Status() != TBuildStatus::kSuccess;  // the list is empty then
    TableFrame frame = Frame(dravin);
    if (!build.HasStreamed()) m_numRows = int64_t(build.Items().Count());
    if (m_part) m_part->objects.push_back(DescribeObject(dravin, m_numRows));
    ItemTable items(build.Items(), m_columns);
    for (Table& table : m_tables) {
        if (!build.HasStreamed()) {
            table.stream->EndTable(frame, items, m_threads);
            continue;
        }
        if (isVoid) table.stream->DropRows();
        table.stream->EndTable(frame);
    }
    ++m_numEnded;
}

// Says in archives of a part which one they are.
bool ItemOutputs::AddPartEntries(const InputRecord& inputs) {
    std::string error;
    std::optional<std::string> sum = InputsSum(inputs, &error);
    if (!sum) return PrintError(error), false;
    m_part->inputs = *sum;
    for (Table& table : m_tables)
        if (table.archive) table.archive->AddEntry(kPartEntry, ToJson(*m_part));
    return true;
}

ExitCode ItemOutputs::Commit(std::span<const SceneDravin> objects, const InputRecord& inputs,
                             bool hasFailed) {
    std::string error;
    if (m_part && !hasFailed && !AddPartEntries(inputs)) return kExitMissingInput;
    for (Table& table : m_tables) {
        if (hasFailed && !table.holdsStatus) {
            PrintNote(fmt::format("{}: not written, as the build failed", table.path));
        } else if (!table.stream->Commit(&error)) {
            PrintError(error);
            return kExitNoOutput;
        } else {
            TellOfOutput(table.path, NumItems(objects));
        }
        table.stream.reset();
    }
    return kExitDone;
}
