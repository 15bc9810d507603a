#include "host/storage/unknown_entity.h"

#include "host/scene/derived_object.h"
#include "host/scene/material.h"
#include "host/scene/texmap.h"

namespace {

class UnknownTexmapBase : public Texmap {
public:
    AColor EvalColor(const TexPoint&) const override { return {}; }
};

class UnknownModifierBase : public Modifier {
public:
    std::shared_ptr<Object> Modify(const std::shared_ptr<Object>& input, TimeValue,
                                   Interval*) const override {
        return input;
    }
    bool Takes(const Object&) const override { return true; }
};

template <class Base>
class Unknown : public Base, public UnknownEntity {
public:
    Unknown(UnknownContent stored, size_t numRefs) {
        content = std::move(stored);
        for (size_t i = 0; i < numRefs; ++i)
            m_refs.push_back(std::make_unique<Reference<ReferenceTarget>>(this));
    }

    ClassInfo Class() const override { return {content.id, content.super, content.name.c_str()}; }
    int NumRefs() const override { return int(m_refs.size()); }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override {
        return slot >= 0 && slot < NumRefs() ? m_refs[size_t(slot)]->Share() : nullptr;
    }
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) override {
        if (slot >= 0 && slot < NumRefs()) *m_refs[size_t(slot)] = std::move(target);
    }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override {
        auto copy = std::make_shared<Unknown>(content, m_refs.size());
        for (size_t i = 0; i < m_refs.size(); ++i)
            map.Refer(m_refs[i]->Share(),
                      [copy, i](auto target) { copy->SetReference(int(i), std::move(target)); });
        return copy;
    }

private:
    std::vector<std::unique_ptr<Reference<ReferenceTarget>>> m_refs;
};

}  // namespace

std::shared_ptr<ReferenceTarget> MakeUnknownEntity(UnknownContent content, size_t numRefs) {
    switch (content.super) {
        case SuperClass::kGeomObject:
        case SuperClass::kCamera:
        case SuperClass::kLight:
        case SuperClass::kShape:
        case SuperClass::kHelper:
        case SuperClass::kParticles:
            return std::make_shared<Unknown<Object>>(std::move(content), numRefs);
        case SuperClass::kMaterial:
            return std::make_shared<Unknown<Mtl>>(std::move(content), numRefs);
        case SuperClass::kTexmap:
            return std::make_shared<Unknown<UnknownTexmapBase>>(std::move(content), numRefs);
        case SuperClass::kModifier:
            return std::make_shared<Unknown<UnknownModifierBase>>(std::move(content), numRefs);
        default:
            return std::make_shared<Unknown<ReferenceTarget>>(std::move(content), numRefs);
    }
}
