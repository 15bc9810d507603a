#include "Dravin/effects/item_attributes.h"

#include <cmath>

#include "Dravin/effects/tavuvm_expr/algebra.h"
#include "Dravin/engine/item_steps.h"

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

Point3 TranslationLimit(const int32_t percent[3], const Point3& size) {
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
    Point3 size = s.lanes.size[s.k];
    return {TranslationLimit(t.transMin, size), TranslationLimit(t.transMax, size)};
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
    return s.outcome.geometryWritten ? s.outcome.specimen : s.lanes.row[s.k];
}
// The row that the item shows, or will show.
const TSpecimen& Geometry(Source s) {
    if (!s.outcome.geometryWritten || s.input.specimens.empty()) return *s.lanes.specimen[s.k];
    return s.input.specimens[SpecimenRow(s.outcome.specimen, s.input.specimens.size())];
}

// A program that writes one end of a range keeps the other.
TItemOverrides& Translation(Target t) {
    TItemOverrides& o = t.outcome.overrides;
    t.outcome.placementWritten = true;
    if (!o.hasTranslation) {
        Point3 size = t.lanes.size[t.k];
        o.translationMin = TranslationLimit(t.input.transforms.transMin, size);
        o.translationMax = TranslationLimit(t.input.transforms.transMax, size);
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

// Of an item that stands on no surface: 0.
float SlopeIn(Source s) {
    bool lies = s.lanes.face[s.k] >= 0 && s.input.KnowsSlopes();
    return lies ? SlopeOf(s.lanes.faceNormal[s.k]) : 0;
}

// --- animation

size_t NumFrames(Source s) { return s.lanes.specimen[s.k]->frames.size(); }
int32_t SampleOffset(Source s) {
    size_t i = size_t(s.lanes.animation[s.k]);
    return i < NumFrames(s) ? int32_t(s.lanes.specimen[s.k]->frames[i].second) : 0;
}
void SetSample(Target t, Value v) {
    int32_t sample = v.integer();
    bool exists = sample >= 0 && size_t(sample) < t.lanes.specimen[t.k]->frames.size();
    t.lanes.animation[t.k] = exists ? sample : 0;
}

// --- visibility

void SetVisible(Target t, Value v) {
    if (v.integer() == 0)
        t.lanes.Drop(t.k, TLaneFate::kEffect);
    else if (t.lanes.fate[t.k] == TLaneFate::kEffect)
        t.lanes.fate[t.k] = TLaneFate::kAlive;
}

// --- columns

template <TPointLane TItemLanes::*kLane>
TAttributeColumn Points(const TItemLanes& lanes) {
    const TPointLane& p = lanes.*kLane;
    return {{p.x.Data(), p.y.Data(), p.z.Data()}};
}
template <TLane<float> TItemLanes::*kLane>
TAttributeColumn Floats(const TItemLanes& lanes) {
    return {{(lanes.*kLane).Data(), nullptr, nullptr}};
}

constexpr type_code kInt = type_code::integer, kReal = type_code::real, kVec = type_code::vector;

const TItemAttribute kAttributes[] = {
    {"position", kVec, [](Source s) { return FromPoint(s.lanes.position[s.k]); },
     [](Target t, Value v) { t.lanes.position.Set(t.k, ToPoint(v)); },
     Points<&TItemLanes::position>},
    {"rotation", kVec, [](Source s) { return FromPoint(s.lanes.rotation[s.k]); },
     [](Target t, Value v) {
         t.lanes.rotation.Set(t.k, ToPoint(v));
         TurnItem(t.lanes, t.k);
     },
     Points<&TItemLanes::rotation>},
    {"xrotaxis", kVec, [](Source s) { return FromPoint(s.lanes.axisX[s.k]); },
     [](Target t, Value v) { t.lanes.axisX.Set(t.k, ToPoint(v)); }, Points<&TItemLanes::axisX>},
    {"yrotaxis", kVec, [](Source s) { return FromPoint(s.lanes.axisY[s.k]); },
     [](Target t, Value v) { t.lanes.axisY.Set(t.k, ToPoint(v)); }, Points<&TItemLanes::axisY>},
    {"zrotaxis", kVec, [](Source s) { return FromPoint(s.lanes.axisZ[s.k]); },
     [](Target t, Value v) { t.lanes.axisZ.Set(t.k, ToPoint(v)); }, Points<&TItemLanes::axisZ>},
    {"scale", kVec, [](Source s) { return FromPoint(s.lanes.scale[s.k]); },
     [](Target t, Value v) {
         t.lanes.scale.Set(t.k, ToPoint(v));
         ResizeItem(t.input.transforms, t.lanes, t.k);
     },
     Points<&TItemLanes::scale>},
    {"visible", kInt, [](Source s) { return value(int32_t(s.lanes.IsAlive(s.k))); }, SetVisible},
    {"userID", kInt, [](Source s) { return value(s.lanes.from[s.k].userId); }, nullptr},
    {"geomID", kInt, [](Source s) { return value(GeometryIndex(s)); },
     [](Target t, Value v) {
         t.outcome.geometryWritten = true;
         t.outcome.specimen = v.integer();
     }},
    {"geomColor", kVec, [](Source s) { return FromColor(Geometry(s).colorId); }, nullptr},
    {"geomProbability", kReal, [](Source s) { return value(Geometry(s).probability); }, nullptr},
    {"distXPixel", kInt,
     [](Source s) { return value(int32_t(s.cells.hash[0][s.lanes.cell[s.k]])); }, nullptr},
    {"distYPixel", kInt,
     [](Source s) { return value(int32_t(s.cells.hash[2][s.lanes.cell[s.k]])); }, nullptr},
    {"distXTile", kInt, [](Source s) { return value(int32_t(s.cells.hash[1][s.lanes.cell[s.k]])); },
     nullptr},
    {"distYTile", kInt, [](Source s) { return value(int32_t(s.cells.hash[3][s.lanes.cell[s.k]])); },
     nullptr},
    {"distUVW", kVec, [](Source s) { return FromPoint(s.lanes.mapCoordinates[s.k]); }, nullptr},
    {"distPathPos", kReal, [](Source s) { return value(s.lanes.from[s.k].pathPosition); }, nullptr},
    {"distPathTangent", kVec, [](Source s) { return FromPoint(s.lanes.from[s.k].pathTangent); },
     nullptr},
    {"collisionRadius", kReal, [](Source s) { return value(s.lanes.collisionRadius[s.k]); },
     nullptr, Floats<&TItemLanes::collisionRadius>},
    {"collisionHeight", kReal, [](Source s) { return value(s.lanes.collisionHeight[s.k]); },
     nullptr, Floats<&TItemLanes::collisionHeight>},
    {"tintColor", kVec, [](Source s) { return FromPoint(s.lanes.tint[s.k]); },
     [](Target t, Value v) {
         t.lanes.tint.Set(t.k, ToPoint(v));
         t.outcome.overrides.tintColor = ToColor(v);
         t.outcome.overrides.hasTintColor = true;
     },
     Points<&TItemLanes::tint>},
    {"tintMult", kReal, [](Source s) { return value(s.lanes.tintBlend[s.k]); },
     [](Target t, Value v) {
         t.lanes.tintBlend[t.k] = t.outcome.overrides.tintBlend = v.real();
         t.outcome.overrides.hasTintBlend = true;
     },
     Floats<&TItemLanes::tintBlend>},
    {"animSample", kInt, [](Source s) { return value(s.lanes.animation[s.k]); }, SetSample},
    {"animNumSamples", kInt, [](Source s) { return value(int32_t(NumFrames(s))); }, nullptr},
    {"animOffset", kInt, [](Source s) { return value(SampleOffset(s)); }, nullptr},
    {"surfNormal", kVec, [](Source s) { return FromPoint(s.lanes.faceNormal[s.k]); }, nullptr,
     Points<&TItemLanes::faceNormal>},
    {"surfDirection", kInt,
     [](Source s) { return value(tavuvm_expr::truncated(std::round(Direction(s)))); },
     [](Target t, Value v) {
         t.outcome.placementWritten = true;
         t.outcome.overrides.hasDirection = true;
         t.outcome.overrides.direction = float(v.integer());
     }},
    {"surfSlope", kReal, [](Source s) { return value(SlopeIn(s)); }, nullptr},
    {"areaIncDistance", kReal, [](Source s) { return value(s.lanes.borders[s.k].includeDistance); },
     nullptr},
    {"areaIncNearest", kVec,
     [](Source s) { return FromPoint(s.lanes.borders[s.k].includeNearest); }, nullptr},
    {"areaExcDistance", kReal, [](Source s) { return value(s.lanes.borders[s.k].excludeDistance); },
     nullptr},
    {"areaExcNearest", kVec,
     [](Source s) { return FromPoint(s.lanes.borders[s.k].excludeNearest); }, nullptr},
    {"areaFalloffScale", kVec, [](Source s) { return FromPoint(s.lanes.falloffScale[s.k]); },
     nullptr, Points<&TItemLanes::falloffScale>},
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
    {"particleAge", kInt, [](Source s) { return value(s.lanes.from[s.k].particleAge); }, nullptr},
    {"particleSpeed", kVec, [](Source s) { return FromPoint(s.lanes.from[s.k].particleSpeed); },
     nullptr},
    {"particleEventID", kInt, [](Source s) { return value(s.lanes.from[s.k].particleEventId); },
     nullptr},
    {"particleRotation", kVec,
     [](Source s) { return FromPoint(s.lanes.from[s.k].particleRotation); }, nullptr},
    {"particleScale", kVec, [](Source s) { return FromPoint(s.lanes.from[s.k].particleScale); },
     nullptr},
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
