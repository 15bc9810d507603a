// Commands on the modifiers of nodes, and on what lights cast shadows by.
#include <algorithm>

#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "host/base/text.h"
#include "host/io/new_entity.h"
#include "host/scene/derived_object.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/scene/shadow_type.h"

namespace {

using Kind = TArgumentKind;

// A new object of a public class by its name for scripts; null with the reason in the result.
std::shared_ptr<ReferenceTarget> Make(SuperClass super, const std::string& name,
                                      TCommandResult* result) {
    ClassRegistry& classes = HostContext::Current()->classes;
    std::vector<std::string> names;
    for (const ClassDesc* desc : classes.OfSuperClass(super))
        if (desc->isPublic) names.push_back(desc->internalName);
    const ClassDesc* desc = classes.Find(super, name);
    if (desc && desc->isPublic) return NewEntity(*desc);
    result->error = fmt::format("there is no class \"{}\"{}; there are {}", CutText(name, 60),
                                DidYouMean(name, names), fmt::join(names, ", "));
    return nullptr;
}

DerivedObject* StackOf(TCommandCall& call) {
    return dynamic_cast<DerivedObject*>(call.node->GetObjectRef());
}

// Rows count from the uppermost modifier, places from the base object. -1 with the reason.
int PlaceOfCall(TCommandCall& call, TCommandResult* result) {
    DerivedObject* stack = StackOf(call);
    int count = stack ? stack->NumModifiers() : 0, row = call.Int("row");
    if (row >= 0 && row < count) return count - 1 - row;
    result->error =
        fmt::format("\"{}\" has no modifier {} of {}", call.node->GetName(), row, count);
    return -1;
}

TCommandResult Add(TCommandCall& call) {
    TCommandResult result;
    auto made = Make(SuperClass::kModifier, call.Text("class"), &result);
    auto modifier = std::dynamic_pointer_cast<Modifier>(made);
    if (!modifier) return result;
    DerivedObject* stack = StackOf(call);
    std::shared_ptr<Object> base = call.node->ShareObjectRef();
    Object* changed = stack ? stack->Base() : base.get();
    if (!changed || !modifier->Takes(*changed))
        return TCommandResult::Error(fmt::format("\"{}\" is nothing that {} could change",
                                                 call.node->GetName(), modifier->ClassName()));
    if (stack) {
        stack->InsertModifier(stack->NumModifiers(), modifier);
    } else {
        auto derived = std::make_shared<DerivedObject>();
        derived->SetBase(base);
        derived->InsertModifier(0, modifier);
        call.node->SetObjectRef(derived);
    }
    result.value = ParamInput(0);
    return result;
}

TCommandResult Delete(TCommandCall& call) {
    TCommandResult result;
    int place = PlaceOfCall(call, &result);
    if (place < 0) return result;
    DerivedObject* stack = StackOf(call);
    stack->RemoveModifier(place);
    // Without modifiers the node shows its object itself.
    if (stack->NumModifiers() == 0)
        call.node->SetObjectRef(
            std::static_pointer_cast<Object>(stack->Base()->shared_from_this()));
    return result;
}

TCommandResult Move(TCommandCall& call, int by) {
    TCommandResult result;
    int place = PlaceOfCall(call, &result);
    if (place < 0) return result;
    DerivedObject* stack = StackOf(call);
    int to = place + by;
    if (to >= 0 && to < stack->NumModifiers()) {
        auto modifier =
            std::static_pointer_cast<Modifier>(stack->GetModifier(place)->shared_from_this());
        stack->RemoveModifier(place);
        stack->InsertModifier(to, modifier);
    } else {
        to = place;
    }
    result.value = ParamInput(stack->NumModifiers() - 1 - to);
    return result;
}

TCommandResult SetShadowType(TCommandCall& call) {
    TCommandResult result;
    Object* object = call.node->GetObjectRef();
    if (auto* stack = StackOf(call)) object = stack->Base();
    auto* light = dynamic_cast<LightObject*>(object);
    if (!light)
        return TCommandResult::Error(fmt::format("\"{}\" is no light", call.node->GetName()));
    std::shared_ptr<ShadowType> type;
    if (call.Has("class")) {
        type = std::dynamic_pointer_cast<ShadowType>(
            Make(SuperClass::kShadowType, call.Text("class"), &result));
        if (!type) return result;
    }
    light->shadowType = type;
    return result;
}

}  // namespace

void AddStackCommands(TCommandTable& table) {
    TArgumentInfo row{"row", Kind::kInteger, "its number from 0, the uppermost", true};
    table.Add({"modifier.add",
               "Add Modifier",
               "Puts a modifier on top of a node's object, and gives its number.",
               TCommandTarget::kNode,
               {{"class", Kind::kText, "by its name for scripts, such as \"DravinLeaf\"", true}},
               Add});
    table.Add({"modifier.delete",
               "Delete Modifier",
               "Takes a modifier off a node's object.",
               TCommandTarget::kNode,
               {row},
               Delete});
    table.Add({"modifier.up",
               "Move Modifier",
               "Moves a modifier up by one, and gives its number.",
               TCommandTarget::kNode,
               {row},
               [](TCommandCall& call) { return Move(call, 1); }});
    table.Add({"modifier.down",
               "Move Modifier",
               "Moves a modifier down by one, and gives its number.",
               TCommandTarget::kNode,
               {row},
               [](TCommandCall& call) { return Move(call, -1); }});
    table.Add({"light.shadow_type",
               "Shadow Type",
               "Chooses what a light casts shadows by where they are drawn into maps.",
               TCommandTarget::kNode,
               {{"class", Kind::kText,
                 "by its name for scripts, such as \"shadow_map\" (default: none, a plain map)"}},
               SetShadowType});
}
