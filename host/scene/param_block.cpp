#include "host/scene/param_block.h"

#include <algorithm>
#include <cassert>
#include <cmath>

#include "host/scene/host_context.h"
#include "host/scene/node.h"
#include "host/scene/texmap.h"

// Elements of reference types keep their target in a slot; the value beside it stays null then.
struct IParamBlock2::Element {
    ParamValue value;
    std::vector<ParamKey> keys;
    std::unique_ptr<Reference<ReferenceTarget>> slot;
};

namespace {

using TargetPtr = std::shared_ptr<ReferenceTarget>;

double Number(const ParamValue& value) {
    if (auto* f = std::get_if<float>(&value)) return double(*f);
    return double(std::get<int32_t>(value));
}

int32_t Truncated(float f) {
    if (std::isnan(f)) return 0;
    return int32_t(std::clamp(double(f), -2147483648.0, 2147483647.0));
}

bool FitsType(const TargetPtr& target, ParamType type) {
    if (!target || type == ParamType::kReference) return true;
    if (type == ParamType::kNode) return dynamic_cast<INode*>(target.get());
    if (type == ParamType::kTexmap) return dynamic_cast<Texmap*>(target.get());
    return dynamic_cast<Mtl*>(target.get());
}

// `value` in the alternative that `type` uses; false when it has no such form.
bool Convert(ParamValue& value, ParamType type) {
    size_t wanted = ZeroValue(type).index();
    if (value.index() == wanted) {
        if (IsReferenceType(type)) return FitsType(std::get<TargetPtr>(value), type);
        if (type == ParamType::kBool) value = int32_t(std::get<int32_t>(value) != 0);
        return true;
    }
    if (auto* f = std::get_if<float>(&value); f && wanted == 1)
        return value = type == ParamType::kBool ? int32_t(*f != 0) : Truncated(*f), true;
    if (auto* i = std::get_if<int32_t>(&value); i && wanted == 0) return value = float(*i), true;
    return false;
}

ParamValue Lerp(const ParamValue& a, const ParamValue& b, double u) {
    if (auto* x = std::get_if<float>(&a))
        return float(double(*x) + (double(std::get<float>(b)) - double(*x)) * u);
    if (auto* x = std::get_if<int32_t>(&a))
        return int32_t(std::round(double(*x) + (double(std::get<int32_t>(b)) - double(*x)) * u));
    if (auto* x = std::get_if<Point3>(&a)) return *x + (std::get<Point3>(b) - *x) * float(u);
    if (auto* x = std::get_if<Color>(&a)) return *x + (std::get<Color>(b) - *x) * float(u);
    return a;
}

// a + (to - from), where that means something; else `to`.
ParamValue Shifted(const ParamValue& a, const ParamValue& from, const ParamValue& to) {
    if (auto* x = std::get_if<float>(&a)) return *x + (std::get<float>(to) - std::get<float>(from));
    if (auto* x = std::get_if<int32_t>(&a)) {
        double moved = Number(*x) + Number(to) - Number(from);
        return int32_t(std::clamp(moved, -2147483648.0, 2147483647.0));
    }
    if (auto* x = std::get_if<Point3>(&a))
        return *x + (std::get<Point3>(to) - std::get<Point3>(from));
    if (auto* x = std::get_if<Color>(&a)) return *x + (std::get<Color>(to) - std::get<Color>(from));
    return to;
}

void SetKey(std::vector<ParamKey>& keys, TimeValue t, const ParamValue& value) {
    auto it = std::lower_bound(keys.begin(), keys.end(), t,
                               [](const ParamKey& key, TimeValue time) { return key.time < time; });
    if (it != keys.end() && it->time == t)
        it->value = value;
    else
        keys.insert(it, {t, value});
}

}  // namespace

ParamValue EvalKeys(std::span<const ParamKey> keys, TimeValue t, Interval* valid) {
    Interval held = Interval::Forever();
    const ParamKey* next = keys.data();
    const ParamKey* end = keys.data() + keys.size();
    while (next != end && next->time <= t) ++next;
    ParamValue result;
    if (next == keys.data()) {
        result = next->value;
        held.end = next->time;
    } else if (next == end) {
        result = next[-1].value;
        held.start = next[-1].time;
    } else {
        const ParamKey& a = next[-1];
        result = Lerp(a.value, next->value,
                      (double(t) - double(a.time)) / (double(next->time) - double(a.time)));
        held = a.value == next->value ? Interval{a.time, next->time} : Interval::Instant(t);
    }
    if (valid) *valid &= held;
    return result;
}

// Undo of one element (index >= 0) or of a whole parameter (-1).
class ParamRestore : public RestoreObj {
public:
    ParamRestore(IParamBlock2& block, ParamID id, int index, std::vector<ParamElement> before)
        : m_block(std::static_pointer_cast<IParamBlock2>(block.shared_from_this())),
          m_id(id),
          m_index(index),
          m_before(std::move(before)) {}

    void Restore(bool isUndo) override {
        if (isUndo) m_after = Current();
        Put(m_before);
    }
    void Redo() override { Put(m_after); }

private:
    std::vector<ParamElement> Current() {
        if (m_index < 0) return m_block->GetElements(m_id);
        if (!IsThere()) return m_before;
        return {m_block->ReadElement(*m_block->Get(m_id), size_t(m_index))};
    }
    void Put(const std::vector<ParamElement>& contents) {
        IParamBlock2::Param& param = *m_block->Get(m_id);
        if (m_index < 0)
            m_block->ReplaceAll(param, contents);
        else if (IsThere())
            m_block->WriteElement(param, size_t(m_index), contents[0]);
        m_block->Changed(m_id, m_index);
    }
    // An edit that no step recorded may have made the list shorter.
    bool IsThere() const { return m_block->Find(m_id, m_index) != nullptr; }

    std::shared_ptr<IParamBlock2> m_block;
    ParamID m_id;
    int m_index;
    std::vector<ParamElement> m_before, m_after;
};

std::shared_ptr<IParamBlock2> IParamBlock2::Create(const ParamBlockDesc2& desc,
                                                   ReferenceMaker* owner) {
    return std::make_shared<IParamBlock2>(desc, owner);
}

IParamBlock2::IParamBlock2(const ParamBlockDesc2& desc, ReferenceMaker* owner)
    : m_desc(desc), m_owner(owner) {
    m_params.reserve(desc.params.size());
    for (const ParamDef& def : desc.params) {
        Param& param = m_params.emplace_back();
        param.def = &def;
        if (!def.list) param.elements.push_back(MakeElement(def, {def.defaultValue, {}}));
    }
}

IParamBlock2::~IParamBlock2() = default;

IParamBlock2::Param* IParamBlock2::Get(ParamID id) {
    int index = m_desc.IndexOf(id);
    return index < 0 ? nullptr : &m_params[size_t(index)];
}
const IParamBlock2::Param* IParamBlock2::Get(ParamID id) const {
    return const_cast<IParamBlock2*>(this)->Get(id);
}

const IParamBlock2::Element* IParamBlock2::Find(ParamID id, int index) const {
    const Param* param = Get(id);
    if (!param || index < 0 || size_t(index) >= param->elements.size()) return nullptr;
    return &param->elements[size_t(index)];
}

int IParamBlock2::Count(ParamID id) const {
    const Param* param = Get(id);
    return param ? int(param->elements.size()) : 0;
}

// Reading.

ParamValue IParamBlock2::EvalAt(const Param& param, int index, TimeValue t, Interval* valid) const {
    const Element& element = param.elements[size_t(index)];
    if (param.def->ownerSlot >= 0)
        return m_owner ? m_owner->GetReference(param.def->ownerSlot) : TargetPtr();
    if (element.slot) return element.slot->Share();
    if (element.keys.empty()) return element.value;
    return EvalKeys(element.keys, t, valid);
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
    if (element->keys.empty()) return std::get<float>(element->value);
    return std::get<float>(EvalKeys(element->keys, t, valid));
}

int IParamBlock2::GetInt(ParamID id, TimeValue t, int index, Interval* valid) const {
    const Element* element = Find(id, index);
    assert(element && std::holds_alternative<int32_t>(element->value));
    if (!element) return 0;
    if (element->keys.empty()) return std::get<int32_t>(element->value);
    return std::get<int32_t>(EvalKeys(element->keys, t, valid));
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
    if (element->keys.empty()) return std::get<Point3>(element->value);
    return std::get<Point3>(EvalKeys(element->keys, t, valid));
}

Color IParamBlock2::GetColor(ParamID id, TimeValue t, int index, Interval* valid) const {
    const Element* element = Find(id, index);
    assert(element && std::holds_alternative<Color>(element->value));
    if (!element) return {};
    if (element->keys.empty()) return std::get<Color>(element->value);
    return std::get<Color>(EvalKeys(element->keys, t, valid));
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
INode* IParamBlock2::GetNode(ParamID id, TimeValue t, int index) const {
    return dynamic_cast<INode*>(GetReference(id, t, index));
}
Texmap* IParamBlock2::GetTexmap(ParamID id, TimeValue t, int index) const {
    return dynamic_cast<Texmap*>(GetReference(id, t, index));
}
Mtl* IParamBlock2::GetMtl(ParamID id, TimeValue t, int index) const {
    return dynamic_cast<Mtl*>(GetReference(id, t, index));
}

ParamElement IParamBlock2::ReadElement(const Param& param, size_t index) const {
    const Element& element = param.elements[index];
    if (param.def->ownerSlot >= 0 || element.slot)
        return {EvalAt(param, int(index), 0, nullptr), {}};
    return {element.value, element.keys};
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
    return element ? element->keys : none;
}

// Writing: content goes in by WriteElement and ReplaceAll; the functions above them add undo,
// accessors and messages.

IParamBlock2::Element IParamBlock2::MakeElement(const ParamDef& def, ParamElement content) {
    Element element;
    element.value = ZeroValue(def.type);
    if (!IsReferenceType(def.type)) {
        element.value = std::move(content.value);
        element.keys = std::move(content.keys);
    } else if (def.ownerSlot < 0) {
        element.slot = std::make_unique<Reference<ReferenceTarget>>(this);
        *element.slot = std::get<TargetPtr>(content.value);
    }
    return element;
}

void IParamBlock2::WriteElement(Param& param, size_t index, ParamElement content) {
    Element& element = param.elements[index];
    if (param.def->ownerSlot >= 0) {
        if (m_owner)
            m_owner->SetReference(param.def->ownerSlot, std::get<TargetPtr>(content.value));
    } else if (element.slot) {
        *element.slot = std::get<TargetPtr>(content.value);
    } else {
        element.value = std::move(content.value);
        element.keys = std::move(content.keys);
    }
}

void IParamBlock2::ReplaceAll(Param& param, std::vector<ParamElement> contents) {
    std::vector<Element> elements;
    elements.reserve(contents.size());
    for (ParamElement& content : contents)
        elements.push_back(MakeElement(*param.def, std::move(content)));
    param.elements = std::move(elements);
}

void IParamBlock2::Record(Param& param, int index, std::vector<ParamElement> before) {
    if (Hold* hold = CurrentHold(); hold && hold->Holding() && weak_from_this().lock())
        hold->Put(std::make_unique<ParamRestore>(*this, param.def->id, index, std::move(before)));
}

void IParamBlock2::Changed(ParamID id, int index) {
    if (m_notifySuspended > 0) return;
    RefChange change;
    change.paramId = id;
    change.tabIndex = index;
    NotifyDependents(change);
}

void IParamBlock2::StoreElement(Param& param, size_t index, ParamElement content) {
    Record(param, int(index), {ReadElement(param, index)});
    WriteElement(param, index, std::move(content));
    Changed(param.def->id, int(index));
}

bool IParamBlock2::SetValue(ParamID id, TimeValue t, ParamValue value, int index) {
    Param* param = Get(id);
    if (!Find(id, index)) return false;
    if (!Convert(value, param->def->type)) {
        assert(!"value of another type than the parameter's");
        return false;
    }
    const PBAccessor* accessor = m_accessorsSuspended == 0 ? param->def->accessor : nullptr;
    if (accessor) accessor->Set(value, *this, id, index, t);
    if (!Find(id, index)) return false;  // the accessor may have changed the list

    ParamElement content = ReadElement(*param, size_t(index));
    HostContext* context = HostContext::Current();
    if (param->def->animatable && context && context->animating) {
        if (content.keys.empty() && t != 0) SetKey(content.keys, 0, content.value);
        SetKey(content.keys, t, value);
    } else if (!content.keys.empty()) {
        ParamValue now = EvalKeys(content.keys, t, nullptr);
        for (ParamKey& key : content.keys) key.value = Shifted(key.value, now, value);
    } else {
        content.value = std::move(value);
    }
    StoreElement(*param, size_t(index), std::move(content));
    if (accessor) accessor->WasSet(*this, id, index, t);
    return true;
}

bool IParamBlock2::Edit(Param& param, std::vector<ParamElement> contents, ListChange change, int at,
                        int count) {
    Record(param, -1, GetElements(param.def->id));
    ReplaceAll(param, std::move(contents));
    Changed(param.def->id, -1);
    if (param.def->accessor && m_accessorsSuspended == 0)
        param.def->accessor->ListChanged(change, *this, param.def->id, at, count);
    return true;
}

bool IParamBlock2::SetCount(ParamID id, int count) {
    Param* param = Get(id);
    if (!param || !param->def->list || count < 0) return false;
    int old = int(param->elements.size());
    if (count == old) return true;
    std::vector<ParamElement> contents = GetElements(id);
    contents.resize(size_t(count), {param->def->defaultValue, {}});
    return Edit(*param, std::move(contents), ListChange::kCount, std::min(old, count),
                std::abs(count - old));
}

bool IParamBlock2::Append(ParamID id) {
    Param* param = Get(id);
    return param && Append(id, param->def->defaultValue);
}

bool IParamBlock2::Append(ParamID id, ParamValue value) {
    return Insert(id, Count(id), std::span(&value, 1));
}

bool IParamBlock2::Insert(ParamID id, int at, std::span<const ParamValue> values) {
    Param* param = Get(id);
    if (!param || !param->def->list || at < 0 || at > Count(id)) return false;
    std::vector<ParamElement> contents = GetElements(id), fresh;
    for (const ParamValue& value : values) {
        fresh.push_back({value, {}});
        if (!Convert(fresh.back().value, param->def->type)) {
            assert(!"value of another type than the parameter's");
            return false;
        }
    }
    bool atEnd = at == Count(id);
    contents.insert(contents.begin() + at, fresh.begin(), fresh.end());
    return Edit(*param, std::move(contents), atEnd ? ListChange::kAppend : ListChange::kInsert, at,
                int(values.size()));
}

bool IParamBlock2::Delete(ParamID id, int at, int count) {
    Param* param = Get(id);
    if (!param || !param->def->list || at < 0 || count < 0 || at + count > Count(id)) return false;
    std::vector<ParamElement> contents = GetElements(id);
    contents.erase(contents.begin() + at, contents.begin() + at + count);
    return Edit(*param, std::move(contents), ListChange::kDelete, at, count);
}

bool IParamBlock2::SetElements(ParamID id, std::vector<ParamElement> elements) {
    Param* param = Get(id);
    if (!param || (!param->def->list && elements.size() != 1)) return false;
    for (ParamElement& element : elements) {
        if (!Convert(element.value, param->def->type)) return false;
        for (ParamKey& key : element.keys)
            if (!Convert(key.value, param->def->type)) return false;
    }
    if (!param->def->list) {
        StoreElement(*param, 0, std::move(elements[0]));
        return true;
    }
    int count = int(elements.size());
    return Edit(*param, std::move(elements), ListChange::kAssign, 0, count);
}

bool IParamBlock2::SetKeys(ParamID id, std::vector<ParamKey> keys, int index) {
    Param* param = Get(id);
    if (!Find(id, index) || !param->def->animatable) return false;
    ParamElement content = ReadElement(*param, size_t(index));
    content.keys.clear();
    for (ParamKey& key : keys) {
        if (!Convert(key.value, param->def->type)) return false;
        SetKey(content.keys, key.time, key.value);
    }
    StoreElement(*param, size_t(index), std::move(content));
    return true;
}

void IParamBlock2::ResetAll() {
    for (Param& param : m_params) {
        const ParamDef& def = *param.def;
        if (def.keepOnReset) continue;
        if (def.ownerSlot >= 0) {
            Record(param, 0, {ReadElement(param, 0)});
            if (m_owner) m_owner->ResetReference(def.ownerSlot);
            Changed(def.id, 0);
        } else if (!def.list) {
            StoreElement(param, 0, {def.defaultValue, {}});
        } else if (!param.elements.empty()) {
            Record(param, -1, GetElements(def.id));
            param.elements.clear();
            Changed(def.id, -1);
        }
    }
}

bool IParamBlock2::Accepts(ParamID id, const INode* node, TimeValue t) const {
    const ParamDef* def = m_desc.Find(id);
    if (!def || !node || def->only == ClassTest::kAny) return def != nullptr;
    const Object* object = node->GetObjectRef();
    if (!object) return false;
    switch (def->only) {
        case ClassTest::kGeometry:
            return object->IsGeomObject();
        case ClassTest::kShape:
            return object->IsShape();
        case ClassTest::kCamera:
            return object->IsCamera();
        case ClassTest::kLight:
            return object->IsLight();
        default:
            return object->IsParticleSystem();
    }
}

std::string IParamBlock2::ElementName(ParamID id, int index) const {
    const ParamDef* def = m_desc.Find(id);
    if (!def) return {};
    if (def->elementName) return def->elementName(*this, index);
    return def->label.empty() ? def->name : def->label;
}

// Messages from what the block refers to.

RefResult IParamBlock2::NotifyRefChanged(const RefChange& change, ReferenceTarget* from) {
    if (change.message == RefMessage::kTargetDeleted) {
        Changed(m_lostId, m_lostIndex);
        return RefResult::kStop;
    }
    if (m_notifySuspended > 0) return RefResult::kStop;
    // The slot tells which parameter it was, where several hold one target.
    for (const Param& param : m_params)
        for (size_t i = 0; i < param.elements.size(); ++i) {
            const Element& element = param.elements[i];
            if (!element.slot || element.slot.get() != change.slot) continue;
            if (param.def->noReference) return RefResult::kStop;
            RefChange sent = change;
            sent.paramId = param.def->id;
            sent.tabIndex = int(i);
            NotifyDependents(sent);
            return RefResult::kStop;
        }
    return RefResult::kStop;
}

bool IParamBlock2::SlotLosesTarget(const ReferenceBase& slot) {
    for (Param& param : m_params)
        for (size_t i = 0; i < param.elements.size(); ++i)
            if (param.elements[i].slot.get() == &slot) {
                m_lostId = param.def->id;
                m_lostIndex = int(i);
                Record(param, int(i), {ReadElement(param, i)});
                return true;
            }
    return false;
}
