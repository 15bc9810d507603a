#include "Dravin/geometry/area_texts.h"

#include <optional>

#include <fmt/format.h>

#include "host/base/text.h"

namespace {

// The ids of a line of nothing but ids; none for any other line, which is a name.
std::optional<std::vector<int>> MaterialIdsOf(const std::string& line) {
    std::vector<int> ids;
    for (const std::string& piece : Split(line, ' ')) {
        bool digits = piece.size() > 1 && piece[0] == '#' &&
                      piece.find_first_not_of("0123456789", 1) == std::string::npos;
        if (!digits) return std::nullopt;
        ids.push_back(ParseLeadingInteger(piece.substr(1)));
    }
    return ids;
}

}  // namespace

std::string DefaultAreaName(int type, const std::string& nodeName) {
    if (!nodeName.empty()) return nodeName;
    switch (type) {
        case kAreaSpline:
            return "New spline";
        case kAreaObject:
            return "New object";
        case kAreaPaint:
            return "New paint";
        case kAreaSurface:
            return "Surface Area";
        case kAreaDravin:
            return "New dravin";
        default:
            return "";
    }
}

std::string FormatSpecIds(std::span<const int> ids) {
    std::string text;
    for (int id : ids) text += fmt::format(" {}", id);
    return text;
}

std::vector<int> ParseAllSpecIds(const std::string& text) {
    std::vector<int> ids;
    for (const std::string& piece : Split(text, ' '))
        if (!piece.empty()) ids.push_back(ParseLeadingInteger(piece));
    return ids;
}

std::vector<int> ParseSpecIds(const std::string& text) {
    std::vector<int> ids = ParseAllSpecIds(text);
    std::erase_if(ids, [](int id) { return id < 1; });
    return ids;
}

std::string FormatAreaSurfaces(const TAreaSurfaces& surfaces) {
    std::string text, ids;
    for (const std::string& name : surfaces.names) text += (text.empty() ? "" : "\n") + name;
    for (int id : surfaces.materialIds) ids += fmt::format("{}#{}", ids.empty() ? "" : " ", id);
    return text + (text.empty() || ids.empty() ? "" : "\n") + ids;
}

TAreaSurfaces ParseAreaSurfaces(const std::string& text) {
    TAreaSurfaces surfaces;
    for (std::string& line : Split(text, '\n')) {
        if (line.empty()) continue;
        if (std::optional<std::vector<int>> ids = MaterialIdsOf(line))
            surfaces.materialIds.insert(surfaces.materialIds.end(), ids->begin(), ids->end());
        else
            surfaces.names.push_back(std::move(line));
    }
    return surfaces;
}

std::shared_ptr<ReferenceTarget> TPaintShape::Clone(CloneMap&) const {
    auto copy = std::make_shared<TPaintShape>();
    copy->shape = shape;
    copy->region = region;
    return copy;
}
