#include "Dravin/engine/transforms.h"

#include <algorithm>
#include <cmath>

#include "common/nurandom/nurandom_batch.h"

namespace {

constexpr float kDegreesToRadians = 0.017453292f;
constexpr float kSmallestDimension = 0.0001f;

struct PlainSource {
    TNuRandom& generator;
    float Random() { return generator.Random(); }
    int32_t IRandom(int32_t min, int32_t max) { return generator.IRandom(min, max); }
};

// What a map says at the item, one factor an axis.
Point3 SampleDrive(const TMapDrive& drive, const TDravinItem& item, ItemMap channel) {
    AColor c = drive.map->SampleOne({item.mapUvws[channel], item.position});
    if (drive.perAxisColor) return {c.r, c.g, c.b};
    float grey = Grey(c);
    return {grey, grey, grey};
}

void SetSizeFactors(const TTransformSettings& s, TDravinItem& item, const TSpecimenElement& e) {
    if (s.customEdit) {
        if (item.sizeFactor.y < 0) item.sizeFactor.y = item.sizeFactor.x;
        return;
    }
    item.sizeFactor = {1, 1, 1};
    if (!s.globalSize) return;
    bool mesh = e.UsesMeshSize();
    Point3 size = mesh ? e.meshSize : Point3{e.width, e.width, e.height};
    auto factor = [](float wanted, float has) {
        return has <= kSmallestDimension ? 1.0f : wanted / has;
    };
    item.sizeFactor = {factor(s.globalWidth, size.x), factor(s.globalWidth, size.y),
                       factor(s.globalHeight, size.z)};
}

TSpecimenSize SpecimenSize(const TSpecimenElement& e, const Point3& factor) {
    if (e.UsesMeshSize()) {
        float scale = e.scalePercent * 0.01f;
        return {e.meshSize.x * factor.x * scale, e.meshSize.y * factor.y * scale,
                e.meshSize.z * factor.z * scale};
    }
    return {e.width * factor.x, e.width * factor.y, e.height * factor.z};
}

// Random or mapped translation of an item of that size. The y range goes by the width, like x.
Point3 Translation(const TTransformSettings& s, const TDravinItem& item, const TSpecimenSize& size,
                   const TItemOverrides* overrides) {
    Point3 unit{size.x, size.x, size.z}, min, max;
    for (int i = 0; i < 3; ++i) {
        min[i] = float(s.transMin[i]) * unit[i] * 0.01f;
        max[i] = float(s.transMax[i]) * unit[i] * 0.01f;
    }
    if (overrides && overrides->hasTranslation)
        min = overrides->translationMin, max = overrides->translationMax;

    Point3 t = min + (max - min) * item.randomTranslation;
    if (!s.transMap.IsOn()) return t;
    Point3 f = SampleDrive(s.transMap, item, kTransMap);
    for (int i = 0; i < 3; ++i) {
        if (!s.transMap.axis[i]) continue;
        float low = std::min(min[i], max[i]), high = std::max(min[i], max[i]);
        t[i] = s.transMap.scalesRandom ? f[i] * t[i] : low + (high - low) * f[i];
    }
    return t;
}

Point3 ItemScale(const TTransformSettings& s, const TTransformRanges& ranges,
                 const TDravinItem& item) {
    if (!s.applyScale) return {1, 1, 1};
    Point3 scale = item.randomScale;
    if (s.scaMap.IsOn()) {
        Point3 f = SampleDrive(s.scaMap, item, kScaMap);
        for (int i = 0; i < 3; ++i) {
            if (!s.scaMap.axis[i]) continue;
            float low = float(ranges.scaleMin[i]), high = float(ranges.scaleMax[i]);
            scale[i] = s.scaMap.scalesRandom ? scale[i] * f[i] + (1 - f[i])
                                             : (low + (high - low) * f[i]) * 0.01f;
        }
    }
    if (s.scaleLock == kScaleXyz) scale.y = scale.z = scale.x;
    if (s.scaleLock == kScaleXy) scale.y = scale.x;
    return scale;
}

void SetExtents(const TTransformSettings& s, TDravinItem& item, const TSpecimenElement& e) {
    float center = float(item.centerPercent) * 0.01f;
    if (center < 0.5f) center = 1 - center;
    item.outerRadius = std::max(item.width, item.depth) * std::max(e.meshAspect, 1.0f) * center;
    item.boundaryRadius = item.outerRadius * float(e.radiusPercent) * 0.01f;
    item.collisionRadius = float(s.radiusPercent) * 0.01f * item.boundaryRadius;
    item.collisionHeight = float(s.collisionHeightPercent) * 0.01f * item.height;
}

void CheckBoundary(TDravinItem& item, const TItemArea& area) {
    auto crosses = [&](float radius) {
        return radius > item.includeDistance || radius > item.excludeDistance;
    };
    if (area.boundaryCheck == kBorderDiscards && crosses(item.boundaryRadius)) item.discarded = 1;
    if (area.boundaryCheck == kBorderHidesParts && crosses(item.outerRadius)) item.partial = 1;
}

Color TintColor(const TTransformSettings& s, const TDravinItem& item, bool hasSurfaces) {
    if (!s.tintFromMap) return s.tintColor1 + (s.tintColor2 - s.tintColor1) * item.random2;
    if (!s.tintMap) return item.tintColor;
    Point3 uvw{item.random2, item.random3, item.random2};
    if (s.tintMapAsTexture)
        uvw = hasSurfaces && (s.customEdit || s.tintOnSurface) ? item.mapUvws[kTintMap]
                                                               : item.mapCoordinates;
    return s.tintMap->SampleOne({uvw, item.position}).Rgb();
}

bool FacesLookAt(const TTransformSettings& s, SpecimenKind kind) {
    if (!s.useLookAt) return false;
    return kind == SpecimenKind::kTemplate || (kind == SpecimenKind::kCustom && s.lookAtHasTarget);
}

Point2 Direction2(float x, float y) {
    float length = std::sqrt(x * x + y * y);
    return length > 0 ? Point2{x / length, y / length} : Point2{0, 0};
}

void Orient(const TTransformSettings& s, const TTransformRanges& ranges, TDravinItem& item,
            SpecimenKind kind) {
    if (FacesLookAt(s, kind)) {
        item.lookAt =
            Direction2(s.lookAtPosition.x - item.position.x, s.lookAtPosition.y - item.position.y);
        item.transform = MakeFrame({-item.lookAt.y, item.lookAt.x, 0}, item.normal);
        return;
    }
    item.lookAt = {};
    item.transform = MakeFrame(item.sourceTransform.row[0], item.normal);
    if (!s.applyRotation) return;

    Point3 angle = item.rotation;
    if (s.rotMap.IsOn()) {
        Point3 f = SampleDrive(s.rotMap, item, kRotMap);
        for (int i = 0; i < 3; ++i) {
            if (!s.rotMap.axis[i]) continue;
            float low = ranges.rotMin[i], high = ranges.rotMax[i];
            angle[i] = s.rotMap.scalesRandom ? angle[i] * f[i] : low + (high - low) * f[i];
        }
    }
    item.transform.PreRotateX(angle.x);
    item.transform.PreRotateY(angle.y);
    item.transform.PreRotateZ(angle.z);
}

void SetShadows(const TTransformSettings& s, TDravinItem& item, SpecimenKind kind) {
    bool casts =
        (s.horizontalShadow || s.verticalShadow) &&
        (kind == SpecimenKind::kTemplate || (kind == SpecimenKind::kCustom && s.customShadow));
    item.horizontalShadow = casts && s.horizontalShadow;
    item.verticalShadow = casts && s.verticalShadow;
    item.shadowDirection = {};
    if (!casts) return;
    item.shadowDirection = s.lightDirection;
    if (!s.pointLight) return;
    Point2 d = Direction2(s.lightPosition.x - item.position.x, s.lightPosition.y - item.position.y);
    item.shadowDirection = d == Point2{} ? Point2{0, 1} : d;
}

int32_t AnimationOffset(const TTransformSettings& s, const TDravinItem& item, size_t numSamples) {
    int64_t offset = 0;
    if (s.animation == kAnimRandom) offset = item.randomSample;
    if ((s.animation == kAnimRandomMap || s.animation == kAnimFrameMap) && s.aniMap) {
        float f = Grey(s.aniMap->SampleOne({item.mapUvws[kAniMap], item.position}));
        float n = float(s.animSamples - 1);
        offset = int64_t(std::round(n > 0 ? n * f : n - n * f));
    }
    return offset >= 0 && offset < int64_t(numSamples) ? int32_t(offset) : 0;
}

}  // namespace

TTransformRanges TransformRanges(const TTransformSettings& s, const TItemOverrides* overrides) {
    TTransformRanges ranges{};
    if (s.applyRotation) {
        bool own = overrides && overrides->hasRotation;
        Point3 min = own ? overrides->rotationMin : s.rotMinDegrees;
        Point3 max = own ? overrides->rotationMax : s.rotMaxDegrees;
        for (int i = 0; i < 3; ++i) {
            ranges.rotMin[i] = std::min(min[i], max[i]) * kDegreesToRadians;
            ranges.rotMax[i] = std::max(min[i], max[i]) * kDegreesToRadians;
        }
    }
    for (int i = 0; i < 3; ++i) {
        int32_t min = s.scaleMin[i], max = s.scaleMax[i];
        if (overrides && overrides->hasScale) {
            min = int32_t(std::round(overrides->scaleMin[i]));
            max = int32_t(std::round(overrides->scaleMax[i]));
        }
        ranges.scaleMin[i] = std::min(min, max);
        ranges.scaleMax[i] = std::max(min, max);
    }
    return ranges;
}

void SetItemSeed(const TTransformSettings& s, TDravinItem& item, bool hashPosition,
                 uint32_t ordinal) {
    if (s.customEdit) return;
    item.seed = hashPosition ? CellSeed(item.hash) : 0;
    if (item.stateFlags == 0) item.seed += uint16_t(item.elementIndex) + ordinal;
}

void RedrawItemRandoms(const TTransformSettings& s, const TTransformRanges& ranges,
                       TNuRandom& generator, TDravinItem& item) {
    generator.Seed(s.seed + item.seed);
    PlainSource source{generator};
    FillRandoms(source, s, ranges, item);
}

void DrawItemRandoms(const TTransformSettings& s, const TTransformRanges& ranges,
                     TNuRandom& generator, TDravinItem& item, bool hashPosition, uint32_t ordinal) {
    SetItemSeed(s, item, hashPosition, ordinal);
    RedrawItemRandoms(s, ranges, generator, item);
}

TSpecimenSize ApplySpecimenAndTranslation(const TTransformSettings& s, TDravinItem& item,
                                          const TSpecimenElement& specimen, const TItemArea& area,
                                          const TItemOverrides* overrides) {
    item.discarded = specimen.kind == SpecimenKind::kDisabled;
    item.centerPercent = specimen.centerPercent;
    SetSizeFactors(s, item, specimen);
    item.zOffset = specimen.zOffset + area.zOffset;
    TSpecimenSize size = SpecimenSize(specimen, item.sizeFactor);
    if (!s.applyTranslation) return size;

    Point3 t = Translation(s, item, size, overrides);
    if (!s.scatterUv) item.position.x += t.x, item.position.y += t.y;
    item.zOffset += t.z;
    return size;
}

void ResizeItem(const TTransformSettings& s, const TSpecimenElement& element,
                const TSpecimenSize& size, TDravinItem& item) {
    TSpecimenSize full = size;
    if (!s.customEdit) {
        Point3 growth = item.externalScale * item.falloffScale;
        full = {size.x * growth.x, size.y * growth.y, size.z * growth.z};
    }
    item.width = item.scale.x * full.x * s.globalScale;
    item.height = item.scale.z * full.z * s.globalScale;
    item.depth = item.scale.y * full.y * s.globalScale;
    SetExtents(s, item, element);
}

void TurnItem(TDravinItem& item) {
    item.transform = MakeFrame(item.sourceTransform.row[0], item.normal);
    item.transform.PreRotateX(item.rotation.x);
    item.transform.PreRotateY(item.rotation.y);
    item.transform.PreRotateZ(item.rotation.z);
}

void GeneratorsBehindDraws(const TTransformSettings& s, const TTransformRanges& ranges,
                           std::span<const uint32_t> itemSeeds, std::span<TNuRandom> out) {
    // Empty curves draw less, and a rejected number is drawn again.
    bool fewer = (s.scaCurve && s.scaCurve->IsEmpty()) || (s.rotCurve && s.rotCurve->IsEmpty());
    constexpr size_t kBlock = 256;
    uint32_t seeds[kBlock];
    uint8_t rejected[kBlock];
    for (size_t first = 0; first < itemSeeds.size(); first += kBlock) {
        size_t count = std::min(kBlock, itemSeeds.size() - first);
        for (size_t i = 0; i < count; ++i) seeds[i] = s.seed + itemSeeds[first + i];
        SeedAndSkip({seeds, count}, kStepsPerItem, out.subspan(first, count), {rejected, count});
        for (size_t i = 0; i < count; ++i) {
            if (!fewer && !rejected[i]) continue;
            PlainSource source{out[first + i]};
            ItemRandoms drawn;
            source.generator.Seed(seeds[i]);
            FillRandoms(source, s, ranges, drawn);
        }
    }
}

void FinishItem(const TTransformSettings& s, const TTransformRanges& ranges, TDravinItem& item,
                const TSpecimen& specimen, const TSpecimenSize& size, const TItemArea& area,
                const TFinishFactors& factors, const TItemOverrides* overrides) {
    if (specimen.elements.empty()) return;
    const TSpecimenElement& element = specimen.Element(item.elementIndex);
    item.position += item.zOffset * item.normal;

    // Scale and sizes.
    item.scale = ItemScale(s, ranges, item) * factors.cameraScale;
    if (!s.customEdit) {
        item.falloffScale = factors.falloffScale;
        item.sizeFactor = item.sizeFactor * (item.externalScale * item.falloffScale);
    }
    ResizeItem(s, element, size, item);
    CheckBoundary(item, area);

    // Looks.
    item.mirrored = s.mirror ? item.randomInteger & 1 : 0;
    item.tintBlend = overrides && overrides->hasTintBlend
                         ? overrides->tintBlend
                         : (s.tintMin + (s.tintMax - s.tintMin) * item.random1) * 0.01f;
    item.tintColor = overrides && overrides->hasTintColor ? overrides->tintColor
                                                          : TintColor(s, item, factors.hasSurfaces);

    Orient(s, ranges, item, element.kind);
    SetShadows(s, item, element.kind);
    item.animationOffset = AnimationOffset(s, item, specimen.frames.size());
}

Matrix3 MakeFrame(const Point3& reference, const Point3& normal) {
    Matrix3 frame;
    frame.row[2] = normal;
    frame.row[1] = Normalize(CrossProd(normal, reference));
    // A normal along the reference leaves the turn open; the y axis serves then.
    if (frame.row[1] == Point3{}) frame.row[1] = Normalize(CrossProd(normal, {0, 1, 0}));
    frame.row[0] = Normalize(CrossProd(frame.row[1], normal));
    return frame;
}

Matrix3 ItemTransform(const TDravinItem& item, bool scaleOnSlope, float factor) {
    float x = item.width, y = item.depth, z = item.height;
    if (scaleOnSlope) {
        float vertical = item.transform.row[2].z;
        x /= vertical;
        y /= vertical;
    }
    Matrix3 t = item.transform;
    t.PreScale({(item.mirrored ? -x : x) * factor, y * factor, z * factor});
    t.SetTrans(item.position);
    if (item.centerPercent != 50) t.PreTranslate({float(50 - item.centerPercent) / 100, 0, 0});
    return t;
}

void CompletePlacement(const TTransformSettings& s, const TSpecimenElement& specimen,
                       TDravinItem& item) {
    item.fullTransform = ItemTransform(item, s.scaleOnSlope);
    item.bounds = item.fullTransform.BoxTransform(specimen.unitBounds);
}
