#include "Dravin/engine/transforms.h"

#include <algorithm>
#include <cmath>

#include "Dravin/engine/item_transform.h"
#include "host/math/degrees.h"

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

void RedrawItemRandoms(const TTransformSettings& s, const TTransformRanges& ranges,
                       TNuRandom& generator, TDravinItem& item) {
    generator.Seed(s.seed + item.seed);
    PlainSource source{generator};
    FillRandoms(source, s, ranges, item);
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

Matrix3 ItemTransform(const ItemPlace& item, bool scaleOnSlope, float factor) {
    const Matrix3& frame = item.transform;
    return TransformOfParts({item.position, frame.row[0], frame.row[1], frame.row[2], item.width,
                             item.depth, item.height, item.mirrored != 0, item.centerPercent},
                            scaleOnSlope, factor);
}

void CompletePlacement(const TTransformSettings& s, const TSpecimenElement& specimen,
                       TDravinItem& item) {
    item.fullTransform = ItemTransform(item, s.scaleOnSlope);
    item.bounds = item.fullTransform.BoxTransform(specimen.unitBounds);
}
