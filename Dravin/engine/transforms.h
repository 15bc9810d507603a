// What decides how an item looks once it has a place (seed, random values, ranges and switches of
// the settings), and the matrices that follow.
//
// The order in which random numbers are drawn is part of every saved scene. Settings are read-only
// and shared by all threads; a generator belongs to one.
#pragma once

#include <span>

#include "Dravin/engine/item.h"
#include "Dravin/engine/map_sampler.h"
#include "Dravin/engine/specimen.h"
#include "common/nurandom/nurandom.h"

// A texture map that drives some axes of a random range.
struct TMapDrive {
    const IMapSampler* map = nullptr;
    bool axis[3]{};
    bool perAxisColor =
        false;  // red, green, blue drive x, y, z; otherwise the grey value drives all
    bool scalesRandom = false;  // the map scales the random value instead of replacing it

    bool IsOn() const { return map && (axis[0] || axis[1] || axis[2]); }
};

enum ScaleLock { kScaleFree = 0, kScaleXyz = 1, kScaleXy = 2 };
enum AnimationMode { kAnimOff, kAnimFollow, kAnimRandom, kAnimRandomMap, kAnimFrameMap };

struct TTransformSettings {
    uint32_t seed = 123456;
    bool customEdit = false;  // stored items are processed again: they keep seed and position
    bool scatterUv = false;

    float globalScale = 1;
    bool globalSize = false;
    float globalWidth = 2, globalHeight = 3;

    bool applyTranslation = false;
    int32_t transMin[3]{-20, -20, 0}, transMax[3]{20, 20, 0};  // percent of the item's size
    TMapDrive transMap;

    bool applyRotation = false;
    Point3 rotMinDegrees, rotMaxDegrees;
    TMapDrive rotMap;
    const TCurveSampler* rotCurve = nullptr;  // null: uniform

    bool applyScale = false;
    int32_t scaleMin[3]{80, 80, 100}, scaleMax[3]{120, 120, 100};  // percent
    int scaleLock = kScaleXyz;
    TMapDrive scaMap;
    const TCurveSampler* scaCurve = nullptr;

    bool mirror = false;
    bool scaleOnSlope = false;  // items keep their footprint on slopes

    float tintMin = 0, tintMax = 0;  // percent, sorted
    bool tintFromMap = false;
    bool tintMapAsTexture = false;  // else the map is read at random places
    Color tintColor1, tintColor2;
    const IMapSampler* tintMap = nullptr;
    bool tintOnSurface = false;  // the map is read with the surface's coordinates

    int animation = kAnimOff;
    int32_t animSamples = 1;
    const IMapSampler* aniMap = nullptr;

    bool horizontalShadow = false, verticalShadow = false, customShadow = false;
    bool pointLight = false;
    Point2 lightDirection{0, 1};  // horizontal, towards the light; of a directional light
    Point3 lightPosition;         // of a point light

    bool useLookAt = false;        // on, and a camera or a target exists
    bool lookAtHasTarget = false;  // a target node is set: custom objects turn too
    Point3 lookAtPosition;

    int32_t radiusPercent = 100;
    int32_t collisionHeightPercent = 0;
};

// Values that an effect program sets in place of the parameters.
struct TItemOverrides {
    bool hasTranslation = false, hasRotation = false, hasScale = false;
    bool hasTintBlend = false, hasTintColor = false, hasDirection = false;
    Point3 translationMin, translationMax;  // absolute
    Point3 rotationMin, rotationMax;        // degrees
    Point3 scaleMin, scaleMax;              // percent
    float direction = 0;                    // percent
    float tintBlend = 0;                    // 0 to 1
    Color tintColor;

    void Clear() {
        hasTranslation = hasRotation = hasScale = hasTintBlend = hasTintColor = hasDirection =
            false;
    }
};

// Sorted ranges for the draws.
struct TTransformRanges {
    Point3 rotMin, rotMax;             // radians; zero when rotation is off
    int32_t scaleMin[3], scaleMax[3];  // percent
};
TTransformRanges TransformRanges(const TTransformSettings& settings,
                                 const TItemOverrides* overrides = nullptr);

// --- random draws
// ---------------------------------------------------------------------------------

// Seed of an item from the map cell it stands in (all arithmetic modulo 2^32).
inline uint32_t CellSeed(const uint32_t hash[4]) {
    return ~((hash[3] * 804803u + hash[2]) * 311u) ^ ((hash[1] * 150001u + hash[0]) * 3413u);
}

// A generator as the source of FillRandoms.
struct PlainSource {
    TNuRandom& generator;
    float Random() { return generator.Random(); }
    int32_t IRandom(int32_t min, int32_t max) { return generator.IRandom(min, max); }
};

// The draws of one item in their fixed order. Source: Random() and IRandom(min, max).
template <class Source>
void FillRandoms(Source& source, const TTransformSettings& settings, const TTransformRanges& ranges,
                 ItemRandoms& r);

// Number of generator outputs that FillRandoms takes when none is rejected and no curve is empty.
inline constexpr size_t kStepsPerItem = 22;

// Draws the random values again from a seed that the item already has.
void RedrawItemRandoms(const TTransformSettings& settings, const TTransformRanges& ranges,
                       TNuRandom& generator, TDravinItem& item);

// --- areas and matrices
// ------------------------------------------------------------------------

// What happens to items that cross a border of their area: nothing, they are discarded, or the
// parts that stand outside are not drawn.
enum BoundaryCheck { kBorderIgnored = 0, kBorderDiscards = 1, kBorderHidesParts = 2 };

// The area an item belongs to, as far as these steps need it.
struct TItemArea {
    float zOffset = 0;
    int boundaryCheck = kBorderIgnored;
};

// Frame with z axis `normal` and the x axis as near to `reference` as that allows; translation 0.
Matrix3 MakeFrame(const Point3& reference, const Point3& normal);

// Final transform of an item: its unit-sized specimen to object space. `factor` scales all sizes.
Matrix3 ItemTransform(const ItemPlace& item, bool scaleOnSlope, float factor = 1);

// Sets full transform and bounds.
void CompletePlacement(const TTransformSettings& settings, const TSpecimenElement& specimen,
                       TDravinItem& item);

// --- implementation of the template
// ---------------------------------------------------------------

template <class Source>
void FillRandoms(Source& source, const TTransformSettings& settings, const TTransformRanges& ranges,
                 ItemRandoms& r) {
    auto random3 = [&] {
        float x = source.Random(), y = source.Random(), z = source.Random();
        return Point3{x, y, z};
    };
    auto scale = [&](int axis) {
        int32_t min = ranges.scaleMin[axis], max = ranges.scaleMax[axis];
        if (!settings.scaCurve) return float(source.IRandom(min, max)) * 0.01f;
        if (settings.scaCurve->IsEmpty()) return float(min) * 0.01f;
        return settings.scaCurve->CurveValue(source.Random(), float(min), float(max)) * 0.01f;
    };
    auto angle = [&](int axis) {
        float min = ranges.rotMin[axis], max = ranges.rotMax[axis];
        if (!settings.rotCurve) return min + source.Random() * (max - min);
        if (settings.rotCurve->IsEmpty()) return min;
        return settings.rotCurve->CurveValue(source.Random(), min, max);
    };

    r.randomA = random3();
    r.randomB = random3();
    r.randomTranslation = random3();
    r.randomScale.x = scale(0);
    r.randomScale.z = scale(2);
    r.randomInteger = source.IRandom(0, 32767);
    r.random1 = source.Random();
    r.random2 = source.Random();
    r.random3 = source.Random();
    r.rotation.z = angle(2);
    r.rotation.x = angle(0);
    r.rotation.y = angle(1);
    r.randomSample = source.IRandom(0, settings.animSamples - 1);
    // Always uniform, even where the probability curve shapes x and z: saved scenes rely on it.
    r.randomScale.y = float(source.IRandom(ranges.scaleMin[1], ranges.scaleMax[1])) * 0.01f;
    r.random4 = source.Random();
    r.random5 = source.Random();
}
