#include "host/scene/derived_object.h"

#include "host/params/clone_map.h"

// The modifier that comes or goes is kept by the record while it is not in the stack.
void DerivedObject::InsertModifier(int i, std::shared_ptr<Modifier> modifier) {
    RecordExchange(*this, [this, i, out = std::shared_ptr<Modifier>()]() mutable {
        if (out)
            PutModifier(i, std::exchange(out, nullptr));
        else
            out = TakeModifier(i);
    });
    PutModifier(i, std::move(modifier));
}

void DerivedObject::RemoveModifier(int i) {
    RecordExchange(*this, [this, i, out = m_modifiers[size_t(i)]->Share()]() mutable {
        if (out)
            PutModifier(i, std::exchange(out, nullptr));
        else
            out = TakeModifier(i);
    });
    TakeModifier(i);
}

void DerivedObject::PutModifier(int i, std::shared_ptr<Modifier> modifier) {
    auto slot = std::make_unique<Reference<Modifier>>(this);
    *slot = std::move(modifier);
    m_modifiers.insert(m_modifiers.begin() + i, std::move(slot));
    Stale();
}

std::shared_ptr<Modifier> DerivedObject::TakeModifier(int i) {
    std::shared_ptr<Modifier> modifier = m_modifiers[size_t(i)]->Share();
    m_modifiers.erase(m_modifiers.begin() + i);
    Stale();
    return modifier;
}

void DerivedObject::Stale() {
    m_resultValid = Interval::Never();
    m_result = nullptr;
    NotifyDependents();
}

std::shared_ptr<Object> DerivedObject::Evaluated(TimeValue t, Interval* valid) {
    if (!m_result || !m_resultValid.Contains(t)) {
        m_resultValid = Interval::Forever();
        std::shared_ptr<Object> object =
            m_base ? m_base->Evaluated(t, &m_resultValid) : std::make_shared<DummyObject>();
        for (const auto& slot : m_modifiers) {
            const Modifier* modifier = slot->Get();
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
    return slot > 0 && slot <= NumModifiers() ? m_modifiers[size_t(slot - 1)]->Share() : nullptr;
}

void DerivedObject::SetReference(int slot, std::shared_ptr<ReferenceTarget> target) {
    if (slot == 0) m_base = std::dynamic_pointer_cast<Object>(target);
    if (slot > 0 && slot <= NumModifiers())
        *m_modifiers[size_t(slot - 1)] = std::dynamic_pointer_cast<Modifier>(target);
}

std::string DerivedObject::SubAnimName(int i) const {
    std::shared_ptr<ReferenceTarget> target = GetReference(i);
    return target ? target->ClassName() : "Object";
}

std::shared_ptr<ReferenceTarget> DerivedObject::Clone(CloneMap& map) const {
    auto copy = std::make_shared<DerivedObject>();
    copy->m_base = map.CopyPart(m_base.Share());
    for (const auto& slot : m_modifiers)
        copy->PutModifier(copy->NumModifiers(), map.CopyPart(slot->Share()));
    return copy;
}
