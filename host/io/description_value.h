// Typed reading of a parsed description, with errors that name their place.
//
// The first error sticks: reads after it give defaults and report nothing, so that readers need no
// check after every value; whoever started the reading looks at the error at the end and drops what
// was built. Places are pointers into the parsed document; the JSON pointer, line and column are
// looked up only when a message needs them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/math/color.h"
#include "host/math/matrix3.h"
#include "host/params/param_assign.h"

// Numbers are the exit codes of programs.
enum class DescriptionErrorClass : int {
    kNone = 0,
    kMissingInput = 3,
    kMalformed = 4,
    kLimit = 5,
    kCancelled = 130,
};

// One document: its text, its parsed form, the first error and all warnings.
class DescriptionDocument {
public:
    // `name` stands in front of messages.
    DescriptionDocument(std::string name, std::string_view text);
    ~DescriptionDocument();

    // Parses. False, with the error set, for text that is no acceptable JSON.
    bool Parse();
    const nlohmann::json& Root() const { return *m_root; }

    bool Failed() const { return m_class != DescriptionErrorClass::kNone; }
    DescriptionErrorClass ErrorClass() const { return m_class; }
    const std::string& Error() const { return m_error; }
    const std::vector<std::string>& Warnings() const { return m_warnings; }

    // About `value`, or, when `key` is not empty, about that key of the object `value`.
    void Fail(const nlohmann::json& value, std::string_view key, const std::string& message,
              DescriptionErrorClass errorClass = DescriptionErrorClass::kMalformed);
    void Warn(const nlohmann::json& value, const std::string& message);

private:
    std::string At(const nlohmann::json& value, std::string_view key) const;

    std::string m_name;
    std::string_view m_text;
    std::unique_ptr<nlohmann::json> m_root;
    DescriptionErrorClass m_class = DescriptionErrorClass::kNone;
    std::string m_error;
    std::vector<std::string> m_warnings;
};

// One value. Reads of the wrong type fail with what was expected and what was found.
class DescriptionValue {
public:
    DescriptionValue(DescriptionDocument& document, const nlohmann::json& value)
        : m_document(&document), m_value(&value) {}

    bool IsNull() const;
    bool IsText() const;
    bool IsNumber() const;
    bool IsArray() const;
    bool IsObject() const;

    bool AsBool() const;  // true, false, or a number that is 0 or not
    int AsInt() const;
    float AsFloat() const;  // finite in single precision
    double AsDouble() const;
    std::string AsText() const;
    Point3 AsPoint3() const;
    Point2 AsPoint2() const;
    Color AsColor() const;
    Matrix3 AsMatrix() const;  // four rows of three numbers
    // Place of the text among `names`; fails with a suggestion when it is none of them.
    int AsChoice(const std::vector<std::string>& names) const;
    // Elements of an array, `size` of them where that is given.
    std::vector<DescriptionValue> AsArray(std::optional<size_t> size = {}) const;
    // For the parameter tables; fails for objects.
    ParamInput AsInput() const;

    void Fail(const std::string& message,
              DescriptionErrorClass errorClass = DescriptionErrorClass::kMalformed) const {
        m_document->Fail(*m_value, {}, message, errorClass);
    }
    void Warn(const std::string& message) const { m_document->Warn(*m_value, message); }

    DescriptionDocument& Document() const { return *m_document; }
    const nlohmann::json& Json() const { return *m_value; }

private:
    // Fails with "expected X, found Y".
    void Expected(const char* what) const;

    DescriptionDocument* m_document;
    const nlohmann::json* m_value;
};

// The members of an object. Every key that is asked for becomes known; Finish fails for a key that
// nobody asked for, with the nearest known one.
class DescriptionObject {
public:
    explicit DescriptionObject(const DescriptionValue& value);

    std::optional<DescriptionValue> Find(const char* key);
    // Fails when the key is missing; then null stands for it.
    DescriptionValue Require(const char* key);

    bool Bool(const char* key, bool missing);
    int Int(const char* key, int missing);
    float Float(const char* key, float missing);
    std::string Text(const char* key, const std::string& missing = {});
    Color ColorOf(const char* key, const Color& missing);
    Point3 Point(const char* key, const Point3& missing);
    int Choice(const char* key, const std::vector<std::string>& names, int missing);
    std::vector<DescriptionValue> Array(const char* key);  // empty when missing

    void Finish();

    void Fail(const std::string& message) const { m_value.Fail(message); }
    const DescriptionValue& Value() const { return m_value; }
    // All keys in alphabetic order with their values: for objects that map names.
    std::vector<std::pair<std::string, DescriptionValue>> Members() const;

private:
    DescriptionValue m_value;
    std::vector<std::string> m_known;
};
