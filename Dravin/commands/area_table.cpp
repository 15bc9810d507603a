// Commands on the list of areas.
#include <algorithm>

#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/area_rows.h"
#include "Dravin/commands/row_commands.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/area_texts.h"
#include "Dravin/scene/dravin_rows.h"
#include "host/params/clone_map.h"
#include "host/scene/scene.h"

using namespace areaParams;

namespace {

using Kind = TArgumentKind;

struct AreaClipboard : PBClipboard {};

int TypeOfRow(const IParamBlock2& block, int row) {
    return row < block.Count(kArtypelist) ? block.GetInt(kArtypelist, 0, row) : kAreaSpline;
}

// What the user is told with a box is the reason, too.
bool Refuse(const char* text, TCommandResult* result) {
    HostContext* context = HostContext::Current();
    if (context && !context->quiet) context->UserInterface().MessageBox(text, "Dravin Pack");
    result->error = text;
    return false;
}

bool MayDelete(const PBStore& rows, int row, TCommandResult* result) {
    if (TypeOfRow(rows.Block(), row) != kAreaSurface) return true;
    return Refuse("The Surface Area can be turned off, but not deleted", result);
}

// What a row shares with the one that it was copied from.
void MakeOwn(PBStore& rows, int row) {
    GiveAreaId(rows, row);
    IParamBlock2& block = rows.Block();
    if (row >= block.Count(kArpaintlist)) return;
    auto* paint = dynamic_cast<TPaintShape*>(block.GetReference(kArpaintlist, 0, row));
    CloneMap map;
    if (paint) block.SetValue(kArpaintlist, 0, paint->Clone(map), row);
}

TRowList AreaRows() {
    TRowList list;
    list.open = [](TCommandCall& call, TCommandResult*) { return OpenAreas(*call.object); };
    list.clipboard = ClipboardOfSession<AreaClipboard>;
    list.added = MakeOwn;
    list.mayDelete = MayDelete;
    return list;
}

int AreaTypeOf(const INode& node) {
    const Object* object = node.GetObjectRef();
    if (dynamic_cast<const TDravin*>(object)) return kAreaDravin;
    return object && object->IsShape() ? kAreaSpline : kAreaObject;
}

// Above the row of surfaces; objects and the items of others are kept free.
TCommandResult AddArea(TCommandCall& call) {
    TCommandResult result;
    bool isPaint = call.Text("kind") == "paint";
    INode* node = NodeOfCall(call, "node", &result);
    if (!result) return result;
    if (isPaint == (node != nullptr))
        return TCommandResult::Error(isPaint ? "a paint area has no \"node\""
                                             : "\"node\" is missing: of the scene");
    if (node && node->GetObjectRef() == call.object)
        return TCommandResult::Error("the object cannot exclude its own items");
    std::unique_ptr<PBStore> rows = OpenAreas(*call.object);
    IParamBlock2& block = rows->Block();
    int at = InsertArea(*rows), type = isPaint ? kAreaPaint : AreaTypeOf(*node);
    std::string name = DefaultAreaName(type, node ? node->GetName() : "");
    block.SetValue(kArnamelist, 0, call.Text("name", name), at);
    block.SetValue(kArtypelist, 0, type, at);
    if (node) block.SetValue(kArnodelist, 0, Share(node), at);
    if (isPaint) block.SetValue(kArpaintlist, 0, std::make_shared<TPaintShape>(), at);
    block.SetValue(kArresollist, 0, FirstResolution(type), at);
    block.SetValue(kArincexclist, 0, call.Bool("exclude", ExcludesAtFirst(type)), at);
    result.value = ParamInput(int64_t(at));
    return result;
}

// by: -1 up, 1 down. The surfaces stay last.
TCommandResult Step(TCommandCall& call, int by) {
    TCommandResult result;
    std::unique_ptr<PBStore> rows = OpenAreas(*call.object);
    int row = call.Int("row"), to = row + by;
    if (!HasRow(*rows, row, &result)) return result;
    if (TypeOfRow(rows->Block(), row) == kAreaSurface) {
        if (by < 0)
            Refuse("The Surface Area can be moved from the bottom of the list", &result);
        else
            result.error = "that row keeps its place";
        return result;
    }
    bool isStuck = to < 0 || to >= rows->Count() || TypeOfRow(rows->Block(), to) == kAreaSurface;
    if (isStuck || !rows->Move(row, to))
        result.error = "that row keeps its place";
    else
        result.value = ParamInput(int64_t(to));
    return result;
}

}  // namespace

std::unique_ptr<PBStore> OpenAreas(TDravin& object) {
    std::vector<PBColumn> columns;
    // The names come first and count the rows.
    for (ParamID id : AreaRowIds()) columns.push_back({id, FirstAreaValue(id)});
    return std::make_unique<PBStore>(Share(object, kAreaParams), std::move(columns));
}

void GiveAreaId(PBStore& rows, int row) {
    int largest = 0;
    for (int i = 0; i < rows.Count(); ++i)
        if (i != row) largest = std::max(largest, rows.Block().GetInt(kAridlist, 0, i));
    rows.Block().SetValue(kAridlist, 0, largest + 1, row);
}

int InsertArea(PBStore& rows) {
    int at = rows.Count();
    for (int i = rows.Count(); i-- > 0;)
        if (TypeOfRow(rows.Block(), i) == kAreaSurface) at = i;
    rows.Insert(at);
    GiveAreaId(rows, at);
    return at;
}

void AddAreaCommands(TCommandTable& table) {
    AddRowCommands(table, "area", "a row of the list of areas", AreaRows());
    table.Add({"area.add",
               "Add Area",
               "Adds a spline, object, scatter object or paint area, and gives the row's number.",
               TCommandTarget::kObject,
               {{"node", Kind::kText, "of the scene; all but paint areas want one"},
                {"kind", Kind::kText, "paint for an area to paint", false, {"paint"}},
                {"name", Kind::kText, "of the row (default: the node's, else by its kind)"},
                {"exclude", Kind::kBool, "keeps items out (default: of objects, not of others)"}},
               AddArea});
    table.Add({"area.up",
               "Move Area",
               "Moves an area up, and gives its number; areas that exclude act on those below.",
               TCommandTarget::kObject,
               {{"row", Kind::kInteger, "its number, from 0", true}},
               [](TCommandCall& call) { return Step(call, -1); }});
    table.Add({"area.down",
               "Move Area",
               "Moves an area down, and gives its number.",
               TCommandTarget::kObject,
               {{"row", Kind::kInteger, "its number, from 0", true}},
               [](TCommandCall& call) { return Step(call, 1); }});
}
