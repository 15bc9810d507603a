#include "host/script/script_system.h"

#include <algorithm>
#include <cassert>
#include <optional>
#include <span>

#include <fmt/format.h>

#include "host/base/text.h"
#include "host/base/utf8.h"
#include "host/scene/host_context.h"

namespace {

using Kind = ScriptTokenKind;
using Tokens = std::span<const ScriptToken>;

char Lower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

bool IsSameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Lower(x) == Lower(y); });
}

bool IsName(const ScriptToken& token, std::string_view name) {
    return token.kind == Kind::kName && IsSameName(token.text, name);
}

// The same token, names in letters of either case.
bool IsSame(const ScriptToken& a, const ScriptToken& b) {
    return a.kind == Kind::kName ? IsName(b, a.text) : b.Is(a.kind, a.text);
}

// A text or a node of a form that stands for any.
bool IsMarkedPlace(const ScriptToken& token) {
    return (token.kind == Kind::kText || token.kind == Kind::kNode) && token.text == "%s";
}

std::optional<bool> ParseTruth(const ScriptToken& token) {
    if (IsName(token, "true") || IsName(token, "on")) return true;
    if (IsName(token, "false") || IsName(token, "off")) return false;
    return std::nullopt;
}

// What fits into the place %`letter` at the start of `tokens`, which lose it.
std::optional<ScriptValue> TakePlace(char letter, Tokens* tokens) {
    bool isNegative = (*tokens)[0].Is(Kind::kSign, "-") && tokens->size() > 1;
    const ScriptToken& token = (*tokens)[isNegative];
    bool isNumber = token.kind == Kind::kNumber;
    if (isNegative && !isNumber) return std::nullopt;
    std::string text = (isNegative ? "-" : "") + token.text;
    std::optional<ScriptValue> value;
    if (letter == 's' && (isNumber || token.kind == Kind::kName || token.kind == Kind::kText))
        value = text;
    if (letter == 'd' && isNumber)
        if (auto integer = ParseInteger(text)) value = int64_t(*integer);
    if (letter == 'f' && isNumber)
        if (auto number = ParseNumber(text)) value = *number;
    if (letter == 'b')
        if (auto truth = ParseTruth(token)) value = *truth;
    if (value) *tokens = tokens->subspan(1 + isNegative);
    return value;
}

// The values in the places of the form; none when the command is another one.
std::optional<std::vector<ScriptValue>> Match(Tokens form, Tokens command) {
    std::vector<ScriptValue> values;
    for (const ScriptToken& wanted : form) {
        if (command.empty()) return std::nullopt;
        if (wanted.kind == Kind::kPlace) {
            auto value = TakePlace(wanted.text[1], &command);
            if (!value) return std::nullopt;
            values.push_back(std::move(*value));
            continue;
        }
        if (IsMarkedPlace(wanted) && command[0].kind == wanted.kind)
            values.push_back(command[0].text);
        else if (!IsSame(wanted, command[0]))
            return std::nullopt;
        command = command.subspan(1);
    }
    if (!command.empty()) return std::nullopt;
    return values;
}

bool IsForm(Tokens tokens) {
    auto isKind = [](Kind kind) { return [kind](const ScriptToken& t) { return t.kind == kind; }; };
    return std::any_of(tokens.begin(), tokens.end(), isKind(Kind::kName)) &&
           std::none_of(tokens.begin(), tokens.end(), isKind(Kind::kEnd)) &&
           !IsName(tokens[0], "try");
}

// "line 2, column 7", both from 1, columns in characters.
std::string PlaceOf(std::string_view text, size_t at) {
    std::string_view before = text.substr(0, at);
    auto line = 1 + std::count(before.begin(), before.end(), '\n');
    before.remove_prefix(before.rfind('\n') + 1);  // npos + 1 is 0
    auto column = 1 + std::count_if(before.begin(), before.end(),
                                    [](char c) { return (uint8_t(c) & 0xC0) != 0x80; });
    return fmt::format("line {}, column {}", line, column);
}

}  // namespace

// One text's way through the table.
class ScriptSystem::Run {
public:
    Run(ScriptSystem& system, std::string_view text) : m_system(system), m_text(text) {
        ++m_system.m_numRuns;
    }
    ~Run() { --m_system.m_numRuns; }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    ScriptResult Execute() {
        if (m_text.size() > kMaxScriptBytes)
            return Error(0, fmt::format("the text has {} bytes, at most {} are read", m_text.size(),
                                        kMaxScriptBytes));
        if (m_system.m_numRuns > kMaxScriptRuns)
            return Error(0, fmt::format("scripts run scripts more than {} deep", kMaxScriptRuns));
        if (auto error = ReadScriptTokens(m_text, false, &m_tokens))
            return Error(error->at, error->reason);
        return RunCommands(0, m_tokens.size());
    }

private:
    ScriptResult Error(size_t at, std::string_view reason) const {
        std::string_view rest = m_text.substr(std::min(at, m_text.size()));
        return ScriptError(fmt::format("script error in {}: {}: {}", PlaceOf(m_text, at), reason,
                                       FirstLine(MendUtf8(CutText(rest, 301)))));
    }

    // The tokens from `first` to before `end`; the first error ends them.
    ScriptResult RunCommands(size_t first, size_t end) {
        ScriptResult result;
        while (first < end && !result.IsError()) {
            if (m_tokens[first].kind == Kind::kEnd)
                ++first;
            else if (IsName(m_tokens[first], "try"))
                result = RunTry(&first, end);
            else
                result = RunCommand(&first, end);
        }
        return result;
    }

    // Whether a bracket stands at `at`; steps behind its partner, whose place is `*close`.
    bool TakeBrackets(size_t* at, size_t end, size_t* close) const {
        if (*at >= end || !m_tokens[*at].Is(Kind::kSign, "(")) return false;
        *close = m_tokens[*at].partner;
        *at = *close + 1;
        return true;
    }

    ScriptResult RunTry(size_t* first, size_t end) {
        size_t body = *first + 1, at = body, bodyEnd = 0, otherEnd = 0;
        bool isWhole =
            TakeBrackets(&at, end, &bodyEnd) && at < end && IsName(m_tokens[at], "catch");
        size_t other = ++at;
        if (!isWhole || !TakeBrackets(&at, end, &otherEnd))
            return Error(m_tokens[*first].begin, "try(…) catch(…) is expected");
        *first = at;
        ++m_system.m_numTries;
        ScriptResult result = RunCommands(body + 1, bodyEnd);
        --m_system.m_numTries;
        return result.IsError() ? RunCommands(other + 1, otherEnd) : result;
    }

    ScriptResult RunCommand(size_t* first, size_t end) {
        size_t last = *first;
        while (last < end && m_tokens[last].kind != Kind::kEnd)
            last = std::max(last, m_tokens[last].partner) + 1;
        Tokens command = Tokens(m_tokens).subspan(*first, last - *first);
        *first = last;
        size_t begin = command[0].begin;
        for (const auto& known : m_system.m_commands) {
            auto values = Match(known->form, command);
            if (!values) continue;
            std::shared_ptr<const Command> held = known;  // it may unregister itself
            ScriptResult result = held->function(ScriptArguments(*values));
            return result.IsError() ? Error(begin, result.error) : result;
        }
        return Error(begin, "no such command");
    }

    ScriptSystem& m_system;
    std::string_view m_text;
    std::vector<ScriptToken> m_tokens;
};

int ScriptSystem::Register(std::string_view form, Function function) {
    assert(function);
    std::vector<ScriptToken> tokens;
    if (ReadScriptTokens(form, true, &tokens) || !IsForm(tokens)) return 0;
    for (const auto& known : m_commands)
        if (std::equal(tokens.begin(), tokens.end(), known->form.begin(), known->form.end(),
                       IsSame))
            return 0;
    m_commands.push_back(
        std::make_shared<Command>(Command{m_next, std::move(tokens), std::move(function)}));
    return m_next++;
}

void ScriptSystem::Unregister(int registration) {
    std::erase_if(m_commands,
                  [&](const auto& command) { return command->registration == registration; });
}

ScriptResult ScriptSystem::Execute(std::string_view text) {
    ScriptResult result = Run(*this, text).Execute();
    HostContext* context = HostContext::Current();
    if (result.IsError() && m_numTries == 0 && context)
        context->UserInterface().ListenerPrint(result.error);
    return result;
}
