#include "host/scene/class_values.h"

#include "host/scene/derived_object.h"
#include "host/scene/height_field_object.h"
#include "host/scene/node.h"
#include "host/scene/physical_material.h"
#include "host/scene/point_cache.h"
#include "host/scene/property_fields.h"
#include "host/scene/shadow_type.h"
#include "host/scene/texmaps.h"

using namespace property_fields;

namespace {

constexpr double kLargest = 2147483648.0;

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

const PropertyTable& ModifiersTable() {
    auto names = Custom<INode>(
        List(ParamDef(0, "modifiers", ParamType::kString), "Modifiers, the uppermost first."),
        [](const INode& n) { return EachModifier(n, [](Modifier& m) { return m.ClassName(); }); });
    auto enabled = Custom<INode>(
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
        });
    static const PropertyTable table("Modifiers", {std::move(names), std::move(enabled)});
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

// --- materials

const PropertyTable& StandardTable() {
    static const PropertyTable table = Table(
        "Surface", *std::make_shared<StandardMtl>(),
        {Of(&StandardMtl::diffuse, Swatch("diffuse", "Colour", "Of the surface.")),
         Of(&StandardMtl::diffuseMap,
            MapSlot("diffuse_map", ParamType::kTexmap, "Colour Map", "In place of the colour.")),
         Of(&StandardMtl::mapFactor,
            Swatch("map_factor", "Map Factor", "Multiplies the colour map.")),
         Of(&StandardMtl::vertexColors,
            Switch("vertex_colors", "Vertex Colours", "Of the mesh multiply the colour.")),
         Of(&StandardMtl::opacity,
            Number("opacity", "Opacity", 0, 1, "Share of the light that it stops.")),
         Of(&StandardMtl::opacityMap, MapSlot("opacity_map", ParamType::kTexmap, "Opacity Map",
                                              "Its luminance multiplies the opacity.")),
         Of(&StandardMtl::opacityCutoff,
            Number("opacity_cutoff", "Cut-off", 0, 1,
                   "Opaque where the opacity reaches it, nothing elsewhere; 0: none.")),
         Of(&StandardMtl::twoSided, Switch("two_sided", "Two-sided", "Seen from behind, too.")),
         Of(&StandardMtl::wireframe, Switch("wireframe", "Wireframe", "In views.")),
         Of(&StandardMtl::viewportMaps,
            Choice("viewport_maps", "Maps in Views", {"None", "Colour map", "All"},
                   "What views show of it."))});
    return table;
}

const PropertyTable& StandardLightTable() {
    static const PropertyTable table =
        Table("Light", *std::make_shared<StandardMtl>(),
              {Of(&StandardMtl::translucency,
                  Number("translucency", "Translucency", 0, 1,
                         "Share of the diffuse light that passes to the other side.")),
               Of(&StandardMtl::reflectivity,
                  Number("reflectivity", "Reflectivity", 0, 1, "Strength of a water-like mirror.")),
               Of(&StandardMtl::ripple,
                  Number("ripple", "Ripple", 0, 1, "Slope of small waves on the mirror."))});
    return table;
}

const PropertyTable& PhysicalTable() {
    static const PropertyTable table = Table(
        "Light", *std::make_shared<PhysicalMtl>(),
        {Of(&PhysicalMtl::metallic,
            Number("metallic", "Metalness", 0, 1, "Metal reflects in the colour.")),
         Of(&PhysicalMtl::roughness,
            Number("roughness", "Roughness", 0, 1, "0 mirrors, 1 is dull.")),
         Of(&PhysicalMtl::metallicRoughnessMap,
            MapSlot("metallic_roughness_map", ParamType::kTexmap, "Metalness and Roughness Map",
                    "Green multiplies the roughness, blue the metalness.")),
         Of(&PhysicalMtl::normalMap,
            MapSlot("normal_map", ParamType::kTexmap, "Normal Map", "Slopes of the surface.")),
         Of(&PhysicalMtl::normalScale,
            Number("normal_scale", "Normal Scale", -kLargest, kLargest, "Strength of the slopes.")),
         Of(&PhysicalMtl::emission, Swatch("emission", "Emission", "Light of its own.")),
         Of(&PhysicalMtl::emissionStrength, Number("emission_strength", "Emission Strength", 0,
                                                   kLargest, "Multiplies that light.")),
         Of(&PhysicalMtl::emissionMap, MapSlot("emission_map", ParamType::kTexmap, "Emission Map",
                                               "Multiplies that light."))});
    return table;
}

const PropertyTable& MultiTable() {
    static const PropertyTable table(
        "Materials", {Custom<MultiMtl>(
                         List(ParamDef(0, "materials", ParamType::kMaterial).Label("Materials"),
                              "Shown by faces of material id 0, 1, ... in their order."),
                         [](const MultiMtl& multi) {
                             Elements elements;
                             for (int i = 0; i < multi.NumSubMtls(); ++i)
                                 Add(elements, multi.GetReference(i));
                             return elements;
                         },
                         [](MultiMtl& multi, Elements elements) {
                             multi.SetNumSubMtls(int(elements.size()));
                             for (size_t i = 0; i < elements.size(); ++i)
                                 multi.SetSubMtl(int(i), TargetOf<Mtl>(elements[i].value));
                         })});
    return table;
}

// --- maps

// One coordinate of a pair.
PropertyField Half(Property<Point2> Texmap::*pair, float Point2::*half, ParamDef def) {
    return Custom<Texmap>(
        std::move(def), [=](const Texmap& map) { return One((map.*pair).Get().*half); },
        [=](Texmap& map, Elements elements) {
            (map.*pair).Edit([&](Point2& p) { p.*half = std::get<float>(elements.at(0).value); });
        });
}

const PropertyTable& PlacingTable() {
    auto factor = [](const char* name, const char* label) {
        return Number(name, label, -kLargest, kLargest, "Multiplies the texture coordinate.");
    };
    auto shift = [](const char* name, const char* label) {
        return Number(name, label, -kLargest, kLargest, "Shifts the texture coordinate.");
    };
    static const PropertyTable table = Table(
        "Coordinates", *std::make_shared<UvwTex>(),
        {Of(&Texmap::channel, Whole("channel", "Map Channel", 0, 99, "Mapping of the mesh.")),
         Half(&Texmap::tiling, &Point2::x, factor("tiling_u", "U Tiling")),
         Half(&Texmap::tiling, &Point2::y, factor("tiling_v", "V Tiling")),
         Half(&Texmap::offset, &Point2::x, shift("offset_u", "U Offset")),
         Half(&Texmap::offset, &Point2::y, shift("offset_v", "V Offset")),
         Custom<Texmap>(
             Number("rotation", "Rotation", -kLargest, kLargest, "Degrees, counter-clockwise."),
             [](const Texmap& map) { return One(map.RotationDegrees()); },
             [](Texmap& map, Elements elements) {
                 map.SetRotation(std::get<float>(elements.at(0).value));
             })});
    return table;
}

const PropertyTable& ColorTable() {
    static const PropertyTable table =
        Table("Colour", *std::make_shared<ColorTex>(),
              {Of(&ColorTex::color, Swatch("color", "Colour", "Everywhere."))});
    return table;
}

const PropertyTable& GradientTable() {
    static const PropertyTable table =
        Table("Gradient", *std::make_shared<GradientTex>(),
              {Of(&GradientTex::color1, Swatch("color1", "Colour 1", "At 0.")),
               Of(&GradientTex::color2, Swatch("color2", "Colour 2", "At 1.")),
               Of(&GradientTex::axis, Choice("axis", "Axis", {"U", "V"}, "Along which it runs."))});
    return table;
}

const PropertyTable& CheckerTable() {
    static const PropertyTable table =
        Table("Checker", *std::make_shared<CheckerTex>(),
              {Of(&CheckerTex::color1, Swatch("color1", "Colour 1", "Of half the fields.")),
               Of(&CheckerTex::color2, Swatch("color2", "Colour 2", "Of the others."))});
    return table;
}

const PropertyTable& BitmapTable() {
    static const PropertyTable table = Table(
        "Image", *std::make_shared<BitmapTex>(nullptr),
        {Custom<BitmapTex>(
             ParamDef(0, "file", ParamType::kFilename).Label("File").Meaning("The image."),
             [](const BitmapTex& map) { return One(map.File()); },
             [](BitmapTex& map, Elements elements) {
                 map.SetFile(std::get<std::string>(elements.at(0).value));
             }),
         Of(&BitmapTex::filter,
            Choice("filter", "Filter", {"Nearest", "Bilinear"}, "Between pixels.")),
         Of(&BitmapTex::wrap,
            Choice("wrap", "Beyond the Image", {"Tile", "Clamp", "Mirror"}, "What is there.")),
         Of(&BitmapTex::alphaOnly,
            Switch("alpha_only", "Alpha Only", "White with the image's alpha."))});
    return table;
}

const PropertyTable& NoiseTable() {
    static const PropertyTable table = Table(
        "Noise", *std::make_shared<NoiseTex>(),
        {Of(&NoiseTex::color1, Swatch("color1", "Colour 1", "Of low values.")),
         Of(&NoiseTex::color2, Swatch("color2", "Colour 2", "Of high values.")),
         Of(&NoiseTex::size, Length("size", "Size", "Of a cell of the noise.")),
         Of(&NoiseTex::levels, Whole("levels", "Levels", 1, 16, "Octaves.")),
         Of(&NoiseTex::seed,
            Whole("seed", "Seed", -kLargest, kLargest - 1, "Another number, another pattern."))});
    return table;
}

struct ClassTable {
    bool (*isOf)(const ReferenceTarget&);
    const PropertyTable& (*table)();
};

template <class T>
ClassTable Entry(const PropertyTable& (*table)()) {
    return {[](const ReferenceTarget& t) { return dynamic_cast<const T*>(&t) != nullptr; }, table};
}

bool IsPlainStandard(const ReferenceTarget& target) {
    return dynamic_cast<const StandardMtl*>(&target) && !dynamic_cast<const PhysicalMtl*>(&target);
}

}  // namespace

std::vector<const PropertyTable*> PropertyTablesOf(const ReferenceTarget& target) {
    static const ClassTable tables[] = {
        Entry<INode>(NodeTable),           Entry<INode>(ModifiersTable),
        Entry<Modifier>(ModifierTable),    Entry<PointCacheModifier>(PointCacheTable),
        Entry<TriObject>(MeshTable),       Entry<HeightFieldObject>(HeightFieldTable),
        Entry<ShapeObject>(ShapeTable),    Entry<ParticleObject>(ParticleTable),
        Entry<CameraObject>(CameraTable),  Entry<LightObject>(LightTable),
        Entry<StandardMtl>(StandardTable), {IsPlainStandard, StandardLightTable},
        Entry<PhysicalMtl>(PhysicalTable), Entry<MultiMtl>(MultiTable),
        Entry<ColorTex>(ColorTable),       Entry<GradientTex>(GradientTable),
        Entry<CheckerTex>(CheckerTable),   Entry<BitmapTex>(BitmapTable),
        Entry<NoiseTex>(NoiseTable),       Entry<Texmap>(PlacingTable),
    };
    std::vector<const PropertyTable*> found;
    for (const ClassTable& entry : tables)
        if (entry.isOf(target)) found.push_back(&entry.table());
    return found;
}

std::vector<ValueTable> ValueTablesOf(ReferenceTarget& target) {
    std::vector<ValueTable> tables;
    for (const PropertyTable* table : PropertyTablesOf(target)) tables.emplace_back(target, *table);
    for (int slot = 0; slot < target.NumRefs(); ++slot)
        if (auto* block = dynamic_cast<IParamBlock2*>(target.GetReference(slot).get()))
            tables.emplace_back(*block);
    return tables;
}

std::optional<ValueTable> ValueTableOf(ReferenceTarget& target, const ParamBlockDesc2& desc) {
    if (desc.referenceSlot >= 0) {
        auto* block = dynamic_cast<IParamBlock2*>(target.GetReference(desc.referenceSlot).get());
        if (block && &block->GetDesc() == &desc) return ValueTable(*block);
    }
    for (const ValueTable& table : ValueTablesOf(target))
        if (&table.Desc() == &desc) return table;
    return std::nullopt;
}

std::optional<NamedValue> FindValue(ReferenceTarget& target, std::string_view name) {
    for (const ValueTable& table : ValueTablesOf(target))
        if (const ParamDef* def = table.Desc().Find(name)) return NamedValue{table, def};
    return std::nullopt;
}

std::vector<ReferenceTarget*> PartsOf(const INode& node) {
    std::vector<ReferenceTarget*> parts;
    Object* object = node.GetObjectRef();
    if (auto* stack = dynamic_cast<DerivedObject*>(object)) {
        for (int i = stack->NumModifiers(); i-- > 0;)
            if (Modifier* modifier = stack->GetModifier(i)) parts.push_back(modifier);
        object = stack->Base();
    }
    if (object) parts.push_back(object);
    if (auto* light = dynamic_cast<LightObject*>(object))
        if (ShadowType* shadow = light->shadowType.Get()) parts.push_back(shadow);
    parts.push_back(const_cast<INode*>(&node));
    return parts;
}

std::vector<std::string> ValueNamesOf(ReferenceTarget& target) {
    std::vector<std::string> names;
    for (const ValueTable& table : ValueTablesOf(target))
        for (const ParamDef& def : table.Desc().params) names.push_back(def.name);
    return names;
}
