#include "host/scene/material.h"

#include <fmt/format.h>

#include "host/params/clone_map.h"

const StandardMtl* MtlOfFace(const Mtl* mtl, int matID) {
    for (int depth = 0; mtl && depth <= kMaxMtlNesting; ++depth) {
        int count = mtl->NumSubMtls();
        if (count == 0) return dynamic_cast<const StandardMtl*>(mtl);
        mtl = mtl->GetSubMtl(matID % count);
    }
    return nullptr;
}

// Standard.

std::shared_ptr<ReferenceTarget> StandardMtl::GetReference(int slot) const {
    if (slot == 0) return diffuseMap.Share();
    return slot == 1 ? opacityMap.Share() : nullptr;
}

void StandardMtl::SetReference(int slot, std::shared_ptr<ReferenceTarget> map) {
    if (slot == 0) diffuseMap = std::dynamic_pointer_cast<Texmap>(map);
    if (slot == 1) opacityMap = std::dynamic_pointer_cast<Texmap>(map);
}

std::shared_ptr<ReferenceTarget> StandardMtl::Clone(CloneMap& map) const {
    auto copy = std::make_shared<StandardMtl>();
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
    map.Refer(diffuseMap.Share(), [copy](auto m) { copy->diffuseMap = std::move(m); });
    map.Refer(opacityMap.Share(), [copy](auto m) { copy->opacityMap = std::move(m); });
    return copy;
}

// Multi.

void MultiMtl::Append(std::shared_ptr<Mtl> sub) {
    subs.push_back(std::make_unique<Reference<Mtl>>(this));
    *subs.back() = std::move(sub);
}

void MultiMtl::SetSubMtl(int i, std::shared_ptr<Mtl> sub) {
    SetAndRecord(*subs[size_t(i)], std::move(sub));
}

std::shared_ptr<ReferenceTarget> MultiMtl::GetReference(int slot) const {
    return slot >= 0 && slot < NumSubMtls() ? subs[size_t(slot)]->Share() : nullptr;
}

void MultiMtl::SetReference(int slot, std::shared_ptr<ReferenceTarget> mtl) {
    if (slot >= 0 && slot < NumSubMtls()) *subs[size_t(slot)] = std::dynamic_pointer_cast<Mtl>(mtl);
}

std::string MultiMtl::SubAnimName(int i) const { return fmt::format("Material {}", i + 1); }

std::shared_ptr<ReferenceTarget> MultiMtl::Clone(CloneMap& map) const {
    auto copy = std::make_shared<MultiMtl>();
    copy->name = name;
    for (const auto& sub : subs) {
        copy->Append(nullptr);
        map.Refer(sub->Share(),
                  [copy, slot = copy->subs.back().get()](auto m) { *slot = std::move(m); });
    }
    return copy;
}
