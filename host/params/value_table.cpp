#include "host/params/value_table.h"

#include "host/params/assign_target.h"

namespace {

std::vector<ParamDef> NumberedDefs(std::vector<PropertyField>& fields) {
    std::vector<ParamDef> defs;
    for (PropertyField& field : fields) {
        field.def.id = ParamID(defs.size());
        field.def.readOnly |= !field.put;
        defs.push_back(field.def);
    }
    return defs;
}

}  // namespace

PropertyTable::PropertyTable(std::string title, std::vector<PropertyField> fields)
    : m_fields(std::move(fields)),
      m_desc(0, "properties", std::move(title), -1, true, NumberedDefs(m_fields)) {}

int ValueTable::Count(ParamID id) const {
    return m_block ? m_block->Count(id) : int(m_table->Field(id).get(*m_owner).size());
}

ParamValue ValueTable::Get(ParamID id, TimeValue t, int index) const {
    if (m_block) return m_block->GetValue(id, t, index);
    return m_table->Field(id).get(*m_owner).at(size_t(index)).At(t);
}

bool ValueTable::IsKeyed(ParamID id) const {
    if (Desc().Find(id)->list) return false;
    if (m_block) return !m_block->GetKeys(id).empty();
    return !GetElements(id).at(0).track.IsEmpty();
}

std::vector<ParamElement> ValueTable::GetElements(ParamID id) const {
    return m_block ? m_block->GetElements(id) : m_table->Field(id).get(*m_owner);
}

void ValueTable::SetElements(ParamID id, std::vector<ParamElement> elements) {
    if (m_block)
        m_block->SetElements(id, std::move(elements));
    else
        m_table->Field(id).put(*m_owner, std::move(elements));
}

bool ValueTable::Accepts(ParamID id, const ReferenceTarget* target) const {
    if (m_block) return m_block->Accepts(id, target);
    return !target || target->Passes(m_table->Field(id).def.only);
}

void ValueTable::Append(ParamID id, std::shared_ptr<ReferenceTarget> target) {
    if (m_block) {
        m_block->Append(id, std::move(target));
        return;
    }
    std::vector<ParamElement> elements = GetElements(id);
    elements.emplace_back();
    elements.back().value = std::move(target);
    SetElements(id, std::move(elements));
}

void ValueTable::Delete(ParamID id, int index) {
    if (m_block) {
        m_block->Delete(id, index);
        return;
    }
    std::vector<ParamElement> elements = GetElements(id);
    elements.erase(elements.begin() + index);
    SetElements(id, std::move(elements));
}

void ValueTable::Reset(ParamID id) {
    const ParamDef& def = *Desc().Find(id);
    if (m_block && def.list) {
        m_block->SetCount(id, 0);
        return;
    }
    std::vector<ParamElement> elements(def.list ? 0 : 1);
    if (!def.list) elements[0].value = def.defaultValue;
    SetElements(id, std::move(elements));
}

AssignTarget ValueTable::TargetOf(const ParamDef& def, TimeValue t) {
    return {Count(def.id),
            [this, &def, t](int index, ParamValue value) {
                const PropertyField& field = m_table->Field(def.id);
                if (field.setAt) return field.setAt(*m_owner, t, value);
                std::vector<ParamElement> elements = field.get(*m_owner);
                ParamElement& element = elements.at(size_t(index));
                element.value = std::move(value);
                element.track = {};
                field.put(*m_owner, std::move(elements));
            },
            [this, &def](std::vector<ParamElement> elements) {
                SetElements(def.id, std::move(elements));
            }};
}

AssignResult ValueTable::Assign(const ParamDef& def, const ParamInput& input, TimeValue t,
                                const NameResolver& resolve) {
    constexpr auto kSource = AssignSource::kScript;
    return m_block ? AssignParam(*m_block, def, input, t, kSource, resolve)
                   : AssignWhole(TargetOf(def, t), def, input, kSource, resolve);
}

AssignResult ValueTable::Assign(const ParamDef& def, int index, const ParamInput& input,
                                TimeValue t, const NameResolver& resolve) {
    constexpr auto kSource = AssignSource::kScript;
    return m_block ? AssignElement(*m_block, def, index, input, t, kSource, resolve)
                   : AssignOne(TargetOf(def, t), def, index, input, kSource, resolve);
}
