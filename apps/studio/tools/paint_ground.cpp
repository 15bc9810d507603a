#include "apps/studio/tools/paint_ground.h"

#include <algorithm>

#include "Dravin/dravin_globals.h"
#include "Dravin/engine/build_input.h"
#include "host/base/thread_pool.h"
#include "host/scene/node.h"

namespace {

// The part of a line, ahead of its beginning, in a box that is made a little larger: flat surfaces
// have boxes without a height. Empty: the second number is the smaller one.
std::pair<float, float> SpanInside(const Box3& box, const Point3& from, const Point3& along) {
    constexpr float kLarger = 1e-3f;
    Point3 width = box.Width();
    float more = kLarger * std::max({width.x, width.y, width.z});
    float first = 0, last = 1e30f;
    for (int i = 0; i < 3; ++i) {
        float low = box.min[i] - more - from[i], high = box.max[i] + more - from[i];
        if (along[i] == 0) {
            if (low > 0 || high < 0) return {1, 0};
            continue;
        }
        float a = low / along[i], b = high / along[i];
        first = std::max(first, std::min(a, b)), last = std::min(last, std::max(a, b));
    }
    return {first, last};
}

}  // namespace

PaintGround::PaintGround(const std::vector<INode*>& surfaces, TimeValue t) {
    for (INode* node : surfaces) {
        auto array = DravinGlobals().surfaces.Get(node, kSurfaceXY, NumProcessors());
        if (!array) continue;
        Matrix3 toWorld = node->GetObjectTM(t);
        m_bounds += toWorld.BoxTransform(array->Bounds());
        m_surfaces.push_back({std::move(array), toWorld, Inverse(toWorld)});
    }
}

// A brush moves with every event of the hand, and a terrain has millions of faces: so the line is
// followed in steps, over the height that the surface has below each.
std::optional<float> PaintGround::Surface::Meet(const Point3& from, const Point3& along) const {
    constexpr int kSteps = 1024, kHalvings = 20;
    Point3 a = from * toSurface, d = toSurface.VectorTransform(along);
    auto [first, last] = SpanInside(array->Bounds(), a, d);
    // Above the surface, below it, or beside it.
    auto sideAt = [&](float t) {
        Point3 p = a + d * t;
        TSurfHit hit;
        if (!array->CellHit(p.x, p.y, &hit)) return 0;
        return p.z > hit.point.z ? 1 : -1;
    };
    if (!(first < last)) return std::nullopt;
    float before = first;
    int side = sideAt(before);
    for (int i = 1; i <= kSteps; ++i) {
        float t = first + (last - first) * float(i) / kSteps;
        int now = sideAt(t);
        if (side > 0 && now < 0) {
            for (int k = 0; k < kHalvings; ++k) {
                float middle = (before + t) / 2;
                (sideAt(middle) > 0 ? before : t) = middle;
            }
            return t;
        }
        before = t, side = now;
    }
    return std::nullopt;
}

std::optional<Point3> PaintGround::Under(const ViewportWidget& view, QPointF pixel) const {
    TViewportCamera camera = view.Camera();
    auto x = float(pixel.x()), y = float(pixel.y());
    Point3 from = PlaceAtDepth(camera, x, y, camera.Nearest());
    Point3 along = PlaceAtDepth(camera, x, y, camera.Nearest() + 1) - from;
    std::optional<float> nearest;
    for (const Surface& surface : m_surfaces)
        if (std::optional<float> t = surface.Meet(from, along); t && (!nearest || *t < *nearest))
            nearest = t;
    if (!nearest) return std::nullopt;
    return from + along * *nearest;
}

Point3 PaintGround::Drop(const Point3& place) const {
    std::optional<Point3> top;
    for (const Surface& surface : m_surfaces) {
        Point3 local = place * surface.toSurface;
        TSurfHit hit;
        if (!surface.array->CellHit(local.x, local.y, &hit)) continue;
        Point3 on = hit.point * surface.toWorld;
        if (!top || on.z > top->z) top = on;
    }
    return top.value_or(place);
}
