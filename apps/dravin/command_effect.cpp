// Checking and running one effect outside any scene.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <set>

#include <fmt/format.h>

#include "Dravin/config/effect_library.h"
#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/effect_language.h"
#include "Dravin/effects/fresh_item.h"
#include "Dravin/effects/item_attributes.h"
#include "Dravin/effects/tavuvm_expr/expr_lang.h"
#include "Dravin/effects/tavuvm_expr/vmachine.h"
#include "apps/dravin/commands.h"
#include "host/base/file_input.h"
#include "host/base/text.h"

namespace {

using namespace tavuvm_expr;

// Whether a person could have written it: hardly any control characters, no NUL bytes in a row.
bool IsText(std::string_view bytes) {
    auto isControl = [](unsigned char c) { return c < 0x20 && !std::strchr("\t\n\v\f\r", c); };
    auto controls = size_t(std::count_if(bytes.begin(), bytes.end(), isControl));
    constexpr size_t kSomeOnPurpose = 8;
    return controls <= kSomeOnPurpose || controls * 50 < bytes.size();
}

// A program, or a definition in XML.
ExitCode ParseEffect(std::string text, const std::string& name, TEffectDefinition* definition) {
    if (!IsText(text)) {
        PrintError(fmt::format("{}: is no text", name));
        return kExitMalformed;
    }
    if (Trim(text).empty()) PrintWarning(fmt::format("{}: is empty and does nothing", name));
    if (!IsEffectDefinition(text)) {
        definition->expression = std::move(text);
        return kExitDone;
    }
    std::string error;
    auto read = ReadEffectDefinition(text, &error);
    if (!read) {
        PrintError(fmt::format("{}: {}", name, error));
        return kExitMalformed;
    }
    *definition = std::move(*read);
    return kExitDone;
}

// A file, or a shipped effect by its name.
ExitCode ReadProgram(std::string file, TEffectDefinition* definition) {
    std::string error, noName;
    std::optional<uint64_t> size = RegularFileSize(file, &error);
    if (!size && FindShippedEffect(file, &file, &noName)) size = RegularFileSize(file, &error);
    if (size && *size > kMaxEffectBytes) {
        PrintError(TooLargeEffect(file, *size));
        return kExitLimit;
    }
    std::optional<std::string> text;
    if (size) text = ReadWholeFile(file, kMaxEffectBytes, &error);
    if (!text) {
        PrintError(error);
        return kExitMissingInput;
    }
    return ParseEffect(std::move(*text), file, definition);
}

// "3", "2.5" or "[1,2,3]".
std::optional<value> ParseValue(std::string_view text) {
    text = Trim(text);
    auto number = [](std::string_view part, auto* out) {
        part = Trim(part);
        auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), *out);
        return error == std::errc() && end == part.data() + part.size();
    };
    int32_t integer;
    if (number(text, &integer)) return value(integer);
    float real;
    if (number(text, &real)) return value(real);
    if (text.size() < 2 || text.front() != '[' || text.back() != ']') return std::nullopt;
    float c[3];
    std::string_view rest = text.substr(1, text.size() - 2);
    for (int i = 0; i < 3; ++i) {
        size_t comma = i < 2 ? rest.find(',') : rest.size();
        if (comma == rest.npos || !number(rest.substr(0, comma), &c[i])) return std::nullopt;
        rest.remove_prefix(std::min(rest.size(), comma + 1));
    }
    return value(vector3{c[0], c[1], c[2]});
}

// Declares one variable; a text that says what is wrong, empty when all is well.
std::string Declare(TEffectNames& effect, std::string_view name, const value& v) {
    if (effect.names.is_taken(name)) return fmt::format("the name \"{}\" is taken", name);
    effect.names.declare_variable(name, type_code(int(v.kind()) + 1), v);
    return {};
}

// A number as a parameter takes it: of its kind, within its limits.
value Fitted(const TEffectParameterDefinition& p, value v) {
    auto min = ParseValue(p.min), max = ParseValue(p.max);
    if (p.kind == "integer") v = v.to_integer();
    if (p.kind == "real" || p.kind == "unit") v = v.to_real();
    if (!p.limit || !min || !max) return v;
    if (p.kind == "integer") return std::clamp(v.integer(), min->to_integer(), max->to_integer());
    return std::clamp(v.to_real(), min->to_real(), max->to_real());
}

// Declares a parameter of the definition with a value; an empty text when all is well.
std::string DeclareParameter(TEffectNames& effect, const TEffectParameterDefinition& p,
                             const value* given) {
    if (effect.names.is_taken(p.name)) return fmt::format("the name \"{}\" is taken", p.name);
    bool isNumber = p.kind == "integer" || p.kind == "real" || p.kind == "unit";
    if (p.kind == "texmap" || p.kind == "curve") {
        if (given) return fmt::format("a {} can only be given in a scene", p.kind);
        type_code type = p.kind == "curve" ? type_code::curve : type_code::texmap;
        effect.names.declare_variable(p.name, type, value(-1));
    } else if (p.kind == "node") {
        if (given && !given->is_vector()) return "expected the node's position, [x,y,z]";
        size_t slot =
            effect.names.declare_structure(p.name, {{"position", type_code::vector, false}});
        if (given) effect.names.set_initial(slot, *given);
    } else if (isNumber) {
        if (given && given->is_vector()) return "expected a number";
        value v = given ? *given : ParseValue(p.value).value_or(value(0));
        return Declare(effect, p.name, Fitted(p, v));
    } else {
        return Declare(effect, p.name, given ? *given : value(0.0f));
    }
    return {};
}

// A definition that names its parameters has no others.
std::string DeclareGiven(TEffectNames& effect, const TEffectDefinition& definition,
                         const std::string& name, const value& v) {
    if (definition.parameters.empty()) return Declare(effect, name, v);
    const TEffectParameterDefinition* p = FindParameter(definition, name);
    if (!p)
        return fmt::format("the effect has no parameter \"{}\"{}", name,
                           DidYouMean(name, ParameterNames(definition)));
    return DeclareParameter(effect, *p, &v);
}

ExitCode DeclareAll(const EffectOptions& options, const TEffectDefinition& definition,
                    TEffectNames& effect) {
    std::set<std::string> given;
    for (const std::string& text : options.set) {
        size_t equals = text.find('=');
        auto v = equals == text.npos ? std::nullopt : ParseValue(text.substr(equals + 1));
        std::string name(Trim(std::string_view(text).substr(0, std::min(equals, text.size()))));
        std::string error = v && !name.empty()
                                ? DeclareGiven(effect, definition, name, *v)
                                : "expected NAME=VALUE, a value like 3, 2.5 or [1,2,3]";
        given.insert(folded(name));
        if (error.empty()) continue;
        PrintError(fmt::format("--set {}: {}", text, error));
        return kExitUsage;
    }
    for (const TEffectParameterDefinition& p : definition.parameters) {
        if (given.contains(folded(p.name))) continue;
        std::string error = DeclareParameter(effect, p, nullptr);
        if (error.empty()) continue;
        PrintError(fmt::format("{}: parameter \"{}\": {}", options.file, p.name, error));
        return kExitFailed;
    }
    return kExitDone;
}

void Print(std::string_view lines) {
    if (!lines.empty() && lines.back() == '\n') lines.remove_suffix(1);
    if (!lines.empty()) PrintResult(std::string(lines));
}

ExitCode RunDefinition(const TEffectDefinition& definition, const EffectOptions& options,
                       EffectRun* run) {
    TEffectNames effect;
    if (ExitCode code = DeclareAll(options, definition, effect); code != kExitDone) return code;
    compilation compiled = effect.names.compile(definition.expression);
    if (!compiled.code) {
        run->error = compiled.error;
        return kExitFailed;
    }
    if (options.checkOnly) return kExitDone;

    vmachine machine(compiled.code);
    SetFreshItem(machine, effect);
    machine.set_output(&run->output);
    TNuRandom random(options.seed);
    TEffVMCallback host;
    if (!machine.run(&random, &host)) {
        run->error =
            fmt::format("run-time error {} at cell {}", int(machine.error()), machine.error_cell());
        if (!machine.error_text().empty()) PrintError(machine.error_text());
        return kExitFailed;
    }
    auto attributes = ItemAttributes();
    for (size_t i = 0; i < attributes.size(); ++i)
        if (attributes[i].write && machine.is_modified(effect.itemSlot + i))
            run->attributes.emplace_back(
                attributes[i].name, Taken(attributes[i], machine.slot(effect.itemSlot + i)).text());
    return kExitDone;
}

}  // namespace

ExitCode RunEffect(const EffectOptions& options) {
    TEffectDefinition definition;
    if (ExitCode code = ReadProgram(options.file, &definition); code != kExitDone) return code;
    EffectRun run;
    ExitCode code = RunDefinition(definition, options, &run);
    Print(run.output);
    Print(run.error);
    for (const auto& [name, text] : run.attributes)
        PrintResult(fmt::format("dpItem.{} = {}", name, text));
    return code;
}

ExitCode RunEffectText(const std::string& text, const std::string& name,
                       const EffectOptions& options, EffectRun* run) {
    if (text.size() > kMaxEffectBytes) {
        PrintError(TooLargeEffect(name, text.size()));
        return kExitLimit;
    }
    TEffectDefinition definition;
    if (ExitCode code = ParseEffect(text, name, &definition); code != kExitDone) return code;
    return RunDefinition(definition, options, run);
}
