#include "host/params/param_block.h"

#include <algorithm>
#include <cassert>

#include "host/params/clone_map.h"
#include "host/params/edit_context.h"
#include "host/params/hold.h"
#include "host/params/param_element.h"

namespace {

using TargetPtr = std::shared_ptr<ReferenceTarget>;

bool IsListedAsSub(const ParamDef& def) { return def.animatable || def.subAnim; }

}  // namespace

// What listings of sub-anims show of one element of a parameter, or of the whole (-1): which
// elements there are, whether each has keys, which map it holds.
class IParamBlock2::SubsOfParam {
public:
    // Before a change.
    SubsOfParam(IParamBlock2& block, const Param& param, int index)
        : m_block(block), m_param(param), m_index(index), m_subs(List()) {}
    // After it: dependents hear, where it is another now.
    void Tell() const {
        if (m_block.m_notifySuspended > 0 || List() == m_subs) return;
        RefChange change{RefMessage::kSubAnimStructureChanged};
        change.paramId = m_param.def->id;
        change.tabIndex = m_index;
        m_block.NotifyDependents(change);
    }

private:
    using Sub = std::pair<bool, const ReferenceTarget*>;

    std::vector<Sub> List() const {
        std::vector<Sub> subs;
        if (!IsListedAsSub(*m_param.def)) return subs;
        size_t count = m_param.elements.size();
        size_t first = m_index < 0 ? 0 : size_t(m_index);
        size_t end = m_index < 0 ? count : std::min(count, first + 1);
        for (size_t i = first; i < end; ++i)
            subs.emplace_back(!m_param.elements[i].track.IsEmpty(), m_block.Held(m_param, i));
        return subs;
    }

    IParamBlock2& m_block;
    const Param& m_param;
    int m_index;
    std::vector<Sub> m_subs;
};

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
    size_t Size() const override {
        return sizeof(*this) + (m_before.size() + m_after.size()) * sizeof(ParamElement);
    }

private:
    std::vector<ParamElement> Current() {
        if (m_index < 0) return m_block->GetElements(m_id);
        if (!IsThere()) return m_before;
        return {m_block->ReadElement(*m_block->Get(m_id), size_t(m_index))};
    }
    void Put(const std::vector<ParamElement>& contents) {
        IParamBlock2::Param& param = *m_block->Get(m_id);
        IParamBlock2::SubsOfParam subs(*m_block, param, m_index);
        if (m_index < 0)
            m_block->ReplaceAll(param, contents);
        else if (IsThere())
            m_block->WriteElement(param, size_t(m_index), contents[0]);
        m_block->Changed(m_id, m_index);
        subs.Tell();
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

// Writing: content goes in by WriteElement and ReplaceAll; the functions above them add undo,
// accessors and messages.

IParamBlock2::Element IParamBlock2::MakeElement(const ParamDef& def, ParamElement content) {
    Element element;
    element.value = ZeroValue(def.type);
    if (!IsReferenceType(def.type)) {
        element.value = std::move(content.value);
        element.track = std::move(content.track);
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
        element.track = std::move(content.track);
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
    SubsOfParam subs(*this, param, int(index));
    Record(param, int(index), {ReadElement(param, index)});
    WriteElement(param, index, std::move(content));
    Changed(param.def->id, int(index));
    subs.Tell();
}

bool IParamBlock2::SetValue(ParamID id, TimeValue t, ParamValue value, int index) {
    Param* param = Get(id);
    if (!Find(id, index)) return false;
    if (!ConvertValue(value, param->def->type)) {
        assert(!"value of another type than the parameter's");
        return false;
    }
    const PBAccessor* accessor = m_accessorsSuspended == 0 ? param->def->accessor : nullptr;
    if (accessor) accessor->Set(value, *this, id, index, t);
    if (!Find(id, index)) return false;  // the accessor may have changed the list

    ParamElement content = ReadElement(*param, size_t(index));
    if (param->def->animatable && CurrentEdits().animating) {
        if (content.track.IsEmpty() && t != 0) content.track.SetKey(0, content.value);
        content.track.SetKey(t, value);
    } else if (!content.track.IsEmpty()) {
        ParamValue now = content.At(t);
        for (ParamKey& key : content.track.keys) key.value = ShiftedValue(key.value, now, value);
    } else {
        content.value = std::move(value);
    }
    StoreElement(*param, size_t(index), std::move(content));
    if (accessor) accessor->WasSet(*this, id, index, t);
    return true;
}

bool IParamBlock2::Edit(Param& param, std::vector<ParamElement> contents, ListChange change, int at,
                        int count) {
    SubsOfParam subs(*this, param, -1);
    Record(param, -1, GetElements(param.def->id));
    ReplaceAll(param, std::move(contents));
    Changed(param.def->id, -1);
    subs.Tell();
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
        if (!ConvertValue(fresh.back().value, param->def->type)) {
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
        if (!ConvertValue(element.value, param->def->type)) return false;
        for (ParamKey& key : element.track.keys)
            if (!ConvertValue(key.value, param->def->type)) return false;
    }
    if (!param->def->list) {
        StoreElement(*param, 0, std::move(elements[0]));
        return true;
    }
    int count = int(elements.size());
    return Edit(*param, std::move(elements), ListChange::kAssign, 0, count);
}

bool IParamBlock2::SetKeys(ParamID id, std::vector<ParamKey> keys, int index) {
    return SetTrack(id, {std::move(keys)}, index);
}

bool IParamBlock2::SetTrack(ParamID id, ParamTrack track, int index) {
    Param* param = Get(id);
    if (!Find(id, index) || !param->def->animatable) return false;
    for (ParamKey& key : track.keys)
        if (!ConvertValue(key.value, param->def->type)) return false;
    // Of keys at one time the last counts.
    ParamElement content = ReadElement(*param, size_t(index));
    std::reverse(track.keys.begin(), track.keys.end());
    std::stable_sort(track.keys.begin(), track.keys.end(),
                     [](const ParamKey& a, const ParamKey& b) { return a.time < b.time; });
    auto sameTime = [](const ParamKey& a, const ParamKey& b) { return a.time == b.time; };
    track.keys.erase(std::unique(track.keys.begin(), track.keys.end(), sameTime), track.keys.end());
    content.track = std::move(track);
    StoreElement(*param, size_t(index), std::move(content));
    return true;
}

void IParamBlock2::ResetAll() {
    for (Param& param : m_params) {
        const ParamDef& def = *param.def;
        if (def.keepOnReset) continue;
        if (def.ownerSlot >= 0) {
            SubsOfParam subs(*this, param, 0);
            Record(param, 0, {ReadElement(param, 0)});
            if (m_owner) m_owner->ResetReference(def.ownerSlot);
            Changed(def.id, 0);
            subs.Tell();
        } else if (!def.list) {
            StoreElement(param, 0, {def.defaultValue, {}});
        } else if (!param.elements.empty()) {
            SubsOfParam subs(*this, param, -1);
            Record(param, -1, GetElements(def.id));
            param.elements.clear();
            Changed(def.id, -1);
            subs.Tell();
        }
    }
}

bool IParamBlock2::Accepts(ParamID id, const ReferenceTarget* target) const {
    const ParamDef* def = m_desc.Find(id);
    return def && (!target || target->Passes(def->only));
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

// Copies.

std::shared_ptr<ReferenceTarget> IParamBlock2::Clone(CloneMap& map) const {
    return CloneFor(nullptr, map);
}

std::shared_ptr<IParamBlock2> IParamBlock2::CloneFor(ReferenceMaker* owner, CloneMap& map) const {
    auto copy = Create(m_desc, owner);
    for (size_t p = 0; p < m_params.size(); ++p) {
        if (m_params[p].def->ownerSlot >= 0) continue;
        Param& param = copy->m_params[p];
        copy->ReplaceAll(param, GetElements(param.def->id));
        for (Element& element : param.elements)
            if (element.slot)
                map.Refer(element.slot->Share(), [slot = element.slot.get(), copy](auto target) {
                    *slot = std::move(target);
                });
    }
    return copy;
}

int IParamBlock2::NumRefs() const {
    int n = 0;
    for (const Param& param : m_params)
        for (const Element& element : param.elements) n += element.slot != nullptr;
    return n;
}

const IParamBlock2::Element* IParamBlock2::ElementOfSlot(int slot) const {
    for (const Param& param : m_params)
        for (const Element& element : param.elements)
            if (element.slot && slot-- == 0) return &element;
    return nullptr;
}

std::shared_ptr<ReferenceTarget> IParamBlock2::GetReference(int slot) const {
    const Element* element = ElementOfSlot(slot);
    return element ? element->slot->Share() : nullptr;
}

void IParamBlock2::SetReference(int slot, std::shared_ptr<ReferenceTarget> target) {
    if (const Element* element = ElementOfSlot(slot)) *element->slot = std::move(target);
}

int IParamBlock2::NumSubs() const {
    int n = 0;
    for (const Param& param : m_params)
        if (IsListedAsSub(*param.def)) n += int(param.elements.size());
    return n;
}

const IParamBlock2::Param* IParamBlock2::ParamOfSub(int i, int* element) const {
    for (const Param& param : m_params) {
        if (i < 0) return nullptr;
        if (!IsListedAsSub(*param.def)) continue;
        int count = int(param.elements.size());
        if (i < count) return *element = i, &param;
        i -= count;
    }
    return nullptr;
}

ReferenceTarget* IParamBlock2::Held(const Param& param, size_t index) const {
    if (!IsReferenceType(param.def->type)) return nullptr;
    return std::get<TargetPtr>(EvalAt(param, int(index), 0, nullptr)).get();
}

ReferenceTarget* IParamBlock2::SubAnim(int i) const {
    int element = 0;
    const Param* param = ParamOfSub(i, &element);
    return param ? Held(*param, size_t(element)) : nullptr;
}

std::string IParamBlock2::SubAnimName(int i) const {
    int element = 0;
    const Param* param = ParamOfSub(i, &element);
    return param ? ElementName(param->def->id, element) : "";
}
