// An object with modifiers on it.
//
// A node shows a derived object in place of the one that its modifiers change: the base object goes
// in at the bottom, each modifier hands on what it made of it, and what comes out at the top is
// what the world sees. Results are kept for as long as they hold. One thread at a time.
#pragma once

#include <memory>

#include "host/scene/object.h"

class Modifier : public ReferenceTarget {
public:
    // Switched off, it hands on what it gets.
    Property<bool> enabled{this, true};

    // What it makes of `input` at time t; never null, and never the input itself changed. `valid`
    // is narrowed to how long that stays the same, the input's own validity left aside.
    virtual std::shared_ptr<Object> Modify(const std::shared_ptr<Object>& input, TimeValue t,
                                           Interval* valid) const = 0;
    // Whether it can do something with this object; others pass through.
    virtual bool Takes(const Object& input) const = 0;

    ClassInfo Class() const override { return {{}, SuperClass::kModifier, "Modifier"}; }
};

class DerivedObject : public Object {
public:
    Object* Base() const { return m_base.Get(); }
    // Never a derived object that holds this one. Tells, and can be undone.
    void SetBase(std::shared_ptr<Object> base) { m_base = std::move(base); }

    // From the base object up.
    int NumModifiers() const { return m_modifiers.Count(); }
    Modifier* GetModifier(int i) const { return m_modifiers.Get(i); }
    // Puts a modifier at place i (at most NumModifiers()); tells, and can be undone.
    void InsertModifier(int i, std::shared_ptr<Modifier> modifier) {
        m_modifiers.Insert(i, std::move(modifier));
    }
    void RemoveModifier(int i) { m_modifiers.Remove(i); }

    std::shared_ptr<Object> Evaluated(TimeValue t, Interval* valid) override;

    Interval ObjectValidity(TimeValue t) const override;
    std::shared_ptr<const Mesh> GetRenderMesh(TimeValue t) override;
    std::shared_ptr<const HeightField> GetHeightField(TimeValue t) override;
    std::string MeshRefusal() const override { return m_base ? m_base->MeshRefusal() : ""; }
    bool IsGeomObject() const override { return m_base && m_base->IsGeomObject(); }
    bool IsShape() const override { return m_base && m_base->IsShape(); }
    bool IsCamera() const override { return m_base && m_base->IsCamera(); }
    bool IsLight() const override { return m_base && m_base->IsLight(); }
    bool IsParticleSystem() const override { return m_base && m_base->IsParticleSystem(); }
    INode* GetTargetNode() const override { return m_base ? m_base->GetTargetNode() : nullptr; }
    Mtl* DefaultMtl() const override { return m_base ? m_base->DefaultMtl() : nullptr; }

    // Any change below, and another base object, makes the kept result stale.
    void ValueChanged() override;
    RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget* from) override;
    static constexpr ClassInfo kClass{{0x3d1c0018, 0x52a7}, SuperClass::kGeomObject, "Derived"};
    ClassInfo Class() const override { return kClass; }
    // The base object, then the modifiers.
    int NumRefs() const override { return 1 + NumModifiers(); }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) override;
    void SetNumRefs(int count) override { m_modifiers.MakeSlots(std::max(0, count - 1)); }
    int NumSubs() const override { return NumRefs(); }
    ReferenceTarget* SubAnim(int i) const override { return GetReference(i).get(); }
    std::string SubAnimName(int i) const override;
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    RefProperty<Object> m_base{this};
    ReferenceList<Modifier> m_modifiers{this};
    std::shared_ptr<Object> m_result;  // of the last evaluation
    Interval m_resultValid = Interval::Never();
};
