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
    std::string text = head.dump();
    return text.substr(1, text.size() - 2);
}

}  // namespace

ItemOutputs::ItemOutputs(const std::vector<std::string>& fields, size_t numObjects, int threads)
    : m_columns(fields),
      m_numObjects(numObjects),
      m_threads(threads > 0 ? threads : NumProcessors()) {}

bool ItemOutputs::Open(std::span<const std::string> outputs) {
    for (const std::string& path : outputs)
        if (TableKindOf(path) && !OpenTable(path)) return false;
    return true;
}

bool ItemOutputs::OpenTable(const std::string& path) {
    TableKind kind = *TableKindOf(path);
    const std::vector<TableColumn>& columns = m_columns.columns;
    std::string error;
    std::unique_ptr<ITableStream> stream;
    if (kind == TableKind::kJson) stream = OpenJsonStream(path, columns, &error);
    if (kind == TableKind::kCsv) stream = OpenCsvStream(path, columns, &error);
    if (kind == TableKind::kNpz)
        stream = OpenNpzStream(path, columns, m_numObjects > 1, {}, &error);
    if (!stream) return PrintError(error), false;
    m_tables.push_back({path, kind == TableKind::kJson, std::move(stream)});
    return true;
}

void ItemOutputs::BeginObject(const std::string& name) {
    for (Table& table : m_tables) table.stream->BeginTable(name);
}

TItemConsumer ItemOutputs::Consumer() {
    using Blocks = std::vector<std::unique_ptr<FormattedRows>>;
    return [this](const TDravinItemList& items) -> std::function<void()> {
        ItemTable rows(items, m_columns);
        auto blocks = std::make_shared<Blocks>(m_tables.size());
        for (size_t i = 0; i < m_tables.size(); ++i)
            if (!m_tables[i].stream->HasFailed()) (*blocks)[i] = m_tables[i].stream->Format(rows);
        return [this, blocks] {
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

ExitCode ItemOutputs::Commit(std::span<const SceneDravin> objects, bool hasFailed) {
    std::string error;
    for (Table& table : m_tables) {
        if (hasFailed && !table.holdsStatus) {
            PrintNote(fmt::format("{}: not written, as the build failed", table.path));
        } else if (!table.stream->Commit(&error)) {
            PrintError(error);
            return kExitNoOutput;
        } else {
            TellOfOutput(table.path, objects);
        }
        table.stream.reset();
    }
    return kExitDone;
}
