#include "Dravin/engine/item_steps.h"

#include <cmath>

#include "Dravin/engine/step_tools.h"

namespace {

constexpr float kSmallestDimension = 0.0001f;

// --- sizes

Point3 SizeFactor(const TTransformSettings& s, const TSpecimenElement& e) {
    Point3 size = e.UsesMeshSize() ? e.meshSize : Point3{e.width, e.width, e.height};
    auto factor = [](float wanted, float has) {
        return has <= kSmallestDimension ? 1.0f : wanted / has;
    };
    return {factor(s.globalWidth, size.x), factor(s.globalWidth, size.y),
            factor(s.globalHeight, size.z)};
}

Point3 SpecimenSize(const TSpecimenElement& e, const Point3& factor) {
    if (e.UsesMeshSize()) {
        float scale = e.scalePercent * 0.01f;
        return {e.meshSize.x * factor.x * scale, e.meshSize.y * factor.y * scale,
                e.meshSize.z * factor.z * scale};
    }
    return {e.width * factor.x, e.width * factor.y, e.height * factor.z};
}

void SetSizes(const TTransformSettings& s, const TItemArea& area, TItemLanes& lanes) {
    ForEachAlive(lanes, [&](size_t k) {
        const TSpecimenElement& e = *lanes.source[k];
        if (!s.customEdit)
            lanes.sizeFactor.Set(k, s.globalSize ? SizeFactor(s, e) : Point3{1, 1, 1});
        else if (lanes.sizeFactor.y[k] < 0)
            lanes.sizeFactor.y[k] = lanes.sizeFactor.x[k];
        lanes.zOffset[k] = e.zOffset + area.zOffset;
        lanes.size.Set(k, SpecimenSize(e, lanes.sizeFactor[k]));
    });
}

// Random or mapped translation of a lane. The y range goes by the width, like x.
Point3 Translation(const TTransformSettings& s, const TItemLanes& lanes, size_t k,
                   const Point3* drive) {
    Point3 size = lanes.size[k], unit{size.x, size.x, size.z}, min, max;
    for (int i = 0; i < 3; ++i) {
        min[i] = float(s.transMin[i]) * unit[i] * 0.01f;
        max[i] = float(s.transMax[i]) * unit[i] * 0.01f;
    }
    if (const TItemOverrides* o = lanes.overrides[k]; o && o->hasTranslation)
        min = o->translationMin, max = o->translationMax;
    Point3 t = min + (max - min) * lanes.randomTranslation[k];
    for (int i = 0; drive && i < 3; ++i) {
        if (!s.transMap.axis[i]) continue;
        float low = std::min(min[i], max[i]), high = std::max(min[i], max[i]);
        t[i] = s.transMap.scalesRandom ? (*drive)[i] * t[i] : low + (high - low) * (*drive)[i];
    }
    return t;
}

void Move(const TTransformSettings& s, TItemLanes& lanes) {
    std::optional<MapLanes> map;
    if (s.transMap.IsOn()) map.emplace(*s.transMap.map, lanes, kTransMap);
    ForEachAlive(lanes, [&](size_t k) {
        Point3 drive;
        if (map) drive = DriveOf(s.transMap, (*map)[k]);
        Point3 t = Translation(s, lanes, k, map ? &drive : nullptr);
        if (!s.scatterUv) lanes.position.x[k] += t.x, lanes.position.y[k] += t.y;
        lanes.zOffset[k] += t.z;
    });
}

}  // namespace

void ThinByCamera(const TBuildInput& input, TItemLanes& lanes) {
    if (!input.camera.densityCurve) return;
    ForEachAlive(lanes, [&](size_t k) {
        if (CameraDensityDrop(input.camera, lanes.position[k], lanes.densityDraw[k]))
            lanes.Drop(k, TLaneFate::kFalloff);
    });
}

void SizeAndMove(const TBuildInput& input, const TItemArea& area, TItemLanes& lanes) {
    ForEachAlive(lanes, [&](size_t k) {
        if (lanes.source[k]->kind == SpecimenKind::kDisabled) lanes.Drop(k, TLaneFate::kDisabled);
    });
    SetSizes(input.transforms, area, lanes);
    if (input.transforms.applyTranslation) Move(input.transforms, lanes);
}

void FadeInArea(const TBuildInput& input, const TAreaSettings& area, TItemLanes& lanes) {
    ForEachAlive(lanes, [&](size_t k) {
        if (IncludeFalloffRejects(input.areaFalloffs, area, lanes.distances[k],
                                  lanes.densityDraw[k]))
            lanes.Drop(k, TLaneFate::kFalloff);
    });
}

void ClearSurface(TItemLanes& lanes, size_t k) {
    lanes.faceNormal.Set(k, {});
    lanes.face[k] = lanes.surface[k] = -1;
    lanes.weight1[k] = lanes.weight2[k] = 0;
    for (TLane<Point3>& uvw : lanes.uvws) uvw[k] = {};
}

void TakeHit(const TBuildInput& input, const TItemHit& hit, TItemLanes& lanes, size_t k) {
    lanes.face[k] = hit.local.face;
    lanes.weight1[k] = hit.local.bary1;
    lanes.weight2[k] = hit.local.bary2;
    lanes.faceNormal.Set(k, hit.faceNormal);
    lanes.surface[k] = int32_t(hit.surface);
    if (lanes.uvws.empty()) return;
    const TSurfXYArray& array = *input.surfaces[hit.surface].array;
    for (int map = 0; map < kNumItemMaps; ++map)
        lanes.uvws[size_t(map)][k] = input.channels.isRead[map]
                                         ? array.Uvw(input.channels.channel[map], hit.local)
                                         : Point3{};
}

Point3 NormalOver(const TBuildInput& input, const TItemLanes& lanes, size_t k) {
    const TItemOverrides* o = lanes.overrides[k];
    return WorkingNormal(lanes.faceNormal[k],
                         o && o->hasDirection ? o->direction : input.directionPercent);
}

void SetNormals(const TBuildInput& input, TItemLanes& lanes) {
    float up = input.directionPercent * 0.01f, keep = up >= 0 ? 1 - up : 1 + up;
    lane_loops::Lean(lanes.count, Columns(std::as_const(lanes.faceNormal)), keep, up,
                     Columns(lanes.normal));
    for (size_t k = 0; k < lanes.count; ++k)
        if (const TItemOverrides* o = lanes.overrides[k]; o && o->hasDirection)
            lanes.normal.Set(k, NormalOver(input, lanes, k));
}

void ObeySurfaceRules(const TBuildInput& input, TItemLanes& lanes) {
    bool byAltitude =
        input.altitude.limited || input.altitude.densityCurve || input.altitude.scaleCurve;
    bool bySlope = input.slope.limited || input.slope.densityCurve || input.slope.scaleCurve;
    if (!byAltitude && !bySlope) return;
    ForEachAlive(lanes, [&](size_t k) {
        float altitude = lanes.position.z[k], r = lanes.densityDraw[k];
        float slope = bySlope ? SlopeOf(lanes.faceNormal[k]) : 0;
        if (IsBeyond(input.altitude, altitude)) return lanes.Drop(k, TLaneFate::kAltitude);
        if (IsBeyond(input.slope, slope)) return lanes.Drop(k, TLaneFate::kSlope);
        if (FadesOut(input.altitude, altitude, r) || FadesOut(input.slope, slope, r))
            return lanes.Drop(k, TLaneFate::kFalloff);
        float f = RuleScale(input.altitude, altitude) * RuleScale(input.slope, slope);
        lanes.falloffScale.Set(k, {f, f, f});
    });
}

void ScaleInArea(const TBuildInput& input, const TAreaSettings& area, TItemLanes& lanes) {
    ForEachAlive(lanes, [&](size_t k) {
        float f = AreaScaleFalloff(input.areaFalloffs, area, lanes.distances[k]);
        lanes.falloffScale.z[k] *= f;
        if (input.areaFalloffs.heightOnly) return;
        lanes.falloffScale.x[k] *= f;
        lanes.falloffScale.y[k] *= f;
    });
}

void ObeyCameraView(const TBuildInput& input, TItemLanes& lanes) {
    const TCameraState& camera = input.camera;
    if (!camera.limitActive && !camera.scaleCurve) return;
    ForEachAlive(lanes, [&](size_t k) {
        Point3 place = lanes.position[k];
        if (camera.limitActive && !camera.view.Contains(place))
            return lanes.Drop(k, TLaneFate::kCamera);
        if (camera.scaleCurve)
            lanes.cameraScale[k] =
                CameraScaleFactor(camera, place + lanes.zOffset[k] * lanes.normal[k]);
    });
}
