// Commands on the scene, its nodes and the parameters of its scatter objects.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/dravin.h"
#include "host/base/text.h"
#include "host/io/scene_description.h"
#include "host/params/param_assign.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;

TCommandResult Undo(TCommandCall& call) {
    return call.scene.undo.Undo() ? TCommandResult() : TCommandResult::Error("nothing to undo");
}

TCommandResult Redo(TCommandCall& call) {
    return call.scene.undo.Redo() ? TCommandResult() : TCommandResult::Error("nothing to redo");
}

TCommandResult SetTime(TCommandCall& call) {
    call.scene.SetTime(call.Int("ticks"));
    return {};
}

TCommandResult SetRange(TCommandCall& call) {
    int64_t ticks = call.scene.ticksPerFrame;
    int64_t first = call.Int("first") * ticks, last = call.Int("last") * ticks;
    if (last < first) return TCommandResult::Error("the range ends before it begins");
    if (first <= kTimeNegInfinity || last >= kTimePosInfinity)
        return TCommandResult::Error("these frames lie beyond the first or last time");
    call.scene.timeRange = TimeRange{TimeValue(first), TimeValue(last)};
    return {};
}

TCommandResult Select(TCommandCall& call) {
    std::vector<INode*> nodes;
    for (const std::string& name : call.Texts("nodes")) {
        INode* node = call.scene.FindNode(name);
        if (!node) return TCommandResult::Error(fmt::format("the scene has no node \"{}\"", name));
        nodes.push_back(node);
    }
    call.scene.Select(nodes);
    return {};
}

TCommandResult Rename(TCommandCall& call) {
    std::string name = call.Text("name");
    if (name.empty()) return TCommandResult::Error("a node's name is not empty");
    if (const INode* other = call.scene.FindNode(name); other && other != call.node)
        return TCommandResult::Error(fmt::format("another node is named \"{}\"", name));
    call.node->SetName(name);
    return {};
}

TCommandResult Hide(TCommandCall& call) {
    call.node->SetHidden(call.Bool("hidden", true));
    return {};
}

TCommandResult Delete(TCommandCall& call) {
    call.scene.DeleteNode(*call.node);
    return {};
}

TCommandResult Clone(TCommandCall& call) {
    INode* const nodes[] = {call.node};
    return TCommandResult::Value(call.scene.CloneNodes(nodes).at(0)->GetName());
}

// Scale about the pivot, turn about it, then shift: all along the world's axes.
TCommandResult Transform(TCommandCall& call) {
    TimeValue t = call.scene.GetTime();
    Matrix3 tm = call.node->GetNodeTM(t);
    Point3 pivot = tm.GetTrans();
    tm.SetTrans({});
    ObjectOffset change;
    change.rotationDegrees = call.Point("rotate");
    change.scale = call.Point("scale", {1, 1, 1});
    tm = tm * change.ToMatrix();
    tm.SetTrans(call.Point("to", pivot) + call.Point("by"));
    call.node->SetNodeTM(t, tm);
    return {};
}

TDravin::Param ParamOf(TCommandCall& call, std::string* error) {
    std::string name = call.Text("name");
    TDravin::Param param = call.object->FindParam(name);
    if (!param)
        *error = fmt::format("no parameter is named \"{}\"{}", CutText(name, 60),
                             DidYouMean(name, DravinParamNames()));
    return param;
}

TCommandResult SetParam(TCommandCall& call) {
    TCommandResult result;
    TDravin::Param param = ParamOf(call, &result.error);
    if (!param) return result;
    NameResolver names = ResolverOf(call.scene);
    TimeValue t = call.scene.GetTime();
    AssignResult assigned =
        call.Has("row") ? AssignElement(*param.block, *param.def, call.Int("row"),
                                        call.Value("value"), t, AssignSource::kScript, names)
                        : AssignParam(*param.block, *param.def, call.Value("value"), t,
                                      AssignSource::kScript, names);
    result.error = std::move(assigned.error);
    result.warnings = std::move(assigned.warnings);
    return result;
}

TCommandResult ResetParam(TCommandCall& call) {
    TCommandResult result;
    TDravin::Param param = ParamOf(call, &result.error);
    if (!param) return result;
    if (param.def->readOnly) return TCommandResult::Error("the parameter is read-only");
    if (param.def->list)
        param.block->SetCount(param.def->id, 0);
    else
        param.block->SetElements(param.def->id, {{param.def->defaultValue, {}}});
    return result;
}

}  // namespace

void AddSceneCommands(TCommandTable& table) {
    table.Add({"scene.undo",
               "",
               "Takes back the last step.",
               TCommandTarget::kScene,
               {},
               Undo,
               [](const TCommandCall& call) { return call.scene.undo.NumUndoSteps() > 0; }});
    table.Add({"scene.redo",
               "",
               "Does again what was taken back last.",
               TCommandTarget::kScene,
               {},
               Redo,
               [](const TCommandCall& call) { return call.scene.undo.NumRedoSteps() > 0; }});
    table.Add({"scene.time",
               "",
               "Moves to another time.",
               TCommandTarget::kScene,
               {{"ticks", Kind::kInteger, "4800 a second", true}},
               SetTime});
    table.Add({"scene.range",
               "Set Time Range",
               "Sets the frames of the animation, as timelines show and play them.",
               TCommandTarget::kScene,
               {{"first", Kind::kInteger, "frame", true}, {"last", Kind::kInteger, "frame", true}},
               SetRange});
    table.Add({"scene.select",
               "Select",
               "Selects these nodes and no other.",
               TCommandTarget::kScene,
               {{"nodes", Kind::kTexts, "names; none selects nothing"}},
               Select});
    table.Add({"node.rename",
               "Rename",
               "Gives a node another name.",
               TCommandTarget::kNode,
               {{"name", Kind::kText, "the new name", true}},
               Rename});
    table.Add({"node.hide",
               "Hide",
               "Hides a node, or shows it again.",
               TCommandTarget::kNode,
               {{"hidden", Kind::kBool, "false shows it"}},
               Hide});
    table.Add({"node.delete",
               "Delete",
               "Takes a node out of the scene; its children stay.",
               TCommandTarget::kNode,
               {},
               Delete});
    table.Add({"node.clone",
               "Clone",
               "Adds a copy of a node and of its object, and gives its name.",
               TCommandTarget::kNode,
               {},
               Clone});
    table.Add({"node.transform",
               "Transform",
               "Scales and turns a node about its pivot and moves it.",
               TCommandTarget::kNode,
               {{"to", Kind::kPoint, "where its pivot comes to stand, scene units"},
                {"by", Kind::kPoint, "how far it moves, scene units"},
                {"rotate", Kind::kPoint, "degrees about X, then Y, then Z of the world"},
                {"scale", Kind::kPoint, "factors along the world's axes"}},
               Transform});
    table.Add({"param.set",
               "Set Parameter",
               "Sets a parameter; numbers out of range are clamped with a warning.",
               TCommandTarget::kObject,
               {{"name", Kind::kText, "internal name, as `dravin schema` lists it", true},
                {"value", Kind::kValue, "a value, for lists an array of them", true},
                {"row", Kind::kInteger, "element of a list to set alone, from 0"}},
               SetParam});
    table.Add({"param.reset",
               "Reset Parameter",
               "Gives a parameter its default; lists become empty, keys go.",
               TCommandTarget::kObject,
               {{"name", Kind::kText, "internal name, as `dravin schema` lists it", true}},
               ResetParam});
}
