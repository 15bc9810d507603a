// Tint, orientation, shadows and animation sample of finished items.
#include "Dravin/engine/item_looks.h"

#include <algorithm>
#include <cmath>

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/item_list.h"
#include "Dravin/engine/step_tools.h"
#include "host/base/thread_pool.h"

namespace {

float TintBlend(const TTransformSettings& s, float random) {
    return (s.tintMin + (s.tintMax - s.tintMin) * random) * 0.01f;
}

Color TintColor(const TTransformSettings& s, float random) {
    return s.tintColor1 + (s.tintColor2 - s.tintColor1) * random;
}

void SetTints(const TBuildInput& input, TItemLanes& lanes) {
    const TTransformSettings& s = input.transforms;
    ForEachAlive(lanes, [&](size_t k) {
        lanes.mirrored[k] = s.mirror ? uint8_t(lanes.randomInteger[k] & 1) : uint8_t(0);
        lanes.tintBlend[k] = TintBlend(s, lanes.random1[k]);
    });
    auto set = [&](size_t k, const Color& c) { lanes.tint.Set(k, {c.r, c.g, c.b}); };
    if (!s.tintFromMap) {
        ForEachAlive(lanes, [&](size_t k) { set(k, TintColor(s, lanes.random2[k])); });
    } else if (s.tintMap) {
        bool onSurface = !input.surfaces.empty() && (s.customEdit || s.tintOnSurface);
        MapLanes map(*s.tintMap, lanes, [&](size_t k) {
            if (!s.tintMapAsTexture)
                return Point3{lanes.random2[k], lanes.random3[k], lanes.random2[k]};
            if (!onSurface) return lanes.mapCoordinates[k];
            return lanes.uvws.empty() ? Point3{} : lanes.uvws[kTintMap][k];
        });
        ForEachAlive(lanes, [&](size_t k) { set(k, map[k].Rgb()); });
    } else {
        ForEachAlive(lanes, [&](size_t k) { lanes.tint.Set(k, {}); });
    }
    ForEachAlive(lanes, [&](size_t k) {
        const TItemOverrides* o = lanes.overrides[k];
        if (o && o->hasTintBlend) lanes.tintBlend[k] = o->tintBlend;
        if (o && o->hasTintColor) set(k, o->tintColor);
    });
}

bool FacesLookAt(const TTransformSettings& s, SpecimenKind kind) {
    if (!s.useLookAt) return false;
    return kind == SpecimenKind::kTemplate || (kind == SpecimenKind::kCustom && s.lookAtHasTarget);
}

Point2 Direction2(float x, float y) {
    float length = std::sqrt(x * x + y * y);
    return length > 0 ? Point2{x / length, y / length} : Point2{0, 0};
}

// Angles of the rotation maps, in place of the drawn ones or scaling them.
void DriveAngles(const TTransformSettings& s, TItemLanes& lanes, TPointLane& angles) {
    MapLanes map(*s.rotMap.map, lanes, kRotMap);
    TTransformRanges own = TransformRanges(s);
    ForEachAlive(lanes, [&](size_t k) {
        TTransformRanges ranges = RangesOf(s, own, lanes.overrides[k]);
        Point3 f = DriveOf(s.rotMap, map[k]), angle = lanes.rotation[k];
        for (int i = 0; i < 3; ++i) {
            if (!s.rotMap.axis[i]) continue;
            float low = ranges.rotMin[i], high = ranges.rotMax[i];
            angle[i] = s.rotMap.scalesRandom ? angle[i] * f[i] : low + (high - low) * f[i];
        }
        angles.Set(k, angle);
    });
}

void FaceLookAt(const TTransformSettings& s, TItemLanes& lanes) {
    ForEachAlive(lanes, [&](size_t k) {
        lanes.lookAt[k] = {};
        if (!FacesLookAt(s, lanes.source[k]->kind)) return;
        Point2 d = Direction2(s.lookAtPosition.x - lanes.position.x[k],
                              s.lookAtPosition.y - lanes.position.y[k]);
        lanes.lookAt[k] = d;
        Matrix3 frame = MakeFrame({-d.y, d.x, 0}, lanes.normal[k]);
        lanes.axisX.Set(k, frame.row[0]);
        lanes.axisY.Set(k, frame.row[1]);
        lanes.axisZ.Set(k, frame.row[2]);
    });
}

void Orient(const TTransformSettings& s, TItemLanes& lanes) {
    lane_loops::MakeFrames(lanes.count, Columns(std::as_const(lanes.reference)),
                           Columns(std::as_const(lanes.normal)), Columns(lanes.axisX),
                           Columns(lanes.axisY), Columns(lanes.axisZ));
    if (s.applyRotation) {
        std::optional<TPointLane> driven;
        if (s.rotMap.IsOn()) DriveAngles(s, lanes, driven.emplace(lanes.capacity));
        lane_loops::TurnFrames(lanes.count,
                               Columns(std::as_const(driven ? *driven : lanes.rotation)),
                               Columns(lanes.axisX), Columns(lanes.axisY), Columns(lanes.axisZ));
    }
    if (s.useLookAt) FaceLookAt(s, lanes);
}

void SetShadows(const TTransformSettings& s, TItemLanes& lanes) {
    if (!s.horizontalShadow && !s.verticalShadow) return;
    ForEachAlive(lanes, [&](size_t k) {
        SpecimenKind kind = lanes.source[k]->kind;
        bool casts =
            kind == SpecimenKind::kTemplate || (kind == SpecimenKind::kCustom && s.customShadow);
        lanes.horizontalShadow[k] = casts && s.horizontalShadow;
        lanes.verticalShadow[k] = casts && s.verticalShadow;
        lanes.shadowDirection[k] = {};
        if (!casts) return;
        lanes.shadowDirection[k] = s.lightDirection;
        if (!s.pointLight) return;
        Point2 d = Direction2(s.lightPosition.x - lanes.position.x[k],
                              s.lightPosition.y - lanes.position.y[k]);
        lanes.shadowDirection[k] = d == Point2{} ? Point2{0, 1} : d;
    });
}

void ChooseSamples(const TTransformSettings& s, TItemLanes& lanes) {
    bool mapped = (s.animation == kAnimRandomMap || s.animation == kAnimFrameMap) && s.aniMap;
    if (s.animation != kAnimRandom && !mapped)
        return std::fill_n(lanes.animation.Data(), lanes.count, 0), void();
    std::optional<MapLanes> map;
    if (mapped) map.emplace(*s.aniMap, lanes, kAniMap);
    ForEachAlive(lanes, [&](size_t k) {
        int64_t offset = 0;
        if (s.animation == kAnimRandom) offset = lanes.randomSample[k];
        if (mapped) {
            float f = Grey((*map)[k]), n = float(s.animSamples - 1);
            offset = int64_t(std::round(n > 0 ? n * f : n - n * f));
        }
        bool exists = offset >= 0 && offset < int64_t(lanes.specimen[k]->frames.size());
        lanes.animation[k] = exists ? int32_t(offset) : 0;
    });
}

}  // namespace

void SetLooks(const TBuildInput& input, TItemLanes& lanes) {
    SetTints(input, lanes);
    Orient(input.transforms, lanes);
    SetShadows(input.transforms, lanes);
    ChooseSamples(input.transforms, lanes);
}

void TintAgain(const TBuildInput& input, TDravinItemList& items) {
    const TTransformSettings& s = input.transforms;
    constexpr size_t kGrain = 4096;
    size_t first = 0;
    if (!items.IsEmpty()) items.ColumnsAt(0, &first);  // finds the chunks, before threads read
    ParallelRanges(items.Count(), kGrain, std::max(input.threads, 1), [&](size_t i, size_t end) {
        for (size_t count = 0; i < end; i += count) {
            TItemColumns columns = items.ColumnsAt(i, &count);
            count = std::min(count, end - i);
            for (size_t k = 0; k < count; ++k) {
                TDravinItem item = items.Item(i + k);
                columns.tint[k].tintBlend = TintBlend(s, item.random1);
                if (!s.tintFromMap) columns.tint[k].tintColor = TintColor(s, item.random2);
            }
        }
    });
}
