#include "Dravin/commands/curve_use.h"

#include <algorithm>
#include <functional>
#include <optional>

#include "Dravin/build/dravin_build.h"
#include "Dravin/commands/curve_session.h"
#include "Dravin/engine/surfaces.h"

namespace {

// Adds where an item stands on the curve, as often as the curve is asked for it.
using Places = std::function<void(const TDravinItem& item, std::vector<float>& to)>;

Places OfRange(const TRangeRule& rule, float (*measure)(const TDravinItem&)) {
    if (!HasRange(rule)) return {};
    return [&rule, measure](const TDravinItem& item, std::vector<float>& to) {
        to.push_back(PlaceInRange(rule, measure(item)));
    };
}

// The share of the falloffs' range that every include area takes, in percent; none where they
// differ, as items do not know their area.
std::optional<float> CommonPercent(const TBuildInput& input, float TAreaSettings::*percent) {
    std::optional<float> common;
    for (const TAreaRow& row : input.areas) {
        if (row.settings.exclude) continue;
        if (common && *common != row.settings.*percent) return std::nullopt;
        common = row.settings.*percent;
    }
    return common;
}

// From the border (1) inwards; 0 from where the falloff has its end.
Places OfAreas(const TBuildInput& input, float range, float TAreaSettings::*percent) {
    std::optional<float> share = CommonPercent(input, percent);
    if (!input.NeedsAreaDistances() || !share) return {};
    float reach = *share * 0.01f * range;
    if (reach <= kSmallestFalloff) return {};
    return [reach](const TDravinItem& item, std::vector<float>& to) {
        to.push_back(1 - std::min(item.includeDistance / reach, 1.0f));
    };
}

Places OfCamera(const TBuildInput& input) {
    const TCameraState& camera = input.camera;
    if (!camera.valid || !(camera.far > camera.near)) return {};
    return [&camera](const TDravinItem& item, std::vector<float>& to) {
        to.push_back(PlaceInFalloff(camera, item.position));
    };
}

Places OfRotation(const TBuildInput& input) {
    if (!input.transforms.applyRotation) return {};
    return [ranges = TransformRanges(input.transforms)](const TDravinItem& item,
                                                        std::vector<float>& to) {
        for (int i = 0; i < 3; ++i)
            if (float width = ranges.rotMax[i] - ranges.rotMin[i]; width > 0)
                to.push_back((item.rotation[i] - ranges.rotMin[i]) / width);
    };
}

Places OfScale(const TBuildInput& input) {
    if (!input.transforms.applyScale) return {};
    return [ranges = TransformRanges(input.transforms)](const TDravinItem& item,
                                                        std::vector<float>& to) {
        for (int i = 0; i < 3; ++i)
            if (int width = ranges.scaleMax[i] - ranges.scaleMin[i]; width > 0)
                to.push_back((item.randomScale[i] * 100 - float(ranges.scaleMin[i])) /
                             float(width));
    };
}

Places PlacesOn(const TCurvePlace& place, const TBuildInput& input) {
    auto altitude = [](const TDravinItem& item) { return item.position.z; };
    auto slope = [](const TDravinItem& item) { return item.surfaceSlope; };
    const TAreaFalloffs& areas = input.areaFalloffs;
    switch (place.slot) {
        case kSlotCamDensityCurve:
        case kSlotCamScaleCurve:
            return OfCamera(input);
        case kSlotAreaDensityCurve:
            return OfAreas(input, areas.densityInclude, &TAreaSettings::densityFalloffPercent);
        case kSlotAreaScaleCurve:
            return OfAreas(input, areas.scaleInclude, &TAreaSettings::scaleFalloffPercent);
        case kSlotSurfaceCurves:
            return place.index < 2 ? OfRange(input.altitude, altitude)
                                   : OfRange(input.slope, slope);
        case kSlotRotProbCurve:
            return OfRotation(input);
        case kSlotScaProbCurve:
            return OfScale(input);
        default:
            return {};
    }
}

}  // namespace

TCurveUse CurveUse(const TCurvePlace& place, size_t numPieces) {
    if (place.isEffect) return {{}, "builds do not know where effects read their curves"};
    TDravinBuild& build = place.object->Build();
    size_t count = build.Items().Count();
    if (!build.Input() || count == 0) return {{}, "there are no items"};
    Places places = PlacesOn(place, *build.Input());
    if (!places) return {{}, "the rule of this curve is off, or has no range"};
    TCurveUse use;
    use.counts.resize(numPieces);
    size_t looked = std::min(count, kMostItemsLooked);
    std::vector<float> at;
    for (size_t i = 0; i < looked; ++i) {
        at.clear();
        places(build.Items().Item(i * count / looked), at);
        for (float x : at) {
            auto piece = x > 0 ? size_t(std::min(x, 1.0f) * float(numPieces)) : size_t(0);
            ++use.counts[std::min(piece, numPieces - 1)];
        }
    }
    return use;
}
