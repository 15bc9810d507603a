// Commands on the items of a scatter object: its editing mode, hand-edited items, changes of single
// generated ones, rows of its geometry list.
#include <algorithm>

#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/command_values.h"
#include "Dravin/commands/item_commands.h"
#include "Dravin/dravin.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;
using Result = TCommandResult;

// Items are open to editing while this lives, where they can be.
class OpenItems {
public:
    explicit OpenItems(TDravin& object) : m_object(object), m_was(object.editingItems) {
        m_object.editingItems = true;
    }
    ~OpenItems() { m_object.editingItems = m_was; }
    OpenItems(const OpenItems&) = delete;
    OpenItems& operator=(const OpenItems&) = delete;

private:
    TDravin& m_object;
    bool m_was;
};

TItemCommands CommandsOf(TCommandCall& call) {
    return TItemCommands(call.scene, *call.node, *call.object);
}

using Work = Result (*)(TCommandCall& call, TItemCommands& items);

// The work on items that can be edited.
std::function<Result(TCommandCall&)> OnItems(Work work) {
    return [work](TCommandCall& call) {
        OpenItems open(*call.object);
        TItemCommands items = CommandsOf(call);
        if (!items.IsEditing())
            return Result::Error(
                "the object is in generate mode; \"mode.switch mode=custom_edit\" makes its items "
                "editable");
        return work(call, items);
    };
}

Result Answered(bool yes) { return yes ? Result() : Result::Error(kDeclined); }

Result Counted(size_t count) { return Result::Value(int64_t(count)); }

// --- the mode

Result SwitchMode(TCommandCall& call) {
    TItemCommands items = CommandsOf(call);
    return Answered(items.SwitchMode(call.Text("mode") == "custom_edit" ? 1 : 0));
}

Result Create(TCommandCall& call) {
    INode* node = CreateDravin(call.scene, call.Int("creation"), call.Point("position"),
                               float(call.Real("drag")));
    if (!node) return Result::Error("a drag shorter than 0.0001 makes no object");
    return Result::Value(node->GetName());
}

// --- selection

Result Select(TCommandCall& call, TItemCommands& items) {
    std::vector<int> numbers = call.Ints("items");
    auto count = int64_t(call.object->StoredItems().size());
    for (int i : numbers)
        if (i < 0 || i >= count)
            return Result::Error(fmt::format("there is no item {} among {}", i, count));
    std::string how = call.Text("how", "only");
    if (how == "only") items.Select(TGeneralSelection::kNone);
    items.Select(numbers, how != "remove", true, how == "invert");
    return Counted(items.Selected().size());
}

template <TGeneralSelection kWhich>
Result SelectMany(TCommandCall&, TItemCommands& items) {
    items.Select(kWhich);
    return Counted(items.Selected().size());
}

Result SelectType(TCommandCall& call, TItemCommands& items) {
    if (!items.SelectByType(call.Int("row")))
        return Result::Error(fmt::format("the geometry list has no row {}", call.Int("row")));
    return Counted(items.Selected().size());
}

Result Properties(TCommandCall& call, TItemCommands& items) {
    auto asked = [&](const char* name) {
        return call.Has(name) ? std::optional(call.Int(name)) : std::nullopt;
    };
    if (auto row = asked("row"))
        if (*row < 0 || *row >= call.object->Block(kGeomParams).Count(geomParams::kNamelist))
            return Result::Error(fmt::format("the geometry list has no row {}", *row));
    items.SetProperties(asked("row"), asked("element"), asked("user_id"));
    TSelectionProperties now = items.Properties();
    ParamInput::Array shown;
    for (std::optional<int> value :
         {std::optional(now.count), now.entry, now.element, now.userId}) {
        shown.emplace_back();
        if (value) shown.back().value = int64_t(*value);
    }
    return Result::Value(std::move(shown));
}

// --- transforms

Matrix3 AxesOf(const TCommandCall& call) {
    if (call.Text("axes", "world") != "object") return {};
    return call.node->GetObjectTM(call.scene.GetTime());
}

Result Move(TCommandCall& call, TItemCommands& items) {
    items.Move(call.node->GetObjectTM(call.scene.GetTime()), AxesOf(call), call.Point("by"));
    return {};
}

// The middle of the selected items, world space.
Point3 MiddleOf(const TItemCommands& items, TimeValue t) {
    double sum[3] = {};
    auto centers = items.Centers(t);
    for (const auto& [number, center] : centers)
        for (int i = 0; i < 3; ++i) sum[i] += double(center[i]) / double(centers.size());
    return {float(sum[0]), float(sum[1]), float(sum[2])};
}

Result Rotate(TCommandCall& call, TItemCommands& items) {
    TimeValue t = call.scene.GetTime();
    Matrix3 axes = AxesOf(call);
    axes.SetTrans(call.Has("center") ? call.Point("center") : MiddleOf(items, t));
    items.Rotate(call.node->GetObjectTM(t), axes,
                 Quat::FromMatrix(EulerDegreesToMatrix(call.Point("by"))),
                 call.Bool("together", call.Has("center")));
    return {};
}

Result Scale(TCommandCall& call, TItemCommands& items) {
    items.Scale(call.Point("by"));
    return {};
}

// --- the list

Result Clone(TCommandCall&, TItemCommands& items) {
    items.Clone();
    return Counted(items.Selected().size());
}

Result Delete(TCommandCall& call, TItemCommands& items) {
    items.Delete();
    return Counted(call.object->StoredItems().size());
}

Result Add(TCommandCall& call, TItemCommands& items) {
    std::string choice = call.Text("choice", call.Has("row") ? "model" : "random");
    TAddChoice which = choice == "model"    ? TAddChoice::kModel
                       : choice == "random" ? TAddChoice::kRandom
                                            : TAddChoice::kSequence;
    if (!items.Add(call.Point("position"), which, call.Int("row")))
        return Result::Error("the geometry list is empty");
    return Counted(call.object->StoredItems().size() - 1);
}

Result StartAdding(TCommandCall&, TItemCommands& items) {
    items.StartAdding();
    return {};
}

Result Detach(TCommandCall&, TItemCommands& items) {
    return Result::Value(items.Detach()->GetName());
}

Result Attach(TCommandCall& call, TItemCommands& items) {
    std::vector<INode*> nodes;
    for (const std::string& name : call.Texts("nodes")) {
        INode* node = call.scene.FindNode(name);
        if (!node) return Result::Error(fmt::format("the scene has no node \"{}\"", name));
        if (!items.MayAttach(*node))
            return Result::Error(
                fmt::format("\"{}\" is no other scatter object, or depends on this one", name));
        nodes.push_back(node);
    }
    return Counted(size_t(items.Attach(nodes)));
}

Result Count(TCommandCall& call) {
    OpenItems open(*call.object);
    TItemCommands items = CommandsOf(call);
    return Result::Value(
        ParamInput::Array{ParamInput(items.CountText()), ParamInput(items.SelectedText())});
}

// --- changes of single generated items

Result ChangeOne(TCommandCall& call) {
    std::optional<TItemId> id = ParseItemId(call.Text("id"));
    if (!id || id->origin == TItemId::kEdited)
        return Result::Error(
            fmt::format("\"{}\" is no id of a generated item; the item field \"id\" holds them",
                        call.Text("id")));
    TItemDelta delta;
    for (const TItemDelta& old : call.object->Deltas())
        if (old.id == *id) delta = old;
    delta.id = *id;
    delta.deleted = call.Bool("delete", delta.deleted);
    delta.move = call.Point("move", delta.move);
    delta.rotateDegrees = call.Point("rotate", delta.rotateDegrees);
    delta.scale = call.Point("scale", delta.scale);
    delta.geometry = call.Int("row", delta.geometry);
    if (!(delta.scale.x > 0 && delta.scale.y > 0 && delta.scale.z > 0))
        return Result::Error("\"scale\" wants three numbers above 0");
    if (delta.geometry >= call.object->Block(kGeomParams).Count(geomParams::kNamelist))
        return Result::Error(fmt::format("the geometry list has no row {}", delta.geometry));
    // What is deleted keeps no other change.
    if (delta.deleted) {
        delta = {};
        delta.id = *id;
        delta.deleted = true;
    }
    call.object->SetDelta(delta);
    return {};
}

Result RestoreItems(TCommandCall& call) {
    std::vector<std::string> ids = call.Texts("ids");
    std::vector<TItemDelta> kept;
    for (const TItemDelta& delta : call.object->Deltas())
        if (call.Has("ids") && std::find(ids.begin(), ids.end(), ItemIdText(delta.id)) == ids.end())
            kept.push_back(delta);
    size_t count = call.object->Deltas().size() - kept.size();
    call.object->SetDeltas(std::move(kept));
    return Counted(count);
}

// --- rows of the geometry list

// --- the table

void AddSelection(TCommandTable& table) {
    auto add = [&](const char* name, const char* label, const char* meaning,
                   std::vector<TArgumentInfo> arguments, Work work) {
        table.Add(
            {name, label, meaning, TCommandTarget::kObject, std::move(arguments), OnItems(work)});
    };
    add("items.select", "Select", "Selects hand-edited items by number; gives how many are.",
        {{"items", Kind::kIntegers, "numbers from 0", true},
         {"how",
          Kind::kText,
          "only these (the default), or these as well, or no longer, or the opposite",
          false,
          {"only", "add", "remove", "invert"}}},
        Select);
    add("items.select_all", "Select", "Selects all hand-edited items.", {},
        SelectMany<TGeneralSelection::kAll>);
    add("items.select_none", "Select", "Selects no hand-edited item.", {},
        SelectMany<TGeneralSelection::kNone>);
    add("items.select_invert", "Select", "Selects the items that are not, and no others.", {},
        SelectMany<TGeneralSelection::kInvert>);
    add("items.select_type", "Select by type", "Selects the items that show a row.",
        {{"row", Kind::kInteger, "row of the geometry list, from 0", true}}, SelectType);
    add("items.properties", "Items Change",
        "Gives the selected items a row, an element or a user id; gives back their number, and "
        "row, element and user id where they share one.",
        {{"row", Kind::kInteger, "row of the geometry list, from 0"},
         {"element", Kind::kInteger, "element of the row, from 0"},
         {"user_id", Kind::kInteger, "any number from 0"}},
        Properties);
    table.Add({"items.count",
               "",
               "Says how many items there are, and how many are selected.",
               TCommandTarget::kObject,
               {},
               Count});
}

void AddTransforms(TCommandTable& table) {
    const TArgumentInfo axes{
        "axes", Kind::kText, "along which axes; world when left out", false, {"world", "object"}};
    table.Add({"items.move",
               "Move",
               "Moves the selected items.",
               TCommandTarget::kObject,
               {{"by", Kind::kPoint, "scene units", true}, axes},
               OnItems(Move)});
    table.Add({"items.rotate",
               "Rotate",
               "Turns the selected items.",
               TCommandTarget::kObject,
               {{"by", Kind::kPoint, "degrees about X, then Y, then Z", true},
                {"together", Kind::kBool, "about one centre; else each in its place"},
                {"center", Kind::kPoint,
                 "of the turn, in the world; the items' middle when left "
                 "out; given, the items turn together"},
                axes},
               OnItems(Rotate)});
    table.Add({"items.scale",
               "Scale",
               "Scales the selected items, each about its own pivot.",
               TCommandTarget::kObject,
               {{"by", Kind::kPoint, "factors", true}},
               OnItems(Scale)});
}

void AddListCommands(TCommandTable& table) {
    auto add = [&](const char* name, const char* meaning, std::vector<TArgumentInfo> arguments,
                   Work work) {
        table.Add(
            {name, "", meaning, TCommandTarget::kObject, std::move(arguments), OnItems(work)});
    };
    add("items.clone", "Copies the selected items; the copies are selected then.", {}, Clone);
    add("items.delete", "Deletes the selected items; gives how many are left.", {}, Delete);
    add("items.start_adding", "Selects nothing and starts the sequence of added items anew.", {},
        StartAdding);
    add("items.add", "Adds an item; gives its number.",
        {{"position", Kind::kPoint, "in the world", true},
         {"choice",
          Kind::kText,
          "how its row is chosen: that named by \"row\", at random, or the rows one by one",
          false,
          {"model", "random", "sequence"}},
         {"row", Kind::kInteger, "row of the geometry list, from 0"}},
        Add);
    add("items.detach", "Moves the selected items to a new object; gives its node's name.", {},
        Detach);
    add("items.attach", "Takes the items of other scatter objects over and deletes those.",
        {{"nodes", Kind::kTexts, "names", true}}, Attach);
}

template <bool (TItemCommands::*kWork)()>
Result Asked(TCommandCall&, TItemCommands& items) {
    return Answered((items.*kWork)());
}

void AddChanges(TCommandTable& table) {
    auto add = [&](const char* name, const char* label, const char* meaning, Work work) {
        table.Add({name, label, meaning, TCommandTarget::kObject, {}, OnItems(work)});
    };
    add("items.reseed", "Re-Seed", "Gives the selected items other seeds, after asking.",
        Asked<&TItemCommands::Reseed>);
    add("items.store_transforms", "Store Random",
        "Makes random transforms part of all items and resets the transform parameters, after "
        "asking.",
        Asked<&TItemCommands::StoreTransforms>);
    add("items.randomise", "Randomize", "Draws other rows for the selected items, after asking.",
        Asked<&TItemCommands::RandomiseGeometry>);
    add("items.reset_sizes", "Reset Size",
        "Takes the size factors of the selected items back, after asking.",
        Asked<&TItemCommands::ResetSizes>);
}

void AddDeltas(TCommandTable& table) {
    table.Add({"items.change",
               "Change Item",
               "Changes one generated item for as long as it exists; what is not named stays.",
               TCommandTarget::kObject,
               {{"id", Kind::kText, "what the item field \"id\" says", true},
                {"delete", Kind::kBool, "whether the item is taken away"},
                {"move", Kind::kPoint, "scene units, in the object's space"},
                {"rotate", Kind::kPoint, "degrees about the object's X, then Y, then Z"},
                {"scale", Kind::kPoint, "factors of width, depth and height"},
                {"row", Kind::kInteger, "row of the geometry list; -1: that of the rules"}},
               ChangeOne});
    table.Add({"items.restore",
               "Restore Items",
               "Takes changes of single generated items back; gives how many.",
               TCommandTarget::kObject,
               {{"ids", Kind::kTexts, "of the items; all when left out"}},
               RestoreItems});
}

}  // namespace

void AddItemCommands(TCommandTable& table) {
    table.Add({"mode.switch",
               "Edit Mode",
               "Freezes the items so that they can be edited one by one, or generates them again; "
               "asks first.",
               TCommandTarget::kObject,
               {{"mode", Kind::kText, "the new mode", true, {"generate", "custom_edit"}}},
               SwitchMode});
    table.Add({"object.create",
               "Create",
               "Makes a scatter object as somebody does with the mouse; gives its node's name.",
               TCommandTarget::kScene,
               {{"creation", Kind::kInteger,
                 "0: at a click; 1: in custom edit mode; 2: with a drag, and no geometry"},
                {"position", Kind::kPoint, "in the world"},
                {"drag", Kind::kReal, "length of the drag, which becomes \"iconsize\""}},
               Create});
    AddSelection(table);
    AddTransforms(table);
    AddListCommands(table);
    AddChanges(table);
    AddDeltas(table);
}
