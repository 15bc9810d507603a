#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "host/io/scene_description.h"

using Json = nlohmann::ordered_json;

namespace {

bool Take(const AssignResult& result, const DescriptionValue& value) {
    for (const std::string& warning : result.warnings) value.Warn(warning);
    if (!result) value.Fail(result.error);
    return bool(result);
}

std::optional<ParamElement> ReadKeys(const ParamDef& def, const DescriptionValue& value,
                                     const DescriptionContext& context) {
    DescriptionObject form(value);
    std::vector<DescriptionValue> keys = form.Array("keys");
    form.Finish();
    if (!def.animatable) value.Fail("the parameter cannot be animated");
    if (keys.empty()) value.Fail("expected {\"keys\": [[ticks, value], ...]} or a value");
    ParamElement element{def.defaultValue, {}};
    for (const DescriptionValue& key : keys) {
        std::vector<DescriptionValue> pair = key.AsArray(2);
        if (pair.size() != 2) return std::nullopt;
        ParamKey one{pair[0].AsInt(), def.defaultValue};
        if (!Take(ConvertInput(def, pair[1].AsInput(), AssignSource::kDescription,
                               context.Resolver(), &one.value),
                  pair[1]))
            return std::nullopt;
        if (!element.keys.empty() && element.keys.back().time >= one.time)
            pair[0].Fail("key times must rise");
        element.keys.push_back(one);
    }
    if (value.Document().Failed()) return std::nullopt;
    return element;
}

}  // namespace

std::optional<ParamElement> ReadParamElement(const ParamDef& def, const DescriptionValue& value,
                                             const DescriptionContext& context) {
    if (value.IsObject()) return ReadKeys(def, value, context);
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
    if (element.keys.empty()) return one(element.value);
    Json keys = Json::array();
    for (const ParamKey& key : element.keys) keys.push_back({key.time, one(key.value)});
    return {{"keys", keys}};
}
