#include "Dravin/viewport/viewport_picking.h"

#include <algorithm>

#include "host/base/thread_pool.h"

namespace {

// Nearest place of each id within a few pixels. Pixels of one id mostly come one after the other.
struct HitSink {
    const TViewportCamera& camera;
    TPixelRect rect;
    std::vector<TViewHit>& hits;

    TPixelRect Rect() const { return rect; }
    void Put(int, int, float nearness, const TViewLook& look) {
        float depth = camera.DepthOf(nearness);
        if (!hits.empty() && hits.back().id == look.id)
            hits.back().depth = std::min(hits.back().depth, depth);
        else
            hits.push_back({look.id, depth});
    }
};

std::vector<TViewHit> NearestFirst(std::vector<TViewHit> hits) {
    auto byId = [](const TViewHit& a, const TViewHit& b) {
        return a.id != b.id ? a.id < b.id : a.depth < b.depth;
    };
    std::sort(hits.begin(), hits.end(), byId);
    hits.erase(std::unique(hits.begin(), hits.end(),
                           [](const TViewHit& a, const TViewHit& b) { return a.id == b.id; }),
               hits.end());
    std::stable_sort(hits.begin(), hits.end(),
                     [](const TViewHit& a, const TViewHit& b) { return a.depth < b.depth; });
    return hits;
}

bool Holds(const TPixelRect& r, const TScreenPoint& p) {
    return p.x >= float(r.left) && p.x < float(r.right) && p.y >= float(r.top) &&
           p.y < float(r.bottom);
}

std::vector<uint32_t> PlacesIn(const TViewNode& node, const TViewportCamera& camera,
                               const TPixelRect& rectangle, int threads) {
    TViewportCamera own = camera.Of(node.toWorld);
    const TViewScatter& scatter = *node.scatter;
    std::vector<std::vector<uint32_t>> found(scatter.Cells().size());
    ParallelFor(scatter.Cells().size(), threads, [&](size_t c) {
        const TViewCell& cell = scatter.Cells()[c];
        if (own.SidesOf(cell.bounds).all) return;
        TScreenPoint p;
        for (uint32_t i = cell.first; i < cell.first + cell.count; ++i) {
            const TViewItem& item = scatter.Items()[i];
            if (own.Project(item.toObject.row[3], &p) && Holds(rectangle, p))
                found[c].push_back(node.firstId + 1 + item.item);
        }
    });
    std::vector<uint32_t> ids;
    for (const auto& some : found) ids.insert(ids.end(), some.begin(), some.end());
    return ids;
}

}  // namespace

std::vector<TViewHit> HitTest(const TViewportScene& scene, const TViewportCamera& camera, int x,
                              int y, const TViewportSettings& settings, TItemFilter filter) {
    TPixelRect window{std::max(x - kHitReach, 0), std::max(y - kHitReach, 0),
                      std::min(x + kHitReach + 1, camera.Width()),
                      std::min(y + kHitReach + 1, camera.Height())};
    if (window.left >= window.right || window.top >= window.bottom) return {};
    TViewportSettings whole = settings;
    whole.maxElements = 0, whole.oversampling = 1;
    TViewPlan plan = PlanViewport(scene, camera, whole, window);
    TViewJob job{camera, camera, whole, {}, true, filter};
    std::vector<std::vector<TViewHit>> hits(plan.pieces.size());
    ParallelFor(plan.pieces.size(), whole.threads, [&](size_t i) {
        HitSink sink{camera, window, hits[i]};
        TViewDrawer<HitSink>(job, sink).Draw(plan.pieces[i]);
    });
    std::vector<TViewHit> all;
    for (const auto& some : hits) all.insert(all.end(), some.begin(), some.end());
    return NearestFirst(std::move(all));
}

std::vector<uint32_t> ItemsInRectangle(const TViewportScene& scene, const TViewportCamera& camera,
                                       const TPixelRect& rectangle, bool onlySeen,
                                       const TViewportSettings& settings) {
    std::vector<uint32_t> ids;
    if (onlySeen) {
        std::vector<uint32_t> seen = DrawViewportIds(scene, camera, settings);
        int bottom = std::min(rectangle.bottom, camera.Height());
        int right = std::min(rectangle.right, camera.Width());
        for (int y = std::max(rectangle.top, 0); y < bottom; ++y)
            for (int x = std::max(rectangle.left, 0); x < right; ++x)
                ids.push_back(seen[size_t(y) * size_t(camera.Width()) + size_t(x)]);
        std::erase_if(ids,
                      [&](uint32_t id) { return scene.Find(id).item == TViewportScene::kNoItem; });
    } else {
        for (const TViewNode& node : scene.Nodes())
            if (node.scatter) {
                auto own = PlacesIn(node, camera, rectangle, settings.threads);
                ids.insert(ids.end(), own.begin(), own.end());
            }
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ids;
}
