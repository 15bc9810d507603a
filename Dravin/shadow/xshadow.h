// A shadow type that gives billboards shadows of their real outline.
//
// It wraps the host's shadow map: while that map is drawn, the flat faces of items are blanked, and
// afterwards each such item is drawn into it as a quad that faces the light, and one near the
// ground, cut out by an opacity map. Items that keep their faces cast their own shadows.
#pragma once

#include <memory>

#include "host/params/param_block.h"
#include "host/scene/shadow_map.h"
#include "host/scene/texmap.h"

namespace xshadowParams {
#define PARAM(symbol, id, ...) symbol = id,
enum : ParamID {
#include "Dravin/shadow/xshadow_params.inc"
};
#undef PARAM
}  // namespace xshadowParams

const ParamBlockDesc2& XShadowBlock();

// Values of `typemap`.
enum TXShadowImage { kImageOpaque = 0, kImageFromMaterial = 1, kImageCustom = 2 };

class XShadow : public ShadowType {
public:
    XShadow();

    IParamBlock2& Block() const { return *m_block.Get(); }
    Texmap* CustomMap() const { return m_map.Get(); }
    // The map that it wraps.
    ShadowMapType& Inner() const { return *m_inner; }

    std::unique_ptr<ShadowGenerator> CreateShadowGenerator(const LightObject* light,
                                                           const LightDesc& about,
                                                           uint32_t flags) override;
    int MapSize(TimeValue t) const override;

    static constexpr ClassInfo kClass{{0x687e3302, 0x3a8f70c8}, SuperClass::kShadowType, "XShadow"};
    ClassInfo Class() const override { return kClass; }
    // The parameters, the custom map.
    int NumRefs() const override { return 2; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) override;
    int NumSubs() const override { return 2; }
    ReferenceTarget* SubAnim(int i) const override { return GetReference(i).get(); }
    std::string SubAnimName(int i) const override;
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    Reference<IParamBlock2> m_block{this};
    Reference<Texmap> m_map{this};
    std::shared_ptr<ShadowMapType> m_inner = NewDefaultShadowMapType();
};
