// Values, keys and targets as a parameter block gives them.
#include <cassert>

#include "host/params/param_element.h"

namespace {

using TargetPtr = std::shared_ptr<ReferenceTarget>;

}  // namespace

int IParamBlock2::Count(ParamID id) const {
    const Param* param = Get(id);
    return param ? int(param->elements.size()) : 0;
}

ParamValue IParamBlock2::EvalAt(const Param& param, int index, TimeValue t, Interval* valid) const {
    const Element& element = param.elements[size_t(index)];
    if (param.def->ownerSlot >= 0)
        return m_owner ? m_owner->GetReference(param.def->ownerSlot) : TargetPtr();
    if (element.slot) return element.slot->Share();
    return element.track.IsEmpty() ? element.value : element.track.Eval(t, valid);
}

ParamValue IParamBlock2::GetValue(ParamID id, TimeValue t, int index) const {
    const Param* param = Get(id);
    if (!Find(id, index)) return param ? ZeroValue(param->def->type) : ParamValue();
    return EvalAt(*param, index, t, nullptr);
}

float IParamBlock2::GetFloat(ParamID id, TimeValue t, int index, Interval* valid) const {
    const Element* element = Find(id, index);
    assert(element && std::holds_alternative<float>(element->value));
    if (!element) return 0;
    if (element->track.IsEmpty()) return std::get<float>(element->value);
    return std::get<float>(element->track.Eval(t, valid));
}

int IParamBlock2::GetInt(ParamID id, TimeValue t, int index, Interval* valid) const {
    const Element* element = Find(id, index);
    assert(element && std::holds_alternative<int32_t>(element->value));
    if (!element) return 0;
    if (element->track.IsEmpty()) return std::get<int32_t>(element->value);
    return std::get<int32_t>(element->track.Eval(t, valid));
}

std::string IParamBlock2::GetString(ParamID id, TimeValue t, int index) const {
    const Element* element = Find(id, index);
    assert(element && std::holds_alternative<std::string>(element->value));
    return element ? std::get<std::string>(element->value) : std::string();
}

Point3 IParamBlock2::GetPoint3(ParamID id, TimeValue t, int index, Interval* valid) const {
    const Element* element = Find(id, index);
    assert(element && std::holds_alternative<Point3>(element->value));
    if (!element) return {};
    if (element->track.IsEmpty()) return std::get<Point3>(element->value);
    return std::get<Point3>(element->track.Eval(t, valid));
}

Color IParamBlock2::GetColor(ParamID id, TimeValue t, int index, Interval* valid) const {
    const Element* element = Find(id, index);
    assert(element && std::holds_alternative<Color>(element->value));
    if (!element) return {};
    if (element->track.IsEmpty()) return std::get<Color>(element->value);
    return std::get<Color>(element->track.Eval(t, valid));
}

std::shared_ptr<ReferenceTarget> IParamBlock2::ShareReference(ParamID id, int index) const {
    const Param* param = Get(id);
    assert(param && IsReferenceType(param->def->type));
    if (!Find(id, index)) return nullptr;
    return std::get<TargetPtr>(EvalAt(*param, index, 0, nullptr));
}

ReferenceTarget* IParamBlock2::GetReference(ParamID id, TimeValue t, int index) const {
    return ShareReference(id, index).get();
}

ParamElement IParamBlock2::ReadElement(const Param& param, size_t index) const {
    const Element& element = param.elements[index];
    if (param.def->ownerSlot >= 0 || element.slot)
        return {EvalAt(param, int(index), 0, nullptr), {}};
    return {element.value, element.track};
}

std::vector<ParamElement> IParamBlock2::GetElements(ParamID id) const {
    const Param* param = Get(id);
    std::vector<ParamElement> all;
    for (size_t i = 0; param && i < param->elements.size(); ++i)
        all.push_back(ReadElement(*param, i));
    return all;
}

const std::vector<ParamKey>& IParamBlock2::GetKeys(ParamID id, int index) const {
    static const std::vector<ParamKey> none;
    const Element* element = Find(id, index);
    return element ? element->track.keys : none;
}
