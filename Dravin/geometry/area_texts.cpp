#include "Dravin/geometry/area_texts.h"

#include <fmt/format.h>

#include "host/base/text.h"

std::string FormatSpecIds(std::span<const int> ids) {
    std::string text;
    for (int id : ids) text += fmt::format(" {}", id);
    return text;
}

std::vector<int> ParseSpecIds(const std::string& text) {
    std::vector<int> ids;
    for (const std::string& piece : Split(text, ' '))
        if (int id = ParseLeadingInteger(piece); id >= 1) ids.push_back(id);
    return ids;
}

std::string FormatSurfaceNames(std::span<const std::string> names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : "\n") + name;
    return text;
}

std::vector<std::string> ParseSurfaceNames(const std::string& text) {
    std::vector<std::string> names;
    for (std::string& name : Split(text, '\n'))
        if (!name.empty()) names.push_back(std::move(name));
    return names;
}
