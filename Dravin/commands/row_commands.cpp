#include "Dravin/commands/row_commands.h"

#include <fmt/format.h>

#include "Dravin/dravin.h"
#include "host/base/text.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;

template <class Work>
auto OnRows(const TRowList& list, Work work) {
    return [list, work](TCommandCall& call) {
        TCommandResult result;
        std::unique_ptr<PBStore> rows = list.open(call, &result);
        std::shared_ptr<void> around = rows && list.around ? list.around(call) : nullptr;
        if (rows) work(call, *rows, &result);
        return result;
    };
}

bool HaveRows(const PBStore& rows, const std::vector<int>& wanted, TCommandResult* result) {
    for (int row : wanted)
        if (!HasRow(rows, row, result)) return false;
    return true;
}

void Insert(const TRowList& list, TCommandCall& call, PBStore& rows, TCommandResult* result) {
    int at = call.Int("at", rows.Count());
    if (at < 0 || at > rows.Count())
        return result->error = fmt::format("a row goes before 0 to {}", rows.Count()), void();
    rows.Insert(at);
    if (list.added) list.added(rows, at);
    result->value = ParamInput(int64_t(at));
}

void Delete(const TRowList& list, TCommandCall& call, PBStore& rows, TCommandResult* result) {
    std::vector<int> wanted = call.Ints("rows");
    if (!HaveRows(rows, wanted, result)) return;
    for (int row : wanted)
        if (list.mayDelete && !list.mayDelete(rows, row, result)) return;
    rows.Delete(wanted);
}

void Move(TCommandCall& call, PBStore& rows, TCommandResult* result) {
    int from = call.Int("row"), to = call.Int("to");
    if (!HaveRows(rows, {from, to}, result) || from == to) return;
    if (!rows.Move(from, to)) result->error = "that row keeps its place";
}

void Step(TCommandCall& call, PBStore& rows, int by, TCommandResult* result) {
    int from = call.Int("row"), to = from + by;
    if (!HasRow(rows, from, result)) return;
    if (to < 0 || to >= rows.Count() || !rows.Move(from, to)) to = from;
    result->value = ParamInput(int64_t(to));
}

void Copy(const TRowList& list, TCommandCall& call, PBStore& rows, TCommandResult* result) {
    if (!HasRow(rows, call.Int("row"), result)) return;
    rows.Select({call.Int("row")});
    if (!list.clipboard().Copy(rows, list.idColumn, 0)) result->error = "nothing was copied";
}

void Paste(const TRowList& list, TCommandCall&, PBStore& rows, TCommandResult* result) {
    if (!list.clipboard().Paste(rows, 0)) return result->error = kEmptyClipboardMessage, void();
    int row = rows.Count() - 1;
    if (list.added) list.added(rows, row);
    result->value = ParamInput(int64_t(row));
}

}  // namespace

bool HasRow(const PBStore& rows, int row, TCommandResult* result) {
    if (row >= 0 && row < rows.Count()) return true;
    result->error = fmt::format("there is no row {}; the list has {}", row, rows.Count());
    return false;
}

std::shared_ptr<IParamBlock2> Share(TDravin& object, DravinBlockId id) {
    return std::static_pointer_cast<IParamBlock2>(object.Block(id).shared_from_this());
}

std::shared_ptr<INode> Share(INode* node) {
    return node ? std::static_pointer_cast<INode>(node->shared_from_this()) : nullptr;
}

INode* NodeOfCall(TCommandCall& call, const char* argument, TCommandResult* result) {
    std::string name = call.Text(argument);
    INode* node = name.empty() ? nullptr : call.scene.FindNode(name);
    if (!node && !name.empty())
        result->error = fmt::format("the scene has no node \"{}\"", CutText(name, 60));
    return node;
}

void AddRowCommands(TCommandTable& table, const std::string& topic, const std::string& row,
                    const TRowList& list) {
    table.Add({topic + ".insert",
               "Insert",
               fmt::format("Inserts {} and gives its number.", row),
               list.target,
               {{"at", Kind::kInteger, "row before which it comes (default: the end)"}},
               OnRows(list, [list](TCommandCall& call, PBStore& rows, TCommandResult* result) {
                   Insert(list, call, rows, result);
               })});
    table.Add({topic + ".delete",
               "Delete",
               "Deletes rows.",
               list.target,
               {{"rows", Kind::kIntegers, "their numbers, from 0", true}},
               OnRows(list, [list](TCommandCall& call, PBStore& rows, TCommandResult* result) {
                   Delete(list, call, rows, result);
               })});
    table.Add({topic + ".move",
               "Move",
               "Moves a row.",
               list.target,
               {{"row", Kind::kInteger, "its number, from 0", true},
                {"to", Kind::kInteger, "its number afterwards", true}},
               OnRows(list, Move)});
    table.Add({topic + ".copy",
               "",
               "Copies a row, to be pasted in this session.",
               list.target,
               {{"row", Kind::kInteger, "its number, from 0", true}},
               OnRows(list, [list](TCommandCall& call, PBStore& rows, TCommandResult* result) {
                   Copy(list, call, rows, result);
               })});
    table.Add({topic + ".paste",
               "Paste",
               "Appends the copied row, and gives its number.",
               list.target,
               {},
               OnRows(list, [list](TCommandCall& call, PBStore& rows, TCommandResult* result) {
                   Paste(list, call, rows, result);
               })});
}

void AddStepCommands(TCommandTable& table, const std::string& topic, const std::string& row,
                     const TRowList& list) {
    auto add = [&](const char* name, const char* where, int by) {
        table.Add({topic + name,
                   "Move Row",
                   fmt::format("Moves {} {} by one, and gives its number.", row, where),
                   list.target,
                   {{"row", Kind::kInteger, "its number, from 0", true}},
                   OnRows(list, [by](TCommandCall& call, PBStore& rows, TCommandResult* result) {
                       Step(call, rows, by, result);
                   })});
    };
    add(".up", "up", -1);
    add(".down", "down", 1);
}
