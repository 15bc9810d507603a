// What users can set of nodes, modifiers and objects of the host.
#include "host/scene/class_tables.h"
#include "host/scene/derived_object.h"
#include "host/scene/height_field_object.h"
#include "host/scene/node.h"
#include "host/scene/point_cache.h"
#include "host/scene/property_fields.h"
#include "host/scene/shadow_type.h"

using namespace property_fields;

namespace {

constexpr double kLargest = 2147483648.0;

const DerivedObject* StackOf(const INode& node) {
    return dynamic_cast<const DerivedObject*>(node.GetObjectRef());
}

// Content of a list with one value a modifier, the uppermost first.
template <class Value>
Elements EachModifier(const INode& node, const Value& value) {
    Elements elements;
    const DerivedObject* stack = StackOf(node);
    for (int i = stack ? stack->NumModifiers() : 0; i-- > 0;)
        if (Modifier* modifier = stack->GetModifier(i)) Add(elements, ParamValue(value(*modifier)));
    return elements;
}

PropertyField ShadowNodes() {
    ParamDef def(0, "shadow_nodes", ParamType::kNode);
    def.Label("Shadow Nodes").Control(ControlKind::kNodeList);
    return Custom<LightObject>(
        List(std::move(def), "Nodes that cast no shadows of this light, or the only ones."),
        [](const LightObject& light) {
            Elements elements;
            for (int i = 0; i < light.NumShadowNodes(); ++i)
                Add(elements, light.GetReference(2 + i));
            return elements;
        },
        [](LightObject& light, Elements elements) {
            std::vector<std::shared_ptr<INode>> nodes;
            for (const ParamElement& element : elements)
                nodes.push_back(TargetOf<INode>(element.value));
            light.SetShadowNodes(std::move(nodes));
        });
}

}  // namespace

namespace class_tables {

// --- nodes

const PropertyTable& NodeTable() {
    static const PropertyTable table = Table(
        "Node", *INode::Create("node"),
        {Custom<INode>(
             MapSlot("material", ParamType::kMaterial, "Material",
                     "What the node shows in place of its object's own material."),
             [](const INode& n) { return One(std::shared_ptr<ReferenceTarget>(n.ShareMtl())); },
             [](INode& n, Elements elements) { n.SetMtl(TargetOf<Mtl>(elements.at(0).value)); }),
         Of(&INode::hidden, Switch("hidden", "Hidden", "Views and pictures leave it out.")),
         Of(&INode::renderable, Switch("renderable", "Renderable", "Pictures show it.")),
         Of(&INode::castsShadows,
            Switch("casts_shadows", "Casts Shadows", "In pictures, light stops at it.")),
         Of(&INode::wireColor, Swatch("wire_color", "Wire Colour", "Of its lines in views.")),
         Of(&INode::id, Whole("id", "Id", 0, kLargest, "The user's number of it."))});
    return table;
}

const PropertyTable& ModifiersTable() {
    static const PropertyTable table(
        "Modifiers",
        {Custom<INode>(
             List(ParamDef(0, "modifiers", ParamType::kString), "Modifiers, the uppermost first."),
             [](const INode& n) {
                 return EachModifier(n, [](Modifier& m) { return m.ClassName(); });
             }),
         Custom<INode>(
             List(ParamDef(0, "modifiers_on", ParamType::kBool), "Whether each of them works."),
             [](const INode& n) {
                 return EachModifier(n, [](Modifier& m) { return int32_t(m.enabled.Get()); });
             },
             [](INode& n, Elements elements) {
                 const DerivedObject* stack = StackOf(n);
                 int count = stack ? stack->NumModifiers() : 0;
                 for (int i = 0; i < count && i < int(elements.size()); ++i)
                     stack->GetModifier(count - 1 - i)->enabled =
                         std::get<int32_t>(elements[size_t(i)].value) != 0;
             })});
    return table;
}

const PropertyTable& ModifierTable() {
    struct Plain final : Modifier {
        std::shared_ptr<Object> Modify(const std::shared_ptr<Object>& input, TimeValue,
                                       Interval*) const override {
            return input;
        }
        bool Takes(const Object&) const override { return true; }
    };
    static const PropertyTable table =
        Table("Modifier", *std::make_shared<Plain>(),
              {Of(&Modifier::enabled,
                  Switch("enabled", "Enabled", "Switched off, what it gets passes unchanged."))});
    return table;
}

const PropertyTable& PointCacheTable() {
    static const PropertyTable table = Table(
        "Point Cache", *std::make_shared<PointCacheModifier>(),
        {Text<PointCacheModifier>("file", "File", "Where the samples came from.",
                                  [](const PointCacheModifier& m) { return m.cache->origin.file; }),
         Of(&PointCacheModifier::speed,
            Number("speed", "Speed", 0.001, kLargest, "2 runs twice as fast.")),
         Of(&PointCacheModifier::before,
            Choice("before", "Before", {"Hold", "Cycle"}, "What is before the first sample.")),
         Of(&PointCacheModifier::after,
            Choice("after", "After", {"Hold", "Cycle"}, "What is after the last sample."))});
    return table;
}

// --- objects

const PropertyTable& MeshTable() {
    static const PropertyTable table = Table(
        "Mesh", *std::make_shared<TriObject>(),
        {Text<TriObject>("file", "File", "Where the mesh came from.",
                         [](const TriObject& o) {
                             auto* file = std::get_if<FileOrigin>(&o.origin.Get());
                             return file ? file->file : std::string();
                         }),
         Count<TriObject>(
             "faces", "Faces", [](const TriObject& o) -> auto& { return o.GetMesh()->faces; }),
         Count<TriObject>(
             "vertices", "Vertices",
             [](const TriObject& o) -> auto& { return o.GetMesh()->verts; }),
         Of(&TriObject::fileMaterial,
            MapSlot("file_material", ParamType::kMaterial, "Material of the File",
                    "Shown by nodes without a material of their own."))});
    return table;
}

const PropertyTable& HeightFieldTable() {
    static const PropertyTable table =
        Table("Height Field", *std::make_shared<HeightFieldObject>(),
              {Text<HeightFieldObject>("file", "File", "The image of the heights.",
                                       [](const HeightFieldObject& o) { return o.origin->file; })});
    return table;
}

const PropertyTable& ShapeTable() {
    static const PropertyTable table = Table(
        "Spline", *std::make_shared<ShapeObject>(),
        {Count<ShapeObject>(
             "splines", "Splines", [](const ShapeObject& o) -> auto& { return o.shape->splines; }),
         Custom<ShapeObject>(
             Shown(ParamDef(0, "points", ParamType::kInt), "Points", "How many there are."),
             [](const ShapeObject& o) {
                 size_t count = 0;
                 for (const BezierSpline& spline : o.shape->splines) count += spline.knots.size();
                 return One(int32_t(count));
             })});
    return table;
}

const PropertyTable& ParticleTable() {
    static const PropertyTable table =
        Table("Particles", *std::make_shared<ParticleObject>(),
              {Count<ParticleObject>(
                  "particles", "Particles",
                  [](const ParticleObject& o) -> auto& { return o.particles.Get(); })});
    return table;
}

const PropertyTable& CameraTable() {
    static const PropertyTable table = Table(
        "Camera", *std::make_shared<CameraObject>(),
        {Of(&CameraObject::fovDegrees,
            Number("fov", "Field of View", 0.1, 179, "Horizontal angle of what it sees, degrees.")),
         Of(&CameraObject::envNear,
            Length("env_near", "Near Range", "Where ranges of the environment begin.")),
         Of(&CameraObject::envFar, Length("env_far", "Far Range", "Where they end.")),
         Of(&CameraObject::target, Pick("target", "Target", "The node that it looks at."))});
    return table;
}

const PropertyTable& LightTable() {
    static const PropertyTable table = Table(
        "Light", *std::make_shared<LightObject>(),
        {Of(&LightObject::kind, Choice("kind", "Kind", {"Directional", "Point", "Spot"},
                                       "Where it shines: along its -Z, or all around.")),
         Of(&LightObject::color, Swatch("color", "Colour", "Of its light.")),
         Of(&LightObject::intensity,
            Number("intensity", "Intensity", 0, kLargest, "Multiplies the colour.")),
         Of(&LightObject::target, Pick("target", "Target", "The node that it looks at.")),
         Of(&LightObject::shadows, Switch("shadows", "Shadows", "What it lights casts shadows.")),
         Of(&LightObject::includesShadowNodes,
            Switch("includes_shadow_nodes", "Only These Cast Shadows",
                   "The nodes below are the only ones that cast shadows; else they cast none.")),
         ShadowNodes()});
    return table;
}

}  // namespace class_tables
