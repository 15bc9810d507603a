#include "Dravin/materials/tint_map.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/materials/tint_params.h"

using namespace tintMapParams;

namespace {

constexpr TTintParams kTint{kTintmin,    kTintmax,    kTintmode, kTintmapmode,
                            kTintcolor1, kTintcolor2, kTintmap};

AColor Opaque(const Color& c) { return {c.r, c.g, c.b, 1}; }

}  // namespace

const ParamBlockDesc2& TintMapBlock() {
#define PARAM(symbol, id, name, type, ...) ParamDef(id, name, ParamType::k##type) __VA_ARGS__,
    static const ParamBlockDesc2 block{0,
                                       "params",
                                       "Parameters",
                                       0,
                                       true,
                                       {
#include "Dravin/materials/tint_map_params.inc"
                                       }};
#undef PARAM
    return block;
}

DColor::DColor() : WithParams(IParamBlock2::Create(TintMapBlock())) {
    for (ParamID list : {kMaplist, kMaponlist, kColorlist, kProblist})
        Block().SetCount(list, kNumEntries);
}

std::shared_ptr<ReferenceTarget> DColor::Clone(CloneMap& map) const {
    auto copy = std::make_shared<DColor>();
    CopyBlock(*copy, map);
    CopyPlacing(*copy);
    return copy;
}

std::string DColor::SubTexmapName(int i) const {
    if (i < 2) return i == 0 ? "Base Map" : "Color Tint Map";
    return fmt::format("Map {}", i - 1);
}

void DColor::ReadEntries(TimeValue t) {
    const IParamBlock2& block = Block();
    m_entries.clear();
    std::vector<float> weights;
    for (int i = 0; i < std::min(kNumEntries, block.Count(kMaponlist)); ++i) {
        if (!block.GetBool(kMaponlist, t, i)) continue;
        auto has = [&](ParamID list) { return i < block.Count(list); };
        m_entries.push_back({SubMap(has(kMaplist) ? block.GetTexmap(kMaplist, t, i) : nullptr),
                             has(kColorlist) ? block.GetColor(kColorlist, t, i) : Color{1, 1, 1}});
        weights.push_back(has(kProblist) ? std::max(0.f, block.GetFloat(kProblist, t, i)) : 100);
    }
    // What is never chosen need not be prepared; where all weights are 0, all are chosen alike.
    bool anyWeight = std::any_of(weights.begin(), weights.end(), [](float w) { return w > 0; });
    for (size_t i = 0; anyWeight && i < weights.size(); ++i)
        if (weights[i] == 0) m_entries[i].map = {};
    m_table.reset();
    if (!weights.empty()) m_table.emplace(weights);
}

bool DColor::Update(TimeValue t, std::string* error) {
    const IParamBlock2& block = Block();
    m_base = SubMap(block.GetTexmap(kMapbase, t));
    m_baseColor = block.GetColor(kColorbase, t);
    m_byElement = block.GetInt(kMapidmode, t) != 0;
    m_overrides = block.GetBool(kOverride, t);
    m_variation = block.GetFloat(kTintvariation, t);
    m_blend = block.GetInt(kTintmixmode, t);
    m_tint = ReadTint(block, kTint, t);
    ReadEntries(t);
    bool ok = true;
    auto update = [&](const Texmap* map) {
        if (map && !const_cast<Texmap*>(map)->Update(t, error)) ok = false;
    };
    update(m_base.Get());
    update(m_tint.map);
    for (const Entry& entry : m_entries) update(entry.map.Get());
    return ok;
}

void DColor::TellNeeds(ShadeNeeds* needs) const {
    needs->tintsInstances = true;
    needs->Add(m_base.Get(), MapUse::kColor);
    for (const Entry& entry : m_entries) needs->Add(entry.map.Get(), MapUse::kColor);
}

AColor DColor::EvalColor(const TexPoint& p) const {
    return m_base ? m_base.Get()->EvalColor(p) : Opaque(m_baseColor);
}

float DColor::EvalMono(const ShadeContext& sc) const {
    AColor c = Eval(sc);
    return (c.r + c.g + c.b) * 0.33333334f;
}

AColor DColor::Eval(const ShadeContext& sc) const {
    auto base = [&] { return m_base ? m_base.At(sc) : Opaque(m_baseColor); };
    const IShadedItems* items = IShadedItems::At(sc);
    if (!items) return base();
    TShadedItem item = items->ItemOf(sc.Instance(), sc.FaceIndex());
    TElementRandoms element;
    if (m_byElement || m_variation > 0) element = items->ElementOf(sc.Instance(), sc.FaceIndex());
    AColor color;
    if (m_table) {
        float u = m_byElement ? MixHash(item.random3, element.first) : item.random3;
        const Entry& entry = m_entries[m_table->Sample(u)];
        color = entry.map ? entry.map.At(sc) : Opaque(entry.color);
    } else {
        color = base();
    }
    TTintRequest request{&items->ObjectTint(), m_overrides ? &m_tint : nullptr, m_variation,
                         m_blend};
    Color tinted = Tinted(color.Rgb(), item, element, request);
    return {tinted.r, tinted.g, tinted.b, color.a};
}
