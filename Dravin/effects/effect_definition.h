// The text form of an effect: an XML document with the program and its title.
//
//     <effects>
//       <effect version="1">
//         <title>Lean with the slope</title>
//         <expression>dpItem.rotation.x = dpItem.surfSlope;</expression>
//         <parameter name="amount" kind="real" value="1" min="0" max="10" limit="1">How
//         much</parameter>
//       </effect>
//     </effects>
//
// Parameters are what a library effect suggests to the object that takes it; an object keeps its
// own. A missing title leaves the title as it was, a missing expression leaves the program empty.
// White space within descriptions counts as one blank.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Of a program or definition on disk.
inline constexpr uint64_t kMaxEffectBytes = 16 << 20;
// What to tell of a larger one.
std::string TooLargeEffect(const std::string& file, uint64_t bytes);

struct TEffectParameterDefinition {
    std::string name, description;
    std::string kind = "real";    // integer, real, unit, node, controller, texmap, curve
    std::string value, min, max;  // numbers as text; empty: not stated
    bool limit = false;
};

struct TEffectDefinition {
    int version = 1;
    std::string title, description, expression;
    std::vector<TEffectParameterDefinition> parameters;
};

// Reads a definition; text parts and CDATA sections of the expression are joined. None with a
// reason when the document is not well-formed, nested too deeply, has a DOCTYPE, or another root.
std::optional<TEffectDefinition> ReadEffectDefinition(std::string_view xml, std::string* error);

// The parameter of that name, capitals or not; null when the definition suggests none.
const TEffectParameterDefinition* FindParameter(const TEffectDefinition& definition,
                                                std::string_view name);
// Names of all parameters, for messages.
std::vector<std::string> ParameterNames(const TEffectDefinition& definition);

// Writes the document form.
std::string WriteEffectDefinition(const TEffectDefinition& definition);

// A definition around plain program text.
std::string WrapEffectProgram(const std::string& program, const std::string& title);

// Whether a file's text is a definition; plain program text otherwise.
bool IsEffectDefinition(std::string_view text);
