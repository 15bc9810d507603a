#include <cmath>

#include "Dravin/engine/item_looks.h"
#include "Dravin/engine/item_steps.h"
#include "Dravin/engine/step_tools.h"

namespace {

void SetScales(const TTransformSettings& s, TItemLanes& lanes) {
    if (!s.applyScale) {
        for (size_t k = 0; k < lanes.count; ++k) lanes.scale.Set(k, {1, 1, 1});
    } else {
        std::optional<MapLanes> map;
        if (s.scaMap.IsOn()) map.emplace(*s.scaMap.map, lanes, kScaMap);
        TTransformRanges own = TransformRanges(s);
        ForEachAlive(lanes, [&](size_t k) {
            Point3 scale = lanes.randomScale[k];
            if (map) {
                TTransformRanges ranges = RangesOf(s, own, lanes.overrides[k]);
                Point3 f = DriveOf(s.scaMap, (*map)[k]);
                for (int i = 0; i < 3; ++i) {
                    if (!s.scaMap.axis[i]) continue;
                    float low = float(ranges.scaleMin[i]), high = float(ranges.scaleMax[i]);
                    scale[i] = s.scaMap.scalesRandom ? scale[i] * f[i] + (1 - f[i])
                                                     : (low + (high - low) * f[i]) * 0.01f;
                }
            }
            if (s.scaleLock == kScaleXyz) scale.y = scale.z = scale.x;
            if (s.scaleLock == kScaleXy) scale.y = scale.x;
            lanes.scale.Set(k, scale);
        });
    }
    ForEachAlive(lanes, [&](size_t k) {
        lanes.scale.Set(k, lanes.scale[k] * lanes.cameraScale[k]);
        if (s.customEdit) return;
        Point3 growth = lanes.externalScale[k] * lanes.falloffScale[k];
        lanes.sizeFactor.Set(k, lanes.sizeFactor[k] * growth);
    });
}

void CheckBoundaries(const TItemArea& area, TItemLanes& lanes) {
    ForEachAlive(lanes, [&](size_t k) {
        lanes.partial[k] = 0;
        if (area.boundaryCheck == kBorderIgnored) return;
        auto crosses = [&](float radius) {
            const ItemBorders& b = lanes.borders[k];
            return radius > b.includeDistance || radius > b.excludeDistance;
        };
        if (area.boundaryCheck == kBorderDiscards && crosses(lanes.boundaryRadius[k]))
            lanes.Drop(k, TLaneFate::kArea);
        if (area.boundaryCheck == kBorderHidesParts && crosses(lanes.outerRadius[k]))
            lanes.partial[k] = 1;
    });
}

// A lane as far as its final transform asks.
ItemPlace PlaceOf(const TItemLanes& lanes, size_t k) {
    ItemPlace place;
    place.position = lanes.position[k];
    place.transform = {{lanes.axisX[k], lanes.axisY[k], lanes.axisZ[k], {}}};
    place.width = lanes.width[k];
    place.depth = lanes.depth[k];
    place.height = lanes.height[k];
    place.mirrored = lanes.mirrored[k];
    place.centerPercent = lanes.source[k]->centerPercent;
    return place;
}

// One axis of the sizes.
void SizeAlong(size_t count, const float* __restrict scale, const float* __restrict size,
               const float* __restrict external, const float* __restrict falloff, bool grows,
               float globalScale, float* __restrict out) {
    for (size_t k = 0; k < count; ++k) {
        float full = grows ? size[k] * (external[k] * falloff[k]) : size[k];
        out[k] = scale[k] * full * globalScale;
    }
}

// Sizes and radii of up to kCellsInBatch lanes that stand side by side.
void ResizeRun(const TTransformSettings& s, TItemLanes& lanes, size_t first, size_t count) {
    auto along = [&](TLane<float> TPointLane::*axis, TLane<float>& out) {
        auto from = [&](TPointLane& p) { return (p.*axis).Data() + first; };
        SizeAlong(count, from(lanes.scale), from(lanes.size), from(lanes.externalScale),
                  from(lanes.falloffScale), !s.customEdit, s.globalScale, out.Data() + first);
    };
    along(&TPointLane::x, lanes.width);
    along(&TPointLane::y, lanes.depth);
    along(&TPointLane::z, lanes.height);

    float aspect[kCellsInBatch], center[kCellsInBatch], percent[kCellsInBatch];
    for (size_t k = 0; k < count; ++k) {
        const TSpecimenElement& e = *lanes.source[first + k];
        aspect[k] = std::max(e.meshAspect, 1.0f);
        center[k] = float(e.centerPercent) * 0.01f;
        percent[k] = float(e.radiusPercent);
    }
    const float radiusFactor = float(s.radiusPercent) * 0.01f;
    const float heightFactor = float(s.collisionHeightPercent) * 0.01f;
    const float *width = lanes.width.Data() + first, *depth = lanes.depth.Data() + first;
    const float* height = lanes.height.Data() + first;
    float* __restrict outer = lanes.outerRadius.Data() + first;
    float* __restrict boundary = lanes.boundaryRadius.Data() + first;
    float* __restrict radius = lanes.collisionRadius.Data() + first;
    float* __restrict tall = lanes.collisionHeight.Data() + first;
    for (size_t k = 0; k < count; ++k) {
        float c = center[k] < 0.5f ? 1 - center[k] : center[k];
        outer[k] = std::max(width[k], depth[k]) * aspect[k] * c;
        boundary[k] = outer[k] * percent[k] * 0.01f;
        radius[k] = radiusFactor * boundary[k];
        tall[k] = heightFactor * height[k];
    }
}

// Lanes that stand side by side.
void TurnRun(TItemLanes& lanes, size_t first, size_t count) {
    auto from = [&](const TPointLane& p) {
        return lane_loops::ConstPointColumns{p.x.Data() + first, p.y.Data() + first,
                                             p.z.Data() + first};
    };
    auto to = [&](TPointLane& p) {
        return lane_loops::PointColumns{p.x.Data() + first, p.y.Data() + first, p.z.Data() + first};
    };
    lane_loops::MakeFrames(count, from(lanes.reference), from(lanes.normal), to(lanes.axisX),
                           to(lanes.axisY), to(lanes.axisZ));
    lane_loops::TurnFrames(count, from(lanes.rotation), to(lanes.axisX), to(lanes.axisY),
                           to(lanes.axisZ));
}

// Up to kCellsInBatch of them, anywhere.
void TurnGathered(TItemLanes& lanes, std::span<const uint32_t> items) {
    float numbers[6][3][kCellsInBatch];
    auto columns = [&](int i) {
        return lane_loops::PointColumns{numbers[i][0], numbers[i][1], numbers[i][2]};
    };
    auto read = [&](int i) {
        return lane_loops::ConstPointColumns{numbers[i][0], numbers[i][1], numbers[i][2]};
    };
    auto gather = [&](const TPointLane& lane, int i) {
        for (size_t j = 0; j < items.size(); ++j) {
            numbers[i][0][j] = lane.x[items[j]];
            numbers[i][1][j] = lane.y[items[j]];
            numbers[i][2][j] = lane.z[items[j]];
        }
    };
    auto scatter = [&](int i, TPointLane& lane) {
        for (size_t j = 0; j < items.size(); ++j)
            lane.Set(items[j], {numbers[i][0][j], numbers[i][1][j], numbers[i][2][j]});
    };
    gather(lanes.reference, 0);
    gather(lanes.normal, 1);
    gather(lanes.rotation, 2);
    lane_loops::MakeFrames(items.size(), read(0), read(1), columns(3), columns(4), columns(5));
    lane_loops::TurnFrames(items.size(), read(2), columns(3), columns(4), columns(5));
    scatter(3, lanes.axisX);
    scatter(4, lanes.axisY);
    scatter(5, lanes.axisZ);
}

// Calls visit(items, whether they stand side by side) for up to kCellsInBatch of them at a time.
template <class Visit>
void ForEachBlock(std::span<const uint32_t> items, const Visit& visit) {
    for (size_t first = 0; first < items.size(); first += kCellsInBatch) {
        auto block = items.subspan(first, std::min(kCellsInBatch, items.size() - first));
        visit(block, block.back() - block.front() + 1 == block.size());
    }
}

}  // namespace

void FinishItems(const TBuildInput& input, const TCellRules& rules, TItemLanes& lanes) {
    const TTransformSettings& s = input.transforms;
    // Dropped items that stay in the list stay where they are.
    if (rules.keepsDropped)
        ForEachAlive(lanes, [&](size_t k) {
            lanes.position.Set(k, lanes.position[k] + lanes.zOffset[k] * lanes.normal[k]);
        });
    else
        lane_loops::AddScaled(lanes.count, Columns(lanes.position),
                              Columns(std::as_const(lanes.normal)), lanes.zOffset.Data());
    SetScales(s, lanes);
    for (size_t first = 0; first < lanes.count; first += kCellsInBatch)
        ResizeRun(s, lanes, first, std::min(kCellsInBatch, lanes.count - first));
    CheckBoundaries(rules.area, lanes);
    SetLooks(input, lanes);
}

void HideParts(const TBuildInput& input, const TCellRules& rules, TItemLanes& lanes) {
    if (rules.area.boundaryCheck != kBorderHidesParts || !rules.areas) return;
    ForEachAlive(lanes, [&](size_t k) {
        const std::vector<Point3>& centroids = lanes.source[k]->partCentroids;
        lanes.masks[k].Clear();
        if (!lanes.partial[k] || centroids.empty()) return;
        Matrix3 place = ItemTransform(PlaceOf(lanes, k), input.transforms.scaleOnSlope);
        BitArray hidden(centroids.size());
        for (size_t i = 0; i < centroids.size(); ++i) {
            Point3 p = centroids[i] * place;
            if (rules.grid && rules.grid->rotated) p = p * rules.grid->frameInverse;
            if (!rules.areas->Passes({p.x, p.y})) hidden.Set(i);
        }
        lanes.masks[k] = TBitArray(std::move(hidden));
    });
}

void ClearFinished(TItemLanes& lanes, size_t k) {
    lanes.axisX.Set(k, {1, 0, 0});
    lanes.axisY.Set(k, {0, 1, 0});
    lanes.axisZ.Set(k, {0, 0, 1});
    lanes.scale.Set(k, {1, 1, 1});
    lanes.width[k] = lanes.depth[k] = lanes.height[k] = lanes.zOffset[k] = 0;
    lanes.collisionRadius[k] = lanes.outerRadius[k] = lanes.boundaryRadius[k] = 0;
    lanes.collisionHeight[k] = lanes.tintBlend[k] = 0;
    lanes.tint.Set(k, {});
    lanes.mirrored[k] = lanes.partial[k] = 0;
    lanes.horizontalShadow[k] = lanes.verticalShadow[k] = 0;
    lanes.animation[k] = 0;
    lanes.lookAt[k] = lanes.shadowDirection[k] = {};
    lanes.rotation.Set(k, {});
    lanes.randomScale.Set(k, {1, 1, 1});
}

void ResizeItems(const TTransformSettings& s, TItemLanes& lanes, std::span<const uint32_t> items) {
    ForEachBlock(items, [&](std::span<const uint32_t> block, bool together) {
        if (together) return ResizeRun(s, lanes, block.front(), block.size());
        for (uint32_t k : block) ResizeRun(s, lanes, k, 1);
    });
}

void TurnItems(TItemLanes& lanes, std::span<const uint32_t> items) {
    ForEachBlock(items, [&](std::span<const uint32_t> block, bool together) {
        if (together)
            TurnRun(lanes, block.front(), block.size());
        else
            TurnGathered(lanes, block);
    });
}
