#include "Dravin/effects/item_attributes.h"

#include <cmath>

#include "Dravin/effects/attribute_rows.h"
#include "Dravin/effects/tavuvm_expr/algebra.h"
#include "Dravin/engine/item_steps.h"

using namespace attribute_rows;

namespace {

using tavuvm_expr::value;

Point3 AsPoint(const Color& c) { return {c.r, c.g, c.b}; }

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
void SetSample(Target t, int32_t sample) {
    bool exists = sample >= 0 && size_t(sample) < t.lanes.specimen[t.k]->frames.size();
    t.lanes.animation[t.k] = exists ? sample : 0;
}

// --- visibility

// One choice without branches: which items a program hides is hard to foresee.
void SetVisible(Target t, int32_t visible) {
    TLaneFate fate = t.lanes.fate[t.k];
    TLaneFate shown = fate == TLaneFate::kEffect ? TLaneFate::kAlive : fate;
    t.lanes.fate[t.k] = visible == 0 ? TLaneFate::kEffect : shown;
}

// --- what comes from around the item

// What an item keeps of its source; lists that keep none hold what an item has before everything.
const ItemSource& FromSource(Source s) {
    static const ItemSource none;
    return s.lanes.from.Size() > 0 ? s.lanes.from[s.k] : none;
}

template <int kWord>
int32_t HashWord(Source s) {
    return int32_t(s.cells.hash[kWord][s.lanes.cell[s.k]]);
}

// --- what follows from a write

void Turn(const TBuildInput&, TItemLanes& lanes, Items items) { TurnItems(lanes, items); }
void Resize(const TBuildInput& input, TItemLanes& lanes, Items items) {
    ResizeItems(input.transforms, lanes, items);
}

const TItemAttribute kAttributes[] = {
    PointLane<&TItemLanes::position>("position"),
    PointLane<&TItemLanes::rotation, Turn>("rotation"),
    PointLane<&TItemLanes::axisX>("xrotaxis"),
    PointLane<&TItemLanes::axisY>("yrotaxis"),
    PointLane<&TItemLanes::axisZ>("zrotaxis"),
    PointLane<&TItemLanes::scale, Resize>("scale"),
    Writing<[](Source s) { return int32_t(s.lanes.IsAlive(s.k)); }, SetVisible>("visible"),
    Reading<[](Source s) { return FromSource(s).userId; }>("userID"),
    Writing<GeometryIndex,
            [](Target t, int32_t row) {
                t.outcome.geometryWritten = true;
                t.outcome.specimen = row;
            }>("geomID"),
    Reading<[](Source s) { return AsPoint(Geometry(s).colorId); }>("geomColor"),
    Reading<[](Source s) { return Geometry(s).probability; }>("geomProbability"),
    Reading<HashWord<0>>("distXPixel"),
    Reading<HashWord<2>>("distYPixel"),
    Reading<HashWord<1>>("distXTile"),
    Reading<HashWord<3>>("distYTile"),
    Reading<[](Source s) { return s.lanes.mapCoordinates[s.k]; }>("distUVW"),
    Reading<[](Source s) { return FromSource(s).pathPosition; }>("distPathPos"),
    Reading<[](Source s) { return FromSource(s).pathTangent; }>("distPathTangent"),
    FixedFloatLane<&TItemLanes::collisionRadius>("collisionRadius"),
    FixedFloatLane<&TItemLanes::collisionHeight>("collisionHeight"),
    Writing<PointIn<&TItemLanes::tint>,
            [](Target t, const Point3& p) {
                t.lanes.tint.Set(t.k, p);
                t.outcome.overrides.tintColor = {p.x, p.y, p.z};
                t.outcome.overrides.hasTintColor = true;
            }>("tintColor", Points<&TItemLanes::tint>),
    Writing<FloatIn<&TItemLanes::tintBlend>,
            [](Target t, float blend) {
                t.lanes.tintBlend[t.k] = t.outcome.overrides.tintBlend = blend;
                t.outcome.overrides.hasTintBlend = true;
            }>("tintMult", Floats<&TItemLanes::tintBlend>),
    Writing<[](Source s) { return s.lanes.animation[s.k]; }, SetSample>("animSample"),
    Reading<[](Source s) { return int32_t(NumFrames(s)); }>("animNumSamples"),
    Reading<SampleOffset>("animOffset"),
    FixedPointLane<&TItemLanes::faceNormal>("surfNormal"),
    Writing<[](Source s) { return tavuvm_expr::truncated(std::round(Direction(s))); },
            [](Target t, int32_t percent) {
                t.outcome.placementWritten = true;
                t.outcome.overrides.hasDirection = true;
                t.outcome.overrides.direction = float(percent);
            }>("surfDirection"),
    Reading<SlopeIn>("surfSlope"),
    Reading<[](Source s) { return s.lanes.borders[s.k].includeDistance; }>("areaIncDistance"),
    Reading<[](Source s) { return s.lanes.borders[s.k].includeNearest; }>("areaIncNearest"),
    Reading<[](Source s) { return s.lanes.borders[s.k].excludeDistance; }>("areaExcDistance"),
    Reading<[](Source s) { return s.lanes.borders[s.k].excludeNearest; }>("areaExcNearest"),
    FixedPointLane<&TItemLanes::falloffScale>("areaFalloffScale"),
    Writing<[](Source s) { return TranslationRange(s).min; },
            [](Target t, const Point3& p) { Translation(t).translationMin = p; }>("randTransMin"),
    Writing<[](Source s) { return TranslationRange(s).max; },
            [](Target t, const Point3& p) { Translation(t).translationMax = p; }>("randTransMax"),
    Writing<[](Source s) { return RotationRange(s).min; },
            [](Target t, const Point3& p) { Rotation(t).rotationMin = p; }>("randRotMin"),
    Writing<[](Source s) { return RotationRange(s).max; },
            [](Target t, const Point3& p) { Rotation(t).rotationMax = p; }>("randRotMax"),
    Writing<[](Source s) { return ScaleRange(s).min; },
            [](Target t, const Point3& p) { Scale(t).scaleMin = p; }>("randScaleMin"),
    Writing<[](Source s) { return ScaleRange(s).max; },
            [](Target t, const Point3& p) { Scale(t).scaleMax = p; }>("randScaleMax"),
    Reading<[](Source s) { return FromSource(s).particleAge; }>("particleAge"),
    Reading<[](Source s) { return FromSource(s).particleSpeed; }>("particleSpeed"),
    Reading<[](Source s) { return FromSource(s).particleEventId; }>("particleEventID"),
    Reading<[](Source s) { return FromSource(s).particleRotation; }>("particleRotation"),
    Reading<[](Source s) { return FromSource(s).particleScale; }>("particleScale"),
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
