#include "host/script/script_value.h"

#include <cassert>

#include "host/base/text.h"

namespace {

// Between two of these marks; the reader takes the escapes back.
std::string Quote(std::string_view text, char mark) {
    std::string quoted{mark};
    for (char c : text) {
        char letter = c == '\n' ? 'n' : c == '\r' ? 'r' : c == '\t' ? 't' : c;
        if (letter != c || c == '\\' || c == mark) quoted += '\\';
        quoted += letter;
    }
    return quoted + mark;
}

}  // namespace

std::string ToText(const ScriptValue& value) {
    struct {
        std::string operator()(std::monostate) const { return "undefined"; }
        std::string operator()(bool truth) const { return truth ? "true" : "false"; }
        std::string operator()(int64_t number) const { return std::to_string(number); }
        std::string operator()(double number) const { return FormatNumber(number); }
        std::string operator()(const std::string& text) const { return text; }
    } toText;
    return std::visit(toText, value);
}

ScriptResult ScriptError(std::string reason) {
    assert(!reason.empty());
    return {{}, std::move(reason)};
}

template <class T>
const T& ScriptArguments::Get(size_t i) const {
    assert(i < m_values.size());
    const T* value = std::get_if<T>(&m_values[i]);
    assert(value);
    return *value;
}

template const int64_t& ScriptArguments::Get(size_t) const;
template const double& ScriptArguments::Get(size_t) const;
template const bool& ScriptArguments::Get(size_t) const;
template const std::string& ScriptArguments::Get(size_t) const;

std::string QuoteForScript(std::string_view text) { return Quote(text, '"'); }

std::string NodeForScript(std::string_view name) { return '$' + Quote(name, '\''); }
