// How deeply JSON text nests, found without parsing: libraries that walk values recursively
// overflow the stack on hostile input, so the depth is checked first.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

inline constexpr size_t kMaxJsonDepth = 64;

// Greatest number of open brackets and braces, those within strings not counted.
inline size_t JsonDepth(std::string_view text) {
    size_t depth = 0, deepest = 0;
    bool inString = false;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            deepest = std::max(deepest, ++depth);
        } else if ((c == ']' || c == '}') && depth > 0) {
            --depth;
        }
    }
    return deepest;
}
