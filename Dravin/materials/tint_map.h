// The tint map: gives each scattered item, or each element of its mesh, a colour of its own.
//
// A colour or map is chosen from a list of up to ten by the item's random values and tinted as the
// object says, or as this map says in its place. On surfaces that show no items it is its base map
// or colour.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Dravin/materials/shaded_items.h"
#include "Dravin/materials/sub_map.h"
#include "Dravin/materials/with_params.h"
#include "common/nurandom/nurandom.h"
#include "host/scene/texmap.h"

namespace tintMapParams {
#define PARAM(symbol, id, ...) symbol = id,
enum : ParamID {
#include "Dravin/materials/tint_map_params.inc"
};
#undef PARAM
}  // namespace tintMapParams

const ParamBlockDesc2& TintMapBlock();

class DColor : public WithParams<Texmap> {
public:
    static constexpr int kNumEntries = 10;

    DColor();

    bool Update(TimeValue t, std::string* error) override;
    // The base map or colour: a place of a texture has no item.
    AColor EvalColor(const TexPoint& p) const override;
    AColor Eval(const ShadeContext& sc) const override;
    float EvalMono(const ShadeContext& sc) const;
    void TellNeeds(ShadeNeeds* needs) const override;

    // Sub-maps 0 base, 1 tint, 2 to 11 the entries.
    std::string SubTexmapName(int i) const;

    static constexpr ClassInfo kClass{{0x3d1c0110, 0x52a7}, SuperClass::kTexmap, "DravinColor"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    struct Entry {
        SubMap map;
        Color color;
    };
    void ReadEntries(TimeValue t);

    // Worked out by Update.
    SubMap m_base;
    Color m_baseColor;
    bool m_byElement = false, m_overrides = false;
    float m_variation = 0;
    int m_blend = kTintColor;
    TTintSettings m_tint;
    std::vector<Entry> m_entries;
    std::optional<TNuRandomTable> m_table;
};
