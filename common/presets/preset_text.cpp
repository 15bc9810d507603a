#include "common/presets/preset_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <fmt/format.h>

#include "host/base/text.h"

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Characters of a text that would be taken for something else.
bool MustEscape(std::string_view text, size_t i, bool inList) {
    char c = text[i];
    if (c == '\n' || c == '\r' || c == '\0') return true;
    if (c == '&') return text.substr(i + 1).starts_with('#');
    if (inList) return c == '|' || c == ']';
    return IsBlank(c) && (i == 0 || i + 1 == text.size());
}

std::string Escaped(std::string_view text, bool inList) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i)
        if (MustEscape(text, i, inList))
            out += fmt::format("&#{};", int(uint8_t(text[i])));
        else
            out += text[i];
    return out;
}

// "&#N;" at the start of `text`: its character and its length; 0 when it is none.
size_t ReadEscape(std::string_view text, char* out) {
    constexpr size_t kLongest = 6;  // &#127;
    size_t end = text.substr(0, kLongest).find(';');
    if (!text.starts_with("&#") || end == text.npos) return 0;
    int code = 0;
    const char* last = text.data() + end;
    auto [stop, error] = std::from_chars(text.data() + 2, last, code);
    if (error != std::errc() || stop != last || code < 0 || code > 127) return 0;
    *out = char(code);
    return end + 1;
}

std::string Unescaped(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        char c = text[0];
        size_t length = std::max<size_t>(ReadEscape(text, &c), 1);
        out += c;
        text.remove_prefix(length);
    }
    return out;
}

std::string TripleText(float a, float b, float c) { return fmt::format("{:f};{:f};{:f}", a, b, c); }

struct ElementText {
    const ParamDef& def;
    const PresetNamer& nameOf;

    std::string operator()(float number) const { return fmt::format("{:f}", number); }
    std::string operator()(int32_t number) const { return fmt::format("{}", number); }
    std::string operator()(const std::string& text) const { return Escaped(text, def.list); }
    std::string operator()(const Point3& p) const { return TripleText(p.x, p.y, p.z); }
    std::string operator()(const Color& c) const { return TripleText(c.r, c.g, c.b); }
    std::string operator()(const std::shared_ptr<ReferenceTarget>& target) const {
        if (!target || def.type == ParamType::kReference) return {};
        return Escaped(nameOf(target.get()), def.list);
    }
};

// What of a triple there is; the rest is zero.
ParamInput TripleInput(std::string_view text) {
    ParamInput::Array numbers;
    std::vector<std::string> parts = Split(text, ';');
    for (size_t i = 0; i < 3; ++i) {
        double number = i < parts.size() ? ParseLeadingNumber(parts[i]) : 0;
        numbers.emplace_back(std::isfinite(float(number)) ? number : 0.0);
    }
    return numbers;
}

ParamInput NumberInput(const ParamDef& def, std::string_view text) {
    if (def.defaultValue.index() == 1) return int64_t(ParseLeadingInteger(text));
    double number = ParseLeadingNumber(text);
    return std::isfinite(number) ? number : 0.0;
}

bool IsFoundByName(ParamType type) {
    return type == ParamType::kNode || type == ParamType::kMaterial;
}

ParamInput InputOf(const ParamDef& def, std::string_view text) {
    if (IsNumberType(def.type)) return NumberInput(def, text);
    if (def.type == ParamType::kPoint3 || def.type == ParamType::kColor) return TripleInput(text);
    std::string plain = Unescaped(text);
    if (!IsReferenceType(def.type)) return plain;
    if (IsFoundByName(def.type) && !plain.empty()) return plain;
    return {};
}

}  // namespace

std::string PresetValueText(const IParamBlock2& block, const ParamDef& def, TimeValue t,
                            const PresetNamer& nameOf) {
    ElementText element{def, nameOf};
    if (!def.list) return std::visit(element, block.GetValue(def.id, t));
    std::string text = "[";
    for (int i = 0, n = block.Count(def.id); i < n; ++i) {
        if (i > 0) text += '|';
        text += std::visit(element, block.GetValue(def.id, t, i));
    }
    return text + "]";
}

std::vector<std::string_view> SplitPresetList(std::string_view text) {
    std::vector<std::string_view> elements;
    if (text.starts_with('[')) text.remove_prefix(1);
    text = text.substr(0, text.find(']'));
    if (text.empty()) return elements;
    for (size_t bar = text.find('|'); bar != text.npos; bar = text.find('|')) {
        elements.push_back(text.substr(0, bar));
        text.remove_prefix(bar + 1);
    }
    elements.push_back(text);
    return elements;
}

ParamValue ParsePresetValue(const ParamDef& def, std::string_view text, const NameResolver& find,
                            std::vector<std::string>* warnings) {
    ParamValue value = ZeroValue(def.type);
    AssignResult result =
        ConvertInput(def, InputOf(def, text), AssignSource::kDescription, find, &value);
    warnings->insert(warnings->end(), result.warnings.begin(), result.warnings.end());
    if (!result) warnings->push_back(result.error);
    return value;
}
