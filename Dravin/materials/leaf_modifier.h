// The leaf outline modifier: the simplified outline of a spline, to be shown and to be made a shape
// of its own.
//
// The spline passes unchanged. Of the parameters only `angle` has an effect, the distance by which
// the outline is simplified (leaf_outline.h); the settings of leaf samples are kept for scenes and
// scripts that state them. One thread.
#pragma once

#include <memory>

#include "Dravin/materials/with_params.h"
#include "host/geom/poly_line.h"
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

class DLeaf : public WithParams<Modifier> {
public:
    DLeaf() : WithParams(IParamBlock2::Create(LeafBlock())) {}

    // Of the last evaluation: closed lines in the spline's own space, z = 0.
    const PolyShape& Outline() const { return m_outline; }
    // The uppermost one of a node's object, with the outline of time t (switched off: of the last
    // time that it was on); null: there is none.
    static DLeaf* Of(INode& node, TimeValue t);
    // A new node "Outline", or that with a number, which shows a copy of the outline. One undo
    // step.
    INode* Extract(Scene& scene) const;

    // Splines only.
    bool Takes(const Object& input) const override;
    // Gives the input, for the moment t alone: the outline is made anew at every other time.
    std::shared_ptr<Object> Modify(const std::shared_ptr<Object>& input, TimeValue t,
                                   Interval* valid) const override;

    static constexpr ClassInfo kClass{
        {0x6a80d860, 0xb2616bba}, SuperClass::kModifier, "Dravin Leaf"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    mutable PolyShape m_outline;
};
