#include "host/scene/physical_material.h"

#include <algorithm>

#include "host/math/display_color.h"

namespace {

constexpr float kPlainReflectance = 0.04f;  // of what is no metal, seen from straight above

float ToUnit(float f) { return std::clamp(f, 0.f, 1.f); }

}  // namespace

void PhysicalMtl::Update(TimeValue t, std::vector<std::string>* problems) {
    StandardMtl::Update(t, problems);
    for (Texmap* map : {metallicRoughnessMap.Get(), normalMap.Get(), emissionMap.Get()})
        UpdateMap(map, t, problems);
    m_readyEmission = DisplayToLinear(emission) * std::max(0.f, emissionStrength.Get());
}

void PhysicalMtl::TellNeeds(ShadeNeeds* needs) const {
    StandardMtl::TellNeeds(needs);
    needs->Add(metallicRoughnessMap.Get(), MapUse::kData);
    needs->Add(normalMap.Get(), MapUse::kData);
    needs->Add(emissionMap.Get(), MapUse::kColor);
}

void PhysicalMtl::Shade(const ShadeContext& sc, SurfaceLook* look) const {
    Color base = DiffuseAt(sc);
    float metal = ToUnit(metallic);
    look->roughness = ToUnit(roughness);
    if (metallicRoughnessMap) {
        Color data = sc.Data(*metallicRoughnessMap.Get());
        look->roughness *= ToUnit(data.g);
        metal *= ToUnit(data.b);
    }
    look->diffuse = base * (1 - metal);
    constexpr Color kPlain{kPlainReflectance, kPlainReflectance, kPlainReflectance};
    look->specular = kPlain * (1 - metal) + base * metal;
    look->emission = m_readyEmission;
    if (emissionMap && !(m_readyEmission == Color{}))
        look->emission = look->emission * sc.LinearColor(*emissionMap.Get());
    if (normalMap) look->normal = BentNormal(sc, look->normal);
}

// The map's axes are those in which the place moves with u and v, laid into the surface.
Point3 PhysicalMtl::BentNormal(const ShadeContext& sc, const Point3& normal) const {
    Point3 alongU, alongV;
    if (!sc.Tangents(normalMap->channel, &alongU, &alongV)) return normal;
    auto intoSurface = [&](const Point3& v) { return Normalize(v - normal * DotProd(v, normal)); };
    Color data = sc.Data(*normalMap.Get());
    float x = (data.r * 2 - 1) * normalScale, y = (data.g * 2 - 1) * normalScale;
    float z = data.b * 2 - 1;
    Point3 bent = intoSurface(alongU) * x + intoSurface(alongV) * y + normal * std::max(z, 0.f);
    float length = Length(bent);
    return length > 1e-6f ? bent / length : normal;
}

std::shared_ptr<ReferenceTarget> PhysicalMtl::GetReference(int slot) const {
    switch (slot) {
        case 2:
            return metallicRoughnessMap.Share();
        case 3:
            return normalMap.Share();
        case 4:
            return emissionMap.Share();
        default:
            return StandardMtl::GetReference(slot);
    }
}

void PhysicalMtl::SetReference(int slot, std::shared_ptr<ReferenceTarget> map) {
    auto texmap = std::dynamic_pointer_cast<Texmap>(map);
    if (slot == 2) metallicRoughnessMap.Put(texmap);
    if (slot == 3) normalMap.Put(texmap);
    if (slot == 4) emissionMap.Put(texmap);
    StandardMtl::SetReference(slot, std::move(map));
}

std::string PhysicalMtl::SubAnimName(int i) const {
    switch (i) {
        case 2:
            return "Metalness and roughness";
        case 3:
            return "Normal";
        case 4:
            return "Emission";
        default:
            return StandardMtl::SubAnimName(i);
    }
}

std::shared_ptr<ReferenceTarget> PhysicalMtl::Clone(CloneMap& map) const {
    auto copy = std::make_shared<PhysicalMtl>();
    CopyInto(copy, map);
    copy->metallic = metallic;
    copy->roughness = roughness;
    copy->normalScale = normalScale;
    copy->emission = emission;
    copy->emissionStrength = emissionStrength;
    map.Refer(metallicRoughnessMap.Share(),
              [copy](auto m) { copy->metallicRoughnessMap.Put(std::move(m)); });
    map.Refer(normalMap.Share(), [copy](auto m) { copy->normalMap.Put(std::move(m)); });
    map.Refer(emissionMap.Share(), [copy](auto m) { copy->emissionMap.Put(std::move(m)); });
    return copy;
}
