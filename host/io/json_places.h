// JSON as text: where things stand in it, and writing it so that people can read it.
//
// Reading values is the JSON library's business; positions are looked up afterwards, only when a
// message needs one. Comments are allowed wherever blanks are.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

// Line and column (in bytes), both from 1.
struct TextPosition {
    size_t line = 1, column = 1;
};
TextPosition PositionOf(std::string_view text, size_t offset);

// Keys and indices from the root to a value, as a JSON pointer: "/nodes/3/type".
using JsonPath = std::vector<std::string>;
std::string PointerText(const JsonPath& path);

// Offset of the value at `path` in valid JSON text, or of its key; where the path ends early, of
// the last value on it.
size_t LocateJson(std::string_view text, const JsonPath& path, bool key = false);

// What makes text unfit to be read before its values are looked at: nesting deeper than `maxDepth`,
// an object that repeats a key, a number that no double holds. Text that is not valid JSON is the
// library's to refuse; this never fails on it.
struct JsonDefect {
    size_t offset;
    JsonPath path;
    std::string message;
};
// Safe on any text; to be asked before parsing.
std::optional<JsonDefect> FindDepthDefect(std::string_view text, size_t maxDepth);
// Asked for valid JSON of moderate depth only.
std::optional<JsonDefect> FindJsonDefect(std::string_view text);

// Indented text in which short arrays and objects stand on one line.
std::string PrettyJson(const nlohmann::ordered_json& value);
