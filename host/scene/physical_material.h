// A physically based material as glTF 2.0 has it: base colour, metalness and roughness.
//
// Of the standard material it keeps the diffuse as base colour, the opacity with its cutoff, vertex
// colours and two-sidedness; translucency and mirror do not count. Metal reflects in its base
// colour and scatters nothing; everything else scatters its base colour and reflects 4 %
// (glTF 2.0, appendix B).
#pragma once

#include "host/scene/material.h"

class PhysicalMtl : public StandardMtl {
public:
    Property<float> metallic{this, 0.0f}, roughness{this, 1.0f};  // 0..1
    // Strength of the normal map's slopes.
    Property<float> normalScale{this, 1.0f};
    // Light of its own: a display colour and what it is multiplied by, which may exceed 1.
    Property<Color> emission{this, {0, 0, 0}};
    Property<float> emissionStrength{this, 1.0f};
    // Its green multiplies the roughness, its blue the metalness. Plain numbers.
    RefProperty<Texmap> metallicRoughnessMap{this};
    // Red, green and blue of a normal in 0..1 for -1..1: along u, along v, off the surface.
    RefProperty<Texmap> normalMap{this};
    // Multiplies the emission.
    RefProperty<Texmap> emissionMap{this};

    void Update(TimeValue t, std::vector<std::string>* problems) override;
    void TellNeeds(ShadeNeeds* needs) const override;
    void Shade(const ShadeContext& sc, SurfaceLook* look) const override;

    static constexpr ClassInfo kClass{{0x3d1c0022, 0x52a7}, SuperClass::kMaterial, "Physical"};
    ClassInfo Class() const override { return kClass; }
    // The standard material's, then metalness and roughness, normal, emission.
    int NumRefs() const override { return 5; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> map) override;
    int NumSubs() const override { return NumRefs(); }
    std::string SubAnimName(int i) const override;
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    Point3 BentNormal(const ShadeContext& sc, const Point3& normal) const;

    Color m_readyEmission;  // linear, worked out by Update
};
