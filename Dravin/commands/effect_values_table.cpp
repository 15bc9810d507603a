// What the lines of an effect compute, for a fresh item or for one of the last build.
#include <fmt/format.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/effect_check.h"
#include "Dravin/commands/effect_session.h"
#include "Dravin/dravin.h"
#include "Dravin/effects/item_probe.h"
#include "Dravin/engine/item_deltas.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;

// The item that a call means: its id as text, or its place in the list of items. Builds the object
// where it has not been yet.
std::optional<TItemId> ItemOfCall(TCommandCall& call, TCommandResult* result) {
    TDravinBuild& build = call.object->Build();
    if (!build.Input()) {
        TBuildFlags flags;
        flags.noMesh = true;
        build.BuildMesh(call.scene.GetTime(), flags);
    }
    const ParamInput given = call.Value("item");
    if (auto* text = std::get_if<std::string>(&given.value)) {
        std::optional<TItemId> id = ParseItemId(*text);
        if (!id) *result = TCommandResult::Error(fmt::format("\"{}\" is no id of an item", *text));
        return id;
    }
    auto* number = std::get_if<int64_t>(&given.value);
    bool isThere = number && build.Input() && *number >= 0 &&
                   uint64_t(*number) < uint64_t(build.Items().Count());
    if (isThere) return build.Items().Item(size_t(*number)).id;
    *result = TCommandResult::Error(
        fmt::format("\"item\" takes an id, or a number from 0 to {}; the object has {} items",
                    int64_t(build.Items().Count()) - 1, build.Items().Count()));
    return std::nullopt;
}

TCommandResult Values(TCommandCall& call) {
    TCommandResult result;
    int row = EffectOfCall(call, &result);
    if (row < 0) return result;
    TEffectCommands& effects = EffectCommandsOf(*call.object);
    std::string id = effects.IdOf(row);
    std::string program = call.Text("program", effects.Program(row));
    std::vector<TEffectVariable> variables = ReadEffectVariables(call.scene, *call.object, id);
    if (auto fault = CheckEffectProgram(variables, program))
        return TCommandResult::Error(fmt::format("line {}: {}", fault->line, fault->message));
    std::vector<TLineValue> values;
    if (call.Has("item")) {
        std::optional<TItemId> item = ItemOfCall(call, &result);
        if (!item) return result;
        auto found = FindTriedItem(*call.object, id, *item);
        if (!found)
            return TCommandResult::Error(
                fmt::format("the item {} does not come to this effect", ItemIdText(*item)));
        values = TryEffectProgram(variables, program, *call.object, *found);
    } else {
        values = TryEffectProgram(variables, program);
    }
    ParamInput::Array lines;
    for (const TLineValue& value : values)
        lines.emplace_back(fmt::format("{}: {}", value.line, value.text));
    return TCommandResult::Value(ParamInput(std::move(lines)));
}

}  // namespace

void AddEffectValueCommands(TCommandTable& table) {
    table.Add({"effect.values",
               "",
               "Gives what each line of an effect computes, for a fresh item at the origin or for "
               "an item of the last build.",
               TCommandTarget::kObject,
               {EffectArgument(),
                {"item", Kind::kValue,
                 "id, or place in the list of items from 0; missing: a fresh one, for which maps "
                 "are black and curves 0"},
                {"program", Kind::kText, "to be tried in place of the effect's own"}},
               Values});
}
