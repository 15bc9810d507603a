#include "host/io/description_value.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/base/text.h"
#include "host/io/json_places.h"

namespace {

constexpr size_t kMaxDepth = 64;
constexpr size_t kMaxWarnings = 100;

// Path from `at` down to the very object `target`; false when it is not below.
bool FindPath(const nlohmann::json& at, const nlohmann::json& target, JsonPath& path) {
    if (&at == &target) return true;
    size_t index = 0;
    for (auto it = at.begin(); at.is_structured() && it != at.end(); ++it, ++index) {
        path.push_back(at.is_object() ? it.key() : fmt::format("{}", index));
        if (FindPath(*it, target, path)) return true;
        path.pop_back();
    }
    return false;
}

std::string Found(const nlohmann::json& value) {
    if (value.is_object()) return "an object";
    if (value.is_array()) return fmt::format("an array of {}", value.size());
    if (value.is_string()) return fmt::format("\"{}\"", CutText(value.get<std::string>(), 60));
    return value.dump();
}

}  // namespace

DescriptionDocument::DescriptionDocument(std::string name, std::string_view text)
    : m_name(std::move(name)), m_text(text), m_root(std::make_unique<nlohmann::json>()) {}

DescriptionDocument::~DescriptionDocument() = default;

bool DescriptionDocument::Parse() {
    auto fail = [this](size_t offset, const std::string& message) {
        TextPosition at = PositionOf(m_text, offset);
        m_class = DescriptionErrorClass::kMalformed;
        m_error = fmt::format("{}:{}:{}: {}", m_name, at.line, at.column, message);
        return false;
    };
    if (m_text.substr(0, 3) == "\xEF\xBB\xBF") m_text.remove_prefix(3);
    if (auto deep = FindDepthDefect(m_text, kMaxDepth)) return fail(deep->offset, deep->message);
    try {
        *m_root = nlohmann::json::parse(m_text, nullptr, true, true);
    } catch (const nlohmann::json::parse_error& e) {
        // The library's text ends with what was found and expected; its start repeats the position.
        std::string what = e.what();
        size_t tail = what.find("syntax error");
        if (tail == std::string::npos) tail = std::min(what.find("] ") + 2, what.size());
        return fail(e.byte > 0 ? e.byte - 1 : 0, what.substr(tail));
    } catch (const nlohmann::json::exception& e) {
        auto defect = FindJsonDefect(m_text);
        if (!defect) return fail(0, e.what());
        return fail(defect->offset, PointerText(defect->path) + ": " + defect->message);
    }
    if (auto defect = FindJsonDefect(m_text))
        return fail(defect->offset, PointerText(defect->path) + ": " + defect->message);
    return true;
}

std::string DescriptionDocument::At(const nlohmann::json& value, std::string_view key) const {
    JsonPath path;
    FindPath(*m_root, value, path);
    if (!key.empty()) path.emplace_back(key);
    TextPosition at = PositionOf(m_text, LocateJson(m_text, path, !key.empty()));
    std::string pointer = PointerText(path);
    return fmt::format("{}:{}:{}: {}", m_name, at.line, at.column,
                       pointer.empty() ? "" : pointer + ": ");
}

void DescriptionDocument::Fail(const nlohmann::json& value, std::string_view key,
                               const std::string& message, DescriptionErrorClass errorClass) {
    if (Failed()) return;
    m_class = errorClass;
    m_error = At(value, key) + message;
}

void DescriptionDocument::Warn(const nlohmann::json& value, const std::string& message) {
    if (Failed() || m_warnings.size() > kMaxWarnings) return;
    m_warnings.push_back(m_warnings.size() < kMaxWarnings ? At(value, {}) + message
                                                          : m_name + ": further warnings left out");
}

bool DescriptionValue::IsNull() const { return m_value->is_null(); }
bool DescriptionValue::IsText() const { return m_value->is_string(); }
bool DescriptionValue::IsNumber() const { return m_value->is_number(); }
bool DescriptionValue::IsArray() const { return m_value->is_array(); }
bool DescriptionValue::IsObject() const { return m_value->is_object(); }

void DescriptionValue::Expected(const char* what) const {
    Fail(fmt::format("expected {}, found {}", what, Found(*m_value)));
}

bool DescriptionValue::AsBool() const {
    if (m_value->is_boolean()) return m_value->get<bool>();
    if (m_value->is_number()) return m_value->get<double>() != 0;
    Expected("true or false");
    return false;
}

int DescriptionValue::AsInt() const {
    double value = m_value->is_number() ? m_value->get<double>() : 0.5;
    if (value != std::trunc(value) || std::abs(value) > 2147483647.0) {
        Expected("a whole number");
        return 0;
    }
    return int(value);
}

double DescriptionValue::AsDouble() const {
    if (m_value->is_number()) return m_value->get<double>();
    Expected("a number");
    return 0;
}

float DescriptionValue::AsFloat() const {
    float value = float(AsDouble());
    if (std::isfinite(value)) return value;
    Expected("a number that single precision holds");
    return 0;
}

std::string DescriptionValue::AsText() const {
    if (m_value->is_string()) return m_value->get<std::string>();
    Expected("text");
    return {};
}

std::vector<DescriptionValue> DescriptionValue::AsArray(std::optional<size_t> size) const {
    std::vector<DescriptionValue> elements;
    if (!m_value->is_array() || (size && m_value->size() != *size)) {
        Expected(size ? fmt::format("an array of {}", *size).c_str() : "an array");
        return elements;
    }
    elements.reserve(m_value->size());
    for (const nlohmann::json& element : *m_value) elements.emplace_back(*m_document, element);
    return elements;
}

Point3 DescriptionValue::AsPoint3() const {
    if (!m_value->is_array() || m_value->size() != 3) {
        Expected("three numbers [x, y, z]");
        return {};
    }
    Point3 p;
    for (int i = 0; i < 3; ++i)
        p[i] = DescriptionValue(*m_document, (*m_value)[size_t(i)]).AsFloat();
    return p;
}

Point2 DescriptionValue::AsPoint2() const {
    if (!m_value->is_array() || m_value->size() != 2) {
        Expected("two numbers [x, y]");
        return {};
    }
    return {DescriptionValue(*m_document, (*m_value)[0]).AsFloat(),
            DescriptionValue(*m_document, (*m_value)[1]).AsFloat()};
}

Color DescriptionValue::AsColor() const {
    if (!m_value->is_array() || m_value->size() != 3) {
        Expected("a color [r, g, b]");
        return {};
    }
    Point3 p = AsPoint3();
    return {p.x, p.y, p.z};
}

Matrix3 DescriptionValue::AsMatrix() const {
    if (!m_value->is_array() || m_value->size() != 4) {
        Expected("a matrix of four rows [x, y, z]");
        return {};
    }
    Matrix3 m;
    for (int i = 0; i < 4; ++i)
        m.SetRow(i, DescriptionValue(*m_document, (*m_value)[size_t(i)]).AsPoint3());
    return m;
}

int DescriptionValue::AsChoice(const std::vector<std::string>& names) const {
    std::string text = AsText();
    auto it = std::find(names.begin(), names.end(), text);
    if (it != names.end()) return int(it - names.begin());
    std::string all;
    for (const std::string& name : names)
        all += fmt::format("{}\"{}\"", all.empty() ? "" : ", ", name);
    std::string hint = DidYouMean(text, names);
    Fail(fmt::format("expected one of {}, found \"{}\"{}", all, CutText(text, 60), hint));
    return 0;
}

ParamInput DescriptionValue::AsInput() const {
    const nlohmann::json& v = *m_value;
    if (v.is_boolean()) return v.get<bool>();
    if (v.is_number_unsigned() && v.get<uint64_t>() > uint64_t(INT64_MAX)) return v.get<double>();
    if (v.is_number_integer()) return v.get<int64_t>();
    if (v.is_number()) return v.get<double>();
    if (v.is_string()) return v.get<std::string>();
    if (v.is_array()) {
        ParamInput::Array array;
        array.reserve(v.size());
        for (const DescriptionValue& element : AsArray()) array.push_back(element.AsInput());
        return array;
    }
    if (!v.is_null()) Expected("a value");
    return {};
}

DescriptionObject::DescriptionObject(const DescriptionValue& value) : m_value(value) {
    if (!value.IsObject())
        m_value.Fail(fmt::format("expected an object, found {}", Found(value.Json())));
}

std::optional<DescriptionValue> DescriptionObject::Find(const char* key) {
    m_known.emplace_back(key);
    if (!m_value.IsObject()) return std::nullopt;
    auto it = m_value.Json().find(key);
    if (it == m_value.Json().end()) return std::nullopt;
    return DescriptionValue(m_value.Document(), *it);
}

DescriptionValue DescriptionObject::Require(const char* key) {
    static const nlohmann::json null;
    if (auto value = Find(key)) return *value;
    m_value.Fail(fmt::format("the key \"{}\" is missing", key));
    return {m_value.Document(), null};
}

bool DescriptionObject::Bool(const char* key, bool missing) {
    auto value = Find(key);
    return value ? value->AsBool() : missing;
}
int DescriptionObject::Int(const char* key, int missing) {
    auto value = Find(key);
    return value ? value->AsInt() : missing;
}
float DescriptionObject::Float(const char* key, float missing) {
    auto value = Find(key);
    return value ? value->AsFloat() : missing;
}
std::string DescriptionObject::Text(const char* key, const std::string& missing) {
    auto value = Find(key);
    return value ? value->AsText() : missing;
}
Color DescriptionObject::ColorOf(const char* key, const Color& missing) {
    auto value = Find(key);
    return value ? value->AsColor() : missing;
}
Point3 DescriptionObject::Point(const char* key, const Point3& missing) {
    auto value = Find(key);
    return value ? value->AsPoint3() : missing;
}
int DescriptionObject::Choice(const char* key, const std::vector<std::string>& names, int missing) {
    auto value = Find(key);
    return value ? value->AsChoice(names) : missing;
}
std::vector<DescriptionValue> DescriptionObject::Array(const char* key) {
    auto value = Find(key);
    return value ? value->AsArray() : std::vector<DescriptionValue>();
}

void DescriptionObject::Finish() {
    if (!m_value.IsObject()) return;
    for (const auto& [key, member] : m_value.Json().items()) {
        if (std::find(m_known.begin(), m_known.end(), key) != m_known.end()) continue;
        m_value.Document().Fail(
            m_value.Json(), key,
            fmt::format("unknown key \"{}\"{}", CutText(key, 60), DidYouMean(key, m_known)));
        return;
    }
}

std::vector<std::pair<std::string, DescriptionValue>> DescriptionObject::Members() const {
    std::vector<std::pair<std::string, DescriptionValue>> members;
    if (!m_value.IsObject()) return members;
    for (const auto& [key, member] : m_value.Json().items())
        members.emplace_back(key, DescriptionValue(m_value.Document(), member));
    return members;
}
