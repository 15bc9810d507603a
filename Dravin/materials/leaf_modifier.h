// The leaf outline modifier: the simplified outline of a spline, to be shown and to be made a shape
// of its own.
//
// The spline passes unchanged. Of the parameters only `angle` has an effect, the distance by which
// the outline is simplified (leaf_outline.h); the settings of leaf samples are kept for scenes and
// scripts that state them. One thread.
#pragma once

#include <memory>

#include "host/geom/poly_line.h"
#include "host/params/param_block.h"
#include "host/scene/derived_object.h"

class Scene;

namespace leafParams {
#define PARAM(symbol, id, ...) symbol = id,
enum : ParamID {
#include "Dravin/materials/leaf_params.inc"
};
#undef PARAM
}  // namespace leafParams

const ParamBlockDesc2& LeafBlock();

class DLeaf : public Modifier {
public:
    DLeaf() : DLeaf(IParamBlock2::Create(LeafBlock())) {}

    IParamBlock2& Block() const { return *m_block.Get(); }
    // Of the last evaluation: closed lines in the spline's own space, z = 0.
    const PolyShape& Outline() const { return m_outline; }
    // A new node "Outline", or that with a number, which shows a copy of the outline. One undo
    // step.
    INode* Extract(Scene& scene) const;

    // Splines only.
    bool Takes(const Object& input) const override;
    // Gives the input, for the moment t alone: the outline is made anew at every other time.
    std::shared_ptr<Object> Modify(const std::shared_ptr<Object>& input, TimeValue t,
                                   Interval* valid) const override;

    static constexpr ClassInfo kClass{
        {0x6a80d860, 0xb2616bba}, SuperClass::kModifier, "DravinLeaf"};
    ClassInfo Class() const override { return kClass; }
    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override {
        return slot == 0 ? m_block.Share() : nullptr;
    }
    int NumSubs() const override { return 1; }
    ReferenceTarget* SubAnim(int i) const override { return i == 0 ? m_block.Get() : nullptr; }
    std::string SubAnimName(int i) const override { return i == 0 ? "Parameters" : ""; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    explicit DLeaf(std::shared_ptr<IParamBlock2> block) { m_block = std::move(block); }

    Reference<IParamBlock2> m_block{this};
    mutable PolyShape m_outline;
};
