// Two maps that only carry data for renderers which ask items by the numbers of their faces.
#pragma once

#include "Dravin/materials/sub_map.h"
#include "Dravin/materials/with_params.h"
#include "host/scene/texmap.h"

// Darkens hidden elements where a renderer draws them. The built-in ones leave them out by
// themselves, so that here it is its base map, or white.
class DEdge : public WithParams<Texmap> {
public:
    static constexpr ParamID kMapbase = 0;

    DEdge();

    bool Update(TimeValue t, std::string* error) override;
    AColor EvalColor(const TexPoint& p) const override;
    AColor Eval(const ShadeContext& sc) const override;
    void TellNeeds(ShadeNeeds* needs) const override;

    static constexpr ClassInfo kClass{{0x3d1c0112, 0x52a7}, SuperClass::kTexmap, "DravinEdge"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    SubMap m_base;  // found by Update
};

// The item's geometry id for renderers that have a shader of that kind; black and clear elsewhere.
class DGeomtex : public Texmap {
public:
    AColor EvalColor(const TexPoint&) const override { return {0, 0, 0, 0}; }

    static constexpr ClassInfo kClass{{0x3d1c0113, 0x52a7}, SuperClass::kTexmap, "DravinGeom"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};
