#include "apps/dravin/command_values.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/base/text.h"
#include "host/io/description_value.h"

namespace {

bool IsNameCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '.';
}

// Where the next " name=" starts, from `at` on; outside of quotes and brackets.
size_t NextArgument(const std::string& text, size_t at) {
    int depth = 0;
    bool isQuoted = false;
    for (; at < text.size(); ++at) {
        char c = text[at];
        if (isQuoted && c == '\\') {
            ++at;
        } else if (c == '"') {
            isQuoted = !isQuoted;
        } else if (!isQuoted && (c == '[' || c == '{')) {
            ++depth;
        } else if (!isQuoted && (c == ']' || c == '}')) {
            --depth;
        } else if (!isQuoted && depth <= 0 && c == ' ') {
            size_t end = at + 1;
            while (end < text.size() && IsNameCharacter(text[end])) ++end;
            if (end > at + 1 && end < text.size() && text[end] == '=') return at;
        }
    }
    return text.size();
}

ParamInput ValueOf(const std::string& text) {
    DescriptionDocument document("value", text);
    if (!document.Parse()) return text;
    ParamInput input = DescriptionValue(document, document.Root()).AsInput();
    return document.Failed() ? ParamInput(text) : input;
}

nlohmann::json JsonOf(const ParamInput& input) {
    struct {
        nlohmann::json operator()(std::monostate) { return nullptr; }
        nlohmann::json operator()(bool b) { return b; }
        nlohmann::json operator()(int64_t i) { return i; }
        nlohmann::json operator()(double d) { return d; }
        nlohmann::json operator()(const std::string& s) { return s; }
        nlohmann::json operator()(const ParamInput::Array& a) {
            nlohmann::json array = nlohmann::json::array();
            for (const ParamInput& element : a) array.push_back(JsonOf(element));
            return array;
        }
        nlohmann::json operator()(const std::shared_ptr<ReferenceTarget>& target) {
            return target ? nlohmann::json(target->ClassName()) : nlohmann::json();
        }
    } convert;
    return std::visit(convert, input.value);
}

}  // namespace

bool ParseCommandText(const std::string& text, std::string* command, TArguments* arguments,
                      std::string* error) {
    std::string trimmed(Trim(text));
    size_t at = trimmed.find(' ');
    *command = trimmed.substr(0, at);
    if (command->empty()) {
        *error = "the name of a command is missing";
        return false;
    }
    at = std::min(at, trimmed.size());
    std::string rest(Trim(std::string_view(trimmed).substr(at)));
    if (!rest.empty() && NextArgument(" " + rest, 0) != 0) {
        *error = fmt::format("expected NAME=VALUE, found \"{}\"", CutText(rest, 40));
        return false;
    }
    while (at < trimmed.size()) {
        size_t start = trimmed.find_first_not_of(' ', at), equals = trimmed.find('=', start);
        size_t end = NextArgument(trimmed, equals);
        std::string name = trimmed.substr(start, equals - start);
        std::string value(Trim(std::string_view(trimmed).substr(equals + 1, end - equals - 1)));
        if (!arguments->emplace(name, ValueOf(value)).second) {
            *error = fmt::format("\"{}\" is named twice", name);
            return false;
        }
        at = end;
    }
    return true;
}

std::string CommandValueText(const ParamInput& value) {
    auto* text = std::get_if<std::string>(&value.value);
    return text ? *text : JsonOf(value).dump();
}
