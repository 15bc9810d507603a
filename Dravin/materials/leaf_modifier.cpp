#include "Dravin/materials/leaf_modifier.h"

#include "Dravin/materials/leaf_outline.h"
#include "host/params/class_registry.h"
#include "host/scene/scene.h"

namespace {

ParamBlockDesc2 MakeBlock() {
#define PARAM(symbol, id, name, type, ...) ParamDef(id, name, ParamType::k##type) __VA_ARGS__,
    std::vector<ParamDef> defs{
#include "Dravin/materials/leaf_params.inc"
    };
#undef PARAM
    return {0, "params", "Parameters", 0, true, std::move(defs)};
}

// Straight lines through the points, as knots without handles.
BezierShape ToShape(const PolyShape& lines) {
    BezierShape shape;
    for (const PolyLine& line : lines.lines) {
        BezierSpline& spline = shape.splines.emplace_back();
        spline.closed = line.closed;
        for (const Point3& p : line.points) spline.knots.push_back({p, {}, {}});
    }
    return shape;
}

}  // namespace

const ParamBlockDesc2& LeafBlock() {
    static const ParamBlockDesc2 block = MakeBlock();
    return block;
}

bool DLeaf::Takes(const Object& input) const {
    return dynamic_cast<const ShapeObject*>(&input) != nullptr;
}

std::shared_ptr<Object> DLeaf::Modify(const std::shared_ptr<Object>& input, TimeValue t,
                                      Interval* valid) const {
    auto& shape = static_cast<const ShapeObject&>(*input);
    m_outline = LeafOutline(shape.GetPolyShape(t), Block().GetFloat(leafParams::kAngle, t));
    if (valid) *valid &= Interval::Instant(t);
    return input;
}

DLeaf* DLeaf::Of(INode& node, TimeValue t) {
    auto* derived = dynamic_cast<DerivedObject*>(node.GetObjectRef());
    for (int i = derived ? derived->NumModifiers() - 1 : -1; i >= 0; --i)
        if (auto* leaf = dynamic_cast<DLeaf*>(derived->GetModifier(i))) {
            node.EvalWorldState(t);  // modifiers make their outlines as they are evaluated
            return leaf;
        }
    return nullptr;
}

INode* DLeaf::Extract(Scene& scene) const {
    auto object = std::make_shared<ShapeObject>();
    object->shape = ToShape(m_outline);
    Hold* hold = CurrentHold();
    if (hold) hold->Begin();
    INode* node = scene.AddNode(scene.UniqueNodeName("Outline"), std::move(object));
    if (hold) hold->Accept("Extract");
    return node;
}

std::shared_ptr<ReferenceTarget> DLeaf::Clone(CloneMap& map) const {
    auto copy = std::make_shared<DLeaf>();
    CopyBlock(*copy, map);
    copy->enabled = enabled;
    return copy;
}
