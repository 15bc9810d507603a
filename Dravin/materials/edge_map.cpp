#include "Dravin/materials/edge_map.h"

#include "host/params/clone_map.h"

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

DEdge::DEdge() : DEdge(IParamBlock2::Create(EdgeBlock(), this)) {}

DEdge::DEdge(std::shared_ptr<IParamBlock2> block) { m_block = std::move(block); }

std::shared_ptr<ReferenceTarget> DEdge::Clone(CloneMap& map) const {
    std::shared_ptr<IParamBlock2> block = m_block->CloneFor(nullptr, map);
    auto copy = std::shared_ptr<DEdge>(new DEdge(block));
    CopyPlacing(*copy);
    map.Add(*m_block.Get(), block);
    return copy;
}

bool DEdge::Update(TimeValue t, std::string* error) {
    Texmap* base = Block().GetTexmap(kMapbase, t);
    m_base = base;
    return !base || base->Update(t, error);
}

AColor DEdge::EvalColor(const TexPoint& p) const { return m_base ? m_base->EvalColor(p) : kWhite; }

AColor DEdge::Eval(const ShadeContext& sc) const { return m_base ? m_base->Eval(sc) : kWhite; }

void DEdge::TellNeeds(ShadeNeeds* needs) const { needs->Add(m_base, MapUse::kColor); }

std::shared_ptr<ReferenceTarget> DGeomtex::Clone(CloneMap&) const {
    auto copy = std::make_shared<DGeomtex>();
    CopyPlacing(*copy);
    return copy;
}
