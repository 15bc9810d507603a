// The shipped effects, one a line, and one of them in full.
#include <algorithm>

#include <fmt/format.h>

#include "Dravin/config/effect_library.h"
#include "Dravin/effects/effect_definition.h"
#include "apps/dravin/commands.h"
#include "host/base/file_input.h"

namespace {

std::optional<TEffectDefinition> ReadShipped(const std::string& name, std::string* error) {
    std::string path;
    if (!FindShippedEffect(name, &path, error)) return std::nullopt;
    auto text = ReadWholeFile(path, kMaxEffectBytes, error);
    if (!text) return std::nullopt;
    return ReadEffectDefinition(*text, error);
}

void PrintParameter(const TEffectParameterDefinition& p, size_t width) {
    std::string range;
    if (!p.min.empty() && !p.max.empty()) range = fmt::format(" ({} to {})", p.min, p.max);
    std::string value = p.value.empty() ? "" : " = " + p.value;
    PrintResult(fmt::format("  {:<{}}  {}{}{}", p.name, width, p.kind, value, range));
    if (!p.description.empty()) PrintResult(fmt::format("  {:<{}}  {}", "", width, p.description));
}

ExitCode PrintOne(const std::string& name) {
    std::string error;
    auto definition = ReadShipped(name, &error);
    if (!definition) {
        PrintError(error);
        return kExitMissingInput;
    }
    PrintResult(Bold(definition->title));
    PrintResult(definition->description);
    size_t width = 0;
    for (const auto& p : definition->parameters) width = std::max(width, p.name.size());
    for (const auto& p : definition->parameters) PrintParameter(p, width);
    return kExitDone;
}

}  // namespace

ExitCode RunEffectList(const std::string& name) {
    if (!name.empty()) return PrintOne(name);
    for (const std::string& shipped : ShippedEffects()) {
        std::string error;
        auto definition = ReadShipped(shipped, &error);
        if (!definition) PrintWarning(error);
        PrintResult(fmt::format("{}: {}", shipped, definition ? definition->description : ""));
    }
    return kExitDone;
}
