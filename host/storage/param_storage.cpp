// Parameter blocks and what has keys of its own.
#include "host/params/controller.h"
#include "host/params/param_block.h"
#include "host/scene/transform_controller.h"
#include "host/storage/class_storage.h"

constexpr int NumEnumerators(RotationForm) { return 2; }

namespace {

// One parameter as the file holds it: references wait until all entities exist.
struct StoredParam {
    ParamID id = 0;
    std::vector<ParamElement> elements;
    std::vector<std::pair<size_t, uint32_t>> refs;  // element, reference
};

void WriteParams(FieldWriter& fields, const IParamBlock2& block) {
    for (const ParamDef& def : block.GetDesc().params) {
        fields.Put(int32_t(def.id));
        std::vector<ParamElement> elements = block.GetElements(def.id);
        fields.Put(uint32_t(elements.size()));
        for (const ParamElement& element : elements) fields.Put(element);
    }
}

StoredParam ReadParam(FieldReader& fields) {
    StoredParam param;
    fields.Get(param.id);
    uint32_t count = fields.In().Read<uint32_t>();
    for (uint32_t i = 0; i < count && !fields.In().HasFailed(); ++i) {
        ParamElement& element = param.elements.emplace_back();
        uint32_t ref = kNoStored;
        fields.Get(element.value, &ref);
        if (element.value.index() == 5) param.refs.emplace_back(i, ref);
        fields.Get(element.track);
    }
    return param;
}

bool IsOfType(const ParamValue& value, const ParamDef& def) {
    return value.index() == ZeroValue(def.type).index();
}

// Whether the content is one that the parameter can have: a later version of a class may have
// changed the type.
bool Fits(const StoredParam& param, const ParamDef& def) {
    if (!def.list && param.elements.size() != 1) return false;
    for (const ParamElement& element : param.elements) {
        if (!IsOfType(element.value, def)) return false;
        bool isBezier = element.track.interpolation == KeyInterpolation::kBezier;
        if (!element.track.IsEmpty() && !def.animatable) return false;
        for (const ParamKey& key : element.track.keys)
            if (!IsOfType(key.value, def) ||
                (isBezier && !(IsOfType(key.in, def) && IsOfType(key.out, def))))
                return false;
    }
    return true;
}

void ReadParams(FieldReader& fields, IParamBlock2& block) {
    auto params = std::make_shared<std::vector<StoredParam>>();
    while (fields.In().Remaining() > 0) {
        StoredParam param = ReadParam(fields);
        const ParamDef* def = block.GetDesc().Find(param.id);
        if (def && !Fits(param, *def)) {
            fields.Entities().warnings.push_back(
                fields.In().Place() + ": the parameter \"" + def->name +
                "\" holds values of another kind and keeps its default");
            def = nullptr;
        }
        if (!def) continue;
        for (auto [element, ref] : param.refs)
            fields.ResolveLater<ReferenceTarget>(
                ref, [params, place = params->size(), element](auto target) {
                    (*params)[place].elements[element].value = std::move(target);
                });
        params->push_back(std::move(param));
    }
    // Last of all that waits for entities: references are in by then.
    fields.Entities().whenAllExist.push_back([params, &block] {
        AccessorSuspender quiet(block);
        for (StoredParam& param : *params) block.SetElements(param.id, std::move(param.elements));
    });
}

}  // namespace

void RegisterParamStorage(SceneStorage& storage) {
    storage.Register<IParamBlock2>([](auto& fields, IParamBlock2& block) {
        fields.Own(
            1, [&block](FieldWriter& out) { WriteParams(out, block); },
            [&block](FieldReader& in) { ReadParams(in, block); });
    });
    storage.Register<TransformController>([](auto& fields, TransformController& parts) {
        fields(1, parts.position);
        fields(2, parts.rotationForm);
        fields(3, parts.eulerDegrees);
        fields(4, parts.quaternion);
        fields(5, parts.scale);
    });
    storage.Register<KeyController>([](auto& fields, KeyController& keys) {
        fields.Own(
            1, [&keys](FieldWriter& out) { out.Put(keys.Content()); },
            [&keys](FieldReader& in) {
                ParamElement content;
                in.Get(content);
                auto fits = [&](const ParamValue& v) { return v.index() == content.value.index(); };
                bool isGood = content.value.index() == 0 || content.value.index() == 3;
                bool isBezier = content.track.interpolation == KeyInterpolation::kBezier;
                for (const ParamKey& key : content.track.keys)
                    isGood =
                        isGood && fits(key.value) && (!isBezier || (fits(key.in) && fits(key.out)));
                if (!isGood) return in.In().Fail("keys of a kind that no controller has");
                keys.SetContent(std::move(content));
            });
    });
}
