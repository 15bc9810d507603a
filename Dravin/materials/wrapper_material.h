// The wrapper material: another material with the item's tint on it.
//
// On the shadow planes of billboards it is invisible, and casts a shadow of the form of its maps.
#pragma once

#include "Dravin/materials/shaded_items.h"
#include "Dravin/materials/with_params.h"
#include "host/scene/material.h"

namespace wrapperParams {
#define PARAM(symbol, id, ...) symbol = id,
enum : ParamID {
#include "Dravin/materials/wrapper_params.inc"
};
#undef PARAM
}  // namespace wrapperParams

const ParamBlockDesc2& WrapperBlock();

class DMat : public WithParams<Mtl> {
public:
    DMat();

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
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    // Worked out by Update.
    const Mtl* m_base = nullptr;
    const Texmap *m_verticalShadow = nullptr, *m_horizontalShadow = nullptr;
    bool m_overrides = false;
    TTintSettings m_tint;
};
