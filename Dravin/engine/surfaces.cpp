#include "Dravin/engine/surfaces.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kSmallestRange = 0.0001f;

float RulePercent(const FalloffCurve& curve, const TRangeRule& rule, float measure) {
    return EvalFalloffCurve(&curve, PlaceInRange(rule, measure), false);
}

}  // namespace

bool HasRange(const TRangeRule& rule) { return rule.max - rule.min >= kSmallestRange; }

float PlaceInRange(const TRangeRule& rule, float measure) {
    return (std::clamp(measure, rule.min, rule.max) - rule.min) / (rule.max - rule.min);
}

std::optional<TItemHit> SurfaceHit(const TBuildInput& input, const Point3& point,
                                   const TSurfaceFilter& filter) {
    std::optional<TItemHit> best;
    float bestZ = kLowestHit;
    for (size_t s = 0; s < input.surfaces.size(); ++s) {
        const TSurfaceInput& surface = input.surfaces[s];
        if (!filter.HasSurface(s)) continue;
        Point3 local = surface.isMoved ? point * surface.fromObject : point;
        TSurfHit hit;
        if (!surface.array->CellHit(local.x, local.y, &hit)) continue;
        // Which material it is costs a look at the mesh.
        bool asks = !filter.materials.empty();
        if (asks && !filter.HasMaterial(surface.array->MaterialId(hit.face))) continue;
        Point3 world = surface.isMoved ? hit.point * surface.toObject : hit.point;
        if (!(world.z > bestZ)) continue;
        bestZ = world.z;
        best = TItemHit{hit, s, world, surface.NormalInObject(hit.normal)};
    }
    return best;
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
