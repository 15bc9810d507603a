// Commands on the parameters of effects.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/effect_session.h"
#include "Dravin/dravin.h"
#include "Dravin/effects/effect_kinds.h"
#include "Dravin/effects/effect_list.h"
#include "host/base/text.h"
#include "host/io/scene_description.h"
#include "host/params/controller.h"

namespace {

using Kind = TArgumentKind;
using namespace effectParams;

const TArgumentInfo kEffect = EffectArgument();
const TArgumentInfo kParameter = {"parameter", Kind::kText, "its name or id", true};

TEffectParameters& Parameters(const TCommandCall& call) {
    return EffectCommandsOf(*call.object).Parameters();
}

template <class Work>
auto OnParameter(Work work) {
    return [work](TCommandCall& call) {
        TCommandResult result;
        int effect = EffectOfCall(call, &result);
        int row = effect < 0 ? -1 : EffectParameterOfCall(call, effect, &result);
        return row < 0 ? result : work(call, row);
    };
}

TCommandResult Add(TCommandCall& call) {
    TCommandResult result;
    int effect = EffectOfCall(call, &result);
    if (effect < 0) return result;
    TEffectParameters& parameters = Parameters(call);
    std::string id = EffectCommandsOf(*call.object).IdOf(effect), name = call.Text("name");
    if (name.empty()) return TCommandResult::Error("a parameter's name is not empty");
    if (parameters.FindName(id, name) >= 0)
        return TCommandResult::Error(
            fmt::format("the effect has a parameter \"{}\" already", CutText(name, 60)));
    int row = parameters.Add(id, name, EffectKindOfWord(call.Text("kind", "real")));
    return TCommandResult::Value(
        ParamInput(call.object->Block(kEffectParams).GetString(kEfpaid, 0, row)));
}

TCommandResult List(TCommandCall& call) {
    TCommandResult result;
    int effect = EffectOfCall(call, &result);
    if (effect < 0) return result;
    const IParamBlock2& block = call.object->Block(kEffectParams);
    ParamInput::Array rows;
    for (int row : Parameters(call).RowsOf(EffectCommandsOf(*call.object).IdOf(effect))) {
        int kind = EffectKindOfRow(block, row);
        ParamInput::Array cells{ParamInput(block.GetString(kEfpaname, 0, row)),
                                ParamInput(kind < 0 ? "" : kEffectKinds[kind].word)};
        if (kind >= 0 && kEffectKinds[kind].IsNumber())
            cells.emplace_back(Parameters(call).Number(row));
        rows.emplace_back(std::move(cells));
    }
    result.value = ParamInput(std::move(rows));
    return result;
}

// From 0 to 1: a pair of values, or points [x, y] by rising x with straight pieces between.
bool CurveOf(const ParamInput& input, std::vector<CurvePoint>* points) {
    auto number = [](const ParamInput& value, float* out) {
        if (auto* i = std::get_if<int64_t>(&value.value)) return *out = float(*i), true;
        if (auto* d = std::get_if<double>(&value.value)) return *out = float(*d), true;
        return false;
    };
    auto* array = std::get_if<ParamInput::Array>(&input.value);
    if (!array || array->size() < 2) return false;
    for (size_t i = 0; i < array->size(); ++i) {
        CurvePoint p;
        auto* pair = std::get_if<ParamInput::Array>(&(*array)[i].value);
        bool isPoint = pair && pair->size() == 2 && number((*pair)[0], &p.px) &&
                       number((*pair)[1], &p.py) && p.px >= 0 && p.px <= 1;
        p.px = isPoint ? p.px : float(i);
        bool isEnd = !pair && array->size() == 2 && number((*array)[i], &p.py);
        if (!isPoint && !isEnd) return false;
        if (!points->empty() && p.px < points->back().px) return false;
        points->push_back(p);
    }
    return true;
}

// The target that a name means for the parameter.
TCommandResult SetTarget(TCommandCall& call, int row, const TEffectKind& kind) {
    const ParamInput value = call.Value("value");
    if (kind.type == kEffController) {
        TCommandResult result = TCommandResult::Error("a controller takes a number or a point");
        ParamElement element;
        const bool isVector = std::holds_alternative<ParamInput::Array>(value.value);
        const ParamDef def(0, "value", isVector ? ParamType::kPoint3 : ParamType::kFloat);
        if (!ConvertInput(def, value, AssignSource::kScript, {}, &element.value)) return result;
        UndoStep step("Change Parameter");
        Parameters(call).SetTarget(row, std::make_shared<KeyController>(element));
        call.object->Block(kEffectParams)
            .SetValue(kEfpacontype, 0, isVector ? kEffControllerVector : kEffControllerReal, row);
        return {};
    }
    const ParamDef& def = *call.object->Block(kEffectParams).GetDesc().Find(kind.value);
    ParamValue target;
    AssignResult converted =
        ConvertInput(def, value, AssignSource::kScript, ResolverOf(call.scene), &target);
    if (!converted) return TCommandResult::Error(converted.error);
    Parameters(call).SetTarget(row, std::get<std::shared_ptr<ReferenceTarget>>(target));
    return {};
}

TCommandResult SetValue(TCommandCall& call, int row) {
    int k = EffectKindOfRow(call.object->Block(kEffectParams), row);
    if (k < 0) return TCommandResult::Error("the parameter is of no known kind");
    const TEffectKind& kind = kEffectKinds[k];
    if (kind.type == kEffCurve) {
        std::vector<CurvePoint> points;
        if (!CurveOf(call.Value("value"), &points) ||
            !Parameters(call).SetCurve(row, std::move(points)))
            return TCommandResult::Error(
                "a curve takes [start, end], or points [x, y] with x rising from 0 to 1");
        return {};
    }
    if (!kind.IsNumber()) return SetTarget(call, row, kind);
    ParamInput input = call.Value("value");
    if (auto* i = std::get_if<int64_t>(&input.value))
        Parameters(call).SetNumber(row, double(*i));
    else if (auto* d = std::get_if<double>(&input.value))
        Parameters(call).SetNumber(row, *d);
    else
        return TCommandResult::Error("the parameter takes a number");
    return {};
}

bool IsNumber(const TCommandCall& call, int row) {
    int kind = EffectKindOfRow(call.object->Block(kEffectParams), row);
    return kind >= 0 && kEffectKinds[kind].IsNumber();
}

void AddRows(TCommandTable& table) {
    table.Add({"effect.parameter.add",
               "Add Parameter",
               "Appends a parameter to an effect, and gives its id.",
               TCommandTarget::kObject,
               {kEffect,
                {"name", Kind::kText, "how programs call it", true},
                {"kind", Kind::kText, "what it is (default: real)", false, EffectKindWords()}},
               Add});
    table.Add({"effect.parameter.delete",
               "Delete Parameter",
               "Deletes a parameter.",
               TCommandTarget::kObject,
               {kEffect, kParameter},
               OnParameter([](TCommandCall& call, int row) {
                   Parameters(call).Delete({row});
                   return TCommandResult();
               })});
    table.Add({"effect.parameter.move",
               "Move Parameter",
               "Moves a parameter by one row among those of its effect.",
               TCommandTarget::kObject,
               {kEffect, kParameter, {"to", Kind::kText, "where to", true, {"up", "down"}}},
               OnParameter([](TCommandCall& call, int row) {
                   return Parameters(call).Move(row, call.Text("to") == "up")
                              ? TCommandResult()
                              : TCommandResult::Error("the parameter stands at the end");
               })});
    table.Add({"effect.parameter.list",
               "",
               "Gives the parameters of an effect: name, kind and, of numbers, value.",
               TCommandTarget::kObject,
               {kEffect},
               List});
}

void AddValues(TCommandTable& table) {
    table.Add({"effect.parameter.set",
               "Change Parameter",
               "Sets the value of a parameter; numbers are taken into its limits.",
               TCommandTarget::kObject,
               {kEffect,
                kParameter,
                {"value", Kind::kValue,
                 "a number; the name of a node or map, or null; [start, end] or points [x, y] of a "
                 "curve; a number or point of a controller",
                 true}},
               OnParameter(SetValue)});
    table.Add(
        {"effect.parameter.kind",
         "Change Parameter",
         "Makes a parameter of another kind.",
         TCommandTarget::kObject,
         {kEffect, kParameter, {"kind", Kind::kText, "what it becomes", true, EffectKindWords()}},
         OnParameter([](TCommandCall& call, int row) {
             Parameters(call).SetKind(row, EffectKindOfWord(call.Text("kind")));
             return TCommandResult();
         })});
    table.Add({"effect.parameter.rename",
               "Rename Parameter",
               "Gives a parameter another name.",
               TCommandTarget::kObject,
               {kEffect, kParameter, {"name", Kind::kText, "how programs call it", true}},
               OnParameter([](TCommandCall& call, int row) {
                   if (call.Text("name").empty())
                       return TCommandResult::Error("a parameter's name is not empty");
                   Parameters(call).SetName(row, call.Text("name"));
                   return TCommandResult();
               })});
    table.Add({"effect.parameter.describe",
               "Describe Parameter",
               "Sets the description that help shows.",
               TCommandTarget::kObject,
               {kEffect, kParameter, {"text", Kind::kText, "the description", true}},
               OnParameter([](TCommandCall& call, int row) {
                   Parameters(call).SetDescription(row, call.Text("text"));
                   return TCommandResult();
               })});
    table.Add({"effect.parameter.help",
               "",
               "Shows the description of a parameter.",
               TCommandTarget::kObject,
               {kEffect, kParameter},
               OnParameter([](TCommandCall& call, int row) {
                   EffectCommandsOf(*call.object).ShowDescription(row);
                   return TCommandResult();
               })});
}

void AddNumbers(TCommandTable& table) {
    table.Add({"effect.parameter.limit",
               "Limit Parameter",
               "Sets the limits of a number, and takes it into them.",
               TCommandTarget::kObject,
               {kEffect,
                kParameter,
                {"min", Kind::kReal, "lower limit", true},
                {"max", Kind::kReal, "upper limit", true},
                {"on", Kind::kBool, "false keeps them without effect"}},
               OnParameter([](TCommandCall& call, int row) {
                   if (!IsNumber(call, row)) return TCommandResult::Error("it is no number");
                   Parameters(call).SetLimits(row, call.Bool("on", true), call.Real("min"),
                                              call.Real("max"));
                   return TCommandResult();
               })});
    table.Add({"effect.parameter.default",
               "Change Default",
               "Sets the default of a number.",
               TCommandTarget::kObject,
               {kEffect, kParameter, {"value", Kind::kReal, "a number", true}},
               OnParameter([](TCommandCall& call, int row) {
                   if (!IsNumber(call, row)) return TCommandResult::Error("it is no number");
                   Parameters(call).SetDefault(row, call.Real("value"));
                   return TCommandResult();
               })});
    table.Add({"effect.parameter.reset",
               "Change Parameter",
               "Gives a number its default.",
               TCommandTarget::kObject,
               {kEffect, kParameter},
               OnParameter([](TCommandCall& call, int row) {
                   if (!IsNumber(call, row)) return TCommandResult::Error("it is no number");
                   Parameters(call).ResetToDefault(row);
                   return TCommandResult();
               })});
    table.Add({"effect.parameter.clear",
               "Clear Texture",
               "Clears the texture map of a parameter.",
               TCommandTarget::kObject,
               {kEffect, kParameter},
               OnParameter([](TCommandCall& call, int row) {
                   EffectCommandsOf(*call.object).ClearTextures({row});
                   return TCommandResult();
               })});
}

}  // namespace

void AddEffectParameterCommands(TCommandTable& table) {
    AddRows(table);
    AddValues(table);
    AddNumbers(table);
}
