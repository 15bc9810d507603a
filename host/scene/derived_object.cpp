#include "host/scene/derived_object.h"

#include "host/params/clone_map.h"

void DerivedObject::ValueChanged() {
    m_resultValid = Interval::Never();
    m_result = nullptr;
    NotifyDependents();
}

std::shared_ptr<Object> DerivedObject::Evaluated(TimeValue t, Interval* valid) {
    if (!m_result || !m_resultValid.Contains(t)) {
        m_resultValid = Interval::Forever();
        std::shared_ptr<Object> object =
            m_base ? m_base->Evaluated(t, &m_resultValid) : std::make_shared<DummyObject>();
        for (int i = 0; i < NumModifiers(); ++i) {
            const Modifier* modifier = GetModifier(i);
            if (modifier && modifier->enabled && modifier->Takes(*object))
                object = modifier->Modify(object, t, &m_resultValid);
        }
        m_result = std::move(object);
    }
    if (valid) *valid &= m_resultValid;
    return m_result;
}

Interval DerivedObject::ObjectValidity(TimeValue t) const {
    Interval valid = Interval::Forever();
    const_cast<DerivedObject*>(this)->Evaluated(t, &valid);
    return valid;
}

std::shared_ptr<const Mesh> DerivedObject::GetRenderMesh(TimeValue t) {
    return Evaluated(t, nullptr)->GetRenderMesh(t);
}

std::shared_ptr<const HeightField> DerivedObject::GetHeightField(TimeValue t) {
    return Evaluated(t, nullptr)->GetHeightField(t);
}

RefResult DerivedObject::NotifyRefChanged(const RefChange& change, ReferenceTarget* from) {
    m_resultValid = Interval::Never();
    m_result = nullptr;
    if (change.message == RefMessage::kTargetDeleted) NotifyDependents();
    return RefResult::kSucceed;
}

std::shared_ptr<ReferenceTarget> DerivedObject::GetReference(int slot) const {
    if (slot == 0) return m_base.Share();
    return m_modifiers.Share(slot - 1);
}

void DerivedObject::SetReference(int slot, std::shared_ptr<ReferenceTarget> target) {
    if (slot == 0) m_base.Put(std::dynamic_pointer_cast<Object>(target));
    m_modifiers.Put(slot - 1, std::dynamic_pointer_cast<Modifier>(target));
}

std::string DerivedObject::SubAnimName(int i) const {
    if (i < 0 || i >= NumSubs()) return {};
    std::shared_ptr<ReferenceTarget> target = GetReference(i);
    return target ? target->ClassName() : i == 0 ? "Object" : "Modifier";
}

std::shared_ptr<ReferenceTarget> DerivedObject::Clone(CloneMap& map) const {
    auto copy = std::make_shared<DerivedObject>();
    copy->m_base.Put(map.CopyPart(m_base.Share()));
    copy->m_modifiers.MakeSlots(NumModifiers());
    for (int i = 0; i < NumModifiers(); ++i)
        copy->m_modifiers.Put(i, map.CopyPart(m_modifiers.Share(i)));
    return copy;
}
