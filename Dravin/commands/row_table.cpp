// Commands on the lists of geometry and of the levels of LOD objects.
#include <algorithm>

#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/item_commands.h"
#include "Dravin/commands/row_commands.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/geometry/probability_commands.h"
#include "host/base/text.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;

struct GeometryClipboard : PBClipboard {};
struct LodClipboard : PBClipboard {};

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
    if (node && DravinGlobals().options.copyMaterialFromObjects) entry.material = node->ShareMtl();
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

void AddLodCommands(TCommandTable& table) {
    AddRowCommands(table, "lod", "a level", LodRows());
    AddStepCommands(table, "lod", "a level", LodRows());
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
