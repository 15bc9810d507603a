// Two maps that only carry data for renderers which ask items by the numbers of their faces.
#pragma once

#include "host/params/param_block.h"
#include "host/scene/texmap.h"

// Darkens hidden elements where a renderer draws them. The built-in ones leave them out by
// themselves, so that here it is its base map, or white.
class DEdge : public Texmap {
public:
    static constexpr ParamID kMapbase = 0;

    DEdge();
    IParamBlock2& Block() const { return *m_block.Get(); }

    bool Update(TimeValue t, std::string* error) override;
    AColor EvalColor(const TexPoint& p) const override;
    AColor Eval(const ShadeContext& sc) const override;
    void TellNeeds(ShadeNeeds* needs) const override;

    static constexpr ClassInfo kClass{{0x3d1c0112, 0x52a7}, SuperClass::kTexmap, "DravinEdge"};
    ClassInfo Class() const override { return kClass; }
    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override {
        return slot == 0 ? m_block.Share() : nullptr;
    }
    int NumSubs() const override { return 1; }
    ReferenceTarget* SubAnim(int) const override { return m_block.Get(); }
    std::string SubAnimName(int) const override { return "Parameters"; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    explicit DEdge(std::shared_ptr<IParamBlock2> block);

    Reference<IParamBlock2> m_block{this};
    const Texmap* m_base = nullptr;  // found by Update
};

// The item's geometry id for renderers that have a shader of that kind; black and clear elsewhere.
class DGeomtex : public Texmap {
public:
    AColor EvalColor(const TexPoint&) const override { return {0, 0, 0, 0}; }

    static constexpr ClassInfo kClass{{0x3d1c0113, 0x52a7}, SuperClass::kTexmap, "DravinGeom"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};
