#include "apps/dravin/demo_description.h"

#include <fmt/format.h>

#include <cmath>
#include <vector>

#include "apps/dravin/demo_farm.h"
#include "apps/dravin/demo_terrain.h"

namespace demo {

namespace {

// One row of a geometry list.
struct Row {
    const char* object;
    int probability;
    const char* colorId;
    int scale = 100;
};

std::string Rows(const std::vector<Row>& rows) {
    std::string text;
    for (size_t i = 0; i < rows.size(); ++i)
        text += fmt::format(
            "{}\n                {{\"name\": \"{}\", \"kind\": \"custom\", \"object\": \"{}\", "
            "\"id\": {}, \"probability\": {}, \"scale\": {}, \"color_id\": {}}}",
            i ? "," : "", rows[i].object, rows[i].object, i + 1, rows[i].probability, rows[i].scale,
            rows[i].colorId);
    return text;
}

std::string Maps() {
    std::string text;
    for (const Species& s : kSpecies) {
        text += fmt::format(
            ",\n        \"{0} colour\": {{\"type\": \"bitmap\", \"file\": \"models/{0}.png\"}}",
            s.name);
        if (s.isCut)
            text += fmt::format(
                ",\n        \"{0} leaves\": {{\"type\": \"bitmap\", \"file\": "
                "\"models/{0}_mask.png\"}}",
                s.name);
    }
    return text;
}

std::string Materials() {
    std::string text;
    for (const Species& s : kSpecies) {
        text += fmt::format(
            ",\n        \"{0}\": {{\"type\": \"standard\", \"diffuse_map\": \"{0} colour\"",
            s.name);
        if (s.isCut) text += fmt::format(", \"opacity_map\": \"{} leaves\"", s.name);
        if (s.translucency > 0)
            text += fmt::format(", \"two_sided\": true, \"translucency\": {}", s.translucency);
        text += "}";
    }
    return text;
}

// The models stand hidden behind the camera: only their copies are seen.
std::string Models() {
    std::string text;
    for (const Species& s : kSpecies)
        text += fmt::format(
            "        {{\"name\": \"{0}\", \"type\": \"mesh\", \"file\": \"models/{0}_near.glb\", "
            "\"material\": \"{0}\", \"hidden\": true, \"renderable\": false}},\n",
            s.name);
    return text;
}

// A terrain mesh over a rectangle. Heights in the image are measured from the lowest point.
std::string Terrain(const char* name, const char* file, const Rect& r, const char* look) {
    return fmt::format(
        "        {{\"name\": \"{}\", \"type\": \"heightfield\", \"file\": \"images/{}\",\n"
        "         \"size\": [{}, {}], \"height\": {}, \"position\": [{}, {}, {}], {}}},\n",
        name, file, r.Width(), r.Length(), kHighest - kLowest, r.CenterX(), r.CenterY(), kLowest,
        look);
}

// A grid of cells `cell` wide: the map of 100 x 100 pixels covers 100 cells.
std::string Grid(double cell) {
    return fmt::format("\"pixels_x\": 100, \"units_x\": {:.5g}", cell * 100);
}

std::string Turn(int tilt) {
    return fmt::format(
        "\"applyrotation\": true, \"zrotmin\": -180, \"zrotmax\": 180, \"xrotmin\": {}, "
        "\"xrotmax\": "
        "{}, \"yrotmin\": {}, \"yrotmax\": {}",
        -tilt, tilt, -tilt, tilt);
}

std::string Move(int percent) {
    return fmt::format(
        "\"applytranslation\": true, \"transxmin\": {0}, \"transxmax\": {1}, \"transymin\": {0}, "
        "\"transymax\": {1}",
        -percent, percent);
}

// Scale limits in percent, the same factor for all three axes.
std::string Scale(int low, int high) {
    return fmt::format(
        "\"applyscale\": true, \"scalelock\": 1, \"scalexmin\": {}, \"scalexmax\": {}", low, high);
}

std::string Tint(int low, int high, const char* color1, const char* color2) {
    return fmt::format("\"tintmin\": {}, \"tintmax\": {}, \"tintcolor1\": {}, \"tintcolor2\": {}",
                       low, high, color1, color2);
}

// What every scatter object of the demo says: place items on the ground without a limit of cells.
std::string Common(const char* surface, int seed) {
    return fmt::format(
        "\"seed\": {}, \"surflist\": [\"{}\"], \"maxdensity\": 0, \"rmaxitems\": "
        "100000000, \"sdgizmo\": false",
        seed, surface);
}

// What a scatter object holds beside its parameters and its rows.
struct Extras {
    std::string curves = {};  // rows of curves, each with its comment
    std::string areas = {};   // rows after the one that includes everything
    std::string onlyIn = {};  // rows in place of that one
};

std::string Scatter(const char* comment, const char* name, const std::vector<std::string>& params,
                    const std::vector<Row>& rows, const Extras& extras = {}) {
    std::string lines;
    for (size_t i = 0; i < params.size(); ++i)
        lines += fmt::format("{}\n                {}", i ? "," : "", params[i]);
    std::string areas = extras.onlyIn;
    if (areas.empty())
        areas =
            "{\"name\": \"Everywhere\", \"type\": \"surface\", \"include\": true}" + extras.areas;
    std::string curves;
    if (!extras.curves.empty())
        curves = fmt::format("            \"curves\": {{\n{}\n            }},\n", extras.curves);
    return fmt::format(
        "\n        {}\n        {{\"name\": \"{}\", \"type\": \"dravin\",\n            \"params\": "
        "{{{}\n            }},\n            \"geometry\": [{}\n            ],\n{}            "
        "\"areas\": [\n                {}\n            ]\n        }}",
        comment, name, lines, Rows(rows), curves, areas);
}

// Plants thin out over `range` metres around what excludes them and are lower there.
std::string Thinning(double range) {
    return fmt::format(
        "\"spdensact\": true, \"spdensexc\": {}, \"spscalact\": true, \"spscalexc\": {}", range,
        range * 1.6);
}

const char* const kThinningCurves =
    "                // x runs from 1 at the border to 0 at the end of the range.\n"
    "                \"spdenscurve\": [100, 0], \"spscalcurve\": [100, 45]";

// Fewer and larger plants with growing distance from the camera.
std::string CameraFade(int nearest, int farthest) {
    return fmt::format(
        "\"camera\": \"camera\", \"camdensact\": true, \"camscaact\": true, \"camdensear\": {}, "
        "\"camdensfar\": {}",
        nearest, farthest);
}

// Items at every point of a spline.
std::string AlongPath(const char* spline, int seed, bool tilts) {
    return fmt::format(
        "\"seed\": {}, \"distmode\": 1, \"distpathnodes\": [\"{}\"], \"distpathmode\": 1, "
        "\"distpathzfollow\": {}, \"rmaxitems\": 100000000",
        seed, spline, tilts);
}

}  // namespace

std::string Description(const Valley& land, double items) {
    // Cells shrink with the square root of the number of items.
    double k = std::sqrt(1.2e6 / items);
    Rect valley{-kValleyWidth / 2, -kValleyLength / 2, kValleyWidth / 2, kValleyLength / 2};

    std::string text =
        R"json(// A mountain valley in the evening: forest of six species around a lake, a meadow in front.
//
// Build it again:    dravin build forest.json -o items.json
// See it again:      dravin render forest.json -o forest.png
//
// Lengths are metres, angles degrees. The terrain and the masks beside this file are images; paint
// over a mask and the plants follow. Every "dravin" node below scatters one layer of plants.
{
    "dravin_scene": 1,
    "unit_scale": 1,
    "render": {
        "width": 1280, "height": 720, "camera": "camera",
        // Air and light of the built-in ray tracer.
        "samples": 16, "exposure": 0.68,
        "sky": {"turbidity": 2.6, "strength": 1.25, "clouds": 0.5},
        "haze": {"visibility": 9500, "scale_height": 150, "base_height": 0}
    },

    // Images. A mask is read over mapping channel 1 of the surface: its left lower corner is the
    // surface's left lower corner. Items grow where it is brighter than the threshold.
    "texmaps": {
        "ground": {"type": "bitmap", "file": "images/ground.png", "wrap": "clamp"},
        "forest mask": {"type": "bitmap", "file": "images/forest_mask.png", "wrap": "clamp"},
        "rock mask": {"type": "bitmap", "file": "images/rock_mask.png", "wrap": "clamp"},
        "meadow mask": {"type": "bitmap", "file": "images/meadow_mask.png", "wrap": "clamp"},
        "flower mask": {"type": "bitmap", "file": "images/flower_mask.png", "wrap": "clamp"},
        "shore mask": {"type": "bitmap", "file": "images/shore_mask.png", "wrap": "clamp"},
        "floor mask": {"type": "bitmap", "file": "images/floor_mask.png", "wrap": "clamp"},
        "edge mask": {"type": "bitmap", "file": "images/edge_mask.png", "wrap": "clamp"},
        "white": {"type": "color", "color": [1, 1, 1]},
        "track colour": {"type": "bitmap", "file": "images/track.png"},
        "track border": {"type": "bitmap", "file": "images/track_mask.png"},
        "cabin colour": {"type": "bitmap", "file": "models/cabin.png"})json";
    text += Maps();
    text += R"json(
    },

    "materials": {
        "ground": {"type": "standard", "diffuse_map": "ground"},
        // Water mirrors the sky, the more the flatter one looks at it.
        "water": {"type": "standard", "diffuse": [0.07, 0.13, 0.12], "reflectivity": 1, "ripple": 0.004},
        "track": {"type": "standard", "diffuse_map": "track colour", "opacity_map": "track border"},
        "cabin": {"type": "standard", "diffuse_map": "cabin colour", "two_sided": true})json";
    text += Materials();
    text += R"json(
    },

    "nodes": [
        {"name": "camera target", "type": "dummy", "position": [6, -600, 5.5]},
        {"name": "camera", "type": "camera", "position": [-1, -972, 27.6], "target": "camera target",
         "fov": 58},
        {"name": "sun target", "type": "dummy", "position": [0, 0, 0]},
        {"name": "sun", "type": "light", "kind": "directional", "position": [740, 400, 310],
         "target": "sun target", "color": [1, 0.95, 0.86], "intensity": 1, "shadows": true},

        // The ground: 1.4 million triangles from a height image, and the lake at height 0.
)json";
    text += Terrain("valley", "valley.png", valley, "\"material\": \"ground\"");
    text += fmt::format(
        "        {{\"name\": \"lake\", \"type\": \"plane\", \"width\": {}, \"length\": {}, "
        "\"position\": [0, {}, 0], \"material\": \"water\"}},\n\n"
        "        // Parts of the same ground, not shown, for plants that grow only there.\n",
        700, 640, -440);
    text += Terrain("meadow", "meadow.png", kMeadow, "\"hidden\": true, \"renderable\": false");
    text += Terrain("shore", "shore.png", kShore, "\"hidden\": true, \"renderable\": false");
    text += FarmNodes(land);
    text += "\n        // The species.\n" + Models();

    const char* forestCurves =
        "                // Trees thin out and shrink towards the tree line.\n"
        "                \"altitude_density\": [{\"px\": 0, \"py\": 100}, {\"px\": 0.5, \"py\": "
        "100}, "
        "{\"px\": 1, \"py\": 0}],\n"
        "                \"altitude_scale\": [{\"px\": 0, \"py\": 100}, {\"px\": 0.45, \"py\": "
        "100}, "
        "{\"px\": 1, \"py\": 45}]";
    const std::vector<Row> trees{
        {"spruce", 36, "[0.10, 0.30, 0.20]"}, {"pine", 15, "[0.60, 0.40, 0.20]"},
        {"larch", 13, "[0.70, 0.70, 0.20]"},  {"birch", 15, "[0.90, 0.90, 0.80]"},
        {"oak", 14, "[0.30, 0.60, 0.20]"},    {"maple", 7, "[0.90, 0.50, 0.10]"}};
    text += Scatter(
        "// The forest. Mode 2 of the diversity makes clusters: one species gathers here, another "
        "there. A brush has cleared a pasture on the left slope.",
        "Forest",
        {Common("valley", 4711),
         "\"distmap\": \"forest mask\", \"distmapchan\": 1, " + Grid(4.1 * k),
         "\"divers\": 2, \"clusize\": 85, \"clurough\": 60, \"clunoise\": 14, \"cluedge\": 25",
         Move(35) + ", " + Turn(3), Scale(62, 128) + ", \"mirror\": true",
         "\"altlimited\": true, \"altmin\": 1.5, \"altmax\": 330, \"surfaltdens\": true, "
         "\"surfaltscal\": true",
         "\"slopelimited\": true, \"slopemax\": 43",
         Tint(0, 30, "[0.22, 0.30, 0.10]", "[0.52, 0.46, 0.14]")},
        trees, {.curves = forestCurves, .areas = ForestAreas()});
    text += ",\n";
    text += Scatter(
        "// Bushes and young trees where the forest meets the meadow.", "Forest edge",
        {Common("shore", 2201), "\"distmap\": \"edge mask\", \"distmapchan\": 1, " + Grid(3.2 * k),
         Move(120) + ", " + Turn(3), Scale(55, 110),
         "\"altlimited\": true, \"altmin\": 1.2, \"altmax\": 60",
         Tint(0, 25, "[0.25, 0.32, 0.10]", "[0.5, 0.46, 0.16]")},
        {{"birch", 10, "[0.9, 0.9, 0.8]", 80},
         {"bush", 85, "[0.3, 0.5, 0.2]"},
         {"maple", 5, "[0.9, 0.5, 0.1]", 80}});
    text += ",\n";
    text +=
        Scatter("// Ferns and bushes on the forest's floor near the lake.", "Understory",
                {Common("shore", 8112),
                 "\"distmap\": \"floor mask\", \"distmapchan\": 1, " + Grid(1.25 * k),
                 Move(60) + ", " + Turn(6), Scale(60, 130),
                 "\"altlimited\": true, \"altmin\": 1.6, \"altmax\": 90, \"slopelimited\": true, "
                 "\"slopemax\": 40",
                 Tint(0, 35, "[0.24, 0.30, 0.10]", "[0.55, 0.48, 0.18]")},
                {{"fern", 62, "[0.2, 0.6, 0.2]", 120},
                 {"bush", 30, "[0.3, 0.5, 0.2]", 80},
                 {"stone", 8, "[0.5, 0.5, 0.5]"}});
    text += ",\n";
    const std::string fadeCurves =
        std::string(kThinningCurves) +
        ",\n                // Far from the camera half of the tufts does, if they are larger.\n"
        "                \"camdenscurve\": [100, 50], \"camscacurve\": [100, 130]";
    text += Scatter(
        "// The meadow: most of the scene's items are its tufts of grass.", "Meadow grass",
        {Common("meadow", 101),
         "\"distmap\": \"meadow mask\", \"distmapchan\": 1, " + Grid(0.168 * k),
         "\"divers\": 2, \"clusize\": 14, \"clurough\": 60, \"clunoise\": 25",
         Move(45) + ", " + Turn(7), Scale(55, 125), "\"slopelimited\": true, \"slopemax\": 40",
         Tint(0, 45, "[0.30, 0.38, 0.10]", "[0.64, 0.58, 0.26]"), Thinning(1.4),
         CameraFade(45, 160)},
        {{"grass", 90, "[0.3, 0.6, 0.2]"}, {"tallgrass", 10, "[0.7, 0.6, 0.3]", 80}},
        {.curves = fadeCurves, .areas = FarmAreas()});
    text += ",\n";
    text += Scatter(
        "// Coarser grass farther away, down to the lake.", "Far grass",
        {Common("shore", 102), "\"distmap\": \"shore mask\", \"distmapchan\": 1, " + Grid(0.24 * k),
         "\"divers\": 2, \"clusize\": 12, \"clurough\": 50, \"clunoise\": 20",
         Move(60) + ", " + Turn(7), Scale(80, 150),
         "\"altlimited\": true, \"altmin\": 0.5, \"altmax\": 60",
         Tint(0, 45, "[0.30, 0.38, 0.10]", "[0.64, 0.58, 0.26]"), Thinning(1.8),
         CameraFade(90, 330)},
        {{"grass", 86, "[0.3, 0.6, 0.2]"}, {"tallgrass", 14, "[0.7, 0.6, 0.3]", 80}},
        {.curves = fadeCurves, .areas = FarmAreas()});
    text += ",\n";
    text += Scatter(
        "// Flowers in drifts: the mask says where, clusters say which.", "Flowers",
        {Common("meadow", 77),
         "\"distmap\": \"flower mask\", \"distmapchan\": 1, " + Grid(0.36 * k),
         "\"divers\": 2, \"clusize\": 9, \"clurough\": 40, \"clunoise\": 12, \"cluedge\": 30",
         Move(80) + ", " + Turn(8), Scale(75, 130), Thinning(1)},
        {{"daisy", 45, "[1, 1, 1]"},
         {"poppy", 25, "[1, 0.1, 0.1]"},
         {"bellflower", 30, "[0.5, 0.4, 1]"}},
        {.curves = kThinningCurves, .areas = FarmAreas()});
    text += ",\n";
    text += Scatter(
        "// Short grass where a brush has painted the yard, and between the wheels of the track.",
        "Lawn",
        {Common("valley", 103), "\"distmap\": \"white\", \"distmapchan\": 0, " + Grid(0.2 * k),
         Move(60) + ", " + Turn(7), Scale(22, 50),
         Tint(0, 40, "[0.44, 0.52, 0.15]", "[0.64, 0.64, 0.26]")},
        {{"grass", 97, "[0.3, 0.6, 0.2]"}, {"daisy", 3, "[1, 1, 1]"}}, {.onlyIn = LawnAreas()});
    text += ",\n";
    text += Scatter(
        "// The fence: a post at every point of its line, upright but for a little.", "Fence posts",
        {AlongPath("fence", 31, false),
         "\"applyrotation\": true, \"zrotmin\": -180, \"zrotmax\": 180, \"xrotmin\": -3, "
         "\"xrotmax\": 3, \"yrotmin\": -3, \"yrotmax\": 3",
         Scale(92, 112), Tint(0, 30, "[0.36, 0.30, 0.24]", "[0.66, 0.62, 0.55]")},
        {{"post", 100, "[0.5, 0.4, 0.3]"}});
    text += ",\n";
    text += Scatter("// Rails follow the line up and down, each from its post to the next.",
                    "Fence rails",
                    {AlongPath("fence rails", 32, true),
                     Tint(0, 30, "[0.36, 0.30, 0.24]", "[0.66, 0.62, 0.55]")},
                    {{"rails", 100, "[0.5, 0.4, 0.3]"}});
    text += ",\n";
    text += Scatter(
        "// Reeds stand in shallow water: an altitude limit is all they need.", "Reeds",
        {Common("shore", 55), "\"distmap\": \"white\", \"distmapchan\": 0, " + Grid(0.62 * k),
         Move(60) + ", " + Turn(4), Scale(60, 115),
         "\"altlimited\": true, \"altmin\": -0.45, \"altmax\": 0.35",
         Tint(0, 25, "[0.4, 0.42, 0.16]", "[0.66, 0.56, 0.3]")},
        {{"reed", 100, "[0.6, 0.6, 0.2]"}});
    text += ",\n";
    text += Scatter(
        "// The rock field, where boulders have come down the slope.", "Rock field",
        {Common("valley", 909),
         "\"distmap\": \"rock mask\", \"distmapchan\": 1, \"threshold\": 30, " + Grid(2.4 * k),
         Move(70) + ", " + Turn(25), Scale(35, 170), "\"direction\": 40",
         "\"tintmin\": 0, \"tintmax\": 30, \"tintcolor1\": [0.34, 0.33, 0.32], \"tintcolor2\": "
         "[0.66, "
         "0.62, 0.56]"},
        {{"boulder", 30, "[0.5, 0.5, 0.5]"},
         {"slab", 25, "[0.4, 0.4, 0.4]"},
         {"stone", 45, "[0.6, 0.6, 0.6]", 180}});
    text += "\n    ]\n}\n";
    return text;
}

}  // namespace demo
