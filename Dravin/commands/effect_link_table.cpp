// What the effects editor and the library browser ask for, by name.
#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/effect_session.h"
#include "Dravin/config/version.h"
#include "Dravin/dravin.h"
#include "Dravin/effects/effect_kinds.h"
#include "Dravin/effects/effect_link.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;
using namespace effectParams;

const TArgumentInfo kEffect = EffectArgument();
const TArgumentInfo kHandle = {"handle", Kind::kInteger, "of a node of the scene", true};

TQtLink LinkOf(TCommandCall& call) {
    Scene& scene = call.scene;
    return TQtLink(EffectCommandsOf(*call.object), scene,
                   {ProductVersion(), "linux", "Dravin", {}, [&scene] { MarkAllEffects(scene); }});
}

// A row a parameter: id, name, kind, and numbers as windows show them.
ParamInput ValueRow(const TEffectParameterRecord& record) {
    ParamInput::Array row{ParamInput(record.id), ParamInput(record.name)};
    for (const TEffectKind& kind : kEffectKinds) {
        bool isKind =
            kind.type == record.kind && (!kind.IsNumber() || kind.numType == record.numberKind);
        if (!isKind) continue;
        row.emplace_back(kind.word);
        auto value = record.values.find(kind.value);
        if (value == record.values.end()) continue;
        if (auto* i = std::get_if<int32_t>(&value->second.value))
            row.emplace_back(LinkNumberText(*i));
        if (auto* f = std::get_if<float>(&value->second.value)) row.emplace_back(double(*f));
    }
    return ParamInput(std::move(row));
}

TCommandResult Info(TCommandCall& call) {
    ParamInput::Array pairs;
    for (const auto& [key, text] : LinkOf(call).Description())
        pairs.emplace_back(ParamInput::Array{ParamInput(key), ParamInput(text)});
    return TCommandResult::Value(ParamInput(std::move(pairs)));
}

TCommandResult Values(TCommandCall& call) {
    TCommandResult result;
    int row = EffectOfCall(call, &result);
    if (row < 0) return result;
    TQtLink link = LinkOf(call);
    if (!link.Begin(EffectCommandsOf(*call.object).IdOf(row), &result.error)) return result;
    if (call.Bool("reset")) link.ResetValues();
    ParamInput::Array rows;
    for (const TEffectParameterRecord& record : link.Values()) rows.push_back(ValueRow(record));
    result.value = ParamInput(std::move(rows));
    return result;
}

TCommandResult Update(TCommandCall& call) {
    TCommandResult result;
    int effect = EffectOfCall(call, &result);
    if (effect < 0) return result;
    TEffectCommands& effects = EffectCommandsOf(*call.object);
    TEffectParameterRecord record;
    int row = effects.FindParameter(call.Text("id"));
    if (row >= 0) record = effects.ReadParameter(row);
    record.id = call.Text("id");
    record.effectId = effects.IdOf(effect);
    record.name = call.Text("name", record.name);
    record.description = call.Text("description", record.description);
    if (row < 0 || call.Has("kind")) {
        const TEffectKind& kind = kEffectKinds[EffectKindOfWord(call.Text("kind", "real"))];
        record.kind = kind.type, record.numberKind = kind.numType;
    }
    LinkOf(call).UpdateParameter(record, &result.error);
    return result;
}

TCommandResult NodeName(TCommandCall& call) {
    TCommandResult result;
    auto name = LinkOf(call).NodeName(uint32_t(call.Int("handle")), &result.error);
    if (name) result.value = ParamInput(*name);
    return result;
}

TCommandResult SetField(TCommandCall& call) {
    TCommandResult result;
    LinkOf(call).SetNodeField(uint32_t(call.Int("handle")), call.Text("field"), call.Text("text"),
                              &result.error);
    return result;
}

}  // namespace

void AddEffectLinkCommands(TCommandTable& table) {
    table.Add({"effect.link.info",
               "",
               "Gives what windows are told: platform, renderer, version.",
               TCommandTarget::kObject,
               {},
               Info});
    table.Add({"effect.link.values",
               "",
               "Gives the parameters of an effect as a window edits them: id, name, kind, number.",
               TCommandTarget::kObject,
               {kEffect, {"reset", Kind::kBool, "true: as they are before values are known"}},
               Values});
    table.Add({"effect.link.update",
               "Change Parameter",
               "Adds a parameter to an effect, or changes the one of that id.",
               TCommandTarget::kObject,
               {kEffect,
                {"id", Kind::kText, "of the parameter", true},
                {"name", Kind::kText, "how programs call it"},
                {"kind", Kind::kText, "what it is", false, EffectKindWords()},
                {"description", Kind::kText, "for help"}},
               Update});
    table.Add({"effect.link.curves",
               "Store Curves",
               "Writes the curves of effects into their parameters.",
               TCommandTarget::kObject,
               {},
               [](TCommandCall& call) {
                   LinkOf(call).StoreCurves();
                   return TCommandResult();
               }});
    table.Add({"effect.link.node",
               "",
               "Gives the name of a node.",
               TCommandTarget::kObject,
               {kHandle},
               NodeName});
    table.Add({"effect.link.field",
               "Change Node",
               "Sets a field of a node.",
               TCommandTarget::kObject,
               {kHandle,
                {"field", Kind::kText, "\"name\", or one of its user properties", true},
                {"text", Kind::kText, "its new text", true}},
               SetField});
}
