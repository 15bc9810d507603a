// The host's own shadow type: a map of depths, seen from the light.
//
// A place is lit as far as the pixels of a square around it (the sample range) see nothing nearer
// (percentage closer filtering, Reeves et al. 1987). The place is moved towards the light by the
// bias first: by that length where the bias is absolute, else by that many pixels as they are
// there. Pixels beside it are compared with the plane of the surface rather than with the place's
// depth. Outside the map everything is lit.
#pragma once

#include <vector>

#include "host/params/param_block.h"
#include "host/scene/shadow_type.h"

class ShadowMapType : public ShadowType {
public:
    enum : ParamID { kBias = 0, kSize = 1, kSample = 2, kAbsolute = 3 };

    ShadowMapType();
    IParamBlock2& Block() const { return *m_block.Get(); }

    std::unique_ptr<ShadowGenerator> CreateShadowGenerator(const LightObject* light,
                                                           const LightDesc& about,
                                                           uint32_t flags) override;
    int MapSize(TimeValue t) const override;
    // For types that wrap this one.
    void SetMapRange(TimeValue t, float pixels);
    void SetMapSize(TimeValue t, int size);
    void SetMapBias(TimeValue t, float bias);
    void SetAbsoluteMapBias(TimeValue t, bool isAbsolute);

    static constexpr ClassInfo kClass{{0x3d1c0060, 0x52a7}, SuperClass::kShadowType, "Shadow Map"};
    ClassInfo Class() const override { return kClass; }
    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    int NumSubs() const override { return 1; }
    ReferenceTarget* SubAnim(int i) const override { return i == 0 ? m_block.Get() : nullptr; }
    std::string SubAnimName(int i) const override { return i == 0 ? "Parameters" : ""; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    Reference<IParamBlock2> m_block{this};
};

// What lights have that name no type, and what other types build upon.
std::shared_ptr<ShadowMapType> NewDefaultShadowMapType();

// The view of a map: directional lights see a square of half side `param`, others an angle.
ShadowView MakeShadowView(const Matrix3& lightToWorld, LightKind kind, float param, int size);
