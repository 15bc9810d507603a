#include "host/io/json_places.h"

#include <algorithm>
#include <charconv>
#include <unordered_set>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/base/text.h"

namespace {

constexpr size_t kLineWidth = 100;

bool IsControl(char c) { return uint8_t(c) < 0x20; }

// Steps through JSON text. On text that is not valid it stops somewhere, but never runs out of it.
class Scanner {
public:
    explicit Scanner(std::string_view text, size_t at = 0) : m_text(text), m_at(at) {}

    size_t At() const { return m_at; }
    bool AtEnd() const { return m_at >= m_text.size(); }
    char Peek() const { return AtEnd() ? '\0' : m_text[m_at]; }
    void Next() { ++m_at; }

    void SkipBlanks() {
        while (!AtEnd()) {
            if (std::string_view(" \t\r\n").find(Peek()) != std::string_view::npos)
                Next();
            else if (m_text.substr(m_at, 2) == "//")
                m_at = std::min(m_text.find('\n', m_at), m_text.size());
            else if (m_text.substr(m_at, 2) == "/*")
                m_at = std::min(m_text.find("*/", m_at + 2), m_text.size() - 2) + 2;
            else
                return;
        }
    }
    // Past a string whose quote is next, or up to a control character, which no string may hold;
    // its raw text.
    std::string_view SkipString() {
        size_t start = ++m_at;
        while (!AtEnd() && Peek() != '"' && !IsControl(Peek())) m_at += Peek() == '\\' ? 2 : 1;
        m_at = std::min(m_at, m_text.size());
        std::string_view raw = m_text.substr(start, m_at - start);
        if (Peek() == '"') Next();
        return raw;
    }
    // Past a number, true, false or null; its text.
    std::string_view SkipWord() {
        size_t start = m_at;
        while (!AtEnd() && std::string_view(",]}/ \t\r\n").find(Peek()) == std::string_view::npos)
            Next();
        if (m_at == start) Next();
        return m_text.substr(start, m_at - start);
    }

private:
    std::string_view m_text;
    size_t m_at;
};

std::string KeyOf(std::string_view raw) {
    if (raw.find('\\') == std::string_view::npos) return std::string(raw);
    auto parsed = nlohmann::json::parse(fmt::format("\"{}\"", raw), nullptr, false);
    return parsed.is_string() ? parsed.get<std::string>() : std::string(raw);
}

// Visits every value of valid JSON text, depth first. `visit(path, keyOffset, valueOffset, word)`
// says whether to go on; `word` is empty for strings, arrays and objects.
template <class Visit>
class Walker {
public:
    Walker(std::string_view text, const Visit& visit) : m_scan(text), m_visit(visit) {}

    void Run() {
        m_scan.SkipBlanks();
        Value(m_scan.At());
    }
    const std::optional<JsonDefect>& Defect() const { return m_defect; }

private:
    bool Value(size_t keyOffset) {
        size_t start = m_scan.At();
        char c = m_scan.Peek();
        if (c == '"') m_scan.SkipString();
        std::string_view word;
        if (c != '"' && c != '{' && c != '[') word = m_scan.SkipWord();
        if (!m_visit(m_path, keyOffset, start, word)) return false;
        if (c == '{') return Members();
        if (c == '[') return Elements();
        return true;
    }
    bool Members() {
        std::unordered_set<std::string> seen;
        m_scan.Next();
        for (;;) {
            m_scan.SkipBlanks();
            if (m_scan.Peek() == ',') {
                m_scan.Next();
                continue;
            }
            if (m_scan.Peek() != '"') break;
            size_t keyOffset = m_scan.At();
            m_path.push_back(KeyOf(m_scan.SkipString()));
            if (!seen.insert(m_path.back()).second && !m_defect)
                m_defect = {keyOffset, m_path, "the key stands twice in one object"};
            m_scan.SkipBlanks();
            if (m_scan.Peek() == ':') m_scan.Next();
            m_scan.SkipBlanks();
            if (!Value(keyOffset)) return false;
            m_path.pop_back();
        }
        m_scan.Next();
        return true;
    }
    bool Elements() {
        m_scan.Next();
        for (size_t i = 0;; ++i) {
            m_scan.SkipBlanks();
            if (m_scan.Peek() == ']' || m_scan.AtEnd()) break;
            m_path.push_back(fmt::format_int(i).str());
            if (!Value(m_scan.At())) return false;
            m_path.pop_back();
            m_scan.SkipBlanks();
            if (m_scan.Peek() == ',') m_scan.Next();
        }
        m_scan.Next();
        return true;
    }

    Scanner m_scan;
    const Visit& m_visit;
    JsonPath m_path;
    std::optional<JsonDefect> m_defect;
};

bool IsTooLarge(std::string_view word) {
    double value;
    auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc::result_out_of_range && word.find("e-") == std::string_view::npos &&
           word.find("E-") == std::string_view::npos;
}

// Value on one line; empty when it does not fit.
std::string Inline(const nlohmann::ordered_json& value, size_t room) {
    if (value.is_structured() && value.size() > kLineWidth) return {};
    std::string text;
    if (value.is_array()) {
        for (const auto& element : value) {
            std::string one = Inline(element, room);
            if (one.empty() || text.size() + one.size() > room) return {};
            text.append(text.empty() ? "" : ", ").append(one);
        }
        text = fmt::format("[{}]", text);
    } else if (value.is_object()) {
        for (const auto& [key, member] : value.items()) {
            std::string one = Inline(member, room);
            if (one.empty() || text.size() + one.size() > room) return {};
            text.append(text.empty() ? "" : ", ");
            text += fmt::format("{}: {}", nlohmann::json(key).dump(), one);
        }
        text = fmt::format("{{{}}}", text);
    } else {
        text = value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
    return text.size() <= room || value.is_primitive() ? text : std::string();
}

void Pretty(const nlohmann::ordered_json& value, size_t indent, size_t used, std::string& out) {
    size_t room = kLineWidth > indent + used ? kLineWidth - indent - used : 0;
    std::string line = Inline(value, room);
    if (!line.empty()) {
        out += line;
        return;
    }
    std::string blanks(indent + 2, ' ');
    bool first = true;
    out += value.is_array() ? "[" : "{";
    // Numbers and rows of numbers fill lines; anything else takes a line each.
    size_t column = kLineWidth;
    for (auto it = value.begin(); it != value.end(); ++it) {
        std::string head;
        if (value.is_object()) head = fmt::format("{}: ", nlohmann::json(it.key()).dump());
        std::string one =
            value.is_array() ? Inline(*it, kLineWidth - blanks.size()) : std::string();
        bool packs = value.is_array() && !it->is_object() && !one.empty();
        if (!first) out += ",";
        if (packs && column + one.size() + 2 <= kLineWidth) {
            out += " ";
            column += one.size() + 2;
        } else {
            out.append(1, '\n').append(blanks);
            column = packs ? blanks.size() + one.size() : kLineWidth;
        }
        out += head;
        if (packs)
            out += one;
        else
            Pretty(*it, indent + 2, head.size(), out);
        first = false;
    }
    out.append(1, '\n').append(indent, ' ').append(value.is_array() ? "]" : "}");
}

}  // namespace

TextPosition PositionOf(std::string_view text, size_t offset) {
    text = text.substr(0, offset);
    size_t lineStart = text.rfind('\n');
    return {1 + size_t(std::count(text.begin(), text.end(), '\n')),
            text.size() - (lineStart == std::string_view::npos ? 0 : lineStart + 1) + 1};
}

std::string PointerText(const JsonPath& path) {
    std::string text;
    for (const std::string& step : path) {
        text += '/';
        for (char c : step) text += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    }
    return text;
}

size_t LocateJson(std::string_view text, const JsonPath& path, bool key) {
    size_t found = 0, depth = 0;
    bool any = false;
    auto visit = [&](const JsonPath& at, size_t keyOffset, size_t valueOffset, std::string_view) {
        if (at.size() > path.size() || !std::equal(at.begin(), at.end(), path.begin())) return true;
        if (any && at.size() <= depth) return true;
        any = true;
        depth = at.size();
        found = key && at.size() == path.size() ? keyOffset : valueOffset;
        return at.size() < path.size();
    };
    Walker(text, visit).Run();
    return found;
}

std::optional<JsonDefect> FindDepthDefect(std::string_view text, size_t maxDepth) {
    Scanner scan(text);
    for (size_t depth = 0;;) {
        scan.SkipBlanks();
        if (scan.AtEnd()) return std::nullopt;
        char c = scan.Peek();
        if (IsControl(c)) return std::nullopt;  // nothing beyond it is ever read
        if (c == '"') {
            scan.SkipString();
            continue;
        }
        if ((c == '[' || c == '{') && ++depth > maxDepth)
            return JsonDefect{
                scan.At(), {}, fmt::format("nested more than {} levels deep", maxDepth)};
        if ((c == ']' || c == '}') && depth > 0) --depth;
        scan.Next();
    }
}

std::optional<JsonDefect> FindJsonDefect(std::string_view text) {
    std::optional<JsonDefect> tooLarge;
    auto visit = [&](const JsonPath& path, size_t, size_t offset, std::string_view word) {
        if (!tooLarge && !word.empty() && IsTooLarge(word))
            tooLarge = {offset, path, fmt::format("the number {} is too large", CutText(word, 40))};
        return true;
    };
    Walker walker(text, visit);
    walker.Run();
    return tooLarge ? tooLarge : walker.Defect();
}

std::string PrettyJson(const nlohmann::ordered_json& value) {
    std::string out;
    Pretty(value, 0, 0, out);
    return out + "\n";
}
