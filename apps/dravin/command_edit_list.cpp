// `dravin edit --list`: what the table of commands holds.
#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Dravin/commands/all_commands.h"
#include "apps/dravin/commands.h"
#include "host/base/text.h"

namespace {

using Json = nlohmann::ordered_json;

const char* TargetName(TCommandTarget target) {
    switch (target) {
        case TCommandTarget::kScene:
            return "scene";
        case TCommandTarget::kNode:
            return "node";
        case TCommandTarget::kObject:
            return "object";
    }
    return "";
}

Json Described(const TCommand& command) {
    Json arguments = Json::array();
    for (const TArgumentInfo& info : command.arguments) {
        arguments.push_back({{"name", info.name},
                             {"takes", ArgumentKindName(info.kind)},
                             {"required", info.isRequired},
                             {"meaning", info.meaning}});
        if (!info.choices.empty()) arguments.back()["choices"] = info.choices;
    }
    return {{"name", command.name},
            {"works_on", TargetName(command.target)},
            {"meaning", command.meaning},
            {"arguments", arguments}};
}

std::string ArgumentLine(const TArgumentInfo& info, size_t width) {
    std::string line = fmt::format("  {:<{}}  {}", info.name, width, ArgumentKindName(info.kind));
    if (!info.choices.empty()) line += fmt::format(" ({})", fmt::join(info.choices, ", "));
    line += ": " + info.meaning;
    return info.isRequired ? line : line + "; may be left out";
}

void PrintOne(const TCommand& command) {
    PrintResult(Bold(command.name) + "  on a " + TargetName(command.target));
    PrintResult(command.meaning);
    size_t width = 0;
    for (const TArgumentInfo& info : command.arguments) width = std::max(width, info.name.size());
    for (const TArgumentInfo& info : command.arguments) PrintResult(ArgumentLine(info, width));
}

}  // namespace

ExitCode RunEditList(const std::string& name, bool json) {
    TCommandTable table = MakeCommandTable();
    Json all = Json::array();
    std::vector<std::string> names;
    size_t width = 0;
    for (const auto& entry : table.All()) {
        names.push_back(entry.first);
        width = std::max(width, entry.first.size());
    }
    const TCommand* only = table.Find(name);
    if (!name.empty() && !only) {
        PrintError(fmt::format("no command is named \"{}\"{}", name, DidYouMean(name, names)));
        return kExitUsage;
    }
    for (const auto& [key, command] : table.All()) {
        if (only && only != &command) continue;
        if (json)
            all.push_back(Described(command));
        else if (only)
            PrintOne(command);
        else
            PrintResult(fmt::format("{:<{}}  {}", key, width, command.meaning));
    }
    if (json) PrintResult(Json{{"dravin_commands", 1}, {"commands", all}}.dump(2));
    return kExitDone;
}
