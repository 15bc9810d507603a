// Commands on the scene, its nodes and the parameters of its scatter objects.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/value_commands.h"
#include "Dravin/dravin.h"
#include "host/base/text.h"
#include "host/scene/class_values.h"
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

std::shared_ptr<ReferenceTarget> Share(ReferenceTarget* part) { return part->shared_from_this(); }

// The parts of a node: all, or those of the class that the call names.
std::vector<std::shared_ptr<ReferenceTarget>> PartsOfCall(TCommandCall& call,
                                                          TCommandResult* result) {
    std::vector<std::shared_ptr<ReferenceTarget>> parts;
    std::vector<std::string> names;
    for (ReferenceTarget* part : PartsOf(*call.node)) {
        names.push_back(part->ClassName());
        if (call.Text("of", names.back()) == names.back()) parts.push_back(Share(part));
    }
    if (parts.empty())
        result->error = fmt::format("\"{}\" has no part \"{}\"; there are {}", call.node->GetName(),
                                    CutText(call.Text("of"), 60), fmt::join(names, ", "));
    return parts;
}

void AddParamCommands(TCommandTable& table) {
    TValueTopic object{"param", "Parameter", TCommandTarget::kObject, {}};
    object.nameMeaning = "internal name, as `dravin schema` lists it";
    object.things = [](TCommandCall& call, TCommandResult*) {
        return std::vector{Share(call.object)};
    };
    AddValueCommands(table, object);
    TArgumentInfo of{"of", Kind::kText,
                     "class of the part that has it, such as \"Light\" (default: the first part "
                     "that has such a value, from the uppermost modifier down)"};
    TValueTopic node{"node", "Value", TCommandTarget::kNode, {of}};
    node.things = PartsOfCall;
    AddValueCommands(table, node);
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
    AddParamCommands(table);
}
