// The wrapper material: another material with the item's tint on it.
//
// On the shadow planes of billboards it is invisible, and casts a shadow of the form of its maps.
#pragma once

#include "Dravin/materials/shaded_items.h"
#include "host/params/param_block.h"
#include "host/scene/material.h"

namespace wrapperParams {
#define PARAM(symbol, id, ...) symbol = id,
enum : ParamID {
#include "Dravin/materials/wrapper_params.inc"
};
#undef PARAM
}  // namespace wrapperParams

class DMat : public Mtl {
public:
    DMat();
    IParamBlock2& Block() const { return *m_block.Get(); }

    int NumSubMtls() const override { return 1; }
    Mtl* GetSubMtl(int) const override { return Block().GetMtl(wrapperParams::kMaterial1); }
    void Update(TimeValue t, std::vector<std::string>* problems) override;
    void TellNeeds(ShadeNeeds* needs) const override;
    float Opacity(const ShadeContext& sc) const override;
    void Shade(const ShadeContext& sc, SurfaceLook* look) const override;
    const StandardMtl* AsStandard(int matID) const override {
        return StandardMtlOfFace(GetSubMtl(0), matID);
    }

    static constexpr ClassInfo kClass{{0x3d1c0111, 0x52a7}, SuperClass::kMaterial, "DravinMat"};
    ClassInfo Class() const override { return kClass; }
    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override {
        return slot == 0 ? m_block.Share() : nullptr;
    }
    int NumSubs() const override { return 1; }
    ReferenceTarget* SubAnim(int) const override { return m_block.Get(); }
    std::string SubAnimName(int) const override { return "Parameters"; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    explicit DMat(std::shared_ptr<IParamBlock2> block);

    Reference<IParamBlock2> m_block{this};
    // Worked out by Update.
    const Mtl* m_base = nullptr;
    bool m_overrides = false;
    TTintSettings m_tint;
};
