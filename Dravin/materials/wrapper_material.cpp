#include "Dravin/materials/wrapper_material.h"

#include <algorithm>

#include "Dravin/materials/tint_params.h"
#include "host/math/display_color.h"

using namespace wrapperParams;

namespace {

constexpr TTintParams kTint{kTintmin,    kTintmax,    kTintmode, kTintmapmode,
                            kTintcolor1, kTintcolor2, kTintmap};
constexpr float kDefaultGrey = 0.5f;  // display; as renderers show what has no material

}  // namespace

const ParamBlockDesc2& WrapperBlock() {
#define PARAM(symbol, id, name, type, ...) ParamDef(id, name, ParamType::k##type) __VA_ARGS__,
    static const ParamBlockDesc2 block{0,
                                       "params",
                                       "Parameters",
                                       0,
                                       true,
                                       {
#include "Dravin/materials/wrapper_params.inc"
                                       }};
#undef PARAM
    return block;
}

DMat::DMat() : WithParams(IParamBlock2::Create(WrapperBlock())) {}

std::shared_ptr<ReferenceTarget> DMat::Clone(CloneMap& map) const {
    auto copy = std::make_shared<DMat>();
    CopyBlock(*copy, map);
    copy->name = name;
    return copy;
}

void DMat::Update(TimeValue t, std::vector<std::string>* problems) {
    const IParamBlock2& block = Block();
    m_base = block.GetMtl(kMaterial1, t);
    m_overrides = block.GetBool(kOverride, t);
    m_tint = ReadTint(block, kTint, t);
    m_verticalShadow = block.GetTexmap(kVshadowmap, t);
    m_horizontalShadow = block.GetTexmap(kHshadowmap, t);
    for (ParamID id : {kTintmap, kVshadowmap, kHshadowmap}) {
        std::string problem;
        Texmap* map = block.GetTexmap(id, t);
        if (map && !map->Update(t, &problem) && problems) problems->push_back(std::move(problem));
    }
}

void DMat::TellNeeds(ShadeNeeds* needs) const {
    needs->tintsInstances = true;
    needs->canCut = true;  // shadow planes
    needs->Add(m_verticalShadow, MapUse::kData);
    needs->Add(m_horizontalShadow, MapUse::kData);
}

float DMat::Opacity(const ShadeContext& sc) const {
    using Plane = IShadedItems::Plane;
    const IShadedItems* items = IShadedItems::At(sc);
    Plane plane = items ? items->PlaneOf(sc.Instance(), sc.FaceIndex()) : Plane::kNone;
    if (plane == Plane::kNone) return m_base ? m_base->Opacity(sc) : 1;
    const Texmap* map = plane == Plane::kVertical ? m_verticalShadow : m_horizontalShadow;
    if (sc.Kind() != RayKind::kShadow || !map) return 0;
    Color c = sc.Data(*map);
    return std::clamp((c.r + c.g + c.b) / 3, 0.f, 1.f);
}

// The tint is blended into display colours, as it is chosen.
void DMat::Shade(const ShadeContext& sc, SurfaceLook* look) const {
    if (m_base) {
        m_base->Shade(sc, look);
    } else {
        look->diffuse = DisplayToLinear(Color{kDefaultGrey, kDefaultGrey, kDefaultGrey});
    }
    const IShadedItems* items = IShadedItems::At(sc);
    if (!items) return;
    TTintRequest request{&items->ObjectTint(), m_overrides ? &m_tint : nullptr, 0,
                         items->ObjectBlend()};
    Color shown = LinearToDisplay(look->diffuse);
    TShadedItem item = items->ItemOf(sc.Instance(), sc.FaceIndex());
    look->diffuse = DisplayToLinear(Tinted(shown, item, {}, request));
}
