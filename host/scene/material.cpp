#include "host/scene/material.h"

#include <algorithm>
#include <unordered_set>

#include <fmt/format.h>

#include "host/math/display_color.h"
#include "host/params/clone_map.h"

namespace {

float ToUnit(float f) { return std::clamp(f, 0.f, 1.f); }

}  // namespace

Mtl* MtlOfFace(Mtl* mtl, int matID) {
    for (int depth = 0; mtl && depth <= kMaxMtlNesting; ++depth) {
        Mtl* next = mtl->MtlOfId(matID);
        if (next == mtl) return mtl;
        mtl = next;
    }
    return nullptr;
}

const Mtl* MtlOfFace(const Mtl* mtl, int matID) { return MtlOfFace(const_cast<Mtl*>(mtl), matID); }

const StandardMtl* StandardMtlOfFace(const Mtl* mtl, int matID) {
    const Mtl* shown = MtlOfFace(mtl, matID);
    return shown ? shown->AsStandard(matID) : nullptr;
}

std::vector<Mtl*> WithSubMtls(Mtl& mtl) {
    std::unordered_set<const Mtl*> seen{&mtl};
    std::vector<Mtl*> all{&mtl};
    for (size_t i = 0; i < all.size(); ++i)
        for (int k = 0; k < all[i]->NumSubMtls(); ++k)
            if (Mtl* sub = all[i]->GetSubMtl(k); sub && seen.insert(sub).second) all.push_back(sub);
    return all;
}

// Standard.

std::shared_ptr<ReferenceTarget> StandardMtl::GetReference(int slot) const {
    if (slot == 0) return diffuseMap.Share();
    return slot == 1 ? opacityMap.Share() : nullptr;
}

void StandardMtl::SetReference(int slot, std::shared_ptr<ReferenceTarget> map) {
    if (slot == 0) diffuseMap.Put(std::dynamic_pointer_cast<Texmap>(map));
    if (slot == 1) opacityMap.Put(std::dynamic_pointer_cast<Texmap>(map));
}

std::string StandardMtl::SubAnimName(int i) const {
    return i == 0 ? "Diffuse" : i == 1 ? "Opacity" : "";
}

std::shared_ptr<ReferenceTarget> StandardMtl::Clone(CloneMap& map) const {
    auto copy = std::make_shared<StandardMtl>();
    CopyInto(copy, map);
    return copy;
}

void StandardMtl::CopyInto(const std::shared_ptr<StandardMtl>& copy, CloneMap& map) const {
    copy->name = name;
    copy->diffuse = diffuse;
    copy->opacity = opacity;
    copy->opacityCutoff = opacityCutoff;
    copy->mapFactor = mapFactor;
    copy->vertexColors = vertexColors;
    copy->twoSided = twoSided;
    copy->translucency = translucency;
    copy->reflectivity = reflectivity;
    copy->ripple = ripple;
    copy->wireframe = wireframe;
    copy->viewportMaps = viewportMaps;
    map.Refer(diffuseMap.Share(), [copy](auto m) { copy->diffuseMap.Put(std::move(m)); });
    map.Refer(opacityMap.Share(), [copy](auto m) { copy->opacityMap.Put(std::move(m)); });
}

void StandardMtl::UpdateMap(Texmap* map, TimeValue t, std::vector<std::string>* problems) {
    std::string problem;
    if (map && !map->Update(t, &problem) && problems) problems->push_back(std::move(problem));
}

// With a cutoff, opacity x map >= cutoff is decided by the map alone.
void StandardMtl::Update(TimeValue t, std::vector<std::string>* problems) {
    for (Texmap* map : {diffuseMap.Get(), opacityMap.Get()}) UpdateMap(map, t, problems);
    m_ready.diffuse = DisplayToLinear(diffuse);
    m_ready.mapFactor = DisplayToLinear(mapFactor);
    m_ready.opacity = ToUnit(opacity);
    m_ready.cutoff = std::max(0.f, opacityCutoff.Get());
    if (m_ready.cutoff > 0) {
        m_ready.cutoff = m_ready.opacity > 0 ? m_ready.cutoff / m_ready.opacity : 2;
        m_ready.opacity = opacityMap || m_ready.cutoff <= 1 ? 1 : 0;
    }
}

void StandardMtl::TellNeeds(ShadeNeeds* needs) const {
    needs->Add(diffuseMap.Get(), MapUse::kColor);
    needs->Add(opacityMap.Get(), MapUse::kMask, m_ready.cutoff);
    needs->vertexColors |= vertexColors;
    needs->canCut |= m_ready.opacity < 1 || opacityMap;
}

float StandardMtl::Opacity(const ShadeContext& sc) const {
    if (!opacityMap) return m_ready.opacity;
    return m_ready.opacity * sc.Mask(*opacityMap.Get(), m_ready.cutoff);
}

Color StandardMtl::DiffuseAt(const ShadeContext& sc) const {
    Color color =
        diffuseMap ? sc.LinearColor(*diffuseMap.Get()) * m_ready.mapFactor : m_ready.diffuse;
    return vertexColors ? color * sc.VertexColor() : color;
}

void StandardMtl::Shade(const ShadeContext& sc, SurfaceLook* look) const {
    look->diffuse = DiffuseAt(sc);
    look->translucency = ToUnit(translucency);
    look->reflectivity = ToUnit(reflectivity);
    look->ripple = std::max(0.f, ripple.Get());
}

// Multi.

float MultiMtl::Opacity(const ShadeContext& sc) const {
    const Mtl* shown = MtlOfFace(this, sc.MaterialId());
    return shown ? shown->Opacity(sc) : 1;
}

void MultiMtl::Shade(const ShadeContext& sc, SurfaceLook* look) const {
    if (const Mtl* shown = MtlOfFace(this, sc.MaterialId())) shown->Shade(sc, look);
}

std::shared_ptr<ReferenceTarget> MultiMtl::GetReference(int slot) const {
    return m_subs.Share(slot);
}

void MultiMtl::SetReference(int slot, std::shared_ptr<ReferenceTarget> mtl) {
    m_subs.Put(slot, std::dynamic_pointer_cast<Mtl>(mtl));
}

std::string MultiMtl::SubAnimName(int i) const {
    return i >= 0 && i < NumSubs() ? fmt::format("Material {}", i + 1) : "";
}

std::shared_ptr<ReferenceTarget> MultiMtl::Clone(CloneMap& map) const {
    auto copy = std::make_shared<MultiMtl>();
    copy->name = name;
    copy->m_subs.MakeSlots(NumSubMtls());
    for (int i = 0; i < NumSubMtls(); ++i)
        map.Refer(m_subs.Share(i), [copy, i](auto m) { copy->m_subs.Put(i, std::move(m)); });
    return copy;
}
