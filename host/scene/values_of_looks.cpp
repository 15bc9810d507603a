// What users can set of materials and texture maps of the host.
#include "host/scene/class_tables.h"
#include "host/scene/physical_material.h"
#include "host/scene/property_fields.h"
#include "host/scene/texmaps.h"

using namespace property_fields;

namespace {

constexpr double kLargest = 2147483648.0;

// One coordinate of a pair.
PropertyField Half(Property<Point2> Texmap::*pair, float Point2::*half, ParamDef def) {
    return Custom<Texmap>(
        std::move(def), [=](const Texmap& map) { return One((map.*pair).Get().*half); },
        [=](Texmap& map, Elements elements) {
            (map.*pair).Edit([&](Point2& p) { p.*half = std::get<float>(elements.at(0).value); });
        });
}

}  // namespace

namespace class_tables {

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

}  // namespace class_tables
