#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/io/scene_keys.h"

using Json = nlohmann::ordered_json;

namespace {

bool Take(const AssignResult& result, const DescriptionValue& value) {
    for (const std::string& warning : result.warnings) value.Warn(warning);
    if (!result) value.Fail(result.error);
    return bool(result);
}

std::optional<ParamElement> ReadKeys(const ParamDef& def, const DescriptionValue& value,
                                     const DescriptionContext& context) {
    if (!def.animatable) value.Fail("the parameter cannot be animated");
    // Handles are differences: they have no range.
    ParamDef handle(def.id, def.name, def.type);
    auto read = [&](const DescriptionValue& one, bool isHandle) {
        ParamValue read = def.defaultValue;
        Take(ConvertInput(isHandle ? handle : def, one.AsInput(), AssignSource::kDescription,
                          context.Resolver(), &read),
             one);
        return read;
    };
    ParamElement element{def.defaultValue, ReadTrack<ParamValue>(value, read)};
    if (value.Document().Failed()) return std::nullopt;
    return element;
}

}  // namespace

std::optional<ParamElement> ReadParamElement(const ParamDef& def, const DescriptionValue& value,
                                             const DescriptionContext& context) {
    if (IsAnimatedForm(value)) return ReadKeys(def, value, context);
    ParamElement element{def.defaultValue, {}};
    if (!Take(ConvertInput(def, value.AsInput(), AssignSource::kDescription, context.Resolver(),
                           &element.value),
              value))
        return std::nullopt;
    return element;
}

void ReadParam(IParamBlock2& block, const ParamDef& def, const DescriptionValue& value,
               const DescriptionContext& context) {
    std::vector<ParamElement> elements;
    std::vector<DescriptionValue> values =
        def.list ? value.AsArray() : std::vector<DescriptionValue>{value};
    elements.reserve(values.size());
    for (const DescriptionValue& one : values) {
        std::optional<ParamElement> element = ReadParamElement(def, one, context);
        if (!element) return;
        elements.push_back(std::move(*element));
    }
    if (value.Document().Failed()) return;
    AccessorSuspender quiet(block);
    block.SetElements(def.id, std::move(elements));
}

Json DescriptionWriter::Value(const ParamDef& def, const ParamElement& element) const {
    auto one = [this, &def](const ParamValue& value) -> Json {
        if (auto* f = std::get_if<float>(&value)) return Number(*f);
        if (auto* i = std::get_if<int32_t>(&value)) {
            if (def.type == ParamType::kBool) return *i != 0;
            return *i;
        }
        if (auto* text = std::get_if<std::string>(&value)) return *text;
        if (auto* p = std::get_if<Point3>(&value)) return Triple(*p);
        if (auto* c = std::get_if<Color>(&value)) return Triple(*c);
        ReferenceTarget* target = std::get<std::shared_ptr<ReferenceTarget>>(value).get();
        if (def.type == ParamType::kNode) return NodeName(dynamic_cast<INode*>(target));
        if (def.type == ParamType::kTexmap) return TexmapName(dynamic_cast<Texmap*>(target));
        if (def.type == ParamType::kMaterial) return MtlName(dynamic_cast<Mtl*>(target));
        return nullptr;
    };
    return element.track.IsEmpty() ? one(element.value) : WriteTrack(element.track, one);
}

Json DescriptionWriter::Param(const IParamBlock2& block, const ParamDef& def) const {
    std::vector<ParamElement> elements = block.GetElements(def.id);
    if (!def.list) {
        bool isDefault = elements[0].track.IsEmpty() && elements[0].value == def.defaultValue;
        return isDefault ? Json() : Value(def, elements[0]);
    }
    Json list;
    for (const ParamElement& element : elements) list.push_back(Value(def, element));
    return list;
}
