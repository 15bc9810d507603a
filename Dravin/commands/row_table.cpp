// Commands on the lists of geometry, of areas, and of the levels of LOD objects.
#include <algorithm>

#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/item_commands.h"
#include "Dravin/commands/row_commands.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/area_texts.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/geometry/probability_commands.h"
#include "Dravin/scene/dravin_rows.h"
#include "host/base/text.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;

struct GeometryClipboard : PBClipboard {};
struct AreaClipboard : PBClipboard {};
struct LodClipboard : PBClipboard {};

template <class Clipboard>
PBClipboard& ClipboardOfSession() {
    return HostContext::Current()->State<Clipboard>();
}

std::shared_ptr<IParamBlock2> Share(TDravin& object, DravinBlockId id) {
    return std::static_pointer_cast<IParamBlock2>(object.Block(id).shared_from_this());
}

// A node that a call names; null without the argument, or with the reason in the result.
INode* NodeOfCall(TCommandCall& call, const char* argument, TCommandResult* result) {
    std::string name = call.Text(argument);
    INode* node = name.empty() ? nullptr : call.scene.FindNode(name);
    if (!node && !name.empty())
        result->error = fmt::format("the scene has no node \"{}\"", CutText(name, 60));
    return node;
}

std::shared_ptr<INode> Share(INode* node) {
    return node ? std::static_pointer_cast<INode>(node->shared_from_this()) : nullptr;
}

// --- geometry

TRowList GeometryRows() {
    TRowList list;
    list.open = [](TCommandCall& call, TCommandResult*) -> std::unique_ptr<PBStore> {
        return std::make_unique<TTreeSpecList>(Share(*call.object, kGeomParams));
    };
    list.clipboard = ClipboardOfSession<GeometryClipboard>;
    list.idColumn = geomParams::kSpecidlist;
    // Items go on showing what they show.
    list.around = [](TCommandCall& call) { return std::make_shared<TKeptGeometry>(*call.object); };
    return list;
}

TCommandResult AddGeometry(TCommandCall& call) {
    TCommandResult result;
    INode* node = NodeOfCall(call, "node", &result);
    if (!result) return result;
    TTreeSpecList rows(Share(*call.object, kGeomParams));
    TSpecEntry entry;
    entry.kind = node ? kGeomCustom : kGeomTemplate;
    entry.customObject = Share(node);
    entry.name = call.Text("name", node ? node->GetName() : entry.name);
    entry.templateName = call.Text("template", entry.templateName);
    result.value = ParamInput(int64_t(rows.AppendRow(entry)));
    return result;
}

template <class Change>
auto OnProbabilities(Change change) {
    return [change](TCommandCall& call) {
        TTreeSpecList rows(Share(*call.object, kGeomParams));
        return TCommandResult::Value(ParamInput(change(rows)));
    };
}

// --- areas

std::unique_ptr<PBStore> OpenAreas(TDravin& object) {
    std::vector<PBColumn> columns;
    // The names come first and count the rows.
    for (ParamID id : AreaRowIds()) columns.push_back({id, FirstAreaValue(id)});
    return std::make_unique<PBStore>(Share(object, kAreaParams), std::move(columns));
}

// An area has an id of its own, the largest plus one.
void GiveAreaId(PBStore& rows, int row) {
    int largest = 0;
    for (int i = 0; i < rows.Count(); ++i)
        if (i != row) largest = std::max(largest, rows.Block().GetInt(areaParams::kAridlist, 0, i));
    rows.Block().SetValue(areaParams::kAridlist, 0, largest + 1, row);
}

TRowList AreaRows() {
    TRowList list;
    list.open = [](TCommandCall& call, TCommandResult*) { return OpenAreas(*call.object); };
    list.clipboard = ClipboardOfSession<AreaClipboard>;
    list.added = GiveAreaId;
    return list;
}

int AreaTypeOf(const INode& node) {
    const Object* object = node.GetObjectRef();
    if (dynamic_cast<const TDravin*>(object)) return kAreaDravin;
    return object && object->IsShape() ? kAreaSpline : kAreaObject;
}

// Above the row of surfaces; objects and the items of others are kept free.
TCommandResult AddArea(TCommandCall& call) {
    using namespace areaParams;
    TCommandResult result;
    INode* node = NodeOfCall(call, "node", &result);
    if (!result) return result;
    if (node->GetObjectRef() == call.object)
        return TCommandResult::Error("the object cannot exclude its own items");
    std::unique_ptr<PBStore> rows = OpenAreas(*call.object);
    IParamBlock2& block = rows->Block();
    int at = rows->Count();
    for (int i = rows->Count(); i-- > 0;)
        if (i < block.Count(kArtypelist) && block.GetInt(kArtypelist, 0, i) == kAreaSurface) at = i;
    rows->Insert(at);
    GiveAreaId(*rows, at);
    int type = AreaTypeOf(*node);
    block.SetValue(kArnamelist, 0, call.Text("name", node->GetName()), at);
    block.SetValue(kArnodelist, 0, Share(node), at);
    block.SetValue(kArtypelist, 0, type, at);
    block.SetValue(kArresollist, 0, FirstResolution(type), at);
    block.SetValue(kArincexclist, 0, call.Bool("exclude", ExcludesAtFirst(type)), at);
    result.value = ParamInput(int64_t(at));
    return result;
}

// --- levels

TDLod* LodOfCall(TCommandCall& call, TCommandResult* result) {
    auto* lod = dynamic_cast<TDLod*>(call.node->GetObjectRef());
    if (!lod) result->error = fmt::format("\"{}\" shows no LOD object", call.node->GetName());
    return lod;
}

TRowList LodRows() {
    TRowList list;
    list.open = [](TCommandCall& call, TCommandResult* result) -> std::unique_ptr<PBStore> {
        TDLod* lod = LodOfCall(call, result);
        return lod ? std::make_unique<PBStore>(lod->Levels()) : nullptr;
    };
    list.clipboard = ClipboardOfSession<LodClipboard>;
    list.idColumn = lodParams::kSpecidlist;
    list.target = TCommandTarget::kNode;
    return list;
}

TCommandResult CreateLod(TCommandCall& call) {
    auto object = TDLod::Create();
    object->NewLevel();
    INode* node = call.scene.AddNode(call.scene.UniqueNodeName("LOD"), object);
    node->SetLocalTM(Matrix3::Translation(call.Point("position")));
    return TCommandResult::Value(ParamInput(node->GetName()));
}

TCommandResult NewLevel(TCommandCall& call) {
    TCommandResult result;
    TDLod* lod = LodOfCall(call, &result);
    if (!lod) return result;
    lod->NewLevel();
    result.value = ParamInput(int64_t(lod->NumLevels() - 1));
    return result;
}

TCommandResult Normalise(TCommandCall& call) {
    TCommandResult result;
    if (TDLod* lod = LodOfCall(call, &result)) {
        LodMode mode = call.Text("of") == "size" ? kLodScreenSize : kLodDistance;
        result.value = ParamInput(lod->NormaliseThresholds(mode, call.Text("of") == "both"));
    }
    return result;
}

}  // namespace

void AddGeometryCommands(TCommandTable& table) {
    AddRowCommands(table, "geometry", "a row of the geometry list", GeometryRows());
    table.Add({"geometry.add",
               "Add Geometry",
               "Appends a model to the geometry list, and gives the row's number.",
               TCommandTarget::kObject,
               {{"node", Kind::kText, "of the scene; without one the row shows a template"},
                {"template", Kind::kText, "name of a template (default: One Plane)"},
                {"name", Kind::kText, "of the row (default: the node's)"}},
               AddGeometry});
    table.Add({"geometry.normalise",
               "",
               "Scales all probabilities to a sum of 100, after a question; gives whether it did.",
               TCommandTarget::kObject,
               {},
               OnProbabilities(NormaliseProbabilitiesCommand)});
    table.Add({"geometry.randomise",
               "",
               "Draws all probabilities anew, after a question; gives whether it did.",
               TCommandTarget::kObject,
               {},
               OnProbabilities(RandomiseProbabilitiesCommand)});
}

void AddAreaCommands(TCommandTable& table) {
    AddRowCommands(table, "area", "a row of the list of areas", AreaRows());
    table.Add({"area.add",
               "Add Area",
               "Adds a spline, object or scatter object as an area, and gives the row's number.",
               TCommandTarget::kObject,
               {{"node", Kind::kText, "of the scene", true},
                {"name", Kind::kText, "of the row (default: the node's)"},
                {"exclude", Kind::kBool, "keeps items out (default: of objects, not of splines)"}},
               AddArea});
}

void AddLodCommands(TCommandTable& table) {
    AddRowCommands(table, "lod", "a level", LodRows());
    table.Add({"lod.create",
               "Create LOD",
               "Makes an object of levels of detail, with one level; gives its node's name.",
               TCommandTarget::kScene,
               {{"position", Kind::kPoint, "in the world"}},
               CreateLod});
    table.Add({"lod.new",
               "",
               "Appends a level with the defaults, and gives its number.",
               TCommandTarget::kNode,
               {},
               NewLevel});
    table.Add({"lod.normalise",
               "",
               "Spreads the thresholds of the levels evenly, after a question; gives whether it "
               "did.",
               TCommandTarget::kNode,
               {{"of",
                 Kind::kText,
                 "which ones; \"both\" asks nothing",
                 true,
                 {"distance", "size", "both"}}},
               Normalise});
}
