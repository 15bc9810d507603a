// The words and signs of a script's text.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

enum class ScriptTokenKind {
    kName,    // letters, digits and underscores, a # before them included; letters of any language
    kNumber,  // digits, a point and digits, an exponent: without a sign
    kText,    // between quotation marks
    kNode,    // $'name' or $name
    kPlace,   // %s, %d, %f or %b, in forms of commands only
    kSign,    // any other character of ASCII that can be seen
    kEnd,     // a semicolon or the end of a line
};

struct ScriptToken {
    ScriptTokenKind kind;
    std::string text;    // without marks and with escapes taken back
    size_t begin, end;   // where it stands, in bytes
    size_t partner = 0;  // of a bracket: the place of the other one in the list

    bool Is(ScriptTokenKind wanted, std::string_view wantedText) const {
        return kind == wanted && text == wantedText;
    }
};

// Brackets stand at most this deep inside each other.
inline constexpr size_t kMaxScriptDepth = 64;

struct ScriptTokenError {
    size_t at;  // in bytes
    std::string reason;
};

// Within marks, \\ \" \' \n \r \t stand for a character; before others a backslash is one itself,
// as in paths. Brackets have partners of their own kind. isForm: the text may hold places.
std::optional<ScriptTokenError> ReadScriptTokens(std::string_view text, bool isForm,
                                                 std::vector<ScriptToken>* tokens);
