#include "Dravin/panels/effect_words.h"

#include <vector>

#include <fmt/format.h>

#include "Dravin/effects/effect_language.h"
#include "Dravin/effects/item_attributes.h"

namespace {

using tavuvm_expr::folded;
using tavuvm_expr::type_code;

struct Help {
    const char* name;
    const char* help;
};

constexpr Help kKeywords[] = {
    {"int", "Declares integers: int count = 3;"},
    {"real", "Declares reals: real half = 0.5;"},
    {"vector", "Declares vectors of three reals: vector up = [0, 0, 1];"},
    {"print", "Shows a value where programs are tried out."},
    {"return", "Ends the program; a vector is added to the item's effect vector."},
    {"true", "1"},
    {"false", "0"},
};

constexpr Help kConstants[] = {
    {"dpItem", "The item that the program runs for."},
    {"Max.time", "The time of the build in ticks, 4800 a second."},
    {"pi", "3.14159"},
    {"e", "2.71828"},
};

constexpr Help kFunctions[] = {
    {"sin", "Sine of an angle in radians."},
    {"cos", "Cosine of an angle in radians."},
    {"tan", "Tangent of an angle in radians."},
    {"asin", "Angle in radians whose sine it is."},
    {"acos", "Angle in radians whose cosine it is."},
    {"atan", "Angle in radians whose tangent it is."},
    {"atan2", "Angle in radians of the direction (x, y), given as y, x."},
    {"sinh", "Hyperbolic sine."},
    {"cosh", "Hyperbolic cosine."},
    {"tanh", "Hyperbolic tangent."},
    {"radToDeg", "Radians in degrees."},
    {"degToRad", "Degrees in radians."},
    {"ceil", "The next whole number above."},
    {"floor", "The next whole number below."},
    {"round", "The nearest whole number, an integer."},
    {"trunc", "The number without its fraction."},
    {"ln", "Natural logarithm."},
    {"log", "Logarithm to base 10."},
    {"exp", "e to the power of it."},
    {"pow", "The first to the power of the second."},
    {"sqrt", "Square root."},
    {"abs", "The number without its sign."},
    {"mod", "Remainder of the first by the second."},
    {"min", "The smaller of two."},
    {"max", "The larger of two."},
    {"if", "The second where the first is above 0, else the third; both are computed."},
    {"length", "Length of a vector."},
    {"unit", "The vector with length 1."},
    {"comp", "Component 0, 1 or 2 of a vector."},
    {"dotprod", "Dot product."},
    {"crossprod", "Cross product."},
    {"randomReal", "A real from the first up to, not including, the second."},
    {"randomInt", "An integer from the first to the second, both included."},
    {"easeIn", "Eases from x0..x1 to y0..y1, slow at first: x, x0, x1, y0, y1, exponent."},
    {"easeOut", "Eases from x0..x1 to y0..y1, slow at the end: x, x0, x1, y0, y1, exponent."},
    {"easeInOut", "Eases from x0..x1 to y0..y1, slow at both: x, x0, x1, y0, y1, exponent."},
    {"dpSurfaceHit", "1 when there is ground above or below a position."},
    {"dpSurfaceHitZ", "Height of the ground there; 0 without."},
    {"dpSurfaceHitNormal", "Normal of the ground there; the zero vector without."},
    {"dpRandomGeom", "A row of the geometry list, drawn by their probabilities."},
    {"evaluateTexture", "Colour of a map parameter at a point, its place and mapping coordinates."},
    {"evaluateCurve", "A curve parameter at x, also before 0 and behind 1."},
};

constexpr Help kAttributes[] = {
    {"position", "Place, in the space of the scatter object."},
    {"rotation", "Angles in radians about x, y and z, from the upright frame."},
    {"xrotaxis", "Direction of its x axis, after all turns."},
    {"yrotaxis", "Direction of its y axis, after all turns."},
    {"zrotaxis", "Direction of its z axis, after all turns."},
    {"scale", "Size, 1 as it comes."},
    {"visible", "0 drops the item; no further effect sees it."},
    {"userID", "Number of an item edited by hand."},
    {"geomID", "Row of the geometry list, from 0; the item is made again with it."},
    {"geomColor", "Colour of its geometry row."},
    {"geomProbability", "Probability of its geometry row."},
    {"tintColor", "Colour."},
    {"tintMult", "How much of the tint shows, 0 to 1."},
    {"distXPixel", "Column of its pixel in the distribution map."},
    {"distYPixel", "Row of its pixel in the distribution map."},
    {"distXTile", "Copy of the map that it stands in, along x."},
    {"distYTile", "Copy of the map that it stands in, along y."},
    {"distUVW", "Its place within the map, 0 to 1."},
    {"distPathPos", "How far along its path, 0 to 1."},
    {"distPathTangent", "Direction of the path there."},
    {"collisionRadius", "Radius for collisions."},
    {"collisionHeight", "Height for collisions."},
    {"animSample", "Animation sample."},
    {"animNumSamples", "Samples of its geometry."},
    {"animOffset", "Frames of its own sample."},
    {"surfNormal", "Normal of the ground."},
    {"surfDirection", "-100 to 100, as the parameter \"direction\"; the item is made again."},
    {"surfSlope", "Slope of the ground, radians."},
    {"areaIncDistance", "Distance to the nearest border of the areas that include."},
    {"areaIncNearest", "Nearest point of the borders of the areas that include."},
    {"areaExcDistance", "Distance to the nearest border of the areas that exclude."},
    {"areaExcNearest", "Nearest point of the borders of the areas that exclude."},
    {"areaFalloffScale", "Scale that the falloff of areas and rules gave."},
    {"randTransMin", "Least random translation, lengths; the item is made again."},
    {"randTransMax", "Greatest random translation, lengths; the item is made again."},
    {"randRotMin", "Least random rotation, degrees; the item is made again."},
    {"randRotMax", "Greatest random rotation, degrees; the item is made again."},
    {"randScaleMin", "Least random scale, percent; the item is made again."},
    {"randScaleMax", "Greatest random scale, percent; the item is made again."},
    {"particleAge", "Age of its particle, ticks."},
    {"particleSpeed", "Speed of its particle."},
    {"particleEventID", "Event of its particle."},
    {"particleRotation", "Rotation of its particle."},
    {"particleScale", "Scale of its particle."},
};

const char* TypeName(type_code type) {
    switch (type) {
        case type_code::integer:
            return "int";
        case type_code::real:
            return "real";
        case type_code::vector:
            return "vector";
        case type_code::texmap:
            return "map";
        case type_code::curve:
            return "curve";
        default:
            return "any";
    }
}

// What the table says of a name; null where it is silent.
const Help* Find(std::span<const Help> table, std::string_view name) {
    for (const Help& help : table)
        if (folded(help.name) == folded(name)) return &help;
    return nullptr;
}

TEffectWord FunctionWord(const tavuvm_expr::function& f) {
    const Help* help = Find(kFunctions, f.name);
    TEffectWord word{help ? help->name : f.name, EffectWordKind::kFunction, {}, {}};
    std::string arguments;
    for (type_code type : f.arguments)
        arguments += (arguments.empty() ? "" : ", ") + std::string(TypeName(type));
    word.signature = fmt::format("{} {}({})", TypeName(f.result), word.name, arguments);
    if (help) word.help = help->help;
    return word;
}

TEffectWord AttributeWord(const TItemAttribute& a) {
    const Help* help = Find(kAttributes, a.name);
    std::string text = help ? help->help : "";
    return {a.name, EffectWordKind::kAttribute,
            fmt::format("{} dpItem.{}{}", TypeName(a.type), a.name, a.write ? "" : " (read only)"),
            text};
}

}  // namespace

std::span<const TEffectWord> EffectWords() {
    static const std::vector<TEffectWord> words = [] {
        std::vector<TEffectWord> all;
        for (const Help& h : kKeywords)
            all.push_back({h.name, EffectWordKind::kKeyword, h.name, h.help});
        const tavuvm_expr::function_library& functions = EffectFunctions();
        for (size_t i = 0; i < functions.size(); ++i) all.push_back(FunctionWord(functions.at(i)));
        for (const TItemAttribute& a : ItemAttributes()) all.push_back(AttributeWord(a));
        for (const Help& h : kConstants)
            all.push_back({h.name, EffectWordKind::kConstant, h.name, h.help});
        return all;
    }();
    return words;
}

const TEffectWord* FindEffectWord(std::string_view name) {
    for (const TEffectWord& word : EffectWords())
        if (folded(word.name) == folded(name)) return &word;
    return nullptr;
}
