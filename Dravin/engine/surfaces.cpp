#include "Dravin/engine/surfaces.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr float kSmallestRange = 0.0001f;

bool HasRange(const TRangeRule& rule) { return rule.max - rule.min >= kSmallestRange; }

float RulePercent(const FalloffCurve& curve, const TRangeRule& rule, float measure) {
    float clamped = std::clamp(measure, rule.min, rule.max);
    return EvalFalloffCurve(&curve, (clamped - rule.min) / (rule.max - rule.min), false);
}

Point3 LocalPoint(const TSurfaceInput& surface, const Point3& point) {
    return surface.isMoved ? point * surface.fromObject : point;
}

// Takes surface s's hit where it is on a material that counts and higher than what there is.
void TakeHigher(const TBuildInput& input, const TSurfaceFilter& filter, size_t s,
                const TSurfHit& hit, std::optional<TItemHit>& best) {
    const TSurfaceInput& surface = input.surfaces[s];
    if (!filter.materials.empty() && !filter.HasMaterial(surface.array->MaterialId(hit.face)))
        return;
    Point3 world = surface.isMoved ? hit.point * surface.toObject : hit.point;
    if (world.z > (best ? best->point.z : kLowestHit))
        best = TItemHit{hit, s, world, surface.NormalInObject(hit.normal)};
}

}  // namespace

std::optional<TItemHit> SurfaceHit(const TBuildInput& input, const Point3& point,
                                   const TSurfaceFilter& filter) {
    std::optional<TItemHit> best;
    for (size_t s = 0; s < input.surfaces.size(); ++s) {
        if (!filter.HasSurface(s)) continue;
        Point3 local = LocalPoint(input.surfaces[s], point);
        TSurfHit hit;
        if (input.surfaces[s].array->CellHit(local.x, local.y, &hit))
            TakeHigher(input, filter, s, hit, best);
    }
    return best;
}

void SurfaceHits(const TBuildInput& input, std::span<const Point3> points,
                 const TSurfaceFilter& filter, std::span<std::optional<TItemHit>> hits) {
    std::array<Point2, kCellsInBatch> places;
    std::array<TSurfHit, kCellsInBatch> found;
    std::fill_n(hits.begin(), points.size(), std::nullopt);
    for (size_t s = 0; s < input.surfaces.size(); ++s) {
        if (!filter.HasSurface(s)) continue;
        for (size_t i = 0; i < points.size(); ++i) {
            Point3 local = LocalPoint(input.surfaces[s], points[i]);
            places[i] = {local.x, local.y};
        }
        input.surfaces[s].array->TopHits({places.data(), points.size()}, found);
        for (size_t i = 0; i < points.size(); ++i)
            if (found[i].face >= 0) TakeHigher(input, filter, s, found[i], hits[i]);
    }
}

Point3 WorkingNormal(const Point3& faceNormal, float directionPercent) {
    float f = directionPercent * 0.01f;
    float keep = f >= 0 ? 1 - f : 1 + f;
    return Normalize(faceNormal * keep + Point3{0, 0, f});
}

bool IsBeyond(const TRangeRule& rule, float measure) {
    return rule.limited && !(measure >= rule.min && measure <= rule.max);
}

bool FadesOut(const TRangeRule& rule, float measure, float r) {
    if (!rule.densityCurve || !HasRange(rule)) return false;
    return RulePercent(*rule.densityCurve, rule, measure) * 0.01f <= r;
}

float RuleScale(const TRangeRule& rule, float measure) {
    if (!rule.scaleCurve || !HasRange(rule)) return 1;
    return RulePercent(*rule.scaleCurve, rule, measure) * 0.01f;
}

float SlopeOf(const Point3& normal) { return std::acos(std::clamp(normal.z, -1.0f, 1.0f)); }
