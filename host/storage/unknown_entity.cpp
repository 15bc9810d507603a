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
        m_refs.MakeSlots(int(numRefs));
    }

    ClassInfo Class() const override { return {content.id, content.super, content.name.c_str()}; }
    int NumRefs() const override { return m_refs.Count(); }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override {
        return m_refs.Share(slot);
    }
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) override {
        m_refs.Put(slot, std::move(target));
    }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override {
        auto copy = std::make_shared<Unknown>(content, size_t(NumRefs()));
        for (int i = 0; i < NumRefs(); ++i)
            map.Refer(m_refs.Share(i),
                      [copy, i](auto target) { copy->SetReference(i, std::move(target)); });
        return copy;
    }

private:
    ReferenceList<ReferenceTarget> m_refs{this};
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
