#include "Dravin/effects/item_attributes.h"

#include <cmath>

#include "Dravin/effects/tavuvm_expr/algebra.h"

namespace {

using tavuvm_expr::type_code;
using tavuvm_expr::value;
using tavuvm_expr::vector3;
using Source = const TAttributeSource&;
using Target = const TAttributeTarget&;
using Value = const value&;

value FromPoint(const Point3& p) { return vector3{p.x, p.y, p.z}; }
value FromColor(const Color& c) { return vector3{c.r, c.g, c.b}; }
Point3 ToPoint(Value v) {
    vector3 a = v.vector();
    return {a.x, a.y, a.z};
}
Color ToColor(Value v) {
    vector3 a = v.vector();
    return {a.x, a.y, a.z};
}

// --- random ranges

Point3 TranslationLimit(const int32_t percent[3], const TSpecimenSize& size) {
    return {float(percent[0]) * size.x * 0.01f, float(percent[1]) * size.x * 0.01f,
            float(percent[2]) * size.z * 0.01f};
}
Point3 ScaleLimit(const int32_t percent[3]) {
    return {float(percent[0]), float(percent[1]), float(percent[2])};
}

// What an earlier program of the item wrote, else the object's own.
struct TRange {
    Point3 min, max;
};
TRange TranslationRange(Source s) {
    const TItemOverrides& o = s.outcome.overrides;
    const TTransformSettings& t = s.input.transforms;
    if (o.hasTranslation) return {o.translationMin, o.translationMax};
    return {TranslationLimit(t.transMin, s.size), TranslationLimit(t.transMax, s.size)};
}
TRange RotationRange(Source s) {
    const TItemOverrides& o = s.outcome.overrides;
    if (o.hasRotation) return {o.rotationMin, o.rotationMax};
    return {s.input.transforms.rotMinDegrees, s.input.transforms.rotMaxDegrees};
}
TRange ScaleRange(Source s) {
    const TItemOverrides& o = s.outcome.overrides;
    if (o.hasScale) return {o.scaleMin, o.scaleMax};
    return {ScaleLimit(s.input.transforms.scaleMin), ScaleLimit(s.input.transforms.scaleMax)};
}
float Direction(Source s) {
    const TItemOverrides& o = s.outcome.overrides;
    return o.hasDirection ? o.direction : s.input.directionPercent;
}
int32_t GeometryIndex(Source s) {
    return s.outcome.geometryWritten ? s.outcome.specimen : s.item.specimenIndex;
}
// The row that the item shows, or will show.
const TSpecimen& Geometry(Source s) {
    if (!s.outcome.geometryWritten || s.input.specimens.empty()) return s.specimen;
    return s.input.specimens[SpecimenRow(s.outcome.specimen, s.input.specimens.size())];
}

// A program that writes one end of a range keeps the other.
TItemOverrides& Translation(Target t) {
    TItemOverrides& o = t.outcome.overrides;
    t.outcome.placementWritten = true;
    if (!o.hasTranslation) {
        o.translationMin = TranslationLimit(t.input.transforms.transMin, t.size);
        o.translationMax = TranslationLimit(t.input.transforms.transMax, t.size);
    }
    o.hasTranslation = true;
    return o;
}
TItemOverrides& Rotation(Target t) {
    TItemOverrides& o = t.outcome.overrides;
    t.outcome.placementWritten = true;
    if (!o.hasRotation) {
        o.rotationMin = t.input.transforms.rotMinDegrees;
        o.rotationMax = t.input.transforms.rotMaxDegrees;
    }
    o.hasRotation = true;
    return o;
}
TItemOverrides& Scale(Target t) {
    TItemOverrides& o = t.outcome.overrides;
    t.outcome.placementWritten = true;
    if (!o.hasScale) {
        o.scaleMin = ScaleLimit(t.input.transforms.scaleMin);
        o.scaleMax = ScaleLimit(t.input.transforms.scaleMax);
    }
    o.hasScale = true;
    return o;
}

// --- animation

int32_t SampleOffset(Source s) {
    size_t i = size_t(s.item.animationOffset);
    return i < s.specimen.frames.size() ? int32_t(s.specimen.frames[i].second) : 0;
}
void SetSample(Target t, Value v) {
    int32_t sample = v.integer();
    bool exists = sample >= 0 && size_t(sample) < t.specimen.frames.size();
    t.item.animationOffset = exists ? sample : 0;
}

// --- axes

template <int Row>
void SetAxis(Target t, Value v) {
    t.item.transform.row[Row] = ToPoint(v);
}

constexpr type_code kInt = type_code::integer, kReal = type_code::real, kVec = type_code::vector;

const TItemAttribute kAttributes[] = {
    {"position", kVec, [](Source s) { return FromPoint(s.item.position); },
     [](Target t, Value v) { t.item.position = ToPoint(v); }},
    {"rotation", kVec, [](Source s) { return FromPoint(s.item.rotation); },
     [](Target t, Value v) {
         t.item.rotation = ToPoint(v);
         TurnItem(t.item);
     }},
    {"xrotaxis", kVec, [](Source s) { return FromPoint(s.item.transform.row[0]); }, SetAxis<0>},
    {"yrotaxis", kVec, [](Source s) { return FromPoint(s.item.transform.row[1]); }, SetAxis<1>},
    {"zrotaxis", kVec, [](Source s) { return FromPoint(s.item.transform.row[2]); }, SetAxis<2>},
    {"scale", kVec, [](Source s) { return FromPoint(s.item.scale); },
     [](Target t, Value v) {
         t.item.scale = ToPoint(v);
         if (!t.specimen.elements.empty())
             ResizeItem(t.input.transforms, t.specimen.Element(t.item.elementIndex), t.size,
                        t.item);
     }},
    {"visible", kInt, [](Source s) { return value(int32_t(s.item.discarded == 0)); },
     [](Target t, Value v) { t.item.discarded = v.integer() == 0; }},
    {"userID", kInt, [](Source s) { return value(s.item.userId); }, nullptr},
    {"geomID", kInt, [](Source s) { return value(GeometryIndex(s)); },
     [](Target t, Value v) {
         t.outcome.geometryWritten = true;
         t.outcome.specimen = v.integer();
     }},
    {"geomColor", kVec, [](Source s) { return FromColor(Geometry(s).colorId); }, nullptr},
    {"geomProbability", kReal, [](Source s) { return value(Geometry(s).probability); }, nullptr},
    {"distXPixel", kInt, [](Source s) { return value(int32_t(s.item.hash[0])); }, nullptr},
    {"distYPixel", kInt, [](Source s) { return value(int32_t(s.item.hash[2])); }, nullptr},
    {"distXTile", kInt, [](Source s) { return value(int32_t(s.item.hash[1])); }, nullptr},
    {"distYTile", kInt, [](Source s) { return value(int32_t(s.item.hash[3])); }, nullptr},
    {"distUVW", kVec, [](Source s) { return FromPoint(s.item.mapCoordinates); }, nullptr},
    {"distPathPos", kReal, [](Source s) { return value(s.item.pathPosition); }, nullptr},
    {"distPathTangent", kVec, [](Source s) { return FromPoint(s.item.pathTangent); }, nullptr},
    {"collisionRadius", kReal, [](Source s) { return value(s.item.collisionRadius); }, nullptr},
    {"collisionHeight", kReal, [](Source s) { return value(s.item.collisionHeight); }, nullptr},
    {"tintColor", kVec, [](Source s) { return FromColor(s.item.tintColor); },
     [](Target t, Value v) {
         t.item.tintColor = t.outcome.overrides.tintColor = ToColor(v);
         t.outcome.overrides.hasTintColor = true;
     }},
    {"tintMult", kReal, [](Source s) { return value(s.item.tintBlend); },
     [](Target t, Value v) {
         t.item.tintBlend = t.outcome.overrides.tintBlend = v.real();
         t.outcome.overrides.hasTintBlend = true;
     }},
    {"animSample", kInt, [](Source s) { return value(s.item.animationOffset); }, SetSample},
    {"animNumSamples", kInt, [](Source s) { return value(int32_t(s.specimen.frames.size())); },
     nullptr},
    {"animOffset", kInt, [](Source s) { return value(SampleOffset(s)); }, nullptr},
    {"surfNormal", kVec, [](Source s) { return FromPoint(s.item.surfaceNormal); }, nullptr},
    {"surfDirection", kInt,
     [](Source s) { return value(tavuvm_expr::truncated(std::round(Direction(s)))); },
     [](Target t, Value v) {
         t.outcome.placementWritten = true;
         t.outcome.overrides.hasDirection = true;
         t.outcome.overrides.direction = float(v.integer());
     }},
    {"surfSlope", kReal, [](Source s) { return value(s.item.surfaceSlope); }, nullptr},
    {"areaIncDistance", kReal, [](Source s) { return value(s.item.includeDistance); }, nullptr},
    {"areaIncNearest", kVec, [](Source s) { return FromPoint(s.item.includeNearest); }, nullptr},
    {"areaExcDistance", kReal, [](Source s) { return value(s.item.excludeDistance); }, nullptr},
    {"areaExcNearest", kVec, [](Source s) { return FromPoint(s.item.excludeNearest); }, nullptr},
    {"areaFalloffScale", kVec, [](Source s) { return FromPoint(s.item.falloffScale); }, nullptr},
    {"randTransMin", kVec, [](Source s) { return FromPoint(TranslationRange(s).min); },
     [](Target t, Value v) { Translation(t).translationMin = ToPoint(v); }},
    {"randTransMax", kVec, [](Source s) { return FromPoint(TranslationRange(s).max); },
     [](Target t, Value v) { Translation(t).translationMax = ToPoint(v); }},
    {"randRotMin", kVec, [](Source s) { return FromPoint(RotationRange(s).min); },
     [](Target t, Value v) { Rotation(t).rotationMin = ToPoint(v); }},
    {"randRotMax", kVec, [](Source s) { return FromPoint(RotationRange(s).max); },
     [](Target t, Value v) { Rotation(t).rotationMax = ToPoint(v); }},
    {"randScaleMin", kVec, [](Source s) { return FromPoint(ScaleRange(s).min); },
     [](Target t, Value v) { Scale(t).scaleMin = ToPoint(v); }},
    {"randScaleMax", kVec, [](Source s) { return FromPoint(ScaleRange(s).max); },
     [](Target t, Value v) { Scale(t).scaleMax = ToPoint(v); }},
    {"particleAge", kInt, [](Source s) { return value(s.item.particleAge); }, nullptr},
    {"particleSpeed", kVec, [](Source s) { return FromPoint(s.item.particleSpeed); }, nullptr},
    {"particleEventID", kInt, [](Source s) { return value(s.item.particleEventId); }, nullptr},
    {"particleRotation", kVec, [](Source s) { return FromPoint(s.item.particleRotation); },
     nullptr},
    {"particleScale", kVec, [](Source s) { return FromPoint(s.item.particleScale); }, nullptr},
};

}  // namespace

std::span<const TItemAttribute> ItemAttributes() { return kAttributes; }

value Taken(const TItemAttribute& attribute, const value& stored) {
    return tavuvm_expr::algebra::converted(stored,
                                           tavuvm_expr::value_kind(int(attribute.type) - 1));
}

std::vector<tavuvm_expr::attribute> ItemStructure() {
    std::vector<tavuvm_expr::attribute> structure;
    for (const TItemAttribute& a : kAttributes)
        structure.push_back({a.name, a.type, a.write != nullptr});
    return structure;
}
