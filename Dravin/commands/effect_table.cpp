// Commands on the effects of a scatter object: the list, each effect, and the windows.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/effect_session.h"
#include "Dravin/config/effect_library.h"
#include "Dravin/dravin.h"
#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/effect_list.h"
#include "host/base/file_input.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;
using namespace effectParams;

const TArgumentInfo kEffect = EffectArgument();

TEffectCommands& Effects(const TCommandCall& call) { return EffectCommandsOf(*call.object); }

// Runs `work` on the effect that a call names, which it selects.
template <class Work>
auto OnEffect(Work work) {
    return [work](TCommandCall& call) {
        TCommandResult result;
        int row = EffectOfCall(call, &result);
        if (row < 0) return result;
        Effects(call).Rows().Select({row});
        return work(call, row);
    };
}

TCommandResult DoneOr(bool done, const char* why) {
    return done ? TCommandResult() : TCommandResult::Error(why);
}

// What a call brings for an effect: "program", "library" or "file"; none: nothing.
std::optional<std::string> TextOfCall(const TCommandCall& call, std::string* error) {
    if (call.Has("program")) return call.Text("program");
    std::string path = call.Text("file");
    if (call.Has("library") && !FindShippedEffect(call.Text("library"), &path, error)) return {};
    if (path.empty()) return {};
    return ReadWholeFile(path, kMaxEffectBytes, error);
}

TCommandResult Take(TCommandCall& call, int row) {
    TCommandResult result;
    std::optional<std::string> text = TextOfCall(call, &result.error);
    if (!result) return result;
    if (text && IsEffectDefinition(*text)) {
        if (!ReadEffectDefinition(*text, &result.error)) return result;
        Effects(call).TakeDefinition(row, *text);
    } else if (text) {
        Effects(call).SetText(row, *text);
    }
    if (call.Has("name")) Effects(call).Rename(row, call.Text("name"));
    return result;
}

TCommandResult Add(TCommandCall& call) {
    std::optional<int> row = Effects(call).Add();
    if (!row) return TCommandResult::Error("the list of effects is locked");
    TCommandResult result = Take(call, *row);
    if (result) result.value = ParamInput(Effects(call).IdOf(*row));
    return result;
}

TCommandResult List(TCommandCall& call) {
    const IParamBlock2& block = call.object->Block(kEffectParams);
    ParamInput::Array names;
    for (int i = 0; i < block.Count(kEfnamelist); ++i)
        names.emplace_back(block.GetString(kEfnamelist, 0, i));
    return TCommandResult::Value(ParamInput(std::move(names)));
}

TCommandResult Errors(TCommandCall& call) {
    ParamInput::Array texts;
    for (const TEffectError& error :
         FindEffectErrors(call.object->Block(kEffectParams),
                          call.object->CurveSet(kSlotEffectCurves), call.scene.GetTime()))
        texts.emplace_back(fmt::format("{}: {}", error.effectName, error.text));
    return TCommandResult::Value(ParamInput(std::move(texts)));
}

void AddList(TCommandTable& table) {
    const std::vector<TArgumentInfo> sources = {
        {"name", Kind::kText,
         "of the effect (default: of the definition, else \"Effect\" and a number)"},
        {"program", Kind::kText, "program text, or a definition"},
        {"library", Kind::kText,
         "an effect that ships with the product (see dravin effect --list)"},
        {"file", Kind::kText, "of a program or definition"}};
    table.Add({"effect.add", "Add Effect", "Appends an effect, and gives its id.",
               TCommandTarget::kObject, sources, Add});
    std::vector<TArgumentInfo> withEffect = sources;
    withEffect.insert(withEffect.begin(), kEffect);
    table.Add({"effect.load", "Load Effect",
               "Gives an effect another program, with the parameters that it lacks.",
               TCommandTarget::kObject, withEffect, OnEffect(Take)});
    table.Add({"effect.delete",
               "Delete Effect",
               "Deletes an effect with its parameters.",
               TCommandTarget::kObject,
               {kEffect},
               OnEffect([](TCommandCall& call, int) {
                   return DoneOr(Effects(call).Delete(), "the list of effects is locked");
               })});
    table.Add({"effect.up",
               "Move Effect",
               "Moves an effect one row up.",
               TCommandTarget::kObject,
               {kEffect},
               OnEffect([](TCommandCall& call, int) {
                   return DoneOr(Effects(call).MoveUp(), "the effect cannot move up");
               })});
    table.Add({"effect.down",
               "Move Effect",
               "Moves an effect one row down.",
               TCommandTarget::kObject,
               {kEffect},
               OnEffect([](TCommandCall& call, int) {
                   return DoneOr(Effects(call).MoveDown(), "the effect cannot move down");
               })});
    table.Add(
        {"effect.list", "", "Gives the names of the effects.", TCommandTarget::kObject, {}, List});
    table.Add({"effect.errors",
               "",
               "Gives why effects do not compile.",
               TCommandTarget::kObject,
               {},
               Errors});
}

void AddSingle(TCommandTable& table) {
    table.Add({"effect.select",
               "",
               "Selects an effect, which other commands then work on.",
               TCommandTarget::kObject,
               {kEffect},
               OnEffect([](TCommandCall&, int) { return TCommandResult(); })});
    table.Add({"effect.rename",
               "Rename Effect",
               "Gives an effect another name.",
               TCommandTarget::kObject,
               {kEffect, {"name", Kind::kText, "the new name", true}},
               OnEffect([](TCommandCall& call, int row) {
                   Effects(call).Rename(row, call.Text("name"));
                   return TCommandResult();
               })});
    table.Add({"effect.enable",
               "Enable Effect",
               "Switches an effect on or off.",
               TCommandTarget::kObject,
               {kEffect, {"on", Kind::kBool, "false switches it off"}},
               OnEffect([](TCommandCall& call, int row) {
                   Effects(call).SetEnabled(row, call.Bool("on", true));
                   return TCommandResult();
               })});
    table.Add({"effect.program",
               "Edit Effect",
               "Sets the program of an effect; without a text, gives it.",
               TCommandTarget::kObject,
               {kEffect, {"text", Kind::kText, "program text, or a definition"}},
               OnEffect([](TCommandCall& call, int row) {
                   if (!call.Has("text"))
                       return TCommandResult::Value(ParamInput(Effects(call).Program(row)));
                   Effects(call).SetText(row, call.Text("text"));
                   return TCommandResult();
               })});
    table.Add({"effect.mark",
               "",
               "Has the effects of all objects of the scene compiled again.",
               TCommandTarget::kScene,
               {},
               [](TCommandCall& call) {
                   MarkAllEffects(call.scene);
                   return TCommandResult();
               }});
}

void AddWindows(TCommandTable& table) {
    table.Add({"effect.edit",
               "",
               "Opens the effects editor on an effect, or closes it.",
               TCommandTarget::kObject,
               {kEffect},
               OnEffect([](TCommandCall& call, int) {
                   return DoneOr(Effects(call).ToggleEditor(), "the editor stays as it is");
               })});
    table.Add({"effect.browse",
               "",
               "Opens the library browser on an effect, or closes it.",
               TCommandTarget::kObject,
               {kEffect},
               OnEffect([](TCommandCall& call, int) {
                   return DoneOr(Effects(call).ToggleBrowser(), "the browser stays as it is");
               })});
}

}  // namespace

void AddEffectCommands(TCommandTable& table) {
    AddList(table);
    AddSingle(table);
    AddWindows(table);
}
