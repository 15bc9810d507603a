// What lies under the pointer, inside a rectangle or inside a lasso.
#pragma once

#include <vector>

#include "Dravin/viewport/viewport_drawer.h"

struct TViewHit {
    uint32_t id = 0;  // TViewportScene::Find
    float depth = 0;  // along the camera's axis
};

// Everything that shows itself within kHitReach pixels of a place, nearest first, each once: to
// click again steps through what lies behind. Items shown as dots have half as many of them as in
// pictures, and none are thinned.
inline constexpr int kHitReach = 4;
std::vector<TViewHit> HitTest(const TViewportScene& scene, const TViewportCamera& camera, int x,
                              int y, const TViewportSettings& settings,
                              TItemFilter filter = TItemFilter::kAll);

// What a selection is drawn around: [left, right) x [top, bottom) of the picture, or the part of it
// inside a lasso, a closed line that may cross itself (even-odd).
struct TPickRegion {
    TPixelRect rectangle;
    std::vector<TScreenPoint> lasso;  // fewer than three points: none

    bool Holds(float x, float y) const;
};
// The lasso with the rectangle around it.
TPickRegion LassoRegion(std::vector<TScreenPoint> lasso);

// Ids of the items whose places lie in the region, rising.
std::vector<uint32_t> ItemsInRegion(const TViewportScene& scene, const TViewportCamera& camera,
                                    const TPickRegion& region, int threads);

// What each pixel of a view shows, and how near that is.
struct TSeenPicture {
    int width = 0, height = 0;
    std::vector<uint32_t> ids;    // rows top down; TViewportScene::kNoId: nothing
    std::vector<float> nearness;  // as TScreenPoint has it

    // Whether nothing at its pixel is clearly nearer than this place.
    bool Shows(const TScreenPoint& place) const;
};
// Items are drawn as simple as a budget demands, so that a million of them are quick: none is left
// out, but from smaller items on each is a dot.
TSeenPicture DrawSeen(const TViewportScene& scene, const TViewportCamera& camera,
                      const TViewportSettings& settings);
// Ids of all that a pixel of the region shows, items and nodes, rising.
std::vector<uint32_t> SeenInRegion(const TSeenPicture& seen, const TPickRegion& region);
