// Values that go into and come out of script commands.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

// Undefined, a truth, a whole number, a number, a text.
using ScriptValue = std::variant<std::monostate, bool, int64_t, double, std::string>;

// What a user reads: "undefined", "true", "4", "0.5", the text itself.
std::string ToText(const ScriptValue& value);

// A value, or an error where there is a text for one.
struct ScriptResult {
    ScriptValue value;
    std::string error;

    bool IsError() const { return !error.empty(); }
    std::string Text() const { return ToText(value); }
};

// reason: not empty.
ScriptResult ScriptError(std::string reason);

// What stood in the places of a form, from left to right. Asking for a place that the form does not
// have, or for another kind than its own, is the caller's mistake (asserted).
class ScriptArguments {
public:
    explicit ScriptArguments(std::span<const ScriptValue> values) : m_values(values) {}

    int64_t Integer(size_t i) const { return Get<int64_t>(i); }              // %d
    double Number(size_t i) const { return Get<double>(i); }                 // %f
    bool Truth(size_t i) const { return Get<bool>(i); }                      // %b
    const std::string& Text(size_t i) const { return Get<std::string>(i); }  // %s

private:
    template <class T>
    const T& Get(size_t i) const;

    std::span<const ScriptValue> m_values;
};

// A text as a script holds it, in quotation marks; a node as it names one, $'…'.
std::string QuoteForScript(std::string_view text);
std::string NodeForScript(std::string_view name);
