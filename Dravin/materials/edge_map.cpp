#include "Dravin/materials/edge_map.h"

namespace {

constexpr AColor kWhite{1, 1, 1, 1};

const ParamBlockDesc2& EdgeBlock() {
    static const ParamBlockDesc2 block{0,
                                       "params",
                                       "Parameters",
                                       0,
                                       true,
                                       {ParamDef(DEdge::kMapbase, "mapbase", ParamType::kTexmap)
                                            .SubTexmap(0)
                                            .Label("Default Map")
                                            .Control(ControlKind::kMapButton)
                                            .Meaning("Shown where nothing is darkened.")}};
    return block;
}

}  // namespace

DEdge::DEdge() : WithParams(IParamBlock2::Create(EdgeBlock())) {}

std::shared_ptr<ReferenceTarget> DEdge::Clone(CloneMap& map) const {
    auto copy = std::make_shared<DEdge>();
    CopyBlock(*copy, map);
    CopyPlacing(*copy);
    return copy;
}

bool DEdge::Update(TimeValue t, std::string* error) {
    Texmap* base = Block().GetTexmap(kMapbase, t);
    m_base = SubMap(base);
    return !base || base->Update(t, error);
}

AColor DEdge::EvalColor(const TexPoint& p) const {
    return m_base ? m_base.Get()->EvalColor(p) : kWhite;
}

AColor DEdge::Eval(const ShadeContext& sc) const { return m_base ? m_base.At(sc) : kWhite; }

void DEdge::TellNeeds(ShadeNeeds* needs) const { needs->Add(m_base.Get(), MapUse::kColor); }

std::shared_ptr<ReferenceTarget> DGeomtex::Clone(CloneMap&) const {
    auto copy = std::make_shared<DGeomtex>();
    CopyPlacing(*copy);
    return copy;
}
