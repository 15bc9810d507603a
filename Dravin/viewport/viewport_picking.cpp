#include "Dravin/viewport/viewport_picking.h"

#include <algorithm>
#include <climits>
#include <cmath>

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

// Rising, none twice.
std::vector<uint32_t> Once(std::vector<uint32_t> ids) {
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ids;
}

std::vector<uint32_t> PlacesIn(const TViewNode& node, const TViewportCamera& camera,
                               const TPickRegion& region, int threads) {
    TViewportCamera own = camera.Of(node.toWorld);
    const TViewScatter& scatter = *node.scatter;
    std::vector<std::vector<uint32_t>> found(scatter.Cells().size());
    ParallelFor(scatter.Cells().size(), threads, [&](size_t c) {
        const TViewCell& cell = scatter.Cells()[c];
        if (own.SidesOf(cell.bounds).all) return;
        TScreenPoint p;
        for (uint32_t i = cell.first; i < cell.first + cell.count; ++i) {
            const TViewItem& item = scatter.Items()[i];
            if (own.Project(item.toObject.row[3], &p) && region.Holds(p.x, p.y))
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

bool TPickRegion::Holds(float x, float y) const {
    if (!(x >= float(rectangle.left) && x < float(rectangle.right) && y >= float(rectangle.top) &&
          y < float(rectangle.bottom)))
        return false;
    if (lasso.size() < 3) return true;
    bool isInside = false;
    for (size_t i = 0; i < lasso.size(); ++i) {
        const TScreenPoint &a = lasso[i], &b = lasso[(i + 1) % lasso.size()];
        if ((a.y <= y) == (b.y <= y)) continue;
        if (a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y) > x) isInside = !isInside;
    }
    return isInside;
}

TPickRegion LassoRegion(std::vector<TScreenPoint> lasso) {
    TPickRegion region{{}, std::move(lasso)};
    if (region.lasso.empty()) return region;
    auto low = [](float v) { return int(std::floor(std::clamp(v, -1e6f, 1e6f))); };
    auto high = [&](float v) { return low(v) + 1; };
    TPixelRect& r = region.rectangle;
    r = {INT_MAX, INT_MAX, INT_MIN, INT_MIN};
    for (const TScreenPoint& p : region.lasso) {
        r.left = std::min(r.left, low(p.x)), r.right = std::max(r.right, high(p.x));
        r.top = std::min(r.top, low(p.y)), r.bottom = std::max(r.bottom, high(p.y));
    }
    return region;
}

std::vector<uint32_t> ItemsInRegion(const TViewportScene& scene, const TViewportCamera& camera,
                                    const TPickRegion& region, int threads) {
    std::vector<uint32_t> ids;
    for (const TViewNode& node : scene.Nodes())
        if (node.scatter) {
            auto own = PlacesIn(node, camera, region, threads);
            ids.insert(ids.end(), own.begin(), own.end());
        }
    return Once(std::move(ids));
}

bool TSeenPicture::Shows(const TScreenPoint& place) const {
    constexpr float kClearly = 1.01f;
    int x = int(std::floor(place.x)), y = int(std::floor(place.y));
    if (x < 0 || x >= width || y < 0 || y >= height) return false;
    size_t pixel = size_t(y) * size_t(width) + size_t(x);
    return ids[pixel] == TViewportScene::kNoId || nearness[pixel] <= place.nearness * kClearly;
}

TSeenPicture DrawSeen(const TViewportScene& scene, const TViewportCamera& camera,
                      const TViewportSettings& settings) {
    constexpr uint64_t kFaces = 100'000, kMoreDots = 100'000;
    TViewportSettings quick = settings;
    quick.maxFaces = kFaces, quick.maxElements = 0;
    TPixelRect all{0, 0, camera.Width(), camera.Height()};
    // A dot at least for each item in view, beside the faces of object meshes.
    quick.maxElements = PlanViewport(scene, camera, quick, all).counts.itemsInView + kMoreDots;
    for (const TViewNode& node : scene.Nodes())
        if (node.scatter && node.mesh) quick.maxElements += node.mesh->faces.size();
    TSeenPicture seen{camera.Width(), camera.Height(), {}, {}};
    seen.ids = DrawViewportIds(scene, camera, quick, &seen.nearness);
    return seen;
}

std::vector<uint32_t> SeenInRegion(const TSeenPicture& seen, const TPickRegion& region) {
    const TPixelRect& r = region.rectangle;
    std::vector<uint32_t> ids;
    for (int y = std::max(r.top, 0); y < std::min(r.bottom, seen.height); ++y)
        for (int x = std::max(r.left, 0); x < std::min(r.right, seen.width); ++x) {
            uint32_t id = seen.ids[size_t(y) * size_t(seen.width) + size_t(x)];
            if (id == TViewportScene::kNoId || (!ids.empty() && ids.back() == id)) continue;
            if (region.Holds(float(x) + 0.5f, float(y) + 0.5f)) ids.push_back(id);
        }
    return Once(std::move(ids));
}
