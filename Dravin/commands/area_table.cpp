// Commands on the list of areas.
#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/area_rows.h"
#include "Dravin/commands/row_commands.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/area_texts.h"
#include "Dravin/scene/dravin_rows.h"
#include "host/base/text.h"
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

// Why the node can be no area of the object, or none of the kind that is meant ("": any).
std::string AreaFault(const TDravin& object, const INode& node, const std::string& kind) {
    if (node.GetObjectRef() == &object) return "the object cannot exclude its own items";
    bool isSpline = AreaTypeOf(node) == kAreaSpline;
    if (kind == "spline" && !isSpline) return fmt::format("\"{}\" is no spline", node.GetName());
    if (kind == "object" && isSpline) return fmt::format("\"{}\" is a spline", node.GetName());
    return {};
}

// Above the row of surfaces; objects and the items of others are kept free. node: null for an area
// to paint.
int AppendArea(PBStore& rows, INode* node) {
    IParamBlock2& block = rows.Block();
    int at = InsertArea(rows), type = node ? AreaTypeOf(*node) : kAreaPaint;
    block.SetValue(kArnamelist, 0, DefaultAreaName(type, node ? node->GetName() : ""), at);
    block.SetValue(kArtypelist, 0, type, at);
    if (node) block.SetValue(kArnodelist, 0, Share(node), at);
    if (!node) block.SetValue(kArpaintlist, 0, std::make_shared<TPaintShape>(), at);
    block.SetValue(kArresollist, 0, FirstResolution(type), at);
    block.SetValue(kArincexclist, 0, ExcludesAtFirst(type), at);
    return at;
}

TCommandResult AddArea(TCommandCall& call) {
    TCommandResult result;
    std::string kind = call.Text("kind");
    bool isPaint = kind == "paint";
    INode* node = NodeOfCall(call, "node", &result);
    if (!result) return result;
    if (isPaint == (node != nullptr))
        return TCommandResult::Error(isPaint ? "a paint area has no \"node\""
                                             : "\"node\" is missing: of the scene");
    if (node) result.error = AreaFault(*call.object, *node, kind);
    if (!result) return result;
    std::unique_ptr<PBStore> rows = OpenAreas(*call.object);
    int at = AppendArea(*rows, node);
    if (call.Has("name")) rows->Block().SetValue(kArnamelist, 0, call.Text("name"), at);
    if (call.Has("exclude"))
        rows->Block().SetValue(kArincexclist, 0, call.Bool("exclude", false), at);
    result.value = ParamInput(int64_t(at));
    return result;
}

// What a list of names to tick offers; none when the user gave up, or there is nobody to ask.
std::optional<std::vector<std::string>> AskForNames(const char* title,
                                                    const std::vector<std::string>& names,
                                                    const std::vector<std::string>& ticked) {
    HostContext* context = HostContext::Current();
    if (!context) return std::nullopt;
    return context->UserInterface().SelectByName(title, names, ticked);
}

TCommandResult AddAreasByName(TCommandCall& call) {
    TCommandResult result;
    std::vector<std::string> names = call.Texts("nodes");
    if (!call.Has("nodes")) {
        for (INode* node : call.scene.Nodes())
            if (node->GetObjectRef() && AreaFault(*call.object, *node, {}).empty())
                names.push_back(node->GetName());
        names = AskForNames("Select Areas by Name", names, {}).value_or(std::vector<std::string>());
    }
    std::vector<INode*> nodes;
    for (const std::string& name : names) {
        INode* node = call.scene.FindNode(name);
        if (!node)
            return TCommandResult::Error(
                fmt::format("the scene has no node \"{}\"", CutText(name, 60)));
        result.error = AreaFault(*call.object, *node, {});
        if (!result) return result;
        nodes.push_back(node);
    }
    if (nodes.empty()) return result;
    std::unique_ptr<PBStore> rows = OpenAreas(*call.object);
    for (INode* node : nodes) AppendArea(*rows, node);
    result.value = ParamInput(int64_t(nodes.size()));
    return result;
}

// --- the subset of the geometry list

struct GeometryChoice {
    int id;
    std::string name;  // its own in the list of names
};

std::vector<GeometryChoice> GeometryChoices(TDravin& object) {
    IParamBlock2& rows = object.Block(kGeomParams);
    std::vector<GeometryChoice> choices;
    for (int i = 0; i < rows.Count(geomParams::kNamelist); ++i) {
        int id = i < rows.Count(geomParams::kSpecidlist)
                     ? rows.GetInt(geomParams::kSpecidlist, 0, i)
                     : -1;
        // Rows get their ids when the list is first built.
        if (id < 1) continue;
        choices.push_back(
            {id, fmt::format("{}: {}", i, rows.GetString(geomParams::kNamelist, 0, i))});
    }
    return choices;
}

// The ids that the user ticks; none when the user gave up.
std::optional<std::vector<int>> AskForGeometry(TDravin& object, const std::vector<int>& now) {
    std::vector<std::string> names, ticked;
    std::vector<GeometryChoice> choices = GeometryChoices(object);
    for (const GeometryChoice& choice : choices) {
        names.push_back(choice.name);
        if (std::find(now.begin(), now.end(), choice.id) != now.end())
            ticked.push_back(choice.name);
    }
    auto chosen = AskForNames("Selects the subset of plants used on this area", names, ticked);
    if (!chosen) return std::nullopt;
    std::vector<int> ids;
    for (const GeometryChoice& choice : choices)
        if (std::find(chosen->begin(), chosen->end(), choice.name) != chosen->end())
            ids.push_back(choice.id);
    return ids;
}

TCommandResult ChooseGeometry(TCommandCall& call) {
    TCommandResult result;
    std::unique_ptr<PBStore> rows = OpenAreas(*call.object);
    int row = call.Int("row");
    if (!HasRow(*rows, row, &result)) return result;
    IParamBlock2& block = rows->Block();
    rows->EnsureRows(rows->Count());
    std::optional<std::vector<int>> ids = call.Ints("ids");
    if (!call.Has("ids"))
        ids = AskForGeometry(*call.object, ParseSpecIds(block.GetString(kArspeclist, 0, row)));
    if (!ids) return result;
    block.SetValue(kArspeclist, 0, FormatSpecIds(*ids), row);
    block.SetValue(kArselspeclist, 0, 1, row);
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
                {"kind",
                 Kind::kText,
                 "paint for an area to paint; else what the node must be",
                 false,
                 {"spline", "object", "paint"}},
                {"name", Kind::kText, "of the row (default: the node's, else by its kind)"},
                {"exclude", Kind::kBool, "keeps items out (default: of objects, not of others)"}},
               AddArea});
    table.Add({"area.add_by_name",
               "Add Areas",
               "Adds an area of each node, and gives how many.",
               TCommandTarget::kObject,
               {{"nodes", Kind::kTexts, "their names (default: asks)"}},
               AddAreasByName});
    table.Add({"area.geometry",
               "Area Geometry",
               "Gives an area its own subset of the geometry list.",
               TCommandTarget::kObject,
               {{"row", Kind::kInteger, "its number, from 0", true},
                {"ids", Kind::kIntegers, "of rows of the geometry list (default: asks)"}},
               ChooseGeometry});
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
