#include "host/params/param_assign.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "host/base/text.h"
#include "host/params/assign_target.h"

namespace {

using TargetPtr = std::shared_ptr<ReferenceTarget>;

// What was found, in words.
std::string Describe(const ParamInput& input) {
    struct {
        std::string operator()(std::monostate) { return "null"; }
        std::string operator()(bool b) { return b ? "true" : "false"; }
        std::string operator()(int64_t i) { return fmt::format("{}", i); }
        std::string operator()(double d) { return FormatNumber(d); }
        std::string operator()(const std::string& s) {
            return fmt::format("\"{}\"", CutText(s, 60));
        }
        std::string operator()(const ParamInput::Array& a) {
            return fmt::format("an array of {}", a.size());
        }
        std::string operator()(const TargetPtr& t) { return t ? t->ClassName() : "null"; }
    } describe;
    return std::visit(describe, input.value);
}

const char* Expected(ParamType type) {
    switch (type) {
        case ParamType::kFloat:
        case ParamType::kWorld:
            return "a number";
        case ParamType::kInt:
            return "a whole number";
        case ParamType::kTime:
            return "a whole number of ticks";
        case ParamType::kBool:
            return "true or false";
        case ParamType::kString:
            return "text";
        case ParamType::kFilename:
            return "a file name";
        case ParamType::kTexmap:
            return "the name of a texture map or null";
        case ParamType::kMaterial:
            return "the name of a material or null";
        case ParamType::kNode:
            return "the name of a node or null";
        case ParamType::kPoint3:
            return "three numbers [x, y, z]";
        case ParamType::kColor:
            return "a color [r, g, b]";
        case ParamType::kReference:
            return "a reference or null";
    }
    return "";
}

AssignResult Error(std::string text) {
    AssignResult result;
    result.error = std::move(text);
    return result;
}

AssignResult WrongType(const ParamDef& def, const ParamInput& input) {
    return Error(fmt::format("expected {}, found {}", Expected(def.type), Describe(input)));
}

std::optional<double> NumberOf(const ParamInput& input) {
    if (auto* i = std::get_if<int64_t>(&input.value)) return double(*i);
    if (auto* d = std::get_if<double>(&input.value)) return *d;
    return std::nullopt;
}

std::optional<float> FiniteFloat(const ParamInput& input) {
    std::optional<double> number = NumberOf(input);
    if (!number || !std::isfinite(float(*number))) return std::nullopt;
    return float(*number);
}

bool IsDefault(const ParamDef& def, double number) {
    if (auto* f = std::get_if<float>(&def.defaultValue)) return float(number) == *f;
    return number == double(std::get<int32_t>(def.defaultValue));
}

bool IsEntry(const ParamDef& def, double number) {
    return number >= 0 && number < double(def.entries.size());
}

// The number inside the parameter's range, with a warning when it had to move.
double Clamped(const ParamDef& def, double number, AssignSource source, AssignResult* result) {
    bool isInt = def.defaultValue.index() == 1;
    double low = isInt ? -2147483648.0 : -double(std::numeric_limits<float>::max());
    double high = isInt ? 2147483647.0 : double(std::numeric_limits<float>::max());
    bool ranged = def.hasRange && !IsDefault(def, number) &&
                  !(source == AssignSource::kDescription && IsEntry(def, number));
    if (ranged) low = std::max(low, def.min), high = std::min(high, def.max);
    double clamped = std::clamp(number, low, high);
    if (clamped != number)
        result->warnings.push_back(fmt::format("{} is outside {} to {}, clamped to {}",
                                               FormatNumber(number), FormatNumber(low),
                                               FormatNumber(high), FormatNumber(clamped)));
    return clamped;
}

AssignResult ConvertNumber(const ParamDef& def, const ParamInput& input, AssignSource source,
                           ParamValue* out) {
    AssignResult result;
    if (auto* text = std::get_if<std::string>(&input.value); text && !def.entries.empty()) {
        auto it = std::find(def.entries.begin(), def.entries.end(), *text);
        if (it == def.entries.end())
            return Error(fmt::format("\"{}\" is none of its entries{}", *text,
                                     DidYouMean(*text, def.entries)));
        *out = int32_t(it - def.entries.begin());
        return result;
    }
    if (auto* truth = std::get_if<bool>(&input.value)) {
        if (def.type != ParamType::kBool) return WrongType(def, input);
        *out = int32_t(*truth);
        return result;
    }
    std::optional<double> number = NumberOf(input);
    if (!number || !std::isfinite(*number)) return WrongType(def, input);
    if (def.type == ParamType::kBool) {
        *out = int32_t(*number != 0);
    } else if (def.defaultValue.index() == 1) {
        if (*number != std::trunc(*number)) return WrongType(def, input);
        *out = int32_t(Clamped(def, *number, source, &result));
    } else {
        *out = float(Clamped(def, *number, source, &result));
    }
    return result;
}

AssignResult ConvertTriple(const ParamDef& def, const ParamInput& input, ParamValue* out) {
    auto* array = std::get_if<ParamInput::Array>(&input.value);
    if (!array || array->size() != 3) return WrongType(def, input);
    Point3 p;
    for (int i = 0; i < 3; ++i) {
        std::optional<float> number = FiniteFloat((*array)[size_t(i)]);
        if (!number) return WrongType(def, input);
        p[i] = *number;
    }
    if (def.type == ParamType::kColor)
        *out = Color{p.x, p.y, p.z};
    else
        *out = p;
    return {};
}

AssignResult ConvertReference(const ParamDef& def, const ParamInput& input, AssignSource source,
                              const NameResolver& resolve, ParamValue* out) {
    TargetPtr target;
    if (auto* name = std::get_if<std::string>(&input.value)) {
        std::string reason = fmt::format("nothing is named \"{}\"", *name);
        if (resolve) target = resolve(def.type, *name, &reason);
        if (!target) return Error(reason);
    } else if (auto* given = std::get_if<TargetPtr>(&input.value)) {
        target = *given;
    } else if (!std::holds_alternative<std::monostate>(input.value)) {
        return WrongType(def, input);
    }
    if (ParamValue held = target; !ConvertValue(held, def.type)) return WrongType(def, input);
    if (target && source == AssignSource::kScript && !target->Passes(def.only))
        return Error(fmt::format("expected the node of {}, found {}", ClassTestName(def.only),
                                 Describe(input)));
    *out = target;
    return {};
}

AssignResult CheckWritable(const ParamDef& def, AssignSource source) {
    if (source == AssignSource::kScript && def.readOnly) return Error("the parameter is read-only");
    return {};
}

void Add(AssignResult* all, AssignResult one, int index) {
    for (std::string& warning : one.warnings)
        all->warnings.push_back(fmt::format("element {}: {}", index, warning));
    if (all->error.empty() && !one.error.empty()) {
        all->error = fmt::format("element {}: {}", index, one.error);
        all->errorIndex = index;
    }
}

AssignResult Whole(const AssignTarget& target, const ParamDef& def, const ParamInput& input,
                   AssignSource source, const NameResolver& resolve) {
    if (AssignResult refused = CheckWritable(def, source); !refused) return refused;
    auto* array = std::get_if<ParamInput::Array>(&input.value);
    if (!array) return Error(fmt::format("expected an array, found {}", Describe(input)));
    AssignResult result;
    std::vector<ParamElement> elements(array->size());
    for (size_t i = 0; i < array->size() && result; ++i)
        Add(&result, ConvertInput(def, (*array)[i], source, resolve, &elements[i].value), int(i));
    if (result) target.setAll(std::move(elements));
    return result;
}

AssignResult Single(const AssignTarget& target, const ParamDef& def, int index,
                    const ParamInput& input, AssignSource source, const NameResolver& resolve) {
    if (AssignResult refused = CheckWritable(def, source); !refused) return refused;
    if (index < 0 || index >= target.count)
        return Error(fmt::format("there is no element {} of {}", index, target.count));
    ParamValue value;
    AssignResult result = ConvertInput(def, input, source, resolve, &value);
    if (result) target.set(index, std::move(value));
    return result;
}

// The block's accessors act for scripts.
AssignTarget TargetOf(IParamBlock2& block, const ParamDef& def, TimeValue t, AssignSource source) {
    auto quietly = [&block, source](auto change) {
        if (source == AssignSource::kScript) return change();
        AccessorSuspender quiet(block);
        change();
    };
    return {block.Count(def.id),
            [&block, &def, t, quietly](int index, ParamValue value) {
                quietly([&] { block.SetValue(def.id, t, std::move(value), index); });
            },
            [&block, &def, quietly](std::vector<ParamElement> elements) {
                quietly([&] { block.SetElements(def.id, std::move(elements)); });
            }};
}

// Scripts see no place, so their messages start with the parameter's name.
AssignResult Named(const ParamDef& def, AssignSource source, AssignResult result) {
    if (source != AssignSource::kScript) return result;
    if (!result.error.empty()) result.error = def.name + ": " + result.error;
    for (std::string& warning : result.warnings) warning = def.name + ": " + warning;
    return result;
}

}  // namespace

AssignResult ConvertInput(const ParamDef& def, const ParamInput& input, AssignSource source,
                          const NameResolver& resolve, ParamValue* out) {
    if (IsNumberType(def.type)) return ConvertNumber(def, input, source, out);
    if (IsReferenceType(def.type)) return ConvertReference(def, input, source, resolve, out);
    if (def.type == ParamType::kPoint3 || def.type == ParamType::kColor)
        return ConvertTriple(def, input, out);
    auto* text = std::get_if<std::string>(&input.value);
    if (!text) return WrongType(def, input);
    *out = *text;
    return {};
}

AssignResult AssignWhole(const AssignTarget& target, const ParamDef& def, const ParamInput& input,
                         AssignSource source, const NameResolver& resolve) {
    if (!def.list) return AssignOne(target, def, 0, input, source, resolve);
    return Named(def, source, Whole(target, def, input, source, resolve));
}

AssignResult AssignOne(const AssignTarget& target, const ParamDef& def, int index,
                       const ParamInput& input, AssignSource source, const NameResolver& resolve) {
    return Named(def, source, Single(target, def, index, input, source, resolve));
}

AssignResult AssignParam(IParamBlock2& block, const ParamDef& def, const ParamInput& input,
                         TimeValue t, AssignSource source, const NameResolver& resolve) {
    return AssignWhole(TargetOf(block, def, t, source), def, input, source, resolve);
}

AssignResult AssignElement(IParamBlock2& block, const ParamDef& def, int index,
                           const ParamInput& input, TimeValue t, AssignSource source,
                           const NameResolver& resolve) {
    return AssignOne(TargetOf(block, def, t, source), def, index, input, source, resolve);
}
