#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Dravin/params/dravin_params.h"
#include "apps/dravin/commands.h"
#include "host/base/text.h"

namespace {

using Json = nlohmann::ordered_json;

// Null for references, which have none.
Json DefaultOf(const ParamDef& def) {
    if (auto* f = std::get_if<float>(&def.defaultValue)) return Json::parse(FormatNumber(*f));
    if (auto* i = std::get_if<int32_t>(&def.defaultValue))
        return def.type == ParamType::kBool ? Json(*i != 0) : Json(*i);
    if (auto* s = std::get_if<std::string>(&def.defaultValue)) return *s;
    auto triple = [](float a, float b, float c) {
        return Json{Json::parse(FormatNumber(a)), Json::parse(FormatNumber(b)),
                    Json::parse(FormatNumber(c))};
    };
    if (auto* p = std::get_if<Point3>(&def.defaultValue)) return triple(p->x, p->y, p->z);
    if (auto* c = std::get_if<Color>(&def.defaultValue)) return triple(c->r, c->g, c->b);
    return nullptr;
}

Json NumberOf(double value) {
    bool whole = value == double(int64_t(value));
    return whole ? Json(int64_t(value)) : Json(value);
}

Json ParameterJson(const ParamDef& def) {
    return {{"id", def.id},
            {"name", def.name},
            {"type", ParamTypeName(def.type)},
            {"list", def.list},
            {"default", DefaultOf(def)},
            {"min", def.hasRange ? NumberOf(def.min) : Json(nullptr)},
            {"max", def.hasRange ? NumberOf(def.max) : Json(nullptr)},
            {"animatable", def.animatable},
            {"read_only", def.readOnly},
            {"label", def.label},
            {"meaning", def.meaning},
            {"entries", def.entries}};
}

// "0 Off, 1 On": the values that have names.
std::string EntriesText(const ParamDef& def) {
    std::string text;
    for (size_t i = 0; i < def.entries.size(); ++i)
        text += fmt::format("{}{} {}", i ? ", " : "", i, def.entries[i]);
    return text;
}

bool Matches(const ParamBlockDesc2& block, const ParamDef& def, const std::string& filter) {
    return filter.empty() || filter == block.name || filter == def.name;
}

void PrintTable(const ParamBlockDesc2& block, const std::string& filter) {
    bool any = false;
    for (const ParamDef& def : block.params) {
        if (!Matches(block, def, filter)) continue;
        if (!any)
            PrintResult(Bold(fmt::format("{} ({}, \"{}\")", block.name, block.id, block.title)));
        any = true;
        std::string type = ParamTypeName(def.type);
        if (def.list) type = "list of " + type;
        std::string facts = !IsReferenceType(def.type) ? "default " + DefaultOf(def).dump() : "";
        if (def.hasRange)
            facts += fmt::format("{}{} .. {}", facts.empty() ? "" : ", ", NumberOf(def.min).dump(),
                                 NumberOf(def.max).dump());
        if (def.animatable) facts += facts.empty() ? "animatable" : ", animatable";
        if (def.readOnly) facts += facts.empty() ? "read-only" : ", read-only";
        PrintResult(fmt::format("  {:>3}  {:<20} {:<18} {}", def.id, def.name, type, facts));
        if (!def.meaning.empty()) PrintResult(fmt::format("       {}", def.meaning));
        if (!def.entries.empty()) PrintResult(fmt::format("       {}", EntriesText(def)));
    }
}

}  // namespace

ExitCode RunSchema(const std::string& filter, bool json) {
    std::vector<std::string> names;
    bool found = filter.empty();
    for (const ParamBlockDesc2& block : DravinBlocks()) {
        names.push_back(block.name);
        found |= block.name == filter;
        for (const ParamDef& def : block.params) {
            names.push_back(def.name);
            found |= def.name == filter;
        }
    }
    if (!found) {
        PrintError(
            fmt::format("no block or parameter \"{}\"{}", filter, DidYouMean(filter, names)));
        return kExitUsage;
    }
    if (!json) {
        for (const ParamBlockDesc2& block : DravinBlocks()) PrintTable(block, filter);
        return kExitDone;
    }
    Json blocks = Json::array();
    for (const ParamBlockDesc2& block : DravinBlocks()) {
        Json parameters = Json::array();
        for (const ParamDef& def : block.params)
            if (Matches(block, def, filter)) parameters.push_back(ParameterJson(def));
        if (parameters.empty()) continue;
        blocks.push_back({{"name", block.name},
                          {"id", block.id},
                          {"title", block.title},
                          {"reference_slot", block.referenceSlot},
                          {"parameters", parameters}});
    }
    PrintResult(Json{{"dravin_schema", 1}, {"blocks", blocks}}.dump(1));
    return kExitDone;
}
