#include "Dravin/engine/lod.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace {

constexpr float kSmallestDistance = 1e-6f;
constexpr float kWholeView = 100;

// The last level whose threshold is at most p; the first when all are above.
int LevelAt(const TLodLevels& levels, float p) {
    for (int i = int(levels.thresholds.size()) - 1; i > 0; --i)
        if (levels.thresholds[size_t(i)] <= p) return i;
    return 0;
}

int LevelByDistance(const TLodLevels& levels, const TCameraState& camera, const Point3& position,
                    float random) {
    if (camera.lodFromLookAt ? !camera.hasLookAt : !camera.valid) return 0;
    Point3 from = camera.lodFromLookAt ? camera.lookAt : camera.position;
    float reference = camera.lodDistance > kSmallestDistance ? camera.lodDistance : levels.distance;
    float p = Length(position - from) / reference * 100;
    if (levels.variation > 0) p += (random - 0.5f) * levels.variation * 0.5f;
    return LevelAt(levels, std::max(p, 0.0f));
}

// Place on the screen in widths of the view; none for a point that is not in front of it.
std::optional<Point2> Project(const TLodView& view, const Point3& point) {
    Point3 p = point * view.fromObject;
    if (!(p.z < 0)) return std::nullopt;
    float perUnit = 1 / (-p.z * 2 * std::tan(view.fovRadians / 2));
    return Point2{p.x * perUnit, p.y * perUnit};
}

int LevelByScreenSize(const TLodLevels& levels, const TLodView& view, float scale,
                      const Point3& position, float random, std::optional<TLodSpan>* onScreen) {
    int last = int(levels.thresholds.size()) - 1;
    if (!view.valid) return last;
    Point3 side{levels.referenceWidth * scale * 0.5f, 0, 0};
    auto a = Project(view, position - side);
    auto b = Project(view, position + side + Point3{0, 0, levels.referenceHeight});
    float p = kWholeView;
    if (a && b) {
        Point2 d = *b - *a;
        p = std::sqrt(d.x * d.x + d.y * d.y) * 100;
        if (onScreen) *onScreen = TLodSpan{*a, *b};
    }
    float range = std::abs(levels.thresholds.back() - levels.thresholds.front());
    p += range * (random - 0.5f) * levels.variation * 0.01f;
    return LevelAt(levels, std::max(p, 0.0f));
}

}  // namespace

int ChooseLodLevel(const TLodLevels& levels, const TCameraState& camera, const TLodView& view,
                   bool render, float scale, const Point3& position, float random,
                   std::optional<TLodSpan>* onScreen) {
    if (levels.thresholds.empty()) return 0;
    bool chosen = camera.lod && (render || levels.inViewports);
    if (!chosen) return levels.byScreenSize ? int(levels.thresholds.size()) - 1 : 0;
    return levels.byScreenSize ? LevelByScreenSize(levels, view, scale, position, random, onScreen)
                               : LevelByDistance(levels, camera, position, random);
}
