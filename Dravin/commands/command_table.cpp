#include "Dravin/commands/command_table.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "Dravin/dravin.h"
#include "host/base/text.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

using Array = ParamInput::Array;

std::optional<double> NumberOf(const ParamInput& input) {
    if (auto* i = std::get_if<int64_t>(&input.value)) return double(*i);
    if (auto* d = std::get_if<double>(&input.value))
        if (std::isfinite(*d)) return *d;
    return std::nullopt;
}

bool IsInteger(const ParamInput& input) {
    std::optional<double> number = NumberOf(input);
    return number && *number == std::floor(*number) && *number >= std::numeric_limits<int>::min() &&
           *number <= std::numeric_limits<int>::max();
}

bool IsReal(const ParamInput& input) { return NumberOf(input).has_value(); }

bool IsText(const ParamInput& input) { return std::holds_alternative<std::string>(input.value); }

bool IsBool(const ParamInput& input) {
    return std::holds_alternative<bool>(input.value) || IsInteger(input);
}

template <class Test>
bool IsListOf(const ParamInput& input, const Test& test) {
    auto* array = std::get_if<Array>(&input.value);
    return array ? std::all_of(array->begin(), array->end(), test) : test(input);
}

bool Fits(TArgumentKind kind, const ParamInput& input) {
    switch (kind) {
        case TArgumentKind::kBool:
            return IsBool(input);
        case TArgumentKind::kInteger:
            return IsInteger(input);
        case TArgumentKind::kReal:
            return IsReal(input);
        case TArgumentKind::kText:
            return IsText(input);
        case TArgumentKind::kPoint: {
            auto* array = std::get_if<Array>(&input.value);
            return array && array->size() == 3 && std::all_of(array->begin(), array->end(), IsReal);
        }
        case TArgumentKind::kIntegers:
            return IsListOf(input, IsInteger);
        case TArgumentKind::kReals:
            return IsListOf(input, IsReal);
        case TArgumentKind::kTexts:
            return IsListOf(input, IsText);
        case TArgumentKind::kValue:
            return true;
    }
    return false;
}

std::string JoinQuoted(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += fmt::format("{}\"{}\"", text.empty() ? "" : ", ", name);
    return text;
}

// Empty when the arguments are what the command takes.
std::string CheckArguments(const TCommand& command, const TArguments& arguments) {
    std::vector<std::string> known;
    for (const TArgumentInfo& info : command.arguments) {
        known.push_back(info.name);
        auto it = arguments.find(info.name);
        if (it == arguments.end()) {
            if (info.isRequired)
                return fmt::format("{}: \"{}\" is missing: {}", command.name, info.name,
                                   info.meaning);
            continue;
        }
        if (!Fits(info.kind, it->second))
            return fmt::format("{}: \"{}\" takes {}: {}", command.name, info.name,
                               ArgumentKindName(info.kind), info.meaning);
        if (info.choices.empty()) continue;
        const auto& text = std::get<std::string>(it->second.value);
        if (std::find(info.choices.begin(), info.choices.end(), text) == info.choices.end())
            return fmt::format("{}: \"{}\" is none of {}{}", command.name, text,
                               JoinQuoted(info.choices), DidYouMean(text, info.choices));
    }
    for (const auto& [name, value] : arguments)
        if (std::find(known.begin(), known.end(), name) == known.end())
            return fmt::format("{}: it takes no \"{}\"{}", command.name, name,
                               DidYouMean(name, known));
    return {};
}

std::vector<INode*> ObjectNodes(const Scene& scene) {
    std::vector<INode*> nodes;
    for (INode* node : scene.Nodes())
        if (dynamic_cast<TDravin*>(node->GetObjectRef())) nodes.push_back(node);
    return nodes;
}

std::vector<std::string> NamesOf(const std::vector<INode*>& nodes) {
    std::vector<std::string> names;
    for (INode* node : nodes) names.push_back(node->GetName());
    return names;
}

// The node that a call works on; null with the reason in `error`.
INode* FindTarget(const TCommand& command, const Scene& scene, const std::string& name,
                  std::string* error) {
    bool isObject = command.target == TCommandTarget::kObject;
    std::vector<INode*> nodes = isObject ? ObjectNodes(scene) : scene.Nodes();
    if (name.empty() && isObject && nodes.size() == 1) return nodes[0];
    for (INode* node : nodes)
        if (!name.empty() && node->GetName() == name) return node;
    const char* what = isObject ? "scatter object" : "node";
    if (!name.empty())
        *error = fmt::format("{}: the scene has no {} \"{}\"{}", command.name, what, name,
                             DidYouMean(name, NamesOf(nodes)));
    else if (isObject && !nodes.empty())
        *error = fmt::format("{}: the scene has several scatter objects; name one of {}",
                             command.name, JoinQuoted(NamesOf(nodes)));
    else
        *error = isObject ? fmt::format("{}: the scene has no scatter object", command.name)
                          : fmt::format("{}: it wants the name of a node", command.name);
    return nullptr;
}

}  // namespace

TCommandResult TCommandResult::Error(std::string text) {
    TCommandResult result;
    result.error = std::move(text);
    return result;
}

TCommandResult TCommandResult::Value(ParamInput value) {
    TCommandResult result;
    result.value = std::move(value);
    return result;
}

const ParamInput* TCommandCall::Find(std::string_view name) const {
    auto it = m_arguments.find(std::string(name));
    return it == m_arguments.end() ? nullptr : &it->second;
}

bool TCommandCall::Bool(std::string_view name, bool missing) const {
    const ParamInput* input = Find(name);
    if (!input) return missing;
    auto* truth = std::get_if<bool>(&input->value);
    return truth ? *truth : *NumberOf(*input) != 0;
}

int TCommandCall::Int(std::string_view name, int missing) const {
    const ParamInput* input = Find(name);
    return input ? int(*NumberOf(*input)) : missing;
}

double TCommandCall::Real(std::string_view name, double missing) const {
    const ParamInput* input = Find(name);
    return input ? *NumberOf(*input) : missing;
}

std::string TCommandCall::Text(std::string_view name, const std::string& missing) const {
    const ParamInput* input = Find(name);
    return input ? std::get<std::string>(input->value) : missing;
}

Point3 TCommandCall::Point(std::string_view name, const Point3& missing) const {
    if (!Has(name)) return missing;
    std::vector<double> numbers = Reals(name);
    return {float(numbers[0]), float(numbers[1]), float(numbers[2])};
}

std::vector<int> TCommandCall::Ints(std::string_view name) const {
    std::vector<int> values;
    for (double number : Reals(name)) values.push_back(int(number));
    return values;
}

std::vector<double> TCommandCall::Reals(std::string_view name) const {
    const ParamInput* input = Find(name);
    if (!input) return {};
    auto* array = std::get_if<Array>(&input->value);
    if (!array) return {*NumberOf(*input)};
    std::vector<double> values;
    for (const ParamInput& element : *array) values.push_back(*NumberOf(element));
    return values;
}

std::vector<std::string> TCommandCall::Texts(std::string_view name) const {
    const ParamInput* input = Find(name);
    if (!input) return {};
    auto* array = std::get_if<Array>(&input->value);
    if (!array) return {std::get<std::string>(input->value)};
    std::vector<std::string> values;
    for (const ParamInput& element : *array) values.push_back(std::get<std::string>(element.value));
    return values;
}

ParamInput TCommandCall::Value(std::string_view name) const {
    const ParamInput* input = Find(name);
    return input ? *input : ParamInput();
}

void TCommandTable::Add(TCommand command) {
    std::string name = command.name;
    m_commands.emplace(std::move(name), std::move(command));
}

const TCommand* TCommandTable::Find(const std::string& name) const {
    auto it = m_commands.find(name);
    return it == m_commands.end() ? nullptr : &it->second;
}

const TCommand* TCommandTable::Prepare(const std::string& name, const std::string& target,
                                       TCommandCall& call, std::string* error) const {
    const TCommand* command = Find(name);
    if (!command) {
        std::vector<std::string> names;
        for (const auto& entry : m_commands) names.push_back(entry.first);
        *error = fmt::format("no command is named \"{}\"{}", name, DidYouMean(name, names));
        return nullptr;
    }
    *error = CheckArguments(*command, call.m_arguments);
    if (!error->empty()) return nullptr;
    if (command->target == TCommandTarget::kScene) return command;
    call.node = FindTarget(*command, call.scene, target, error);
    if (!call.node) return nullptr;
    call.object = dynamic_cast<TDravin*>(call.node->GetObjectRef());
    return command;
}

TCommandResult TCommandTable::Run(const std::string& name, Scene& scene, const std::string& target,
                                  const TArguments& arguments) const {
    TCommandCall call(scene, arguments);
    std::string error;
    const TCommand* command = Prepare(name, target, call, &error);
    if (!command) return TCommandResult::Error(std::move(error));
    if (command->isEnabled && !command->isEnabled(call))
        return TCommandResult::Error(fmt::format("{}: it cannot be done now", name));
    HostContext* host = HostContext::Current();
    bool isStep = host && !command->label.empty();
    if (isStep) host->Undo().SuperBegin();
    TCommandResult result = command->run(call);
    if (!result) result.error = fmt::format("{}: {}", name, result.error);
    if (isStep) result ? host->Undo().SuperAccept(command->label) : host->Undo().SuperCancel();
    return result;
}

bool TCommandTable::IsEnabled(const std::string& name, Scene& scene, const std::string& target,
                              const TArguments& arguments) const {
    TCommandCall call(scene, arguments);
    std::string error;
    const TCommand* command = Prepare(name, target, call, &error);
    return command && (!command->isEnabled || command->isEnabled(call));
}

std::string_view ArgumentKindName(TArgumentKind kind) {
    switch (kind) {
        case TArgumentKind::kBool:
            return "true or false";
        case TArgumentKind::kInteger:
            return "a whole number";
        case TArgumentKind::kReal:
            return "a number";
        case TArgumentKind::kText:
            return "text";
        case TArgumentKind::kPoint:
            return "three numbers [x, y, z]";
        case TArgumentKind::kIntegers:
            return "a list of whole numbers";
        case TArgumentKind::kReals:
            return "a list of numbers";
        case TArgumentKind::kTexts:
            return "a list of texts";
        case TArgumentKind::kValue:
            return "a value";
    }
    return "";
}
