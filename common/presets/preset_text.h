// Parameter values as the lines of a preset hold them.
//
// Numbers have six digits after a decimal point ("%f") or none ("%i"), colours and points three of
// them with semicolons between, lists stand in square brackets with bars between their elements.
// What would end a line or an element inside a text, blanks at the ends of a value, and the "&" of
// an "&#" are written as "&#N;", N being the character's decimal code. Independent of the process
// locale.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/params/param_assign.h"

// What a node, a material or a map is called; empty for none and for what has no name.
using PresetNamer = std::function<std::string(const ReferenceTarget* target)>;

// All elements of a parameter at time t.
std::string PresetValueText(const IParamBlock2& block, const ParamDef& def, TimeValue t,
                            const PresetNamer& nameOf);

// The element texts of a list: "[a|b]" has two, "[]" none. An element ends at a bar, at the closing
// bracket or with the text; what stands behind the bracket does not count.
std::vector<std::string_view> SplitPresetList(std::string_view text);

// The value of one element's text: what does not parse is zero, numbers are clamped to the
// parameter's range with a warning, nodes and materials that `find` does not know are none with a
// warning, maps and other references are none.
ParamValue ParsePresetValue(const ParamDef& def, std::string_view text, const NameResolver& find,
                            std::vector<std::string>* warnings);
