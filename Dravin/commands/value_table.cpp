#include <fmt/format.h>

#include "Dravin/commands/value_commands.h"
#include "Dravin/materials/scene_looks.h"
#include "host/base/text.h"
#include "host/io/scene_description.h"
#include "host/scene/class_values.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;

std::optional<NamedValue> ValueOfCall(const TValueTopic& topic, TCommandCall& call,
                                      TCommandResult* result) {
    std::string name = call.Text("name");
    std::vector<std::string> names;
    for (const auto& thing : topic.things(call, result)) {
        if (auto found = FindValue(*thing, name)) return found;
        for (std::string& other : ValueNamesOf(*thing)) names.push_back(std::move(other));
    }
    if (*result)
        result->error = fmt::format("no parameter is named \"{}\"{}", CutText(name, 60),
                                    DidYouMean(name, names));
    return std::nullopt;
}

TCommandResult Set(const TValueTopic& topic, TCommandCall& call) {
    TCommandResult result;
    std::optional<NamedValue> value = ValueOfCall(topic, call, &result);
    if (!value) return result;
    NameResolver names = ResolverOf(call.scene);
    TimeValue t = call.scene.GetTime();
    ParamInput input = call.Value("value");
    AssignResult assigned = call.Has("row")
                                ? value->table.Assign(*value->def, call.Int("row"), input, t, names)
                                : value->table.Assign(*value->def, input, t, names);
    result.error = std::move(assigned.error);
    result.warnings = std::move(assigned.warnings);
    return result;
}

TCommandResult Reset(const TValueTopic& topic, TCommandCall& call) {
    TCommandResult result;
    std::optional<NamedValue> value = ValueOfCall(topic, call, &result);
    if (!value) return result;
    if (value->def->readOnly) return TCommandResult::Error("the parameter is read-only");
    value->table.Reset(value->def->id);
    return result;
}

ParamInput InputOf(const Scene& scene, const ParamDef& def, const ParamValue& value) {
    auto triple = [](double a, double b, double c) {
        return ParamInput(ParamInput::Array{a, b, c});
    };
    if (auto* integer = std::get_if<int32_t>(&value))
        return def.type == ParamType::kBool ? ParamInput(*integer != 0) : ParamInput(*integer);
    if (auto* number = std::get_if<float>(&value)) return ParamInput(double(*number));
    if (auto* text = std::get_if<std::string>(&value)) return ParamInput(*text);
    if (auto* p = std::get_if<Point3>(&value)) return triple(p->x, p->y, p->z);
    if (auto* c = std::get_if<Color>(&value)) return triple(c->r, c->g, c->b);
    auto& target = std::get<std::shared_ptr<ReferenceTarget>>(value);
    return target ? ParamInput(LookName(scene, target.get())) : ParamInput();
}

TCommandResult Values(const TValueTopic& topic, TCommandCall& call) {
    TCommandResult result;
    ParamInput::Array all;
    TimeValue t = call.scene.GetTime();
    for (const auto& thing : topic.things(call, &result))
        for (const ValueTable& table : ValueTablesOf(*thing))
            for (const ParamDef& def : table.Desc().params) {
                ParamInput::Array elements;
                for (int i = 0; i < table.Count(def.id); ++i)
                    elements.push_back(InputOf(call.scene, def, table.Get(def.id, t, i)));
                ParamInput value = def.list ? ParamInput(std::move(elements)) : elements.at(0);
                all.push_back(ParamInput(ParamInput::Array{def.name, std::move(value)}));
            }
    result.value = ParamInput(std::move(all));
    return result;
}

}  // namespace

void AddValueCommands(TCommandTable& table, const TValueTopic& topic) {
    std::string meaning = topic.nameMeaning;
    if (size_t at = meaning.find("NAME"); at != std::string::npos)
        meaning.replace(at, 4, topic.name);
    TArgumentInfo name{"name", Kind::kText, meaning, true};
    auto with = [&topic](std::vector<TArgumentInfo> more) {
        std::vector<TArgumentInfo> all = topic.leading;
        all.insert(all.end(), more.begin(), more.end());
        return all;
    };
    auto on = [topic](auto run) {
        return [topic, run](TCommandCall& call) { return run(topic, call); };
    };
    table.Add({topic.name + ".set", "Set " + topic.title,
               "Sets a parameter; numbers out of range are clamped with a warning.", topic.target,
               with({name,
                     {"value", Kind::kValue, "a value, for lists an array of them", true},
                     {"row", Kind::kInteger, "element of a list to set alone, from 0"}}),
               on(Set)});
    table.Add({topic.name + ".reset", "Reset " + topic.title,
               "Gives a parameter its default; lists become empty, keys go.", topic.target,
               with({name}), on(Reset)});
    table.Add({topic.name + ".values", "", "Gives all parameters: name and value of each.",
               topic.target, topic.leading, on(Values)});
}
